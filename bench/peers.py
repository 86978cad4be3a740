"""Measures other programs that index music, where they are installed."""

import os
import resource
import shutil
import signal
import socket
import sqlite3
import subprocess
import time
from contextlib import closing

from process import Cost, MemoryWatch, children_of

SECONDS_AT_MOST = 300
SECONDS_BETWEEN_LOOKS = 0.005
SECONDS_BETWEEN_LOOKS_AT_MEMORY = 0.05  # its time counts, too
SECONDS_TO_END = 10


class Failed(Exception):
    """The reason why a pass has no numbers."""


def program_of(name):
    """The path of a program, even if the user's PATH lacks the folders of daemons."""
    return shutil.which(name, path=f"{os.environ.get('PATH', '')}:/usr/sbin")


def until(condition, child):
    deadline = time.monotonic() + SECONDS_AT_MOST
    while not condition():
        if child.poll() is not None:
            raise Failed(f"ended before it had completed: exit status {child.returncode}")
        if time.monotonic() > deadline:
            raise Failed(f"did not complete within {SECONDS_AT_MOST} s")
        time.sleep(SECONDS_BETWEEN_LOOKS)


class Mpd:
    name, package = "MPD", "mpd"

    def __init__(self, folder):
        self.program = program_of("mpd")
        self.folder = folder
        self.socket = str(folder / "socket")

    def command(self, stick, first):
        config = self.folder / "mpd.conf"
        # Warnings only: otherwise it logs a line for each song.
        config.write_text(f"""\
music_directory "{stick}"
db_file "{self.folder}/database"
log_file "{self.folder}/log"
log_level "warning"
bind_to_address "{self.socket}"
auto_update "no"
zeroconf_enabled "no"
audio_output {{
    type "null"
    name "null"
}}
""")
        return [self.program, "--no-daemon", config]

    def complete(self, child, first):
        until(self._listens, child)
        if not first:  # without a database it updates on its own
            self._ask("update")
        until(lambda: "updating_db" not in self._ask("status"), child)

    def songs(self):
        return int(self._ask("stats")["songs"])

    def _listens(self):
        with socket.socket(socket.AF_UNIX) as connection:
            return connection.connect_ex(self.socket) == 0

    def _ask(self, request):
        answer = {}
        with socket.socket(socket.AF_UNIX) as connection:
            connection.settimeout(SECONDS_AT_MOST)
            connection.connect(self.socket)
            connection.sendall(f"{request}\n".encode())
            with connection.makefile(encoding="utf-8") as lines:
                next(lines)  # the greeting
                for line in lines:
                    if line == "OK\n":
                        return answer
                    key, _, value = line.rstrip("\n").partition(": ")
                    if not value:
                        raise Failed(f"answered to {request}: {key}")
                    answer[key] = value
        raise Failed(f"closed its socket at {request}")


class ReadyMedia:
    name, package = "ReadyMedia", "minidlna"

    def __init__(self, folder):
        self.program = program_of("minidlnad")
        self.folder = folder

    def command(self, stick, first):
        config = self.folder / "minidlna.conf"
        config.write_text(f"""\
media_dir=A,{stick}
db_dir={self.folder}
log_dir={self.folder}
log_level=scanner=debug
network_interface=lo
port=8200
inotify=no
friendly_name=bench
""")
        # It opens its HTTP port on all interfaces, whatever the configuration says: give it its own network.
        return ["unshare", "--map-root-user", "--net", self.program, "-S", "-f", config,
                "-P", self.folder / "pid", *([] if first else ["-r"])]

    def complete(self, child, first):
        log = self.folder / "minidlna.log"
        line = b"Initial file scan completed" if first else b"Rescan completed"
        until(lambda: log.exists() and line in log.read_bytes(), child)
        # Wait for the scanner to write the version: without it the next start would index everything again.
        until(lambda: not children_of(child.pid), child)

    def songs(self):
        with closing(sqlite3.connect(f"file:{self.folder}/files.db?mode=ro", uri=True)) as database:
            return database.execute("SELECT count(*) FROM DETAILS WHERE MIME LIKE 'audio/%'").fetchone()[0]


def warm(stick):
    """Restores the page cache: peers read other parts of the files and may drop those of the bare loop."""
    for path in stick.rglob("*"):
        if path.is_file():
            path.read_bytes()


def cpu_of_children():
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def end(child):
    if child.poll() is None:
        child.terminate()
    try:
        child.wait(SECONDS_TO_END)
    except subprocess.TimeoutExpired:
        os.killpg(child.pid, signal.SIGKILL)  # it was started in its own session
        child.wait()


def measure(peer, stick, songs, first):
    if not peer.program:
        raise Failed(f"Skipped: {peer.name} is not installed (package {peer.package})")
    if first:
        shutil.rmtree(peer.folder, ignore_errors=True)
        peer.folder.mkdir(parents=True)
    command = peer.command(stick.resolve(), first)
    warm(stick)
    cpu = cpu_of_children()
    begin = time.monotonic()
    child = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                             start_new_session=True)
    watch = MemoryWatch(child.pid, SECONDS_BETWEEN_LOOKS_AT_MEMORY)
    try:
        peer.complete(child, first)
        wall = time.monotonic() - begin
        found = peer.songs()
    finally:
        end(child)
        peak = watch.end()
    if found != songs:
        raise Failed(f"found {found} of {songs} songs")
    return Cost(wall, cpu_of_children() - cpu, peak, b"")


class Peers:
    """Runs the peers. Skips a peer on a stick where it failed before; `remarks` gives the reason."""

    def __init__(self, kinds, work):
        self.peers = [kind((work / "peers" / kind.package).resolve()) for kind in kinds]
        self.failures = {}

    def passes(self, stick, songs):
        for peer in self.peers:
            for name, first in ((f"{peer.name}, first index", True), (f"{peer.name}, no change", False)):
                if peer in self.failures:
                    break
                try:
                    cost = measure(peer, stick, songs, first)
                except (Failed, OSError, sqlite3.Error) as failure:
                    self.failures[peer] = f"{name} | {failure}"
                else:
                    yield name, cost

    def remarks(self, title):
        for failure in self.failures.values():
            yield f"| {title} | {failure} | | | |"
        self.failures.clear()
