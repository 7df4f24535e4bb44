#!/usr/bin/env bash
# Makes the packages, after installing what that needs (as root):
#
#   scripts/package.sh                            all of them, in dist/
#   scripts/package.sh win32                      the Windows programs, and their symbols
#   scripts/package.sh check                      the checks for an owner of a Windows machine
#   scripts/package.sh debian                     the Debian package of zum_rehearse
#
#   --sign CERT KEY    signs the Windows programs: PEM files, the certificate first, those that it hangs on behind it
#   --timestamp URL    with a time stamp of this service
#   --output DIR       into this folder
#
# The same commit gives the same bytes, but for signatures, whatever else the build folder holds. All times in them are
# SOURCE_DATE_EPOCH: as given, else the release's date in CHANGELOG.md, else the commit's time. The version is
# CMakeLists.txt's.
set -eu
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
. "$project/scripts/lib/packages.sh"

usage() {
    printf 'usage: scripts/package.sh [win32|check|debian] [--sign CERT KEY [--timestamp URL]] [--output DIR]\n' >&2
    exit 2
}

what=all certificate='' key='' timestamp='' output=dist
while [ $# -gt 0 ]; do
    case "$#:$1" in
        *:win32 | *:check | *:debian) [ "$what" = all ] || usage; what=$1; shift ;;
        1:* | 2:--sign) usage ;;
        *:--sign)
            certificate=$(realpath -e -- "$2") || usage
            key=$(realpath -e -- "$3") || usage
            shift 3
            ;;
        *:--timestamp) timestamp=$2; shift 2 ;;
        *:--output) output=$2; shift 2 ;;
        *) usage ;;
    esac
done
[ -z "$timestamp" ] || [ -n "$certificate" ] || usage
[ -z "$certificate" ] || [ "$what" != debian ] || usage
mkdir -p "$output"
output=$(realpath -- "$output")

settle_source

# The Windows programs, with all that goes along: zum_setup_util-VERSION-win32.zip, and the symbols.
package_win32() {
    local build="$project/build/windows" name="zum_setup_util-$version-win32" stage symbols
    step "The Windows programs"
    configure_and_build windows zum_setup_util zum_rehearse zum_package_documents || exit 1
    symbols=$(stage_anew "$name-symbols")
    cmake --install "$build" --component symbols --prefix "$symbols" >/dev/null
    stage=$(stage_anew "$name")
    cmake --install "$build" --component programs --prefix "$stage" >/dev/null
    cmake --install "$build" --component documents --prefix "$stage" >/dev/null
    sign_with_notes win32 "$stage" "$symbols"
    python3 packaging/bill_of_materials.py "$version" "$build" "$stage"
    (cd "$stage" && list_files | xargs -d '\n' sha256sum >../SHA256SUMS && mv ../SHA256SUMS .)
    make_zip "$name"
    make_zip "$name-symbols"
}

# The test programs that may run on a real machine, and what asks for leave and runs them:
# zum_setup_util-VERSION-win32-check.zip.
package_check() {
    local build="$project/build/windows" name="zum_setup_util-$version-win32-check" stage
    step "The checks for a Windows machine"
    configure_and_build windows zum_check_programs zum_check_documents || exit 1
    stage=$(stage_anew "$name")
    cmake --install "$build" --component check --prefix "$stage" >/dev/null
    sign_with_notes check "$stage"
    python3 tests/windows_check/check_list.py "$stage"
    (cd "$stage" && list_files | xargs -d '\n' sha256sum >../SHA256SUMS && mv ../SHA256SUMS .)
    make_zip "$name"
}

# The native program of the rehearsal: zum-rehearse_VERSION_amd64.deb.
package_debian() {
    local build="$project/build/native" folder="$packages/debian"
    step "The Debian package"
    configure_and_build native zum_rehearse zum_package_documents || exit 1
    rm -rf "$folder"
    cpack --config "$build/CPackConfig.cmake" -B "$folder" >"$packages/debian.log" 2>&1 ||
        { tail -n 20 "$packages/debian.log" >&2; die "cpack failed (whole log: build/packages/debian.log)"; }
    cp -- "$folder/zum-rehearse_${version}_amd64.deb" "$output/"
    good "zum-rehearse_${version}_amd64.deb"
}

step "Tools"
# shellcheck disable=SC2086 # the lists are words
case "$what" in
    all) install_packages $packages_native $packages_windows $packages_packaging ${certificate:+osslsigncode} ;;
    win32 | check) install_packages $packages_windows $packages_packaging ${certificate:+osslsigncode} ;;
    debian) install_packages $packages_native $packages_packaging ;;
esac
note "version $version, commit ${ZUM_SOURCE_COMMIT:-not known}, time $(date -u -d "@$SOURCE_DATE_EPOCH" '+%Y-%m-%d %H:%M:%S')"
case "$what" in
    all) package_win32; package_check; package_debian ;;
    win32) package_win32 ;;
    check) package_check ;;
    debian) package_debian ;;
esac

step "In $output"
(cd "$output" && sha256sum -- "zum_setup_util-$version"-*.zip "zum-rehearse_$version"_*.deb 2>/dev/null) || true
