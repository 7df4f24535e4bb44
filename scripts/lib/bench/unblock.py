"""/unblock under Wine, plain and traced, against the bare program; and the peak of memory of both."""

import math
import pathlib
import random
import re
import shutil
import statistics
import subprocess

import wine
from measures import BINARIES, RESULTS

# How many pairs of runs a round has at each number of products.
PAIRS = {10: 6, 100: 6, 1000: 3, 10000: 1}
TRACES = RESULTS / "traces"


def z_path(path):
    return "Z:" + str(path).replace("/", "\\")


def commands():
    """Side -> command, and for traced sides the trace's folder is made anew before each run."""
    program, bare = BINARIES / "zum_setup_util.exe", BINARIES / "bare_unblock.exe"
    return {
        "unblock": {"ours": [program, "/unblock"], "bare": [bare]},
        "unblock_traced": {"ours": [program, "/unblock", f"--trace-output={z_path(TRACES / 'ours')}"],
                           "bare_fprintf": [bare, z_path(TRACES / "bare_fprintf/bare.log")], "bare": [bare]},
    }


def masked(trace):
    """A trace without what differs between two runs: times, numbers of processes and threads, the command line."""
    text = trace.read_text(encoding="utf-8")
    text = re.sub(r"(?m)^\d\d:\d\d:\d\d\.\d\d\d\t0x[0-9a-f]+", "TIME", text)
    return re.sub(r"\d\d\.\d\d\.\d{4} \d\d:\d\d(:\d\d)?|PID: .*|Command line: .*", "", text)


class Unblock:
    once = False

    def __init__(self, core):
        self.wine = wine.Wine(core)
        self.checked = set()

    def machine(self, *arguments):
        return self.wine.call(BINARIES / "bench_machine.exe", *arguments)

    def prepare(self):
        """Marks as before the first run, and no trace of an earlier one."""
        self.machine("mark")
        shutil.rmtree(TRACES, ignore_errors=True)
        for side in ("ours", "bare_fprintf"):
            (TRACES / side).mkdir(parents=True)

    def run_round(self, rows, samples, shortest):
        for count, pairs in PAIRS.items():
            if shortest < 0.1 and count > 1000:
                continue  # a quick look
            self.machine("make", str(count))
            for _ in range(pairs):
                for row in rows:
                    self.run_sides(row.id, count, samples[row.id])

    def run_sides(self, row, count, samples):
        sides = list(commands()[row].items())
        random.shuffle(sides)
        for side, command in sides:
            samples.add(side, str(count), self.wine.measure(command, prepare=self.prepare))
            self.check(row, side, count)
        if row == "unblock_traced" and (row, count) not in self.checked:
            self.compare_traces(sides)
            self.checked.add((row, count))

    def check(self, row, side, count):
        """Once for each: nothing is marked any more."""
        if (row, side, count) not in self.checked:
            self.machine("check")
            self.checked.add((row, side, count))

    def compare_traces(self, sides):
        """Both sides write the same lines."""
        found = []
        for side, command in sides:
            if side != "bare":
                self.wine.measure(command, prepare=self.prepare)
                found.append(masked(next((TRACES / side).iterdir())))
        if found[0] != found[1]:
            for number, text in enumerate(found):
                (RESULTS / f"trace-{number}.log").write_text(text, encoding="utf-8")
            raise wine.WineError(f"the traces differ: {RESULTS}/trace-0.log and trace-1.log")

    def remarks(self, row, samples):
        medians = {side: {int(count): statistics.median(values) for count, values in found.items()}
                   for side, found in samples.sides.items()}
        counts = sorted(medians["ours"])
        first, second, last = counts[0], counts[-2], counts[-1]
        for side, found in medians.items():
            slope = (found[last] - found[first]) / (last - first) / 1000
            steps = [(found[count] - found[first]) / (count - first) for count in (second, last)]
            growth = 1 + math.log(steps[1] / steps[0]) / math.log(last / second)
            yield f"{side}: {slope:.2f} µs a product, n^{growth:.3f} from {second} to {last} products"

    def finish(self):
        self.machine("make", "0")


class Memory:
    """The largest resident set, by GNU time: the starter's own would count in a child of this process."""

    once = True

    def __init__(self, core):
        self.wine = wine.Wine(core)

    def peak(self, command):
        output = RESULTS / "peak"
        subprocess.run(["/usr/bin/time", "-f", "%M", "-o", output, wine.LOADER, *map(str, command)],
                       env=self.wine.environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
        return int(pathlib.Path(output).read_text(encoding="utf-8"))

    def run_round(self, rows, samples, shortest):
        for count in (10, 10000):
            self.wine.call(BINARIES / "bench_machine.exe", "make", str(count))
            for row in rows:
                for _ in range(5):
                    for side, command in commands()["unblock"].items():
                        self.wine.call(BINARIES / "bench_machine.exe", "mark")
                        samples[row.id].add(side, str(count), self.peak(command))

    def remarks(self, row, samples):
        for side, found in samples.sides.items():
            grown = statistics.median(found["10000"]) - statistics.median(found["10"])
            yield f"{side}: {grown * 1024 / 9990:.0f} bytes a product"

    def finish(self):
        self.wine.call(BINARIES / "bench_machine.exe", "make", "0")


class StartToExit:
    once = False
    RUNS = 30

    def __init__(self, core):
        self.wine = wine.Wine(core)

    def run_round(self, rows, samples, shortest):
        programs = {"ours": "zum_setup_util.exe", "bare": "bare_empty.exe", "library": "minimal_regex.exe"}
        sides = [(side, [BINARIES / name]) for side, name in programs.items()]
        for _ in range(self.RUNS if shortest >= 0.1 else 5):
            random.shuffle(sides)
            for side, command in sides:
                for row in rows:
                    samples[row.id].add(side, "", self.wine.measure(command))

    def remarks(self, row, samples):
        return []

    def finish(self):
        pass
