"""Under Wine the registry outlives the program, which is killed by SIGKILL at random moments: the server keeps what the
program had told it by then."""

import subprocess
import time

import machines
from attack_cases import REHEARSE, AttackCase, amount, marked_products, only_on, registry_rule

PRODUCTS = 120
UNKILLED = 3  # runs by which the length of a run is measured
LIMIT = 120  # seconds


@only_on("windows")
class KilledOnWindows(AttackCase):
    def start(self, program, *arguments):
        """A run, from the moment on at which its trace file is there, and when that was. The process is the
        program's own, and no shell's: the script gives its place to it."""
        process = subprocess.Popen([machines.PROJECT / "scripts/wine-run.sh", program, self.trace_option, *arguments],
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        while not self.trace_files() and process.poll() is None:
            time.sleep(0.0005)
        return process, time.monotonic()

    def measure(self, program, *arguments):
        """How long a run lasts behind that moment, at the longest."""
        longest = 0.0
        for _ in range(UNKILLED):
            self.prepare()
            process, begin = self.start(program, *arguments)
            process.wait(LIMIT)
            longest = max(longest, time.monotonic() - begin)
        return longest

    def prepare(self):
        self.clear_traces()
        self.load(self.branch)

    def kill_once(self, length, program, *arguments):
        """Whether the process was still there when it was killed."""
        process, begin = self.start(program, *arguments)
        time.sleep(max(0.0, begin + self.random.uniform(0, length) - time.monotonic()))
        process.kill()
        return process.wait(LIMIT) < 0

    def test_tool_is_killed(self):
        self.branch = marked_products(PRODUCTS)
        before = self.load(self.branch)
        expected, updates = registry_rule.rewrite(before)
        self.assertEqual(len(updates), 2 * PRODUCTS)
        length = self.measure(self.machine.program, "/unblock")
        killed, halfway, rounds = 0, 0, amount(10, 200)
        for number in range(rounds):
            self.prepare()
            killed += self.kill_once(length, self.machine.program, "/unblock")
            with self.subTest(number):
                left = self.check_no_package_is_lost(before, self.machine.dump())
                halfway += 0 < left < PRODUCTS
                self.check_completed(self.machine.run("tool.exe /unblock"))
                self.check_branch(self.machine.dump(), expected)
        self.assertGreater(killed, 0, "each run was over before it was killed")
        self.figure(f"{rounds} runs of {length:.2f} s, {killed} of them killed, {halfway} with some products repaired "
                    "and some not")

    def test_rehearsal_is_killed(self):
        self.branch = marked_products(PRODUCTS)
        before = self.load(self.branch)
        outputs = {name: self.machine.folder / name for name in ("changes.reg", "undo.reg", "page.html")}
        arguments = ["--json", *(f"{option}={self.machine.windows_path(path)}" for option, path in
                                 zip(("--changes", "--undo", "--html"), outputs.values()))]
        length = self.measure(REHEARSE, *arguments)
        size = {name: path.stat().st_size for name, path in outputs.items()}
        killed, rounds = 0, amount(2, 40)
        for number in range(rounds):
            for path in outputs.values():
                path.unlink(missing_ok=True)
            self.clear_traces()
            killed += self.kill_once(length, REHEARSE, *arguments)
            with self.subTest(number):
                # Each of them has the same length every time: nothing in it but the time differs.
                self.assertEqual({name: path.stat().st_size for name, path in outputs.items() if path.exists()},
                                 {name: size[name] for name, path in outputs.items() if path.exists()})
                self.check_branch(self.machine.dump(), before)
        self.figure(f"{rounds} runs of {length:.2f} s, {killed} of them killed")
