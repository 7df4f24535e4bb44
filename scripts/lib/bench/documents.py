"""Shows results, and makes the table of docs/performance.md from what is kept."""

import results
import rows
from rows import PROJECT

PAGE = PROJECT / "docs/performance.md"
BEGIN, END = "<!-- {}: made by scripts/bench.sh -->", "<!-- end of {} -->"
COMMITS_SHOWN = 6


def ratio_text(point, absolute=False):
    if absolute:
        return f"{point['ratio']:.4g}, beside {point['peer']['median']:.4g}"
    digits = 3 if point["ratio"] < 10 else 1
    if point["low"] == point["high"]:
        return f"{point['ratio']:.{digits}f}"
    return f"{point['ratio']:.{digits}f} ({point['low']:.{digits}f} to {point['high']:.{digits}f})"


def aim_text(comparison):
    return "stated" if comparison["aim"] is None else f"{comparison['aim']:g}"


def met_text(comparison):
    verdicts = [point["met"] for point in comparison["points"] if point["met"] is not None]
    return "" if not verdicts else "met" if all(verdicts) else "missed"


def amount(value, unit):
    if unit != "ns":
        return f"{value:,.0f} {unit}"
    for size, name in ((1e9, "s"), (1e6, "ms"), (1e3, "µs")):
        if value >= size:
            return f"{value / size:.3g} {name}"
    return f"{value:.3g} ns"


def show(result):
    """One result on the terminal, with all its points."""
    print(f"   {result['row']} ({result['title']}), {result['took']:.0f} s")
    for comparison in result["comparisons"]:
        print(f"      against {comparison['what']}; aim: {aim_text(comparison)} {met_text(comparison)}")
        for point in comparison["points"]:
            ours, peer = point["ours"], point["peer"]
            print(f"      {point['argument']:>12} {amount(ours['median'], result['unit']):>12}"
                  f" {point['side']:>14} {amount(peer['median'], result['unit']):>12}"
                  f"   {ratio_text(point, comparison['absolute']):24} minima {ours['min'] / peer['min']:.3f}, spread"
                  f" {100 * ours['spread']:.1f} % and {100 * peer['spread']:.1f} %, {ours['count']} values")
    for remark in result["remarks"]:
        print(f"      {remark}", flush=True)


def table(kept):
    yield "| row | world | peer | ratio, least to worst | worst at | aim | |"
    yield "|---|---|---|---|---|---|---|"
    for result in kept:
        for comparison in result["comparisons"]:
            worst = results.worst(comparison)
            values = [point["ratio"] for point in comparison["points"]]
            span = ratio_text(worst, comparison["absolute"])
            if len(values) > 1:
                span = f"{min(values):.3g}; {span}"
            where = f"{worst['argument']} {result['argument']}".strip()
            yield (f"| {result['title']} | {result['world']} | {comparison['what']} | {span} | {where} |"
                   f" {aim_text(comparison)} | {met_text(comparison)} |")


def remarks(kept):
    for result in kept:
        for remark in result["remarks"]:
            yield f"- {result['title']} ({result['world']}): {remark}"


def by_commit(history):
    commits = list(dict.fromkeys(line["commit"] for line in history))[-COMMITS_SHOWN:]
    found = {}
    for line in history:
        found.setdefault((line["row"], line["world"], line["peer"]), {})[line["commit"]] = line["ratio"]
    yield "| row | world | peer | " + " | ".join(commits) + " |"
    yield "|---" * (3 + len(commits)) + "|"
    for key in sorted(found):
        yield "| " + " | ".join((*key, *(found[key].get(commit, "") for commit in commits))) + " |"


def replaced(text, name, lines):
    begin, end = BEGIN.format(name), END.format(name)
    if begin not in text or end not in text:
        raise RuntimeError(f"docs/performance.md has no place for the {name}: {begin} ... {end}")
    head, rest = text.split(begin, 1)
    return head + begin + "\n\n" + "\n".join(lines) + "\n\n" + end + rest.split(end, 1)[1]


def in_order(kept):
    """As the rows are declared; what is declared no more isn't shown."""
    names = [row.id for row in rows.load()]
    return sorted((result for result in kept if result["row"] in names), key=lambda result: names.index(result["row"]))


def make():
    import plots  # its library is large, and not needed for measuring
    text = PAGE.read_text(encoding="utf-8")
    kept = in_order(results.kept())
    text = replaced(text, "table", table(kept))
    text = replaced(text, "remarks", remarks(kept))
    text = replaced(text, "history", by_commit(results.history()))
    PAGE.write_text(text, encoding="utf-8")
    plots.draw_ratios(kept, results.KEPT / "ratios.svg")
    plots.draw_history(results.history(), results.KEPT / "history.svg")
    print(f"   {PAGE.relative_to(PROJECT)} shows the last result of each row")
