#!/usr/bin/env python3
"""Measures indexing against a bare loop over the same files, side by side in one run.

Every pass is a process of its own with a warm page cache; passes are interleaved and medians of several
rounds are printed, as ratios to the bare loop of the same number of songs.
"""

import argparse
import json
import os
import shutil
import statistics
import subprocess
import sys
import time
from pathlib import Path

PASSES = ("bare loop", "first index, in-process", "first index", "no change", "1 % touched")
MUSIC = {".mp3", ".m4a", ".flac", ".wma", ".wav"}


def progress(text):
    print(text, file=sys.stderr, flush=True)


def run(command):
    """Runs a command; returns wall seconds, CPU seconds, peak megabytes and standard output."""
    begin = time.monotonic()
    child = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    output = child.stdout.read()
    _, status, usage = os.wait4(child.pid, 0)
    wall = time.monotonic() - begin
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}: exit status {child.returncode}")
    return wall, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024, output


class Bench:
    def __init__(self, build, work, rounds):
        self.build, self.work, self.rounds = Path(build), Path(work), rounds
        self.results = {}

    def make_stick(self, songs):
        stick = self.work / f"stick-{songs}"
        if not (stick / ".complete").exists():
            progress(f"making a stick of {songs} songs")
            shutil.rmtree(stick, ignore_errors=True)
            maker = next(self.build.rglob("orvel-make-stick"))
            subprocess.run([maker, "bench", stick, "--songs", str(songs)], check=True,
                           stdout=subprocess.DEVNULL)
            (stick / ".complete").touch()
        return stick

    def index(self, stick, databases, *options):
        wall, cpu, peak, output = run([self.build / "orvel", "index", stick, "--db-dir", databases,
                                       "--json", "--quiet", *options])
        return wall, cpu, peak, json.loads(output)

    def touch_some(self, stick, round_number):
        songs = sorted(p for p in stick.rglob("*") if p.suffix in MUSIC)
        stamp = 1_000_000_000 + round_number
        for song in songs[::100]:
            os.utime(song, (stamp, stamp))

    def measure(self, songs):
        stick = self.make_stick(songs)
        bare_loop = next(self.build.rglob("orvel-bare-loop"))
        run([bare_loop, stick])  # warms the page cache
        passes = {name: [] for name in PASSES}
        reports = []
        for number in range(self.rounds):
            progress(f"{songs} songs: round {number + 1} of {self.rounds}")
            databases = self.work / "databases"
            shutil.rmtree(databases, ignore_errors=True)
            passes["bare loop"].append(run([bare_loop, stick])[:3])
            passes["first index, in-process"].append(
                self.index(stick, databases, "--in-process")[:3])
            shutil.rmtree(databases)
            first = self.index(stick, databases)
            passes["first index"].append(first[:3])
            reports.append(first[3])
            passes["no change"].append(self.index(stick, databases)[:3])
            self.touch_some(stick, number)
            passes["1 % touched"].append(self.index(stick, databases)[:3])
        self.results[songs] = {name: [statistics.median(column) for column in zip(*values)]
                               for name, values in passes.items()}
        self.results[songs]["first song"] = statistics.median(
            report["first_song_seconds"] for report in reports)
        self.results[songs]["bytes"] = reports[-1]["database_bytes"]

    def table(self):
        lines = ["| songs | pass | wall s | against the bare loop | CPU s | peak MB |",
                 "|---|---|---|---|---|---|"]
        for songs, result in self.results.items():
            bare = result["bare loop"][0]
            for name in PASSES:
                wall, cpu, peak = result[name]
                lines.append(f"| {songs} | {name} | {wall:.3f} | {wall / bare:.2f} | {cpu:.2f} |"
                             f" {peak:.1f} |")
            first = result["first index"][0]
            in_process = result["first index, in-process"]
            lines.append(f"| {songs} | first index against in-process | |"
                         f" {first / in_process[0]:.2f} |"
                         f" {result['first index'][1] / in_process[1]:.2f} times | |")
            lines.append(f"| {songs} | first stored song | {result['first song']:.3f} |"
                         f" {result['first song'] / first:.2f} of the first index | | |")
            lines.append(f"| {songs} | database bytes per song | {result['bytes'] / songs:.0f} | | | |")
        sizes = sorted(self.results)
        if len(sizes) > 1:
            small, large = sizes[0], sizes[-1]
            cost = [self.results[n]["first index"][0] / n for n in (small, large)]
            lines.append(f"| {small} to {large} | growth of the cost per song | |"
                         f" {cost[1] / cost[0]:.2f} | | |")
        return "\n".join(lines)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--songs", type=int, nargs="+", default=[1000, 4000, 16000])
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--build", default="build/release")
    parser.add_argument("--work", default="build/bench")
    options = parser.parse_args()
    bench = Bench(options.build, options.work, options.rounds)
    bench.work.mkdir(parents=True, exist_ok=True)
    for songs in options.songs:
        bench.measure(songs)
    print(bench.table())


if __name__ == "__main__":
    main()
