"""`orvel index --mtp` in a virtual machine, with real USB stacks and two independent devices."""

import json
import os
import time
import unittest

import media
from devices import QemuDevice, UmtpDevice

UNPLUG_SECONDS = 10  # a transfer that nobody answers would take 20
ADDED = "Music/Added later.wav"


class Devices:
    """The tests, once for each kind of device. Its songs are known by their bytes alone, and must be
    indexed as on a stick."""

    machine = None  # set by the program that runs the tests
    Device = None

    def setUp(self):
        self.folder = f"{self.machine.folder}/{self.id().partition('.')[2]}"
        self.databases = f"/var/tmp/{os.path.basename(self.folder)}"
        self.orvel = f"{self.machine.programs}/orvel"
        self.device = self.Device(self.machine, self.folder)
        self.addCleanup(self.device.remove)

    def step(self, text):
        print(f"{self.machine.age():6.1f} s    {text}", flush=True)

    def command(self, *options):
        return (self.orvel, "index", "--mtp", "--json", "--db-dir", self.databases, *options)

    def report(self, job, expect=0):
        """Waits for a run and returns its report, `songs` and all."""
        status, out, errors = job.wait()
        self.assertEqual(status, expect, errors[-3000:])
        report, = json.loads(out)
        self.assertEqual(report["status"], "OK" if expect == 0 else "PROGRESS")
        return report["partitions"][0]

    def index(self, **counts):
        """A run that finishes, with these counts of songs."""
        partition = self.report(self.machine.start(*self.command()))
        self.assertEqual({key: partition["songs"][key] for key in counts}, counts)
        if "new" in counts:
            self.assertEqual(partition["content_modified"], bool(counts["new"]))

    def reference(self):
        return media.rowsOfStick(self.machine.programs, self.device.copy, f"{self.folder}/reference")

    def assertRows(self, expected):
        databases = self.machine.fetch(self.databases)
        for kind, rows in expected.items():
            listed = media.listed(self.orvel, kind, databases)
            self.assertEqual(media.commonRows(listed, kind), rows)

    def testFirstUnchangedAndChangedRun(self):
        expected = self.reference()
        count = len(expected["songs"])
        self.assertGreater(count, 40)
        self.step("first run")
        self.index(new=count, stored=count)
        self.assertRows(expected)

        self.step("unchanged second run")
        self.checkUnchangedRun(count)
        self.assertRows(expected)

        self.step("a song more")
        self.device.addSong(ADDED)
        self.index(new=1, unchanged=count, removed=0, stored=1)
        self.assertRows(self.reference())

    def checkUnchangedRun(self, count):
        self.index(new=0, unchanged=count, removed=0, stored=0)

    def testUnpluggedInTheMiddle(self):
        expected = self.reference()
        for text, times in (("MtpMiner for:", 1), ("Checking folder:", 10)):
            self.step(f"unplugged after '{text}'")
            job, process = self.machine.startHeld(text, times, *self.command("-vv"))
            self.device.unplug()
            resumed = time.monotonic()
            self.machine.resume(process)
            partition = self.report(job, expect=3)
            self.assertLess(time.monotonic() - resumed, UNPLUG_SECONDS)
            self.assertTrue(partition["left_undone"])
            self.device.replug()
            self.step("the next run")
            self.index()
            self.assertRows(expected)


class Qemu(Devices, unittest.TestCase):
    """QEMU's own device."""

    Device = QemuDevice

    def checkUnchangedRun(self, count):
        before = self.device.partsRead()
        self.assertGreaterEqual(before, count)
        super().checkUnchangedRun(count)
        self.assertEqual(self.device.partsRead(), before)


class Umtp(Devices, unittest.TestCase):
    """umtp-responder."""

    Device = UmtpDevice
