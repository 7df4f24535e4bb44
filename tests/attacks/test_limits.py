"""Large, full and missing things: what is done to the last byte, and what is done without."""

import os
import pathlib
import re
import resource
import subprocess
import tempfile
import unittest.mock

import machines
import pipeline
from attack_cases import (CLASSES, MARKED_VALUE, REHEARSE, USER_DATA, AttackCase, amount, marked_products,
                          only_on, products, reg_file, registry_rule)
from test_files import applied

NATIVE = os.environ.get("ZUM_WORLD") == "native"
LONG_PATH = "C:\\" + "\\".join(["folder789"] * 3200)
FULL_AT = 4096  # bytes of a trace, and no more


class Limits(AttackCase):
    def check_unblock(self, branch, *options):
        before = self.load(branch)
        self.check_completed(self.machine.run(" ".join(["tool.exe", *options, "/unblock"])))
        expected, updates = registry_rule.rewrite(before)
        self.assertNotEqual(expected, before)
        self.check_branch(self.machine.dump(), expected)
        return updates

    def check_rehearsal(self, branch):
        """Its file of the changes makes of the branch what the rule makes of it."""
        changes = self.machine.folder / "changes.reg"
        if NATIVE:
            export = self.machine.folder / "export.reg"
            reg_file.write(export, {USER_DATA: {}, CLASSES: {}} | branch)
            status = subprocess.run([REHEARSE, "--json", f"--changes={changes}", export], stdout=subprocess.DEVNULL,
                                    check=False, timeout=240).returncode
        else:
            self.load(branch)
            status = self.machine.run(f"zum_rehearse.exe --json --changes={self.machine.windows_path(changes)}",
                                      program=REHEARSE).status
        self.assertEqual(status, 1)  # under Wine too: so long a path can't be looked at, and so isn't missing
        expected = registry_rule.rewrite(branch)[0]
        self.check_branch(applied(branch, changes.read_bytes()), expected)

    def test_ten_thousand_products(self):
        """Half of them marked, with two values each."""
        count = amount(1000, 10_000)
        branch = marked_products(count // 2)
        for number in range(count // 2, count):
            branch |= products.product(products.key_name(number), products.ORDINARY, products.ORDINARY_NAME)
        updates = self.check_unblock(branch, self.trace_option)
        self.assertEqual(len(updates), count)
        self.assertEqual(sum("update " in text for _, text in self.trace_records()), count)
        self.figure(f"{count} products")

    def test_value_of_a_megabyte(self):
        text = "C:\\" + "x" * (2**19 - 4)
        value = (registry_rule.SZ, registry_rule.sz(text))
        self.assertEqual(len(value[1]), 2**20)
        branch = products.product(products.key_name(1), {MARKED_VALUE: value}, products.MARKED_NAME)
        self.check_rehearsal(branch)
        self.check_unblock(branch)

    def test_package_path_of_32000_characters(self):
        self.assertEqual(len(LONG_PATH), 32_002)
        value = (registry_rule.SZ, registry_rule.sz(LONG_PATH))
        branch = products.product(products.key_name(1), {MARKED_VALUE: value}, products.MARKED_NAME)
        self.check_rehearsal(branch)
        self.check_unblock(branch)

    def test_trace_directory_of_32000_characters(self):
        """None can be made with such a name here: the run goes on untraced."""
        self.check_unblock(marked_products(1), "--trace-output=" + LONG_PATH)

    def run_without_a_temporary_directory(self, command_line, program=None):
        if NATIVE:
            nowhere = {name: "C:\\nowhere" for name in ("TMP", "TEMP")} | {"TMPDIR": "/nowhere"}
            with unittest.mock.patch.dict(os.environ, nowhere):
                return self.machine.run(command_line, program=program)
        # The system takes these two from the user's settings, whatever the caller's environment says.
        path = self.machine.windows_path(program or self.machine.program)
        arguments = command_line.partition(" ")[2]
        return self.machine.run(f"cmd.exe /c set TMP=C:\\nowhere&set TEMP=C:\\nowhere&{path} {arguments}",
                                program="C:\\windows\\system32\\cmd.exe")

    def test_no_temporary_directory(self):
        before = self.load(marked_products(1))
        if NATIVE:
            export = self.machine.folder / "export.reg"
            reg_file.write(export, {USER_DATA: {}, CLASSES: {}} | marked_products(1))
            outcome = self.run_without_a_temporary_directory(f"zum_rehearse --json {export}", REHEARSE)
        else:
            outcome = self.run_without_a_temporary_directory("zum_rehearse.exe --json", REHEARSE)
        self.assertEqual(outcome.status, 1 if NATIVE else 4, outcome.errors)
        self.check_completed(self.run_without_a_temporary_directory("tool.exe /unblock"))
        self.check_branch(self.machine.dump(), registry_rule.rewrite(before)[0])


class FullDisk(AttackCase):
    """The trace's disk takes no more bytes: the trace ends there, and the run is what it is without one."""

    PRODUCTS = 60

    def check_full(self, trace, status, output):
        self.assertEqual((status, output), (0, b"Completed"))
        self.check_branch(self.machine.dump(), registry_rule.rewrite(self.before)[0])
        self.assertEqual(len(trace), FULL_AT)
        self.assertTrue(trace.startswith(b"TVX TRACE FILE\t"), trace[:80])

    def setUp(self):
        super().setUp()
        self.before = self.load(marked_products(self.PRODUCTS))

    @only_on("native")
    def test_full_disk_ends_the_trace(self):
        """A disk of one page, in a mount namespace of its own."""
        if os.geteuid() != 0:
            self.skipTest("a disk of a known size can be mounted by root only")
        copy = self.machine.folder / "trace"
        script = 'mount -t tmpfs -o size=4k none "$1" || exit 99; "$2" "$3" /unblock; s=$?; cat "$1"/*.log >"$4"; exit $s'
        done = subprocess.run(["unshare", "-m", "sh", "-c", script, "sh", self.traces, self.machine.program,
                               self.trace_option, copy], stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False,
                              env=os.environ | {"ZUM_HOST_ROOT": str(self.machine.root)}, timeout=60)
        if done.returncode == 99 or b"unshare failed" in done.stderr:
            self.skipTest("nothing can be mounted here: " + done.stderr.decode().strip())
        self.check_full(copy.read_bytes(), done.returncode, done.stdout)

    @only_on("windows")
    def test_limited_file_ends_the_trace(self):
        """The server has the registry's files, and no limit; the program's own files end there."""
        with tempfile.TemporaryFile() as output:
            done = subprocess.run([machines.PROJECT / "scripts/wine-run.sh", self.machine.program, self.trace_option,
                                   "/unblock"], stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.DEVNULL,
                                  check=False, timeout=60, restore_signals=False,  # SIGXFSZ stays ignored
                                  preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (FULL_AT, FULL_AT)))
            output.seek(0)
            self.check_full(self.trace_bytes(), done.returncode, output.read())


class LongTrace(AttackCase):
    def test_each_of_a_million_records_is_there(self):
        count = amount(5_000, 1_000_000)
        file = self.traces / "trace.log"
        writer = pathlib.Path(os.environ["ZUM_TRACE_WRITER"])
        if NATIVE:
            subprocess.run([writer, f"Z:{file}", str(count)], check=True, timeout=600)
        else:
            self.machine.wine(writer, self.machine.windows_path(file), str(count), timeout=1800)
        with open(file, "rb") as lines:
            head = [next(lines) for _ in range(5)]
            self.assertTrue(head[0].startswith(b"TVX TRACE FILE\t"), head)
            form = re.compile(rb"\d\d:\d\d:\d\d\.\d{3}\t0x[0-9a-f]+\tINF\tattack\trecord (\d+) is whole\r\n")
            for number in range(count):
                line = next(lines)
                match = form.fullmatch(line)
                self.assertTrue(match and int(match.group(1)) == number, (number, line))
            self.assertTrue(next(lines).startswith(b"End of trace file, time: "))
            self.assertEqual(lines.read(), b"")
        self.figure(f"{count} records, {file.stat().st_size} bytes")


class PipelineLimits(pipeline.PipelineCase):
    """The whole correction, by the caller of the end-to-end suite."""

    def check_refused(self, outcome, failure):
        self.check_code(outcome, failure)
        self.check_branch(self.machine.dump(), self.before)

    def setUp(self):
        super().setUp()
        self.before = self.load(marked_products(1))

    def test_package_path_of_32000_characters(self):
        self.check_refused(self.correct(f"/installmsi {LONG_PATH}\\p.msi /qn"), pipeline.SIGNATURE_CHECK_FAILED)

    def test_no_temporary_directory(self):
        package = self.folder / "p.msi"
        package.write_bytes(b"not a package")
        outcome = Limits.run_without_a_temporary_directory(
            self, f"caller.exe /installmsi {self.path_on_c(package)} /qn", self.caller)
        self.check_refused(outcome, pipeline.DROP_FILES_FAILED)
