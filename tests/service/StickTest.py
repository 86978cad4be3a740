"""Real sticks that are plugged in, pulled out and plugged in elsewhere while the service runs."""

import os
import shutil
import time

import ownSystem
from busClient import NAME, ServiceTestCase, waitFor
from ownSystem import Stick, call

SEED = os.environ["SEED"]


def setUpModule():
    ownSystem.start()


class StickTest(ServiceTestCase):
    configuration = "[devices]\ninternal-disks=yes\nphones=no\n[indexing]\nbackground=no\n"

    def mount(self, stick, folder, number=1):
        os.makedirs(folder, exist_ok=True)
        call("mount", stick.partition(number), folder)
        self.addCleanup(call, "umount", "-l", folder, check=False)

    def stickOf(self, name, *songs, megabytes=5):
        """A stick with a partition of so many songs for each number."""
        stick = Stick(self, name, *(f"{name}{number}" for number in range(1, len(songs) + 1)), megabytes=megabytes)
        for number, count in enumerate(songs, 1):
            self.mount(stick, "/run/fill", number)
            for song in range(count):
                shutil.copy(SEED, f"/run/fill/{song}.mp3")
            call("umount", "/run/fill")
        return stick

    def testPluggedPulledAndPluggedElsewhere(self):
        stick = self.stickOf("big", 6000, megabytes=40)
        self.mount(stick, "/media/big")
        plugged = time.monotonic()
        device = self.deviceWith(Kind="stick", Attached=True)
        waitFor(lambda: device.SongsRead > 0)
        self.assertLess(time.monotonic() - plugged, 10)
        self.assertEqual((device.Id, device.Name, device.Partitions), (stick.uuid(), "big1", ["/media/big"]))
        self.assertGreater(device.rows(count=0)[0], 0)
        pulled = time.monotonic()
        call("umount", "-l", "/media/big")
        waitFor(lambda: any("Attached" in change.properties for change in device.changes))
        waitFor(lambda: device.State == "idle")
        self.assertLess(time.monotonic() - pulled, 2)
        device.finished("PROGRESS")
        self.assertEqual((device.Status, device.Attached, device.Partitions), ("PROGRESS", False, []))
        stick.unplug()
        stick.plug()
        generation = device.Generation
        self.mount(stick, "/mnt/elsewhere")
        device.finished()
        self.assertEqual((device.Songs, device.Partitions, len(self.objects())), (6000, ["/mnt/elsewhere"], 1))
        self.assertTrue(device.rows(count=1)[1][0]["path"].startswith("/mnt/elsewhere/"))
        self.assertGreater(device.Generation, generation)

    def testTwoPartitionsAreOneDevice(self):
        stick = self.stickOf("two", 3, 4)
        self.mount(stick, "/media/second", 2)
        device = self.deviceWith(Attached=True)
        device.finished()
        self.mount(stick, "/media/first", 1)
        waitFor(lambda: device.Songs == 7 and device.State == "idle")
        self.assertEqual((device.Status, device.Partitions, len(self.objects())),
                         ("OK", ["/media/first", "/media/second"], 1))
        call("umount", "/media/first", "/media/second")
        waitFor(lambda: not device.Attached)
        # One mount point begins like the other: each needs a database of its own.
        self.mount(stick, "/media/usb", 1)
        self.mount(stick, "/media/usb1", 2)
        waitFor(lambda: len(self.objects()) == 2)
        songs = lambda: sorted(facts[NAME + ".Device"]["Songs"] for facts in self.objects().values()
                               if facts[NAME + ".Device"]["State"] == "idle")
        waitFor(lambda: songs() == [3, 4])

    def testTheSelectedStickGoesFirst(self):
        sticks = [self.stickOf(name, 3000, megabytes=20) for name in ("one", "other")]
        cookie = self.manager("Pause", "(s)", "both are to wait")[0]
        self.mount(sticks[0], "/media/one")
        first = self.deviceWith(Name="one1")
        self.mount(sticks[1], "/media/other")
        second = self.deviceWith(Name="other1")
        self.manager("Prioritize", "(o)", second.path)
        self.manager("Resume", "(u)", cookie)
        waitFor(lambda: second.State == "idle")
        self.assertNotEqual(first.State, "idle")
        for device in (first, second):
            device.finished()
        self.assertEqual((first.Songs, second.Songs), (3000, 3000))


if __name__ == "__main__":
    ownSystem.main()
