"""A stick as slow as a cheap one: a loop device over a file system in user space that delays each read.

The device serves one read at a time, as sticks do. The model omits the cost of FAT, and that some sticks read
neighbouring blocks sooner than distant ones.
"""

import os
import shutil
import subprocess
import time
from contextlib import ExitStack, contextmanager
from dataclasses import dataclass
from pathlib import Path

from large_covers import enlarge_covers

BYTES_OF_FLASH = 1 << 30
ATTEMPTS = 500
SECONDS_BETWEEN_ATTEMPTS = 0.01


@dataclass
class Delays:
    microseconds_a_read: int
    microseconds_a_flush: int
    megabytes_a_second: int = 25  # 0: no limit


NO_DELAYS = Delays(0, 0)
DELAYS = Delays(500, 10_000)


def obstacle():
    """The reason why this machine cannot have slow devices; empty if there is none."""
    if os.geteuid() != 0:
        return "a slow stick needs root, for its mounts and loop devices"
    if not Path("/dev/fuse").exists():
        return "a slow stick needs file systems in user space (/dev/fuse)"
    return next((f"a slow stick needs {tool}" for tool in ("losetup", "mkfs.ext4") if not shutil.which(tool)), "")


@contextmanager
def mounted(source, folder, options="noatime"):
    folder.mkdir(parents=True, exist_ok=True)
    subprocess.run(["mount", "-o", options, source, folder], check=True)
    try:
        yield
    finally:
        subprocess.run(["umount", folder], check=True)


@contextmanager
def slow_file(program, image, delays):
    """Shows the image at another path, as slow as that."""
    shown = image.with_suffix(".slow")
    shown.touch()
    server = subprocess.Popen([program, image, shown, str(delays.microseconds_a_read), str(delays.microseconds_a_flush),
                               str(delays.megabytes_a_second)])
    try:
        wait_until(lambda: os.path.ismount(shown) or server.poll() is not None)
        yield shown
    finally:
        subprocess.run(["umount", shown], check=False)
        server.wait()


@contextmanager
def loop_device(file):
    # With direct I/O each request of the device is one of the file: no second read-ahead, no second cache.
    loop = subprocess.run(["losetup", "--direct-io=on", "--show", "-f", file], check=True, stdout=subprocess.PIPE,
                          text=True).stdout.strip()
    try:
        yield loop
    finally:
        subprocess.run(["losetup", "-d", loop], check=True)
        wait_until(lambda: not Path(f"/sys/block/{Path(loop).name}/loop/backing_file").exists())


def wait_until(condition):
    for _ in range(ATTEMPTS):
        if condition():
            return
        time.sleep(SECONDS_BETWEEN_ATTEMPTS)
    raise TimeoutError("a slow device neither came up nor went away")


def make_file_system(image, size, options=()):
    image.unlink(missing_ok=True)
    subprocess.run(["mkfs.ext4", "-q", *options, image, f"{size // 1024}k"], check=True, stdout=subprocess.DEVNULL)


class Reads:
    """The reads of a device since this was made."""

    def __init__(self, loop):
        self.statistics = Path(f"/sys/block/{Path(loop).name}/stat")
        self.begin = self._now()

    def _now(self):
        fields = self.statistics.read_text().split()
        return int(fields[0]), int(fields[2]) * 512 / 1e6

    def so_far(self):
        """The number of reads and of megabytes."""
        return tuple(now - begin for now, begin in zip(self._now(), self.begin))


class SlowStick:
    """A copy of a folder on such a device; with large covers each song has one of 1 MB."""

    def __init__(self, program, folder, work, large_covers=False):
        self.program = program
        self.mount_point = work / "slow-stick"
        self.image = work / f"{Path(folder).name}{'-large-covers' if large_covers else ''}.img"
        if self.image.exists():
            return
        new = self.image.with_suffix(".new")
        files = [path for path in Path(folder).rglob("*") if path.is_file()]
        size = sum(path.stat().st_size + (1_100_000 if large_covers else 0) for path in files)
        make_file_system(new, size * 5 // 4 + (64 << 20))
        with mounted(new, self.mount_point, "loop"):
            subprocess.run(["cp", "-a", f"{folder}/.", self.mount_point], check=True)
            if large_covers:
                enlarge_covers(self.mount_point)
        new.rename(self.image)

    @contextmanager
    def attached(self, delays):
        """Mounts the device afresh, with cold caches. Yields its reads."""
        with slow_file(self.program, self.image, delays) as file, loop_device(file) as loop:
            reads = Reads(loop)
            with mounted(loop, self.mount_point, "ro,noatime"):
                yield reads


class SlowFlash:
    """A medium of databases that takes its time for each flush, and only for that. It is empty at first."""

    def __init__(self, program, folder, work):
        self.program, self.folder, self.image = program, folder, work / "flash.img"
        make_file_system(self.image, BYTES_OF_FLASH, ["-E", "lazy_itable_init=0,lazy_journal_init=0"])

    @contextmanager
    def attached(self, delays):
        with ExitStack() as attached:
            only_flushes = Delays(0, delays.microseconds_a_flush, 0)
            file = attached.enter_context(slow_file(self.program, self.image, only_flushes))
            loop = attached.enter_context(loop_device(file))
            attached.enter_context(mounted(loop, self.folder))
            yield
