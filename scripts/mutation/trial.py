"""Which tests try a break, in which order, and what comes of it."""

import collections
import os
import pathlib
import re
import shlex
import subprocess

from mutation.suites import ENDLESS, Program

LATER = re.compile("sweep")  # long programs, which catch little that others don't
LONG_SECONDS, OBJECTS_ALONE = 10, 4
MANY_OBJECTS = 6  # of a header: above this, a few of them are tried first


class Trials:
    def __init__(self, workshop, suites, caught_before):
        self.workshop, self.suites = workshop, suites
        self.caught_before = caught_before  # a Counter of (file, suite)
        self.inputs = {}
        for suite in suites:
            for target in suite.targets:
                if target not in self.inputs:
                    self.inputs[target] = set(workshop.ask_ninja("-t", "inputs", f"bin/{target}").split())
        self.linked = {target: _sources_in(workshop.build / "bin" / target) for target in self.inputs}
        self.objects = _objects_by_file(workshop)

    def try_out(self, broken, everything=False):
        """"uncompilable", "survived", or "caught" with the suite and the case that did it."""
        with self.workshop.broken(broken):
            if not self.workshop.make(*self._some_objects(broken.file)):
                return "uncompilable", ""
            if self._is_widely_included(broken.file) and not everything:
                if caught := self._try_alone(broken.file):
                    return "caught", caught
            for suite, cases in self._steps(broken.file, everything):
                if not self.workshop.make(*suite.targets):
                    return "uncompilable", ""
                if caught := self._run(suite, cases):
                    return "caught", caught
        return "survived", ""

    def _steps(self, file, everything):
        """The cases that are named after the file, then all others, suite by suite."""
        order = self.order(file, everything)
        named = {suite.name: self._cases_named_after(suite, file) for suite in order}
        first = [(suite, named[suite.name]) for suite in order if named[suite.name]]
        return first + [(suite, [case for case in suite.cases if case not in named[suite.name]]) for suite in order]

    def _run(self, suite, cases):
        """What fails has to fail twice, unless it ran for ever."""
        failed = suite.run(self.workshop, cases)
        if failed and (failed.endswith(ENDLESS) or failed in suite.cases and suite.run(self.workshop, [failed])
                       or suite.run(self.workshop, cases)):
            return f"{suite.name}: {failed}"
        return None

    def order(self, file, everything):
        """The folder's own suites, then the others that link the file; those that caught the most of it first. Sweeps,
        what takes long elsewhere, and what a widely included header would have built again, comes with `everything` only."""
        own = folder_of_tests(file, {suite.folder for suite in self.suites})
        linking = [suite for suite in self.suites if self._links(suite, file, own)]
        most = 0 if self._is_widely_included(file) else LONG_SECONDS
        first = [suite for suite in linking
                 if not LATER.search(suite.name) and (suite.folder == own or suite.seconds < most)]
        if everything:
            first = [suite for suite in linking if suite not in first]
        return sorted(first, key=lambda suite: (suite.folder != own, -self.caught_before[file, suite.name], suite.seconds))

    def _links(self, suite, file, own):
        """A program of the folder may also start others that do."""
        name = pathlib.PurePath(file).name
        return any(self.objects[file] & self.inputs[target]
                   and (name.endswith(".h") or suite.folder == own or name in self.linked[target])
                   for target in suite.targets)

    def _some_objects(self, file):
        """Of a source its object, of a header one of those that include it, of its own name if there is one."""
        stem = pathlib.PurePath(file).stem.removesuffix("_impl")
        objects = sorted(self.objects[file], key=lambda name: (pathlib.PurePath(name).name.split(".")[0] != stem,
                                                               name.startswith("tests/"), name))
        return objects[:1]

    def _is_widely_included(self, file):
        return file.endswith(".h") and len(self.objects[file]) > MANY_OBJECTS

    def _cases_named_after(self, suite, file):
        """By the name of the suite: path_mask.cpp has PathMaskTest, PathMaskOwnProcess and the like."""
        stem = pathlib.PurePath(file).stem.removesuffix("_impl").replace("_", "").lower()
        return [case for case in suite.cases if stem in case.rpartition(".")[0].lower()]

    def _try_alone(self, file):
        """A header's break, in a few objects that include it themselves, which are linked in front of the others: its
        functions are taken from there. The other objects stay as they were, which spares compiling them all."""
        for suite, cases in self._steps(file, everything=False):
            if not isinstance(suite, Program):
                continue
            target = suite.targets[0]
            objects = self._including(file, target)
            if objects and self.workshop.make(*objects) and self._link(target, objects):
                if caught := self._run(suite, cases):
                    return caught
        return None

    def _including(self, file, target):
        """The tests named after the header first."""
        stem = pathlib.PurePath(file).stem.removesuffix("_impl")
        found = []
        for name in self.objects[file] & self.inputs[target]:
            path = self.workshop.tree / re.sub(r"CMakeFiles/\w+\.dir/(.*)\.o$", r"\1", name)
            if path.exists() and f'#include "{file}"' in path.read_text(encoding="latin-1"):
                found.append((not path.stem.startswith(stem), not name.startswith("tests/"), name))
        return [name for *_, name in sorted(found)[:OBJECTS_ALONE]]

    def _link(self, target, first):
        command = self.workshop.ask_ninja("-t", "commands", "-s", f"bin/{target}")
        words = [word for word in shlex.split(command) if word not in (":", "&&")]
        place = next(index for index, word in enumerate(words) if word.endswith(".o"))
        words = [word for word in words if word not in first]
        return subprocess.run(words[:place] + first + words[place:], cwd=self.workshop.build, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL).returncode == 0


def folder_of_tests(file, folders):
    """winapi/ has its tests among the contract's."""
    parts = pathlib.PurePath(file).parent.parts
    for length in range(len(parts), 0, -1):
        if "/".join(parts[:length]) in folders:
            return "/".join(parts[:length])
    return "contract"


def _sources_in(program):
    """The names of the sources whose objects the linker took, from the symbols."""
    symbols = subprocess.run(["readelf", "-sW", program], stdout=subprocess.PIPE, text=True, check=True).stdout
    return set(re.findall(r" FILE +LOCAL +\w+ +ABS +(\S+)$", symbols, re.M))


def _objects_by_file(workshop):
    """What is built again when a file changes, from what the compiler noted."""
    objects, current = collections.defaultdict(set), None
    tree = str(workshop.tree) + "/"
    beside = os.path.relpath(workshop.tree, workshop.build) + "/"  # as a compiler cache calls it
    for line in workshop.ask_ninja("-t", "deps").splitlines():
        if line and not line.startswith(" "):
            current = line.partition(":")[0]
        elif current and current.endswith(".o"):
            for folder in (tree, beside):
                if line.strip().startswith(folder):
                    objects[line.strip()[len(folder):]].add(current)
    return objects
