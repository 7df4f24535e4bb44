"""/unblock natively, on a registry of 50,000 products, against an earlier commit that is built beside this one:
instructions as callgrind counts them, and the peak of memory. Both are the same on each run."""

import os
import pathlib
import re
import shutil
import subprocess

from measures import RESULTS
from rows import PROJECT

BASE_COMMIT = "c39210c"  # the last one before speed was worked on
BASE = PROJECT / "build/bench/base"
PRODUCTS = 50_000
INSTALLER = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Products"
CLASSES = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\Installer\\Products"


def product(number):
    mark = "NotExist" if number % 2 == 0 else ""
    name = f"{number:08X}45A9D0E4C812D5E6F708192A"
    return (f'[{INSTALLER}\\{name}\\InstallProperties]\r\n"DisplayName"="Some product"\r\n'
            f'"LocalPackage{mark}"="C:\\\\Windows\\\\Installer\\\\{number:x}.msi"\r\n\r\n'
            f'[{CLASSES}\\{name}\\SourceList]\r\n"LastUsedSource"="n;1;C:\\\\sources\\\\"\r\n'
            f'"PackageName{mark}"="zum_win.msi"\r\n\r\n')


def write_registry(path, count):
    with path.open("wb") as file:
        file.write(b"\xff\xfe" + "Windows Registry Editor Version 5.00\r\n\r\n".encode("utf-16-le"))
        for number in range(count):
            file.write(product(number).encode("utf-16-le"))


def build_base():
    """The earlier commit's program, built once by that commit's own rules."""
    program = BASE / "build/bench/bin/zum_setup_util"
    if program.exists():
        return program
    print(f"   building {BASE_COMMIT} in {BASE.relative_to(PROJECT)}", flush=True)
    shutil.rmtree(BASE, ignore_errors=True)
    BASE.mkdir(parents=True)
    archive = subprocess.run(["git", "-C", str(PROJECT), "archive", BASE_COMMIT], stdout=subprocess.PIPE, check=True)
    subprocess.run(["tar", "-x", "-C", str(BASE)], input=archive.stdout, check=True)
    with (RESULTS / "base.log").open("wb") as log:
        for command in (["cmake", "--preset", "bench"], ["cmake", "--build", "build/bench", "--target", "zum_setup_util"]):
            if subprocess.run(command, cwd=BASE, stdout=log, stderr=log, check=False).returncode:
                raise RuntimeError(f"{BASE_COMMIT} can't be built: {RESULTS}/base.log")
    return program


class Native:
    once = True

    def __init__(self, core):
        self.programs = {"ours": PROJECT / "build/bench/bin/zum_setup_util", "base": build_base()}
        self.root = RESULTS / "native-machine"

    def run(self, program, count, before):
        """Runs `program /unblock` behind the command `before`, on a fresh machine; sees that it changed what it should."""
        shutil.rmtree(self.root, ignore_errors=True)
        self.root.mkdir(parents=True)
        registry = self.root / "registry.reg"
        write_registry(registry, count)
        subprocess.run([*before, program, "/unblock"], env=dict(os.environ, ZUM_HOST_ROOT=str(self.root)),
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
        text = registry.read_text(encoding="utf-16")
        restored = text.count('"LocalPackage"='), text.count('"PackageName"="zum_win.msi"')
        if restored != (count, count) or "NotExist" in text:
            raise RuntimeError(f"{program} restored {restored} of {count}")

    def instructions(self, program, count):
        output = RESULTS / "callgrind.out"
        self.run(program, count, ["valgrind", "--tool=callgrind", f"--callgrind-out-file={output}"])
        return int(re.search(r"(?m)^(?:summary|totals): (\d+)", output.read_text(encoding="utf-8")).group(1))

    def peak(self, program, count):
        output = RESULTS / "peak"
        self.run(program, count, ["/usr/bin/time", "-f", "%M", "-o", str(output)])
        return int(pathlib.Path(output).read_text(encoding="utf-8"))

    def run_round(self, rows, samples, shortest):
        count = PRODUCTS if shortest >= 0.1 else PRODUCTS // 20
        for row in rows:
            measure = {"native_instructions": self.instructions, "native_memory": self.peak}[row.id]
            for side, program in self.programs.items():
                samples[row.id].add(side, str(count), measure(program, count))

    def remarks(self, row, samples):
        for side, found in samples.sides.items():
            for count, values in found.items():
                each = values[0] / int(count) * (1024 if row.unit == "KiB" else 1)
                yield f"{side}: {each:,.0f} {'bytes' if row.unit == 'KiB' else row.unit} a product"

    def finish(self):
        shutil.rmtree(self.root, ignore_errors=True)
