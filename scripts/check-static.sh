#!/usr/bin/env bash
# Looks for mistakes in the product's sources without running them, beside the linter:
#
#   scripts/check-static.sh             cppcheck; what it tells and is left so is in lib/cppcheck.txt, with reasons
#   scripts/check-static.sh analyzer    GCC's analyzer; this takes a quarter of an hour
#   scripts/check-static.sh includes    include-what-you-use: headers of which it thinks nothing is used. It doesn't see
#                                       macros (trace.h), and names types by headers that nobody should include: to be
#                                       judged one by one, so nothing fails by it
#   scripts/check-static.sh --self-test plants a mistake for each and sees it found
set -u
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"

work=$(mktemp -d) && trap 'rm -rf "$work"' EXIT

# product_commands FILE: the compile commands of the product's sources, as the native build has them.
product_commands() {
    [ -e build/native/compile_commands.json ] || cmake --preset native >/dev/null || die "configuring failed"
    python3 - "$1" <<'END'
import json, pathlib, sys
folders = ("winapi", "oru", "platform", "standalone_tracer_lib", "zum_setup_util_lib", "zum_setup_util", "zum_rehearse")
commands = {}
for entry in json.loads(pathlib.Path("build/native/compile_commands.json").read_text(encoding="utf-8")):
    file = pathlib.Path(entry["file"]).relative_to(pathlib.Path.cwd())
    if file.parts[0] in folders:
        commands[str(file)] = entry
pathlib.Path(sys.argv[1]).write_text(json.dumps(list(commands.values())), encoding="utf-8")
END
}

# run_cppcheck FILE [ARGUMENT ...]: FILE is a list of compile commands.
run_cppcheck() {
    local list=$1
    shift
    cppcheck --project="$list" --enable=warning,style,performance,portability --std=c++20 --quiet -j "$(nproc)" \
        --relative-paths="$project" --error-exitcode=1 "$@" \
        --template='{file}:{line}: {severity}: {message} [{id}]'
}

# GCC 12's analyzer is made for C. What it tells of C++ is held to what it can tell: it doesn't see how an object is
# returned in its caller's storage ("use of uninitialized value"), nor that operator new throws ("NULL"), nor that a
# destructor lets go of what a temporary or a counted object owns ("leak", which LeakSanitizer looks for in each test).
analyzer_rules="-fanalyzer -fdiagnostics-path-format=none -Wno-analyzer-malloc-leak -Wno-analyzer-use-of-uninitialized-value -Wno-analyzer-possible-null-dereference -Wno-analyzer-null-dereference -Wno-analyzer-null-argument -Wno-analyzer-too-complex"

# run_analyzer FILE: the same list. Each finding is an error by the build's own flags.
run_analyzer() {
    python3 - "$1" "$analyzer_rules" <<'END' | xargs -P "$(nproc)" -d '\n' -n 1 bash -c
import json, pathlib, sys
for entry in json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8")):
    command = entry["command"].split(" -o ")[0]
    print(f"cd {entry['directory']} && timeout 1200 {command} {sys.argv[2]} -S -o /dev/null {entry['file']}")
END
}

# run_includes FILE: tells each header that a source includes and doesn't need.
run_includes() {
    local out="$work/includes"
    iwyu_tool -p "$(dirname "$1")" -j "$(nproc)" -- -Xiwyu --no_fwd_decls -Xiwyu --quoted_includes_first \
        >"$out" 2>&1
    grep -q 'has correct #includes\|should add' "$out" || { head -n 20 "$out" >&2; return 1; }
    awk '/should remove these lines:/ { file = $1; on = 1; next } /^$/ { on = 0 } on && /#include/ { print file ": " $0 }' "$out"
}

self_test() {
    printf '%s\n' '#include <cstdlib>' '#include <cstring>' \
        'int Planted(int n) { int a[2] = {}; if (n) a[2] = n; char* p = static_cast<char*>(std::malloc(4)); std::free(p); std::free(p); return a[0]; }' >"$work/planted.cpp"
    printf '[{"directory": "%s", "command": "g++ -Werror -o planted.o -c %s", "file": "%s"}]' \
        "$work" "$work/planted.cpp" "$work/planted.cpp" >"$work/compile_commands.json"
    run_cppcheck "$work/compile_commands.json" >"$work/out" 2>&1 && die "cppcheck doesn't find the planted mistake"
    grep -q arrayIndexOutOfBounds "$work/out" || die "cppcheck doesn't find the planted mistake"
    run_analyzer "$work/compile_commands.json" >"$work/out" 2>&1 && die "the analyzer doesn't find the planted mistake"
    grep -q analyzer-double-free "$work/out" || die "the analyzer doesn't find the planted mistake"
    run_includes "$work/compile_commands.json" >"$work/out" 2>&1
    grep -q 'planted.cpp: .*<cstring>' "$work/out" || die "the planted header isn't found"
}

case "${1:-cppcheck}" in
    cppcheck) product_commands "$work/compile_commands.json" && run_cppcheck "$work/compile_commands.json" --suppressions-list=scripts/lib/cppcheck.txt ;;
    analyzer) product_commands "$work/compile_commands.json" && run_analyzer "$work/compile_commands.json" ;;
    includes) product_commands "$work/compile_commands.json" && run_includes "$work/compile_commands.json" ;;
    --self-test) self_test ;;
    *) die "usage: scripts/check-static.sh [cppcheck|analyzer|includes|--self-test]" ;;
esac
