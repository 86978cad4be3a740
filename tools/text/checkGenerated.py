#!/usr/bin/env python3
"""Checks that generated sources match the output of their script.

Usage: checkGenerated.py models|codeTables|pinyin

Exit status: 0 they match, 1 they differ, 77 the script's tools are not installed, or not in the
version that the sources were made with.
"""

import pathlib
import shutil
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
TABLES = HERE.parent.parent / "text" / "tables"
ICU_OF_PINYIN = "ICU 72."


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


def whyNot(sources):
    """Why these sources cannot be generated here; empty if they can."""
    if sources != "pinyin":
        return ""
    if not shutil.which("uconv"):
        return "needs uconv (package icu-devtools)"
    version = subprocess.run(["uconv", "--version"], check=True, text=True, stdout=subprocess.PIPE).stdout
    return "" if ICU_OF_PINYIN in version else f"needs {ICU_OF_PINYIN}x, has {version.strip()}"


def main():
    sources = sys.argv[1]
    if reason := whyNot(sources):
        print("skipped:", reason)
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
