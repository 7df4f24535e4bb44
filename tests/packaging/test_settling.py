"""What scripts/package.sh settles before it builds: version, time and commit; and what it refuses."""

import os
import shutil
import subprocess
import unittest

from package_files import PROJECT, WORK, run

SETTLE = """. scripts/lib/common.sh
. scripts/lib/packages.sh
settle_source
echo "$version|$SOURCE_DATE_EPOCH|${ZUM_SOURCE_COMMIT:-}"
"""
ENVIRONMENT = {name: value for name, value in os.environ.items() if name != "SOURCE_DATE_EPOCH"} | {
    "GIT_AUTHOR_NAME": "x", "GIT_AUTHOR_EMAIL": "x@x.invalid", "GIT_COMMITTER_NAME": "x",
    "GIT_COMMITTER_EMAIL": "x@x.invalid", "GIT_COMMITTER_DATE": "1600000000 +0000"}


class Settling(unittest.TestCase):
    def setUp(self):
        self.tree = WORK / f"a tree {self._testMethodName}"
        for name in ("scripts/lib/common.sh", "scripts/lib/packages.sh", "scripts/package.sh"):
            (self.tree / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(PROJECT / name, self.tree / name)
        self.write("3.2.1, unreleased")

    def write(self, heading):
        (self.tree / "CMakeLists.txt").write_text("project(zum_setup_util VERSION 3.2.1 LANGUAGES CXX)\n",
                                                  encoding="ascii")
        (self.tree / "CHANGELOG.md").write_text(f"# Changelog\n\n## {heading}\n\n- Something.\n", encoding="ascii")

    def settle(self, **environment):
        done = subprocess.run(["bash", "-euc", SETTLE], cwd=self.tree, capture_output=True, text=True, check=False,
                              env=ENVIRONMENT | environment)
        return done.stdout.strip() if done.returncode == 0 else done.stderr.strip()

    def commit(self):
        for words in (["init", "-q"], ["add", "-A"], ["commit", "-q", "-m", "x"]):
            run("git", *words, cwd=self.tree, env=ENVIRONMENT)
        return run("git", "rev-parse", "HEAD", cwd=self.tree).strip()

    def testWithoutHistoryTheTimeIsTheOldestOne(self):
        self.assertEqual(self.settle(), "3.2.1|315532800|")

    def testTheCommitsTime(self):
        commit = self.commit()
        self.assertEqual(self.settle(), f"3.2.1|1600000000|{commit}")

    def testChangesThatArentCommittedAreTold(self):
        commit = self.commit()
        (self.tree / "CHANGELOG.md").write_text("## 3.2.1, unreleased\n", encoding="ascii")
        self.assertEqual(self.settle(), f"3.2.1|1600000000|{commit}, with changes that aren't committed")

    def testTheReleasesDateComesBeforeTheCommits(self):
        self.write("3.2.1, 2026-11-22")
        commit = self.commit()
        self.assertEqual(self.settle(TZ="Asia/Tokyo"), f"3.2.1|1795305600|{commit}")

    def testTheCallersTimeComesFirst(self):
        self.write("3.2.1, 2026-11-22")
        self.assertEqual(self.settle(SOURCE_DATE_EPOCH="1700000000"), "3.2.1|1700000000|")

    def testAChangelogOfAnotherVersionIsRefused(self):
        self.write("3.2.0, 2026-11-22")
        self.assertEqual(self.settle(), 'the changelog begins with "## 3.2.0, 2026-11-22", and the version is 3.2.1')

    def testADateThatIsNoneIsRefused(self):
        self.write("3.2.1, soon")
        self.assertIn("the release's date in CHANGELOG.md is no date: soon", self.settle())

    def testWrongUsageIsRefused(self):
        some = str(self.tree / "CMakeLists.txt")
        for words in (["planted"], ["--sign"], ["--sign", some], ["--sign", some, "/no/such/key"], ["--timestamp", "x"],
                      ["debian", "--sign", some, some], ["--output"], ["win32", "debian"]):
            done = subprocess.run(["bash", self.tree / "scripts/package.sh", *words], capture_output=True, text=True,
                                  check=False, cwd=self.tree)
            self.assertEqual(done.returncode, 2, words)
            self.assertIn("usage: scripts/package.sh", done.stderr)
