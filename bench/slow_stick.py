"""A stick as slow as a cheap one: a loop device with limits on bytes and reads per second.

The model omits the latency of each read and the cost of FAT.
"""

import os
import shutil
import subprocess
import time
from contextlib import contextmanager
from pathlib import Path

BYTES_PER_SECOND = 25_000_000
READS_PER_SECOND = 1500


class ThrottleV1:
    """The blkio controller of control groups, version 1."""

    root = Path("/sys/fs/cgroup/blkio")
    marker = "blkio.throttle.read_bps_device"

    @staticmethod
    def hold(group, device):
        (group / "blkio.throttle.read_bps_device").write_text(f"{device} {BYTES_PER_SECOND}")
        (group / "blkio.throttle.read_iops_device").write_text(f"{device} {READS_PER_SECOND}")

    @staticmethod
    def bytes_read(group, device):
        counts = (group / "blkio.throttle.io_service_bytes").read_text().split("\n")
        return sum(int(line.split()[2]) for line in counts if line.startswith(f"{device} Read"))


class ThrottleV2:
    """The io controller of control groups, version 2."""

    root = Path("/sys/fs/cgroup")
    marker = "cgroup.subtree_control"

    @staticmethod
    def hold(group, device):
        (group.parent / "cgroup.subtree_control").write_text("+io")
        (group / "io.max").write_text(f"{device} rbps={BYTES_PER_SECOND} riops={READS_PER_SECOND}")

    @staticmethod
    def bytes_read(group, device):
        for line in (group / "io.stat").read_text().splitlines():
            if line.startswith(f"{device} "):
                return int(dict(pair.split("=") for pair in line.split()[1:])["rbytes"])
        return 0


class SlowStick:
    """A copy of a folder on such a device. `obstacle` says why this machine cannot have one."""

    def __init__(self, folder, work):
        self.obstacle = self._find_obstacle()
        if self.obstacle:
            return
        self.mount_point = Path(work) / "slow-stick"
        self.mount_point.mkdir(parents=True, exist_ok=True)
        self.image = Path(work) / "slow-stick.img"
        size = sum(path.stat().st_size for path in Path(folder).rglob("*"))
        self.image.unlink(missing_ok=True)
        subprocess.run(["mkfs.ext4", "-q", "-d", folder, self.image, f"{size * 5 // 4 // 1024 + 65536}k"],
                       check=True, stdout=subprocess.DEVNULL)

    def _find_obstacle(self):
        if os.geteuid() != 0:
            return "a slow stick needs root: mounts and control groups"
        for tool in ("losetup", "mkfs.ext4"):
            if not shutil.which(tool):
                return f"a slow stick needs {tool}"
        self.throttle = next((kind for kind in (ThrottleV1, ThrottleV2)
                              if (kind.root / kind.marker).exists()), None)
        if not self.throttle:
            return "a slow stick needs the blkio or io controller of control groups"
        return None

    @contextmanager
    def attached(self):
        """Mounts the device afresh, with cold caches. Yields a `preexec_fn` for processes to be slowed down,
        and a function that returns the number of bytes that they have read."""
        loop = subprocess.run(["losetup", "--read-only", "--show", "-f", self.image], check=True,
                              stdout=subprocess.PIPE, text=True).stdout.strip()
        group = self.throttle.root / f"orvel-bench-{os.getpid()}"
        try:
            subprocess.run(["mount", "-o", "ro,noatime", loop, self.mount_point], check=True)
            device = Path(f"/sys/block/{Path(loop).name}/dev").read_text().strip()
            group.mkdir()
            self.throttle.hold(group, device)

            def join():
                (group / "cgroup.procs").write_text(str(os.getpid()))

            yield join, lambda: self.throttle.bytes_read(group, device)
        finally:
            subprocess.run(["umount", self.mount_point], check=False)
            subprocess.run(["losetup", "-d", loop], check=False)
            for _ in range(100):  # ended processes leave the group with a delay
                try:
                    group.rmdir()
                    break
                except OSError:
                    time.sleep(0.01)
