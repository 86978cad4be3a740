"""The service in a virtual machine: sticks and phones that are pulled out while it indexes them."""

import os
import time
import unittest

import media
from busClient import BusClient, connect, waitFor
from devices import QemuDevice, UmtpDevice
from sticks import Ext4Stick, VfatStick

UNPLUG_SECONDS = 10
UDEVD = "/usr/lib/systemd/systemd-udevd"
machine = None  # set by the program that runs the tests


def setUpModule():
    configuration = f"{os.path.dirname(os.path.abspath(__file__))}/bus.conf"
    machine.run("dbus-daemon", f"--config-file={configuration}", "--fork")


class ServiceCase(BusClient):
    def setUp(self):
        self.folder = f"{machine.folder}/{self.id().partition('.')[2]}"
        os.makedirs(self.folder)
        self.bus = connect(machine.busAddress())
        self.addCleanup(self.bus.close_sync)

    def beginUdev(self):
        udevd = machine.start(UDEVD)
        machine.awaitFile("/run/udev/control")
        # What it leaves would pass for a running one, and for knowledge of the next stick.
        self.addCleanup(machine.run, "rm", "-rf", "/run/udev")
        self.addCleanup(machine.end, udevd)

    def beginService(self):
        configuration = f"{self.folder}/orveld.conf"
        with open(configuration, "w", encoding="utf-8") as file:
            file.write("[indexing]\nbackground=no\n")
        databases = f"/var/tmp/{os.path.basename(self.folder)}"
        self.service = machine.start(f"{machine.programs}/orveld", "--system", "--db-dir", databases,
                                     "--config", configuration)
        self.addCleanup(self.endService)
        self.awaitService()

    def endService(self):
        """It has lived until now, whatever has happened to devices."""
        self.assertEqual(machine.end(self.service), 0, self.service.text("err"))

    def step(self, text):
        print(f"{machine.age():6.1f} s    {text}", flush=True)

    def assertLeftUndone(self, device, pulled):
        ended = lambda: [signal for signal in device.signals if signal[0] == "Finished"]
        self.assertEqual(waitFor(ended), [("Finished", "PROGRESS")])
        self.assertLess(time.monotonic() - pulled, UNPLUG_SECONDS)
        self.assertEqual((device.Status, device.State), ("PROGRESS", "idle"))
        device.finished("PROGRESS")

    def assertDetached(self, device):
        waitFor(lambda: not device.Attached, UNPLUG_SECONDS)
        self.assertEqual(len(self.objects()), 1)

    def assertSongs(self, device, root, files):
        """The bus lists the songs that a fresh index of the same files holds."""
        self.step("complete")
        expected = media.rowsOfStick(machine.programs, files, f"{self.folder}/reference")["songs"]
        self.assertGreater(len(expected), 20)
        self.assertEqual(media.commonRows(device.rows()[1], "songs", root), expected)


class Sticks:
    """The tests, once for each kind of file system."""

    Stick = None

    def setUp(self):
        super().setUp()
        self.files = f"{self.folder}/files"
        media.makeStickFolder(machine.programs, self.files)
        self.stick = self.Stick(machine, f"{self.folder}/image", self.files)
        self.addCleanup(self.stick.remove)

    def pullWhileItIsRead(self):
        """Returns its device and when it was pulled out."""
        self.step("plugged in")
        self.stick.plug(slow=True)
        device = self.deviceWith(Kind="stick", Attached=True)
        waitFor(lambda: device.SongsRead > 0)
        total, rows = device.rows()
        self.assertEqual((len(rows), rows[0]["path"][:13]), (total, self.stick.folder + "/"))
        self.step(f"pulled out after {total} songs")
        pulled = time.monotonic()
        self.stick.pull()
        return device, pulled

    def assertCompletedWhenPlugged(self, device):
        self.step("plugged in again")
        self.stick.plug()
        device.finished()
        self.assertSongs(device, self.stick.folder, self.files)
        self.assertEqual([row["name"] for row in device.rows("playlists")[1]], ["Nuit légère.m3u8"])

    def testPulledAndLeftMountedWithoutUdev(self):
        """Only failing reads tell that the stick is gone."""
        self.beginService()
        device, pulled = self.pullWhileItIsRead()
        self.assertLeftUndone(device, pulled)
        self.assertTrue(device.LeftUndone)
        self.stick.unmount()
        self.assertDetached(device)
        self.assertCompletedWhenPlugged(device)


class VfatSticks(Sticks, ServiceCase):
    Stick = VfatStick

    def testPulledAndUnmounted(self):
        self.beginUdev()
        self.beginService()
        device, pulled = self.pullWhileItIsRead()
        self.stick.unmount()
        self.assertLeftUndone(device, pulled)
        self.assertDetached(device)
        self.assertCompletedWhenPlugged(device)


class Ext4Sticks(Sticks, ServiceCase):
    Stick = Ext4Stick

    def testPulledAndLeftMounted(self):
        """udev tells that the stick is gone."""
        self.beginUdev()
        self.beginService()
        device, pulled = self.pullWhileItIsRead()
        self.assertLeftUndone(device, pulled)
        self.assertDetached(device)
        self.stick.unmount()
        self.assertCompletedWhenPlugged(device)


class Phones:
    """The tests, once for each kind of phone."""

    Phone = None

    def testPulledAndPluggedAgain(self):
        self.beginUdev()
        self.beginService()
        self.step("plugged in")
        phone = self.Phone(machine, f"{self.folder}/phone")
        self.addCleanup(phone.remove)
        device = self.deviceWith(Kind="phone", Attached=True)
        waitFor(lambda: device.State == "reading")
        self.step("pulled out")
        pulled = time.monotonic()
        phone.unplug()
        self.assertLeftUndone(device, pulled)
        self.assertDetached(device)
        self.step("plugged in again")
        phone.replug()
        device.finished()
        self.assertSongs(device, "", phone.copy)


class QemuPhones(Phones, ServiceCase):
    Phone = QemuDevice


class UmtpPhones(Phones, ServiceCase):
    Phone = UmtpDevice
