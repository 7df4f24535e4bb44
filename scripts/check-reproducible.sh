#!/usr/bin/env bash
# Builds the packages twice and compares the bytes of the programs, of their symbols and of the packages:
#
#   scripts/check-reproducible.sh
#
# Each time it is a clean clone of the tree's commit (with the changes that aren't committed), in another place, in a
# folder of another name, at another time, with another umask, language and time zone; the other build folder has programs
# in it that aren't packaged. Nothing is taken from a compiler cache. The comparison is shown to find a planted difference first.
set -eu
project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
work="$project/build/reproducible"
export CCACHE_DISABLE=1
unset CMAKE_CXX_COMPILER_LAUNCHER SOURCE_DATE_EPOCH

# clone FOLDER: the sources alone, as somebody else gets them.
commit=$(git -C "$project" stash create)
commit=${commit:-$(git -C "$project" rev-parse HEAD)}
clone() {
    git clone --quiet --shared --no-checkout "$project" "$1"
    git -C "$1" -c advice.detachedHead=false checkout --quiet "$commit"
}

# build FOLDER: its packages are in FOLDER/dist.
build() {
    echo "packages of $commit in $1"
    (cd "$1" && scripts/package.sh >"$1.log" 2>&1) || { tail -n 30 "$1.log"; exit 1; }
}

rm -rf "$work"
mkdir -p "$work/further down"
one="$work/one" other="$work/further down/the other folder"
clone "$one"
build "$one"
sleep 2 # so that a time of seconds that got in would differ
(
    umask 077
    clone "$other"
    for folder in "$other"/build/windows/{bin,tests/windows_check} "$other/build/native/bin"; do
        mkdir -p "$folder"
        printf 'of another kind' | tee "$folder/another.exe" "$folder/another.exe.debug" >"$folder/another"
    done
    export TZ=Asia/Kathmandu LC_ALL=C
    build "$other"
)

# same FILE FILE: whether the bytes are equal; says so.
same() {
    cmp "$1" "$2" && echo "equal: ${1##*/}, $(stat -c %s "$1") bytes, sha256 $(sha256sum <"$1" | cut -c 1-16)..."
}

# The comparison finds a difference of one byte.
program="$one/build/windows/bin/zum_setup_util.exe"
cp "$program" "$work/planted.exe"
printf 'X' | dd of="$work/planted.exe" bs=1 seek=1000 conv=notrunc status=none
if same "$program" "$work/planted.exe" >/dev/null 2>&1; then
    echo "the planted difference was not found"
    exit 1
fi
echo "planted difference: found"

status=0
for file in zum_setup_util.exe zum_setup_util.exe.debug zum_rehearse.exe zum_rehearse.exe.debug; do
    same "$one/build/windows/bin/$file" "$other/build/windows/bin/$file" || status=1
done
same "$one/build/native/bin/zum_rehearse" "$other/build/native/bin/zum_rehearse" || status=1
count=0
for file in "$one"/dist/*; do
    same "$file" "$other/dist/${file##*/}" || status=1
    count=$((count + 1))
done
[ "$count" -ge 3 ] || { echo "only $count packages were made"; exit 1; }
diff <(ls "$one/dist") <(ls "$other/dist") || status=1
exit $status
