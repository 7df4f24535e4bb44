#!/usr/bin/env bash
# Runs clang-tidy, with the rules of .clang-tidy:
#
#   scripts/check-lint.sh             the product's sources, the benchmarks and the fuzz targets, as the native builds
#                                     compile them
#   scripts/check-lint.sh windows     what is compiled for Windows only, tests' helpers included
#   scripts/check-lint.sh tests       the tests, by tests/.clang-tidy
#   scripts/check-lint.sh --self-test plants offences and sees them found
set -u
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"

# lint PRESET LIST [ARGUMENT ...]: by the compile commands of a build of its own, which is only configured, so that each
# source has its command; LIST has a file a line. What follows is looked at whatever is found.
status=0
lint() {
    local preset=$1
    shift
    cmake --preset "$preset" -B "build/lint/$preset" -DZUM_JOIN_TESTS=OFF -DZUM_JOIN_PRODUCT=OFF >/dev/null ||
        die "configuring failed"
    python3 scripts/lib/lint.py "build/lint/$preset" "$@" || status=1
}

work=$(mktemp -d) && trap 'rm -rf "$work"' EXIT
list=$work/list
case "${1:-product}" in
    product)
        find winapi oru platform standalone_tracer_lib zum_setup_util_lib zum_setup_util zum_rehearse -name '*.cpp' \
            -not -path '*/win32/*' -not -path 'zum_rehearse/windows/*' >"$list"
        lint native-asan "$list"
        find bench -name '*.cpp' -not -path 'bench/wine/*' >"$list"
        lint bench "$list"
        find fuzz -name '*.cpp' >"$list"
        lint native-asan "$list"
        ;;
    windows)
        # Clang takes the target from these, since it doesn't know the compiler's name.
        library=$(dirname "$(i686-w64-mingw32-g++-posix -print-libgcc-file-name)")/include/c++
        target=(--extra-arg-before=--target=i686-w64-mingw32
            --extra-arg=-isystem "--extra-arg=$library" --extra-arg=-isystem "--extra-arg=$library/i686-w64-mingw32")
        find winapi/win32 zum_rehearse/windows tests/support/win32 tests/e2e/helpers tests/windows_check -name '*.cpp' \
            -not -path 'tests/windows_check/findings*' >"$list"
        lint windows "$list" "${target[@]}"
        find bench/wine -name '*.cpp' >"$list"
        lint bench-windows "$list" "${target[@]}"
        ;;
    tests)
        for_coverage=tests/support/host/counted_exits.cpp # what that build alone compiles
        find tests -name '*.cpp' -not -path '*/win32/*' -not -path 'tests/e2e/helpers/*' \
            -not -path 'tests/windows_check/*' -not -path "$for_coverage" >"$list"
        find tests/windows_check -name 'findings*.cpp' >>"$list"
        lint native-asan "$list"
        echo "$for_coverage" >"$list"
        lint coverage "$list"
        ;;
    --self-test) python3 scripts/lib/lint.py --self-test || status=1 ;;
    *) die "usage: scripts/check-lint.sh [product|windows|tests|--self-test]" ;;
esac
exit $status
