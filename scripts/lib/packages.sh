# The steps of scripts/package.sh, which sources this.
# shellcheck disable=SC2154  # what is read here, that script and common.sh have set

packages="$project/build/packages"

# settle_source: the version, and of what commit and time all that is packaged is. Nothing of the caller's surroundings
# gets into the bytes.
settle_source() {
    unset CXXFLAGS CFLAGS CPPFLAGS LDFLAGS ZIPOPT
    export LC_ALL=C.UTF-8 TZ=UTC
    umask 022
    version=$(sed -n 's/^project(zum_setup_util VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
    local heading date
    heading=$(grep -m 1 '^## ' CHANGELOG.md)
    date=${heading#"## $version, "}
    [ "$date" != "$heading" ] || die "the changelog begins with \"$heading\", and the version is $version"
    local has_history=
    if [ "$(git rev-parse --show-toplevel 2>/dev/null)" = "$project" ]; then
        has_history=1
        ZUM_SOURCE_COMMIT=$(git rev-parse HEAD)
        [ -z "$(git status --porcelain --untracked-files=no)" ] || ZUM_SOURCE_COMMIT+=", with changes that aren't committed"
    fi
    if [ -z "${SOURCE_DATE_EPOCH:-}" ]; then
        if [ "$date" != unreleased ]; then
            SOURCE_DATE_EPOCH=$(date -u -d "$date" +%s) || die "the release's date in CHANGELOG.md is no date: $date"
        elif [ -n "$has_history" ]; then
            SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
        else
            SOURCE_DATE_EPOCH=315532800 # the oldest time that a zip file can tell
        fi
    fi
    export SOURCE_DATE_EPOCH ZUM_SOURCE_COMMIT
}

# stage_anew NAME: an empty folder, whose content becomes NAME.zip.
stage_anew() {
    rm -rf "${packages:?}/$1"
    mkdir -p "$packages/$1/$1"
    printf '%s' "$packages/$1/$1"
}

# list_files: the files below the current folder, always in the same order.
list_files() { find . -type f -printf '%P\n' | sort; }

# make_zip NAME: order, times and modes are settled, and nothing else of the file system gets in.
make_zip() {
    local name=$1
    rm -f "$output/$name.zip"
    (
        cd "$packages/$name" || exit 1
        find . -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
        find . -type f ! -name '*.exe' -exec chmod 644 {} +
        list_files | zip -q -X -9 -@ "$output/$name.zip"
    )
    good "$name.zip, $(stat -c %s "$output/$name.zip") bytes"
}

# sign_with_notes win32|check STAGE [SYMBOLS]: how the bytes of the staged programs are made again, and signatures where a
# certificate is given.
sign_with_notes() {
    local state=unsigned
    [ -z "$certificate" ] || state=signed
    python3 packaging/rebuild_notes.py "$1" "$state" "${@:2}"
    if [ "$state" = signed ]; then
        sign_programs "$2"
    else
        note "unsigned: the programs have no signature (--sign CERT KEY)"
    fi
}

# sign_programs FOLDER: puts signatures into the programs that were staged there; the built ones stay as they are.
sign_programs() {
    local program
    for program in "$1"/*.exe; do
        osslsigncode sign -h sha256 -certs "$certificate" -key "$key" -n "$(basename "$program" .exe)" \
            ${timestamp:+-ts "$timestamp"} -in "$program" -out "$program.signed" >"$packages/sign.log" 2>&1 ||
            { cat "$packages/sign.log" >&2; die "$(basename "$program") could not be signed"; }
        mv -- "$program.signed" "$program"
        chmod 755 "$program"
        good "signed: $(basename "$program")"
    done
}
