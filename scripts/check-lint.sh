#!/usr/bin/env bash
# Runs clang-tidy, with the rules of .clang-tidy:
#
#   scripts/check-lint.sh             the product's sources, the benchmarks and the fuzz targets, as the native builds
#                                     compile them
#   scripts/check-lint.sh windows     what is compiled for Windows only, tests' helpers included
#   scripts/check-lint.sh tests       the tests, by tests/.clang-tidy; this takes a quarter of an hour
#   scripts/check-lint.sh --self-test plants an offence and sees it found
set -u
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"

# needs PRESET: a configured build, whose compile commands are used.
needs() {
    [ -e "build/$1/compile_commands.json" ] || cmake --preset "$1" >/dev/null || die "configuring failed"
}

# lint BUILD LIST [ARGUMENT ...]: LIST has a file a line. Nothing to look at is a mistake of this script.
lint() {
    local build=$1 list=$2
    shift 2
    [ -s "$list" ] || die "there is nothing to look at"
    xargs -n 4 -P "$(nproc)" clang-tidy-14 --quiet -p "build/$build" "$@" <"$list" 2>/dev/null
}

self_test() {
    cp .clang-tidy "$work"
    printf '#include <string>\nint Planted(std::string text);\nint Planted(std::string text) { std::string moved = std::move(text); return static_cast<int>(text.size() + moved.size()); }\n' >"$work/planted.cpp"
    if clang-tidy-14 --quiet "$work/planted.cpp" -- -std=c++20 >"$work/out" 2>&1; then
        cat "$work/out"
        die "the planted offence was not found"
    fi
    grep -q bugprone-use-after-move "$work/out" || die "the planted offence was not found"
}

work=$(mktemp -d) && trap 'rm -rf "$work"' EXIT
list=$work/list
case "${1:-product}" in
    product)
        needs native-clang
        find winapi oru platform standalone_tracer_lib zum_setup_util_lib zum_setup_util zum_rehearse -name '*.cpp' \
            -not -path '*/win32/*' -not -path 'zum_rehearse/windows/*' >"$list"
        lint native-clang "$list" && needs bench && find bench -name '*.cpp' >"$list" && lint bench "$list" &&
            needs fuzz && find fuzz -name '*.cpp' >"$list" && lint fuzz "$list"
        ;;
    windows)
        needs windows
        find winapi/win32 zum_rehearse/windows tests/support/win32 tests/e2e/helpers tests/windows_check -name '*.cpp' \
            -not -path 'tests/windows_check/findings*' >"$list"
        # Clang takes the target from these, since it doesn't know the compiler's name.
        library=$(dirname "$(i686-w64-mingw32-g++-posix -print-libgcc-file-name)")/include/c++
        lint windows "$list" --extra-arg-before=--target=i686-w64-mingw32 \
            --extra-arg=-isystem "--extra-arg=$library" --extra-arg=-isystem "--extra-arg=$library/i686-w64-mingw32"
        ;;
    tests)
        needs native-clang
        find tests -name '*.cpp' -not -path '*/win32/*' -not -path 'tests/e2e/helpers/*' \
            -not -path 'tests/windows_check/*' >"$list"
        find tests/windows_check -name 'findings*.cpp' >>"$list"
        lint native-clang "$list"
        ;;
    --self-test) self_test ;;
    *) die "usage: scripts/check-lint.sh [product|windows|tests|--self-test]" ;;
esac
