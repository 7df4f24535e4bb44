"""The base of the attacks: machines and products are the end-to-end suite's own, and some judges are the rehearsal's;
how much is done is asked here.

ZUM_ATTACKS=whole asks for all of it, otherwise a small part is done. ZUM_ATTACK_SEED repeats a run's random choices.
"""

import os
import pathlib
import random
import sys

PROJECT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path[:0] = [str(PROJECT / "tests/e2e"), str(PROJECT / "tests/zum_rehearse")]

import products  # noqa: E402
import reg_file  # noqa: E402
import registry_rule  # noqa: E402
from cases import MachineCase, is_listed, only_on  # noqa: E402,F401
from registry_rule import CLASSES, USER_DATA  # noqa: E402

WHOLE = os.environ.get("ZUM_ATTACKS") == "whole"
REHEARSE = pathlib.Path(os.environ.get("ZUM_REHEARSE", ""))
# The values that hold a product's package, before and after.
MARKED_VALUE, ORDINARY_VALUE = "LocalPackageNotExist", "LocalPackage"
MARKED_NAME = "PackageNameNotExist"
RESTORED_NAME = (registry_rule.SZ, registry_rule.sz("zum_win.msi"))


def amount(small, whole):
    return whole if WHOLE else small


def marked_products(count):
    """As many products with both values marked, each with a package of its own."""
    branch = {}
    for number in range(count):
        package = {MARKED_VALUE: (registry_rule.SZ, registry_rule.sz(f"C:\\Windows\\Installer\\{number:x}.msi"))}
        branch |= products.product(products.key_name(number), package, products.MARKED_NAME)
    return branch


class AttackCase(MachineCase):
    def setUp(self):
        super().setUp()
        self.seed = int(os.environ.get("ZUM_ATTACK_SEED") or random.SystemRandom().randrange(1, 100_000))
        self.random = random.Random(self.seed)

    def figure(self, text):
        """A line for whoever reads the outcome; scripts/test.sh collects them."""
        print(f"\nfigure: {self.id().partition('.')[2]}: {text} (seed {self.seed})")

    def clear_traces(self):
        for file in self.trace_files():
            file.unlink()

    def check_no_package_is_lost(self, before, found):
        """Each marked product's package stands under one of its two names at least, byte for byte, and the package's
        name too, be it the marked or the ordinary one. The count of the packages that are still marked."""
        still_marked = 0
        for path, values in before.items():
            there = found[path]
            if MARKED_VALUE in values:
                names = {name for name in (MARKED_VALUE, ORDINARY_VALUE) if there.get(name) == values[MARKED_VALUE]}
                self.assertNotEqual(names, set(), f"{path} has lost its package: {there}")
                self.assertLessEqual(set(there), {MARKED_VALUE, ORDINARY_VALUE}, path)
                still_marked += MARKED_VALUE in names
            if MARKED_NAME in values:
                self.assertTrue(there.get(MARKED_NAME) == values[MARKED_NAME] or there.get("PackageName") == RESTORED_NAME,
                                f"{path} has lost its package's name: {there}")
        return still_marked
