"""The devices that the tests plug into the virtual machine."""

import os
import shutil

import media


class FolderDevice:
    """Shows the files of a folder and knows nothing about songs. `copy` holds the same files."""

    def __init__(self, machine, folder):
        self.machine, self.folder, self.copy = machine, f"{folder}/shown", f"{folder}/copy"
        self.song = media.makeFolders(machine.programs, self.folder)
        shutil.copytree(self.folder, self.copy)
        self.plug()

    def addSong(self, path):
        shutil.copy(self.song, f"{self.copy}/{path}")


class QemuDevice(FolderDevice):
    name = "usb-mtp"

    def plug(self):
        self.machine.plugMtp(self.folder)

    replug = plug

    def unplug(self):
        self.machine.unplugMtp()

    remove = unplug

    def addSong(self, path):
        super().addSong(path)
        shutil.copy(self.song, f"{self.folder}/{path}")

    def partsRead(self):
        """How often a part of a file was read."""
        return self.machine.qemuLog().count("usb_mtp_op_get_partial_object")


class UmtpDevice(FolderDevice):
    """umtp-responder within the machine, with a second storage that is empty."""

    name = "umtp-responder"

    def plug(self):
        card = f"{os.path.dirname(self.folder)}/card"
        os.makedirs(card, exist_ok=True)
        self.machine.player("plug", "umtp", self.folder, card)

    def replug(self):
        """With its program begun anew: one that was cut off in mid-answer may not come back."""
        self.remove()
        self.plug()

    def unplug(self):
        self.machine.player("unplug")

    def remove(self):
        self.machine.player("remove")

    def addSong(self, path):
        super().addSong(path)
        self.machine.run("cp", self.song, f"{self.folder}/{path}")


class PlayerDevice:
    """Knows its songs and has playlists: the project's own responder."""

    def __init__(self, machine, folder):
        self.machine = machine
        song = media.makeFolders(machine.programs, f"{folder}-folders")
        self.script = media.makePlayer(folder, song)

    def plug(self, commands=None):
        """With a number of commands its cable falls out after so many."""
        limit = () if commands is None else (str(commands),)
        program = f"{self.machine.programs}/tests/vm/orvel-mtp-gadget"
        self.machine.player("plug", "scripted", program, self.script, *limit)

    def replug(self):
        self.machine.player("replug")

    def remove(self):
        self.machine.player("remove")

    def commands(self):
        """The commands since it was plugged in: operation and parameters."""
        log = self.machine.player("log")
        return [tuple(int(word, 16) for word in line.split()) for line in log.splitlines()]
