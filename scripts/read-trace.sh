#!/bin/bash
# Reads a Tarvos trace file as it comes from a customer's machine (UTF-16, several runs and
# processes, normal and service instance) together with its history files, and prints one block
# per run: its command line, its exit code with the code's name, and its error and warning
# records (with --level N all records up to level N: 3 Info, 4 Verbose, 5 and 6 the libraries').
#
#   scripts/read-trace.sh <trace file>... [--level N]
#
# History files (Tarvos_000.trc beside Tarvos.trc) are read first, oldest first. No Wine needed.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
source "$here/mainjob/report.sh"

usage() {
    sed -n '7p' "$0" | sed 's/^# *//' >&2
    exit 2
}
level=2 files=()
while [ $# -gt 0 ]; do
    case "$1" in
    --level) [ $# -ge 2 ] && [[ "$2" =~ ^[1-6]$ ]] || { echo "read-trace: --level takes 1 to 6" >&2; exit 2; }; level=$2; shift 2 ;;
    -h | --help) usage ;;
    -*) echo "read-trace: unknown option '$1'" >&2; usage ;;
    *) [ -f "$1" ] || { echo "read-trace: no such file: $1" >&2; exit 2; }; files+=("$1"); shift ;;
    esac
done
[ ${#files[@]} -gt 0 ] || usage

# The history files of a trace file (stem_NNN.suffix, stem_aaa.trace.txt), oldest first, then it.
with_history() {
    local f=$1 stem=$1 suffix=''
    if [[ "${f,,}" == *.trace.txt ]]; then
        stem=${f:0:${#f}-10} suffix=${f: -10}
    elif [[ "$(basename "$f")" == *.* ]]; then
        stem=${f%.*} suffix=.${f##*.}
    fi
    ls -1 "$stem"_[0-9][0-9][0-9]"$suffix" "$stem"_aaa.trace.txt 2>/dev/null | sort -u || true
    echo "$f"
}

# Records as single lines ("\n" inside a message becomes " | "), UTF-16 LE with or without
# its byte order mark; the NUL a file switch may leave is dropped.
records() {
    for f in "${files[@]}"; do with_history "$f"; done | awk '!seen[$0]++' | while read -r f; do
        iconv -f UTF-16LE -t UTF-8 "$f" | tr -d '\r\0' | sed '1s/^\xEF\xBB\xBF//'
    done | awk '
        /^[0-9][0-9]\.[0-9][0-9]\.[0-9][0-9][0-9][0-9] [0-9:.]+\t/ { if (r != "") print r; r = $0; next }
        { r = r " | " $0 }
        END { if (r != "") print r }'
}

codes=$(for c in 0 1 3 4 5 7 16 17 18 19 20 21 22 23; do echo "$c $(exit_text "$c")"; done)

records | awk -F'\t' -v level="$level" -v codes="$codes" '
    BEGIN {
        n = split(codes, c, "\n")
        for (i = 1; i <= n; i++) { split(c[i], cw, " "); name[cw[1]] = substr(c[i], length(cw[1]) + 2) }
        lv["Error"] = 1; lv["Warning"] = 2; lv["Info"] = 3; lv["Verbose"] = 4; lv["InfoCC"] = 5; lv["VerboseCC"] = 6
        lv["error"] = 1; lv["warning"] = 2
    }
    function field(i) { return $(i + shift) }
    function arg(s, key,   v, rx) {
        rx = key; gsub(/\[/, "\\[", rx); gsub(/\]/, "\\]", rx)
        if (!match(s, rx "=\047[^\047]*\047")) return ""
        v = substr(s, RSTART + length(key) + 2, RLENGTH - length(key) - 3)
        return v == "null" || v == "<null>" ? "" : v
    }
    # Blocks are kept and printed in the order the runs started.
    function finish(p,   b) {
        if (!(p in open)) return
        b = sprintf("process %s, %s to %s, %s\n", p, first[p], last[p], kind[p])
        b = b sprintf("Command line: %s\n", cmd[p])
        b = b sprintf("Exit code: %s\n", code[p] != "" ? code[p] : "unknown (no closing record: the run was cut off or is still running)")
        block[seq[p]] = b (shown[p] != "" ? shown[p] : "  (no records at level " level " or below)\n")
        delete open[p]; code[p] = ""; shown[p] = ""; cmd[p] = ""
    }
    function start(p) { open[p] = 1; first[p] = $1; seq[p] = ++runs }
    function exitname(n) { return n " (" ((n in name) ? name[n] : (n + 0 >= 268435456 ? "EXITCODE_ERR_PARSE_TEMPLATE_MOF" : "unknown exit code")) ")" }
    # The note a file switch writes carries no run of its own.
    $2 == "9999" && $1 ~ /^31\.12\.2030/ { next }
    {
        # A module column stands before the class when the trace runs with global enable.
        shift = ($5 ~ /\.(exe|dll|EXE|DLL)$/ && NF >= 10) ? 1 : 0
        p = $2; w = $4; cls = field(5); meth = field(6); cat = field(7); text = field(8); msg = field(9)
        for (i = 10 + shift; i <= NF; i++) msg = msg "\t" $i
        # A run begins with the build record of main (level 4) or its entry record.
        if (meth == "main" && text == "BUILD INFORMATION") { finish(p); start(p); built[p] = 1; kind[p] = "normal instance"; cmd[p] = "(not in the file)" }
        else if (meth == "main" && cat == "Enter" && text == "Tarvos called" || meth == "TempServiceProc" && cat == "Enter") {
            if (!built[p]) { finish(p); start(p) }
            built[p] = 0
            kind[p] = meth == "main" ? (arg(msg, "bLocalSystem") == "true" ? "LocalSystem instance" : "normal instance") : "service instance (the job of a /system run)"
            cmd[p] = arg(msg, "argv[0]")
            for (i = 1; i <= 3; i++) if ((a = arg(msg, "argv[" i "]")) != "") cmd[p] = cmd[p] " " a
        }
        if (!(p in open)) { start(p); kind[p] = "a run whose start is not in the file"; cmd[p] = "(not in the file)" }
        last[p] = $1
        if (meth == "main" && cat == "Leave" && match(msg, /nReturn=-?[0-9]+/)) code[p] = exitname(substr(msg, RSTART + 8, RLENGTH - 8))
        if (meth == "TempServiceProc" && cat == "Leave" && match(msg, /gg_nSvcExitcode=-?[0-9]+/)) code[p] = exitname(substr(msg, RSTART + 16, RLENGTH - 16)) " (handed to the waiting normal instance)"
        if ((w in lv) && lv[w] <= level)
            shown[p] = shown[p] "  " substr($1, 12) " " w "\t" (cls == "<global>" ? "" : cls "::") meth "\t" cat "\t" text (msg != "" ? "\t" msg : "") "\n"
        if (meth == "main" && cat == "Leave" || meth == "TempServiceProc" && cat == "Leave") { finish(p); built[p] = 0 }
    }
    END {
        for (p in open) finish(p)
        for (i = 1; i <= runs; i++) printf "== Run %d: %s\n", i, block[i]
        if (!runs) print "No Tarvos run in the file."
    }'
