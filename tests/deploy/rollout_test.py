#!/usr/bin/env python3
"""Plays deploy/ansible/stand_ins.yml on stand-ins, some broken, and sees what becomes of each.

    rollout_test.py COUNT FOLDER_OF_PROGRAMS

Only rehearsed, then repaired, then once more: the second time nothing is to be changed.
"""

import csv
import hashlib
import json
import pathlib
import sys
import tempfile
import time
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "e2e"))

import jsonschema  # noqa: E402
import reg_file  # noqa: E402
import registry_rule  # noqa: E402
import stand_ins  # noqa: E402
from play import PROJECT, play  # noqa: E402
from stand_ins import KINDS  # noqa: E402

SCHEMA = json.loads((PROJECT / "docs/rehearsal.schema.json").read_text(encoding="utf-8"))
MARKED = ("marked", "half")


class Rollout(unittest.TestCase):
    maxDiff = None
    count = 10
    programs = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="zum-rollout-")
        self.addCleanup(folder.cleanup)
        self.fleet = pathlib.Path(folder.name) / "fleet"
        self.results = pathlib.Path(folder.name) / "results"
        self.kinds = stand_ins.make_all(self.count, self.fleet)
        self.began = self.states()

    def play(self, *arguments):
        start = time.monotonic()
        played = play("stand_ins", self.fleet / "inventory.yml", self.results, "-e", f"zum_programs={self.programs}",
                      *arguments)
        print(f"{len(self.kinds)} stand-ins{' '.join(['', *arguments])}: {time.monotonic() - start:.0f} s")
        return played

    def states(self):
        """Stand-in -> the bytes of its registry."""
        files = {name: self.fleet / name / "registry.reg" for name in self.kinds}
        return {name: file.read_bytes() if file.exists() else None for name, file in files.items()}

    def check_rows(self, played, expected):
        """`expected`: kind -> the three statuses, and how the outcome begins."""
        rows = played.rows()
        self.assertEqual(list(rows), list(self.kinds))
        for name, row in rows.items():
            *statuses, outcome = expected(self.kinds[name])
            self.assertEqual(row[:3], statuses, (name, row))
            self.assertTrue(row[3].startswith(outcome), (name, row, outcome))

    def check_failures(self, played, kinds):
        names = [name for name, kind in self.kinds.items() if kind in kinds]
        self.assertEqual(played.named_as_failed(), names)
        self.assertEqual(played.status, 2 if names else 0, played.output)

    def check_reports(self, played):
        """Each machine's rehearsals, against the schema and the table; the statuses stand there in this order."""
        for file, column in (("before.jsonl", 0), ("after.jsonl", 2)):
            reports = [json.loads(line) for line in (played.folder / file).read_text("utf-8").splitlines()]
            for report in reports:
                jsonschema.validate(report, SCHEMA)
            wanted = {name: row[column] for name, row in played.rows().items() if row[column] != "-"}
            self.assertTrue(wanted, file)
            self.assertEqual([(report["machine"], str(report["status"])) for report in reports], list(wanted.items()), file)

    def check_page(self, played):
        """One page and one CSV file, with every machine in both."""
        with (played.folder / "fleet.csv").open(encoding="utf-8", newline="") as file:
            found = {row["machine"]: row["status"] for row in csv.DictReader(file)}
        self.assertEqual(found, {name: KINDS[kind].before.replace("-", "2") if kind != "unreachable" else "2"
                                 for name, kind in self.kinds.items()})
        page = (played.folder / "fleet.html").read_text(encoding="utf-8")
        for name in self.kinds:
            self.assertIn(f">{name}<", page)

    def check_registries(self):
        now = self.states()
        for name, kind in self.kinds.items():
            if kind not in MARKED:
                self.assertEqual(now[name], self.began[name], name)
                continue
            file = self.fleet / name / "registry.reg"
            wanted, _ = registry_rule.rewrite(stand_ins.branch_of(kind))
            found = {path: values for path, values in reg_file.read(file).items() if path in wanted}
            self.assertEqual(found, wanted, name)

    def check_repairs(self, played):
        """What is kept of each repair."""
        for name, kind in self.kinds.items():
            folder = played.folder / "repairs" / name
            self.assertEqual(len(list(folder.glob("*.log"))), int(KINDS[kind].unblock != "-"), name)
            if kind in MARKED:
                self.assertIn('"LocalPackageNotExist"=', (folder / "undo.reg").read_bytes().decode("utf-16"))
                self.assertEqual((played.folder / "exports" / name / "installer.reg").read_bytes(), self.began[name])

    def test_rehearse_repair_and_once_more(self):
        if self.count <= 20:
            planned = self.play("--check")
            self.check_rows(planned, lambda kind: (KINDS[kind].before, "-", "-", KINDS[kind].planned))
            self.check_failures(planned, [kind for kind in KINDS if KINDS[kind].planned.startswith("FAILED")])
            self.assertEqual(set(planned.changed().values()), {0})
            self.assertEqual(self.states(), self.began)

        first = self.play()
        self.check_rows(first, lambda kind: (KINDS[kind].before, KINDS[kind].unblock, KINDS[kind].after,
                                             KINDS[kind].outcome))
        self.check_failures(first, [kind for kind in KINDS if KINDS[kind].fails])
        self.assertEqual(first.changed() | {"localhost": 0},
                         {name: int(kind in MARKED) for name, kind in self.kinds.items()} | {"localhost": 0})
        self.check_reports(first)
        self.check_page(first)
        self.check_registries()
        self.check_repairs(first)

        kept = self.digests(first.folder)
        second = self.play()
        self.check_rows(second, lambda kind: ("0", "-", "-", "nothing to do") if kind in MARKED else (
            KINDS[kind].before, KINDS[kind].unblock, KINDS[kind].after, KINDS[kind].outcome))
        self.assertEqual(set(second.changed().values()), {0})
        self.assertEqual(self.digests(first.folder), kept)
        self.check_registries()

    @staticmethod
    def digests(folder):
        return {file: hashlib.sha256(file.read_bytes()).digest() for file in sorted(folder.rglob("*")) if file.is_file()}


if __name__ == "__main__":
    if len(sys.argv) != 3 or not sys.argv[1].isdigit():
        sys.exit(__doc__)
    Rollout.count = int(sys.argv[1])
    Rollout.programs = pathlib.Path(sys.argv[2]).resolve()
    unittest.main(argv=sys.argv[:1], verbosity=2)
