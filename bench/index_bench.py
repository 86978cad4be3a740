#!/usr/bin/python3
"""Measures indexing against a bare loop over the same files, side by side in one run.

Every pass is a process of its own. Passes are interleaved; medians of several rounds are printed, with the
medians of their ratios to the bare loop of the same round.
"""

import argparse
import json
import os
import shutil
import sqlite3
import statistics
import subprocess
import sys
from contextlib import closing
from pathlib import Path

import counts
import goals
from peers import Mpd, Peers, ReadyMedia
from plots import plot_costs, plot_timeline
from process import run
from report import Report
from slow_bench import SlowBench
from timeline import record


MUSIC = {".mp3", ".m4a", ".flac", ".wma", ".wav"}
FIRST = "first index"
IN_PROCESS = "first index, in-process"
ON_ONE_CORE = "first index, one core"
PARTITIONS = 3
ROUNDS_OF_MEMORY = 3
SMALL_STICK = 100
STARTS = 20
# The functions that each request runs, even if nothing has changed.
OF_EVERY_RUN = {
    "change detection": ["orvel::ChangeFinder::doOperation"],
    "clean-up": ["orvel::SongSaver::finish", "orvel::SongDirectoryPipeline::removeOrphanedEntries"],
    "check of the database": ["orvel::DatabaseCheck::check"],
}


def progress(text):
    print(text, file=sys.stderr, flush=True)


def songs_of(stick):
    return sorted(path for path in Path(stick).rglob("*") if path.suffix in MUSIC)


def forget_content(stick):
    """Drops the files' contents from the page cache, but not their names."""
    os.sync()  # dirty pages cannot be dropped
    for path in Path(stick).rglob("*"):
        if path.is_file():
            descriptor = os.open(path, os.O_RDONLY)
            os.posix_fadvise(descriptor, 0, 0, os.POSIX_FADV_DONTNEED)
            os.close(descriptor)


class Medians:
    """The costs of passes, by name, over all rounds."""

    def __init__(self):
        self.costs = {}

    def add(self, name, cost):
        self.costs.setdefault(name, []).append(cost)
        return cost

    def of(self, name, attribute="wall"):
        return statistics.median(getattr(cost, attribute) for cost in self.costs[name])

    def ratio(self, name, reference):
        """The median ratio of passes of the same round, which the machine's load affects alike."""
        return statistics.median(cost.wall / bare.wall
                                 for cost, bare in zip(self.costs[name], self.costs[reference]))

    def slowest(self, name):
        return max(cost.wall for cost in self.costs[name])

    def rows(self, title, reference, watched=None):
        """Lines of a table; the peaks of memory come from `watched` where it has them."""
        for name in self.costs:
            source = watched if watched and name in watched.costs else self
            peak = source.of(name, "peak")  # 0 unless watched
            yield (f"| {title} | {name} | {self.of(name):.3f} | {self.ratio(name, reference):.2f} |"
                   f" {self.of(name, 'cpu'):.2f} | {f'{peak:.1f}' if peak else ''} |")


class Bench:
    def __init__(self, options):
        self.build, self.work = Path(options.build), Path(options.work)
        self.rounds = options.rounds
        self.work.mkdir(parents=True, exist_ok=True)
        self.databases = self.work / "databases"
        self.bare_loop = next(self.build.rglob("orvel-bare-loop"))
        self.first_runs = {}
        self.figures = {}
        self.seconds = {name: {} for name in ("bare loop", FIRST, IN_PROCESS, "no change")}  # by songs
        self.peers = Peers([Mpd, ReadyMedia] if options.peers else [], self.work)

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

    def command(self, *sticks_and_options):
        return [self.build / "orvel", "index", *sticks_and_options, "--db-dir", self.databases, "--json",
                "--quiet"]

    def index(self, *sticks_and_options, **of_process):
        return run(self.command(*sticks_and_options), **of_process)

    def forget(self):
        shutil.rmtree(self.databases, ignore_errors=True)

    def rows_alone(self):
        """Copies the rows of the finished database, as fast as one thread can."""
        source = next(self.databases.glob("*.db"))
        target = self.work / "rows.db"
        for suffix in ("", "-wal", "-shm"):
            Path(f"{target}{suffix}").unlink(missing_ok=True)
        return run([sys.executable, Path(__file__).with_name("store_rows.py"), source, target])

    def touch_some(self, songs, number):
        stamp = 1_000_000_000 + number
        for song in songs[::100]:
            os.utime(song, (stamp, stamp))

    def add_folder(self, stick, songs):
        """Adds a folder with the songs of one album."""
        added = stick / "added"
        shutil.rmtree(added, ignore_errors=True)
        added.mkdir()
        for song in songs[:12]:
            shutil.copy(song, added)
        return added

    def warm_round(self, stick, songs, number, results, watched=False):
        """Returns the report of the first index. Times do not count if memory is watched."""
        self.forget()
        results.add("walk", run([self.bare_loop, "--names", stick], watched))
        results.add("bare loop", run([self.bare_loop, stick], watched))
        results.add(ON_ONE_CORE, run(["taskset", "-c", "0", *self.command(stick)], watched))
        self.forget()
        results.add(IN_PROCESS, self.index(stick, "--in-process", watched=watched))
        self.forget()
        report = json.loads(results.add(FIRST, self.index(stick, watched=watched)).output)
        results.add("the same rows alone", self.rows_alone())
        results.add("no change", self.index(stick, watched=watched))
        self.touch_some(songs, number + (self.rounds if watched else 0))
        results.add("1 % touched", self.index(stick, watched=watched))
        added = self.add_folder(stick, songs)
        results.add("a folder added", self.index(stick, watched=watched))
        shutil.rmtree(added)
        if watched:
            return report
        for name, cost in self.peers.passes(stick, len(songs)):
            results.add(name, cost)
        return report

    def cold_round(self, stick, results):
        forget_content(stick)
        results.add("bare loop, cold", run([self.bare_loop, stick]))
        for name, options in (("first index, in-process, cold", ["--in-process"]),
                              (f"{FIRST}, cold", [])):
            self.forget()
            forget_content(stick)
            results.add(name, self.index(stick, *options))

    def measure(self, count):
        stick = self.make_stick(count)
        songs = songs_of(stick)
        warm, cold, watched, reports = Medians(), Medians(), Medians(), []
        for number in range(ROUNDS_OF_MEMORY):  # the first one also warms the page cache
            progress(f"{count} songs: memory, round {number + 1} of {ROUNDS_OF_MEMORY}")
            self.warm_round(stick, songs, number, watched, watched=True)
        for number in range(self.rounds):
            progress(f"{count} songs: round {number + 1} of {self.rounds}")
            reports.append(self.warm_round(stick, songs, number, warm))
            self.cold_round(stick, cold)
            run([self.bare_loop, stick])
        yield from warm.rows(count, "bare loop", watched)
        yield from self.peers.remarks(count)
        yield from cold.rows(count, "bare loop, cold")
        for name, seconds in (
                ("first stored song", lambda report: report["first_song_seconds"]),
                ("complete folder tree", lambda report: report["partitions"][0]["folder_tree_seconds"])):
            after = statistics.median(map(seconds, reports))
            yield f"| {count} | {name} | {after:.3f} | {after / warm.of(FIRST):.2f} of the first index | | |"
        yield (f"| {count} | database bytes per song |"
               f" {reports[-1]['database_bytes'] / count:.0f} | | | |")
        self.first_runs[count] = warm.of(IN_PROCESS, "cpu") / count
        self.note(count, warm, watched, reports)

    def note(self, count, warm, watched, reports):
        """Notes the figures that the goals speak of; the last stick is the largest."""
        for name, by_songs in self.seconds.items():
            by_songs[count] = warm.of(name)
        self.figures |= {
            goals.FIRST_INDEX: warm.ratio(FIRST, "bare loop"),
            goals.ON_ONE_CORE: warm.ratio(ON_ONE_CORE, "bare loop"),
            goals.IN_PROCESS: warm.ratio(IN_PROCESS, "bare loop"),
            goals.NO_CHANGE: warm.ratio("no change", "bare loop"),
            goals.TOUCHED: warm.ratio("1 % touched", "bare loop"),
            goals.FIRST_SONG: statistics.median(report["first_song_seconds"] for report in reports) / warm.of(FIRST),
            goals.MEMORY: watched.of(FIRST, "peak"),
        }

    def measure_small(self):
        """Measures small sticks more often: their times are short, and the slowest one counts."""
        results = Medians()
        for count, rounds in ((SMALL_STICK, 4 * self.rounds), (1000, self.rounds)):
            stick = self.make_stick(count)
            run([self.bare_loop, stick])  # warms the page cache
            for _ in range(rounds):
                self.forget()
                results.add(count, self.index(stick))
            yield (f"| {count} | first index; the slowest of {rounds} | {results.of(count):.3f};"
                   f" {results.slowest(count):.3f} | | {results.of(count, 'cpu'):.2f} | |")
        self.figures |= {goals.SMALL_FIRST_INDEX: results.slowest(SMALL_STICK),
                         goals.FIRST_INDEX_OF_1000: results.of(1000)}

    def start(self):
        """Measures how long the command line takes to start and to end."""
        results = Medians()
        for _ in range(STARTS):
            results.add("start", run([self.build / "orvel", "--version"]))
        libraries = subprocess.run(["ldd", self.build / "orvel"], check=True, stdout=subprocess.PIPE).stdout
        yield (f"| | `orvel --version`, {libraries.count(b'=>')} libraries | {results.of('start'):.4f} | |"
               f" {results.of('start', 'cpu'):.4f} | |")

    def measure_surplus(self, count):
        """Compares the size of a database with the contents of its pages: rows, keys and their headers."""
        stick = self.make_stick(count)
        self.forget()
        total = json.loads(self.index(stick).output)["database_bytes"]
        path = next(self.databases.glob("*.db"))
        with closing(sqlite3.connect(f"file:{path}?mode=ro", uri=True)) as database:
            contents = database.execute("SELECT sum(pgsize - unused) FROM dbstat").fetchone()[0]
        self.figures[goals.SURPLUS] = total / contents - 1
        yield f"| {count} | database bytes per song in use | {contents / count:.0f} | | | |"

    def growth(self):
        if len(self.first_runs) < 2:
            return
        small, large = min(self.first_runs), max(self.first_runs)
        self.figures[goals.GROWTH] = self.first_runs[large] / self.first_runs[small]
        yield f"| {small} to {large} | growth of the processor time per song | | {self.figures[goals.GROWTH]:.2f} | | |"

    def measure_partitions(self, count):
        """Measures several partitions of one device, each with the most songs of one request."""
        stick = self.make_stick(count)
        partitions = [stick]
        for number in range(2, PARTITIONS + 1):
            partitions.append(self.work / f"partition-{number}-of-{count}")
            if not partitions[-1].exists():
                subprocess.run(["cp", "-al", stick, partitions[-1]], check=True)
        results = Medians()
        for _ in range(self.rounds):
            for name, sticks in (("one", [stick]), ("several", partitions)):
                self.forget()
                results.add(name, self.index(*sticks, "--in-process", "--device-id", "bench"))
        each = results.ratio("several", "one") / PARTITIONS
        yield (f"| {PARTITIONS} x {count} | first index of {PARTITIONS} partitions |"
               f" {results.of('several'):.3f} | {each:.2f} of one partition, each |"
               f" {results.of('several', 'cpu'):.2f} | |")

    def draw(self, folder, count):
        """Draws the cost against the number of songs, and who works when during a first index."""
        plot_costs(self.seconds, folder / "cost.svg")
        stick = self.make_stick(count)
        run([self.bare_loop, stick])  # warms the page cache
        self.forget()
        plot_timeline(*record(self.command(stick)), folder / "timeline.svg")

    def single_parts(self):
        """Runs the micro-benchmarks and yields the report of Google Benchmark unchanged."""
        program = self.build / "orvel-microbench"
        if program.exists():
            progress("measuring single parts")
            yield "\n```"
            yield subprocess.run([program, "--benchmark_color=false"], check=True, text=True,
                                 stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout.rstrip()
            yield "```"
        else:
            yield "\nSingle parts were not measured: libbenchmark-dev was not installed when this was built."

    def counted(self, songs):
        obstacle = counts.missing_tool()
        if obstacle:
            yield f"\nNothing was counted: {obstacle}"
            return
        progress("counting system calls and instructions")
        if len(songs) > 1:
            yield from self.count_system_calls(songs[0], songs[-1])
        yield from self.count_flushes([SMALL_STICK, songs[-1]])
        yield from self.count_instructions(songs)

    def count_system_calls(self, few, many):
        """Counts per additional song, so without the fixed cost of a run."""
        yield "\n| system calls per new song | |\n|---|---|"
        for name, command in (("bare loop", lambda stick: [self.bare_loop, stick]),
                              (IN_PROCESS, lambda stick: self.command(stick, "--in-process"))):
            calls = []
            for count in (few, many):
                self.forget()
                calls.append(counts.system_calls(command(self.make_stick(count)), self.work))
            per_song = (calls[1] - calls[0]) / (many - few)
            self.figures[goals.SYSTEM_CALLS] = per_song  # the library's is the last
            yield f"| {name} | {per_song:.1f} |"

    def count_flushes(self, songs):
        yield "\n| flushes to the disk |" + "".join(f" {n} songs |" for n in songs)
        yield "|---|" + "---|" * len(songs)
        flushes = {FIRST: [], "no change": []}
        for count in songs:
            stick = self.make_stick(count)
            self.forget()
            for of_pass in flushes.values():
                of_pass.append(counts.flushes(self.command(stick), self.work))
        self.figures |= {goals.SMALL_FLUSHES: flushes[FIRST][0], goals.FLUSHES_OF_NO_CHANGE: max(flushes["no change"])}
        for name, numbers in flushes.items():
            yield f"| {name} |" + "".join(f" {number} |" for number in numbers)

    def count_instructions(self, songs):
        yield "\n| instructions per song where nothing changed |" + "".join(f" {n} songs |" for n in songs)
        yield "|---|" + "---|" * len(songs)
        functions = [function for names in OF_EVERY_RUN.values() for function in names]
        costs = {}
        for count in songs:
            stick = self.make_stick(count)
            self.forget()
            self.index(stick, "--in-process")
            costs[count] = counts.instructions(self.command(stick, "--in-process"), functions, self.work)
        for name, parts in OF_EVERY_RUN.items():
            yield f"| {name} |" + "".join(
                f" {sum(costs[count][part] for part in parts) / count:.0f} |" for count in songs)

    def measure_slow(self, counts, large_covers):
        slow = SlowBench(self)
        progress("indexing slow sticks")
        yield from slow.measure(counts, large_covers)
        self.figures[goals.SLOW_IN_PROCESS] = slow.in_process


def rows(bench, options):
    yield "| songs | pass | wall s | against the bare loop | CPU s | peak MB |\n|---|---|---|---|---|---|"
    for count in options.songs:
        yield from bench.measure(count)
    yield from bench.growth()
    yield from bench.measure_small()
    yield from bench.start()
    yield from bench.measure_surplus(max(options.songs))
    yield from bench.measure_partitions(max(options.songs))
    yield from bench.counted(sorted(options.songs))
    if not options.no_slow_stick:
        yield from bench.measure_slow(sorted({min(options.songs), max(options.songs)}), options.large_covers)
    yield from bench.single_parts()


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--songs", type=int, nargs="+", default=[1000, 4000, 16000])
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--build", default="build/release")
    parser.add_argument("--work", default="build/bench")
    parser.add_argument("--docs", type=Path, default="build/bench/docs",
                        help="where to write the tables and the pictures: docs, for the project's own")
    parser.add_argument("--no-slow-stick", action="store_true")
    parser.add_argument("--large-covers", action="store_true",
                        help="index slow sticks with covers of 1 MB in each song, too: 1.2 GB per 1000 songs")
    parser.add_argument("--peers", action="store_true",
                        help="measure MPD and ReadyMedia too, where they are installed")
    options = parser.parse_args()
    options.songs.sort()
    bench, report, most = Bench(options), Report(), options.songs[-1]
    report.add(rows(bench, options))
    report.add([f"\nThe goals, at {most} songs, against the bare loop unless something else is said:\n"])
    table = report.add(goals.goals_table(bench.figures))
    bench.draw(options.docs / "pictures", most)
    report.write(options.docs, f"Medians of {options.rounds} rounds, {goals.CORES} cores", table)


if __name__ == "__main__":
    main()
