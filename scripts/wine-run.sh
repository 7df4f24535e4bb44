#!/usr/bin/env bash
# Runs a Windows program of this project under Wine: wine-run.sh PROGRAM.exe [ARGUMENT ...]
set -eu
project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
. "$project/scripts/lib/wine.sh"
wine_make_prefix || { echo "wine-run.sh: the Wine prefix $WINEPREFIX can't be made" >&2; exit 125; }
exec wine "$@"
