# The rehearsal: the native build on a copy of an exported registry file. To be sourced by demo.sh.
# shellcheck disable=SC2154  # common.sh, which demo.sh has sourced, sets what is read here

# show_registry ROOT NAME: the registry of the host folder ROOT as readable text in ROOT/NAME.txt.
show_registry() {
    "$project/build/native/bin/host_reg_file_tool" dump "$1/registry.reg" >"$1/$2.dump" &&
        python3 "$project/scripts/lib/readable_registry.py" <"$1/$2.dump" >"$1/$2.txt"
}

rehearse() {
    local file=$1 root="$project/build/rehearsal" bin="$project/build/native/bin"
    [ -r "$file" ] || die "can't read $file"

    step "1. Tools and build"
    # shellcheck disable=SC2086 # the list is words
    install_packages $packages_native
    configure_and_build native zum_setup_util host_reg_file_tool || exit 1
    good "build/native/bin/zum_setup_util"

    step "2. The copy"
    rm -rf "$root"
    mkdir -p "$root/drive_c/trace" || exit 1
    cp -- "$file" "$root/registry.reg" || die "can't copy $file"
    note "$file stays as it is; the tool works on build/rehearsal/registry.reg"
    show_registry "$root" before || die "The file is no registry export that can be read; see the line above."

    step "3. zum_setup_util --trace-output=C:\\trace /unblock"
    local printed status
    printed=$(ZUM_HOST_ROOT="$root" "$bin/zum_setup_util" '--trace-output=C:\trace' /unblock)
    status=$?
    note "printed: $printed"
    note "exit status (the low 8 bits of the code): $status"
    show_registry "$root" after || exit 1

    step "4. What changes in the registry"
    if diff -u --label before --label after "$root/before.txt" "$root/after.txt" >"$root/difference.txt"; then
        note "nothing: the file has no marked value that the tool acts on"
    else
        sed 's/^/   /' "$root/difference.txt"
    fi

    step "5. The trace"
    sed 's/\r$//; s/^/   /' "$root"/drive_c/trace/*.log

    printf '\n'
    if [ "$status" -ne 0 ]; then
        die "The rehearsal failed: $printed"
    fi
    good "Rehearsed. Before, after and the difference are in build/rehearsal."
}
