"""What clients see of the service: folders that they name, pages, errors, pauses, priorities and restarts."""

import json
import os
import shutil
import signal
import subprocess
import time
import unittest

from busClient import NAME, ROOT, ServiceTestCase, connect, waitFor

SEED = os.environ["SEED"]
INVALID = "org.freedesktop.DBus.Error.InvalidArgs"


class BusTest(ServiceTestCase):
    def stick(self, name, songs=0):
        """A folder of many equal songs, or of the sample's various ones."""
        folder = os.path.join(self.folder, name)
        if songs == 0:
            subprocess.run((os.environ["MAKE_STICK"], "sample", folder), check=True, stdout=subprocess.DEVNULL)
            return folder
        os.mkdir(folder)
        shutil.copy(SEED, f"{folder}/0.mp3")
        for number in range(1, songs):
            os.link(f"{folder}/0.mp3", f"{folder}/{number}.mp3")
        return folder

    def listed(self, device, kind):
        """What the command line lists, without the keys that the bus leaves out."""
        out = subprocess.run((os.environ["ORVEL"], "list", kind, "--format", "json", "--db", device.DatabasePath),
                             check=True, stdout=subprocess.PIPE).stdout
        return [{key: value for key, value in row.items() if value is not None} for row in json.loads(out)]

    def testAFolderIsIndexedAndBrowsed(self):
        device = self.index(self.stick("sample"), name="Sample")
        device.finished()
        self.assertEqual((device.State, device.Status, device.Kind, device.Name), ("idle", "OK", "folder", "Sample"))
        self.assertTrue(device.Isolated, device.Confinement)
        self.assertCountEqual([name for name, *_ in device.signals], ["ListReady", "FoldersComplete"])
        shown = {name: value for change in device.changes for name, value in change.properties.items()}
        self.assertEqual((shown["Status"], shown["State"]), ("OK", "idle"))
        gaps = [after.time - before.time for before, after in zip(device.changes, device.changes[1:])]
        self.assertTrue(all(gap > 0.9 for gap in gaps), gaps)

        for kind in ("songs", "artists", "albums", "genres", "composers", "directories", "playlists"):
            total, rows = device.rows(kind)
            self.assertEqual((total, rows), (len(rows), self.listed(device, kind)))
            self.assertEqual(device.rows(kind, total - 1, 5), (total, rows[-1:]))
        self.assertEqual(device.Songs, device.rows(count=0)[0])
        titles = [row["title"] for row in device.rows(sort="-title")[1]]
        self.assertEqual(titles, [row["title"] for row in device.rows(sort="title")[1]][::-1])
        _, rows = device.rows(artist="Amber Harbour")
        self.assertEqual({row["artist"] for row in rows}, {"Amber Harbour"})
        total, found = device.call("Browser.Search", "(sasuu)", "BRUCKE klei", ["artists", "songs"], 0, 2)
        self.assertEqual((found[0]["kind"], found[0]["name"], total > 2), ("artists", "Die Kleine Brücke", True))

        generation = device.Generation
        device.call("Device.Rescan")
        device.finished()
        os.remove(os.path.join(self.folder, "sample", ".backup", "kept.mp3"))
        device.call("Device.Rescan")
        device.finished()
        self.assertEqual(device.rows(count=0)[0], len(titles) - 1)
        self.assertGreater(waitFor(lambda: device.Generation), generation)

    def testBadCallsAreToldAndHarmNothing(self):
        device = self.index(self.stick("few", 3))
        device.finished()
        index = lambda *arguments: self.manager("Index", "(sa{sv})", *arguments)
        self.assertRefused("InvalidArguments", "no absolute path", index, "media", {})
        self.assertRefused("InvalidArguments", "Mount the device", index, self.folder + "/none", {})
        self.assertRefused("InvalidArguments", "device-id, name", self.index, self.folder, speed="high")
        self.assertRefused("UnknownDevice", "/x", self.manager, "Forget", "(o)", "/x")
        self.assertRefused("UnknownDevice", "/x", self.manager, "Prioritize", "(o)", "/x")
        self.assertRefused("InvalidArguments", "cookie 7", self.manager, "Resume", "(u)", 7)
        self.assertRefused("InvalidArguments", "artists", device.rows, "covers")
        self.assertRefused("InvalidArguments", "object_id", device.rows, sort="size")
        self.assertRefused("InvalidArguments", "at most 1000", device.rows, count=4294967295)
        self.assertRefused("InvalidArguments", "directory", device.rows, year="1999")
        self.assertRefused(INVALID, "", device.call, "Browser.List", "(s)", "songs")
        self.assertEqual(device.rows(offset=4294967295), (3, []))
        hostile = self.index(self.stick("hostile", 1), device_id="../../x'; DROP TABLE SONGS; --")
        hostile.finished()
        database = hostile.DatabasePath
        self.assertEqual((os.path.dirname(database), os.path.exists(database)), (self.databases, True))
        self.manager("Forget", "(o)", hostile.path)
        waitFor(lambda: not os.path.exists(database))
        self.assertEqual(list(self.objects()), [device.path])

    def testPausesAndPriorities(self):
        first, second = self.stick("first", 8000), self.stick("second", 8000)
        client = connect()
        self.manager("Pause", "(s)", "playing", bus=client)
        devices = [self.index(first), self.index(second)]
        self.assertEqual([device.State for device in devices], ["paused"] * 2)
        self.assertEqual(self.call(ROOT, "org.freedesktop.DBus.Properties.Get", "(ss)", NAME + ".Manager",
                                   "PauseReasons")[0], ["playing"])
        time.sleep(0.3)
        self.assertEqual([device.SongsFound for device in devices], [0, 0])
        client.close_sync()
        waitFor(lambda: devices[0].State == "reading")
        self.manager("Prioritize", "(o)", devices[1].path)
        waitFor(lambda: devices[1].State == "reading")
        self.assertEqual(devices[0].State, "waiting")
        cookie = self.manager("Pause", "(s)", "again")[0]
        waitFor(lambda: [device.State for device in devices] == ["paused"] * 2)
        time.sleep(0.5)
        stored = [device.rows(count=0)[0] for device in devices]
        time.sleep(1)
        self.assertEqual([device.rows(count=0)[0] for device in devices], stored)
        self.manager("Resume", "(u)", cookie)
        waitFor(lambda: devices[1].State == "idle")
        self.assertNotEqual(devices[0].State, "idle")
        for device in devices:
            device.finished()
        self.assertEqual([device.rows(count=0)[0] for device in devices], [8000, 8000])

    def testAKilledServiceGoesOn(self):
        stick = self.stick("large", 6000)
        device = self.index(stick)
        waitFor(lambda: device.SongsRead > 0)
        self.end(signal.SIGKILL)
        self.begin()
        known = self.deviceWith(Id=stick, Attached=False, Status="PROGRESS")
        self.assertGreater(known.rows(count=0)[0], 0)
        again = self.index(stick)
        again.finished()
        self.assertEqual((again.path, again.Songs), (known.path, 6000))
        self.assertLess(again.SongsToRead, 6000)
        again.call("Device.Rescan")
        again.call("Device.Stop")
        self.assertEqual(again.State, "idle")

    def testItEndsWhenItIsIdle(self):
        self.end()
        self.begin("--idle-exit", "1")
        device = self.index(self.stick("few", 3))
        device.finished()
        self.assertEqual(self.service.wait(30), 0)


class NoBus(unittest.TestCase):
    def testIsTold(self):
        done = subprocess.run((os.environ["ORVELD"], "--session"), capture_output=True, text=True, timeout=30,
                              env={"DBUS_SESSION_BUS_ADDRESS": "unix:path=/nowhere", "XDG_DATA_HOME": "/tmp"})
        self.assertEqual(done.returncode, 1)
        self.assertIn("Start dbus-daemon, or name it in DBUS_SESSION_BUS_ADDRESS.", done.stderr)


if __name__ == "__main__":
    unittest.main()
