"""What is in a program beside its own sources: found in what the linker and the compiler wrote down.

Archives and start-up objects stand in the linker's map, headers in the dependencies that the build keeps. Each file
belongs to a component of components.json; one that belongs to none is an error, so that nothing gets in unseen.
"""

import os
import re
import subprocess

from pieces import COMPONENTS, PROJECT


def archives(build, program):
    """The archives that members were taken from, and the objects that the compiler adds."""
    text = (build / "bin" / f"{program}.map").read_text(encoding="utf-8", errors="replace")
    included = text.split("\n\nDiscarded input sections", 1)[0]
    found = set(re.findall(r"^(/\S+\.a)\(", included, re.MULTILINE))
    found |= set(re.findall(r"^LOAD (/\S+\.o)$", text, re.MULTILINE))
    return found


def ninja(build, tool, *arguments):
    return subprocess.run(["ninja", "-C", build, "-t", tool, *arguments], check=True, capture_output=True,
                          text=True).stdout.splitlines()


def headers(build, program):
    """The headers of all sources that are behind a program."""
    inputs = ninja(build, "inputs", f"bin/{program}")
    objects = [line for line in inputs if line.endswith(".obj")]
    return {line.strip() for line in ninja(build, "deps", *objects) if line.startswith("    ")}


def without_links(build, path):
    """The path with the build folder's own links to headers resolved, and without steps up."""
    path = os.path.normpath(build / path)
    return os.path.realpath(path) if path.startswith(f"{build}/") else path


def outside_files(build, program):
    paths = {without_links(build, path) for path in archives(build, program) | headers(build, program)}
    return sorted(path for path in paths if not path.startswith((f"{PROJECT}/", f"{build}/")))


def components(build, program):
    """The names of the components that are in a program."""
    build = build.resolve()
    found = set()
    for path in outside_files(build, program):
        names = [each["name"] for each in COMPONENTS["linked in"] if any(re.fullmatch(p, path) for p in each["files"])]
        if len(names) != 1:
            raise SystemExit(f"{program}: {path} belongs to {names or 'no component'}: see packaging/components.json")
        found.add(names[0])
    return found
