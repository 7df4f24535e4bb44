"""Many machines in one call."""

import os
import pathlib
import pty
import resource
import subprocess
import sys
import time

from products import MARKED, ORDINARY, key_name, product
from rehearsal_cases import PROGRAM, PROJECT, RehearsalCase, is_sanitized, only_on


@only_on("native")
class Scale(RehearsalCase):
    def machines(self, count):
        """Folders whose exports are links to three files; every seventh is marked, every tenth torn."""
        files = {"plain": self.export(product(key_name(1), ORDINARY, {}), "files/plain.reg"),
                 "marked": self.export(product(key_name(1), MARKED, {}), "files/marked.reg"),
                 "torn": self.export({}, "files/torn.reg")}
        files["torn"].write_bytes(b"no export")
        kinds = ["torn" if i % 10 == 9 else "marked" if i % 7 == 3 else "plain" for i in range(count)]
        for i, kind in enumerate(kinds):
            folder = self.machine.folder / f"m{i:05}"
            folder.mkdir()
            (folder / "x.reg").symlink_to(files[kind])
        (self.machine.folder / "list").write_text("".join(f"m{i:05}\n" for i in range(count)))
        return kinds

    def test_a_hundred_machines_come_in_the_order_of_the_call(self):
        kinds = self.machines(100)
        done = self.call("--json", "--folders-from", "list")
        found = self.parse(done.stdout)
        self.assertEqual([each["machine"] for each in found], [f"m{i:05}" for i in range(100)])
        self.assertEqual([each["status"] for each in found],
                         [{"torn": 2, "marked": 1, "plain": 0}[kind] for kind in kinds])
        self.assertEqual(done.returncode, 2)
        self.assertEqual(len(done.stderr.splitlines()), kinds.count("torn"))

    def test_without_a_second_process_it_says_why(self):
        if is_sanitized():
            self.skipTest("the sanitizers need files of their own")
        self.machines(2)
        done = subprocess.run([PROGRAM, "m00000", "m00001"], cwd=self.machine.folder, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, check=False, timeout=60, restore_signals=False,
                              preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (4, 4)))
        self.assertEqual((done.returncode, done.stdout), (2, b""))
        self.assertEqual(done.stderr, b"zum_rehearse: a worker can't be started: Too many open files\n")

    def test_a_process_that_is_killed_costs_one_machine(self):
        self.machines(6)
        pipe = self.machine.folder / "m00001/x.reg"
        pipe.unlink()
        os.mkfifo(pipe)  # whoever reads it waits
        call = subprocess.Popen([PROGRAM, "--json", "--folders-from", "list"], stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, cwd=self.machine.folder)
        os.kill(self.waiting_child(call.pid), 9)
        output, errors = call.communicate(timeout=60)
        found = self.parse(output)
        self.assertEqual([each["status"] for each in found], [0, 2, 0, 1, 0, 0])
        self.assertEqual(found[1]["error"], "the process that rehearsed this machine ended before it was done")
        self.assertEqual((call.returncode, errors.count(b"\n")), (2, 1))

    def test_a_terminal_is_told_how_far_it_is(self):
        self.machines(6)
        pipe = self.machine.folder / "m00003/x.reg"
        pipe.unlink()
        os.mkfifo(pipe)
        master, slave = pty.openpty()
        start = time.monotonic()
        call = subprocess.Popen([PROGRAM, "--json", "--folders-from", "list"], stdout=subprocess.DEVNULL, stderr=slave,
                                cwd=self.machine.folder)
        os.close(slave)
        told = b""
        while b"of 6 machines" not in told:
            told += os.read(master, 1000)
        # Nothing before the work has taken a second.
        self.assertGreaterEqual(time.monotonic() - start, 1)
        self.assertRegex(told, rb"^\r  3 of 6 machines")
        pipe.write_bytes(b"no export")
        call.wait(60)
        try:
            while chunk := os.read(master, 1000):
                told += chunk
        except OSError:  # the other side is closed
            pass
        os.close(master)
        self.assertIn(b"\r\x1b[K", told)
        self.assertEqual(call.returncode, 2)

    @staticmethod
    def waiting_child(parent):
        """The process that waits for the pipe's other end."""
        for _ in range(600):
            for child in pathlib.Path(f"/proc/{parent}/task/{parent}/children").read_text().split():
                try:
                    if pathlib.Path(f"/proc/{child}/wchan").read_text() in ("wait_for_partner", "fifo_open"):
                        return int(child)
                except OSError:
                    pass
            time.sleep(0.05)
        raise AssertionError("no worker waits for the pipe")

    def benchmark(self, program):
        return subprocess.run([sys.executable, PROJECT / "scripts/lib/bench_rehearse.py", program,
                               self.machine.folder / "bench", "--machines", "20", "--megabytes", "1"],
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=300, check=False, text=True)

    def test_the_benchmark_measures_a_small_fleet_too(self):
        done = self.benchmark(PROGRAM)
        self.assertEqual(done.returncode, 0, done.stdout)
        for count in (2, 20):
            self.assertRegex(done.stdout, rf"(?m)^ +{count} machines: .*, status 1, {count} objects$")
        self.assertRegex(done.stdout, r"(?m)^ +one export of 1 MB: .*, status 1$")
        # What tells of no machine isn't measured.
        self.assertEqual(self.benchmark("/bin/true").returncode, 1)

    def test_memory_does_not_grow_with_the_machines(self):
        if is_sanitized():
            self.skipTest("the address sanitizer keeps freed memory, so the peak says nothing")
        self.machines(400)
        peaks = []
        for count in (20, 400):
            names = "".join(f"m{i:05}\n" for i in range(count))
            (self.machine.folder / "list").write_text(names)
            self.call("--json", "--folders-from", "list")
            peaks.append(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)
        self.assertLess(peaks[1], peaks[0] + 4096, "KiB")
