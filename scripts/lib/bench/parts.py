"""The rows of a program of cases: one round is one run of it. Natively it is Google Benchmark, with the cases in random
order; under Wine the program's own timer, which takes the same options and writes the same file."""

import json
import subprocess

import wine
from rows import PROJECT

REPETITIONS = 5
UNITS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


class Parts:
    once = False

    def __init__(self, program, world, core, folder):
        self.program, self.core, self.folder = program, core, folder
        if world == "native":
            self.command = [PROJECT / "build/bench/bin" / program]
        else:
            self.command = [wine.LOADER, PROJECT / "build/bench-windows/bin" / f"{program}.exe"]

    def run_round(self, rows, samples, shortest):
        """`shortest` are the seconds of one repetition."""
        names = "|".join(row.id for row in rows)
        output = f"{self.program}.json"
        command = ["taskset", "-c", self.core, *self.command, f"--benchmark_filter=^({names})/",
                   f"--benchmark_repetitions={REPETITIONS}", "--benchmark_enable_random_interleaving=true",
                   f"--benchmark_min_time={shortest}", "--benchmark_out_format=json", f"--benchmark_out={output}"]
        done = subprocess.run(list(map(str, command)), cwd=self.folder, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        if done.returncode:
            raise RuntimeError(f"{self.program} failed:\n{done.stdout[-3000:]}")
        for run in json.loads((self.folder / output).read_text(encoding="utf-8"))["benchmarks"]:
            if run.get("error_occurred"):
                raise RuntimeError(f"{run['name']}: {run['error_message']}")
            if run["run_type"] == "iteration":
                row, side, argument = (run["run_name"].split("/") + [""])[:3]
                samples[row].add(side, argument, run["cpu_time"] * UNITS[run["time_unit"]])

    def remarks(self, row, samples):
        return []

    def finish(self):
        pass
