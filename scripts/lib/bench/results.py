"""What was measured, as files: build/bench/results has each row's last result, docs/performance what is kept.

docs/performance/results.json has each row's last kept result, and history.csv a line a row and commit: the number at
which the ratio was worst.
"""

import csv
import datetime
import json
import subprocess

from measures import RESULTS
from rows import PROJECT

KEPT = PROJECT / "docs/performance"
HISTORY = KEPT / "history.csv"
HISTORY_KEYS = ("commit", "date", "row", "world", "peer", "argument", "ratio", "low", "high", "aim", "met")


def commit():
    """The commit that is checked out, with a plus where tracked files differ from it (the results don't count)."""
    def git(*arguments):
        return subprocess.run(["git", "-C", str(PROJECT), *arguments], stdout=subprocess.PIPE, text=True, check=True).stdout
    changed = git("status", "--porcelain", "--untracked-files=no", "--", ".", ":!docs/performance*")
    return git("rev-parse", "--short=7", "HEAD").strip() + ("+" if changed else "")


def make(row, world, samples, took, remarks):
    return {"row": row.id, "world": world, "title": row.title, "argument": row.argument, "unit": row.unit,
            "what": row.what, "note": row.note, "remarks": remarks, "commit": commit(), "took": round(took, 1),
            "date": datetime.date.today().isoformat(), "comparisons": samples.comparisons(row)}


def path_of(row, world):
    return RESULTS / f"{row}.{world}.json"


def save(result):
    path_of(result["row"], result["world"]).write_text(json.dumps(result, indent=1) + "\n", encoding="utf-8")


def took(row, world):
    path = path_of(row.id, world)
    return json.loads(path.read_text(encoding="utf-8"))["took"] if path.exists() else None


def rounded(value):
    """Five digits: more would only be noise in the kept file."""
    if isinstance(value, dict):
        return {key: rounded(each) for key, each in value.items()}
    if isinstance(value, list):
        return [rounded(each) for each in value]
    return float(f"{value:.5g}") if isinstance(value, float) else value


def kept():
    path = KEPT / "results.json"
    return json.loads(path.read_text(encoding="utf-8")) if path.exists() else []


def history():
    if not HISTORY.exists():
        return []
    with HISTORY.open(encoding="utf-8", newline="") as file:
        return list(csv.DictReader(file))


def worst(comparison):
    """The point that decides: the worst ratio among those that have an aim, or among all."""
    points = [point for point in comparison["points"] if point["aim"] is not None] or comparison["points"]
    return max(points, key=lambda point: point["ratio"] / (point["aim"] or 1.0))


def lines_of(result):
    for comparison in result["comparisons"]:
        point = worst(comparison)
        yield {"commit": result["commit"], "date": result["date"], "row": result["row"], "world": result["world"],
               "peer": comparison["peer"], "argument": point["argument"], "ratio": f"{point['ratio']:.4g}",
               "low": f"{point['low']:.4g}", "high": f"{point['high']:.4g}",
               "aim": "" if point["aim"] is None else f"{point['aim']:g}",
               "met": {None: "", True: "yes", False: "no"}[point["met"]]}


def keep(rows):
    """Takes the results of these rows into docs/performance; a second one of the same commit replaces the first."""
    new = [json.loads(path_of(row.id, world).read_text(encoding="utf-8")) for row in rows for world in row.worlds]
    names = {(result["row"], result["world"]) for result in new}
    old = [result for result in kept() if (result["row"], result["world"]) not in names]
    KEPT.mkdir(exist_ok=True)
    ordered = sorted(old + new, key=lambda result: (result["row"], result["world"]))
    text = ",\n".join(json.dumps(rounded(result)) for result in ordered)
    (KEPT / "results.json").write_text(f"[\n{text}\n]\n", encoding="utf-8")

    added = [line for result in new for line in lines_of(result)]
    replaced = {(line["commit"], line["row"], line["world"]) for line in added}
    stay = [line for line in history() if (line["commit"], line["row"], line["world"]) not in replaced]
    with HISTORY.open("w", encoding="utf-8", newline="") as file:
        writer = csv.DictWriter(file, HISTORY_KEYS, lineterminator="\n")
        writer.writeheader()
        writer.writerows(stay + added)
