#!/usr/bin/env python3
"""Measures rows of the table and shows them; scripts/bench.sh calls it, and tells what it can be asked for."""

import argparse
import os
import sys
import time

sys.dont_write_bytecode = True

import documents  # noqa: E402
import measures  # noqa: E402
import results  # noqa: E402
import rows as row_files  # noqa: E402
import samples as sample_store  # noqa: E402

LEAST_ROUNDS = 2


def parse():
    parser = argparse.ArgumentParser(prog="scripts/bench.sh")
    parser.add_argument("row", nargs="*")
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--programs", metavar="PRESET", help="what has to be built for the rows")
    parser.add_argument("--documents", action="store_true", help="makes docs/performance.md and measures nothing")
    parser.add_argument("--no-documents", action="store_true", help="leaves docs/performance.md alone")
    parser.add_argument("--quick", action="store_true", help="two rounds of short repetitions: for looking")
    parser.add_argument("--core", type=int, default=max(os.sched_getaffinity(0)))
    return parser.parse_args()


def show_list(rows):
    print(f"   {'row':32} {'world':8} {'seconds':>8}  what is measured")
    total = 0
    for row in rows:
        for world in row.worlds:
            took = results.took(row, world)
            total += took or row.seconds
            shown = f"{took:8.0f}" if took else f"{'<' + str(row.seconds):>8}"
            print(f"   {row.id:32} {world:8} {shown}  {row.title}")
    print(f"   seconds: what a row took the last time, or may take; all of these together {total / 60:.0f} minutes")


def measure(group, world, options):
    """The rows of one program or measure in one world: rounds until each is settled or has had its time."""
    samples = {row.id: sample_store.Samples() for row in group}
    took = dict.fromkeys(samples, 0.0)
    left, rounds = list(group), 0
    method = measures.open_method(group, world, options.core)
    try:
        while left:
            start = time.monotonic()
            method.run_round(left, samples, 0.02 if options.quick else 0.1)
            seconds = (time.monotonic() - start) / len(left)
            rounds += 1
            for row in left:
                took[row.id] += seconds
            if rounds < LEAST_ROUNDS and not method.once:
                continue
            left = [row for row in left if not (method.once or options.quick or samples[row.id].is_settled(row)
                                                or took[row.id] > row.seconds)]
    finally:
        method.finish()
    for row in group:
        remarks = list(method.remarks(row, samples[row.id]))
        result = results.make(row, world, samples[row.id], took[row.id], remarks)
        results.save(result)
        documents.show(result)


def main():
    options = parse()
    rows = row_files.choose(row_files.load(), options.row)
    if options.list:
        show_list(rows)
    elif options.programs:
        print(" ".join(measures.targets(rows, options.programs)))
    elif options.documents:
        documents.make()
    else:
        for group, world in measures.groups(rows):
            print(f"\n   {measures.name_of(group[0])}, {world}:", flush=True)
            measure(group, world, options)
        if not options.no_documents and not options.quick:
            results.keep(rows)
            documents.make()
    return 0


if __name__ == "__main__":
    sys.exit(main())
