#!/usr/bin/env bash
# Builds and runs everything, after installing what is missing (as root):
#
#   scripts/test.sh                all of it
#   scripts/test.sh native         the native half: plain and sanitizer builds (GCC; clang), threads, source rules, format,
#                                  scripts, fuzz targets, the rollout, lint, cppcheck
#   scripts/test.sh windows        the Windows half: the 32-bit programs and their tests under Wine, lint of their sources
#   scripts/test.sh coverage       on request: line and branch coverage of the product's code (native)
#   scripts/test.sh lint           on request: the linter over all sources, the tests' too
#   scripts/test.sh static         on request: cppcheck and GCC's analyzer over the product's sources
#   scripts/test.sh reproducible   on request: equal bytes of programs and packages from two clean clones
#   scripts/test.sh packages       on request: the packages' tests, the Debian package in a fresh Debian, equal bytes,
#                                  and the rollout to 200 stand-ins
#   scripts/test.sh attacks        on request: the programs killed, two at once and at their limits, all of it in both
#                                  worlds; an ordinary run does a small part of it
#   scripts/test.sh witness        on request: the Windows tests and run-checks.cmd under Wine 10, in a Debian 13 that it
#                                  makes in build/witness
#
# The last line is "N passed, N failed, N skipped" over all that was asked for; the exit status is 0 only
# when nothing failed. A part that did not run counts as failed.
set -u
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
. "$project/scripts/lib/wine.sh"
. "$project/scripts/lib/witness.sh"

what=${1:-all}
case "$what" in
    all | native | windows | coverage | lint | static | reproducible | packages | attacks | witness) ;;
    *) printf 'usage: scripts/test.sh [native|windows|coverage|lint|static|reproducible|packages|attacks|witness]\n' >&2; exit 2 ;;
esac
at_once=$(($(nproc) + 1)) # tests of CTest's; each waits now and then, above all under Wine
results="$project/build/results"
rm -rf "$results"
mkdir -p "$results"
packages_made="$project/build/packages/dist"
expected=() # each part puts its result file here before it starts

# check FILE NAME COMMAND ...: runs one check, notes its outcome, shows its output when it fails. A check that can't run
# here ends with 77, as a case of CTest's does, and its last line "skipped: REASON" says why.
check() {
    local file=$1 name=$2 log
    shift 2
    log="$results/$name.log"
    "$@" >"$log" 2>&1 </dev/null
    case $? in
        0)
            good "passed: $name"
            printf 'pass %s\n' "$name" >>"$file"
            ;;
        77)
            note "$(tail -n 1 "$log"): $name"
            printf 'skip %s: %s\n' "$name" "$(sed -n '$s/^skipped: //p' "$log")" >>"$file"
            ;;
        *)
            head -n 60 "$log" >&2
            bad "FAILED: $name"
            printf 'fail %s\n' "$name" >>"$file"
            ;;
    esac
}

# take_wine, release_wine: what runs between them has the Wine prefixes, and the servers go however the script ends.
take_wine() {
    if wine_on_both wine_begin; then good "ready: build/wine/tests"; else bad "the Wine prefixes can't be made"; fi
    trap 'wine_on_both wine_end' EXIT
}

release_wine() {
    wine_on_both wine_end
    trap - EXIT
}

# run_ctest PRESET [ARGUMENT ...]: the tests of a build. The programs' own reports go where the summary looks for them.
run_ctest() {
    local preset=$1
    shift
    rm -rf "build/$preset/results"
    ctest --test-dir "build/$preset" --parallel "$at_once" --timeout 300 --output-on-failure \
        --output-junit "$results/$preset.xml" "$@" >"$results/$preset.log" 2>&1 </dev/null
    tell_ctest "$preset" $?
}

# tell_ctest PRESET STATUS: what came of it.
tell_ctest() {
    local preset=$1 status=$2
    mkdir -p "$results/$preset" "build/$preset/results"
    find "build/$preset/results" -maxdepth 1 -name '*.xml' -exec cp -t "$results/$preset" {} +
    if [ "$status" -ne 0 ]; then
        grep -E -B 40 '\*\*\*(Failed|Timeout|Exception|Not Run)' "$results/$preset.log" | tail -n 150 >&2
        bad "some tests of $preset failed (whole log: build/results/$preset.log)"
    fi
    grep -E 'tests passed|Total Test time' "$results/$preset.log" | sed 's/^/   /'
}

# build_and_test PRESET [ARGUMENT ...]: the arguments are ctest's.
build_and_test() {
    local preset=$1
    expected+=("$results/$preset.xml")
    step "Build: $preset"
    configure_and_build "$preset" || return
    step "Run: $preset"
    run_ctest "$@"
}

# Only what has threads: a build for two test programs, and these.
threads_under_sanitizer() {
    configure_and_build native-tsan exception_threads_test tracer_threads_test &&
        build/native-tsan/bin/exception_threads_test && build/native-tsan/bin/tracer_threads_test
}

# rollout_play COUNT: the play of deploy/ansible on as many stand-ins, by the programs of the native build.
rollout_play() { python3 tests/deploy/rollout_test.py "$1" build/native/bin; }

rollout_checks() {
    local file=$1
    check "$file" rollout-lint scripts/check-rollout.sh
    check "$file" rollout-lint-finds-planted-offences scripts/check-rollout.sh --self-test
    check "$file" rollout-role-for-windows python3 tests/deploy/windows_role_test.py build/native/bin
    check "$file" rollout-play rollout_play 10
}

native_half() {
    step "Packages of the native half"
    # shellcheck disable=SC2086 # the lists are words
    install_packages $packages_native $packages_native_tests $packages_bench $packages_deploy $packages_static $packages_fuzz
    build_and_test native
    build_and_test native-asan

    local file="$results/native.checks"
    expected+=("$file")
    step "Threads under ThreadSanitizer"
    check "$file" threads-under-sanitizer threads_under_sanitizer
    step "Format, layers, scripts"
    check "$file" source-rules python3 scripts/check_sources.py
    check "$file" source-rules-find-planted-offences python3 scripts/check_sources.py --self-test
    check "$file" test-files-are-found python3 scripts/test_file.py --check
    check "$file" test-files-find-planted-offences python3 scripts/test_file.py --self-test
    check "$file" summary-tells-planted-results python3 scripts/lib/summarize.py --self-test
    check "$file" deliberate-breaks-tell-planted-tests-apart python3 scripts/mutate.py --self-test
    check "$file" format scripts/check-format.sh
    check "$file" format-finds-planted-offence scripts/check-format.sh --self-test
    check "$file" shell-scripts scripts/check-scripts.sh
    check "$file" shell-scripts-find-planted-offence scripts/check-scripts.sh --self-test
    step "Fuzz targets"
    check "$file" fuzz-ten-seconds env ZUM_FUZZ_SEED=1 scripts/fuzz.sh 10
    check "$file" fuzz-finds-planted-mistake scripts/fuzz.sh --self-test
    step "Rollout"
    rollout_checks "$file"
    step "Lint"
    check "$file" lint scripts/check-lint.sh
    check "$file" lint-finds-planted-offence scripts/check-lint.sh --self-test
    step "Mistakes that can be seen without a run"
    check "$file" cppcheck scripts/check-static.sh
    check "$file" static-checks-find-planted-mistakes scripts/check-static.sh --self-test
}

windows_half() {
    step "Packages of the Windows half"
    # shellcheck disable=SC2086 # the lists are words
    install_packages $packages_native $packages_windows $packages_windows_tests
    step "Wine prefixes"
    take_wine
    build_and_test windows
    local file="$results/windows.checks"
    expected+=("$file")
    step "Registry files exchanged with Wine"
    configure_and_build native host_reg_file_tool
    check "$file" registry-files-exchanged-with-wine python3 tests/contract/reg_exchange.py \
        --tool build/native/bin/host_reg_file_tool --wine scripts/wine-run.sh
    step "Lint of what only Windows has"
    check "$file" lint-windows scripts/check-lint.sh windows
    release_wine
}

# The packages from the builds that are there, and their tests. The cases' own outcomes are counted.
packages_for_users() {
    step "Tools of the packages"
    # shellcheck disable=SC2086 # the lists are words
    install_packages $packages_native $packages_windows $packages_packaging $packages_packaging_tests
    step "Packages"
    local file="$results/packages.checks" cases="$results/packages-in-use.checks" log="$results/packages-in-use.log"
    expected+=("$file" "$cases")
    rm -rf "$packages_made"
    check "$file" packages-are-made scripts/package.sh --output "$packages_made"
    configure_and_build windows zum_e2e_runexit zum_e2e_regdump zum_e2e_regload zum_e2e_trustroot zum_e2e_verifytrust \
        runner_probe
    take_wine
    if ! ZUM_DIST="$packages_made" /usr/bin/python3 tests/packaging/run_tests.py --results "$cases" >"$log" 2>&1 </dev/null; then
        sed -n '/^=====/,$p' "$log" | head -n 120 >&2
        bad "some tests of the packages failed (whole log: build/results/packages-in-use.log)"
    fi
    grep '^Ran ' "$log" | sed 's/^/   /'
    release_wine
}

debian_package_in_a_fresh_root() {
    step "Tools of the fresh Debian"
    # shellcheck disable=SC2086 # the list is words
    install_packages $packages_fresh_root
    local file="$results/fresh-root.checks"
    expected+=("$file")
    step "The Debian package in a fresh Debian"
    check "$file" installed-run-removed-without-a-trace scripts/check-fresh-root.sh "$packages_made"/zum-rehearse_*.deb
}

fleet_rollout() {
    step "Tools of the rollout"
    # shellcheck disable=SC2086 # the lists are words
    install_packages $packages_native $packages_native_tests $packages_deploy
    local file="$results/fleet.checks"
    expected+=("$file")
    configure_and_build native zum_setup_util zum_rehearse
    step "Rollout to 200 stand-ins"
    check "$file" rollout-play-200 rollout_play 200
}

coverage_report() {
    step "Packages of the coverage report"
    # shellcheck disable=SC2086 # the lists are words
    install_packages $packages_native $packages_native_tests $packages_coverage
    # That a case's program has no room for its counters isn't told on its error stream.
    GCOV_ERROR_FILE=/dev/null build_and_test coverage
    local file="$results/coverage.checks"
    expected+=("$file")
    step "Coverage of the product's code"
    check "$file" coverage-report scripts/coverage-report.sh
    cat "$results/coverage-report.log"
}

lint_all() {
    step "Packages of the linter"
    # shellcheck disable=SC2086 # the lists are words
    install_packages $packages_native $packages_native_tests $packages_bench $packages_fuzz $packages_windows
    local file="$results/lint.checks" part
    expected+=("$file")
    for part in product windows tests; do
        step "Lint: $part"
        check "$file" "lint-$part" scripts/check-lint.sh "$part"
    done
}

static_checks() {
    step "Packages of the static checks"
    # shellcheck disable=SC2086 # the lists are words
    install_packages $packages_native $packages_native_tests $packages_static
    local file="$results/static.checks"
    expected+=("$file")
    step "cppcheck and GCC's analyzer"
    check "$file" static-checks-find-planted-mistakes scripts/check-static.sh --self-test
    check "$file" cppcheck scripts/check-static.sh
    check "$file" analyzer scripts/check-static.sh analyzer
}

reproducible_build() {
    step "Tools of the builds"
    # shellcheck disable=SC2086 # the lists are words
    install_packages $packages_native $packages_windows $packages_packaging
    local file="$results/reproducible.checks"
    expected+=("$file")
    step "Two builds, equal bytes"
    check "$file" equal-bytes scripts/check-reproducible.sh
}

# attack PRESET TARGET ...: one after the other, since what is killed or competes must not wait for something else. Prints
# the figures that the cases tell.
attack() {
    local preset=$1
    shift
    expected+=("$results/$preset.xml")
    step "Build for the attacks: $preset"
    configure_and_build "$preset" zum_setup_util zum_rehearse correct_setup_run attacks_trace_writer "$@" || return
    step "Attacks: $preset"
    at_once=1 ZUM_ATTACKS=whole run_ctest "$preset" --tests-regex '^attacks'
    grep -o 'figure: .*' "$results/$preset.xml" | sed 's/^/   /'
}

attacks() {
    step "Packages of the attacks"
    # shellcheck disable=SC2086 # the lists are words
    install_packages $packages_native $packages_native_tests $packages_windows $packages_windows_tests
    attack native attacks_host_test
    take_wine
    attack windows zum_e2e_runexit zum_e2e_regdump zum_e2e_regload
    release_wine
}

# The systems' answers in the contract suite are those that docs/testing.md shows, of the systems that were asked now.
answers_as_documented() {
    local file="$results/answers.checks"
    expected+=("$file")
    step "The table of answers"
    check "$file" answers-table-finds-planted-differences python3 scripts/answers_table.py --self-test
    check "$file" answers-are-those-of-the-table python3 scripts/answers_table.py --check "$results"
}

# The Windows build's tests, and the checks for an owner of a Windows machine, under Wine 10.
second_witness() {
    step "Tools of the second witness"
    # shellcheck disable=SC2086 # the lists are words
    install_packages $packages_native $packages_windows $packages_packaging $packages_fresh_root
    local file="$results/witness.checks" checks="$results/witness-run-checks.checks"
    expected+=("$results/witness.xml" "$file" "$checks")
    step "The second witness"
    witness_make_root || return
    step "Build: windows, and a tool of the native build"
    configure_and_build windows && configure_and_build native host_reg_file_tool || return
    check "$file" windows-check-package scripts/package.sh check --output "$witness/dist"
    step "Run: witness"
    in_witness scripts/lib/witness_inside.sh tests "$results/witness.xml" >"$results/witness.log" 2>&1 </dev/null
    tell_ctest witness $?
    step "run-checks.cmd, and registry files, under Wine 10"
    check "$file" run-checks in_witness scripts/lib/witness_inside.sh checks "$checks"
    check "$file" registry-files-exchanged-with-wine-10 in_witness scripts/lib/witness_inside.sh exchange
}

start=$SECONDS
case "$what" in
    all) native_half; windows_half; answers_as_documented; packages_for_users ;;
    native) native_half; answers_as_documented ;;
    windows) windows_half; answers_as_documented ;;
    coverage) coverage_report ;;
    lint) lint_all ;;
    static) static_checks ;;
    reproducible) reproducible_build ;;
    attacks) attacks ;;
    packages) packages_for_users; debian_package_in_a_fresh_root; reproducible_build; fleet_rollout ;;
    witness) second_witness; answers_as_documented ;;
esac

step "Summary ($(((SECONDS - start) / 60)) min $(((SECONDS - start) % 60)) s)"
printf '   what each step took, and how much of a processor:\n%s\n' "$step_times"
exec python3 scripts/lib/summarize.py "${expected[@]}"
