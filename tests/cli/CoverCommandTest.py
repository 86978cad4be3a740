"""`orvel cover`: the picture of a song, or why there is none."""

import json
import os
import unittest

from orvelCommand import CommandTestCase, writeSong

GIF = b"GIF89a\x10\x00\x20\x00"


class Covers(CommandTestCase):
    def testOfASongAndWhyThereIsNone(self):
        song, picture = f"{self.stick}/[a,b]/song.mp3", self.path("picture")
        writeSong(song, TIT2="T")
        _, errors = self.run_("cover", song, "-o", picture, expect=1)
        self.assertIn(b"has no cover", errors)
        with open(f"{self.stick}/[a,b]/Folder.GIF", "wb") as file:
            file.write(GIF)
        out, _ = self.run_("cover", "song.mp3", "-o", picture, cwd=os.path.dirname(song))
        self.assertEqual(out, b"GIF, 16 x 32 pixels, from its folder\n")
        out, _ = self.run_("cover", song, "-o", picture, "--json")
        self.assertEqual(json.loads(out), {"path": song, "output": picture, "type": "GIF", "bytes": len(GIF),
                                           "width": 16, "height": 32, "embedded": False})
        with open(picture, "rb") as file:
            self.assertEqual(file.read(), GIF)
        self.run_("cover", song, "-o", "/dev/full", expect=1)
        self.run_("cover", song, expect=2)
        _, errors = self.run_("cover", f"{song}\x1b[2J", "-o", picture, expect=1)
        self.assertIn(b"There is no song", errors)
        self.assertNotIn(b"\x1b", errors)


if __name__ == "__main__":
    unittest.main()
