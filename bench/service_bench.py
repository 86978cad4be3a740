#!/usr/bin/python3
"""Measures the service side by side with what it is compared to: pages on the bus and from SQLite itself, searches, an index
alone and while many clients read pages, a mount and its first song on the bus, and what an idle service takes.

Run by root in namespaces of its own; needs the system's Python with its GObject bindings.
"""

import argparse
import ctypes
import os
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

from gi.repository import Gio, GLib

NAME, ROOT = "org.orvel.Indexer1", "/org/orvel/Indexer1"
SONGS = "SELECT S.PATH, S.NAME, S.TITLE, R.ARTIST, B.ALBUM, G.GENRE, C.COMPOSER, S.TRACKIND, S.DISCNUM, D.PATH," \
        " S.OBJECTID, S.LASTMODIFIED FROM SONGS S LEFT JOIN ARTISTS R ON R.ARTISTID = S.ARTISTID LEFT JOIN ALBUMS B" \
        " ON B.ALBUMID = S.ALBUMID LEFT JOIN GENRES G ON G.GENREID = S.GENREID LEFT JOIN COMPOSERS C ON" \
        " C.COMPOSERID = S.COMPOSERID LEFT JOIN DIRECTORIES D ON D.OBJECTID = S.DIRECTORYID" \
        " ORDER BY S.PATH COLLATE UTF8, S.ID LIMIT 100 OFFSET %d"
SQLITE_ROW = 100


def progress(text):
    print(text, file=sys.stderr, flush=True)


def median_ms(seconds):
    return 1000 * statistics.median(seconds)


class Service:
    """orveld on a bus of its own."""

    def __init__(self, build, databases, configuration=""):
        self.config = Path(databases) / "orveld.conf"
        self.config.write_text(configuration)
        self.process = subprocess.Popen([build / "orveld", "--session", "--db-dir", databases, "--config", self.config])
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        while not self.owner():
            time.sleep(0.005)

    def owner(self):
        answer = self.bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                    "NameHasOwner", GLib.Variant("(s)", (NAME,)), None, 0, -1)
        return answer.unpack()[0]

    def call(self, path, method, arguments, bus=None):
        interface, _, member = method.rpartition(".")
        return (bus or self.bus).call_sync(NAME, path, f"{NAME}.{interface}", member, arguments, None, 0, -1)

    def index(self, folder):
        return self.call(ROOT, "Manager.Index", GLib.Variant("(sa{sv})", (str(folder), {}))).unpack()[0]

    def page(self, device, offset=0, count=100, bus=None):
        return self.call(device, "Browser.List", GLib.Variant("(sa{sv}suu)", ("songs", {}, "", offset, count)), bus)

    def objects(self):
        return self.bus.call_sync(NAME, ROOT, "org.freedesktop.DBus.ObjectManager", "GetManagedObjects", None, None, 0,
                                  -1).unpack()[0]

    def wait_for_end(self, device):
        while True:
            facts = self.objects()[device][f"{NAME}.Device"]
            if facts["State"] == "idle" and facts["Status"] == "OK":
                return facts
            time.sleep(0.02)

    def forget(self, device):
        self.call(ROOT, "Manager.Forget", GLib.Variant("(o)", (device,)))

    def context_switches(self):
        return sum(int(line.split()[1]) for task in Path(f"/proc/{self.process.pid}/task").iterdir()
                   for line in (task / "status").read_text().splitlines() if "ctxt_switches" in line)

    def memory(self):
        lines = Path(f"/proc/{self.process.pid}/smaps_rollup").read_text().splitlines()
        return {key: int(value.split()[0]) / 1024 for key, _, value in (line.partition(":") for line in lines)
                if key in ("Pss", "Private_Dirty")}

    def stop(self):
        self.process.terminate()
        self.process.wait(10)


class Sqlite:
    """SQLite itself, with the indexer's own collation."""

    def __init__(self, build, path):
        self.lib = ctypes.CDLL("libsqlite3.so.0")
        self.lib.sqlite3_column_text.restype = ctypes.c_char_p
        self.orvel = ctypes.CDLL(build / "liborvel.so")
        self.database = ctypes.c_void_p()
        self.lib.sqlite3_open_v2(path.encode(), ctypes.byref(self.database), 1, None)
        self.lib.sqlite3_create_collation(self.database, b"UTF8", 1, None, self.orvel.collation_utf8)

    def page(self, offset):
        statement = ctypes.c_void_p()
        self.lib.sqlite3_prepare_v2(self.database, (SONGS % offset).encode(), -1, ctypes.byref(statement), None)
        rows = 0
        while self.lib.sqlite3_step(statement) == SQLITE_ROW:
            rows += 1
        self.lib.sqlite3_finalize(statement)
        return rows


def timed(work):
    begin = time.perf_counter()
    work()
    return time.perf_counter() - begin


def measure_pages(service, build, device, rounds):
    direct = Sqlite(build, service.objects()[device][f"{NAME}.Device"]["DatabasePath"])
    bus, own = [], []
    for number in range(rounds):
        offset = 100 * (number % 20)
        bus.append(timed(lambda: service.page(device, offset)))
        own.append(timed(lambda: direct.page(offset)))
    ratio = statistics.median(a / b for a, b in zip(bus, own))
    print(f"page of 100 songs: {median_ms(bus):.1f} ms on the bus, {median_ms(own):.1f} ms from SQLite, ratio {ratio:.2f}")


def measure_search(service, build, device, rounds):
    """The words are of the stick's own titles: a letter, the beginning of a word, two words."""
    database = service.objects()[device][f"{NAME}.Device"]["DatabasePath"]
    titles = [row["title"].split() for row in service.page(device, 0, 1000).unpack()[1] if " " in row.get("title", "")]
    words = [title[0][:length] for title in titles[:20] for length in (1, 3)] + [" ".join(title) for title in titles[:20]]

    def search(text):
        service.call(device, "Browser.Search", GLib.Variant("(sasuu)", (text, [], 0, 20)))

    def search_by_command(text):
        subprocess.run([build / "orvel", "search", "--db", database, "--limit", "20", text], stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)

    first = timed(lambda: search(words[0]))
    bus = [timed(lambda: search(text)) for text in words for _ in range(rounds)]
    command = [timed(lambda: search_by_command(text)) for text in words]
    bare = [timed(lambda: subprocess.run([build / "orvel", "--version"], stdout=subprocess.DEVNULL)) for _ in words]
    print(f"search: {1000 * first:.1f} ms the first time, then median {median_ms(bus):.1f} ms, worst"
          f" {1000 * max(bus):.1f} ms on the bus; the command {median_ms(command):.1f} ms, without searching"
          f" {median_ms(bare):.1f} ms")


READER = """
import sys, threading
from gi.repository import Gio, GLib
device, clients = sys.argv[1], int(sys.argv[2])
def read():
    bus = Gio.DBusConnection.new_for_address_sync(
        Gio.dbus_address_get_for_bus_sync(Gio.BusType.SESSION, None),
        Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
    while True:
        try:
            bus.call_sync("org.orvel.Indexer1", device, "org.orvel.Indexer1.Browser", "List",
                          GLib.Variant("(sa{sv}suu)", ("songs", {}, "", 0, 100)), None, 0, 60000)
        except GLib.Error:
            pass
for _ in range(clients): threading.Thread(target=read, daemon=True).start()
sys.stdin.read()
"""


def measure_flood(service, stick, other, clients, rounds):
    alone, beside = [], []
    for _ in range(rounds):
        for seconds, flooded in ((alone, False), (beside, True)):
            readers = []
            if flooded:
                readers = [subprocess.Popen(["nice", sys.executable, "-c", READER, other, str(clients)],
                                            stdin=subprocess.PIPE)]
                time.sleep(3)
            begin = time.perf_counter()
            device = service.index(stick)
            service.wait_for_end(device)
            seconds.append(time.perf_counter() - begin)
            for reader in readers:
                reader.kill()
                reader.wait()
            service.forget(device)
    ratio = statistics.median(b / a for a, b in zip(alone, beside))
    print(f"index alone {statistics.median(alone):.2f} s, beside {clients} clients {statistics.median(beside):.2f} s,"
          f" ratio {ratio:.2f}")


def measure_idle(service, seconds):
    time.sleep(3)
    before = service.context_switches()
    time.sleep(seconds)
    memory = service.memory()
    print(f"idle: {service.context_switches() - before} wake-ups in {seconds} s, {memory['Pss']:.1f} MiB PSS,"
          f" {memory['Private_Dirty']:.1f} MiB of its own dirty")


def songs_on(service, device):
    try:
        return service.page(device, 0, 1).unpack()[0]
    except GLib.Error:
        return 0  # there is no database yet


def measure_plug(service, stick, rounds):
    """The stick is bound below /media, on a file system of its own."""
    seconds = []
    for number in range(rounds):
        folder = f"/media/stick{number}"
        os.mkdir(folder)
        known = set(service.objects())
        begin = time.perf_counter()
        subprocess.run(["mount", stick, folder], check=True)
        mounted = time.perf_counter()
        device = None
        while device is None:
            device = next(iter(set(service.objects()) - known), None)
        while songs_on(service, device) == 0:
            time.sleep(0.002)
        seconds.append(time.perf_counter() - mounted)
        service.wait_for_end(device)
        subprocess.run(["umount", folder], check=True)
        service.forget(device)
        time.sleep(0.3)
    print(f"mount to first song: median {median_ms(seconds):.0f} ms, worst {1000 * max(seconds):.0f} ms")


def bench_stick(build, folder, songs):
    subprocess.run([build / "orvel-make-stick", "bench", folder, "--songs", str(songs)], check=True,
                   stdout=subprocess.DEVNULL)
    return folder


def image_of(folder):
    """An ext4 image on a loop device, whose contents are in the page cache."""
    image = f"{folder}.img"
    kilobytes = int(subprocess.run(["du", "-sk", folder], check=True, stdout=subprocess.PIPE).stdout.split()[0])
    subprocess.run(["mke2fs", "-q", "-F", "-t", "ext4", "-d", folder, image, f"{kilobytes + kilobytes // 4 + 8192}k"],
                   check=True)
    return subprocess.run(["losetup", "-f", "--show", image], check=True, stdout=subprocess.PIPE).stdout.decode().strip()


def measure(options, work):
    build = options.build.resolve()
    progress("Making sticks")
    large = bench_stick(build, work / "large", options.songs)
    small = bench_stick(build, work / "small", 1000)
    service = Service(build, work / "databases", "[devices]\ninternal-disks=yes\nphones=no\n[indexing]\nbackground=no\n")
    loop = image_of(small)
    try:
        progress("Idle")
        measure_idle(service, options.idle_seconds)
        progress("Plugging")
        measure_plug(service, loop, options.rounds)
        device = service.index(large)
        service.wait_for_end(device)
        progress("Pages")
        measure_pages(service, build, device, 20 * options.rounds)
        progress("Search")
        measure_search(service, build, device, options.rounds)
        progress("Clients")
        measure_flood(service, small, device, options.clients, options.rounds)
        progress("Idle again")
        measure_idle(service, options.idle_seconds)
    finally:
        service.stop()
        subprocess.run(["losetup", "-d", loop], check=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=Path, default=Path("build/release"))
    parser.add_argument("--songs", type=int, default=16000, help="on the stick that is browsed")
    parser.add_argument("--clients", type=int, default=200)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--idle-seconds", type=int, default=60)
    options = parser.parse_args()
    if "OWN_MOUNTS" not in os.environ:
        os.environ["OWN_MOUNTS"] = "1"
        os.execvp("unshare", ["unshare", "--mount", "--propagation", "private", sys.executable, *sys.argv])
    subprocess.run(["mount", "-t", "tmpfs", "tmpfs", "/media"], check=True)
    bus = Gio.TestDBus.new(Gio.TestDBusFlags.NONE)
    bus.up()
    with tempfile.TemporaryDirectory() as folder:
        (Path(folder) / "databases").mkdir()
        measure(options, Path(folder))
    bus.stop()


if __name__ == "__main__":
    main()
