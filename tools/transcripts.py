#!/usr/bin/env python3
"""Runs the commands that the documents show, and writes what they print into the documents.

    transcripts.py [--check] BUILD_FOLDER

A transcript is a block of code whose commands begin with "$ ". Three dots end an output that is shown in part.
--check changes nothing and fails where a document differs from a run, apart from times and sizes.
"""

import argparse
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
DOCUMENTS = "README.md", "docs/mtp.md"
BLOCK = re.compile(r"(?<=^```\n)\$ .*?(?=^```$)", re.M | re.S)
COMMAND = re.compile(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", re.M)
PROGRESS = re.compile(r"(Waiting|Searching|Indexing|Finished): \d+ songs found")
REST = "..."


class Desk:
    """A home with a clone, as a reader of the documents has it."""

    def __init__(self, folder, build):
        self.home = Path(folder)
        self.clone = self.home / "orvel"
        (self.clone / "build").mkdir(parents=True)
        for name in ("docs", "tools"):
            (self.clone / name).symlink_to(ROOT / name)
        (self.clone / "build/release").symlink_to(build)
        self.run("build/release/orvel-make-stick sample build/sample-stick")

    def run(self, command):
        environment = {"HOME": str(self.home), "PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8"}
        done = subprocess.run(command, shell=True, cwd=self.clone, env=environment, text=True, timeout=60,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        lines = done.stdout.replace(str(self.home), "~").splitlines()
        text = "".join(line + "\n" for line in lines if not PROGRESS.match(line))
        # The name of a database tells the path of the clone.
        return re.sub(r"/[^/ ]*-[0-9a-f]{32}\.db", "/….db", text)


def transcript(desk, match):
    command, shown = match.groups()
    output = desk.run(command)
    lines = shown.rstrip("\n").split("\n")
    if REST in lines:
        output = "".join(line + "\n" for line in output.splitlines()[:lines.index(REST)]) + REST + "\n"
    return f"$ {command}\n{output}" + ("\n" if shown.endswith("\n\n") else "")


def comparable(text):
    return re.sub(r"\d+\.\d+ (s|[kMG]B)\b", "… ", text)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--check", action="store_true")
    parser.add_argument("build", type=Path)
    options = parser.parse_args()
    stale = False
    with tempfile.TemporaryDirectory() as folder:
        desk = Desk(folder, options.build.resolve())
        for name in DOCUMENTS:
            before = (ROOT / name).read_text()
            after = BLOCK.sub(lambda block: COMMAND.sub(lambda m: transcript(desk, m), block[0]), before)
            if comparable(before) == comparable(after):
                continue
            if not options.check:
                (ROOT / name).write_text(after)
                continue
            stale = True
            for line in sorted(set(comparable(after).splitlines()) - set(comparable(before).splitlines())):
                print(f"{name} lacks: {line}", file=sys.stderr)
    if stale:
        sys.exit(f"Run tools/transcripts.py {options.build} and look at the difference.")


if __name__ == "__main__":
    main()
