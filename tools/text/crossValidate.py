#!/usr/bin/python3
"""Measures the guesser on tracks that its models were not trained with.

Usage: crossValidate.py PACKAGES_FOLDER FOLDS DEVELOPMENT_SET...

PACKAGES_FOLDER is the output of fetchPackages.sh. Builds the filter for each fold of the sets with
models trained without it: without its tracks, and without every line of the other texts that
contains one of its texts. Measures names of Western places as titles in the same way, and the
titles of tracks alone. Needs a C++ compiler.
"""

import collections
import os
import pathlib
import subprocess
import sys
import tempfile

import corpus
from countTexts import Texts, write
from languages import CODECS, LANGUAGES, WESTERN

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
NAMES = 1500  # of Western places per fold, at most
GENERATED = ("LatinModels", "ScriptModels", "CjkModels")


def western_names(packages):
    """Names of places with a letter beyond ASCII, in the languages of windows-1252."""
    found = set(corpus.subdivisions())
    for language in (l for l, codecs in CODECS.items() if codecs == WESTERN):
        for locale in LANGUAGES[language][0]:
            for domain in ("iso_3166-1", "iso_3166-2", "libgweather-locations"):
                for root in ("", packages):
                    path = f"{root}{corpus.LOCALE}/{locale}/LC_MESSAGES/{domain}.mo"
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
    compiler = ["g++", "-std=c++20", "-O2", f"-I{ROOT}", f"-I{ROOT}/include"]
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
    found.append("real music" if note.startswith("music") else f"shape {note}")
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
    packages, folds = sys.argv[1], int(sys.argv[2])
    rows = corpus.tracks(*sys.argv[3:])
    names = western_names(packages)
    judged = [(rows[fold::folds], names[fold::folds][:NAMES]) for fold in range(folds)]
    unseen = [{t for row in tracks for t in row[3:8] if not t.isascii()} | set(places)
              for tracks, places in judged]
    score = Score()
    with tempfile.TemporaryDirectory() as name:
        top = pathlib.Path(name)
        for language in LANGUAGES:
            texts = Texts(language, packages)
            for fold in range(folds):
                trained = [row for i, row in enumerate(rows) if i % folds != fold]
                write(top / str(fold) / "counts", language, texts.counts(trained, unseen[fold]))
        os.makedirs(top / "objects")
        for fold in range(folds):
            folder = top / str(fold)
            subprocess.run([sys.executable, ROOT / "tools/text/generateModels.py",
                            folder / "counts", folder], check=True)
            judge(build(folder, top / "objects"), *judged[fold], score)
    score.show()


if __name__ == "__main__":
    main()
