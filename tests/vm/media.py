"""The files that the devices of the virtual machine show, and the rows that a host gets from them."""

import shutil
import subprocess

# The part of the sample stick that sticks and phones treat alike.
FOLDERS = ("Audiobooks", "Mixed", "Music", "Store")
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


def call(*command):
    """Standard output of a command on this machine that must succeed."""
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          text=True, timeout=60).stdout


def commonRows(orvel, kind, databases, *options, root=""):
    """The rows of a list that sticks and phones have in common, with paths that begin at the root of
    the device. Phones leave out what is hidden."""
    listed = call(orvel, "list", kind, "--format", "tsv", "--db-dir", databases, *options)
    head, *rows = (line.split("\t") for line in listed.splitlines())
    wanted = [head.index(column) for column in COMMON_COLUMNS[kind]]
    shown = [tuple(row[index].removeprefix(root) for index in wanted) for row in rows]
    return [row for row in shown if row[0] and "/." not in row[0]]


def rowsOfStick(programs, folder, databases):
    """Common rows, by kind, of a folder that is indexed on this machine as a stick."""
    orvel = f"{programs}/orvel"
    call(orvel, "index", "--quiet", "--device-id", folder, "--db-dir", databases, folder)
    return {kind: commonRows(orvel, kind, databases, "--device-id", folder, root=folder)
            for kind in COMMON_COLUMNS}
