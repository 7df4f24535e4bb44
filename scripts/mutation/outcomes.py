"""The list of breaks with what came of each: a line a break, in a file of the repository."""

import collections
import csv
import dataclasses
import os

COUNTED = ("caught", "survived", "equivalent")  # "uncompilable" isn't: another one is drawn


@dataclasses.dataclass
class Row:
    id: str
    file: str
    line: int
    kind: str
    before: str
    after: str
    outcome: str
    by: str = ""  # the suite and the case that caught it
    reason: str = ""  # why it is equivalent, or may survive


class Outcomes:
    def __init__(self, path):
        self.path, self.rows = path, {}
        self.load()

    def load(self):
        if self.path.exists():
            with open(self.path, newline="", encoding="utf-8") as file:
                rows = [Row(**{**fields, "line": int(fields["line"])}) for fields in csv.DictReader(file)]
            self.rows = {row.id: row for row in rows}

    def note(self, broken, outcome, by):
        self.load()  # somebody may have judged one in the meantime
        old = self.rows.get(broken.id)
        reason = old.reason if old and outcome == "survived" else ""
        self.rows[broken.id] = Row(broken.id, broken.file, broken.line, broken.kind, broken.before, broken.after, outcome,
                                   by, reason)
        self.save()

    def save(self):
        """Whole or not at all, whenever the process ends."""
        names = [field.name for field in dataclasses.fields(Row)]
        temporary = self.path.with_suffix(".new")
        with open(temporary, "w", newline="", encoding="utf-8") as file:
            writer = csv.DictWriter(file, names, lineterminator="\n")
            writer.writeheader()
            for row in sorted(self.rows.values(), key=lambda row: (row.file, row.line, row.kind, row.id)):
                writer.writerow(dataclasses.asdict(row))
        os.replace(temporary, self.path)

    def stale(self, breaks):
        """Those whose place isn't there any more."""
        known = {broken.id for listed in breaks.values() for broken in listed}
        return [row for row in self.rows.values() if row.id not in known]

    def refresh(self, breaks):
        """Forgets what is stale, and takes over the numbers of the lines."""
        stale = self.stale(breaks)
        for row in stale:
            del self.rows[row.id]
        for broken in (broken for listed in breaks.values() for broken in listed if broken.id in self.rows):
            self.rows[broken.id].line = broken.line
        return stale

    def counted(self, file):
        return sum(row.file == file and row.outcome in COUNTED for row in self.rows.values())


def table(rows, title, key):
    """Lines of "KEY  caught  survived  equivalent  part of those that aren't equivalent"."""
    groups = collections.defaultdict(collections.Counter)
    for row in rows:
        for name in (key(row), "all"):
            groups[name][row.outcome] += 1
    lines = [f"| {title} | breaks | caught | survived | equivalent | caught of 100 |", "|---|---|---|---|---|---|"]
    for name in sorted(groups, key=lambda name: (name == "all", name)):
        counts = groups[name]
        judged = counts["caught"] + counts["survived"]
        part = f"{100 * counts['caught'] / judged:.1f}" if judged else "-"
        lines.append(f"| {name} | {judged + counts['equivalent']} | {counts['caught']} | {counts['survived']} | "
                     f"{counts['equivalent']} | {part} |")
    return lines
