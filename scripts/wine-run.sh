#!/usr/bin/env bash
# Runs a Windows program of this project under Wine, in the throw-away prefix of the tests:
#
#   wine-run.sh PROGRAM.exe [ARGUMENT ...]
#   wine-run.sh --end                        ends the servers of the prefix and of its second machine, which stay otherwise
set -eu
project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
. "$project/scripts/lib/wine.sh"
if [ "${1:-}" = --end ]; then
    wine_on_both wine_end
    exit 0
fi
wine_begin || { echo "wine-run.sh: the Wine prefix $WINEPREFIX can't be made" >&2; exit 125; }
# By which system's answers the contract suite judges (tests/support/answers.h): Debian 12 has Wine 8.
export ZUM_SYSTEM="${ZUM_SYSTEM:-wine-8}"
exec wine "$@"
