#!/usr/bin/env bash
# Measures on request: each row against a named peer in the same run, as ratios. Installs what is missing (as root).
# Then makes the table and the plots of docs/performance.md. There is no limit that fails: machines differ.
#
#   scripts/bench.sh [ROW ...]         these rows, or all; ROW* takes all that begin so
#     --quick                          two short rounds, and docs/performance.md stays as it is
#     --no-documents                   docs/performance.md stays as it is
#     --core N                         the core to be pinned to; the last one unless given
#   scripts/bench.sh --list [ROW ...]  the rows, and how long each takes
#   scripts/bench.sh --documents       table and plots once more, from what is kept
#   scripts/bench.sh rehearse          zum_rehearse: 10,000 machines in one call, and one export of 500 MB
#
# What is measured, and how: docs/performance.md. How a row is added: bench/README.md.
set -u
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
export ZUM_WINEPREFIX="$project/build/wine/bench" # its products are made and removed
. "$project/scripts/lib/wine.sh"

bench() { /usr/bin/python3 scripts/lib/bench/main.py "$@"; }

rehearse() {
    step "1. Tools and build"
    # shellcheck disable=SC2086  # lists of names
    install_packages $packages_native
    configure_and_build native zum_rehearse || exit 1
    step "2. Machines in build/rehearsal-scale, and what they take"
    exec python3 scripts/lib/bench_rehearse.py build/native/bin/zum_rehearse "$project/build/rehearsal-scale"
}

# build PRESET: what the rows need of it.
build() {
    local targets
    targets=$(bench --programs "$@") || exit 1
    [ -n "$targets" ] || return 1
    # shellcheck disable=SC2086  # a list of words
    configure_and_build "$1" $targets || exit 1
}

case "${1:-}" in
    rehearse) rehearse ;;
    --list) bench "$@"; exit ;;
    -h | --help) sed -n '2,/^set -u/{/^set -u/d;s/^# \{0,1\}//;p}' "$0"; exit ;;
esac
step "Tools and build"
# shellcheck disable=SC2086  # lists of names
install_packages $packages_native $packages_bench
if [ "$*" != --documents ]; then
    build bench "$@" || true
    if [ -n "$(bench --programs bench-windows "$@")" ]; then
        # shellcheck disable=SC2086  # a list of names
        install_packages $packages_windows
        build bench-windows "$@"
        trap wine_end EXIT
        wine_begin || die "the Wine prefix can't be made"
    fi
    step "Measuring"
fi
bench "$@" || die "not measured"
