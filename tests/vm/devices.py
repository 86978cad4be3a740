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

    def plug(self):
        card = f"{os.path.dirname(self.folder)}/card"
        os.makedirs(card, exist_ok=True)
        self.machine.player("plug", self.folder, card)

    def replug(self):
        """Starts its program again: one that was cut off in mid-answer may not come back."""
        self.remove()
        self.plug()

    def unplug(self):
        self.machine.player("unplug")

    def remove(self):
        self.machine.player("remove")

    def addSong(self, path):
        super().addSong(path)
        self.machine.run("cp", self.song, f"{self.folder}/{path}")
