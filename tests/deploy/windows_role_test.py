#!/usr/bin/env python3
"""Plays deploy/ansible/windows.yml with stand-ins for Windows and for its modules (windows_stand_in/).

    windows_role_test.py FOLDER_OF_PROGRAMS

The native programs do the work, unless a case wants an exit status that they can't have here. What is held is the way of
the role: what runs on which exit status, in which order, what is collected, and what the table says.
"""

import json
import os
import pathlib
import shutil
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True

import stand_ins  # noqa: E402
from play import play  # noqa: E402

MODULES = pathlib.Path(__file__).resolve().parent / "windows_stand_in"
EXPORTS = ["reg.exe export 1", "reg.exe export 2"]
REPAIR = ["rehearse", *EXPORTS, "undo", "copy", "/unblock", "rehearse"]

# Name -> kind of stand-in, scripted exit statuses (None: the program's own), how the outcome begins, what is called
# behind the copying of the rehearsal.
CASES = {
    "plain": ("plain", {}, "nothing to do", ["rehearse"]),
    "marked": ("marked", {}, "repaired", REPAIR),
    "left-alone": ("left-alone", {}, "LOOK: ", ["rehearse"]),
    "torn": ("torn", {}, "FAILED: not rehearsed", ["rehearse"]),
    "no-list": ("no-list", {}, "FAILED: /unblock would fail", ["rehearse"]),
    "no-rights": ("marked", {"zum_rehearse.exe": [5]}, "FAILED: the account lacks the rights", ["rehearse"]),
    "no-package": ("marked", {"zum_rehearse.exe": [4]}, "repaired, but a package is missing", REPAIR),
    "crashes": ("marked", {"zum_rehearse.exe": [-1073741515]}, "FAILED: Rehearse: ", ["rehearse"]),
    "no-export": ("marked", {"reg.exe": [1, 1]}, "FAILED: Export the registry branches: ", ["rehearse", *EXPORTS]),
    "changed-meanwhile": ("marked", {"zum_rehearse.exe": [None, 0]}, "FAILED: Write the file that takes it back: ",
                          ["rehearse", *EXPORTS, "undo"]),
    "unblock-fails": ("marked", {"zum_setup_util.exe": [-1585971197]}, "FAILED: /unblock failed", REPAIR),
    # As without rights: the tool ends with 0, and nothing is repaired.
    "completed-in-vain": ("marked", {"zum_setup_util.exe": [0]}, "FAILED: Completed, yet the rehearsal ends with 1",
                          REPAIR),
    "no-folder": ("marked", {}, "FAILED: Copy the rehearsal: ", None),
    "unreachable": ("unreachable", {}, "FAILED: not reached", None),
}
# What check mode says of some.
PLANNED = {"plain": "nothing to do", "marked": "would be repaired",
           "no-package": "would be repaired, but a package is missing"}


class WindowsRole(unittest.TestCase):
    maxDiff = None
    programs = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="zum-role-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        (self.folder / "programs").mkdir()
        for name in ("zum_rehearse", "zum_setup_util"):
            shutil.copy(self.programs / name, self.folder / "programs" / f"{name}.exe")
        for name, (kind, answers, _, _) in CASES.items():
            stand_ins.make(self.folder / name, kind)
            if name == "no-folder":
                (self.folder / name / "drive_c").touch()
            self.script(name, answers)
        kinds = {name: kind for name, (kind, *_) in CASES.items()}
        text = "".join(stand_ins.inventory(self.folder, kinds))
        text = text.replace("  vars:\n", "  vars:\n    zum_unblock_folder: '{{ zum_root }}/drive_c\\zum'\n", 1)
        (self.folder / "inventory.yml").write_text(text, encoding="utf-8")

    def script(self, name, answers):
        (self.folder / name / "answers.json").write_text(json.dumps(answers), encoding="ascii")

    def play(self, *arguments):
        return play("windows", self.folder / "inventory.yml", self.folder / "results",
                    "-e", f"zum_programs={self.folder}/programs", *arguments,
                    environment={"ANSIBLE_COLLECTIONS_PATH": f"{MODULES}:/usr/lib/python3/dist-packages"})

    def calls(self, name):
        """What ran on a stand-in, in short; None where nothing could."""
        log = self.folder / name / "calls.log"
        if not log.exists():
            return None
        found = []
        for line in log.read_text(encoding="utf-8").splitlines():
            if line.startswith("zum_rehearse.exe"):
                found.append("undo" if "--undo" in line else "rehearse")
                continue
            words = {"copy zum_rehearse.exe": None, "copy zum_setup_util.exe": "copy"}
            short = words.get(line, "/unblock" if line.endswith("/unblock") else line)
            if line.startswith("reg.exe export"):
                short = f"reg.exe export {2 if 'Classes' in line else 1}"
            if short:
                found.append(short)
        log.unlink()
        return found

    def test_rehearses_in_check_mode_and_repairs_where_the_rehearsal_says_so(self):
        self.check_plan()
        for name, (_, answers, _, _) in CASES.items():
            self.script(name, answers)
        played = self.play()
        self.check_rows(played)
        self.assertEqual(sorted(os.listdir(played.folder / "exports/marked")), ["installer-1.reg", "installer-2.reg"])
        log, undo = sorted(os.listdir(played.folder / "repairs/marked"), reverse=True)
        self.assertRegex(f"{undo} {log}", r"^undo\.reg zum-setup-util-.*-all\.log$")

        second = self.play("--limit", "marked,localhost")
        self.assertEqual(second.rows(), {"marked": ["0", "-", "-", "nothing to do"]})
        self.assertEqual(second.status, 0)
        self.assertEqual(self.calls("marked"), ["rehearse"])
        self.assertEqual(second.changed()["marked"], 0)

    def check_plan(self):
        before = {name: (self.folder / name / "registry.reg").read_bytes() for name in PLANNED}
        played = self.play("--check", "--limit", ",".join([*PLANNED, "localhost"]))
        self.assertEqual({name: row[3] for name, row in played.rows().items()}, PLANNED)
        for name in PLANNED:
            self.assertEqual(self.calls(name), ["rehearse"], name)
            self.assertEqual((self.folder / name / "registry.reg").read_bytes(), before[name])

    def check_rows(self, played):
        rows = played.rows()
        self.assertEqual(list(rows), list(CASES))
        for name, (_, _, outcome, calls) in CASES.items():
            self.assertTrue(rows[name][3].startswith(outcome), (name, rows[name]))
            self.assertEqual(self.calls(name), calls, name)
        self.assertEqual(played.named_as_failed(), [name for name, case in CASES.items() if case[2].startswith("FAILED")])
        self.assertEqual(played.status, 2)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    WindowsRole.programs = pathlib.Path(sys.argv[1]).resolve()
    unittest.main(argv=sys.argv[:1], verbosity=2)
