"""Real sticks and their managers, in namespaces of the test's own: nobody else sees the mounts, and every process
ends with the test. The sticks are images on loop devices; udev, the bus and udisks are the real ones."""

import contextlib
import fcntl
import json
import os
import queue
import secrets
import shutil
import subprocess
import sys
import threading
import time
import unittest
from pathlib import Path

UDEVD = "/usr/lib/systemd/systemd-udevd"
UDISKSD = "/usr/libexec/udisks2/udisksd"
NAMESPACES = ("unshare", "--mount", "--net", "--pid", "--fork", "--kill-child", "--mount-proc",
              "--propagation", "private")
SKIPPED = 77
WAIT_SECONDS = 10
# Folders that the processes write to.
PRIVATE = ("/dev/disk", "/run", "/media", "/mnt", "/var/lib/udisks2")
# Loop devices belong to the whole machine. The name tells the test's own from those of others.
IMAGES = "/run/" + secrets.token_hex(8)


def call(*command, check=True):
    """Runs a tool to its end; returns what it prints."""
    return subprocess.run(command, check=check, timeout=WAIT_SECONDS, stdout=subprocess.PIPE,
                          stderr=None if check else subprocess.DEVNULL).stdout.decode().strip()


def obstacle():
    if os.geteuid() != 0:
        return "only root may attach loop devices"
    missing = [tool for tool in ("losetup", "partx", "sfdisk", "mke2fs", "udevadm", UDEVD) if not shutil.which(tool)]
    if missing:
        return "not installed: " + " ".join(missing)
    for probe, reason in (((*NAMESPACES, "true"), "no namespaces of the test's own"),
                          (("losetup", "-f"), "no free loop device")):
        if subprocess.run(probe, capture_output=True).returncode != 0:
            return reason
    return None


def main():
    """Runs the tests of the calling script in namespaces of their own."""
    if "OWN_SYSTEM" in os.environ:
        unittest.main()
    reason = obstacle()
    if reason:
        print("Skipped:", reason)
        sys.exit(SKIPPED)
    # One at a time: they share the loop devices, and removing the folder would unmount it elsewhere.
    with open("/dev/loop-control", "rb") as loops:
        fcntl.flock(loops, fcntl.LOCK_EX)
        made = not os.path.exists("/dev/disk")
        status = subprocess.run((*NAMESPACES, sys.executable, *sys.argv), env={**os.environ, "OWN_SYSTEM": "1"})
        if made:
            os.rmdir("/dev/disk")
    sys.exit(status.returncode)


def start():
    """Sets up a module: begins with empty folders and a device manager that calls its loop devices media.
    Returns the device manager's process."""
    for folder in PRIVATE:
        os.makedirs(folder, exist_ok=True)
        call("mount", "-t", "tmpfs", "tmpfs", folder)
    for folder in ("/run/udev/rules.d", "/run/dbus", IMAGES):
        os.makedirs(folder)
    with open("/run/udev/rules.d/99-media.rules", "w") as rules:
        rules.write(f'KERNEL=="loop*", ATTRS{{loop/backing_file}}=="*{os.path.basename(IMAGES)}*",'
                    ' ENV{UDISKS_AUTO}="1", ENV{UDISKS_SYSTEM}="0"\n')
    daemon = running(UDEVD, ready=lambda: os.path.exists("/run/udev/control"))
    udevd = daemon.__enter__()
    unittest.addModuleCleanup(daemon.__exit__, None, None, None)
    return udevd


def waitFor(condition):
    end = time.monotonic() + WAIT_SECONDS
    while not condition():
        if time.monotonic() > end:
            raise AssertionError("waited too long")
        time.sleep(0.01)


@contextlib.contextmanager
def running(*command, ready):
    """A daemon, from the time that `ready` holds."""
    process = subprocess.Popen(command, stderr=subprocess.DEVNULL)
    try:
        waitFor(ready)
        yield process
    finally:
        process.terminate()
        process.wait(WAIT_SECONDS)


class Stick:
    """A stick with a partition for each label, or with one file system on the whole of it. Without labels the image
    is there already."""

    def __init__(self, test, name, *labels, partitioned=True, megabytes=5):
        self.image = f"{IMAGES}/{name}"
        self.partitioned = partitioned
        self.node = None
        with open(self.image, "ab") as image:
            image.truncate(2 + (megabytes + 1) * max(len(labels), 2) << 20)
        if labels and partitioned:
            subprocess.run(("sfdisk", "-q", self.image), input=f"size={megabytes}M\n" * len(labels),
                           text=True, check=True)
        test.addCleanup(self.unplug)
        self.plug()
        for number, label in enumerate(labels, 1):
            call("mke2fs", "-q", "-F", "-t", "ext4", "-i", "4096", "-L", label, self.partition(number))
        call("udevadm", "settle")

    def plug(self, settle=True):
        self.node = call("losetup", "-f", "--show", self.image)
        if self.partitioned:
            call("partx", "-u", self.node)
        if settle:
            call("udevadm", "settle")

    def unplug(self):
        if self.node is None:
            return
        try:
            if self.partitioned:
                # Device managers of others may look at it for a moment.
                waitFor(lambda: subprocess.run(("partx", "-d", self.node)).returncode == 0)
        finally:
            call("losetup", "-d", self.node)
            self.node = None
        call("udevadm", "settle")

    def partition(self, number=1):
        return f"{self.node}p{number}" if self.partitioned else self.node

    def uuid(self, number=1):
        return call("blkid", "-p", "-s", "UUID", "-o", "value", self.partition(number))


class Monitor:
    """Runs `hotplug-events`; the lines of its log are events, too."""

    def __init__(self, test, configuration="", user=None):
        # In a folder that any user may enter.
        program = shutil.copy(os.environ["HOTPLUG_EVENTS"], "/run/hotplug-events")
        with open("/run/orveld.conf", "w") as file:
            file.write(configuration)
        self.process = subprocess.Popen(
            (program, file.name), stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
            user=user, env={**os.environ, "G_MESSAGES_DEBUG": "orveld"})
        self.test = test
        self.events = queue.Queue()
        for stream in (self.process.stdout, self.process.stderr):
            threading.Thread(target=self.collect, args=(stream,), daemon=True).start()
        test.addCleanup(self.stop)

    def collect(self, stream):
        with stream:
            for line in stream:
                self.events.put(json.loads(line) if line.startswith("{") else line)

    def stop(self):
        self.process.stdin.close()
        self.test.assertEqual(self.process.wait(WAIT_SECONDS), 0)

    def next(self, event):
        """The next event, which must be of this kind."""
        while True:
            found = self.events.get(timeout=WAIT_SECONDS)
            if isinstance(found, dict):
                self.test.assertEqual(found["event"], event, found)
                return found

    def told(self, text):
        """The next line of the log that contains `text`; earlier ones and events are skipped."""
        while True:
            found = self.events.get(timeout=WAIT_SECONDS)
            if isinstance(found, str) and text in found:
                return found

    def expectSilence(self):
        time.sleep(0.5)
        while not self.events.empty():
            found = self.events.get()
            if isinstance(found, dict):
                self.test.fail(found)

    def timeOfThreads(self):
        return [file.read_text() for file in Path(f"/proc/{self.process.pid}").glob("task/*/schedstat")]

    def sleeps(self):
        """True when no thread of the process runs for a second. Loop devices of others may wake it."""
        before = self.timeOfThreads()
        time.sleep(1)
        return self.timeOfThreads() == before
