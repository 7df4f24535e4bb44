"""Which method measures a row, and what has to be built for it.

A method has run_round(rows, samples, shortest), which adds values to samples[row id]; remarks(row, samples), lines that
stand below the row's table; finish(); and `once`, true where one round says it all.
"""

import importlib

import parts
from rows import PROJECT

RESULTS = PROJECT / "build/bench/results"
PRESETS = {"native": "bench", "wine": "bench-windows"}
BINARIES = PROJECT / "build/bench-windows/bin"

# Measure -> its class, and what it needs of each preset.
BARE = ["zum_setup_util", "bare_unblock", "bare_empty", "bench_machine", "minimal_regex"]
WHOLE = {
    "unblock": ("unblock.Unblock", {"bench-windows": BARE}),
    "memory": ("unblock.Memory", {"bench-windows": BARE}),
    "start_to_exit": ("unblock.StartToExit", {"bench-windows": BARE}),
    "calls": ("counts.Calls", {"bench": ["seam_calls"]}),
    "administrator": ("administrator.Administrator", {"bench-windows": BARE}),
    "native": ("native.Native", {"bench": ["zum_setup_util"]}),
    "size": ("counts.Size", {"bench-windows": ["zum_setup_util", "minimal_regex"]}),
}


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
    needed = set()
    for row in rows:
        if row.measure:
            needed.update(WHOLE[row.measure][1].get(preset, []))
        else:
            needed.update(row.program for world in row.worlds if PRESETS[world] == preset)
    return sorted(needed)


def open_method(group, world, core):
    RESULTS.mkdir(parents=True, exist_ok=True)
    if group[0].program:
        return parts.Parts(group[0].program, world, core, RESULTS)
    module, name = WHOLE[group[0].measure][0].split(".")
    return getattr(importlib.import_module(module), name)(core)
