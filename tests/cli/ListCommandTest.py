"""`orvel list`: what is listed, in which order, in which form."""

import contextlib
import json
import os
import pathlib
import re
import sqlite3
import unittest

from orvelCommand import CommandTestCase, writeSong

SONG_KEYS = {"path", "name", "title", "artist", "album", "genre", "composer", "track", "disc",
             "directory", "object_id", "last_modified", "duration", "year", "album_artist", "cover"}
CONTROLS = re.compile("[\x00-\x09\x0b-\x1f\x7f-\x9f\u2028-\u202e]")


class Listings(CommandTestCase):
    def setUp(self):
        super().setUp()
        music = f"{self.stick}/Music"
        writeSong(f"{music}/A/s.mp3", TIT2="S", TPE1="X", TALB="L", TCON="Rock", TCOM="C",
                  TRCK="2/9", TPOS="1/2", TDRC="1984-05-06")
        writeSong(f"{music}/A/t.mp3", TIT2="T", TPE1="x", TALB="L", TCON="Rock")
        writeSong(f"{music}/B/u.mp3", TIT2="U", TPE1="Ärzte", TALB="M", TCON="Jazz")
        os.mkdir(f"{self.stick}/Lists")
        with open(f"{self.stick}/Lists/p.m3u8", "w") as playlist:
            playlist.write("../Music/B/u.mp3\n../Music/A/s.mp3\n../Music/B/u.mp3\n"
                           "../Music/A/missing.mp3\n../Music/A/t.mp3\n")
        self.database = self.index()["database"]

    def names(self, kind, *arguments, **more):
        return [row["name"] for row in self.list(kind, *arguments, **more)]

    def testSongsOfEveryColumn(self):
        songs = self.list("songs")
        self.assertTrue(all(set(song) == SONG_KEYS for song in songs))
        first = songs[0]
        self.assertEqual([first[key] for key in ("name", "title", "artist", "album", "genre",
                                                 "composer", "track", "disc")],
                         ["s.mp3", "S", "X", "L", "Rock", "C", 2, 1])
        self.assertEqual(first["directory"], f"{self.stick}/Music/A")
        self.assertEqual(first["last_modified"],
                         int(os.stat(f"{self.stick}/Music/A/s.mp3").st_mtime))
        self.assertEqual([song["path"] for song in songs], sorted(song["path"] for song in songs))

    def testDatabaseOfAnEarlierReleaseKeepsItsSongsAndGainsTheirDetails(self):
        def details(songs):
            return [(song.pop("duration"), song.pop("cover")) for song in songs]

        before = self.list("songs")
        with contextlib.closing(sqlite3.connect(self.database)) as database:
            database.executescript("DROP TRIGGER SONGDETAILS_OF_DELETED; DROP TABLE SONGDETAILS;")
        earlier = self.list("songs")
        self.assertEqual(details(earlier), [(None, None)] * 3)
        os.utime(f"{self.stick}/Music/A/s.mp3", (1, 1))
        pathlib.Path(f"{self.stick}/Music/A/Front.PNG").touch()
        self.assertEqual(self.index()["partitions"][0]["songs"]["new"], 1)
        after = self.list("songs")
        self.assertEqual([song["path"] for song in after], [song["path"] for song in before])
        self.assertEqual(details(after)[1:], [(None, None)] * 2)
        self.assertEqual(after[0]["year"], 1984)
        os.remove(f"{self.stick}/Music/A/s.mp3")
        self.index()
        with contextlib.closing(sqlite3.connect(self.database)) as database:
            self.assertEqual(database.execute("SELECT * FROM SONGDETAILS;").fetchall(), [])

    def testOtherKinds(self):
        self.assertEqual([(a["name"], a["songs"]) for a in self.list("artists")],
                         [("X", 1), ("x", 1), ("Ärzte", 1)])
        self.assertEqual([(a["name"], a["songs"]) for a in self.list("albums")],
                         [("L", 2), ("M", 1)])
        self.assertEqual(self.names("genres"), ["Jazz", "Rock"])
        self.assertEqual(set(self.list("composers")[0]), {"name", "sort", "songs"})
        root, music, *_ = self.list("directories")
        self.assertEqual(root, {"path": self.stick, "name": "stick", "parent": None, "songs": 0})
        self.assertEqual((music["path"], music["parent"]), (f"{self.stick}/Music", self.stick))
        self.assertEqual(self.names("directories"), ["stick", "Music", "A", "B"])
        self.assertEqual(self.list("playlists"), [
            {"name": "p.m3u8", "path": f"{self.stick}/Lists/p.m3u8", "entries": 4}])

    def testFiltersMatchBeginningsOrExactly(self):
        self.assertEqual(self.names("songs", "--artist", "x"), ["s.mp3", "t.mp3"])
        self.assertEqual(self.names("songs", "--artist", "x", "--exact"), ["t.mp3"])
        self.assertEqual(self.names("songs", "--artist", "arz"), ["u.mp3"])
        self.assertEqual(self.names("songs", "--composer", "ｃ"), ["s.mp3"])
        self.assertEqual(self.names("songs", "--composer", ""), ["t.mp3", "u.mp3"])
        self.assertEqual(self.names("songs", "--album", "l", "--artist", "X", "--exact", expect=1), [])
        self.assertEqual(self.names("songs", "--artist", "' OR 1 --", expect=1), [])
        self.assertEqual(self.names("songs", "--directory", "B"), ["u.mp3"])
        for path in (f"{self.stick}/Music/A", f"{self.stick}/Music"):
            self.assertEqual(self.names("songs", "--directory", path, expect=path[-1] != "A"),
                             ["s.mp3", "t.mp3"] if path[-1] == "A" else [])
        self.assertEqual(self.names("artists", "--genre", "Rock"), ["X", "x"])
        self.assertEqual(self.names("albums", "--playlist", "P"), ["L", "M"])
        self.assertEqual(self.names("directories", "--genre", "Jazz"), ["B"])
        self.assertEqual(self.list("playlists", "--artist", "Ärzte")[0]["entries"], 2)
        out, errors = self.run_("list", "playlists", "--album", "none", expect=1)
        self.assertEqual((out, errors.count(b"No playlists match")), (b"", 1))

    def testRowsAndColumnsForPeople(self):
        writeSong(f"{self.stick}/v.mp3", TPE1="")
        self.index()
        self.assertEqual(self.run_("list", "songs", "--sort=-track", "--limit", "2")[0].decode(),
                         "TITLE  ARTIST  ALBUM  TRACK\n"
                         "S      X       L          2\n"
                         "T      x       L\n")
        self.assertEqual(self.run_("list", "songs", "--columns", "artist,title,disc", "--album", "")[0],
                         b"ARTIST          TITLE  DISC\nUnknown artist  v.mp3\n")
        self.assertEqual(self.run_("list", "artists", "--limit", "1")[0],
                         b"NAME            SONGS\nUnknown artist      1\n")
        pattern = "[%track%. ]%title%[ by %artist%]\\[%%]".replace("%%", "\\%")
        self.assertEqual(self.run_("list", "songs", "--format", pattern)[0].decode(),
                         "2. S by X[%]\nT by x[%]\nU by Ärzte[%]\nv.mp3[%]\n")
        self.assertEqual(self.run_("list", "songs", "--count", "--genre", "r")[0], b"2\n")
        self.assertEqual(self.run_("list", "songs", "--count", "--json")[0], b'{"count":4}\n')
        self.assertEqual(set(self.list("songs", "--columns", "title,artist")[0]), {"title", "artist"})

    def testPlaylistInItsOrder(self):
        for playlist in ("p.m3u8", f"{self.stick}/Lists/p.m3u8"):
            songs = self.list("songs", "--playlist", playlist)
            self.assertEqual([(song["position"], song["title"]) for song in songs],
                             [(1, "U"), (2, "S"), (3, "U"), (4, "T")])
            self.assertEqual(set(songs[0]), SONG_KEYS | {"position"})
        songs = self.list("songs", "--playlist", "p.m3u8", "--genre", "Rock")
        self.assertEqual([(song["position"], song["title"]) for song in songs],
                         [(2, "S"), (4, "T")])

    def testChoiceOfDevice(self):
        self.run_("list", "songs", "--db-dir", self.path("empty"), expect=2)
        writeSong(f"{self.path('Second one')}/o.mp3")
        second = self.index(self.path("Second one"), "--device-id", "2A4B-11C0")["database"]
        for choice in ("--db", second), ("--device", "2a"), ("-d", "second ONE"), (
                "--device-id", "2A4B-11C0"), ("-d", self.path("Second one")):
            self.assertEqual(self.names("songs", *choice), ["o.mp3"])
        self.assertEqual(len(self.list("songs", "--device", "stick")), 3)
        for arguments, status in (((), 2), (("--device", "nobody"), 1)):
            _, errors = self.run_("list", "songs", *arguments, expect=status)
            for name in ("stick (" + self.stick, "Second one (2A4B-11C0)"):
                self.assertIn(name.encode(), errors)
        self.index(self.stick, "--device-id", "2A00")
        self.assertIn(b"may be any of", self.run_("list", "songs", "-d", "2A", expect=1)[1])

        devices = {d["label"]: d for d in json.loads(self.run_("devices", "--json")[0])}
        self.assertEqual((devices["Second one"]["database"], devices["Second one"]["attached"],
                          devices["Second one"]["kind"]), (second, False, "stick"))
        self.assertIn(b"2A4B-11C0", self.run_("devices")[0])
        self.run_("forget", "second one")
        self.assertFalse(os.path.exists(second))
        self.run_("forget", "second one", expect=1)


class Searching(CommandTestCase):
    def setUp(self):
        super().setUp()
        music = f"{self.stick}/Music"
        writeSong(f"{music}/Joga/1.mp3", TIT2="Jóga", TPE1="Björk", TALB="Homogenic", TCOM="Sjón")
        writeSong(f"{music}/2.mp3", TIT2="Bjorken wood", TPE1="What's Up?", TALB="Jogabonito")
        writeSong(f"{music}/3.mp3", TIT2="花絵", TSOT="はなえ", TPE1="Ｗｉｄｅ　ﾊﾞﾝﾄﾞ")
        writeSong(f"{music}/4.mp3", TIT2="월량")
        writeSong(f"{music}/5.mp3", TIT2="月亮", TPE1="周杰倫")
        writeSong(f"{music}/bjork.mp3")
        for number in range(100, 700):  # enough to be folded on a second thread
            writeSong(f"{music}/Numbers/{number}.mp3", TIT2=f"Number {number}")
        os.mkdir(f"{self.stick}/Lists")
        with open(f"{self.stick}/Lists/Straße.m3u8", "w") as playlist:
            playlist.write("../Music/2.mp3\n../Music/3.mp3\n")
        self.index()

    def found(self, *words, kinds="songs", **more):
        rows = json.loads(self.run_("search", "--json", "--kind", kinds, *words, **more)[0])
        return [row["title"] or row["name"] if row["kind"] == "songs" else row["name"] for row in rows]

    def testFindsBeginningsOfWordsInEveryScript(self):
        for words, titles in ((("WOOD",), ["Bjorken wood"]), (("jóg", "sjon"), ["Jóga"]),
                              (("hanae",), ["花絵"]), (("ハナ",), ["花絵"]), (("絵",), ["花絵"]),
                              (("wide", "band"), ["花絵"]), (("월",), ["월량"]),
                              (("zhoujie",), ["月亮"]), (("jie", "yue"), ["月亮"]),
                              (("whats",), ["Bjorken wood"]), (("strasse", "w"), ["Bjorken wood", "花絵"]),
                              (("number", "69"), [f"Number {number}" for number in range(690, 700)])):
            self.assertEqual(self.found(*words), titles, words)
        for words in (("ork",), ("joga", "wide"), ("량",), ("...",)):
            self.assertEqual(self.found(*words, expect=1), [], words)
        self.assertIn(b"Nothing", self.run_("search", "status", "list", expect=1)[1])

    def testTheBestComeFirst(self):
        # Whole words before beginnings, titles before artists, albums and folders.
        self.assertEqual(self.found("bjork"), ["bjork.mp3", "Bjorken wood", "Jóga"])
        self.assertEqual(self.found("joga", kinds="songs,albums,directories"),
                         ["Jóga", "Joga", "Jogabonito", "Bjorken wood"])
        rows = json.loads(self.run_("search", "--json", "homog")[0])
        album = next(row for row in self.list("albums") if row["name"] == "Homogenic")
        self.assertEqual(rows[0], {"kind": "albums", **album})
        song = next(row for row in self.list("songs") if row["title"] == "Jóga")
        self.assertEqual(rows[1], {"kind": "songs", **song})
        out, errors = self.run_("search", "bjork", "--limit", "1")
        self.assertEqual(out.decode(), "FOUND   NAME   ARTIST  ALBUM\nartist  Björk\n")
        self.assertIn(b"1 of 4", errors)


class HostileNames(CommandTestCase):
    """File names and tags that would steer a terminal or break a format."""

    NAMES = [b"\x1b]0;pwned\x07.mp3", b"tab\tline\nend\r.mp3", b"bad\xff\xfeutf8.mp3",
             "c1\u009b31m \u202eturned.mp3".encode(), b"back\\slash \"quoted\".mp3", b"-.mp3"]

    def setUp(self):
        super().setUp()
        self.paths = [os.fsencode(self.stick) + b"/" + name for name in self.NAMES]
        for path in self.paths:
            writeSong(path, TIT2="\x1b[2J\u009b title\twith\nall", TPE1="\u2028artist\\n")

    def testNeverReachAnOutputRaw(self):
        for verbosity in ((), ("-vvv",)):
            out, errors = self.run_("index", *verbosity, self.stick)
            self.assertIsNone(CONTROLS.search((out + errors).decode()))
        for kind in ("songs", "artists", "directories"):
            self.assertIsNone(CONTROLS.search(self.run_("list", kind)[0].decode()))
            json.loads(self.run_("list", kind, "--format", "json")[0])
        self.assertIsNone(CONTROLS.search(self.run_("status")[0].decode()))

    def testJsonKeepsEveryPath(self):
        self.index()
        songs = self.list("songs")
        found = {bytes.fromhex(song["path_hex"]) if "path_hex" in song else song["path"].encode()
                 for song in songs}
        self.assertEqual(found, set(self.paths))
        self.assertEqual(sum("path_hex" in song for song in songs), 1)

    def testTsvCanBeReadBack(self):
        self.index()
        out = self.run_("list", "songs", "--format", "tsv")[0].decode()
        self.assertIsNone(CONTROLS.search(out.replace("\t", "")))
        header, *rows = [line.split("\t") for line in out.splitlines()]
        self.assertEqual(header, ["path", "title", "artist", "album", "genre", "composer", "track",
                                  "disc"])

        def unescaped(text):
            return re.sub(r"\\(u[0-9a-f]{4}|.)", lambda m: json.loads(f'"{m.group(0)}"'), text)

        self.assertEqual({unescaped(row[0]) for row in rows},
                         {path.decode(errors="replace") for path in self.paths})
        self.assertTrue(all(len(row) == len(header) for row in rows))


if __name__ == "__main__":
    unittest.main()
