"""The two machines that the program runs on: a Wine prefix, and a folder for the host layer.

Both have the same face: `load` a registry branch, `dump` it, `run` the program with an exact command line.
"""

import dataclasses
import os
import pathlib
import pwd
import shutil
import subprocess
import tempfile

import reg_file
from registry_rule import ROOTS

PROJECT = pathlib.Path(__file__).resolve().parent.parent.parent


@dataclasses.dataclass
class Outcome:
    status: int  # as the machine has it
    output: bytes
    errors: bytes = b""


def wine_prefix():
    """As scripts/lib/wine.sh chooses it."""
    prefix = os.environ.get("ZUM_WINEPREFIX") or str(PROJECT / "build/wine/tests")
    machine = os.environ.get("ZUM_WINE_MACHINE")
    return pathlib.Path(f"{prefix}-{machine}" if machine else prefix)


def digits(data):
    return data.hex() or "-"


def text_digits(text):
    return digits(text.encode("utf-16-le", "surrogatepass"))


def text_from(found):
    return b"" if found == "-" else bytes.fromhex(found)


class Machine:
    """What both have: a folder for trace files whose name has no blank."""

    def __init__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="zum-e2e-"))

    def close(self):
        shutil.rmtree(self.folder, ignore_errors=True)

    def windows_path(self, path):
        return "Z:" + str(path).replace("/", "\\")


# What regload is told for a machine without products.
CLEARING = [f"D {text_digits(root + end)}" for root, end in
            ((ROOTS[0], "\\UserData\\S-1-5-18\\Products"), (ROOTS[1], "\\Products"),
             (ROOTS[2], "\\UserData\\S-1-5-18\\Products"), (ROOTS[3], "\\Products"))]


class WineMachine(Machine):
    """The Windows program under Wine. Status: all 32 bits."""

    WORLD = "windows"

    def __init__(self):
        super().__init__()
        self.program = pathlib.Path(os.environ["ZUM_PROGRAM"])
        self.helpers = pathlib.Path(os.environ["ZUM_HELPERS"])
        # What the machine isn't told yet. To start a program takes longer than what it does, and most cases load a branch
        # first of all.
        self.waiting = CLEARING

    def close(self):
        self.clear()
        super().close()

    @staticmethod
    def status_of(code):
        return code

    @property
    def drive_c(self):
        """The folder that is C: to the programs."""
        return wine_prefix() / "drive_c"

    def wine(self, program, *arguments, given="", cwd=None, environment=None, timeout=240):
        """Runs a Windows program through the project's script; its standard output. The streams are files: what Wine
        starts beside the first program of a prefix lives on and would hold a pipe open."""
        if self.waiting:
            self.registry([])
        with tempfile.TemporaryFile() as source, tempfile.TemporaryFile() as output, tempfile.TemporaryFile() as errors:
            source.write(given.encode("ascii"))
            source.seek(0)
            done = subprocess.run([PROJECT / "scripts/wine-run.sh", program, *arguments], stdin=source, stdout=output,
                                  stderr=errors, cwd=cwd or self.folder, timeout=timeout, check=False,
                                  env=os.environ | (environment or {}))
            output.seek(0)
            errors.seek(0)
            if done.returncode != 0:
                raise RuntimeError(f"{program} ended with {done.returncode}: {errors.read().decode()}")
            return output.read()

    def helper(self, name, *arguments, **options):
        return self.wine(self.helpers / f"{name}.exe", *arguments, **options).decode("ascii").splitlines()

    def registry(self, lines):
        given, self.waiting = [*self.waiting, *lines], []
        self.helper("regload", given="\n".join(given) + "\n")

    def clear(self):
        """Removes the products of all views; the keys of the installer itself stay."""
        self.registry(CLEARING)

    def load(self, branch):
        lines = []
        for path, values in branch.items():
            lines.append(f"K {text_digits(path)}")
            lines += [f"V {text_digits(name)} {kind} {digits(data)}" for name, (kind, data) in values.items()]
        self.registry(lines)

    def rename_values(self, names):
        """Gives values other names: (path, old name, new name), each with the branch's data."""
        branch = self.dump()
        lines = []
        for path, old, new in names:
            kind, data = branch[path][old]
            lines += [f"K {text_digits(path)}", f"V {text_digits(new)} {kind} {digits(data)}", f"X {text_digits(old)}"]
        self.registry(lines)

    def protect(self, paths):
        self.registry([f"R {text_digits(path)}" for path in paths])

    def unprotect(self, paths):
        self.registry([f"W {text_digits(path)}" for path in paths])

    def dump(self):
        branch = {}
        for line in self.helper("regdump", *map(text_digits, ROOTS)):
            word, name, *rest = line.split(" ")
            text = text_from(name).decode("utf-16-le", "surrogatepass")
            if word == "K":
                values = branch[text] = {}
            else:
                kind, count, data = rest
                values[text] = (int(kind), text_from(data))
                if len(values[text][1]) != int(count):
                    raise RuntimeError(f"the dump's count is wrong: {line}")
        return branch

    def start(self, command_line, *mode, program=None, cwd=None, environment=None):
        """The lines that runexit printed, as a dict. A program that is a text is a Windows path already."""
        program = program or self.program
        path = program if isinstance(program, str) else self.windows_path(program)
        given = f"{text_digits(path)}\n{text_digits(command_line)}\n"
        return dict(line.split("=", 1) for line in self.helper("runexit", *mode, given=given, cwd=cwd,
                                                                   environment=environment))

    def run(self, command_line, program=None, cwd=None, environment=None):
        found = self.start(command_line, program=program, cwd=cwd, environment=environment)
        return Outcome(int(found["exit"], 16), text_from(found["output"]))


class HostMachine(Machine):
    """The native program on a registry file. Status: the low 8 bits, 1 where those of a failure are 0. The command line
    is what the host layer makes of the arguments: parts without blanks and quotes, joined by single blanks."""

    WORLD = "native"

    def __init__(self):
        super().__init__()
        self.program = pathlib.Path(os.environ["ZUM_PROGRAM"])
        self.root = self.folder / "host"
        self.root.mkdir()
        self.file = self.root / "registry.reg"
        # A drive C: that is there is left as it is, and the tests make it: so it needs this, too.
        (self.drive_c / "users" / pwd.getpwuid(os.geteuid()).pw_name / "Temp").mkdir(parents=True)
        self.clear()

    @property
    def drive_c(self):
        """The folder that is C: to the program."""
        return self.root / "drive_c"

    @staticmethod
    def status_of(code):
        return code & 0xFF or (1 if code else 0)

    def clear(self):
        self.load({})

    def load(self, branch):
        reg_file.write(self.file, branch)

    def dump(self):
        """What the file holds below the compared roots, with the keys above each key."""
        whole = {}
        for path, values in reg_file.read(self.file).items():
            parts = path.split("\\")
            for count in range(1, len(parts)):
                whole.setdefault("\\".join(parts[:count]), {})
            whole.setdefault(path, {}).update(values)
        lower = tuple(root.lower() for root in ROOTS)
        return {path: values for path, values in whole.items() if path.lower().startswith(lower)}

    def run(self, command_line, program=None, cwd=None, output=subprocess.PIPE):
        environment = os.environ | {"ZUM_HOST_ROOT": str(self.root)}
        done = subprocess.run(command_line.encode("utf-8").split(b" "), executable=program or self.program,
                              stdout=output, stderr=subprocess.PIPE, env=environment, cwd=cwd or self.folder,
                              timeout=240, check=False)
        return Outcome(done.returncode, done.stdout or b"", done.stderr)


def make_machine():
    return WineMachine() if os.environ["ZUM_WORLD"] == WineMachine.WORLD else HostMachine()
