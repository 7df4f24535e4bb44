"""The copy of the sources that breaks are made in, with a build of its own and that build's whole state kept beside it.

A broken source, and all that was built from it, are put back with their old times, so that nothing is built again. What
a process that was killed left behind is put right when the next one begins.
"""

import os
import pathlib
import re
import resource
import shutil
import subprocess
import time

from mutation import source

# No optimisation and no symbols: what counts is the time to compile, to link and to run once. Each source has its object,
# since a break is tried in as few as will do.
_CMAKE = ["-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_COMPILER=g++", "-DCMAKE_CXX_FLAGS=-w",
          "-DCMAKE_CXX_FLAGS_DEBUG=-O0 -g0", "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld -Wl,--strip-debug",
          "-DZUM_JOIN_TESTS=OFF"]
_BUILT = re.compile(r"\.(?:cpp|h|cmake|in)$|^CMake|/CMakeLists.txt$|^tests/.*\.py$")
_TOOLS = {"cmake": "cmake", "ninja": "ninja-build", "g++": "g++", "clang-14": "clang-14", "ld.lld": "lld", "bwrap": "bubblewrap"}
COMPILE_SECONDS, MEMORY = 300, 6 << 30


class Unusable(Exception):
    """The sources as they are don't build, or don't pass their tests: nothing can be said about breaks."""


class Workshop:
    def __init__(self, project, folder):
        self.project, self.folder = project, folder
        self.tree, self.build, self.kept = folder / "tree", folder / "build", folder / "kept"
        self.measured = folder / "seconds.json"  # how long each suite takes
        self.sound = folder / "sound"  # the source that is broken just now, as it was
        self.unsettled = folder / "unsettled"  # there while the build isn't that of the sources
        folder.mkdir(parents=True, exist_ok=True)

    def prepare(self, jobs=1):
        """Brings the copy to what the checkout has, and builds it."""
        if missing := [package for tool, package in _TOOLS.items() if not shutil.which(tool)]:
            raise Unusable("to be installed first: apt-get install -t bookworm " + " ".join(missing))
        self.mend()
        changed = self._copy_sources() or self.unsettled.exists()
        self._put_back(0)
        if changed or not (self.build / "build.ninja").exists():
            self._run(["cmake", *_CMAKE, "-S", self.tree, "-B", self.build])
        self._write_rules()
        self._run(["ninja", "-C", self.build, "-f", "trials.ninja", "-j", str(jobs)])
        self._keep()
        self.unsettled.unlink(missing_ok=True)

    def _run(self, command):
        run = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        if run.returncode:
            raise Unusable(run.stdout[-4000:])

    def _copy_sources(self):
        listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "-z"], cwd=self.project, check=True,
                                stdout=subprocess.PIPE, text=True).stdout.split("\0")
        names = {name for name in listed if name and (self.project / name).is_file()}
        changed = 0
        for name in names:
            ours, copy = self.project / name, self.tree / name
            if copy.exists() and copy.read_bytes() == ours.read_bytes():
                continue
            if changes_the_build := _BUILT.search(name) is not None:
                self.unsettled.touch()
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ours, copy)
            changed += changes_the_build
        for copy in self.tree.rglob("*"):
            if copy.is_file() and str(copy.relative_to(self.tree)) not in names and copy.suffix != ".pyc":
                self.unsettled.touch()
                copy.unlink()
                changed += 1
        return changed

    def _write_rules(self):
        """Without the rule that looks for new files at each start."""
        rules = (self.build / "build.ninja").read_text()
        rules = re.sub(r"^build build\.ninja: RERUN_CMAKE.*\n(?:  .*\n)*", "", rules, flags=re.M)
        (self.build / "trials.ninja").write_text(rules)

    def _files(self, folder):
        for path, folders, names in os.walk(folder):
            folders[:] = [name for name in folders if name not in ("Testing", "results", "CMakeTmp")]
            for name in names:
                if not name.startswith(".ninja_"):
                    yield pathlib.Path(path, name)

    def _keep(self):
        """Notes the build's state, file by file."""
        there = set()
        for file in self._files(self.build):
            name = file.relative_to(self.build)
            there.add(name)
            copy, status = self.kept / name, file.lstat()
            if file.is_symlink() or copy.exists() and _same(copy.stat(), status):
                continue
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy2(file, copy)
        for copy in self._files(self.kept):
            if copy.relative_to(self.kept) not in there:
                copy.unlink()

    def _put_back(self, since):
        """All files of the build that were written after that time."""
        for file in self._files(self.build):
            status = file.lstat()
            if status.st_mtime < since or file.is_symlink():
                continue
            copy = self.kept / file.relative_to(self.build)
            if not copy.exists():
                if since:
                    file.unlink()
            elif not _same(copy.stat(), status):
                shutil.copy2(copy, file)

    def broken(self, broken):
        return _Broken(self, broken)

    def mend(self):
        """Puts the source that was broken back, with its old time."""
        for sound in list(self._files(self.sound)):
            shutil.copy2(sound, self.tree / sound.relative_to(self.sound))
            sound.unlink()

    def make(self, *targets):
        """True when they could be built. The output goes to a file, which is there for whom it may help."""
        with open(self.folder / "make.log", "wb") as log:
            ninja = subprocess.Popen(["ninja", "-C", self.build, "-f", "trials.ninja", "-j", "1", *map(str, targets)],
                                     stdout=log, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL,
                                     env={**os.environ, "CCACHE_DISABLE": "1"}, preexec_fn=_limit_memory)
            try:
                return ninja.wait(COMPILE_SECONDS) == 0
            except subprocess.TimeoutExpired:
                ninja.terminate()  # which ends its compilers
                ninja.wait()
                return False

    def ask_ninja(self, *arguments):
        return subprocess.run(["ninja", "-C", self.build, "-f", "trials.ninja", *map(str, arguments)], check=True,
                              stdout=subprocess.PIPE, text=True).stdout


class _Broken:
    """The tree with one break in it, for as long as it is entered. The sound source waits in a folder beside it, where the
    next process finds it when this one is killed."""

    def __init__(self, workshop, broken):
        self.workshop, self.broken = workshop, broken

    def __enter__(self):
        file, sound = self.workshop.tree / self.broken.file, self.workshop.sound / self.broken.file
        sound.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy2(file, sound)
        self.since = time.time() - 0.01
        source.write(file, self.broken.apply(source.read(sound)))
        return self

    def __exit__(self, *_):
        self.workshop.mend()
        self.workshop._put_back(self.since)


def _same(copy, status):
    return copy.st_mtime_ns == status.st_mtime_ns and copy.st_size == status.st_size


def _limit_memory():
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
