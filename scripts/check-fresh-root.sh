#!/usr/bin/env bash
# Installs the Debian package in a fresh Debian 12, runs the program there, and removes it without a trace:
#
#   scripts/check-fresh-root.sh PACKAGE.deb
#
# The root is made below build/, as root, from the system's own package sources, and stays until the next run. What the
# package depends on is installed before the first list of files is taken, so that the second one may differ by the
# package's own files alone, and the third one not at all.
set -eu
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"

[ $# -eq 1 ] || { printf 'usage: scripts/check-fresh-root.sh PACKAGE.deb\n' >&2; exit 2; }
deb=$(realpath -e -- "$1")
fresh="$project/build/packages/fresh"
root="$fresh/root"
name=$(dpkg-deb -f "$deb" Package)
mkdir -p "$fresh"

make_root() {
    local depends
    depends=$(dpkg-deb -f "$deb" Depends | sed 's/ *([^)]*)//g; s/ //g')
    rm -rf --one-file-system "$root"
    # The sources as apt has them here, in the form of lines.
    # shellcheck disable=SC2016 # the names are apt's
    apt-get indextargets --format 'deb $(SITE) $(RELEASE) $(COMPONENT)' 'Identifier: Packages' |
        grep -E ' bookworm(-security|-updates)? main$' | sort -u >"$fresh/sources.list"
    mmdebstrap --variant=minbase --architectures=amd64 --include="$depends" bookworm "$root" "$fresh/sources.list" \
        >"$fresh/make.log" 2>&1 || { tail -n 20 "$fresh/make.log" >&2; die "the fresh root can't be made"; }
}

# The names of all files, but of what the kernel shows, and of the logs that the package manager writes for itself.
list_files() {
    (cd "$root" && find . \( -path ./proc -o -path ./sys -o -path ./dev -o -path ./tmp \) -prune -o -printf '%y %m %p\n') |
        grep -vE ' \./var/(lib/dpkg/(status|available|diversions|statoverride)-old|log/(dpkg|alternatives)\.log)$' | sort
}

in_root() { env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive chroot "$root" "$@"; }

make_root
echo "root: Debian $(cat "$root/etc/debian_version"), $(in_root dpkg-query -W | wc -l) packages"
if [ -e "$root/usr/bin/zum_rehearse" ]; then die "the program is there already"; fi
list_files >"$fresh/before"

cp -- "$deb" "$root/tmp/package.deb"
in_root dpkg --install /tmp/package.deb >"$fresh/install.log" 2>&1 || { cat "$fresh/install.log" >&2; die "it can't be installed"; }
rm "$root/tmp/package.deb"
list_files >"$fresh/installed"
in_root dpkg -L "$name" | sed 's/^\/\.$/\//; s/^/./' | sort >"$fresh/listed"
added=$(comm -13 "$fresh/before" "$fresh/installed" | cut -d' ' -f3- | grep -v "^\./var/lib/dpkg/info/$name\.")
unlisted=$(printf '%s\n' "$added" | sort | comm -23 - "$fresh/listed")
[ -n "$added" ] || die "the installation added nothing"
[ -z "$unlisted" ] || die "files that the package doesn't own: $unlisted"
echo "installed: $(printf '%s\n' "$added" | wc -l) files and folders, all of them the package's"

# As a user would: an export with one marked product, from a folder of that user's.
mkdir -p "$root/tmp/home"
cat >"$root/tmp/home/an export.reg" <<'REG'
Windows Registry Editor Version 5.00

[HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\Installer\UserData\S-1-5-18\Products\26F1C3B745A9D0E4C812D5E6F708192A\InstallProperties]
"LocalPackageNotExist"="C:\\Windows\\Installer\\159.msi"

[HKEY_LOCAL_MACHINE\SOFTWARE\Classes\Installer\Products\26F1C3B745A9D0E4C812D5E6F708192A\SourceList]
"PackageNameNotExist"="zum_win.msi"
REG
chown -R 65534:65534 "$root/tmp/home"
version=$(in_root zum_rehearse --version)
[ "$version" = "$(dpkg-deb -f "$deb" Version)" ] || die "the program says that it is $version"
status=0
as_user='cd /tmp/home && exec setpriv --reuid=65534 --regid=65534 --clear-groups zum_rehearse --csv --html page.html "an export.reg"'
in_root sh -c "$as_user" >"$fresh/output" || status=$?
[ "$status" -eq 1 ] || die "the program ended with $status"
grep -q 'would-be-repaired' "$fresh/output" || die "the product isn't told: $(cat "$fresh/output")"
grep -q '7B3C1F62-9A54-4E0D-8C21-5D6E7F8091A2' "$root/tmp/home/page.html" || die "the page doesn't have the product"
rm -rf "$root/tmp/home"
echo "run as a plain user: version $version, status 1, would-be-repaired, and a page"

in_root dpkg --purge "$name" >"$fresh/purge.log" 2>&1 || { cat "$fresh/purge.log" >&2; die "it can't be removed"; }
list_files >"$fresh/after"
diff "$fresh/before" "$fresh/after" || die "the removal left a trace"
echo "removed: the same $(wc -l <"$fresh/after") files and folders as before"
