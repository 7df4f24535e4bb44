#!/usr/bin/env bash
# Fails when a source isn't laid out as .clang-format says. --fix rewrites them; --self-test plants an
# offence and sees it found.
set -u
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"

sources() {
    find winapi oru platform standalone_tracer_lib zum_setup_util_lib zum_setup_util zum_rehearse tests bench fuzz \
        \( -name '*.h' -o -name '*.cpp' \) -print0
}

case "${1:-}" in
    --fix) sources | xargs -0 clang-format-14 -i --style=file ;;
    --self-test)
        planted=$(printf 'int  planted( int a ){return a;}\n' | clang-format-14 --style=file --assume-filename=oru/rtl/planted.cpp)
        [ "$planted" = 'int planted(int a) { return a; }' ] || die "clang-format left a planted offence alone"
        folder=$(mktemp -d) && trap 'rm -rf "$folder"' EXIT
        cp .clang-format "$folder" && printf 'int  planted( int a ){return a;}\n' >"$folder/planted.cpp"
        if clang-format-14 --style=file --dry-run -Werror "$folder/planted.cpp" 2>/dev/null; then
            die "the planted offence was not found"
        fi
        ;;
    '') sources | xargs -0 clang-format-14 --style=file --dry-run -Werror ;;
    *) die "usage: scripts/check-format.sh [--fix|--self-test]" ;;
esac
