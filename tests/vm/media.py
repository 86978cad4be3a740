"""What the devices of the virtual machine hold, and the rows that a host gets from it."""

import json
import os
import shutil
import subprocess

# Of the sample stick: what sticks and phones treat alike.
FOLDERS = ("Audiobooks", "Mixed", "Music", "Store")

PLAYER = """device vendor=1209 product=0001 serial=scripted maker=Orvel model="Blue player"
storage Internal
track /Music/Amber/salt.mp3 title="Salt Road" artist="Amber Harbour" album=Lanterns genre=Folk number=3
track /Music/Amber/thaw.flac title=Thaw artist="Amber Harbour" composer="Tilda Rowe" number=4
track "/Music/青い風船/雨のち虹.mp3" title="雨のち虹" artist="青い風船" album="夜明けの電車" genre="ポップ"
track /Music/bytes.wav file={bytes}
file /DCIM/0001.jpg size=4000000
playlist "/Playlists/Für die Fahrt" = "/Music/青い風船/雨のち虹.mp3" /Music/Amber/salt.mp3 /Music/gone.mp3
playlist /Playlists/Quiet = /Music/bytes.wav
storage Card
track /Music/Amber/salt.mp3 title="Salt Road (Live)" artist="Amber Harbour" album=Quay
"""


# Everything that can be asked about the player. Playlists are named by handles, which may differ.
PLAYER_TABLES = (("songs",), ("artists",), ("albums",), ("genres",), ("composers",),
                 ("directories",), ("songs", "--playlist", "Für die Fahrt"),
                 ("songs", "--playlist", "Quiet"))
# What sticks and phones have in common; phones do not tell the number of a disc.
COMMON_COLUMNS = {"songs": ("path", "title", "artist", "album", "genre", "composer", "track"),
                  "directories": ("path", "name", "songs")}


def makeFolders(programs, target):
    """Makes `target` of the folders of a sample stick that `FOLDERS` names; returns the path of a
    song that may be added later."""
    stick = f"{target}-sample"
    call(f"{programs}/orvel-make-stick", "sample", stick)
    for folder in FOLDERS:
        shutil.copytree(f"{stick}/{folder}", f"{target}/{folder}")
    return f"{stick}/Recordings/Demo/01 Kitchen Take.wav"


def makePlayer(folder, song):
    """Writes the script of a player; `song` is the one that has its texts in its bytes."""
    os.mkdir(folder)
    script = f"{folder}/player.txt"
    with open(script, "w", encoding="utf-8") as file:
        file.write(PLAYER.format(bytes=json.dumps(song, ensure_ascii=False)))
    return script


def call(*command):
    """Standard output of a command on this machine that must succeed."""
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          text=True, timeout=60).stdout


def commonRows(kind, listed, root=""):
    """The rows of a tab-separated list that sticks and phones have in common, with paths that begin
    at the root of the device. Phones leave out what is hidden."""
    head, *rows = (line.split("\t") for line in listed.splitlines())
    wanted = [head.index(column) for column in COMMON_COLUMNS[kind]]
    shown = [tuple(row[index].removeprefix(root) for index in wanted) for row in rows]
    return [row for row in shown if row[0] and "/." not in row[0]]


class Reference:
    """Indexes on this machine, over other roads, what the devices hold."""

    def __init__(self, programs, folder):
        self.programs, self.databases = programs, f"{folder}/reference"

    def call(self, program, *arguments):
        return call(f"{self.programs}/{program}", *arguments, "--db-dir", self.databases)

    def ofFolder(self, folder):
        """Common rows, by kind, of a folder that is indexed as a stick."""
        self.call("orvel", "index", "--quiet", "--device-id", folder, folder)
        return {kind: commonRows(kind, self.call("orvel", "list", kind, "--format", "tsv",
                                                 "--device-id", folder), folder)
                for kind in COMMON_COLUMNS}

    def ofPlayer(self, script):
        """The tables of the player without a bus."""
        self.call("orvel-scripted", "index", "--quiet", "--mtp", "--scripted", script)
        return {table: self.call("orvel-scripted", "list", *table, "--format", "tsv",
                                 "--device-id", "1209:0001:scripted")
                for table in PLAYER_TABLES}
