"""The kernel of the virtual machine and the modules that it needs, out of Debian's package."""

import glob
import os
import re
import shutil
import subprocess
import tempfile

META_PACKAGE = "linux-image-amd64"
# What is asked for; the modules that these need come by themselves.
MODULES = ("9pnet_virtio", "virtio_pci", "9p", "overlay", "xhci-pci", "libcomposite", "usb_f_fs",
           "dummy_hcd", "virtio_net", "usb-storage", "sd_mod", "ext4", "vfat", "nls_ascii", "nls_cp437")


class Unavailable(Exception):
    """Why there is no virtual machine here."""


def output(*command, **options):
    done = subprocess.run(command, capture_output=True, text=True, **options)
    if done.returncode != 0:
        raise Unavailable(f"{' '.join(command)}: {done.stderr.strip()}")
    return done.stdout


def newestPackage():
    found = re.search(r"Depends: (linux-image-\d\S*)", output("apt-cache", "depends", META_PACKAGE))
    if not found:
        raise Unavailable(f"apt-get knows no kernel package behind {META_PACKAGE}")
    return found[1]


def download(folder):
    """Fetches the kernel package; a second time after asking what there is now."""
    try:
        output("apt-get", "download", newestPackage(), cwd=folder)
    except Unavailable:
        asRoot = () if os.geteuid() == 0 else ("sudo", "-n")
        if asRoot and not shutil.which("sudo"):
            raise
        output(*asRoot, "apt-get", "-qq", "update")
        output("apt-get", "download", newestPackage(), cwd=folder)
    return glob.glob(f"{folder}/*.deb")[0]


def unpack(package, tree, target):
    """Copies the kernel and its modules, numbered in the order in which they are loaded."""
    output("dpkg-deb", "-x", package, tree)
    version = os.listdir(f"{tree}/lib/modules")[0]
    output("depmod", "-b", tree, version)
    files = []
    for module in MODULES:
        shown = output("modprobe", "-d", tree, "-S", version, "--show-depends", module)
        files += re.findall(r"^insmod (\S+)", shown, re.M)
    os.makedirs(f"{target}/modules")
    for number, file in enumerate(dict.fromkeys(files)):
        shutil.copy(file, f"{target}/modules/{number:02}-{os.path.basename(file)}")
    shutil.copy(f"{tree}/boot/vmlinuz-{version}", f"{target}/vmlinuz")
    with open(f"{target}/list", "w", encoding="utf-8") as file:
        file.write("\n".join(MODULES))


def hasAll(target):
    """False for a folder that was made when other modules were needed."""
    try:
        with open(f"{target}/list", encoding="utf-8") as file:
            return file.read() == "\n".join(MODULES)
    except FileNotFoundError:
        return False


def prepare(cache):
    """Returns the folder with `vmlinuz` and `modules/`, which is made once."""
    target = os.path.join(cache, "kernel")
    if not hasAll(target):
        shutil.rmtree(target, ignore_errors=True)
        os.makedirs(cache, exist_ok=True)
        with tempfile.TemporaryDirectory(dir=cache) as work:
            os.chmod(work, 0o755)  # apt-get downloads as a user of its own
            unpack(download(work), f"{work}/tree", f"{work}/kernel")
            os.rename(f"{work}/kernel", target)
    return target
