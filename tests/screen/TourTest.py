#!/usr/bin/env python3
"""The screen leads through a real stick: every stop shows its music, in every script, and no text is cut."""

import json
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

MAKE_STICK, SCREEN = sys.argv[1:3]

# Texts that a picture has to show.
SHOWN = {
    "no-device": ["Plug in a stick or a phone."],
    "while-indexing": ["Artists"],
    "artists": ["Amber Harbour", "Élodie Marçay"],
    "artists-end": ["Μαρίνα Αυγή", "Северный Пруд", "גן העדרים", "نسيم الوادي", "ลมทะเล", "달빛정원", "青い風船",
                    "Unknown artist"],
    "albums-night": ["Evening Pieces", "Lindenhof Quartet", "旧唱片"],
    "album-night": ["First Light on the Quay", "4 songs", "0:01"],
    "albums-of-an-artist": ["夜明けの電車", "昔の歌"],
    "songs-end": ["In another hidden folder"],
    "right-to-left": ["שירי ערב", "ليالي الصيف"],
    "genres": ["Folk", "Classical"],
    "folders": ["Music", "Damaged"],
    "playlist": ["Salt Road", "Первый снег", "雨のち虹"],
    "search": ["Die Kleine Brücke"],
    "nothing-found-night": ["Nothing has these words."],
    "pulled-out": ["Not plugged in", "Äpfel"],
    "empty": ["There is nothing here."],
    "error": ["Cannot be read"],
}


class Tour(unittest.TestCase):
    def test_every_stop_shows_its_music_and_cuts_no_text(self):
        with tempfile.TemporaryDirectory() as folder:
            pictures = Path(folder, "pictures")
            subprocess.run([MAKE_STICK, "sample", f"{folder}/stick"], check=True, stdout=subprocess.DEVNULL)
            subprocess.run([MAKE_STICK, "tags", f"{folder}/large", "--songs", "6000", "--manifest",
                            f"{folder}/large.tsv"], check=True, stdout=subprocess.DEVNULL)
            tour = subprocess.run([SCREEN, "--pictures", pictures, f"{folder}/stick", f"{folder}/large"],
                                  stderr=subprocess.PIPE, text=True, timeout=400)
            self.assertEqual(tour.returncode, 0, tour.stderr)
            self.assertNotIn(".qml:", tour.stderr, "complaints of the engine")
            stops = {stop["name"].split("-", 1)[1]: stop["texts"]
                     for stop in json.loads((pictures / "pictures.json").read_text())}
            self.assertEqual(set(stops), set(SHOWN))
            self.assertEqual(len(list(pictures.glob("*.png"))), len(SHOWN))
        for name, texts in stops.items():
            with self.subTest(name):
                self.assertLessEqual(set(SHOWN[name]), {text["text"] for text in texts})
                self.assertEqual([], [text for text in texts if text["cut"] or text["tofu"]])
        self.assertTrue(any(" of 6000 songs" in text["text"] for text in stops["while-indexing"]))
        self.assertGreater(len(stops["while-indexing"]), len(stops["no-device"]) + 10, "rows come in meanwhile")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
