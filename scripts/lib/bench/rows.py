"""The rows of the table, as bench/rows/*.toml declares them."""

import pathlib
import sys
import tomllib

PROJECT = pathlib.Path(__file__).resolve().parents[3]
FOLDER = PROJECT / "bench/rows"
ROW_KEYS = {"id", "title", "program", "measure", "argument", "unit", "what", "worlds", "peer", "note", "seconds"}
PEER_KEYS = {"sides", "what", "aim", "why", "arguments", "absolute"}


class Peer:
    """One comparison of a row: `sides` are the peers, of which the fastest counts at each number."""

    def __init__(self, table, row):
        unknown = table.keys() - PEER_KEYS
        if unknown or not table.get("sides") or not table.get("what"):
            sys.exit(f"bench/rows: {row}: a peer needs sides and what, and has no {sorted(unknown)}")
        self.sides = table["sides"]
        self.name = "_or_".join(self.sides)
        self.what = table["what"]
        self.aim = table.get("aim")
        self.why = table.get("why", "")
        self.arguments = table.get("arguments")
        self.absolute = table.get("absolute", False)  # the aim is for our own number, not for the ratio
        if self.aim is not None and not self.why:
            sys.exit(f"bench/rows: {row}: an aim needs its reason, why")

    def aims_at(self, argument):
        return self.aim is not None and (self.arguments is None or argument in self.arguments)


class Row:
    def __init__(self, table, file):
        unknown = table.keys() - ROW_KEYS
        name = table.get("id", "?")
        if unknown or not all(table.get(key) for key in ("id", "title", "what", "peer")):
            sys.exit(f"{file}: {name}: a row needs id, title, what and a peer, and has no {sorted(unknown)}")
        if ("program" in table) == ("measure" in table):
            sys.exit(f"{file}: {name}: a row has either a program or a measure")
        self.id = name
        self.title = table["title"]
        self.program = table.get("program")
        self.measure = table.get("measure")
        self.argument = table.get("argument", "")
        self.unit = table.get("unit", "ns")
        self.what = table["what"]
        self.worlds = table.get("worlds", ["native"])
        self.note = table.get("note", "")
        self.seconds = table.get("seconds", 60)  # no more rounds are begun after that
        self.peers = [Peer(peer, name) for peer in table["peer"]]


def load():
    rows = []
    for file in sorted(FOLDER.glob("*.toml")):
        rows += [Row(table, file.name) for table in tomllib.loads(file.read_text(encoding="utf-8")).get("row", [])]
    names = [row.id for row in rows]
    for name in set(names):
        if names.count(name) > 1:
            sys.exit(f"bench/rows: the row {name} is there twice")
    return rows


def choose(rows, wanted):
    """The rows that are asked for; a name that ends in "*" takes all that begin so."""
    if not wanted:
        return rows
    chosen = []
    for name in wanted:
        found = [row for row in rows if row.id == name or (name.endswith("*") and row.id.startswith(name[:-1]))]
        if not found:
            sys.exit(f"there is no row {name}; scripts/bench.sh --list shows them")
        chosen += [row for row in found if row not in chosen]
    return chosen
