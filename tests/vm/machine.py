"""A virtual machine in QEMU, without hardware support, that runs commands on the host's files and shows the host
its bus."""

import json
import os
import re
import shlex
import shutil
import socket
import subprocess
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
BOOT_SECONDS = 120
JOB_SECONDS = 120
LIFE_SECONDS = 1800  # of a machine that nobody stops
BUS_PORT = 5555  # of tests/vm/bus.conf


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
    """Packs busybox, the modules and the first process. Nothing at its top may be named like a tag of
    a share: it would be mounted in its place."""
    with tempfile.TemporaryDirectory() as root:
        for folder in ("bin", "proc", "sys", "dev", "root"):
            os.mkdir(f"{root}/{folder}")
        shutil.copy("/bin/busybox", f"{root}/bin/busybox")
        shutil.copytree(f"{kernel}/modules", f"{root}/modules")
        for script, place in (("init", "init"), ("player", "bin/player"), ("stick", "bin/stick"),
                              ("hold", "bin/hold"), ("waitUntil", "bin/waitUntil")):
            shutil.copy(f"{HERE}/guest/{script}", f"{root}/{place}")
            os.chmod(f"{root}/{place}", 0o755)
        with open(target, "wb") as file:
            names = subprocess.run(["find", "."], cwd=root, stdout=subprocess.PIPE, check=True)
            subprocess.run(["cpio", "--quiet", "-o", "-H", "newc"], cwd=root, input=names.stdout,
                           stdout=file, check=True)


def hostCommand(command):
    settings = ("PATH=/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin", "HOME=/tmp", "LC_ALL=C.UTF-8")
    return ("chroot", "/root", "env", "-i", *settings, *command)


class Job:
    """A command in the machine."""

    def __init__(self, machine, base):
        self.machine, self.base = machine, base

    def text(self, kind):
        """What is there by now of one of its files."""
        try:
            with open(f"{self.base}.{kind}", encoding="utf-8", errors="replace") as file:
                return file.read()
        except FileNotFoundError:
            return ""

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
    """Runs from construction to `stop`. `folder` is its own; `programs` is where the project was
    built."""

    def __init__(self, kernel, folder, programs):
        self.began = time.monotonic()
        self.folder, self.programs = folder, programs
        self.jobs, self.jobCount = f"{folder}/jobs", 0
        os.makedirs(self.jobs)
        self.sockets = tempfile.mkdtemp(prefix="orvel-vm-")  # their paths must be short and plain
        makeInitialDisk(kernel, f"{folder}/initrd")
        preloaded = shutil.copy(f"{programs}/tests/vm/liborvel_vm_locale.so", self.sockets)
        with open(f"{folder}/qemu.log", "wb") as log:
            self.process = subprocess.Popen(
                self.command(kernel), stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                env={**os.environ, "LD_PRELOAD": preloaded})
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
        jobs = self.jobs.replace(",", ",,")  # a comma ends an option
        return ["timeout", str(LIFE_SECONDS), "qemu-system-x86_64",
                "-accel", "tcg,thread=multi", "-machine", "q35", "-cpu", "max", "-smp", "2",
                "-m", "512", "-nodefaults", "-no-reboot", "-display", "none",
                "-kernel", f"{kernel}/vmlinuz", "-initrd", f"{self.folder}/initrd",
                "-append", "console=ttyS0 quiet panic=-1 mitigations=off",
                "-virtfs", share.format("/", "host", ",readonly=on"),
                "-virtfs", share.format(jobs, "jobs", ""),
                "-device", "qemu-xhci,id=usb", "-trace", "usb_mtp_op_get_partial_object",
                "-netdev", f"user,id=net,restrict=on,hostfwd=tcp:127.0.0.1:0-:{BUS_PORT}",
                "-device", "virtio-net-pci,netdev=net",
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
        return self.begin("exec " + shlex.join(hostCommand(command)))

    def startHeld(self, text, times, *command):
        """As `start`, and returns once the command is stopped after it printed `text` so often as a
        diagnostic: the job, and the number of the process."""
        job = self.begin(shlex.join(("hold", text, str(times), *hostCommand(command))))
        waitFor(lambda: "held " in job.text("err") or job.ended(), JOB_SECONDS, text)
        held = re.search(r"^held (\d+)$", job.text("err"), re.M)
        if not held:
            raise RuntimeError(f"{text} was not printed {times} times: {job.text('err')}")
        return job, held[1]

    def resume(self, process):
        self.begin(f"kill -CONT {process}").output()

    def run(self, *command):
        """Runs a command that must succeed, and returns its standard output."""
        return self.start(*command).output()

    def end(self, job):
        """Ends a job with SIGTERM and returns its exit status."""
        self.begin(f"kill {job.text('pid')}").output()
        return job.wait()[0]

    def awaitFile(self, path):
        self.begin(f". /bin/waitUntil; wait_until test -e /root{path}").output()

    def fetch(self, folder):
        """Copies a folder of the machine's memory; returns where it is on this machine."""
        target = tempfile.mkdtemp(dir=self.jobs)
        self.begin(f"cp -r /root{folder}/. /jobs/{os.path.basename(target)}").output()
        return target

    def player(self, *arguments):
        """A player on the machine's own port; see guest/player."""
        return self.begin(shlex.join(("player", *arguments))).output()

    def stick(self, *arguments):
        """The stick on the machine's port; see guest/stick."""
        return self.begin(shlex.join(("stick", *arguments))).output()

    def plugMtp(self, folder):
        """QEMU's own device, which shows the files of a folder."""
        self.tell("device_add", driver="usb-mtp", id="player", bus="usb.0", rootdir=folder,
                  desc="PHONE")
        self.player("await", "46f4")

    def unplugMtp(self):
        self.tell("device_del", id="player")
        self.player("await-no", "46f4")

    def busAddress(self):
        """Where programs on this machine reach the bus in the virtual one."""
        shown = self.tell("human-monitor-command", **{"command-line": "info usernet"})
        port = re.search(r"HOST_FORWARD\S*\s+\d+\s+127\.0\.0\.1\s+(\d+)", shown)[1]
        return f"tcp:host=127.0.0.1,port={port}"

    def qemuLog(self):
        with open(f"{self.folder}/qemu.log", encoding="utf-8", errors="replace") as file:
            return file.read()

    def age(self):
        """Seconds since it was begun."""
        return time.monotonic() - self.began

    def stop(self):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(10)
            except subprocess.TimeoutExpired:
                self.process.kill()
        shutil.rmtree(self.sockets, ignore_errors=True)
