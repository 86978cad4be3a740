"""The tables of a run, as a page."""

import re
from pathlib import Path

TABLES = "performance-tables.md"
PAGE = "performance.md"
BEGIN, END = "<!-- goals -->", "<!-- end of goals -->"


def machine():
    model = re.search(r"model name\s*:\s*(.+)", Path("/proc/cpuinfo").read_text())
    return model.group(1) if model else "a processor without a name"


class Report:
    """Prints lines as they come, and keeps them."""

    def __init__(self):
        self.lines = []

    def add(self, lines):
        """Returns what was added."""
        added = []
        for line in lines:
            print(line, flush=True)
            added.append(line)
        self.lines += added
        return added

    def write(self, folder, how, goals):
        """Writes the tables, and puts the goals into the page about performance if it is there."""
        folder.mkdir(parents=True, exist_ok=True)
        head = f"# Performance: the tables\n\n[{PAGE}]({PAGE}) explains them. {how}, on {machine()}.\n\n"
        (folder / TABLES).write_text(head + "\n".join(self.lines) + "\n")
        page = folder / PAGE
        if page.exists():
            before, _, rest = page.read_text().partition(BEGIN)
            after = rest.partition(END)[2]
            page.write_text("\n".join([before + BEGIN, "", *goals, "", END + after]))
