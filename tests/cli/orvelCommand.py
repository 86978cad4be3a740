"""Runs the real command on folders of small, real songs."""

import json
import os
import shutil
import subprocess
import tempfile
import unittest

ORVEL = os.environ["ORVEL"]
HANG_SECONDS = 30


def syncsafe(number):
    return bytes((number >> shift) & 0x7F for shift in (21, 14, 7, 0))


def writeSong(path, **frames):
    """Writes an MP3 file with an ID3v2.4 tag: writeSong(p, TIT2="Title", TPE1="Artist")."""
    tag = b"".join(
        name.encode() + syncsafe(len(text)) + b"\0\0" + text
        for name, text in ((n, b"\3" + t.encode()) for n, t in frames.items()))
    sound = (b"\xff\xfb\x90\x00" + b"\0" * 413) * 4
    path = os.fsencode(path)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(b"ID3\4\0\0" + syncsafe(len(tag)) + tag + sound)


class CommandTestCase(unittest.TestCase):
    """Gives each test a folder of its own with a stick and a folder for databases."""

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="orvel-command-")
        self.addCleanup(shutil.rmtree, self.folder)
        self.stick = self.path("stick")
        self.databases = self.path("data", "orvel")
        os.mkdir(self.stick)

    def path(self, *parts):
        return os.path.join(self.folder, *parts)

    def environment(self, **more):
        return {**os.environ, "XDG_DATA_HOME": self.path("data"), "LC_ALL": "C.UTF-8", **more}

    def run_(self, *arguments, expect=0, env=None, cwd=None, command=ORVEL):
        """Runs the command to its end; returns (standard output, standard error) as bytes."""
        done = subprocess.run([command, *arguments], capture_output=True, timeout=HANG_SECONDS,
                              env=env or self.environment(), cwd=cwd, stdin=subprocess.DEVNULL)
        self.assertEqual(done.returncode, expect, done.stderr.decode(errors="replace"))
        return done.stdout, done.stderr

    def index(self, *arguments, expect=0, **more):
        """Indexes and returns the JSON report, which must be all there is on standard output."""
        out, _ = self.run_("index", "--json", *(arguments or (self.stick,)), expect=expect, **more)
        self.assertEqual(out.count(b"\n"), 1)
        report = json.loads(out)
        self.assertEqual((report["version"], report["exit"]), (1, expect))
        return report

    def list(self, kind, *arguments, **more):
        out, _ = self.run_("list", kind, "--format", "json", *arguments, **more)
        return json.loads(out)
