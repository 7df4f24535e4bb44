# A Debian 13 with Wine 10 beside the checkout, as a second witness of what a Windows answers: it differs from
# Debian 12's Wine 8 in places, and most often because it is nearer to Windows. To be sourced; expects lib/common.sh.
# shellcheck disable=SC2154  # set by lib/common.sh

witness="$project/build/witness"
witness_root="$witness/root"
# What runs there was built here. A test of a program's file reads the names of Windows' functions in mingw's libraries.
witness_packages="wine,wine32:i386,wine64,cmake,python3,python3-jsonschema,msitools,wixl,osslsigncode,openssl,unzip,tzdata"
witness_packages+=",binutils-mingw-w64-i686,mingw-w64-i686-dev"

# witness_make_root: makes the root unless it is there with all of these packages. The mirrors are apt's own.
witness_make_root() {
    if [ "$(id -u)" -ne 0 ]; then
        bad "This needs root: it makes a Debian 13 in build/witness/root and changes into it."
        return 1
    fi
    if [ "$(cat "$witness/ready" 2>/dev/null)" != "$witness_packages" ]; then
        note "to be made: build/witness/root, a Debian 13 with Wine 10 (2 GB)"
        rm -rf --one-file-system "$witness"
        mkdir -p "$witness"
        # The suite without its updates: versions of the two architectures must fit together, and an index of one of
        # them may be out of step.
        # shellcheck disable=SC2016 # the names are apt's
        apt-get indextargets --format '$(SITE) $(RELEASE) $(COMPONENT)' 'Identifier: Packages' |
            sed -nE 's|^(\S+) bookworm main$|deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] \1 trixie main|p' |
            sort -u >"$witness/sources.list"
        if [ ! -s "$witness/sources.list" ]; then
            bad "apt has no source \"bookworm main\" here, whose mirror has Debian 13 too"
            return 1
        fi
        # In a mount namespace of its own: what is mounted on the way goes away with it.
        if ! unshare --mount mmdebstrap --mode=root --variant=minbase --architectures=amd64,i386 \
            --include="$witness_packages" trixie "$witness_root" "$witness/sources.list" >"$witness/make.log" 2>&1 </dev/null; then
            tail -n 20 "$witness/make.log" >&2
            bad "the root can't be made (whole log: build/witness/make.log)"
            return 1
        fi
        printf '%s\n' "$witness_packages" >"$witness/ready"
    fi
    good "ready: build/witness/root, Debian $(cat "$witness_root/etc/debian_version"), $(chroot "$witness_root" dpkg-query -W wine)"
}

# in_witness COMMAND ...: runs it in the root, in the checkout, which is at the same place there. All mounts and all
# processes are of namespaces that end with it. What the Windows build's tests report goes to build/witness/results, and
# the Wine prefix is build/witness/prefix.
in_witness() {
    local python
    # ctest calls the interpreter that was found here.
    python=$(sed -n 's/^_Python3_EXECUTABLE:INTERNAL=//p' "$project/build/windows/CMakeCache.txt")
    if [ ! -e "$witness_root$python" ]; then
        mkdir -p "$witness_root$(dirname "$python")"
        ln -s /usr/bin/python3 "$witness_root$python"
    fi
    mkdir -p "$witness_root$project" "$witness/results" "$project/build/windows/results"
    # shellcheck disable=SC2016 # for the inner shell
    unshare --mount --pid --fork --kill-child bash -euc '
        project=$1 witness=$2
        shift 2
        root="$witness/root"
        mount -t proc proc "$root/proc"
        mount --rbind /dev "$root/dev"
        mount --bind "$project" "$root$project"
        mount --bind "$witness/results" "$root$project/build/windows/results"
        chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 PYTHONDONTWRITEBYTECODE=1 \
            ZUM_SYSTEM=wine-10 ZUM_WINEPREFIX="$witness/prefix" ZUM_DIST="$witness/dist" \
            bash -euc "cd \"\$1\"; shift; exec \"\$@\"" "in witness" "$project" "$@"
    ' "in witness" "$project" "$witness" "$@"
}
