"""The calls of the system that a product costs, counted at the seam; and the program's size."""

import os
import re
import shutil
import subprocess

from measures import BINARIES, RESULTS
from rows import PROJECT

SEAM_CALLS = PROJECT / "build/bench/bin/seam_calls"


class Calls:
    """Row `registry_calls`, against the nine that the steps are made of, and the rows that count the last error's calls."""

    once = True
    STEPS = 9

    def __init__(self, core):
        self.counts = {}

    def run_round(self, rows, samples, shortest):
        root = RESULTS / "seam-calls"
        shutil.rmtree(root, ignore_errors=True)
        output = subprocess.run([SEAM_CALLS], env=dict(os.environ, ZUM_HOST_ROOT=str(root)), stdout=subprocess.PIPE,
                                text=True, check=True).stdout
        shutil.rmtree(root, ignore_errors=True)
        found = re.findall(r"(?m)^(\w+) ([\d.]+)$", output)
        self.counts = {name: float(count) for name, count in found}
        registry = sum(count for name, count in self.counts.items() if name.startswith("Reg"))
        for row in rows:
            store = samples[row.id]
            if row.id == "registry_calls":
                store.add("ours", "", registry)
                store.add("steps", "", self.STEPS)
            else:
                name = {"get_last_error": "GetLastError", "set_last_error": "SetLastError"}[row.id]
                store.add("ours", "", self.counts.get(name, 0.0))
                store.add("registry", "", registry)

    def remarks(self, row, samples):
        if row.id == "registry_calls":
            yield ", ".join(f"{name} {count:g}" for name, count in self.counts.items())

    def finish(self):
        pass


# What a part of the linker's map comes from: the archive, or our own folder.
PARTS = (
    (r"libstdc\+\+\.a\((.*)\)", "C++ library: {}"), (r"lib(gcc|gcc_eh|mingw\w*|msvcrt\w*|moldname)\.a\(", "C runtime: {}"),
    (r"lib(winpthread|pthread)\.a\(", "threads"), (r"crt\w*\.o$", "C runtime: start"), (r"", "product"),
)


def part_of(source):
    for pattern, name in PARTS:
        match = re.search(pattern, source)
        if match:
            return name.format(*match.groups())
    return "product"


def sizes_by_part(text):
    """Bytes by part, of what the linker put into the file; a line of the map is " .text$name  0xaddress  0xsize  file",
    with the name on a line of its own where it is long."""
    sizes = {}
    begun = text.index("Linker script and memory map")
    for name, size, source in re.findall(r"(?m)^ (\.[\w.$@?]+)?\s+0x[0-9a-f]{8} +0x([0-9a-f]+) (\S.*)$", text[begun:]):
        if name.startswith((".debug", ".bss")) or not int(size, 16):
            continue
        part = part_of(source)
        sizes[part] = sizes.get(part, 0) + int(size, 16)
    return sizes


class Size:
    """The file that is given out, against a minimal program with what is large in it."""

    once = True
    SHOWN = 12

    def __init__(self, core):
        self.program = BINARIES / "zum_setup_util.exe"

    def run_round(self, rows, samples, shortest):
        for row in rows:
            samples[row.id].add("ours", "", self.program.stat().st_size)
            samples[row.id].add("minimal", "", (BINARIES / "minimal_regex.exe").stat().st_size)

    def remarks(self, row, samples):
        text = self.program.with_name(self.program.name + ".map").read_text(encoding="utf-8", errors="replace")
        sizes = sizes_by_part(text)
        largest = sorted(sizes, key=sizes.get, reverse=True)[:self.SHOWN]
        yield "bytes by part: " + ", ".join(f"{part} {sizes[part]:,}" for part in largest)

    def finish(self):
        pass
