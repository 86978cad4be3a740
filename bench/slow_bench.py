"""Measures indexing a slow stick, and a player beside it."""

import json
import sys
import threading
from pathlib import Path

from process import run
from slow_stick import DELAYS, NO_DELAYS, SlowFlash, SlowStick, obstacle

SECONDS_OF_MUSIC = 20
HEAD = """
| slow stick: songs | covers | delays | pass | wall s | against the bare loop | first song s | MB read | reads |
|---|---|---|---|---|---|---|---|---|"""


class SlowBench:
    """`bench` makes the songs and runs the indexer."""

    def __init__(self, bench):
        self.bench = bench
        self.device = next(bench.build.rglob("orvel-slow-device"))
        self.in_process = None  # the time of a first index against the bare loop, with delays

    def measure(self, counts, large_covers):
        """Measures one round: most of the time are delays, which are always the same."""
        reason = obstacle()
        if reason:
            yield f"\nSkipped: {reason}"
            return
        yield HEAD
        for count in counts:
            for large in (False, True) if large_covers else (False,):
                stick = self._stick(count, large)
                for delays in NO_DELAYS, DELAYS:
                    title = f"{count} | {'1 MB' if large else 'some'} | {'yes' if delays is DELAYS else 'no'}"
                    yield from self._passes(stick, delays, title, bounded=count == min(counts))
        yield from self._player(self._stick(min(counts), False))

    def _stick(self, count, large_covers):
        return SlowStick(self.device, self.bench.make_stick(count), self.bench.work, large_covers)

    def _passes(self, stick, delays, title, bounded):
        """Compares with the bare loop if `bounded`: it takes long."""
        bare = None

        def measured(name, command, first_song=""):
            with stick.attached(delays) as reads:
                cost = run(command)
                count, megabytes = reads.so_far()
            if first_song is None:
                first_song = f"{json.loads(cost.output)['first_song_seconds']:.2f}"
            ratio = f"{cost.wall / (bare or cost).wall:.2f}" if bounded else ""
            return cost, f"| {title} | {name} | {cost.wall:.2f} | {ratio} | {first_song} | {megabytes:.1f} | {count} |"

        if bounded:
            bare, line = measured("bare loop", [self.bench.bare_loop, stick.mount_point])
            yield line
        for name, options in (("first index, in-process", ["--in-process"]), ("first index", [])):
            if options and not bounded:
                continue
            flash = SlowFlash(self.device, self.bench.databases, self.bench.work)
            with flash.attached(delays):
                cost, line = measured(name, self.bench.command(stick.mount_point, *options), None)
            yield line
            if options and delays is DELAYS and self.in_process is None:
                self.in_process = cost.wall / bare.wall
        with flash.attached(delays):
            yield measured("no change", self.bench.command(stick.mount_point))[1]

    def _player(self, stick):
        """Measures a player that reads from the stick, alone and during repeated indexing."""
        yield "\n| a player on the slow stick | longest wait ms | stops |\n|---|---|---|"
        for name, options in (("alone", None), ("beside an index", []),
                              ("beside an index in the background", ["--background"])):
            with stick.attached(DELAYS):
                song = max(stick.mount_point.rglob("*.mp3"), key=lambda path: path.stat().st_size)
                ended = threading.Event()
                thread = threading.Thread(target=self._index_until, args=(ended, stick, options))
                if options is not None:
                    thread.start()
                played = json.loads(run([sys.executable, Path(__file__).with_name("player.py"), song,
                                         str(SECONDS_OF_MUSIC)]).output)
                ended.set()
                if options is not None:
                    thread.join()
            yield f"| {name} | {played['longest_ms']} | {played['stops']} |"

    def _index_until(self, ended, stick, options):
        while not ended.is_set():
            self.bench.forget()
            self.bench.index(stick.mount_point, *options)
