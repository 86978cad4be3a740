"""A stick of everything that strangers may bring, beside forty good songs."""

import json
import os
import pathlib
import subprocess
import time
import unittest

from orvelCommand import ORVEL, CommandTestCase, writeSong

FLAC = pathlib.Path(__file__).parents[2] / "tools/stick/seeds/tone.flac"
# Sanitizers and emulators take times of their own, and memory.
INSTRUMENTED = os.environ.get("ORVEL_INSTRUMENTED", "")
# The emulator has no openat2: links of processes that return to the stick's file system are followed.
MAGIC_LINKS = () if "qemu" in INSTRUMENTED else (("exe.mp3", "/proc/self/exe"),
                                                 ("root", "/proc/self/root"))


def writeLongTitle(path, characters):
    """Writes a FLAC file whose title takes up almost the largest block of comments."""
    comment = b"TITLE=" + b"x" * characters
    body = b"\0\0\0\0\1\0\0\0" + len(comment).to_bytes(4, "little") + comment
    seed, streamInfo = FLAC.read_bytes(), 4 + 4 + 34
    pathlib.Path(path).write_bytes(seed[:streamInfo] + b"\4" + len(body).to_bytes(3, "big") + body +
                                   seed[streamInfo:])


class HostileStick(CommandTestCase):
    def setUp(self):
        super().setUp()
        for i in range(40):
            writeSong(f"{self.stick}/Good/{i}.mp3", TIT2=f"Title {i}", TPE1=f"Artist {i}")
        for name, target in (("maps.mp3", "/proc/self/maps"), ("mem.mp3", "/proc/self/mem"),
                             ("proc", "/proc"), ("lists.m3u", "/proc/self/environ"),
                             *MAGIC_LINKS):
            os.symlink(target, f"{self.stick}/{name}")
        self.linkFolders(36, lambda i: {"a": i + 1, "b": i + 1})
        self.linkFolders(10, lambda i: {str(other): other for other in range(10)})
        for i in range(3):
            writeLongTitle(f"{self.stick}/long{i}.flac", 15000000)
        for name, content in (("endless.pls", b"[playlist]\nFilex=a.mp3\n"),
                              ("cut.asx", b"<asx><!-- cut"), ("deep.wpl", b"<a>" * 100000),
                              ("wide.wpl", b"<a " + b'a="" ' * 300000),
                              ("good.m3u", b"Good/1.mp3\nGood/2.mp3\n"),
                              ("zeros.mp3", b"\0" * 3000000), ("\x1b[2J.mp3", b"ID3\4\0\0\x7f\x7f"),
                              ("lies.m4a", b"\x7f\xff\xff\xffftypM4A " + b"\0" * 99)):
            pathlib.Path(self.stick, name).write_bytes(content)

    def linkFolders(self, count, linksOf):
        base = f"{self.stick}/{count}"
        for i in range(count):
            os.makedirs(f"{base}/{i}")
            for name, target in linksOf(i).items():
                os.symlink(f"../{target}", f"{base}/{i}/{name}")

    def indexWithin(self, seconds, *options):
        """Returns the report and the peak memory of the process itself in MiB."""
        begin, peak = time.monotonic(), 0
        with subprocess.Popen([ORVEL, "index", "--json", *options, self.stick],
                              env=self.environment(), stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL) as process:
            while process.poll() is None:
                status = pathlib.Path(f"/proc/{process.pid}/status").read_text()
                if "VmHWM:" in status:
                    peak = int(status.split("VmHWM:")[1].split()[0]) >> 10
                time.sleep(0.01)
            self.assertLess(time.monotonic() - begin, seconds * (5 if INSTRUMENTED else 1))
            return json.loads(process.stdout.read()), peak

    def testCostsItselfOnly(self):
        names = {f"long{i}.flac" for i in range(3)}
        for options, long in ((), names), (("--in-process",), set()):
            with self.subTest(options):
                report, peak = self.indexWithin(30, *options)
                self.assertEqual(report["status"], "OK")
                if not INSTRUMENTED:
                    self.assertLess(peak, 64)
                songs = self.list("songs")
                good = {(s["title"], s["artist"]) for s in songs if "/Good/" in s["path"]}
                self.assertEqual(good, {(f"Title {i}", f"Artist {i}") for i in range(40)})
                self.assertEqual([len(s["title"]) for s in songs if "/long" in s["path"]],
                                 [4096] * len(long))
                others = {s["path"].rsplit("/", 1)[1] for s in songs} - {f"{i}.mp3" for i in range(40)}
                self.assertEqual(others, {*long, "zeros.mp3", "\x1b[2J.mp3", "lies.m4a"})
                self.assertEqual([p["name"] for p in self.list("playlists")], ["good.m3u"])
                os.remove(report["database"])
                # Only the confinement bounds the parser's own memory: 120 MiB for such a title.
                for name in long:
                    os.remove(f"{self.stick}/{name}")


if __name__ == "__main__":
    unittest.main()
