#!/usr/bin/python3
"""Measures the guesser on tracks that its models were not trained with.

Usage: crossValidate.py DEVELOPMENT_SET [FOLDS]

Builds the filter for each fold of the set with models trained without it: without its tracks, and
without every line of the other texts that contains one of its texts. Measures names of Western
places as titles in the same way. Needs the packages of countTexts.py and a C++ compiler.
"""

import collections
import glob
import os
import pathlib
import subprocess
import sys
import tempfile

import corpus
from countTexts import Texts, write
from languages import CODECS, LANGUAGES, WESTERN

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
NAMES = 600  # of Western places per fold
GENERATED = ("LatinModels", "ScriptModels", "CjkModels")


def western_names():
    """Names of places with a letter beyond ASCII, in the languages of windows-1252."""
    found = set(corpus.subdivisions())
    for language in (l for l, codecs in CODECS.items() if codecs == WESTERN):
        for locale in LANGUAGES[language][0]:
            for domain in ("iso_3166-1", "iso_3166-2", "libgweather-locations"):
                for path in glob.glob(f"{corpus.LOCALE}/{locale}/LC_MESSAGES/{domain}.mo"):
                    found.update(corpus.catalogue(path))
    return [n for n in sorted(found, key=corpus.order)
            if not n.isascii() and n.isprintable() and len(n) <= 60 and encodable(n)]


def encodable(name):
    """True when windows-1252 can encode the name."""
    try:
        return bool(name.encode("cp1252"))
    except UnicodeEncodeError:
        return False


def build(folder, objects):
    """Builds the filter with the models in the folder; compiles the rest once, into `objects`."""
    compiler = ["g++", "-std=c++20", "-O2", f"-I{ROOT}"]
    others = GENERATED + ("AsianForms", "PinyinTable")
    sources = [p for p in sorted(ROOT.glob("text/**/*.cpp")) if p.stem not in others]
    sources += [ROOT / "tools/text/TrackLine.cpp", ROOT / "tools/text/textguess.cpp"]
    parts = []
    for source in sources + [folder / f"{name}.cpp" for name in GENERATED]:
        part = (folder if source.stem in GENERATED else objects) / f"{source.stem}.o"
        parts.append(part)
        if not part.exists():
            subprocess.run([*compiler, "-c", source, "-o", part], check=True)
    program = folder / "textguess"
    subprocess.run([*compiler, *parts, "-o", program], check=True)
    return program


class Score:
    """Numbers of right and of all tracks by group."""

    def __init__(self):
        self.right, self.all = collections.Counter(), collections.Counter()

    def count(self, groups, good):
        """Counts a track in its groups."""
        for group in groups:
            self.all[group] += 1
            self.right[group] += good

    def show(self):
        """Prints one line per group."""
        for group in sorted(self.all):
            right, total = self.right[group], self.all[group]
            print(f"{group:32} {100 * right / total:6.2f} %  ({total - right} wrong of {total})")


def groups_of(row):
    """The groups that a track counts in."""
    language, encoding, note = row[:3]
    found = ["all", f"language {language}", f"encoding {encoding}"]
    if encoding == "windows-1252":
        found.append("Western 8-bit")
    if language in ("zh", "zt", "ja", "ko"):
        found.append("Chinese, Japanese, Korean")
    if note.startswith("music"):
        found.append("real music")
    return found


def judge(program, rows, names, score):
    """Runs the filter over a fold and counts its right results."""
    jobs = []
    for row in rows:
        jobs.append((groups_of(row), row[8:13], row[3:8]))
        if row[3]:
            titles = ["title only, " + group for group in groups_of(row)
                      if not group.startswith(("language", "encoding"))]
            jobs.append((titles, [row[8]] + [""] * 4, [row[3]] + [""] * 4))
    for name in names:
        jobs.append((["Western place names"], [name.encode("cp1252").hex()] + [""] * 4,
                     [name] + [""] * 4))
    lines = "".join("\t".join(texts) + "\n" for _, texts, _ in jobs)
    done = subprocess.run([program], input=lines.encode(), stdout=subprocess.PIPE, check=True)
    for (groups, _, wanted), found in zip(jobs, done.stdout.decode().split("\n")):
        score.count(groups, found == "\t".join(wanted))


def main():
    rows = corpus.tracks(sys.argv[1])
    folds = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    names = western_names()
    texts = Texts()
    score = Score()
    with tempfile.TemporaryDirectory() as top:
        for fold in range(folds):
            judged, places = rows[fold::folds], names[fold::folds][:NAMES]
            trained = [row for i, row in enumerate(rows) if i % folds != fold]
            unseen = {t for row in judged for t in row[3:8] if not t.isascii()} | set(places)
            folder = pathlib.Path(top) / str(fold)
            for language in LANGUAGES:
                write(folder / "counts", language, texts.counts(language, trained, unseen))
            subprocess.run([sys.executable, ROOT / "tools/text/generateModels.py",
                            folder / "counts", folder], check=True)
            os.makedirs(pathlib.Path(top) / "objects", exist_ok=True)
            judge(build(folder, pathlib.Path(top) / "objects"), judged, places, score)
    score.show()


if __name__ == "__main__":
    main()
