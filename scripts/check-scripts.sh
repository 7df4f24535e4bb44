#!/usr/bin/env bash
# Runs shellcheck over every shell script of the tree. --self-test plants an offence and sees it found.
set -u
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"

case "${1:-}" in
    '') git ls-files -z -- '*.sh' .ci/run | xargs -0 shellcheck --severity=style ;;
    --self-test)
        folder=$(mktemp -d) && trap 'rm -rf "$folder"' EXIT
        # shellcheck disable=SC2016  # the dollar sign is the offence
        printf '#!/usr/bin/env bash\nrm -rf $1\n' >"$folder/planted.sh"
        if shellcheck --severity=style "$folder/planted.sh" >"$folder/out"; then
            die "the planted offence was not found"
        fi
        grep -q SC2086 "$folder/out" || die "the planted offence was not found"
        ;;
    *) die "usage: scripts/check-scripts.sh [--self-test]" ;;
esac
