"""Which media are reported when real sticks are plugged in, mounted, unmounted and pulled out."""

import os
import shutil
import signal
import time
import unittest

import ownSystem
from ownSystem import UDISKSD, Monitor, Stick, call, running, waitFor

LOOPS = "[devices]\ninternal-disks=yes\n"
BUS = "/run/dbus/system_bus_socket"


def setUpModule():
    global udevd
    udevd = ownSystem.start()


class MediaTestCase(unittest.TestCase):
    def mount(self, *command):
        """Returns the mount point."""
        folder = command[-1]
        os.makedirs(folder, exist_ok=True)
        call("mount", *command)
        self.addCleanup(call, "umount", "-l", folder, check=False)
        return os.fsdecode(folder)

    def mountStick(self, stick, folder, number=1):
        """Returns the partition as events describe it, without the label."""
        return [self.mount(stick.partition(number), folder), stick.partition(number)]

    def expect(self, found, deviceId, *partitions):
        """Checks an event about a medium and returns the name."""
        self.assertEqual((found["id"], [p[:2] for p in found["partitions"]]), (deviceId, list(partitions)))
        return found["name"]


class Mounts(MediaTestCase):
    def testAStickFromMountToMount(self):
        stick = Stick(self, "one", "First", "Second")
        uuid = stick.uuid()
        second = self.mountStick(stick, "/media/second part", 2)
        monitor = Monitor(self, LOOPS)
        self.assertEqual(self.expect(monitor.next("attached"), uuid, second), "Second")
        first = self.mountStick(stick, "/media/first")
        self.assertEqual(self.expect(monitor.next("changed"), uuid, first, second), "First")

        os.mkdir("/media/first/Music")
        self.mount("--bind", "/media/first", "/media/again")
        self.mount("--bind", "/media/first/Music", "/media/folder")
        monitor.expectSilence()
        if os.environ["ORVEL_INSTRUMENTED"] != "thread":  # that sanitizer has a thread of its own
            waitFor(monitor.sleeps)

        call("umount", "/media/again", "/media/folder", "/media/second part")
        self.expect(monitor.next("changed"), uuid, first)
        call("umount", "/media/first")
        self.assertEqual(monitor.next("removed")["id"], uuid)
        stick.unplug()
        stick.plug()
        elsewhere = self.mountStick(stick, "/run/media/u/x", 2)
        self.expect(monitor.next("attached"), uuid, elsewhere)

    def testADiskThatUdevHasNotReadIsAwaited(self):
        stick = Stick(self, "fresh", "Fresh")
        uuid = stick.uuid()
        stick.unplug()
        monitor = Monitor(self, LOOPS)
        self.addCleanup(udevd.send_signal, signal.SIGCONT)
        for seconds, early in ((0.5, []), (4, ["/media/fresh"])):
            udevd.send_signal(signal.SIGSTOP)
            stick.plug(settle=False)
            mounted = self.mountStick(stick, "/media/fresh")
            time.sleep(seconds)
            udevd.send_signal(signal.SIGCONT)
            for deviceId in early:
                self.expect(monitor.next("attached"), deviceId, mounted)
                self.assertEqual(monitor.next("removed")["id"], deviceId)
            self.expect(monitor.next("attached"), uuid, mounted)
            call("umount", "/media/fresh")
            self.assertEqual(monitor.next("removed")["id"], uuid)
            stick.unplug()

    def testWhatIsNoMedium(self):
        stick = Stick(self, "whole", "Whole", partitioned=False)
        monitor = Monitor(self, LOOPS + "types=ramfs\nexclude=/media/no*;/mnt\n")
        self.mount("--bind", "/usr", "/media/system")
        self.mount("-t", "tmpfs", "tmpfs", "/media/memory")
        self.mount(stick.node, "/media/nowhere")
        monitor.expectSilence()
        self.mount("-t", "ramfs", "share", "/media/share")
        self.expect(monitor.next("attached"), "/media/share", ["/media/share", "share"])
        call("umount", "/media/nowhere")
        self.mount(stick.node, b"/media/\xff\n")
        self.assertIn("not valid UTF-8. Mount the device under another name", monitor.told("is left out"))
        call("umount", b"/media/\xff\n")
        self.mount(stick.node, "/srv/elsewhere")
        self.mount(stick.node, "/media/too")
        monitor.expectSilence()
        call("umount", "/media/too", "/srv/elsewhere")
        mounted = self.mountStick(stick, "/media/x")
        self.expect(monitor.next("attached"), stick.uuid(), mounted)
        self.mount("-t", "tmpfs", "tmpfs", "/media/x")
        self.assertEqual(monitor.next("removed")["id"], stick.uuid(), "hidden by the later mount")


class Strangers(MediaTestCase):
    def testClonesAreTwoMedia(self):
        monitor = Monitor(self, LOOPS)
        stick = Stick(self, "original", "Clone")
        uuid = stick.uuid()
        original = self.mountStick(stick, "/media/a")
        self.expect(monitor.next("attached"), uuid, original)
        shutil.copy(stick.image, ownSystem.IMAGES + "/clone")
        clone = Stick(self, "clone")
        cloned = self.mountStick(clone, "/media/b")
        self.expect(monitor.next("attached"), uuid + "#2", cloned)
        call("umount", "/media/a")
        self.assertEqual(monitor.next("removed")["id"], uuid)
        monitor.expectSilence()
        call("umount", "/media/b")
        self.assertEqual(monitor.next("removed")["id"], uuid + "#2")
        self.mountStick(clone, "/media/b")
        self.expect(monitor.next("attached"), uuid, cloned)

    def testHostileLabels(self):
        monitor = Monitor(self, LOOPS)
        for name, label, shown in (("path", "../../etc/x", "../../etc/x"), ("control", "\x1b[2J\na", "[2J a"),
                                   ("bytes", b"\xff\xfe ", "\ufffd\ufffd"), ("none", "", "none")):
            stick = Stick(self, name, label, partitioned=False)
            mounted = self.mountStick(stick, "/media/" + name)
            self.assertEqual(self.expect(monitor.next("attached"), stick.uuid(), mounted), shown)


@unittest.skipUnless(shutil.which(UDISKSD) and shutil.which("dbus-daemon"), "udisks2 or dbus-daemon is not installed")
class WithUdisks(MediaTestCase):
    """Only udisks says that a loop device is a medium."""

    @classmethod
    def setUpClass(cls):
        cls.enterClassContext(running("dbus-daemon", "--system", "--nofork", "--nopidfile", "--nosyslog",
                                      ready=lambda: os.path.exists(BUS)))

    def udisks(self):
        return running(UDISKSD, ready=lambda: "true" in call(
            "gdbus", "call", "--system", "--dest", "org.freedesktop.DBus", "--object-path", "/", "--method",
            "org.freedesktop.DBus.NameHasOwner", "org.freedesktop.UDisks2", check=False))

    def testUdisksComesAndGoes(self):
        stick = Stick(self, "hinted", "Hinted")
        mounted = self.mountStick(stick, "/media/hinted")
        monitor = Monitor(self)
        monitor.told("udisks does not run")
        monitor.expectSilence()
        with self.udisks():
            self.expect(monitor.next("attached"), stick.uuid(), mounted)
        self.assertEqual(monitor.next("removed")["id"], stick.uuid())

    def testMountsOnce(self):
        with self.udisks():
            monitor = Monitor(self, "[devices]\nmount=yes\n")
            stick = Stick(self, "unmounted", "Auto")
            found = monitor.next("attached")
            folder = found["partitions"][0][0]
            self.addCleanup(call, "umount", folder, check=False)
            self.assertTrue(os.path.ismount(folder))
            call("umount", folder)
            self.assertEqual(monitor.next("removed")["id"], stick.uuid())
            monitor.expectSilence()

    def testARefusedMountIsTold(self):
        with self.udisks():
            monitor = Monitor(self, "[devices]\nmount=yes\n", user="nobody")
            stick = Stick(self, "refused", "Refused")
            told = monitor.told("cannot be mounted")
            self.assertIn(stick.partition(), told)
            self.assertIn("rule of polkit", told)


if __name__ == "__main__":
    ownSystem.main()
