#!/usr/bin/env python3
"""Checks that generated sources match the output of their script.

Usage: checkGenerated.py models|codeTables|pinyin

Exit status: 0 they match, 1 they differ, 77 the script's tools are not installed.
"""

import pathlib
import shutil
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
TABLES = HERE.parent.parent / "text" / "tables"


def run(*command):
    """Runs a script of this folder and returns its output."""
    return subprocess.run([sys.executable, "-B", *command], cwd=HERE, check=True,
                          stdout=subprocess.PIPE).stdout


def generate(sources, folder):
    """Writes the sources into a folder."""
    if sources == "pinyin":
        (folder / "PinyinTable.cpp").write_bytes(run("generatePinyin.py"))
    elif sources == "models":
        run("generateModels.py", "counts", folder)
    else:
        run("generateCodeTables.py", folder)


def main():
    sources = sys.argv[1]
    if sources == "pinyin" and not shutil.which("uconv"):
        print("skipped: needs uconv (package icu-devtools)")
        sys.exit(77)
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        generate(sources, folder)
        made = sorted(folder.iterdir())
        differing = [f.name for f in made if f.read_bytes() != (TABLES / f.name).read_bytes()]
    print(f"{len(made)} files,", "differing: " + ", ".join(differing) if differing else "all equal")
    sys.exit(1 if differing or not made else 0)


if __name__ == "__main__":
    main()
