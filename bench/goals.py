"""The goals of indexing, and whether they hold."""

import os
from dataclasses import dataclass

CORES = len(os.sched_getaffinity(0))


@dataclass(frozen=True)
class Goal:
    """At most `limit`, printed in this form."""

    of: str
    limit: float
    form: str = "{:.2f}"


SMALL_FIRST_INDEX = "first index of 100 songs, the slowest round"
FIRST_INDEX_OF_1000 = "first index of 1000 songs"
FIRST_INDEX = f"first index, {CORES} cores"
ON_ONE_CORE = "first index, bound to one core"
IN_PROCESS = "first index, in-process"
SLOW_IN_PROCESS = "first index, in-process, from a slow stick with delays"
NO_CHANGE = "no change"
TOUCHED = "1 % touched"
FIRST_SONG = "first stored song, against the first index"
MEMORY = "memory of all processes (PSS)"
SURPLUS = "database bytes beyond the contents of rows and keys"
SMALL_FLUSHES = "flushes, first index of 100 songs"
FLUSHES_OF_NO_CHANGE = "flushes, no change"
SYSTEM_CALLS = "system calls per new song"
GROWTH = "growth of the processor time per song"

_SECONDS, _COUNT = "{:.2f} s", "{:.0f}"
GOALS = (
    Goal(SMALL_FIRST_INDEX, 0.07, _SECONDS),
    Goal(FIRST_INDEX_OF_1000, 0.16, _SECONDS),
    Goal(FIRST_INDEX, 0.45 if CORES >= 4 else 0.70),
    Goal(ON_ONE_CORE, 1.05),
    Goal(IN_PROCESS, 0.62),
    Goal(SLOW_IN_PROCESS, 0.40),
    Goal(NO_CHANGE, 0.07),
    Goal(TOUCHED, 0.13),
    Goal(FIRST_SONG, 0.12),
    Goal(MEMORY, 31, "{:.1f} MB"),
    Goal(SURPLUS, 0.06, "{:.1%}"),
    Goal(SMALL_FLUSHES, 8, _COUNT),
    Goal(FLUSHES_OF_NO_CHANGE, 2, _COUNT),
    Goal(SYSTEM_CALLS, 12, "{:.1f}"),
    Goal(GROWTH, 1.15),
)


def goals_table(figures):
    """Lines of a table; `figures` by the names above. A goal without a figure was not measured."""
    yield "| | goal | reached | |"
    yield "|---|---|---|---|"
    for goal in GOALS:
        figure = figures.get(goal.of)
        reached, verdict = "not measured", ""
        if figure is not None:
            reached = goal.form.format(figure)
            # What prints like the goal reaches it.
            verdict = "holds" if figure <= goal.limit or reached == goal.form.format(goal.limit) else "no"
        yield f"| {goal.of} | {goal.form.format(goal.limit)} | {reached} | {verdict} |"
