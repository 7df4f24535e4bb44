# The demonstration on a really installed package. To be sourced by demo.sh.
# shellcheck disable=SC2154  # common.sh, which demo.sh has sourced, sets what is read here

export ZUM_WINEPREFIX="$project/build/wine/demo"
. "$project/scripts/lib/wine.sh"

code='{7B3C1F62-9A54-4E0D-8C21-5D6E7F8091A2}'
packed='26F1C3B745A9D0E4C812D5E6F708192A' # the same code as the installer writes it in key names
properties="HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Products\\$packed\\InstallProperties"
sources="HKLM\\SOFTWARE\\Classes\\Installer\\Products\\$packed\\SourceList"
work="$project/build/demo"
runexit="$project/build/windows/tests/e2e/runexit.exe"
folder="$WINEPREFIX/drive_c/demo" # C:\demo
installed_file="$WINEPREFIX/drive_c/Program Files (x86)/Quorvanta ZUM/zum.txt"

# hex TEXT: the digits of its UTF-16 bytes, as the helper that starts programs takes them.
hex() { printf '%s' "$1" | iconv -f UTF-8 -t UTF-16LE | od -An -v -tx1 | tr -d ' \n'; }

# windows PROGRAM COMMAND_LINE: runs a Windows program to its end. Its standard output is in $printed, its
# full 32-bit exit status, as eight hexadecimal digits, in $status.
windows() {
    printf '%s\n%s\n' "$(hex "$1")" "$(hex "$2")" >"$work/runexit.in"
    timeout 120 wine "$runexit" <"$work/runexit.in" >"$work/runexit.out" 2>/dev/null
    status=$(tr -d '\r' <"$work/runexit.out" | sed -n 's/^exit=//p')
    printed=$(tr -d '\r' <"$work/runexit.out" | sed -n 's/^output=//p' | sed 's/../\\x&/g')
    printed=$(printf '%b' "$printed")
    [ -n "$status" ] || die "Wine did not run: $2"
}

# msiexec ARGUMENTS: runs the prefix's own 32-bit installer.
msiexec() { windows 'C:\windows\syswow64\msiexec.exe' "msiexec.exe $1"; }

# registry ARGUMENT ...: reg.exe on the 64-bit view.
registry() { timeout 60 wine reg "$@" /reg:64 >"$work/reg.out" 2>/dev/null </dev/null; }

# value_of KEY NAME: prints a value's text, or "(no such value)".
value_of() {
    if registry query "$1" /v "$2"; then
        tr -d '\r' <"$work/reg.out" | sed -n "s/^ *$2 *REG_SZ *//p"
    else
        printf '(no such value)\n'
    fi
}

show_records() {
    local name key
    for name in LocalPackage LocalPackageNotExist PackageName PackageNameNotExist; do
        key=$properties
        case $name in PackageName*) key=$sources ;; esac
        printf '%s\t%s\n' "$name" "$(value_of "$key" "$name")"
    done >"$1"
}

# mark KEY ORDINARY: what the product's protection does: the ordinary value under the marked name.
mark() {
    local data
    data=$(value_of "$1" "$2")
    if ! registry add "$1" /v "$2NotExist" /t REG_SZ /d "$data" /f || ! registry delete "$1" /v "$2" /f; then
        die "The value $2 could not be marked."
    fi
    note "$2 -> $2NotExist"
}

step "1. Tools"
# shellcheck disable=SC2086 # the list is words
install_packages $packages_windows

step "2. Build the Windows program"
configure_and_build windows zum_setup_util zum_e2e_runexit || exit 1
good "build/windows/bin/zum_setup_util.exe ($(stat -c %s build/windows/bin/zum_setup_util.exe) bytes)"

step "3. A Wine prefix and a package"
mkdir -p "$work"
wine_begin || die "The Wine prefix can't be made."
trap wine_end EXIT
rm -rf "$folder"
mkdir -p "$folder/trace"
cp build/windows/bin/zum_setup_util.exe "$folder/" || exit 1
printf 'The one file of the package.\r\n' >"$work/zum.txt"
cp scripts/demo/zum_win.wxs "$work/" || exit 1
(cd "$work" && wixl -o zum_win.msi zum_win.wxs) || die "wixl failed."
cp "$work/zum_win.msi" "$folder/"
good "build/wine/demo, C:\\demo\\zum_win.msi"

step "4. Install it:  msiexec /i C:\\demo\\zum_win.msi /qn"
if [ -e "$installed_file" ]; then
    note "a run before this one was cut off: cleaning up after it"
    windows 'C:\demo\zum_setup_util.exe' 'C:\demo\zum_setup_util.exe /unblock'
    msiexec "/x $code /qn"
fi
msiexec '/i C:\demo\zum_win.msi /qn'
[[ $status = 00000000 && -e $installed_file ]] || die "The installation failed with $((16#$status))."
good "installed: C:\\Program Files (x86)\\Quorvanta ZUM\\zum.txt"

step "5. Mark its records, as the product's protection does"
mark "$properties" LocalPackage
mark "$sources" PackageName
show_records "$work/before"

step "6. The installer can't remove the product now:  msiexec /x {code} /qn"
msiexec "/x $code /qn"
[ "$status" != 00000000 ] || die "msiexec succeeded, though the records are marked."
note "msiexec ended with $((16#$status))$([ "$status" = 0000064c ] && printf ': the installation source is not available')"
[ -e "$installed_file" ] || die "The file is gone although msiexec failed."
good "as told: the product is still there"

step "7. zum_setup_util.exe --trace-output=C:\\demo\\trace /unblock"
windows 'C:\demo\zum_setup_util.exe' 'C:\demo\zum_setup_util.exe --trace-output=C:\demo\trace /unblock'
note "printed:     $printed"
note "exit status: $((16#$status)) (0x$status)"
[[ $status = 00000000 && $printed = Completed ]] || die "The tool failed."
show_records "$work/after"
printf '\n   %-22s %-32s %s\n' 'value' 'before' 'after'
paste "$work/before" "$work/after" | while IFS=$'\t' read -r name before _ after; do
    printf '   %-22s %-32s %s\n' "$name" "$before" "$after"
done
grep -q "^LocalPackage.(no such value)" "$work/after" && die "LocalPackage is not back."
[ "$(sed -n 's/^PackageName\t//p' "$work/after")" = zum_win.msi ] || die "PackageName is not back."
printf '\n   The trace file:\n'
sed 's/\r$//; s/^/   | /' "$folder"/trace/*.log

step "8. Now the installer removes it:  msiexec /x {code} /qn"
msiexec "/x $code /qn"
[ "$status" = 00000000 ] || die "msiexec ended with $((16#$status))."
[ ! -e "$installed_file" ] || die "The installed file is still there."
good "removed: the file is gone"

printf '\n%sDone: the records were repaired, and the product could be removed.%s\n' "$bold$green" "$plain"
