#!/usr/bin/env bash
# Builds the fuzz targets and runs each of them, after installing what is missing (as root):
#
#   scripts/fuzz.sh [SECONDS [TARGET ...]]   each target, or those named, for SECONDS (10 without)
#   scripts/fuzz.sh --self-test              plants a mistake and sees it found
#
# What was found interesting stays in build/fuzz/corpus/TARGET and is where the next run begins; what broke
# something is in build/fuzz/found/TARGET, and `build/native-asan/bin/TARGET FILE` repeats it. The exit status is 0
# only when nothing was found. Each run draws other inputs; ZUM_FUZZ_SEED=NUMBER draws the same ones again, as
# scripts/test.sh does, so that what it says depends on the sources alone.
set -u
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"

programs=build/native-asan/bin # the build whose product is instrumented for the fuzzer, too

usage() { printf 'usage: scripts/fuzz.sh [SECONDS [TARGET ...]] | --self-test\n' >&2; exit 2; }

# run_target NAME SECONDS: prints its row of the table; 1 when it found something.
run_target() {
    local name=$1 seconds=$2 status executions coverage
    local corpus=build/fuzz/corpus/$name found=build/fuzz/found/$name log=build/fuzz/logs/$name.log
    local arguments=(-max_total_time="$seconds" -timeout=25 -rss_limit_mb=2048 -print_final_stats=1
        -artifact_prefix="$found/" -seed="${ZUM_FUZZ_SEED:-0}")
    mkdir -p "$corpus" "$found" build/fuzz/logs
    [ -e "fuzz/$name.dict" ] && arguments+=(-dict="fuzz/$name.dict")
    local folders=("$corpus")
    [ -d "fuzz/seeds/$name" ] && folders+=("fuzz/seeds/$name")
    "$programs/$name" "${arguments[@]}" "${folders[@]}" >"$log" 2>&1 </dev/null
    status=$?
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
    coverage=$(sed -n 's/.* cov: \([0-9]*\) ft: \([0-9]*\) .*/\1 \2/p' "$log" | tail -n 1)
    # shellcheck disable=SC2086 # two words
    printf '   %-28s %12s %10s %10s  %s\n' "$name" "${executions:-none}" ${coverage:-none none} \
        "$([ $status -eq 0 ] && printf 'nothing found' || printf 'FOUND: %s' "$log")"
    [ $status -eq 0 ] || { grep -E -A 12 "doesn't hold|ERROR|runtime error" "$log" | head -n 30 >&2; return 1; }
    # A target that ran nothing has proven nothing.
    [ "${executions:-0}" -gt 0 ]
}

# A target that is wrong for inputs that begin with two certain bytes, run like any other.
self_test() {
    local name=planted_mistake status=0
    # shellcheck disable=SC2086 # the list is words
    install_packages $packages_fuzz
    mkdir -p "$programs"
    printf '%s\n' '#include <cstddef>' '#include <cstdint>' '#include "fuzz/input.h"' \
        'extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {' \
        '  fuzz::Require(size < 2 || data[0] != 0x5A || data[1] != 0x55, "the planted rule");' '  return 0;' '}' |
        clang++-14 -std=c++20 -g1 -I. -fsanitize=fuzzer,address -x c++ - -o "$programs/$name" || status=1
    run_target "$name" 20 2>/dev/null && status=1
    ls "build/fuzz/found/$name"/crash-* >/dev/null 2>&1 || status=1
    rm -rf "${programs:?}/$name" "build/fuzz/found/$name" "build/fuzz/corpus/$name" "build/fuzz/logs/$name.log"
    [ $status -eq 0 ] || die "the planted mistake was not found"
}

if [ "${1:-}" = --self-test ]; then self_test; exit 0; fi
seconds=${1:-10}
case "$seconds" in '' | *[!0-9]* | 0*) usage ;; esac
shift $(($# > 0))

step "Tools and build"
# shellcheck disable=SC2086 # lists of words
install_packages $packages_native $packages_fuzz
# Only what the targets link.
configure_and_build native-asan fuzz/all || exit 1
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    for program in "$programs"/*_fuzz; do targets+=("$(basename "$program")"); done
fi
for name in "${targets[@]}"; do
    [ -x "$programs/$name" ] || { bad "no such target: $name"; usage; }
done

step "${#targets[@]} targets, $seconds s each, $(nproc) at a time"
printf '   %-28s %12s %10s %10s\n' target executions edges features
export ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1
failed=0
running=0
for name in "${targets[@]}"; do
    [ $running -lt "$(nproc)" ] || { wait -n || failed=1; running=$((running - 1)); }
    run_target "$name" "$seconds" &
    running=$((running + 1))
done
while [ $running -gt 0 ]; do wait -n || failed=1; running=$((running - 1)); done
exit $failed
