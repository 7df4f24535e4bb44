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


def sources(build, program):
    """What a program is made of, as the build knows: all sources that are behind it, and their headers."""
    inputs = ninja(build, "inputs", program)
    objects = [line for line in inputs if line.endswith(".obj")]
    return {line.strip() for line in ninja(build, "deps", *objects) if line.startswith("    ")} | set(inputs)


def without_links(build, path):
    """The path with the build folder's own links to headers resolved, and without steps up."""
    path = os.path.normpath(build / path)
    return os.path.realpath(path) if path.startswith(f"{build}/") else path


def components_of(build, paths, known, program):
    """The names of the known components that files belong to, but for the project's own."""
    found = set()
    for path in sorted({without_links(build, path) for path in paths}):
        if path.startswith((f"{PROJECT}/", f"{build}/")):
            continue
        names = [each["name"] for each in known if any(re.fullmatch(p, path) for p in each["files"])]
        if len(names) != 1:
            raise SystemExit(f"{program}: {path} belongs to {names or 'no component'}: see packaging/components.json")
        found.add(names[0])
    return found


def components(build, program):
    """The names of the components that are in a program."""
    build = build.resolve()
    return components_of(build, archives(build, program) | sources(build, f"bin/{program}"), COMPONENTS["linked in"],
                         program)
