"""The pictures of the page about performance, readable on white and on dark backgrounds."""

import re

import matplotlib

matplotlib.use("svg")

from matplotlib import pyplot  # noqa: E402

GREY = "#7f7f7f"
COLOURS = ("#2f83d8", "#e0762c", "#2a9d6f", "#b05fc4")
TICKS_OF_TIME = 120
LEAST_SHARE = 0.01  # of the time, for a thread to be shown
matplotlib.rcParams.update({
    "svg.fonttype": "none", "svg.hashsalt": "orvel", "font.family": "sans-serif", "font.size": 10,
    "text.color": GREY, "axes.labelcolor": GREY, "axes.edgecolor": GREY, "xtick.color": GREY, "ytick.color": GREY,
    "axes.spines.top": False, "axes.spines.right": False,
})


def save(figure, path):
    path.parent.mkdir(parents=True, exist_ok=True)
    figure.savefig(path, transparent=True, bbox_inches="tight", metadata={"Date": None})
    pyplot.close(figure)
    path.write_text(re.sub(r"(\d\.\d)\d+", r"\1", path.read_text()))  # a tenth of a point is enough


def plot_costs(seconds, path):
    """Plots microseconds per song; `seconds` by the name of a pass and the number of songs."""
    figure, axes = pyplot.subplots(figsize=(7, 4))
    for (name, by_songs), colour in zip(seconds.items(), COLOURS):
        songs = sorted(by_songs)
        costs = [1e6 * by_songs[count] / count for count in songs]
        axes.plot(songs, costs, marker="o", color=colour, linestyle="--" if name == "bare loop" else "-", label=name)
    axes.set(xscale="log", yscale="log", xlabel="songs", ylabel="µs per song")
    axes.set_xticks(songs, [str(count) for count in songs])
    axes.minorticks_off()
    axes.set_yticks(*ticks_between(*axes.get_ylim()))
    axes.grid(color=GREY, alpha=0.25)
    axes.legend(frameon=False, labelcolor="linecolor")
    save(figure, path)


def ticks_between(least, most):
    values = [factor * power for power in (1, 10, 100, 1000) for factor in (1, 2, 5) if least <= factor * power <= most]
    return values, [str(value) for value in values]


def plot_timeline(tracks, end, path):
    """Plots the busy share of each thread as a band; those that hardly work are left out."""
    shown = [track for track in tracks if track.total() >= LEAST_SHARE * end]
    programs = list(dict.fromkeys(track.program() for track in shown))
    figure, axes = pyplot.subplots(figsize=(7, 0.42 * len(shown) + 0.6))
    times = [end * tick / TICKS_OF_TIME for tick in range(TICKS_OF_TIME + 1)]
    for row, track in enumerate(shown):
        used = [track.used_at(time) for time in times]
        shares = [0, *(min(1.0, (after - before) * TICKS_OF_TIME / end) for before, after in zip(used, used[1:]))]
        axes.fill_between(times, [-row] * len(times), [0.85 * share - row for share in shares],
                          color=COLOURS[programs.index(track.program()) % len(COLOURS)], linewidth=0)
        axes.axhline(-row, color=GREY, linewidth=0.4)
    axes.set_yticks([0.35 - row for row in range(len(shown))],
                    [f"{track.name}  {1000 * track.total():.0f} ms" for track in shown])
    axes.tick_params(axis="y", length=0)
    axes.spines["left"].set_visible(False)
    axes.set(xlim=(0, end), ylim=(0.9 - len(shown), 1),
             xlabel="seconds; the height of a band is the busy share of a core")
    save(figure, path)
