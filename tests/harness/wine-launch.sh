#!/bin/bash
# Runs a test program under Wine: wine-launch.sh <wine> <program> [arguments...]
# Now and then, on a loaded machine, Wine fails to start a process at all: it ends at once with
# a failure code before the program has written a line (a GoogleTest program always writes its
# first line before any test runs). Such a run is said on stderr and made once more; a run that
# wrote anything stands as it is.
set -u
log=$(mktemp)
trap 'rm -f "$log"' EXIT
for attempt in 1 2; do
    # Passed on as it comes, so that a run CTest ends at its time-out still shows its output.
    "$@" 2>&1 | tee "$log"
    rc=${PIPESTATUS[0]}
    if [ -s "$log" ] || [ $rc = 0 ] || [ $attempt = 2 ]; then
        break
    fi
    echo "wine-launch: $2 ended with $rc before writing anything (Wine did not start it); once more" >&2
done
exit $rc
