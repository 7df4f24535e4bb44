#!/usr/bin/env bash
# Builds the Windows programs twice and compares the bytes of the programs and of their symbols:
#
#   scripts/check-reproducible.sh
#
# The second build is of a copy of the tree in another place, in a folder of another name, at another time.
# Nothing is taken from a compiler cache. The comparison is shown to find a planted difference first.
set -eu
project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
work="$project/build/reproducible"
export CCACHE_DISABLE=1
unset CMAKE_CXX_COMPILER_LAUNCHER SOURCE_DATE_EPOCH

# build SOURCE FOLDER
build() {
    echo "building $1 in $2"
    (cd "$1" && cmake --preset windows -B "$2" -DZUM_BUILD_TESTS=OFF >"$2.log" 2>&1 &&
        cmake --build "$2" --target zum_setup_util zum_rehearse >>"$2.log" 2>&1) || { tail -n 30 "$2.log"; exit 1; }
}

rm -rf "$work"
mkdir -p "$work/a copy of the tree"
tar -C "$project" --exclude=./build --exclude=./.git -cf - . | tar -C "$work/a copy of the tree" -xf -

build "$project" "$work/one"
sleep 2 # so that a time of seconds that got in would differ
build "$work/a copy of the tree" "$work/the-other-folder"

# The comparison finds a difference of one byte.
program="$work/one/bin/zum_setup_util.exe"
cp "$program" "$work/planted.exe"
printf 'X' | dd of="$work/planted.exe" bs=1 seek=1000 conv=notrunc status=none
if cmp -s "$program" "$work/planted.exe"; then
    echo "the planted difference was not found"
    exit 1
fi
echo "planted difference: found"

status=0
for file in zum_setup_util.exe zum_setup_util.exe.debug zum_rehearse.exe zum_rehearse.exe.debug; do
    if cmp "$work/one/bin/$file" "$work/the-other-folder/bin/$file"; then
        echo "equal: $file, $(stat -c %s "$work/one/bin/$file") bytes, sha256 $(sha256sum <"$work/one/bin/$file" | cut -c 1-16)..."
    else
        status=1
    fi
done
exit $status
