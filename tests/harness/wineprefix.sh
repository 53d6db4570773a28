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
    wine wineboot --init </dev/null >/dev/null 2>&1
    # Wine's automatic prefix update rewrites COM registrations (the WMI locator's among
    # them) after an upgrade; the tests own this prefix, so it is never updated behind them.
    echo disable >"$WINEPREFIX/.update-timestamp"
    for reg in "$@"; do
        wine regedit /S "$(winepath -w "$reg")" </dev/null >/dev/null 2>&1
    done
    echo "Wine prefix ready: $WINEPREFIX"
    ;;
cleanup)
    wineserver -k 2>/dev/null || true
    ;;
*)
    echo "usage: $0 setup|cleanup <prefix-dir> [file.reg ...]" >&2
    exit 2
    ;;
esac
