#!/bin/bash
# Creates or stops a private Wine prefix for the tests.
#   wineprefix.sh setup <prefix-dir> [file.reg ...]   fresh prefix, persistent wineserver, .reg files imported
#   wineprefix.sh cleanup <prefix-dir>                 stops the prefix's wineserver
set -euo pipefail
action=$1
export WINEPREFIX=$2
shift 2
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
unset DISPLAY WAYLAND_DISPLAY

case "$action" in
setup)
    wineserver -k 2>/dev/null || true
    rm -rf "$WINEPREFIX"
    mkdir -p "$WINEPREFIX"
    # One wineserver for the whole test run: each wine start then costs milliseconds.
    wineserver -p </dev/null >/dev/null 2>&1
    # No display here: Wine's null graphics driver gives the prefix a desktop without one.
    # Otherwise every process that makes a window (COM's apartment window among them)
    # waits seconds for a desktop process that cannot start.
    wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f </dev/null >/dev/null 2>&1
    # The first process of a wineserver session boots the prefix (services, devices, desktop);
    # that boot ran before the setting above. A fresh session boots once more, with it. (An
    # explicit "wineboot --init" would start a second service control manager beside the
    # first, and the two would answer service calls in turn, each from its own database.)
    wineserver -k || true
    wineserver -w || true
    wineserver -p </dev/null >/dev/null 2>&1
    # Its first process asks for the desktop window, so the desktop process starts here with
    # no handles of a test's output (a test that started it would leave CTest waiting).
    wine rundll32 user32.dll,GetDesktopWindow </dev/null >/dev/null 2>&1
    # Wine's automatic prefix update rewrites COM registrations (the WMI locator's among
    # them) after an upgrade; the tests own this prefix, so it is never updated behind them.
    echo disable >"$WINEPREFIX/.update-timestamp"
    # When its last ordinary process ends, Wine shuts the prefix's system processes down
    # (services, RPC, desktop) and later starts them again slowly or not at all; a command
    # prompt that waits for input keeps them up until the cleanup stops the server.
    { sleep infinity </dev/null & echo $! >"$WINEPREFIX/.holder.pid"; wait; } 2>/dev/null |
        wine cmd /k >/dev/null 2>&1 &
    for reg in "$@"; do
        wine regedit /S "$(winepath -w "$reg")" </dev/null >/dev/null 2>&1
    done
    echo "Wine prefix ready: $WINEPREFIX"
    ;;
cleanup)
    if [ -f "$WINEPREFIX/.holder.pid" ]; then
        kill "$(cat "$WINEPREFIX/.holder.pid")" 2>/dev/null || true
        rm -f "$WINEPREFIX/.holder.pid"
    fi
    wineserver -k 2>/dev/null || true
    ;;
*)
    echo "usage: $0 setup|cleanup <prefix-dir> [file.reg ...]" >&2
    exit 2
    ;;
esac
