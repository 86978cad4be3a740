"""Runs processes and measures their cost."""

import os
import subprocess
import sys
import threading
import time
from dataclasses import dataclass
from pathlib import Path

SECONDS_BETWEEN_LOOKS = 0.01


@dataclass
class Cost:
    """The cost of a process and its children."""

    wall: float  # seconds
    cpu: float  # seconds
    peak: float  # megabytes, all processes at their peaks together
    output: bytes


def peak_of(pid):
    """The peak memory of a process in megabytes; 0 once it has ended."""
    try:
        status = Path(f"/proc/{pid}/status").read_text()
    except OSError:
        return 0
    return next((int(line.split()[1]) / 1024 for line in status.splitlines()
                 if line.startswith("VmHWM:")), 0)


def children_of(pid):
    try:
        return {child for task in Path(f"/proc/{pid}/task").iterdir()
                for child in (task / "children").read_text().split()}
    except OSError:
        return set()


class MemoryWatch:
    """Samples the peak memory of a process and its children. The kernel's figure at the end would include
    the process before exec."""

    def __init__(self, pid):
        self.own = self.of_children = 0
        self.ended = threading.Event()
        self.thread = threading.Thread(target=self._watch, args=(pid,))
        self.thread.start()

    def _watch(self, pid):
        while not self.ended.wait(SECONDS_BETWEEN_LOOKS):
            self.own = max(self.own, peak_of(pid))
            for child in children_of(pid):  # they run one after the other
                self.of_children = max(self.of_children, peak_of(child))

    def end(self):
        self.ended.set()
        self.thread.join()
        return self.own + self.of_children


def run(command, preexec_fn=None):
    """Runs a command to its end; a failure ends the benchmark."""
    begin = time.monotonic()
    child = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                             preexec_fn=preexec_fn)
    watch = MemoryWatch(child.pid)
    output = child.stdout.read()
    _, status, usage = os.wait4(child.pid, 0)
    wall = time.monotonic() - begin
    peak = watch.end()
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}: exit status {child.returncode}")
    return Cost(wall, usage.ru_utime + usage.ru_stime, peak, output)
