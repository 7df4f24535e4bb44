#!/usr/bin/env python3
"""Breaks the product's sources in small ways, one at a time on a copy, and sees whether a native test fails.

    mutate.py [--seed N] [--least N] [--count N] [--minutes N] [FILE ...]    goes on with the sample
    mutate.py --again [FILE ...]       tries those that survived once more, after tests were added
    mutate.py --all-tests              tries those that survived with all other native tests
    mutate.py --report                 prints the table by folder and by kind, and what survived
    mutate.py --show ID                prints a break as a patch
    mutate.py --equivalent ID REASON   notes that no test can tell, and why
    mutate.py --accept ID REASON       notes why one that survives may
    mutate.py --self-test              plants a strong and a weak test and tells them apart

The breaks and their outcomes are in tests/mutations.csv, which is written after each: a run may be ended at any moment,
and the next one goes on. FILE is a source, or a pattern of sources. The copy and its build are in build/mutation.
"""

import argparse
import collections
import difflib
import fcntl
import pathlib
import signal
import sys
import time

sys.dont_write_bytecode = True
PROJECT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(PROJECT / "scripts"))

from mutation import drawing, outcomes, self_test, source, suites, trial, workshop  # noqa: E402


def parse_options():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--least", type=int, default=6, help="breaks a file, as far as it has so many")
    parser.add_argument("--count", type=int, default=800, help="breaks of all files together")
    parser.add_argument("--minutes", type=float, default=0, help="no new break is begun after so long")
    parser.add_argument("--jobs", type=int, default=1, help="of the first build")
    for name in ("--again", "--all-tests", "--report", "--self-test"):
        parser.add_argument(name, action="store_true")
    for name in ("--equivalent", "--accept"):
        parser.add_argument(name, nargs=2, metavar=("ID", "REASON"))
    parser.add_argument("--show", metavar="ID")
    parser.add_argument("--project", type=pathlib.Path, default=PROJECT, help=argparse.SUPPRESS)
    parser.add_argument("files", nargs="*")
    return parser.parse_args()


def report(listed, found):
    rows = [row for row in listed.rows.values() if row.outcome in outcomes.COUNTED]
    print("\n".join(outcomes.table(rows, "folder", lambda row: row.file.rpartition("/")[0])), end="\n\n")
    print("\n".join(outcomes.table(rows, "kind", lambda row: row.kind)))
    left_out = collections.Counter(row.outcome for row in listed.rows.values())["uncompilable"]
    print(f"\n{left_out} more didn't compile; the code of {len(listed.stale(found))} in the list isn't there any more.")
    for row in rows:
        if row.outcome == "survived":
            print(f"{row.id} {row.file}:{row.line} {row.kind}: {row.before}  ->  {row.after}"
                  + (f"\n    {row.reason}" if row.reason else ""))


def judge(listed, name, outcome, reason):
    row = listed.rows.get(name)
    if row is None or row.outcome not in ("survived", "equivalent"):
        sys.exit(f"{name} isn't one that survived")
    row.outcome, row.reason = outcome, reason
    listed.save()


def show(project, broken):
    text = source.read(project / broken.file)
    sys.stdout.writelines(difflib.unified_diff(text.splitlines(True), broken.apply(text).splitlines(True),
                                               f"a/{broken.file}", f"b/{broken.file}"))


def prepare(options, listed):
    """The copy, built and seen to pass. None when another run has it."""
    shop = workshop.Workshop(options.project, options.project / "build/mutation")
    lock = open(shop.folder / "lock", "w", encoding="utf-8")
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except OSError:
        sys.exit("another run is at work in build/mutation")
    print("the copy is built", flush=True)
    shop.prepare(options.jobs)
    found = suites.load(shop)
    print(f"its {len(found)} suites are seen to pass", flush=True)
    if failing := suites.see_them_pass(found, shop):
        raise workshop.Unusable("fails without a break: " + ", ".join(failing))
    caught = collections.Counter((row.file, row.by.partition(":")[0]) for row in listed.rows.values() if row.by)
    return trial.Trials(shop, found, caught), lock


def chosen(options, found, listed):
    by_id = {broken.id: broken for group in found.values() for broken in group}
    if options.again or options.all_tests:
        return [by_id[row.id] for row in list(listed.rows.values())
                if row.outcome == "survived" and not row.reason and row.id in by_id]
    return drawing.draw(found, listed, options.seed, options.least, options.count)


def work(options, listed, found):
    if stale := listed.refresh(found) if not options.files else []:
        print(f"the code of {len(stale)} breaks isn't there any more: others are drawn")
        listed.save()
    trials, lock = prepare(options, listed)
    print(f"seed {options.seed}, {options.least} a file, {options.count} in all", flush=True)
    began = time.monotonic()
    for broken in chosen(options, found, listed):
        if options.minutes and time.monotonic() - began > 60 * options.minutes:
            break
        start = time.monotonic()
        outcome, by = trials.try_out(broken, options.all_tests)
        listed.note(broken, outcome, by)
        trials.caught_before[broken.file, by.partition(":")[0]] += outcome == "caught"
        done = sum(row.outcome in outcomes.COUNTED for row in listed.rows.values())
        took = time.monotonic() - start
        print(f"{done} {took:5.1f} s {outcome} {broken.file}:{broken.line} {broken.kind} {broken.id} {by}", flush=True)
    lock.close()


def main():
    options = parse_options()
    if options.self_test:
        return self_test.run()
    listed = outcomes.Outcomes(options.project / "tests/mutations.csv")
    if options.equivalent:
        return judge(listed, options.equivalent[0], "equivalent", options.equivalent[1])
    if options.accept:
        return judge(listed, options.accept[0], "survived", options.accept[1])
    found = drawing.find_all(options.project, () if options.report else options.files)
    if options.report:
        return report(listed, found)
    if options.show:
        show(options.project, next(broken for group in found.values() for broken in group if broken.id == options.show))
        return 0
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("ended"))
    try:
        work(options, listed, found)
    except workshop.Unusable as unusable:
        sys.exit(str(unusable))
    return 0


if __name__ == "__main__":
    sys.exit(main())
