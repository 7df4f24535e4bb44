# The rehearsal: builds zum_rehearse, unless ZUM_REHEARSE names one, and hands the arguments on. To be sourced
# by demo.sh.
# shellcheck disable=SC2154  # common.sh, which demo.sh has sourced, sets what is read here

# rehearse FOLDER ARGUMENT ...: relative paths start in the folder.
rehearse() {
    local folder=$1 program=${ZUM_REHEARSE:-}
    shift
    if [ -z "$program" ]; then
        program="$project/build/native/bin/zum_rehearse"
        {
            step "Tools and build"
            # shellcheck disable=SC2086 # the list is words
            install_packages $packages_native
            configure_and_build native zum_rehearse || exit 1
            good "build/native/bin/zum_rehearse"
            printf '\n'
        } >&2
    fi
    cd -- "$folder" || exit 1
    exec "$program" "$@"
}
