#!/usr/bin/env python3
"""Makes stand-ins for Windows machines: folders with an exported registry, and the inventory of deploy/ansible for them.

    stand_ins.py COUNT FOLDER     FOLDER/pc-001 ... and FOLDER/inventory.yml; FOLDER mustn't be there

Some are broken on purpose; `KINDS` tells how, and what a rollout must come to for each.
"""

import dataclasses
import pathlib
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "e2e"))

import reg_file  # noqa: E402
from products import MARKED, ORDINARY, ORDINARY_NAME, key_name, product  # noqa: E402
from registry_rule import CLASSES, DWORD, SZ, USER_DATA, sz  # noqa: E402

PRODUCTS = 12  # on each machine, the protected one among them


@dataclasses.dataclass
class Kind:
    before: str  # the rehearsal's exit status, "-" where there is none
    unblock: str
    after: str
    outcome: str  # how the outcome in the table begins
    planned: str  # the same in check mode

    @property
    def fails(self):
        return self.outcome.startswith("FAILED")


KINDS = {
    "plain": Kind("0", "-", "-", "nothing to do", "nothing to do"),
    "marked": Kind("1", "0", "0", "repaired", "would be repaired"),
    "half": Kind("1", "0", "0", "repaired", "would be repaired"),
    # A mark of a type that the tool doesn't touch.
    "left-alone": Kind("0", "-", "-", "LOOK: marked, yet /unblock leaves it alone",
                       "LOOK: marked, yet /unblock leaves it alone"),
    "torn": Kind("2", "-", "-", "FAILED: not rehearsed", "FAILED: not rehearsed"),
    # The correction fails where there is no list of products.
    "no-list": Kind("3", "-", "-", "FAILED: /unblock would fail", "FAILED: /unblock would fail"),
    # The rehearsal has its own copy, while the tool can't open the registry at all.
    "locked": Kind("1", "3", "1", "FAILED: Failed: 0xa1780003 ", "would be repaired"),
    "no-registry": Kind("-", "-", "-", "FAILED: Export: ", "FAILED: Export: "),
    "unreachable": Kind("-", "-", "-", "FAILED: not reached", "FAILED: not reached"),
}
# The first ten have one of each; behind them every tenth is broken, in turn.
FIRST = ["plain", "marked", "half", "left-alone", "torn", "no-list", "locked", "no-registry", "unreachable", "marked"]
BROKEN = [kind for kind in FIRST if KINDS[kind].fails]


def kind_of(index):
    if index < len(FIRST):
        return FIRST[index]
    if index % 10 == 9:
        return BROKEN[index // 10 % len(BROKEN)]
    return ("plain", "marked", "marked", "half")[index % 4]


def name_of(index):
    return f"pc-{index + 1:03}"


def branch_of(kind):
    if kind == "no-list":
        return {USER_DATA.rpartition("\\")[0]: {}, CLASSES: {}}
    branch = {USER_DATA: {}, CLASSES: {}}
    for number in range(1, PRODUCTS):
        branch |= product(key_name(number), ORDINARY | {"DisplayName": (SZ, sz(f"Product {number}"))}, ORDINARY_NAME)
    name = {"DisplayName": (SZ, sz("ZUM Workstation")), "DisplayVersion": (SZ, sz("11.0.2.214"))}
    marked = {"LocalPackageNotExist": (DWORD, b"\1\0\0\0")} if kind == "left-alone" else MARKED
    if kind == "plain":
        return branch | product(key_name(0), ORDINARY | name, ORDINARY_NAME)
    hidden = {} if kind in ("half", "left-alone") else {"PackageNameNotExist": (SZ, sz("zum_win.msi"))}
    return branch | product(key_name(0), marked | name, hidden or ORDINARY_NAME)


def make(folder, kind):
    folder.mkdir()
    file = folder / "registry.reg"
    if kind != "no-registry":
        reg_file.write(file, branch_of(kind))
    if kind == "torn":
        file.write_bytes(file.read_bytes()[:-70])
    if kind == "locked":
        (folder / "registry.lock").mkdir()


def inventory(folder, kinds):
    yield "zum_machines:\n  vars:\n    ansible_connection: local\n    ansible_python_interpreter: /usr/bin/python3\n  hosts:\n"
    for name, kind in kinds.items():
        yield f"    {name}:\n      zum_root: {folder / name}\n"
        if kind == "unreachable":
            yield "      ansible_connection: ssh\n      ansible_host: 127.0.0.1\n      ansible_port: 1\n"


def make_all(count, folder):
    """Name of the stand-in -> its kind."""
    folder.mkdir(parents=True)
    kinds = {name_of(index): kind_of(index) for index in range(count)}
    for name, kind in kinds.items():
        make(folder / name, kind)
    (folder / "inventory.yml").write_text("".join(inventory(folder, kinds)), encoding="utf-8")
    return kinds


def main():
    if len(sys.argv) != 3 or not sys.argv[1].isdigit():
        print(__doc__, file=sys.stderr)
        return 2
    folder = pathlib.Path(sys.argv[2]).resolve()
    kinds = make_all(int(sys.argv[1]), folder)
    broken = sum(KINDS[kind].fails for kind in kinds.values())
    print(f"{len(kinds)} stand-ins, {broken} of them broken: {folder}/inventory.yml")
    return 0


if __name__ == "__main__":
    sys.exit(main())
