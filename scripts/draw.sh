#!/usr/bin/env bash
# Draws each docs/drawings/*.dot as an SVG beside it, after installing what is missing (as root).
set -u
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"

[ $# -eq 0 ] || { printf 'usage: scripts/draw.sh\n' >&2; exit 2; }
install_packages graphviz fonts-dejavu-core
for source in docs/drawings/*.dot; do
    dot -Tsvg "$source" >"${source%.dot}.svg" || die "$source can't be drawn"
    good "${source%.dot}.svg"
done
