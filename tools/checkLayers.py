#!/usr/bin/env python3
"""Refuses includes that run against the layers, and public headers that include too much.

A folder may include itself and the folders of lower layers, and every folder include/orvel/. A
public header includes public headers, the standard library, Qt, and of Boost only shared_ptr.
Exit status 1 and a line for each include that breaks a rule.
"""

import pathlib
import re
import subprocess
import sys

LAYERS = [["include/orvel"], ["base"], ["text", "db/sqlite", "isolation"],
          ["text/tables", "isolation/worker", "tags", "db", "search"],
          ["tags/isolation", "tags/reader", "framework", "phones", "playlists"],
          ["playlists/isolation", "playlists/reader"],
          ["phones/libmtp", "phones/scripted", "covers", "msd", "mtp"], ["orchestration"], ["qt"],
          ["browse", "hotplug"], ["host"], ["cli", "service", "qml"], ["screen"]]
RANK = {folder: rank for rank, layer in enumerate(LAYERS) for folder in layer}
PUBLIC = re.compile(r"orvel/\w+\.h|boost/shared_ptr\.hpp|Q\w+|[a-z_]+")


def refused(folder, included):
    if folder == "include/orvel":
        return not PUBLIC.fullmatch(included)
    target = str(pathlib.PurePath(included).parent)
    return target in RANK and target != folder and RANK[target] >= RANK[folder]


def main():
    listed = subprocess.run(["git", "-c", "safe.directory=*", "ls-files", "*.h", "*.cpp"],
                            check=True, text=True, stdout=subprocess.PIPE).stdout.split()
    broken = [f"{file}:{number}: {match[1]}: runs against the layers"
              for file in listed if (folder := str(pathlib.PurePath(file).parent)) in RANK
              for number, line in enumerate(open(file, encoding="utf-8"), 1)
              if (match := re.match(r'#include ["<](.+)[">]', line)) and refused(folder, match[1])]
    print("\n".join(broken) or "every include follows the layers")
    sys.exit(1 if broken else 0)


if __name__ == "__main__":
    main()
