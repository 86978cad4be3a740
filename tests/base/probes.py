"""Checks that the library has exactly the probes that the trace script uses, with the script's arguments.

Usage: probes.py READELF LIBRARY SCRIPT
"""

import re
import subprocess
import sys

readelf, library, script = sys.argv[1:]
notes = subprocess.run([readelf, "-nW", library], check=True, text=True, stdout=subprocess.PIPE).stdout
placed = {}
for name, arguments in re.findall(r"Provider: orvel\s+Name: (\w+)\s.*\s+Arguments: (.*)", notes):
    placed.setdefault(name, set()).add(len(re.findall(r"-?\d@", arguments)))

wanted = {}
with open(script, encoding="utf-8") as file:
    for name, body in re.findall(r":orvel:(\w+)\n([^}]*)}", file.read()):
        wanted.setdefault(name, set()).update(int(number) for number in re.findall(r"\barg(\d)", body))

faults = [f"{name}: {'not in the script' if name in placed else 'not in the library'}"
          for name in placed.keys() ^ wanted.keys()]
faults += [f"{name} has too few arguments" for name in placed.keys() & wanted.keys()
           if max(wanted[name], default=-1) >= min(placed[name])]
print("\n".join(faults) or f"{len(placed)} probes")
sys.exit(1 if faults or not placed else 0)
