#!/usr/bin/env bash
# Prints the coverage of the product's code from the coverage build's last test run, a table by file and the
# uncovered lines; an HTML report is in build/coverage/report.
set -u
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"

[ -d build/coverage ] || die "run scripts/test.sh coverage first"
mkdir -p build/coverage/report
# Branches that only the compiler made for exceptions aren't the code's own.
gcovr --root "$project" --object-directory build/coverage \
    --filter 'winapi/' --filter 'oru/' --filter 'platform/' --filter 'standalone_tracer_lib/' --filter 'zum_setup_util_lib/' --filter 'zum_setup_util/' --filter 'zum_rehearse/' \
    --exclude-throw-branches --exclude-unreachable-branches \
    --gcov-ignore-parse-errors --print-summary \
    --html-details build/coverage/report/index.html --txt build/coverage/report/lines.txt \
    build/coverage || exit 1  # only there: links in a Wine prefix lead all over the machine
cat build/coverage/report/lines.txt
