"""Which sources are broken, and which of their breaks are drawn next."""

import collections
import fnmatch
import hashlib
import itertools
import subprocess

from mutation import breaks, source

SOURCES = ("oru/*", "platform/*", "standalone_tracer_lib/*", "zum_setup_util_lib/*", "zum_setup_util/*", "zum_rehearse/*",
           "winapi/multibyte.cpp", "winapi/registry_data.cpp", "winapi/rehearsal/*")
# What only Windows has isn't built natively. The rest of winapi/ is left out: its headers are declarations whose values
# the cross compiler holds against Windows' own, and winapi/host is the tests' world, which the contract suite tests.
LEFT_OUT = ("zum_rehearse/windows/*",)


def find_all(project, patterns=()):
    """The breaks of each source, in the order of the text."""
    listed = subprocess.run(["git", "ls-files", "*.cpp", "*.h"], cwd=project, stdout=subprocess.PIPE, text=True,
                            check=True).stdout.split()
    chosen = [file for file in listed if _matches(file, SOURCES) and not _matches(file, LEFT_OUT)
              and (not patterns or _matches(file, patterns)) and (project / file).exists()]
    return {file: breaks.find(file, source.read(project / file)) for file in chosen}


def _matches(file, patterns):
    return any(fnmatch.fnmatch(file, pattern) for pattern in patterns)


def _number(seed, text):
    return hashlib.sha1(f"{seed} {text}".encode()).hexdigest()


def in_drawn_order(listed, seed):
    """The kinds in turn, as far as a file has them; within a kind by chance. An edit of the file leaves the order of what
    it doesn't touch."""
    ranks, order = collections.Counter(), []
    for broken in sorted(listed, key=lambda broken: _number(seed, broken.id)):
        order.append((ranks[broken.kind], _number(seed, broken.file + broken.kind), broken))
        ranks[broken.kind] += 1
    return [broken for *_, broken in sorted(order, key=lambda entry: entry[:2])]


def draw(found, outcomes, seed, least, count):
    """One break after another, until each file has `least` that compile, as far as it has so many, and all files
    together have `count`. A file gets its second when all others have their first."""
    files = sorted(found, key=lambda file: _number(seed, file))
    open_ones = {file: [broken for broken in in_drawn_order(found[file], seed) if broken.id not in outcomes.rows]
                 for file in files}
    for level in itertools.count(1):
        total = sum(outcomes.counted(file) for file in files)
        if level > least and total >= count or not any(open_ones.values()):
            return
        for file in files:
            while open_ones[file] and outcomes.counted(file) < level:
                yield open_ones[file].pop(0)
