"""Two runs at once, on one registry and one trace directory: no product is lost, and who fails says so."""

import concurrent.futures
import pathlib
import tempfile

import killing
from attack_cases import AttackCase, amount, marked_products, only_on, registry_rule
from cases import COMPLETED, REWRITE_FAILED, REWRITE_FAILED_REPORT

PRODUCTS = 150
# What the trace of a run tells that came second to a value.
CAME_SECOND = r"system result code: 2\b"


class TwoAtOnce(AttackCase):
    def setUp(self):
        super().setUp()
        self.branch = marked_products(PRODUCTS)
        self.before = self.load(self.branch)
        self.expected = registry_rule.rewrite(self.before)[0]
        self.pool = concurrent.futures.ThreadPoolExecutor(2)
        self.addCleanup(self.pool.shutdown)

    def run_two(self, folders):
        options = ["--trace-output=" + self.machine.windows_path(folder) for folder in folders]
        return list(self.pool.map(lambda option: self.machine.run(f"tool.exe {option} /unblock"), options))

    def is_a_failure(self, outcome):
        """Line and status of a run say the same: it is completed, or it has failed in the one way that two may."""
        if outcome.output == COMPLETED:
            self.assertEqual(outcome.status, 0)
            return False
        self.assertEqual(outcome.output, REWRITE_FAILED_REPORT)
        self.assertEqual(outcome.status, self.machine.status_of(REWRITE_FAILED))
        return True

    def check_trace_tells(self, folder):
        file, = pathlib.Path(folder).iterdir()
        errors = [text for level, text in self.trace_records(file.read_bytes()) if level == "ERR"]
        self.assertRegex(errors[0], CAME_SECOND)

    def check_pair(self, folders):
        """The count of failures of two runs."""
        self.load(self.branch)
        failed = [self.is_a_failure(outcome) for outcome in self.run_two(folders)]
        # Only one of two can come second to a value, and then it is gone: the other one goes on alone.
        self.assertLessEqual(sum(failed), 1)
        self.check_no_package_is_lost(self.before, self.machine.dump())
        self.check_completed(self.machine.run("tool.exe /unblock"))
        self.check_branch(self.machine.dump(), self.expected)
        return failed

    def test_two_runs_lose_nothing(self):
        rounds, failures = amount(3, 100), 0
        for number in range(rounds):
            with self.subTest(number), tempfile.TemporaryDirectory(dir=self.machine.folder) as other:
                own = tempfile.mkdtemp(dir=self.machine.folder)
                # Every other pair shares its directory: runs of one second have one trace file then, which tells of
                # neither for certain.
                folders = [own, own] if number % 2 == 0 else [own, other]
                failed = self.check_pair(folders)
                failures += sum(failed)
                for folder, has_failed in zip(folders, failed):
                    if has_failed and folders[0] != folders[1]:
                        self.check_trace_tells(folder)
        self.figure(f"{rounds} pairs of runs on {PRODUCTS} products: in {failures} of them one came second to a value "
                    "and said so")
        if self.machine.WORLD == "native":
            self.assertEqual(failures, 0, "the second run waits for the first one's end")


@only_on("native")
class TwoMachinesWithOneFile(AttackCase):
    """By links two machines may have the same registry file, and locks of their own."""

    def setUp(self):
        super().setUp()
        self.load(marked_products(PRODUCTS))
        self.old = self.machine.file.read_bytes()
        self.check_completed(self.machine.run("tool.exe /unblock"))
        self.new = self.machine.file.read_bytes()
        self.shared = self.machine.folder / "shared.reg"
        self.roots = [self.machine.folder / name for name in ("one", "two")]
        for root in self.roots:
            root.mkdir()
            (root / "registry.reg").symlink_to(self.shared)

    def slow_run(self, root, call, milliseconds):
        """A run that pauses before each call of that name."""
        return killing.traced(["-o", "/dev/null", f"-etrace={call}", f"-einject={call}:delay_enter={milliseconds}ms"],
                              [self.machine.program, "/unblock"], self.machine.folder, {"ZUM_HOST_ROOT": str(root)})

    def check_shared_is_whole(self, when):
        self.assertIn(self.shared.read_bytes(), (self.old, self.new), when)

    def test_file_is_whole_at_every_moment(self):
        """The first run pauses with its new file ready, the second one begins to write its own meanwhile."""
        if reason := killing.why_not():
            self.skipTest(reason)
        for first, second in (("rename", "write"), ("write", "rename"), ("fsync", "fchmod")):
            with self.subTest(first=first, second=second):
                self.shared.write_bytes(self.old)
                with concurrent.futures.ThreadPoolExecutor(2) as pool:
                    runs = [pool.submit(self.slow_run, self.roots[0], first, 150),
                            pool.submit(self.slow_run, self.roots[1], second, 250)]
                    while not all(run.done() for run in runs):
                        self.check_shared_is_whole("while they run")
                for run in runs:
                    self.assertEqual(run.result(), (0, b"Completed", b""))
                self.assertEqual(self.shared.read_bytes(), self.new)
                self.assertFalse(self.shared.with_name("shared.reg.new").exists())
        self.assertEqual({name.name for name in self.machine.folder.iterdir()},
                         {"host", "one", "shared.reg", "traces", "two"})
