"""The files that the devices of the virtual machine show, and the rows that a host gets from them."""

import json
import os
import shutil
import subprocess

# The part of the sample stick that sticks and phones treat alike.
FOLDERS = ("Audiobooks", "Mixed", "Music", "Store")
# How many equal songs keep an indexer busy: it stores 500 at a time.
MANY = 900
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


def makeStickFolder(programs, target):
    """Makes `target` of songs that any stick can hold, enough to take a while; two of them have names
    that differ from short ones in their case alone."""
    stick = f"{target}-sample"
    call(f"{programs}/orvel-make-stick", "sample", stick)
    shutil.copytree(f"{stick}/Music", f"{target}/Music")
    os.mkdir(f"{target}/Many")
    song = f"{stick}/Mixed/SHOUT.MP3"
    for name in ("UPPER.MP3", "lower.mp3", *(f"song {number}.mp3" for number in range(MANY))):
        shutil.copy(song, f"{target}/Many/{name}")


def call(*command):
    """Standard output of a command on this machine that must succeed."""
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          text=True, timeout=60).stdout


def listed(orvel, kind, databases, *options):
    """The rows of a list of the command line."""
    return json.loads(call(orvel, "list", kind, "--format", "json", "--db-dir", databases, *options))


def commonRows(rows, kind, root=""):
    """What sticks and phones have in common of rows of the command line or the bus, with paths that
    begin at the root of the device. Phones leave out what is hidden."""
    shown = [tuple(str(row.get(column) or "").removeprefix(root) for column in COMMON_COLUMNS[kind])
             for row in rows]
    return [row for row in shown if row[0] and "/." not in row[0]]


def rowsOfStick(programs, folder, databases):
    """Common rows, by kind, of a folder that is indexed on this machine as a stick."""
    orvel = f"{programs}/orvel"
    call(orvel, "index", "--quiet", "--device-id", folder, "--db-dir", databases, folder)
    return {kind: commonRows(listed(orvel, kind, databases, "--device-id", folder), kind, folder)
            for kind in COMMON_COLUMNS}
