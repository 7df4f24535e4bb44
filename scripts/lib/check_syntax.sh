#!/usr/bin/env bash
# check_syntax.sh COMPILER ARGUMENT ... -o OBJECT ...: checks a source without making code; OBJECT becomes an empty
# file, so that the build knows that it was done.
"$@" -fsyntax-only || exit
while [ $# -gt 1 ]; do
    if [ "$1" = -o ]; then : >"$2"; fi
    shift
done
