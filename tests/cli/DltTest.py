#!/usr/bin/env python3
"""The log through a real daemon of Diagnostic Log and Trace."""

import os
import re
import shutil
import socket
import subprocess
import sys
import time
import unittest

from orvelCommand import HANG_SECONDS, CommandTestCase, writeSong

PROGRAMS = ("dlt-daemon", "dlt-receive")


class DiagnosticLog(CommandTestCase):
    def start(self, *command):
        process = subprocess.Popen(command, stdout=self.received, stderr=subprocess.STDOUT)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)

    def waitFor(self, isThere):
        end = time.monotonic() + HANG_SECONDS
        while not isThere():
            self.assertLess(time.monotonic(), end, self.lines())
            time.sleep(0.05)

    def lines(self):
        with open(self.path("received"), errors="replace") as file:
            return file.read()

    def setUp(self):
        super().setUp()
        self.received = open(self.path("received"), "w")
        self.addCleanup(self.received.close)
        with open(self.path("dlt.conf"), "w") as settings:
            settings.write(f"ControlSocketPath = {self.path('control')}\n")
        with socket.create_server(("127.0.0.1", 0)) as probe:
            port = str(probe.getsockname()[1])
        self.start("dlt-daemon", "-c", self.path("dlt.conf"), "-t", self.folder, "-p", port)
        self.waitFor(lambda: os.path.exists(self.path("dlt")))
        self.start("stdbuf", "-oL", "dlt-receive", "-a", "-p", port, "127.0.0.1")
        self.waitFor(lambda: "New client connection" in self.lines())

    def testHasAContextForEachStageAndItsLevels(self):
        writeSong(self.path("stick", "good.mp3"), TIT2="Title")
        with open(self.path("stick", "broken.flac"), "w"):
            pass
        _, errors = self.run_("index", self.stick, "-v", "--log=dlt",
                              env=self.environment(DLT_PIPE_DIR=self.folder))
        self.assertNotIn(b"orvel: ", errors)
        self.waitFor(lambda: " Orvel joined]" in self.lines())
        found = set(re.findall(r" ORVL (\w{4}) log (\w+) ", self.lines()))
        self.assertLessEqual({(context, "info") for context in
                              ("CRWL", "CHNG", "NORM", "MINE", "LIST", "SAVE", "MAIN")}, found)
        self.assertRegex(self.lines(), r"ORVL MINE log warn .*NULL file for track: .*broken\.flac")


if __name__ == "__main__":
    if os.environ["ORVEL_INSTRUMENTED"] == "thread":
        print("Skipped: the thread sanitizer cannot follow the threads of libdlt")
        sys.exit(77)
    if os.environ["ORVEL_WITH_DLT"] != "ON":
        print("Skipped: the library was built without DLT; -DORVEL_WITH_DLT=ON adds it")
        sys.exit(77)
    if missing := [program for program in PROGRAMS if not shutil.which(program)]:
        print("Skipped: not installed:", *missing)
        sys.exit(77)
    unittest.main()
