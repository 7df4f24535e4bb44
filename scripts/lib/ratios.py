"""Shows a benchmark's times beside its peer's: ratios.py FILE.json OURS PEER, as Google Benchmark writes the file."""

import json
import sys


def times(file, name):
    """Size to CPU time, in the file's unit; what a benchmark skipped with an error ends this one too."""
    found = {}
    for run in json.load(open(file, encoding="utf-8"))["benchmarks"]:
        family, _, size = run["name"].partition("/")
        if run.get("error_occurred"):
            sys.exit(f"{run['name']}: {run['error_message']}")
        if family == name:
            found[int(size)] = run["cpu_time"]
    return found


def main():
    file, ours, peer = sys.argv[1:]
    product, other = times(file, ours), times(file, peer)
    print(f"   {'pairs':>7} {ours:>12} {peer:>12} {'ratio':>8} {'growth':>8} {'peer':>8}")
    before = None
    for size in sorted(product):
        growth = ["", ""] if before is None else [f"{one[size] / one[before]:.1f}" for one in (product, other)]
        print(f"   {size:7} {product[size]:12.1f} {other[size]:12.1f} {other[size] / product[size]:8.2f}"
              f" {growth[0]:>8} {growth[1]:>8}")
        before = size
    print("   ratio: how many times the product is faster; growth: against the line above, with four times the pairs")


main()
