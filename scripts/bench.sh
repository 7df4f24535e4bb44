#!/usr/bin/env bash
# Measures on request, natively: each benchmark against a named peer in the same run, shown as ratios. Installs what
# is missing (as root). There is no limit that fails: machines differ.
set -u
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"

[ $# -eq 0 ] || { printf 'usage: scripts/bench.sh\n' >&2; exit 2; }
step "1. Tools and build"
# shellcheck disable=SC2086  # lists of names
install_packages $packages_native $packages_bench
configure_and_build bench pending_list_benchmark || exit 1

step "2. Correcting a list of pending renames: microseconds, product against a plain search (std::find)"
build/bench/bin/pending_list_benchmark --benchmark_format=json --benchmark_min_time=0.2 \
    >build/bench/pending_list.json 2>build/bench/pending_list.log || die "the benchmark failed: build/bench/pending_list.log"
python3 scripts/lib/ratios.py build/bench/pending_list.json Product PlainSearch
