#!/usr/bin/env bash
# Runs clang-tidy over the product's sources (not the tests'), with the native build's compile commands.
# --self-test plants an offence and sees it found.
set -u
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"

build="$project/build/native-clang"
[ -e "$build/compile_commands.json" ] || cmake --preset native-clang >/dev/null || die "configuring failed"

if [ "${1:-}" = --self-test ]; then
    folder=$(mktemp -d) && trap 'rm -rf "$folder"' EXIT
    cp .clang-tidy "$folder"
    printf '#include <string>\nint Planted(std::string text);\nint Planted(std::string text) { std::string moved = std::move(text); return static_cast<int>(text.size() + moved.size()); }\n' >"$folder/planted.cpp"
    if clang-tidy-14 --quiet "$folder/planted.cpp" -- -std=c++20 >"$folder/out" 2>&1; then
        cat "$folder/out"
        die "the planted offence was not found"
    fi
    grep -q bugprone-use-after-move "$folder/out" || die "the planted offence was not found"
    exit 0
fi

find winapi/host winapi/rehearsal platform/util oru standalone_tracer_lib zum_setup_util_lib zum_setup_util zum_rehearse -name '*.cpp' -print0 |
    xargs -0 -n 4 -P "$(nproc)" clang-tidy-14 --quiet -p "$build" 2>/dev/null
