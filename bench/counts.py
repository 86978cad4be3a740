"""Counts of system calls and instructions, which are independent of the machine's load."""

import re
import shutil
import subprocess
import sys
from pathlib import Path


def missing_tool():
    """The reason why nothing can be counted here; empty if there is none."""
    for tool, package in (("strace", "strace"), ("valgrind", "valgrind")):
        if not shutil.which(tool):
            return f"{tool} is not installed (package {package})"
    return ""


def system_calls(command, work, which="all"):
    """The number of system calls of a command, its threads and children; `which` is strace's set of calls."""
    report = Path(work) / "system-calls.txt"
    subprocess.run(["strace", "-f", "-c", "-U", "calls,name", "-e", f"trace={which}", "-o", report, *command],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    total = re.search(r"^\s*(\d+)\s+total$", report.read_text(), re.MULTILINE)
    return int(total.group(1)) if total else 0


def flushes(command, work):
    """How often a command makes files durable."""
    return system_calls(command, work, "fsync,fdatasync,sync,syncfs,msync,sync_file_range")


def instructions(command, functions, work):
    """The instructions of each function, including its callees."""
    report = Path(work) / "callgrind.out"
    subprocess.run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={report}", *command],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    lines = subprocess.run(["callgrind_annotate", "--inclusive=yes", "--threshold=100", report],
                           check=True, stdout=subprocess.PIPE, text=True).stdout.splitlines()

    def of(function):
        costs = [int(line.split()[0].replace(",", "")) for line in lines if f":{function}(" in line]
        if not costs:
            sys.exit(f"callgrind saw no {function}: was it renamed?")
        return max(costs)

    return {function: of(function) for function in functions}
