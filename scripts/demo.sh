#!/usr/bin/env bash
# Shows what the tool does, on a really installed package in a throw-away Wine prefix:
#
#   scripts/demo.sh                       installs what is missing (as root), builds, breaks a package's
#                                         records as the product's protection does, and repairs them
#   scripts/demo.sh --rehearse FILE.reg   runs the native build on a copy of an exported registry file and
#                                         shows what the tool would change on that machine
#
# Exits with 0 only when every step went as told.
set -u
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"

usage() {
    printf 'usage: scripts/demo.sh [--rehearse FILE.reg]\n' >&2
    exit 2
}

case "$#:${1:-}" in
    0:) . "$project/scripts/lib/demo_windows.sh" ;;
    2:--rehearse) . "$project/scripts/lib/demo_rehearsal.sh"; rehearse "$2" ;;
    *) usage ;;
esac
