"""Runs processes and measures their cost."""

import os
import subprocess
import sys
import threading
import time
from dataclasses import dataclass
from pathlib import Path

SECONDS_BETWEEN_LOOKS = 0.005


@dataclass
class Cost:
    """The cost of a process and its children."""

    wall: float  # seconds
    cpu: float  # seconds
    peak: float  # megabytes of all processes at one moment; 0 unless watched
    output: bytes


def memory_of(pid):
    """The memory of a process in megabytes, its part of shared pages (PSS) included; 0 once it has ended."""
    try:
        rollup = Path(f"/proc/{pid}/smaps_rollup").read_text()
    except OSError:
        return 0
    return next((int(line.split()[1]) / 1024 for line in rollup.splitlines() if line.startswith("Pss:")), 0)


def children_of(pid):
    try:
        return {child for task in Path(f"/proc/{pid}/task").iterdir()
                for child in (task / "children").read_text().split()}
    except OSError:
        return set()


def tree_of(pid):
    """A process and all that descend from it."""
    return [pid, *(below for child in children_of(pid) for below in tree_of(child))]


class MemoryWatch:
    """Samples the memory of a process and all that descend from it. That takes processor time."""

    def __init__(self, pid, seconds_between_looks=SECONDS_BETWEEN_LOOKS):
        self.peak = 0
        self.seconds_between_looks = seconds_between_looks
        self.ended = threading.Event()
        self.thread = threading.Thread(target=self._watch, args=(pid,))
        self.thread.start()

    def _watch(self, pid):
        before = 0
        while not self.ended.wait(self.seconds_between_looks):
            now = sum(map(memory_of, tree_of(pid)))
            # A child between vfork and exec doubles its parent's memory for one look.
            self.peak = max(self.peak, min(before, now))
            before = now

    def end(self):
        self.ended.set()
        self.thread.join()
        return self.peak


def run(command, watched=False):
    """Runs a command to its end; a failure ends the benchmark. Its memory is sampled if `watched`."""
    begin = time.monotonic()
    child = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    watch = MemoryWatch(child.pid) if watched else None
    output = child.stdout.read()
    _, status, usage = os.wait4(child.pid, 0)
    wall = time.monotonic() - begin
    peak = watch.end() if watch else 0
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}: exit status {child.returncode}")
    return Cost(wall, usage.ru_utime + usage.ru_stime, peak, output)
