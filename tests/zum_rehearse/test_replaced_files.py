"""The files that are asked for take their place as a whole: what becomes of a file, a link or a pipe that is there."""

import os
import pathlib
import resource
import shutil
import subprocess
import tempfile
import threading

from products import MARKED, key_name, product
from rehearsal_cases import PROGRAM, RehearsalCase, only_on

BRANCH = product(key_name(1), MARKED, {})
OPTIONS = ("--undo", "--changes", "--html")
OLD = b"an older file"


@only_on("native")
class ReplacedFiles(RehearsalCase):
    def setUp(self):
        super().setUp()
        self.export_file = self.export(BRANCH)
        self.target = self.machine.folder / "target"

    def is_new(self, data):
        return data.startswith((b"\xff\xfe", b"<!DOCTYPE html>")) and data.endswith((b"\n\0", b"</html>\n"))

    def check_no_leftovers(self):
        self.assertEqual(list(self.machine.folder.glob("*.new")), [])

    def test_old_file_is_replaced_behind_its_link_and_keeps_its_rights(self):
        link = self.machine.folder / "link"
        link.symlink_to("target")
        for option in OPTIONS:
            with self.subTest(option):
                self.target.write_bytes(OLD)
                self.target.chmod(0o604)
                self.assertEqual(self.call(self.export_file, option, link).returncode, 1)
                self.assertTrue(self.is_new(self.target.read_bytes()))
                self.assertEqual(self.target.stat().st_mode & 0o777, 0o604)
                self.assertTrue(link.is_symlink())
                self.check_no_leftovers()

    def test_link_that_leads_nowhere_gets_its_file(self):
        link = self.machine.folder / "link"
        link.symlink_to("target")
        for option in OPTIONS:
            with self.subTest(option):
                self.target.unlink(missing_ok=True)
                self.assertEqual(self.call(self.export_file, option, link).returncode, 1)
                self.assertTrue(link.is_symlink())
                self.assertTrue(self.is_new(self.target.read_bytes()))

    def test_pipe_is_written_to(self):
        os.mkfifo(self.target)
        for option in OPTIONS:
            with self.subTest(option):
                found = []
                reader = threading.Thread(target=lambda kept=found: kept.append(self.target.read_bytes()))
                reader.start()
                self.assertEqual(self.call(self.export_file, option, self.target).returncode, 1)
                reader.join(60)
                self.assertTrue(self.target.is_fifo())
                self.assertTrue(self.is_new(found[0]))

    def test_old_file_stays_where_the_new_one_has_no_room(self):
        for option in OPTIONS:
            with self.subTest(option):
                self.target.write_bytes(OLD)
                done = subprocess.run([PROGRAM, self.export_file, option, self.target], stdout=subprocess.PIPE,
                                      stderr=subprocess.PIPE, check=False, timeout=60, restore_signals=False,
                                      preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100)))
                self.assertEqual(done.returncode, 2)
                reason = b"the page can't be written" if option == "--html" else b"File too large"
                self.assertEqual(done.stderr, b"zum_rehearse: " + os.fsencode(self.target) + b": " + reason + b"\n")
                self.assertEqual(self.target.read_bytes(), OLD)
                self.check_no_leftovers()

    def test_rights_of_file_and_folder(self):
        """A file that may not be written to stays, though its folder would let it be replaced; one that may be is
        written to where its folder takes no other file."""
        for folder_mode, file_mode, is_replaced in ((0o777, 0o444, False), (0o555, 0o666, True), (0o555, 0o444, False)):
            folder = pathlib.Path(tempfile.mkdtemp(prefix="zum-rehearse-", dir="/tmp"))
            self.addCleanup(shutil.rmtree, folder)
            target = folder / "target"
            for option in OPTIONS:
                with self.subTest(option, folder=oct(folder_mode), file=oct(file_mode)):
                    folder.chmod(0o755)
                    target.write_bytes(OLD)
                    target.chmod(file_mode)
                    folder.chmod(folder_mode)
                    done = self.call_without_rights(self.export_file, option, target)
                    self.assertEqual(done.returncode, 1 if is_replaced else 2, done.stderr)
                    data = target.read_bytes()
                    self.assertTrue(self.is_new(data) if is_replaced else data == OLD, data)
                    folder.chmod(0o755)
                    self.assertEqual([path.name for path in folder.iterdir()], ["target"])
