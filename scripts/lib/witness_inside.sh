#!/usr/bin/env bash
# What scripts/test.sh witness runs in the root of the second witness (in_witness of witness.sh), with a Wine prefix that is
# ready:
#
#   witness_inside.sh tests REPORT.xml       the tests of the Windows build
#   witness_inside.sh checks FILE.checks     run-checks.cmd from its package, as tests/packaging has it
#   witness_inside.sh exchange               registry files go to and fro between Wine and the native build's tool
set -eu
project=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
cd "$project"
. scripts/lib/wine.sh

wine_on_both wine_begin || { echo "the Wine prefix $WINEPREFIX can't be made" >&2; exit 1; }
trap 'wine_on_both wine_end' EXIT
case "$1" in
    tests)
        rm -rf build/windows/results/*
        ctest --test-dir build/windows --parallel $(($(nproc) + 1)) --timeout 300 --output-on-failure --output-junit "$2"
        ;;
    checks) python3 tests/packaging/run_tests.py --results "$2" test_windows_check.UnderWine ;;
    exchange)
        python3 tests/contract/reg_exchange.py --tool build/native/bin/host_reg_file_tool --wine scripts/wine-run.sh
        ;;
esac
