"""The plots of docs/performance.md, from what is kept: one picture for the rows that are measured at more than one
number, and one for how the worst ratios went from commit to commit."""

import matplotlib

matplotlib.use("svg")
# The same data give the same bytes; texts stay texts.
matplotlib.rcParams.update({"svg.hashsalt": "zum", "svg.fonttype": "none", "font.size": 8, "font.family": "sans-serif"})

from matplotlib import pyplot  # noqa: E402

COLUMNS = 4
METADATA = {"Date": None, "Creator": None}


def grid(count, width, height):
    rows = max(1, -(-count // COLUMNS))
    figure, axes = pyplot.subplots(rows, COLUMNS, figsize=(width * COLUMNS, height * rows), squeeze=False)
    flat = list(axes.flat)
    for unused in flat[count:]:
        unused.axis("off")
    return figure, flat


def save(figure, path):
    figure.tight_layout()
    figure.savefig(path, format="svg", metadata=METADATA)
    pyplot.close(figure)
    # Matplotlib leaves blanks at the ends of lines.
    lines = path.read_text(encoding="utf-8").splitlines()
    path.write_text("\n".join(line.rstrip() for line in lines) + "\n", encoding="utf-8")


def numbers(result):
    """The numbers of a row, as an axis: by size where they are numbers."""
    found = [point["argument"] for point in result["comparisons"][0]["points"]]
    return [int(each) for each in found] if all(each.isdigit() for each in found) else None


def draw_ratio(axes, result, where):
    for comparison in result["comparisons"]:
        points = comparison["points"]
        values = [point["ratio"] for point in points]
        errors = [[point["ratio"] - point["low"] for point in points], [point["high"] - point["ratio"] for point in points]]
        axes.errorbar(where[:len(values)], values, yerr=errors, marker=".", capsize=2, label=comparison["peer"])
        if comparison["aim"] is not None:
            axes.axhline(comparison["aim"], linestyle=":", linewidth=1, color="black")
    axes.axhline(1.0, linewidth=0.5, color="grey")
    axes.set_xscale("log")
    axes.set_title(f"{result['title']} ({result['world']})", fontsize=7)
    axes.set_xlabel(result["argument"], fontsize=7)
    axes.legend(fontsize=6)
    if is_wide(result):
        axes.set_yscale("log")


def is_wide(result):
    values = [point["ratio"] for comparison in result["comparisons"] for point in comparison["points"]]
    return min(values) > 0 and max(values) / min(values) > 20


def draw_ratios(kept, path):
    drawn = [(result, numbers(result)) for result in kept if result["comparisons"]]
    drawn = [(result, where) for result, where in drawn if where and len(where) > 1]
    figure, flat = grid(len(drawn), 3.2, 2.5)
    for axes, (result, where) in zip(flat, drawn):
        draw_ratio(axes, result, where)
    save(figure, path)


def draw_history(history, path):
    """The worst ratio of each row, by commit, for the rows that have an aim."""
    rows = {}
    for line in history:
        if line["aim"]:
            rows.setdefault((line["row"], line["world"]), {}).setdefault(line["peer"], []).append(line)
    commits = list(dict.fromkeys(line["commit"] for line in history))
    figure, flat = grid(len(rows), 3.2, 1.8)
    for axes, ((row, world), peers) in zip(flat, sorted(rows.items())):
        for peer, lines in sorted(peers.items()):
            axes.plot([commits.index(line["commit"]) for line in lines], [float(line["ratio"]) for line in lines],
                      marker=".", label=peer)
            axes.axhline(float(lines[-1]["aim"]), linestyle=":", linewidth=1, color="black")
        axes.set_title(f"{row} ({world})", fontsize=7)
        axes.set_xticks(range(len(commits)), commits, fontsize=5, rotation=45)
        axes.legend(fontsize=6)
    save(figure, path)
