# How this project runs Wine: a throw-away prefix below build/, no display, no first-run windows. To be
# sourced; expects $project, the folder of the checkout.

# ZUM_WINEPREFIX names another prefix, below build/ too (the demo has one of its own).
export WINEPREFIX="${ZUM_WINEPREFIX:-$project/build/wine/tests}"
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

# Keeps the server of this prefix alive until wine_end: a cold start costs half a second.
wine_begin() {
    wine_make_prefix && { wineserver -p >/dev/null 2>&1 </dev/null || true; }
}

wine_end() {
    wineserver -k >/dev/null 2>&1 || true
    wineserver -w >/dev/null 2>&1 || true
}
