"""`orvel index --mtp` in a virtual machine, with real USB stacks and three independent devices."""

import json
import os
import time
import unittest

import media
from devices import PlayerDevice, QemuDevice, UmtpDevice

UNPLUG_SECONDS = 10  # a transfer that nobody answers would take 20
ADDED = "Music/Added later.wav"

GET_PARTIAL_OBJECT, GET_OBJECT_PROPERTY = 0x101B, 0x9803
TAG_PROPERTIES = (0xDC46, 0xDC8B, 0xDC8C, 0xDC96, 0xDC9A)  # playlists have titles, too


class MachineTestCase(unittest.TestCase):
    machine = None  # set by the program that runs the tests

    def setUp(self):
        self.folder = f"{self.machine.folder}/{self.id().partition('.')[2]}"
        self.databases = f"/var/tmp/{os.path.basename(self.folder)}"
        self.orvel = f"{self.machine.programs}/orvel"
        self.reference = media.Reference(self.machine.programs, self.folder)

    def step(self, text):
        print(f"{self.machine.age():6.1f} s    {text}", flush=True)

    def command(self, *options):
        return (self.orvel, "index", "--mtp", "--json", "--db-dir", self.databases, *options)

    def begin(self, *options):
        return self.machine.start(*self.command(*options))

    def report(self, job, expect=0):
        """Waits for a run and returns its report, `songs` and all."""
        status, out, errors = job.wait()
        self.assertEqual(status, expect, errors[-3000:])
        report, = json.loads(out)
        self.assertEqual(report["status"], "OK" if expect == 0 else "PROGRESS")
        return report["partitions"][0]

    def index(self, **counts):
        """A run that finishes, with these counts of songs."""
        partition = self.report(self.begin())
        self.assertEqual({key: partition["songs"][key] for key in counts}, counts)
        self.assertEqual(partition["content_modified"], bool(counts["new"]))

    def lists(self, tables, *options):
        """These lists of the database as it is now."""
        options = ("--format", "tsv", "--db-dir", self.machine.fetch(self.databases), *options)
        return {table: media.call(self.orvel, "list", *table, *options) for table in tables}


class FilesAlone:
    """Devices whose songs are known by their bytes alone, and indexed as a stick should be."""

    Device = None

    def setUp(self):
        super().setUp()
        self.device = self.Device(self.machine, self.folder)
        self.addCleanup(self.device.remove)

    def assertRows(self, expected):
        found = self.lists([(kind,) for kind in expected])
        for kind, rows in expected.items():
            self.assertEqual(media.commonRows(kind, found[kind,]), rows)

    def testFirstUnchangedAndChangedRun(self):
        expected = self.reference.ofFolder(self.device.copy)
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
        self.assertRows(self.reference.ofFolder(self.device.copy))

    def checkUnchangedRun(self, count):
        self.index(new=0, unchanged=count, removed=0, stored=0)

    def interrupt(self, text, times=1):
        """Pulls the cable when a run has said this so often."""
        job, process = self.machine.startHeld(text, times, *self.command("-vv"))
        self.device.unplug()
        resumed = time.monotonic()
        self.machine.resume(process)
        partition = self.report(job, expect=3)
        self.assertLess(time.monotonic() - resumed, UNPLUG_SECONDS)
        self.assertTrue(partition["left_undone"])
        self.device.replug()

    def testUnpluggedInTheMiddle(self):
        expected = self.reference.ofFolder(self.device.copy)
        self.step("unplugged while tags are read")
        self.interrupt("MtpMiner for:")
        self.step("the next run")
        self.report(self.begin())
        self.assertRows(expected)
        self.step("unplugged while folders are listed")
        self.interrupt("Checking folder:", times=10)
        self.step("the next run")
        self.report(self.begin())
        self.assertRows(expected)


class Qemu(FilesAlone, MachineTestCase):
    """QEMU's own device."""

    Device = QemuDevice

    def checkUnchangedRun(self, count):
        before = self.device.partsRead()
        self.assertGreaterEqual(before, count)
        super().checkUnchangedRun(count)
        self.assertEqual(self.device.partsRead(), before)


class Umtp(FilesAlone, MachineTestCase):
    """umtp-responder."""

    Device = UmtpDevice


class Player(MachineTestCase):
    """A player that knows its songs, and has playlists and a card."""

    def setUp(self):
        super().setUp()
        self.device = PlayerDevice(self.machine, self.folder)
        self.expected = self.reference.ofPlayer(self.device.script)
        self.count = self.expected["songs",].count("\n") - 1

    def plug(self, commands=None):
        self.device.plug(commands)
        self.addCleanup(self.device.remove)

    def assertTables(self, *options):
        for table, rows in self.lists(self.expected, *options).items():
            self.assertEqual(rows, self.expected[table], table)

    def tagReads(self):
        return [command for command in self.device.commands()
                if command[0] == GET_PARTIAL_OBJECT or
                command[0] == GET_OBJECT_PROPERTY and command[2] in TAG_PROPERTIES]

    def testTagsAndPlaylistsFromTheDevice(self):
        self.plug()
        self.step("first run")
        self.index(new=self.count, stored=self.count)
        self.assertTables()
        tagReads = len(self.tagReads())
        self.assertGreater(tagReads, self.count)

        self.step("unchanged second run")
        self.index(new=0, unchanged=self.count, removed=0, stored=0)
        self.assertTables()
        self.step(f"{len(self.device.commands())} commands in all")
        self.assertEqual(len(self.tagReads()), tagReads)

    def testCableFallsOut(self):
        """At a third and at two thirds of the commands of a whole run."""
        self.plug()
        self.report(self.begin("--device-id", "whole"))
        commands = len(self.device.commands())
        self.doCleanups()
        for third in (1, 2):
            self.step(f"cable falls out after {commands * third // 3} of {commands} commands")
            self.plug(commands * third // 3)
            self.report(self.begin("--device-id", str(third)), expect=3)
            self.device.replug()
            self.report(self.begin("--device-id", str(third)))
            self.assertTables("--device-id", str(third))
            self.doCleanups()
