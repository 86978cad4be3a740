"""Records which thread of a command and its children works when."""

import os
import subprocess
import sys
import time
from dataclasses import dataclass, field
from pathlib import Path

from process import tree_of

SECONDS_BETWEEN_LOOKS = 0.002
LOOKS_BETWEEN_SEARCHES = 2  # for new threads and processes


@dataclass
class Track:
    """The processor time of a thread."""

    file: int  # its statistics
    name: str = ""
    samples: list = field(default_factory=list)  # (seconds since the begin, seconds of processor time)

    def used_at(self, second):
        """The processor time until then, between samples in proportion."""
        before = None
        for time_of, used in self.samples:
            if time_of >= second:
                begin, used_before = before or (time_of - used, 0.0)
                share = (second - begin) / (time_of - begin) if second > begin else 0
                return used_before + share * (used - used_before)
            before = time_of, used
        return self.total()

    def program(self):
        return self.name.split(":")[0]

    def total(self):
        return self.samples[-1][1] if self.samples else 0.0


class Recorder:
    def __init__(self, pid):
        self.pid = pid
        self.tracks = {}
        self.begin = time.monotonic()

    def search(self):
        for process in map(str, tree_of(self.pid)):
            try:
                for task in Path(f"/proc/{process}/task").iterdir():
                    if task not in self.tracks:
                        self.tracks[task] = Track(os.open(task / "schedstat", os.O_RDONLY))
                    self.tracks[task].name = self._name(process, task)  # threads get their names late
            except OSError:
                continue  # it has just ended

    @staticmethod
    def _name(process, task):
        program = Path(os.readlink(f"/proc/{process}/exe")).name
        thread = (task / "comm").read_text().strip()
        return program if task.name == process else f"{program}: {thread}"

    def look(self):
        now = time.monotonic() - self.begin
        for track in self.tracks.values():
            try:
                track.samples.append((now, int(os.pread(track.file, 64, 0).split()[0]) / 1e9))
            except (OSError, IndexError):
                continue  # it has ended
        return now

    def close(self):
        for track in self.tracks.values():
            os.close(track.file)


def record(command):
    """Returns the tracks and the seconds that the command took."""
    child = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    recorder = Recorder(child.pid)
    looks = 0
    while child.poll() is None:
        if looks % LOOKS_BETWEEN_SEARCHES == 0:
            recorder.search()
        looks += 1
        end = recorder.look()
        time.sleep(max(0.0, looks * SECONDS_BETWEEN_LOOKS - end))
    recorder.close()
    if child.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}: exit status {child.returncode}")
    return list(recorder.tracks.values()), end
