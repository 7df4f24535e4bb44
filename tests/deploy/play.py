"""Runs the plays of deploy/ansible, and reads what they say."""

import dataclasses
import os
import pathlib
import re
import subprocess

PROJECT = pathlib.Path(__file__).resolve().parent.parent.parent
PLAYS = PROJECT / "deploy/ansible"
# All stand-ins are on this machine, so more at a time than it has processors for only get in each other's way.
ENVIRONMENT = {"ANSIBLE_NOCOLOR": "1", "ANSIBLE_FORKS": str(2 * (os.cpu_count() or 1))}


@dataclasses.dataclass
class Played:
    status: int
    output: str
    folder: pathlib.Path  # the results of this run

    def rows(self):
        """Machine -> [before, /unblock, after, outcome] of the table."""
        lines = (self.folder / "outcomes.txt").read_text(encoding="utf-8").splitlines()
        return {line.split(None, 1)[0]: line.split(None, 4)[1:] for line in lines[1:lines.index("")]}

    def changed(self):
        """Machine -> how many changes the recap counts for it."""
        recap = self.output[self.output.index("PLAY RECAP"):]
        return {name: int(count) for name, count in re.findall(r"^(\S+) +: .*changed=(\d+)", recap, re.M)}

    def named_as_failed(self):
        found = re.search(r"machines failed: ([^\"]*)\"", self.output)
        return found.group(1).split(", ") if found else []


def play(name, inventory, results, *arguments, environment=None):
    before = set(results.glob("*"))
    done = subprocess.run(
        ["ansible-playbook", "-i", inventory, f"{name}.yml", "-e", f"zum_outcomes_results={results}", *arguments],
        cwd=PLAYS, env=os.environ | ENVIRONMENT | (environment or {}), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT, text=True, timeout=1500, check=False)
    made = set(results.glob("*")) - before
    if len(made) != 1:
        raise AssertionError(f"the play made {len(made)} folders of results:\n{done.stdout}")
    return Played(done.returncode, done.stdout, made.pop())
