"""`orvel mtp list` and `orvel index --mtp` on described phones."""

import json
import os
import re
import signal
import subprocess
import time
import unittest
from pathlib import Path

from orvelCommand import HANG_SECONDS, ORVEL, CommandTestCase, writeSong

PHONE = """device serial=A1 maker=Maker model="Blue phone"
storage Internal capacity=64000000000 free=12000000000
track /Music/A/s.mp3 title=S artist=X album=L genre=G composer=C number=3
track /Music/t.mp3 file=t.mp3
storage Card
track /Music/A/s.mp3 title=Card artist=Y
playlist /Best = /Music/t.mp3 /gone.mp3 /Music/A/s.mp3
"""
OTHER = "device serial=B2 model=Other\ntrack /o.mp3 title=O\n"
LOCKED = "device serial=L3 model=Locked\ntrack /l.mp3 title=L\nfault listStorages items=0 always\n"
CONTROLS = re.compile("[\x00-\x09\x0b-\x1f\x7f-\x9f\u2028-\u202e]")
DOCUMENTATION = Path(__file__).resolve().parents[2] / "docs/mtp.md"
FAULTY_LINES = {
    "trak /a.mp3": "'trak' is no keyword",
    "device serial=B2 colour=red": "knows no 'colour'. It knows: vendor, product, serial",
    "device vendor=12345": "no number up to 65535 in hexadecimal",
    "track": "'track' names no path",
    "track a.mp3": "'a.mp3' does not begin with '/'",
    "folder /Music/": "does not end with a name",
    'track /a.mp3 title="open': "a quote is not closed",
    "track /a.mp3 /b.mp3": "'/b.mp3' makes no sense behind 'track'",
    "track /a.mp3 size=1 size=2": "'size' is given twice",
    "track /a.mp3 file=nowhere.mp3": "nowhere.mp3 cannot be read",
    "fault Access_GetCars remove": "no place for a fault",
    "fault Access_GetItems block=10": "Calls take answer=NAME and remove",
    "fault open answer=maybe": "'maybe' is no answer"}


class MtpTestCase(CommandTestCase):
    def setUp(self):
        super().setUp()
        writeSong(self.path("t.mp3"), TIT2="From the bytes", TPE1="X")

    def script(self, text):
        file = self.path("phones.txt")
        Path(file).write_text(text)
        return file

    def phones(self, text, *arguments, **more):
        """Indexes what `text` describes; returns the JSON report of a named phone or the array."""
        out, _ = self.run_("index", "--mtp", "--json", "--scripted", self.script(text), *arguments,
                           **more)
        self.assertEqual(out.count(b"\n"), 1)
        return json.loads(out)

    def titles(self, *arguments):
        return [song["title"] for song in self.list("songs", *arguments)]


class Listing(MtpTestCase):
    def testDescribesEveryDevice(self):
        closed = "device vendor=1 product=a\nfault open answer=closed always\n"
        file = self.script(PHONE + LOCKED + closed)
        phone, locked, unopened = json.loads(
            self.run_("mtp", "list", "--json", "--scripted", file)[0])
        storages = phone.pop("storages")
        self.assertEqual(phone, {"handle": 1, "maker": "Maker", "model": "Blue phone",
                                 "serial": "A1", "device_id": "18d1:4ee1:A1", "error": None})
        self.assertEqual([(s["description"], s["capacity_bytes"], s["free_bytes"])
                          for s in storages][0], ("Internal", 64000000000, 12000000000))
        self.assertEqual(len({s["id"] for s in storages}), 2)
        self.assertEqual((locked["storages"], locked["error"]), ([], None))
        self.assertIn("Unlock it", unopened["error"])
        self.assertTrue(unopened["device_id"].startswith("0001:000a:"))

        out, errors = self.run_("mtp", "list", "--scripted", file)
        for text in (b"Maker Blue phone (A1)", b"18d1:4ee1:A1", b"Internal, 12.0 GB free of 64.0 GB",
                     b"Locked: it shows no storage. Unlock", b"Cannot be read: It refuses"):
            self.assertIn(text, out)
        self.assertEqual(errors, b"")
        listed = json.loads(self.run_("devices", "--json", "--scripted", file)[0])
        self.assertEqual([(d["label"], d["kind"], d["attached"], d["database"]) for d in listed][0],
                         ("Maker Blue phone (A1)", "phone", True, None))

    def testWithoutADevice(self):
        gone = self.script("device\nfault open remove\n")
        out, _ = self.run_("mtp", "list", "--scripted", gone)
        self.assertIn(b"No phone or player is attached", out)
        self.assertEqual(self.run_("mtp", "list", "--json", "--scripted", gone)[0], b"[]\n")
        self.assertIn(b"has no libmtp", self.run_("mtp", "list", expect=1)[1])
        report, = self.phones("device\nfault open remove\n", expect=1)
        self.assertIn("No phone or player is attached", report["error"])

    def testHostileNamesNeverReachATerminal(self):
        hostile = "\x1b]0;pwned\x07 \u009b31m \u202e \"quoted\""
        file = self.script("device serial=\"\x1b[2J\" model=\"" + hostile.replace('"', '\\"') + "\"\n"
                           "storage \"Card\x1b[1m\"\ntrack \"/\x1b[3m.mp3\" title=\"\x1b[4m\"\n")
        listed = json.loads(self.run_("mtp", "list", "--json", "--scripted", file)[0])
        self.assertEqual(listed[0]["model"], hostile)
        for verb in (("mtp", "list"), ("index", "--mtp", "-v"), ("index", "--mtp", "nobody")):
            status = 1 if "nobody" in verb else 0
            out, errors = self.run_(*verb, "--scripted", file, expect=status)
            self.assertIsNone(CONTROLS.search((out + errors).decode()), verb)


class Scripts(MtpTestCase):
    def testTheDocumentedExampleWorks(self):
        example = re.search("```\n(# phones.txt.*?)```", DOCUMENTATION.read_text(), re.S)[1]
        writeSong(self.path("songs", "tagged.mp3"), TIT2="Tagged")
        cut, locked = self.phones(example, "--wait", "0", expect=1)
        self.assertEqual((cut["device_id"], cut["exit"], locked["exit"]), ("18d1:4ee1:A1", 3, 1))
        whole = self.phones(example.replace("fault readTags", "#"), "A1")
        self.assertEqual((whole["status"], whole["totals"]["playlists"]), ("OK", 1))
        self.assertEqual(self.titles("--playlist", "My Best"), ["Tagged"])

    def testAFaultyLineIsNamed(self):
        for line, remedy in FAULTY_LINES.items():
            file = self.script(f"device\n\n{line}\n")
            _, errors = self.run_("mtp", "list", "--scripted", file, expect=1)
            self.assertIn(f"{file}:3: ", errors.decode())
            self.assertIn(remedy, errors.decode())
        self.assertIn(b":3: ", self.run_("index", "--mtp", "--scripted", file, expect=1)[1])
        for text, remedy in (("track /a.mp3\n", b":1: there is no device yet"),
                             ("# nothing\n", b"describes no device")):
            file = self.script(text)
            self.assertIn(remedy, self.run_("mtp", "list", "--scripted", file, expect=1)[1])
        self.assertIn(b"No such file", self.run_("mtp", "list", "--scripted", self.path("nowhere"),
                                                 expect=1)[1])


class Runs(MtpTestCase):
    def testFirstAndChangedRun(self):
        first = self.phones(PHONE, "A1")
        partition = first["partitions"][0]
        self.assertEqual((first["exit"], first["status"], first["device_id"]),
                         (0, "OK", "18d1:4ee1:A1"))
        self.assertEqual(partition["mount_point"], "mtp-folder://18d1:4ee1:A1")
        self.assertEqual(partition["songs"], {"found": 3, "unchanged": 0, "new": 3, "removed": 0,
                                              "stored": 3, "skipped": 0})
        self.assertEqual([(s["path"], s["title"], s["artist"]) for s in self.list("songs")],
                         [("/Card/Music/A/s.mp3", "Card", "Y"), ("/Music/A/s.mp3", "S", "X"),
                          ("/Music/t.mp3", "From the bytes", "X")])
        self.assertEqual(self.titles("--playlist", "Best"), ["From the bytes", "Card"])
        self.assertIn(b"Device     18d1:4ee1:A1", self.run_("status")[0])

        changed = self.script(PHONE.replace("track /Music/t.mp3 file=t.mp3", "track /u.mp3 title=U"))
        out, errors = self.run_("index", "--mtp", "--scripted", changed)
        self.assertIn(b"3 found: 1 new or changed", out)
        self.assertIn(b"3 songs found, 1 stored", errors)
        self.assertEqual(self.titles(), ["Card", "S", "U"])
        self.assertEqual(self.run_("index", "--mtp", "-q", "--scripted", changed), (b"", b""))

    def testSeveralDevices(self):
        reports = self.phones(LOCKED + PHONE + OTHER, "--wait", "0", expect=1)
        self.assertEqual([(r["device_id"], r["exit"]) for r in reports],
                         [("18d1:4ee1:A1", 0), ("18d1:4ee1:B2", 0), ("18d1:4ee1:L3", 1)])
        self.assertEqual(self.titles("--device-id", "18d1:4ee1:B2"), ["O"])
        removed, other = self.phones(PHONE + "fault any from=9 remove\n" + OTHER, expect=3)
        self.assertEqual((removed["exit"], removed["status"], other["exit"]), (3, "PROGRESS", 0))
        self.assertTrue(removed["partitions"][0]["left_undone"])
        # Two that call themselves the same must not share a database.
        twins = self.phones(OTHER + OTHER, expect=1)
        self.assertEqual([r["exit"] for r in twins], [0, 1])
        self.assertIn("Unplug one", twins[1]["error"])

    def testChoiceOfDeviceAndId(self):
        self.assertEqual(self.phones(PHONE + OTHER, "B2")["totals"]["songs"], 1)
        self.assertEqual(self.phones(PHONE, "18d1:4ee1:A1", "--device-id", "x")["device_id"], "x")
        self.assertEqual(self.phones(OTHER, "--device-id", "y")[0]["device_id"], "y")
        unknown = self.phones(PHONE + OTHER, "nobody", expect=1)
        for text in ("nobody", "Maker Blue phone (A1)", "18d1:4ee1:B2"):
            self.assertIn(text, unknown["error"])
        _, errors = self.run_("index", "--mtp", "--device-id", "z", "--scripted",
                              self.script(PHONE + OTHER), expect=2)
        self.assertIn(b"--mtp SERIAL", errors)


class Waiting(MtpTestCase):
    """Phones that do not answer, or not yet."""

    def testLockedPhoneIsLeftAsItWas(self):
        database = self.phones(LOCKED.replace("always", "times=0"), "L3")["database"]
        before = Path(database).read_bytes()
        report = self.phones(LOCKED, "L3", "--wait", "1", expect=1)
        self.assertIn("Unlock it", report["error"])
        self.assertEqual((report["partitions"], report["status"]), ([], None))
        self.assertEqual(Path(database).read_bytes(), before)

    def testPhoneThatIsUnlockedOrPulledOutMeanwhile(self):
        report = self.phones(LOCKED.replace("always", "times=2"), "L3")
        self.assertEqual((report["status"], report["totals"]["songs"]), ("OK", 1))
        gone = LOCKED.replace("always", "times=2") + "fault listStorages from=3 remove\n"
        self.assertIn("was unplugged", self.phones(gone, "L3", expect=1)["error"])

    def interrupt(self, text, isReady):
        """Presses Ctrl-C once `isReady(process)` is true; returns the array of reports."""
        with subprocess.Popen(
                [ORVEL, "index", "--mtp", "--json", "--scripted", self.script(text)],
                stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=self.environment()) as running:
            self.addCleanup(running.kill)
            while not isReady(running):
                time.sleep(0.01)
            running.send_signal(signal.SIGINT)
            out, errors = running.communicate(timeout=HANG_SECONDS)
        self.assertIn(b"Interrupted", errors)
        self.assertEqual(running.returncode, 130)
        return json.loads(out)

    def testInterruptionWhileADeviceHangs(self):
        first, second = self.interrupt(
            f"{PHONE}fault readTags block=60000\n{OTHER}",
            lambda running: b"Searching" in running.stderr.readline() and not time.sleep(0.3))
        self.assertEqual((first["status"], first["exit"]), ("PROGRESS", 130))
        self.assertEqual((second["status"], second["exit"]), (None, 130))
        self.assertEqual(second["partitions"], [])

    def testInterruptionBeforeARequestIsMade(self):
        reports = self.interrupt(
            LOCKED, lambda running: b"shows no storage" in running.stderr.readline())
        reports += self.interrupt(
            LOCKED + "fault open block=60000\n",
            lambda running: any(thread.read_text() == "MtpDevice\n" for thread in
                                Path(f"/proc/{running.pid}/task").glob("*/comm")))
        self.assertEqual([(r["interrupted"], r["partitions"]) for r in reports], 2 * [(True, [])])
        self.assertFalse(os.path.exists(self.databases))


if __name__ == "__main__":
    unittest.main()
