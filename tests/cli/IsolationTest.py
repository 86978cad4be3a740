"""Where tags are read: in a process of its own, unless that is not wanted or not to be had."""

import os
import shutil
import unittest

from orvelHost import HostTestCase, ORVEL, writeSong


class Isolation(HostTestCase):
    def setUp(self):
        super().setUp()
        for i in range(40):
            writeSong(self.path("stick", f"{i}.mp3"), TIT2=f"Title {i}", TPE1="歌手", TALB="Ä")
        for extension in ("mp3", "m4a", "flac", "wma", "wav", "mpg"):
            with open(self.path("stick", "noise." + extension), "wb") as file:
                file.write(os.urandom(20000))

    def rows(self, *options):
        report = self.index(self.stick, "--db-dir", self.path("db", *options), *options)
        self.assertFalse(report["partitions"][0]["isolation_failed"])
        rows = self.list("songs", "--db-dir", self.path("db", *options))
        self.assertEqual(len(rows), 46)
        return rows

    def testBothWaysGiveTheSameRows(self):
        self.assertEqual(self.rows(), self.rows("--in-process"))

    def testWithoutTheReaderARunSaysSoAndIsComplete(self):
        if os.path.exists(os.environ["ORVEL_INSTALLED_READER"]):
            self.skipTest("an installed reader is found")
        alone = shutil.copy(ORVEL, self.path("orvel"))
        arguments = (self.stick, "--json", "--db-dir", self.path("db"))
        out, err = self.run_("index", *arguments, command=alone)
        self.assertIn(b'"isolation_failed":true', out)
        self.assertEqual(err.count(b"tags are read without isolation"), 1, err)
        self.assertEqual(len(self.list("songs", "--db-dir", self.path("db"))), 46)
        out, err = self.run_("index", *arguments, "--in-process", command=alone)
        self.assertNotIn(b"isolation_failed\":true", out)
        self.assertNotIn(b"isolation", err)


if __name__ == "__main__":
    unittest.main()
