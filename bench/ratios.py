"""Draws bars of the best peer's time over ours, grouped by room."""
import io
import itertools
import re

import matplotlib

matplotlib.use("Agg")
from matplotlib import pyplot  # noqa: E402

AHEAD, BEHIND, MEDIAN, LINE = "#2a7f8e", "#d9822b", "#a9ccd2", "#333333"
TICKS = (0.125, 0.25, 0.5, 1, 2, 4, 8, 16, 32, 64)
LINE_HEIGHT = 0.19  # inches
HEADING_LINES = 1.6  # room for a group's name
BALANCED_FROM = 40  # as many rows are easier to read in two columns


def columns_of(rows):
    """Groups of one room each, in one column or two of about the same height."""
    groups = [list(group) for _, group in itertools.groupby(rows, key=lambda row: row.room)]
    if len(rows) < BALANCED_FROM or len(groups) == 1:
        return [groups]
    cuts = range(1, len(groups))
    cut = min(cuts, key=lambda at: abs(height_of(groups[:at]) - height_of(groups[at:])))
    return [groups[:cut], groups[cut:]]


def height_of(groups):
    return sum(len(group) + HEADING_LINES for group in groups)


def draw_column(axes, groups, limits, height):
    place, places, labels = 0.0, [], []
    for group in groups:
        axes.text(-0.02, place + HEADING_LINES - 1.05, group[0].room, transform=axes.get_yaxis_transform(), ha="right",
                  va="center", fontsize=10, fontweight="bold", color=LINE)
        place += HEADING_LINES
        for row in group:
            ratio, median, best = row.ratio(), row.median_ratio(), row.peers()[0][1]
            if median > 1:
                axes.barh(place, median - 1, left=1, height=0.3, color=MEDIAN)
            axes.barh(place, ratio - 1, left=1, height=0.72, color=AHEAD if ratio >= 1 else BEHIND)
            axes.text(max(median, 1) * 1.05, place, f"{ratio:.2f} {best}", va="center", fontsize=7.5, color=LINE)
            places.append(place)
            labels.append(row.name)
            place += 1
    axes.set_xscale("log")
    axes.set_xlim(*limits)
    axes.set_ylim(height - 0.3, -0.2)
    axes.set_yticks(places, labels, fontsize=8)
    ticks = [tick for tick in TICKS if limits[0] <= tick <= limits[1]]
    axes.set_xticks(ticks, [f"{tick:g}" for tick in ticks], fontsize=8)
    axes.minorticks_off()
    axes.xaxis.set_ticks_position("both")
    axes.tick_params(axis="x", labeltop=True, length=0)
    axes.tick_params(axis="y", length=0)
    axes.grid(axis="x", color="#dddddd", linewidth=0.6)
    axes.set_axisbelow(True)
    axes.axvline(1, color=LINE, linewidth=1.2)
    for spine in axes.spines.values():
        spine.set_visible(False)


def draw(rows, folder, subtitle):
    """Writes ratios.svg and ratios.png; every row has a ratio."""
    # Texts stay texts in the SVG, and two drawings of the same rows are the same file.
    matplotlib.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "ratios", "font.family": "DejaVu Sans"})
    columns = columns_of(rows)
    height = max(height_of(groups) for groups in columns)
    ratios = [ratio for row in rows for ratio in (row.ratio(), row.median_ratio())]
    limits = (min(0.5, 0.9 * min(ratios)), 4.5 * max(2, *ratios))
    size = (6.6 * len(columns), height * LINE_HEIGHT + 1.7)
    figure, axes = pyplot.subplots(1, len(columns), squeeze=False, figsize=size, layout="constrained")
    for each, groups in zip(axes[0], columns):
        draw_column(each, groups, limits, height)
    figure.suptitle("The best peer's time over ours, logarithmic: right of the line ours is ahead\n", fontsize=12,
                    color=LINE)
    figure.text(0.5, 1 - 0.42 / size[1], f"thin and pale: the median peer's; {subtitle}", ha="center",
                va="center", fontsize=8.5, color=LINE)
    drawing = io.StringIO()
    figure.savefig(drawing, format="svg", metadata={"Date": None})
    # Every text comes with a rotation by nothing.
    plain = re.sub(r' transform="rotate\(-0 [^"]*\)"', "", drawing.getvalue())
    (folder / "ratios.svg").write_text(plain, encoding="utf-8")
    figure.savefig(folder / "ratios.png", dpi=110)
    pyplot.close(figure)
