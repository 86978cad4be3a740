"""The sticks that the tests plug into the virtual machine."""

import itertools
import os
import subprocess

from machine import waitFor

PARTITION_OFFSET = 1 << 20
MEGABYTES = 40
SLOW_READS = 60  # a second: slow enough to catch an indexer in the middle


def call(*command, **options):
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, timeout=60,
                   env={**os.environ, "LC_ALL": "C.UTF-8", "MTOOLS_SKIP_CHECK": "1"}, **options)


class Stick:
    """A USB stick whose only partition holds the files of a folder. A kind of file system makes it."""

    numbers = itertools.count()
    folder = "/media/stick"  # where the automounter of the machine mounts it
    mountOptions = "nosuid,nodev"

    def __init__(self, machine, image, files):
        self.machine, self.image = machine, image
        self.isPlugged = False
        with open(image, "wb") as file:
            file.truncate(PARTITION_OFFSET + (MEGABYTES << 20))
        call("sfdisk", "-q", image, input=f"start={PARTITION_OFFSET // 512},type=c\n".encode())
        self.fill(files)

    def plug(self, slow=False):
        """Plugs it in and mounts it. A slow one takes seconds to read."""
        image = {"driver": "raw", "file": {"driver": "file", "filename": self.image}}
        if slow:
            # A group of its own: one that lost a stick with reads under way may serve no other.
            slowness = f"slow-{next(self.numbers)}"
            self.machine.tell("object-add", id=slowness, limits={"iops-read": SLOW_READS},
                              **{"qom-type": "throttle-group"})
            image = {"driver": "throttle", "throttle-group": slowness, "file": image}
        self.machine.tell("blockdev-add", **{"node-name": "stick"}, **image)
        self.machine.tell("device_add", driver="usb-storage", id="stick", bus="usb.0", drive="stick",
                          removable=True)
        self.isPlugged = True
        self.machine.stick("mount", self.type, self.mountOptions, self.folder)

    def pull(self):
        """Pulls it out while it is mounted."""
        self.machine.tell("device_del", id="stick")
        self.machine.stick("await-no")
        waitFor(self.isReleased, 10, "the release of the stick's image")
        self.isPlugged = False

    def isReleased(self):
        try:
            self.machine.tell("blockdev-del", **{"node-name": "stick"})
        except RuntimeError:
            return False
        return True

    def unmount(self):
        self.machine.begin(f"umount -l /root{self.folder}").output()

    def remove(self):
        """Leaves the machine without it, wherever a test has ended."""
        self.machine.begin(f"umount -l /root{self.folder}").wait()
        if self.isPlugged:
            self.pull()


class VfatStick(Stick):
    type = "vfat"
    mountOptions = "nosuid,nodev,utf8,flush,shortname=mixed"

    def fill(self, files):
        call("mkfs.vfat", "-F", "32", "-s", "1", "--offset", str(PARTITION_OFFSET // 512), self.image)
        content = [os.path.join(files, name) for name in os.listdir(files)]
        call("mcopy", "-s", "-i", f"{self.image}@@{PARTITION_OFFSET}", *content, "::")


class Ext4Stick(Stick):
    type = "ext4"

    def fill(self, files):
        call("mke2fs", "-q", "-t", "ext4", "-E", f"offset={PARTITION_OFFSET}", "-d", files, self.image,
             f"{MEGABYTES}M")
