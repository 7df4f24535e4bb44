"""The rows of a Google Benchmark program: one round is one run of it, with its cases in random order."""

import json
import subprocess

REPETITIONS = 5
UNITS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


class Parts:
    """The program at `path`, pinned to a core."""

    once = False

    def __init__(self, path, core, folder):
        self.path, self.core = path, core
        self.output = folder / f"{path.name}.json"

    def run_round(self, rows, samples, shortest):
        """Adds the round's values to samples[row id]; `shortest` are the seconds of one repetition."""
        names = "|".join(row.id for row in rows)
        command = ["taskset", "-c", str(self.core), str(self.path), f"--benchmark_filter=^({names})/",
                   f"--benchmark_repetitions={REPETITIONS}", "--benchmark_enable_random_interleaving=true",
                   f"--benchmark_min_time={shortest}", "--benchmark_format=console", "--benchmark_out_format=json",
                   f"--benchmark_out={self.output}"]
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        if done.returncode:
            raise RuntimeError(f"{self.path.name} failed:\n{done.stdout[-3000:]}")
        for run in json.loads(self.output.read_text(encoding="utf-8"))["benchmarks"]:
            if run.get("error_occurred"):
                raise RuntimeError(f"{run['name']}: {run['error_message']}")
            if run["run_type"] == "iteration":
                row, side, argument = (run["run_name"].split("/") + [""])[:3]
                samples[row].add(side, argument, run["cpu_time"] * UNITS[run["time_unit"]])

    def finish(self):
        pass
