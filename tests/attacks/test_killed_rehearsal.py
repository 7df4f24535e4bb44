"""The native rehearsal is killed: what it reads stays as it was, and a file that it writes is whole or not there."""

import re

import killing
from attack_cases import CLASSES, REHEARSE, USER_DATA, AttackCase, amount, marked_products, only_on, reg_file

PRODUCTS = 30
TIME = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d UTC")
OLD = b"an older file"
WORKER_ENDED = b"the process that rehearsed this machine ended before it was done"
# What it makes, and how.
OUTPUTS = {"changes.reg": "--changes", "undo.reg": "--undo", "page.html": "--html"}


def without_time(data):
    encoding = "utf-16" if data[:2] == b"\xff\xfe" else "utf-8"
    return TIME.sub("TIME", data.decode(encoding))


@only_on("native")
class KilledRehearsal(AttackCase):
    def setUp(self):
        super().setUp()
        folder = self.machine.folder
        branch = {USER_DATA: {}, CLASSES: {}} | marked_products(PRODUCTS)
        self.inputs = [folder / "installer-1.reg", folder / "installer-2.reg"]
        for path, root in zip(self.inputs, (USER_DATA, CLASSES)):
            reg_file.write(path, {key: values for key, values in branch.items() if key.startswith(root)})
        self.load(marked_products(1))  # the host's own registry, with which the rehearsal has nothing to do
        self.kept = {path: path.read_bytes() for path in (*self.inputs, self.machine.file)}
        self.outputs = [folder / name for name in OUTPUTS]
        self.command = [REHEARSE, "--json", *(f"{option}={folder / name}" for name, option in OUTPUTS.items()),
                        f"--trace-output={self.traces}", *self.inputs]
        self.environment = {"ZUM_HOST_ROOT": str(self.machine.root)}
        status, self.printed, errors = killing.traced(["-o", "/dev/null"], self.command, folder, self.environment)
        self.assertEqual((status, errors), (1, b""))
        self.whole = {path: without_time(path.read_bytes()) for path in self.outputs}

    def restore(self, are_there):
        for path in self.machine.folder.glob("*.new"):
            path.unlink()
        for path in self.outputs:
            path.unlink(missing_ok=True)
            if are_there:
                path.write_bytes(OLD)
        self.clear_traces()

    def check_machine(self):
        for path, data in self.kept.items():
            self.assertEqual(path.read_bytes(), data, f"{path} was changed")
        self.assertEqual({path.name for path in self.machine.root.iterdir()}, {"registry.reg", "drive_c"})

    def count_whole(self, were_there, tells_of_a_worker=False):
        """How many outputs are the new ones; the others must be as they were."""
        count = 0
        for path in self.outputs:
            data = path.read_bytes() if path.exists() else None
            if data == (OLD if were_there else None):
                continue
            count += 1
            if tells_of_a_worker and path.suffix == ".html":
                self.assertTrue(data.startswith(b"<!DOCTYPE html>") and data.endswith(b"</html>\n"), data)
                self.assertIn(WORKER_ENDED, data)
            else:
                self.assertEqual(without_time(data), self.whole[path], f"{path} is not whole")
        return count

    def check_leftovers(self):
        """What was not finished has names that no importer takes."""
        known = {path.name for path in (*self.inputs, *self.outputs)} | {"host", "traces"}
        for path in self.machine.folder.iterdir():
            if path.name not in known:
                self.assertRegex(path.name, r"^(changes\.reg|undo\.reg|page\.html)\.\d+\.new$")

    def check_second_run(self):
        status, output, errors = killing.traced(["-o", "/dev/null"], self.command, self.machine.folder, self.environment)
        self.assertEqual((status, errors, output), (1, b"", self.printed))
        self.assertEqual(self.count_whole(were_there=True), len(self.outputs))

    def kill_all(self, follows):
        """Kills at each chosen call, of the first process or of each one; half of the runs find older files."""
        self.restore(False)
        moments = killing.moments_of(self.command, self.machine.folder, self.environment, follows)
        few = [moment for moment in moments if moment.call in killing.CHANGING]
        few = self.random.sample(few, min(len(few), 8)) + self.random.sample(
            [moment for moment in moments if moment.call in ("read", "recvfrom", "poll")], 2)
        killed, whole, none = 0, 0, 0
        for number, moment in enumerate(amount(few, moments)):
            were_there = number % 2 == 0
            self.restore(were_there)
            with self.subTest(moment):
                status, output, errors = killing.kill_at(moment, self.command, self.machine.folder, self.environment,
                                                         follows)
                killed += status == killing.KILLED
                if tells_of_a_worker := WORKER_ENDED in errors:
                    self.assertIn(status, (killing.KILLED, 2))
                else:
                    self.assertIn(status, (killing.KILLED, 1))
                    self.assertTrue(self.printed.startswith(output), "what was printed isn't the output's beginning")
                self.check_machine()
                self.check_leftovers()
                count = self.count_whole(were_there, tells_of_a_worker)
                whole += count == len(self.outputs)
                none += count == 0
                if number % amount(4, 20) == 0:
                    self.check_second_run()
        self.figure(f"{len(amount(few, moments))} runs, {killed} of them killed themselves: {none} left no new file, "
                    f"{whole} all of them")
        return killed

    def test_killed_at_a_system_call(self):
        if reason := killing.why_not():
            self.skipTest(reason)
        self.assertGreater(self.kill_all(follows=False), 5)

    def test_killed_with_those_that_it_started(self):
        if reason := killing.why_not():
            self.skipTest(reason)
        self.assertGreater(self.kill_all(follows=True), 2)
