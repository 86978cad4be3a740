#!/usr/bin/python3
"""Usage: run.py BUILD [TEST...]

Runs the tests of phones and sticks in a virtual machine, with the programs in the folder BUILD. TEST is
a part of the name of classes or tests ("Vfat", "Umtp.testUnpluggedInTheMiddle"). Exit status 77: there
can be no virtual machine here; the last line says why.
"""

import os
import platform
import shutil
import sys
import time
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../service"))

import MtpDevicesTest
import ServiceTest
from kernel import Unavailable, prepare
from machine import Machine

TOOLS = ("qemu-system-x86_64", "busybox", "depmod", "modprobe", "cpio", "umtprd", "apt-get",
         "dpkg-deb", "dbus-daemon", "udevadm", "sfdisk", "mkfs.vfat", "mcopy", "mke2fs")


class Progress(unittest.TextTestResult):
    """Names each test when it begins, and tells how long it took."""

    def startTest(self, test):
        super().startTest(test)
        self.began = time.monotonic()
        print(f"{ServiceTest.machine.age():6.1f} s  {test.id().partition('.')[2]}", flush=True)

    def stopTest(self, test):
        super().stopTest(test)
        took = time.monotonic() - self.began
        print(f"{ServiceTest.machine.age():6.1f} s  took {took:.1f} s", flush=True)


def checkTools():
    if platform.machine() != "x86_64":
        raise Unavailable(f"the virtual machine is of x86_64 and this one of {platform.machine()}")
    for tool in TOOLS:
        if not shutil.which(tool, path=os.environ["PATH"] + ":/usr/sbin:/sbin"):
            raise Unavailable(f"{tool} is missing")


def testsNamed(parts):
    loader = unittest.TestLoader()
    loader.testNamePatterns = [f"*{part}*" for part in parts] or None
    return unittest.TestSuite(loader.loadTestsFromModule(module)
                              for module in (MtpDevicesTest, ServiceTest))


def main():
    programs = os.path.abspath(sys.argv[1])
    suite = testsNamed(sys.argv[2:])
    if suite.countTestCases() == 0:
        print(f"No test's name contains {' or '.join(sys.argv[2:])}.", file=sys.stderr)
        return 2
    folder = f"{os.path.dirname(programs)}/vm/run"
    os.environ["PATH"] += ":/usr/sbin:/sbin"
    try:
        checkTools()
        kernel = prepare(os.path.dirname(folder))
    except Unavailable as reason:
        print(f"Skipped: {reason}", file=sys.stderr)
        return 77
    shutil.rmtree(folder, ignore_errors=True)
    machine = Machine(kernel, folder, programs)
    try:
        print(f"{machine.age():6.1f} s  booted", flush=True)
        MtpDevicesTest.Devices.machine = ServiceTest.machine = machine
        result = unittest.TextTestRunner(verbosity=0, resultclass=Progress).run(suite)
    finally:
        machine.stop()
    return 0 if result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
