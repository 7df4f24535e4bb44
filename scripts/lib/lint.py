#!/usr/bin/env python3
"""Runs clang-tidy over sources, several at a time.

    lint.py BUILD LIST [ARGUMENT ...]   BUILD is a configured build's folder, LIST a file with a source a line; the
                                        arguments are clang-tidy's. Exits with 1 when something is found
    lint.py --self-test                 plants offences and sees them found

Nearly all of clang-tidy's time goes into the headers, which it walks anew for each source. So sources of one folder that
are compiled alike are included into one, a batch. Where a batch is clean, so are its sources: no rule looks at the main
file alone, and the analyzer takes each included .cpp for one. Where it isn't, be it that two of its sources use the same
name for something of their own, its halves are looked at, down to single sources, and only what these say counts.
"""

import collections
import concurrent.futures
import json
import os
import pathlib
import shlex
import shutil
import subprocess
import sys
import tempfile

PROJECT = pathlib.Path(__file__).resolve().parents[2]
PROGRAM = "clang-tidy-14"
# More don't save much, and take longer when one of them has a finding.
BATCH = 8
# What each program has one of, and constants that more than one source of a folder has. In a batch each gets a name of its
# own.
ONE_PER_PROGRAM = ("main", "LLVMFuzzerTestOneInput", "LLVMFuzzerInitialize", "kDelay", "kLimit", "kMost", "kName",
                   "kRepeatCount", "kSourceFile")
# A function main of another name may not end without a result any more. Of all others the builds say that.
PREAMBLE = '#pragma clang diagnostic ignored "-Wreturn-type"'


def options_of(entry):
    """The compiler and its options, without the source, what is written, and the precompiled header, which a build that
    is only configured doesn't have."""
    words = shlex.split(entry["command"])
    kept, at = [], 0
    while at < len(words):
        if words[at] in ("-o", "-c", "-MF", "-MT"):
            at += 2
        elif words[at:at + 2] in (["-Xclang", "-include-pch"], ["-Xclang", "-include"]):
            at += 4
        else:
            kept.append(words[at])
            at += 1
    return kept


def compiled_sources(build, wanted):
    """Each wanted source's options. A source that isn't compiled is a mistake of the list."""
    found = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        path = pathlib.Path(entry["file"]).resolve()
        if path in wanted and path not in found:
            found[path] = options_of(entry)
    missing = sorted(str(path) for path in wanted if path not in found)
    if missing:
        sys.exit("not compiled in " + str(build) + ": " + " ".join(missing))
    return found


def batches_of(options):
    """Lists of sources that lie in one folder and have the same options."""
    groups = collections.defaultdict(list)
    for path in sorted(options):
        groups[path.parent, tuple(options[path])].append(path)
    for group in groups.values():
        for first in range(0, len(group), BATCH):
            yield group[first:first + BATCH]


def halves_of(batch):
    middle = len(batch) // 2
    return batch[:middle], batch[middle:]


def parts_of(batch):
    """The batch, its halves, their halves, down to single sources: all that may have to be looked at."""
    yield batch
    if len(batch) > 1:
        for half in halves_of(batch):
            yield from parts_of(half)


def text_of(batch):
    """A source that includes the batch's."""
    lines = [PREAMBLE]
    for place, path in enumerate(batch):
        for name in ONE_PER_PROGRAM:
            lines += [f"#undef {name}", f"#define {name} {name}{place}"]
        lines += ["// NOLINTNEXTLINE(bugprone-suspicious-include)", f'#include "{path}"']
    return "\n".join(lines) + "\n"


class Work:
    """The folder with the batches' sources, and the compile commands of them and of the single sources. A batch lies where
    the rules of its sources' folder hold: the same path below this one, with the folders' own rules beside it."""

    def __init__(self, root, build, options, arguments):
        self.root, self.folder, self.arguments = root, build / "lint", arguments
        shutil.rmtree(self.folder, ignore_errors=True)
        for rules in root.glob("*/.clang-tidy"):
            (self.folder / rules.parent.name).mkdir(parents=True)
            shutil.copy(rules, self.folder / rules.parent.name)
        self.folder.mkdir(exist_ok=True)
        self.batches = list(batches_of(options))
        commands = []
        for batch in self.batches:
            for part in parts_of(batch):
                commands.append({"directory": str(build), "file": str(self.source_of(part)),
                                 "arguments": options[part[0]] + ["-c", str(self.source_of(part))]})
        (self.folder / "compile_commands.json").write_text(json.dumps(commands))

    def source_of(self, batch):
        if len(batch) == 1:
            return batch[0]
        return self.folder / batch[0].parent.relative_to(self.root) / f"{batch[0].stem}_and_{len(batch) - 1}_more.cpp"

    def look_at(self, batch):
        """What is found in a batch, as clang-tidy says it of each source that it is found in; None when it is clean."""
        source = self.source_of(batch)
        if len(batch) > 1:
            source.parent.mkdir(parents=True, exist_ok=True)
            source.write_text(text_of(batch))
        run = subprocess.run([PROGRAM, "--quiet", "-p", str(self.folder), *self.arguments, str(source)], check=False,
                             stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        if run.returncode == 0:
            return None
        if len(batch) == 1:
            return run.stdout or f"{source}: {PROGRAM} ended with {run.returncode}\n"
        found = [self.look_at(half) for half in halves_of(batch)]
        return "".join(text for text in found if text) or None


def lint(root, build, paths, arguments):
    """True when nothing is found in these sources; prints what is."""
    build = build.resolve()
    work = Work(root, build, compiled_sources(build, {path.resolve() for path in paths}), arguments)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        found = [text for text in pool.map(work.look_at, work.batches) if text]
    print("".join(found), end="")
    return not found


OFFENCE = """#include <string>
#include <utility>
namespace {{
std::size_t Own(std::string text) {{
  const std::string moved = std::move(text);
  return moved.size() + {0}.size();
}}
}}  // namespace
std::size_t {1}() {{ return Own("text"); }}
"""


def self_test():
    """Sources that are clean, two that use one name, and one offence beside each: found and told of the source itself."""
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        shutil.copy(PROJECT / ".clang-tidy", root)
        (root / "oru").mkdir()
        (root / "build").mkdir()
        cases = {"clean.cpp": "int Clean() { return 1; }\n", "one.cpp": OFFENCE.format("moved", "One"),
                 "other.cpp": OFFENCE.format("moved", "Other"), "planted.cpp": OFFENCE.format("text", "Planted")}
        for name, text in cases.items():
            (root / "oru" / name).write_text(text)
        (root / "build/compile_commands.json").write_text(json.dumps(
            [{"directory": str(root), "file": str(root / "oru" / name), "command": f"c++ -std=c++20 -o x.o -c oru/{name}"}
             for name in cases]))
        for names, expected in ((["clean.cpp", "one.cpp"], True), (["one.cpp", "other.cpp"], True),
                                (["clean.cpp", "planted.cpp"], False), (["one.cpp", "planted.cpp"], False)):
            if lint(root, root / "build", [root / "oru" / name for name in names], []) != expected:
                sys.exit("wrong about " + ", ".join(names))
    return True


def main():
    if sys.argv[1:] == ["--self-test"]:
        return self_test()
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    paths = [PROJECT / line for line in pathlib.Path(sys.argv[2]).read_text().split()]
    if not paths:
        sys.exit("there is nothing to look at")
    return lint(PROJECT, pathlib.Path(sys.argv[1]), paths, sys.argv[3:])


if __name__ == "__main__":
    sys.exit(0 if main() else 1)
