#!/usr/bin/env bash
# Shows what the tool does, on a really installed package in a throw-away Wine prefix:
#
#   scripts/demo.sh                      installs what is missing (as root), builds, breaks a package's
#                                        records as the product's protection does, and repairs them
#   scripts/demo.sh --rehearse INPUT...  builds zum_rehearse and runs it: what would the tool change on the
#                                        machine whose registry was exported to these files or folders?
#                                        (its other options pass through; --help lists them)
#
# The first form exits with 0 only when every step went as told; the second with the status of zum_rehearse.
set -u
caller=$PWD
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"

usage() {
    printf 'usage: scripts/demo.sh [--rehearse FILE.reg|FOLDER ...]\n' >&2
    exit 2
}

case "$#:${1:-}" in
    0:) . "$project/scripts/lib/demo_windows.sh" ;;
    1:--rehearse) usage ;;
    *:--rehearse) shift; . "$project/scripts/lib/demo_rehearsal.sh"; rehearse "$caller" "$@" ;;
    *) usage ;;
esac
