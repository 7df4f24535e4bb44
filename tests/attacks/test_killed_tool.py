"""The tool is killed. Natively the registry is a file: afterwards it is the old one or the new one, whole."""

import resource
import signal
import subprocess

import killing
from attack_cases import AttackCase, amount, marked_products, only_on

PRODUCTS = 60  # enough for a trace that is written in several pieces
LAST_CALLS = 7  # of those that change something: around the moment at which the new registry takes the old one's place


@only_on("native")
class KilledTool(AttackCase):
    def setUp(self):
        super().setUp()
        self.load(marked_products(PRODUCTS))
        self.old = self.machine.file.read_bytes()
        self.command = [self.machine.program, self.trace_option, "/unblock"]
        self.environment = {"ZUM_HOST_ROOT": str(self.machine.root)}
        self.check_completed(self.machine.run(f"tool.exe {self.trace_option} /unblock"))
        self.new = self.machine.file.read_bytes()
        self.assertNotEqual(self.old, self.new)

    def restore(self):
        for file in self.machine.root.glob("registry.*"):
            file.unlink()
        self.machine.file.write_bytes(self.old)
        self.clear_traces()

    def is_new(self):
        """Whether the registry's file is the new one; it must be the old one otherwise."""
        found = self.machine.file.read_bytes()
        self.assertIn(found, (self.old, self.new), f"the file is neither the old one nor the new one: {len(found)} bytes")
        return found == self.new

    def check_second_run(self):
        self.check_completed(self.machine.run("tool.exe /unblock"))
        self.assertEqual(self.machine.file.read_bytes(), self.new)
        self.assertEqual({file.name for file in self.machine.root.glob("registry.*")}, {"registry.reg", "registry.lock"})

    def chosen(self, moments):
        changing = [moment for moment in moments if moment.call in killing.CHANGING]
        few = changing[-LAST_CALLS:] + self.random.sample(changing[:-LAST_CALLS], 10 - LAST_CALLS)
        return amount(few, moments)

    def test_killed_at_a_system_call(self):
        if reason := killing.why_not():
            self.skipTest(reason)
        self.restore()
        moments = self.chosen(killing.moments_of(self.command, self.machine.folder, self.environment))
        outcomes = []
        for moment in moments:
            self.restore()
            with self.subTest(moment):
                status, _, _ = killing.kill_at(moment, self.command, self.machine.folder, self.environment)
                self.assertEqual(status, killing.KILLED)
                outcomes.append(self.is_new())
                self.check_second_run()
        # The new one is there from one call on, and both have been seen.
        self.assertGreater(outcomes.count(True), 0)
        self.assertGreater(outcomes.count(False), 0)
        self.figure(f"killed {len(moments)} times: {outcomes.count(False)} left the old registry, "
                    f"{outcomes.count(True)} the new one")

    def test_ended_in_the_middle_of_a_write(self):
        """The system ends a process whose file grows beyond its limit, when the bytes up to there are written."""
        sizes = {0, 1, len(self.new) // 2, len(self.new) - 1}
        sizes |= {self.random.randrange(len(self.new)) for _ in range(amount(0, 100))}
        for size in sorted(sizes):
            self.restore()
            with self.subTest(size=size):
                done = subprocess.run([self.machine.program, "/unblock"], stdout=subprocess.PIPE, check=False, timeout=60,
                                      env=self.environment, preexec_fn=lambda limit=size: self.limit_files(limit))
                self.assertEqual(done.returncode, -signal.SIGXFSZ)
                self.assertEqual((self.machine.root / "registry.reg.new").stat().st_size, size)
                self.assertFalse(self.is_new())
                self.check_second_run()
        self.figure(f"ended in the middle of {len(sizes)} writes of {len(self.new)} bytes")

    @staticmethod
    def limit_files(size):
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))
