#!/usr/bin/python3
"""Compares what the indexer stored with what was written and with what an independent reader finds.

usage: stored_tags.py MAKE_STICK ORVEL WORK_FOLDER
"""

import csv
import json
import shutil
import subprocess
import sys
from pathlib import Path

try:
    import mutagen
except ImportError:
    print("skipped: python3-mutagen is not installed")
    sys.exit(77)

SONGS = 400
EASY = {"title": "title", "artist": "artist", "album": "album", "genre": "genre"}


def number(text):
    """The number in front of "3/12"; 0 for none."""
    digits = text.split("/")[0]
    return int(digits) if digits.isdigit() else 0


def main():
    make_stick, orvel, work = sys.argv[1], sys.argv[2], Path(sys.argv[3])
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    stick, manifest, databases = work / "stick", work / "manifest.tsv", work / "databases"
    subprocess.run([make_stick, "tags", stick, "--songs", str(SONGS), "--manifest", manifest],
                   check=True)
    subprocess.run([orvel, "index", stick, "--db-dir", databases, "--quiet"], check=True)
    listing = subprocess.run([orvel, "list", "songs", "--db-dir", databases, "--format", "json"],
                             check=True, stdout=subprocess.PIPE).stdout
    stored = {song["path"]: song for song in json.loads(listing)}

    failures, compared = [], 0
    with open(manifest, encoding="utf-8", newline="") as table:
        for row in csv.DictReader(table, delimiter="\t", quoting=csv.QUOTE_NONE):
            path = str(stick.resolve() / row["path"])
            song = stored.pop(path, None)
            if song is None:
                failures.append(f"{path} is not stored")
                continue
            wanted = {key: row[key] for key in ("title", "artist", "album", "genre", "composer")}
            wanted.update(track=number(row["track"]), disc=number(row["disc"]))
            for key, value in wanted.items():
                if song[key] != value:
                    failures.append(f"{row['path']} ({row['form']}): {key} is {song[key]!r},"
                                    f" written was {value!r}")
            independent = mutagen.File(path, easy=True)
            for key in EASY:
                values = (independent or {}).get(key) if independent and independent.tags else None
                if values and str(values[0]) != song[key]:
                    failures.append(f"{row['path']}: {key} is {song[key]!r}, mutagen reads"
                                    f" {values[0]!r}")
                compared += bool(values)
    failures += [f"{path} is stored, but was not written" for path in stored]
    print(f"{SONGS} songs, {compared} values read independently, {len(failures)} differences")
    print("\n".join(failures[:20]))
    return 1 if failures or compared < SONGS else 0


if __name__ == "__main__":
    sys.exit(main())
