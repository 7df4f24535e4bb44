# How this project runs Wine: a throw-away prefix below build/, no display, no first-run windows. To be
# sourced; expects $project, the folder of the checkout.
# shellcheck disable=SC2154  # set by whoever sources this

# ZUM_WINEPREFIX names another prefix, below build/ too (the demo has one of its own). ZUM_WINE_MACHINE=second means its
# second machine: half of the tests run there, at the same time as the others (zum_python_cases).
wine_choose_prefix() {
    export WINEPREFIX="${ZUM_WINEPREFIX:-$project/build/wine/tests}${ZUM_WINE_MACHINE:+-$ZUM_WINE_MACHINE}"
}
wine_choose_prefix
export WINEARCH=win64
export WINEDEBUG=-all
export DISPLAY=
# No offer to install .NET or a browser; and a crash leaves no 90 lines of dump on the standard output.
export WINEDLLOVERRIDES="${ZUM_WINEDLLOVERRIDES:-mscoree,mshtml=;winedbg.exe=d}"
# With the C locale every name that isn't ASCII breaks.
export LC_ALL=C.UTF-8

# Makes the prefix unless it is there; only one process at a time, the others wait for it.
wine_make_prefix() {
    [ -e "$WINEPREFIX/.ready" ] && return 0
    mkdir -p "$WINEPREFIX"
    (
        flock 9
        [ -e "$WINEPREFIX/.ready" ] && exit 0
        wineboot -i >/dev/null 2>&1 </dev/null 9>&- && wineserver -w 9>&- && touch "$WINEPREFIX/.ready"
    ) 9>"$WINEPREFIX.lock"
}

# True while this prefix's server runs. Debian's Wine keeps its socket in a folder below /tmp whose name is
# in the prefix, others in one that is named after the user.
wine_runs() {
    local base server
    base=$(cat "$WINEPREFIX/wineserver" 2>/dev/null || printf '.wine-%d' "$(id -u)")
    server=$(printf 'server-%x-%x' "$(stat -c %d "$WINEPREFIX")" "$(stat -c %i "$WINEPREFIX")")
    [ -S "/tmp/$base/$server/socket" ]
}

# Makes the prefix and keeps its server alive until wine_end: a cold start costs half a second. The first
# program starts services that keep its output open for as long as they live, so whoever waits for the end
# of that output would wait for ever: the first program is one that nobody listens to.
wine_begin() {
    wine_make_prefix || return 1
    wine_runs && return 0
    wineserver -p >/dev/null 2>&1 </dev/null
    timeout 120 wine cmd /c exit >/dev/null 2>&1 </dev/null
}

# wine_on_both wine_begin|wine_end: for both machines, at the same time.
wine_on_both() {
    local first=0 second=0
    (
        ZUM_WINE_MACHINE=second
        wine_choose_prefix
        "$1"
    ) &
    "$1" || first=$?
    wait $! || second=$?
    return $((first | second))
}

wine_end() {
    [ -e "$WINEPREFIX" ] || return 0

    wineserver -k >/dev/null 2>&1 </dev/null || true
    wineserver -w >/dev/null 2>&1 </dev/null || true
}
