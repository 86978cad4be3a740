#!/usr/bin/python3
"""Measures how long frames take while the screen scrolls through songs, by the software renderer's own log."""

import argparse
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

FRAME = re.compile(r"Frame rendered with 'software' renderloop in (\d+)ms, polish=(\d+), sync=(\d+), render=(\d+)")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=Path, default=Path("build/release"))
    parser.add_argument("--songs", type=int, default=16000)
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([options.build / "orvel-make-stick", "tags", f"{folder}/stick", "--songs", str(options.songs),
                        "--manifest", f"{folder}/songs.tsv"], check=True, stdout=subprocess.DEVNULL)
        environment = dict(os.environ, QT_QPA_PLATFORM="offscreen", QT_QUICK_BACKEND="software", QT_FORCE_STDERR_LOGGING="1",
                           QT_LOGGING_RULES="qt.scenegraph.time.renderloop=true")
        screen = subprocess.run([options.build / "orvel-screen", "--scroll", "--db-dir", f"{folder}/databases",
                                 f"{folder}/stick"], env=environment, stderr=subprocess.PIPE, text=True, timeout=300)
    before, begun, scrolling = screen.stderr.partition("scrolling ")
    if screen.returncode != 0 or not begun:
        sys.exit(f"the screen did not scroll:\n{screen.stderr[-2000:]}")
    for name, log in ("while it indexes", before), ("while it scrolls", scrolling):
        frames = sorted(int(match[1]) for match in FRAME.finditer(log))
        late = sum(frame > 16 for frame in frames)
        print(f"{name}: {len(frames)} frames, median {frames[len(frames) // 2]} ms, "
              f"99 of 100 within {frames[len(frames) * 99 // 100]} ms, longest {frames[-1]} ms, {late} over 16 ms")


if __name__ == "__main__":
    main()
