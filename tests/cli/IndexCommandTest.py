"""`orvel index` and `orvel status`: statuses, reports, mount points, bad surroundings."""

import json
import os
import re
import sqlite3
import subprocess
import unittest
from pathlib import Path

from orvelCommand import HANG_SECONDS, ORVEL, CommandTestCase, writeSong

MANUAL = Path(__file__).resolve().parents[2] / "cli/orvel.1"


class Runs(CommandTestCase):
    def setUp(self):
        super().setUp()
        writeSong(f"{self.stick}/Music/A/s.mp3", TIT2="T", TPE1="X", TALB="L", TCON="G", TCOM="C")
        writeSong(f"{self.stick}/Music/A/t.mp3", TIT2="U", TPE1="X")
        with open(f"{self.stick}/p.m3u", "w") as playlist:
            playlist.write("Music/A/s.mp3\n")

    def testFirstUnchangedAndChangedRun(self):
        first = self.index()
        partition = first["partitions"][0]
        self.assertEqual(first["totals"], {"songs": 2, "artists": 1, "albums": 2, "genres": 2,
                                           "composers": 2, "directories": 3, "playlists": 1})
        self.assertEqual(partition["songs"], {"found": 2, "unchanged": 0, "new": 2, "removed": 0,
                                              "stored": 2, "skipped": 0})
        self.assertEqual(partition["playlists"], {"found": 1, "stored": 1, "refused": 0, "cut": 0})
        self.assertEqual(partition["directories"], {"found": 3, "stored": 3})
        self.assertEqual((first["error"], first["interrupted"], first["status"]),
                         (None, False, "OK"))
        self.assertLessEqual(first["first_song_seconds"], first["seconds"])
        self.assertTrue(0 < partition["folder_tree_seconds"] <= first["seconds"])
        self.assertEqual(first["device_id"], self.stick)
        self.assertEqual(first["database_bytes"], os.path.getsize(first["database"]))

        second = self.index()["partitions"][0]
        self.assertTrue(second["database_existed"])
        self.assertFalse(second["content_modified"])
        self.assertEqual((second["songs"]["unchanged"], second["songs"]["new"]), (2, 0))

        os.remove(f"{self.stick}/Music/A/t.mp3")
        writeSong(f"{self.stick}/Music/A/s.mp3", TIT2="T2", TPE1="Y")
        os.utime(f"{self.stick}/Music/A/s.mp3", (1000, 1000))
        third = self.index()
        self.assertTrue(third["partitions"][0]["content_modified"])
        self.assertEqual(third["totals"]["songs"], 1)
        self.assertEqual([(a["name"], a["songs"]) for a in self.list("artists")], [("Y", 1)])

    def testSummaryAndProgressForPeople(self):
        out, errors = self.run_("index", self.stick)
        self.assertIn(b"2 found: 2 new or changed\n", out)
        self.assertIn(b"2 songs found, 2 stored", errors)
        self.assertNotIn(b"\x1b", errors)
        self.assertIn(b"Nothing has changed", self.run_("index", self.stick)[0])
        self.assertEqual(self.run_("index", "--quiet", self.stick), (b"", b""))
        self.assertIn(b"MSDCrawler for: ", self.run_("index", "-v", self.stick)[1])
        for i in range(4):
            open(f"{self.stick}/broken{i}.flac", "w").close()
        _, errors = self.run_("index", self.stick)
        self.assertIn(b"4 files could not be read: ", errors)
        self.assertIn(b"broken2.flac and 1 more", errors)
        self.assertNotIn(b"NULL", errors)

    def testLinesInTheJournalHaveTheirPriority(self):
        open(f"{self.stick}/broken.flac", "w").close()
        for isNamed in (True, False):
            with open(self.path("journal"), "wb+") as journal:
                status = os.fstat(journal.fileno())
                name = f"{status.st_dev}:{status.st_ino + (not isNamed)}"
                for folder in (self.stick, "nowhere"):
                    subprocess.run([ORVEL, "index", "-v", "--device-id", name, folder], stderr=journal,
                                   stdout=subprocess.DEVNULL, timeout=HANG_SECONDS,
                                   env=self.environment(JOURNAL_STREAM=name))
                journal.seek(0)
                found = set(re.findall(rb"^(?:<(\d)>)?orvel: (warning|info)?", journal.read(), re.M))
            expected = {(b"4", b"warning"), (b"6", b"info"), (b"3", b"")}
            self.assertEqual(found, expected if isNamed else {(b"", level) for _, level in expected})

    def testADamagedDatabaseIsReplacedByTheNextRun(self):
        for i in range(60):
            writeSong(f"{self.stick}/Music/B/{i}.mp3", TIT2=f"Title {i}" * 20, TPE1=f"Artist {i}")
        spelt = self.path("data", "..", "data", "orvel")
        arguments = (self.stick, "--device-id", "dev", "--db-dir", spelt)
        database = self.index(*arguments)["database"]
        size = os.path.getsize(database)
        with open(database, "r+b") as file:
            file.seek(size // 2)
            file.write(b"\x5a" * (size - size // 2))
        found = self.index(*arguments, expect=3)["partitions"][0]
        self.assertIn("the database is damaged and is replaced by the next run", found["left_undone"])
        self.assertEqual(self.index(*arguments)["totals"]["songs"], 62)
        self.assertEqual(os.listdir(os.path.dirname(database)).count(
            os.path.basename(database) + ".damaged"), 0)

    def testPartitionsOfOneDevice(self):
        other = self.path("other")
        writeSong(f"{other}/o.mp3", TIT2="Other")
        both = self.index(self.stick, other, "--device-id", "dev")
        self.assertEqual([p["mount_point"] for p in both["partitions"]], [self.stick, other])
        self.assertEqual(both["totals"]["songs"], 3)
        again = self.index(self.stick, other, "--device-id", "dev")
        self.assertEqual([p["songs"]["unchanged"] for p in again["partitions"]], [2, 1])
        status, _ = self.run_("status")
        for text in (self.stick, other, "dev", "3 songs", "limit"):
            self.assertIn(text.encode(), status)
        status, = json.loads(self.run_("status", "--json")[0])
        self.assertEqual((status["device_id"], status["totals"], status["partitions"][0]),
                         ("dev", both["totals"], {"mount_point": other, "status": "OK"}))
        # An unmounted stick must not be taken for one without songs.
        os.mkdir(self.path("unmounted"))
        refused = self.index(self.path("unmounted"), "--device-id", "dev", expect=1)
        self.assertIn("is empty. Mount the device", refused["error"])
        self.assertEqual(len(self.list("songs")), 3)
        # A new attach without the second partition forgets it once it is gone.
        os.remove(f"{other}/o.mp3")
        self.assertEqual(self.index("--device-id", "dev", self.stick)["totals"]["songs"], 2)
        self.assertNotIn(other.encode(), self.run_("status")[0])


class MountPoints(CommandTestCase):
    def testAreMadeAbsoluteAndClean(self):
        writeSong(f"{self.stick}/a.mp3")
        os.symlink(self.stick, self.path("link"))
        for argument, clean in ((f"{self.stick}/", "stick"), ("./stick//../stick/.", "stick"),
                                ("link/", "link")):
            report = self.index(argument, cwd=self.folder)
            self.assertEqual(report["partitions"][0]["mount_point"], self.path(clean))
            self.assertEqual(report["totals"]["songs"], 1)

    def testThatWouldMixAreRefused(self):
        for first, second in (("usb1", "usb10"), ("usb", "usb"), ("usb/", "usb/sub"),
                              ("USB", "usb1"), ("u_b", "usb")):
            for pair in ((first, second), (second, first)):
                _, errors = self.run_("index", *pair, cwd=self.folder, expect=2)
                self.assertIn(b"cannot be indexed together", errors)

    def testThatAreNotUtf8AreRefused(self):
        bad = os.fsencode(self.path("b")) + b"\xff"
        os.mkdir(bad)
        _, errors = self.run_("index", bad, expect=2)
        self.assertIn("not valid UTF-8".encode(), errors)
        errors.decode()
        self.run_("index", ".", cwd=bad, expect=2)

    def testWithOddNamesWork(self):
        for number, name in enumerate(("with blank", "50% #1?", "it's", "Müsik", 'quo"te')):
            folder = self.path(str(number), name)
            writeSong(f"{folder}/Sub/s.mp3", TIT2="T")
            with open(f"{folder}/p.m3u", "w") as playlist:
                playlist.write("Sub/s.mp3\n")
            report = self.index(folder, "--device-id", str(number))
            self.assertEqual(report["totals"]["songs"], 1, name)
            songs = self.list("songs", "--device-id", str(number), "--playlist", "p.m3u")
            self.assertEqual([s["path"] for s in songs], [f"{folder}/Sub/s.mp3"])


class Refusals(CommandTestCase):
    def setUp(self):
        super().setUp()
        writeSong(f"{self.stick}/a.mp3")

    def testWrongUsage(self):
        for arguments in ((), ("dance",), ("index",), ("index", "--dance", "x"), ("index", ""),
                          ("list",), ("list", "cars"), ("list", "songs", "--format", "xml"),
                          ("list", "songs", "--db", "x", "--device-id", "y"), ("status", "x"),
                          ("list", "songs", "--format", "%cars%"), ("list", "songs", "--format", "[%"),
                          ("list", "songs", "--sort", "cars"), ("forget",),
                          ("mtp",), ("mtp", "dance"), ("index", "--mtp", "a", "b"),
                          ("index", "--mtp", "--wait", "soon"), ("index", "--wait", "1", "/"),
                          ("index", "--scripted", "x", "/"), ("index", "--log=radio", "/"),
                          ("index", "--in-process", "--require-isolation", "/")):
            out, errors = self.run_(*arguments, expect=2)
            self.assertEqual(out, b"")
            self.assertTrue(errors.startswith(b"orvel: "), arguments)
        self.assertRegex(self.run_("--version")[0], rb"^orvel \d")

    def testHelpFitsATerminalAndTheManual(self):
        manual = MANUAL.read_text().replace("\\-", "-")
        general = self.run_("--help")[0].decode()
        verbs = re.findall(r"^  ([a-z]+) ", general, re.M)
        self.assertGreater(len(verbs), 5)
        for verb in verbs:
            help = self.run_(verb, "--help")[0].decode()
            self.assertTrue(f".SS orvel {verb}" in manual, verb)
            for option in re.findall(r"^  (?:-\w,)?(--?[\w-]+)", help, re.M):
                self.assertTrue(option in manual, (verb, option))
            self.assertLessEqual(max(map(len, (general + help).split("\n"))), 80, verb)

    @unittest.skipIf(os.environ["ORVEL_WITH_DLT"] == "ON", "the library has DLT")
    def testALogThatWasNotBuiltIn(self):
        _, errors = self.run_("index", self.stick, "--log=dlt", expect=1)
        self.assertIn(b"built without it", errors)

    def testFoldersThatCannotBeRead(self):
        open(self.path("file"), "w").close()
        for folder, reason in (("nowhere", "No such file"), ("file", "Not a directory")):
            report = self.index(self.path(folder), expect=1)
            self.assertIn(reason, report["error"])
            self.assertEqual((report["partitions"], report["totals"]), ([], None))
            self.assertFalse(os.path.exists(self.databases))

    def testDatabasesThatCannotBeWritten(self):
        open(self.path("file"), "w").close()
        for folder in (self.path("file"), self.path("file", "below")):
            self.assertIn("--db-dir", self.index(self.stick, "--db-dir", folder, expect=1)["error"])
        database = self.index(self.stick)["database"]
        os.remove(database)
        os.mkdir(database)
        report = self.index(self.stick, expect=1)
        self.assertIn("cannot be opened", report["error"])
        self.assertEqual(report["status"], "PROGRESS")

    def testLoopWithoutGlib(self):
        report = self.index(env=self.environment(QT_NO_GLIB="1"), expect=1)
        self.assertIn("Playlists cannot be parsed", report["error"])

    def testForeignDatabaseIsNotListed(self):
        foreign = self.path("foreign.db")
        with sqlite3.connect(foreign) as connection:
            connection.execute("CREATE TABLE SONGS(X)")
        _, errors = self.run_("list", "songs", "--db", foreign, expect=1)
        self.assertIn(b"Cannot read the database", errors)
        with open(self.index()["database"], "wb") as damaged:
            damaged.write(b"no database" * 1000)
        self.assertIn(b"not a database", self.run_("status")[0])


if __name__ == "__main__":
    unittest.main()
