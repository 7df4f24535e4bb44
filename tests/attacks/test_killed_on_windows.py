"""Under Wine the registry outlives the program, which is killed by SIGKILL at random moments: the server keeps what the
program had told it by then."""

import subprocess
import time

import machines
from attack_cases import REHEARSE, AttackCase, amount, marked_products, only_on, registry_rule

PRODUCTS = 120
UNKILLED = amount(1, 5)  # runs by which the length of a run is measured
LIMIT = 120  # seconds


@only_on("windows")
class KilledOnWindows(AttackCase):
    outputs = ()  # files that a run makes beside its trace

    def start(self, program, *arguments):
        """A run, from the moment on at which its trace file is there, and when that was. The process is the
        program's own, and no shell's: the script gives its place to it."""
        process = subprocess.Popen([machines.PROJECT / "scripts/wine-run.sh", program, self.trace_option, *arguments],
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        while not self.trace_files() and process.poll() is None:
            time.sleep(0.0005)
        return process, time.monotonic()

    def measure(self, program, *arguments):
        """How long a run lasts behind that moment: the middle one of a few."""
        lengths = []
        for _ in range(UNKILLED):
            self.prepare()
            process, begin = self.start(program, *arguments)
            process.wait(LIMIT)
            lengths.append(time.monotonic() - begin)
        return sorted(lengths)[UNKILLED // 2]

    def run_once(self, program, *arguments):
        process, _ = self.start(program, *arguments)
        return process.wait(LIMIT)

    def prepare(self):
        for path in (*self.trace_files(), *self.outputs):
            path.unlink(missing_ok=True)
        self.load(self.branch)

    def kill(self, times, program, *arguments):
        """Gives a number for each run that was killed, as soon as it is. One that was over before doesn't count."""
        length = self.measure(program, *arguments)
        runs, killed = 0, 0
        while killed < times:
            self.prepare()
            process, begin = self.start(program, *arguments)
            time.sleep(max(0.0, begin + self.random.uniform(0, length) - time.monotonic()))
            process.kill()
            runs += 1
            if process.wait(LIMIT) < 0:
                yield killed
                killed += 1
            self.assertLess(runs, 10 * times, "the runs are over before they are killed")
        self.figure(f"{runs} runs of {length:.2f} s, {killed} of them killed")

    def test_tool_is_killed(self):
        self.branch = marked_products(PRODUCTS)
        before = self.load(self.branch)
        expected, updates = registry_rule.rewrite(before)
        self.assertEqual(len(updates), 2 * PRODUCTS)
        halfway = 0
        for number in self.kill(amount(10, 200), self.machine.program, "/unblock"):
            with self.subTest(number):
                left = self.check_no_package_is_lost(before, self.machine.dump())
                halfway += 0 < left < PRODUCTS
                self.check_completed(self.machine.run("tool.exe /unblock"))
                self.check_branch(self.machine.dump(), expected)
        self.figure(f"{halfway} left some products repaired and some not")

    def test_rehearsal_is_killed(self):
        self.branch = marked_products(PRODUCTS)
        before = self.load(self.branch)
        self.outputs = [self.machine.folder / name for name in ("changes.reg", "undo.reg", "page.html")]
        arguments = ["--json", *(f"{option}={self.machine.windows_path(path)}" for option, path in
                                 zip(("--changes", "--undo", "--html"), self.outputs))]
        self.assertEqual(self.run_once(REHEARSE, *arguments), 4)
        sizes = {path: path.stat().st_size for path in self.outputs}
        whole = 0
        for number in self.kill(amount(2, 40), REHEARSE, *arguments):
            with self.subTest(number):
                # Each of them has the same length every time: nothing in it but the time differs.
                found = {path: path.stat().st_size for path in self.outputs if path.exists()}
                self.assertEqual(found, {path: sizes[path] for path in found})
                whole += len(found)
                self.check_branch(self.machine.dump(), before)
        self.figure(f"{whole} files were left, each of them whole")
