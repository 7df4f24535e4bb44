#!/usr/bin/env bash
# Measures on request, natively: each benchmark against a named peer in the same run, shown as ratios. Installs what
# is missing (as root). There is no limit that fails: machines differ.
#
#   scripts/bench.sh             the benchmarks
#   scripts/bench.sh rehearse    zum_rehearse: 10,000 machines in one call, and one export of 500 MB
set -u
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"

case "$#:${1:-}" in
    0:) ;;
    1:rehearse)
        step "1. Tools and build"
        # shellcheck disable=SC2086  # lists of names
        install_packages $packages_native
        configure_and_build native zum_rehearse || exit 1
        step "2. Machines in build/rehearsal-scale, and what they take"
        exec python3 scripts/lib/bench_rehearse.py build/native/bin/zum_rehearse "$project/build/rehearsal-scale"
        ;;
    *) printf 'usage: scripts/bench.sh [rehearse]\n' >&2; exit 2 ;;
esac
step "1. Tools and build"
# shellcheck disable=SC2086  # lists of names
install_packages $packages_native $packages_bench
configure_and_build bench pending_list_benchmark || exit 1

step "2. Correcting a list of pending renames: microseconds, product against a plain search (std::find)"
build/bench/bin/pending_list_benchmark --benchmark_format=json --benchmark_min_time=0.2 \
    >build/bench/pending_list.json 2>build/bench/pending_list.log || die "the benchmark failed: build/bench/pending_list.log"
python3 scripts/lib/ratios.py build/bench/pending_list.json Product PlainSearch
