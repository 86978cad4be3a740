"""`orvel index` stopped in the middle, and what a terminal sees of it."""

import json
import os
import pty
import select
import signal
import sqlite3
import subprocess
import time
import unittest

from orvelCommand import HANG_SECONDS, ORVEL, CommandTestCase, writeSong


class Interruption(CommandTestCase):
    """Another process's transaction holds the run in the middle of its work."""

    def setUp(self):
        super().setUp()
        writeSong(f"{self.stick}/old.mp3", TIT2="Old")
        self.database = self.index()["database"]
        for number in range(20):
            writeSong(f"{self.stick}/new{number}.mp3", TIT2=str(number))
        self.blocker = sqlite3.connect(self.database, isolation_level=None)
        self.addCleanup(self.blocker.close)
        self.blocker.execute("BEGIN IMMEDIATE")

    def start(self, *options, errors=subprocess.PIPE, **more):
        running = subprocess.Popen([ORVEL, "index", *options, self.stick], stdout=subprocess.PIPE,
                                   stderr=errors, env=self.environment(**more))
        self.addCleanup(running.stdout.close)
        self.addCleanup(running.kill)
        return running

    def stop(self, running, signalNumber):
        """Returns the exit status and how long stopping took."""
        sent = time.monotonic()
        running.send_signal(signalNumber)
        return running.wait(HANG_SECONDS), time.monotonic() - sent

    def testEndsInOrderAndTheNextRunCarriesOn(self):
        for signalNumber, status in ((signal.SIGINT, 130), (signal.SIGTERM, 143)):
            running = self.start("--json")
            with running.stderr as errors:
                while b"21 songs found" not in errors.readline():
                    pass
                result, seconds = self.stop(running, signalNumber)
                self.assertIn(b"Interrupted", errors.read())
            self.assertEqual(result, status)
            self.assertLess(seconds, 1)
            report = json.loads(running.stdout.read())
            self.assertEqual((report["exit"], report["interrupted"], report["status"]),
                             (status, True, "PROGRESS"))
            self.assertTrue(report["partitions"][0]["left_undone"])
            self.assertEqual(report["totals"]["songs"], 1)
        self.blocker.execute("COMMIT")
        after = self.index()
        self.assertEqual(after["totals"]["songs"], 21)
        self.assertEqual(after["status"], "OK")

    def testBackgroundWorkLeavesTheMainThreadAlone(self):
        running = self.start("--background")
        with running.stderr as errors:
            while b"21 songs found" not in errors.readline():
                pass
            policies = {}
            for task in os.listdir(f"/proc/{running.pid}/task"):
                with open(f"/proc/{running.pid}/task/{task}/comm") as name:
                    policies[name.read().strip()] = os.sched_getscheduler(int(task))
            with open(f"/proc/{running.pid}/comm") as name:
                main = name.read().strip()  # an emulator's name where there is one
            self.stop(running, signal.SIGINT)
        self.assertEqual(policies.pop(main), os.SCHED_OTHER)
        self.assertIn("MSDMiner", policies)
        self.assertEqual(set(policies.values()), {os.SCHED_IDLE}, policies)

    def testTerminalShowsOneLineThatGoesAway(self):
        controller, terminal = pty.openpty()
        self.addCleanup(os.close, controller)
        running = self.start(errors=terminal, TERM="xterm")
        os.close(terminal)
        shown = b""
        while b"21 songs found" not in shown:
            self.assertTrue(select.select([controller], [], [], HANG_SECONDS)[0])
            shown += os.read(controller, 4096)
        status, _ = self.stop(running, signal.SIGINT)
        while select.select([controller], [], [], 0.2)[0]:
            try:
                shown += os.read(controller, 4096)
            except OSError:  # the other end is closed
                break
        self.assertEqual(status, 130)
        self.assertNotIn(b"songs found\n", shown)
        line, notice = shown.rsplit(b"\r\x1b[K", 1)
        self.assertIn(b"\r\x1b[KIndexing: 21 songs found, 0 stored", line)
        self.assertIn(b"Interrupted", notice)
        self.assertIn(b"run the same command again", running.stdout.read())


if __name__ == "__main__":
    unittest.main()
