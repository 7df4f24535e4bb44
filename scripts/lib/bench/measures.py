"""Which method measures a row, and what has to be built for it."""

import parts
from rows import PROJECT

RESULTS = PROJECT / "build/bench/results"
PRESETS = {"native": "bench", "wine": "bench-windows"}


def name_of(row):
    return row.program or row.measure


def groups(rows):
    """Rows of one program or measure are measured together, in each of their worlds."""
    found = {}
    for row in rows:
        for world in row.worlds:
            found.setdefault((world, name_of(row)), []).append(row)
    return [(group, world) for (world, _), group in found.items()]


def targets(rows, preset):
    needed = [name_of(row) for row in rows if row.program for world in row.worlds if PRESETS[world] == preset]
    return sorted(set(needed))


def open_method(group, world, core):
    RESULTS.mkdir(parents=True, exist_ok=True)
    program = PROJECT / "build" / PRESETS[world] / "bin" / name_of(group[0])
    return parts.Parts(program, core, RESULTS)
