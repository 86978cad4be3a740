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
    import mutagen.apev2
except ImportError:
    print("skipped: python3-mutagen is not installed")
    sys.exit(77)

SONGS = 400
EASY = {"title": "title", "artist": "artist", "album": "album", "genre": "genre"}
ALBUM_ARTIST = ("tpe2", "aart", "wm/albumartist", "album artist", "albumartist")
DATE = ("tdrc", "\xa9day", "wm/year", "year", "date")
PICTURE = ("apic:", "covr", "wm/picture", "cover art (front)")
# mutagen knows nothing of these: texts of an undeclared encoding, the texts of a WAV file's INFO
# chunk, the length of videos. TagLib 1 does not read .aac.
BEYOND_MUTAGEN = {"album_artist": ("/Старые записи/", "/昔の歌/", "/旧唱片/", ".aac"),
                  "year": ("/Recordings/Field/", ".aac"), "cover": (".aac",),
                  "duration": (".mpg", ".mpeg", ".aac")}


def number(text):
    """The number in front of "3/12"; 0 for none."""
    digits = text.split("/")[0]
    return int(digits) if digits.isdigit() else 0


def of_first(tags, keys):
    """The first value that the tags have under one of the keys."""
    for key in keys:
        if key in tags:
            value = tags[key]
            return str(value[0] if isinstance(value, list) else value)
    return ""


def ape_tag(path):
    """The APE tag of an MPEG file, which mutagen.File leaves out."""
    try:
        return mutagen.apev2.APEv2(path)
    except mutagen.MutagenError:
        return {}


def details(path):
    """What mutagen reads of a song's length in ms, its year, album artist and embedded picture."""
    audio = mutagen.File(path)
    if audio is None:
        return None
    pictures = getattr(audio, "pictures", [])
    tags = {key.lower(): value for key, value in (audio.tags or ape_tag(path)).items()}
    embedded = bool(pictures) or any(key in tags for key in PICTURE)
    return {"duration": round(audio.info.length * 1000), "year": number(of_first(tags, DATE)[:4]),
            "album_artist": of_first(tags, ALBUM_ARTIST), "cover": int(embedded)}


def differences(song):
    """How the stored details of a song differ from those that mutagen reads."""
    read = details(song["path"])
    if read is None:
        return []
    if not read["cover"] and song["cover"] == 2:
        read["cover"] = 2 if any(Path(song["directory"]).glob("*.jpg")) else 0
    found = []
    for key, value in read.items():
        # mutagen rounds the length of a constant bit rate otherwise.
        slack = 30 if key == "duration" else 0
        equal = abs(song[key] - value) <= slack if slack else song[key] == value
        if not equal and not any(part in song["path"] for part in BEYOND_MUTAGEN[key]):
            found.append(f"{key} is {song[key]!r}, mutagen reads {value!r}")
    return [f"{song['path']}: {difference}" for difference in found]


class Trial:
    """Makes sticks, indexes them and lists what was stored."""

    def __init__(self, make_stick, orvel, work):
        self.make_stick, self.orvel, self.work = make_stick, orvel, work
        shutil.rmtree(work, ignore_errors=True)
        work.mkdir(parents=True)

    def songs(self, kind, *options):
        stick, databases = self.work / kind, self.work / f"{kind} databases"
        subprocess.run([self.make_stick, kind, stick, *options], check=True)
        subprocess.run([self.orvel, "index", stick, "--db-dir", databases, "--quiet"], check=True)
        listing = subprocess.run([self.orvel, "list", "songs", "--db-dir", databases, "--format",
                                  "json"], check=True, stdout=subprocess.PIPE).stdout
        return {song["path"]: song for song in json.loads(listing)}


def main():
    work = Path(sys.argv[3])
    trial = Trial(sys.argv[1], sys.argv[2], work)
    manifest = work / "manifest.tsv"
    stored = trial.songs("tags", "--songs", str(SONGS), "--manifest", manifest)

    failures, compared = [], 0
    with open(manifest, encoding="utf-8", newline="") as table:
        for row in csv.DictReader(table, delimiter="\t", quoting=csv.QUOTE_NONE):
            path = str((work / "tags").resolve() / row["path"])
            song = stored.pop(path, None)
            if song is None:
                failures.append(f"{path} is not stored")
                continue
            wanted = {key: row[key] for key in ("title", "artist", "album", "genre", "composer",
                                                "album_artist")}
            wanted.update({key: number(row[key]) for key in ("track", "disc", "year")})
            for key, value in wanted.items():
                if song[key] != value:
                    failures.append(f"{row['path']} ({row['form']}): {key} is {song[key]!r},"
                                    f" written was {value!r}")
            if not row["form"].startswith(("id3v1", "wav-info")):
                failures += differences(song)
            independent = mutagen.File(path, easy=True)
            for key in EASY:
                values = (independent or {}).get(key) if independent and independent.tags else None
                if values and str(values[0]) != song[key]:
                    failures.append(f"{row['path']}: {key} is {song[key]!r}, mutagen reads"
                                    f" {values[0]!r}")
                compared += bool(values)
    failures += [f"{path} is stored, but was not written" for path in stored]
    sample = trial.songs("sample")
    for song in sample.values():
        if "/Damaged/" not in song["path"]:
            failures += differences(song)
    print(f"{SONGS} songs, {compared} values read independently, {len(failures)} differences")
    print("\n".join(failures[:20]))
    return 1 if failures or compared < SONGS else 0


if __name__ == "__main__":
    sys.exit(main())
