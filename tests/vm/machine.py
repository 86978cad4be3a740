"""A virtual machine in QEMU, without hardware support, that runs commands on this machine's files."""

import json
import os
import shlex
import shutil
import socket
import subprocess
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
BOOT_SECONDS = 90
JOB_SECONDS = 60


class Timeout(Exception):
    pass


def waitFor(condition, seconds, what):
    """Returns the first true value of `condition`."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.02)
    raise Timeout(f"waited {seconds} seconds for {what}")


def makeInitialDisk(kernel, target):
    """Packs busybox, the modules and the first process. Nothing at the top may be named like a tag."""
    with tempfile.TemporaryDirectory() as root:
        for folder in ("bin", "proc", "sys", "dev", "root"):
            os.mkdir(f"{root}/{folder}")
        shutil.copy("/bin/busybox", f"{root}/bin/busybox")
        shutil.copytree(f"{kernel}/modules", f"{root}/modules")
        for script, place in (("init", "init"), ("player", "bin/player")):
            shutil.copy(f"{HERE}/guest/{script}", f"{root}/{place}")
            os.chmod(f"{root}/{place}", 0o755)
        with open(target, "wb") as file:
            names = subprocess.run(["find", "."], cwd=root, stdout=subprocess.PIPE, check=True)
            subprocess.run(["cpio", "--quiet", "-o", "-H", "newc"], cwd=root, input=names.stdout,
                           stdout=file, check=True)


class Job:
    """A command in the machine."""

    def __init__(self, machine, base):
        self.machine, self.base = machine, base

    def text(self, kind):
        with open(f"{self.base}.{kind}", encoding="utf-8", errors="replace") as file:
            return file.read()

    def ended(self):
        return os.path.exists(f"{self.base}.done")

    def wait(self, seconds=JOB_SECONDS):
        """Returns (exit status, standard output, standard error)."""
        waitFor(lambda: self.ended() or self.machine.checkAlive(), seconds, self.text("sh"))
        return int(self.text("done")), self.text("out"), self.text("err")

    def output(self):
        """Waits for a command that must succeed, and returns its standard output."""
        status, out, err = self.wait()
        if status != 0:
            raise RuntimeError(f"{self.text('sh')} ended with {status}: {err}")
        return out


class Machine:
    """Runs from construction to `stop`. QEMU's own MTP device, which shows the folder `media`, is
    plugged in and out with `plug` and `unplug`."""

    def __init__(self, kernel, folder, media, localeLibrary):
        self.folder, self.media = folder, media
        self.jobs, self.jobCount = f"{folder}/jobs", 0
        os.makedirs(self.jobs)
        self.sockets = tempfile.mkdtemp(prefix="orvel-vm-")  # their paths must be short
        makeInitialDisk(kernel, f"{folder}/initrd")
        with open(f"{folder}/qemu.log", "wb") as log:
            self.process = subprocess.Popen(
                self.command(kernel), stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                env={**os.environ, "LD_PRELOAD": localeLibrary})
        try:
            self.monitor = self.connect("monitor").makefile("rw", encoding="utf-8")
            self.monitor.readline()  # a greeting
            self.tell("qmp_capabilities")
            self.line = self.connect("jobs")
            self.line.settimeout(BOOT_SECONDS)
            if self.line.recv(16) == b"":
                self.checkAlive()
        except Exception:
            self.stop()
            raise

    def command(self, kernel):
        share = "local,path={},mount_tag={},security_model=none,multidevs=remap{}"
        return ["qemu-system-x86_64", "-accel", "tcg,thread=multi", "-machine", "q35", "-cpu", "max",
                "-smp", "2", "-m", "512", "-nodefaults", "-no-reboot", "-display", "none",
                "-kernel", f"{kernel}/vmlinuz", "-initrd", f"{self.folder}/initrd",
                "-append", "console=ttyS0 quiet panic=-1 mitigations=off",
                "-virtfs", share.format("/", "host", ",readonly=on"),
                "-virtfs", share.format(self.jobs, "jobs", ""),
                "-device", "qemu-xhci,id=usb",
                "-qmp", f"unix:{self.sockets}/monitor,server=on,wait=off",
                "-serial", f"file:{self.folder}/console.log",
                "-serial", f"unix:{self.sockets}/jobs,server=on,wait=off"]

    def connect(self, name):
        path = f"{self.sockets}/{name}"
        waitFor(lambda: os.path.exists(path) or self.checkAlive(), 10, path)
        connection = socket.socket(socket.AF_UNIX)
        connection.settimeout(10)
        connection.connect(path)
        return connection

    def checkAlive(self):
        if self.process.poll() is not None:
            raise Timeout(f"the virtual machine ended; see {self.folder}")

    def tell(self, command, **arguments):
        """A command of QEMU's monitor."""
        self.monitor.write(json.dumps({"execute": command, "arguments": arguments}) + "\n")
        self.monitor.flush()
        while True:
            answer = json.loads(self.monitor.readline())
            if "error" in answer:
                raise RuntimeError(answer["error"]["desc"])
            if "return" in answer:
                return answer["return"]

    def begin(self, script):
        """Runs a line of shell beside the host's files, which lie at /root."""
        self.jobCount += 1
        base = f"{self.jobs}/{self.jobCount}"
        with open(f"{base}.sh", "w", encoding="utf-8") as file:
            file.write(script + "\n")
        self.line.sendall(f"{self.jobCount}\n".encode())
        return Job(self, base)

    def start(self, *command):
        """Runs a command on the host's files, at its paths."""
        settings = ("PATH=/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin", "HOME=/tmp", "LC_ALL=C.UTF-8")
        return self.begin(shlex.join(("exec", "chroot", "/root", "env", "-i", *settings, *command)))

    def run(self, *command):
        """Runs a command that must succeed, and returns its standard output."""
        return self.start(*command).output()

    def player(self, *arguments):
        """Plugs a player into the machine's own port; see guest/player."""
        self.begin(shlex.join(("player", *arguments))).output()

    def plug(self):
        self.tell("device_add", driver="usb-mtp", id="player", bus="usb.0", rootdir=self.media,
                  desc="PHONE")
        self.player("await", "46f4")

    def unplug(self):
        self.tell("device_del", id="player")
        self.player("await-no", "46f4")

    def stop(self):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(10)
            except subprocess.TimeoutExpired:
                self.process.kill()
        shutil.rmtree(self.sockets, ignore_errors=True)
