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

# needs PRESET: a configured build, whose compile commands are used.
needs() {
    [ -e "build/$1/compile_commands.json" ] || cmake --preset "$1" >/dev/null || die "configuring failed"
}

# lint BUILD LIST [ARGUMENT ...]: LIST has a file a line.
lint() {
    local build=$1
    shift
    python3 scripts/lib/lint.py "build/$build" "$@"
}

work=$(mktemp -d) && trap 'rm -rf "$work"' EXIT
list=$work/list
case "${1:-product}" in
    product)
        needs native-clang
        find winapi oru platform standalone_tracer_lib zum_setup_util_lib zum_setup_util zum_rehearse -name '*.cpp' \
            -not -path '*/win32/*' -not -path 'zum_rehearse/windows/*' >"$list"
        lint native-clang "$list" && needs bench && find bench -name '*.cpp' -not -path 'bench/wine/*' >"$list" && lint bench "$list" &&
            needs fuzz && find fuzz -name '*.cpp' >"$list" && lint fuzz "$list"
        ;;
    windows)
        # Clang takes the target from these, since it doesn't know the compiler's name.
        library=$(dirname "$(i686-w64-mingw32-g++-posix -print-libgcc-file-name)")/include/c++
        target=(--extra-arg-before=--target=i686-w64-mingw32
            --extra-arg=-isystem "--extra-arg=$library" --extra-arg=-isystem "--extra-arg=$library/i686-w64-mingw32")
        needs windows
        find winapi/win32 zum_rehearse/windows tests/support/win32 tests/e2e/helpers tests/windows_check -name '*.cpp' \
            -not -path 'tests/windows_check/findings*' >"$list"
        lint windows "$list" "${target[@]}" && needs bench-windows && find bench/wine -name '*.cpp' >"$list" &&
            lint bench-windows "$list" "${target[@]}"
        ;;
    tests)
        needs native-clang
        find tests -name '*.cpp' -not -path '*/win32/*' -not -path 'tests/e2e/helpers/*' \
            -not -path 'tests/windows_check/*' >"$list"
        find tests/windows_check -name 'findings*.cpp' >>"$list"
        lint native-clang "$list"
        ;;
    --self-test) python3 scripts/lib/lint.py --self-test ;;
    *) die "usage: scripts/check-lint.sh [product|windows|tests|--self-test]" ;;
esac
