# What a run did, as the main job prints it. Sourced by run-main-job.sh.

exit_text() {
    case "$1" in
    0) echo EXITCODE_OK ;;
    1) echo "command line rejected" ;;
    3) echo EXITCODE_ERR_INIFILE_NOT_FOUND ;;
    4) echo EXITCODE_ERR_WMI_CONNECT ;;
    5) echo EXITCODE_ERR_ACCESS_DENIED ;;
    7) echo EXITCODE_ERR_NOTHING_DONE ;;
    16) echo EXITCODE_ERR_MOFCOMP_CONNECT ;;
    17) echo EXITCODE_ERR_COMPILE_MOF ;;
    18) echo EXITCODE_ERR_MOF_OLD_VERSION ;;
    19) echo EXITCODE_ERR_MOF_PARSING_FAILED ;;
    20) echo EXITCODE_ERR_ADMIN_PERMISSIONS_REQUIRED ;;
    21) echo EXITCODE_ERR_REG_ACCESS_FAILED ;;
    22) echo EXITCODE_ERR_SET_QUALIFIER_FAILED ;;
    23) echo EXITCODE_ERR_GENERAL_ERROR ;;
    *) [ "$1" -ge 268435456 ] 2>/dev/null && echo EXITCODE_ERR_PARSE_TEMPLATE_MOF || echo "unknown exit code" ;;
    esac
}

# The repository dump split into one file a namespace (a namespace's own line included).
split_dump() {
    mkdir -p "$2"
    tr -d '\r' <"$1" | awk -v dir="$2" '
        /^(namespace|class|instance) / { ns = $2; f = ns; gsub(/[\\\/]/, "#", f); f = dir "/" f }
        /^wmiemu-repository/ { next }
        f != "" { print >> f }'
}

repository_diff() {
    local a=$jobdir/diff/before b=$jobdir/diff/after changed=0 f ns
    rm -rf "$jobdir/diff"
    split_dump "$1" "$a"
    split_dump "$2" "$b"
    for f in $( (ls "$a"; ls "$b") | sort -u); do
        ns=${f//#/\\}
        [ -f "$a/$f" ] || : >"$a/$f"
        [ -f "$b/$f" ] || : >"$b/$f"
        if ! cmp -s "$a/$f" "$b/$f"; then
            changed=1
            diff -u --label "before $ns" --label "after $ns" "$a/$f" "$b/$f" || true
        fi
    done
    [ $changed = 1 ] || echo "(no change)"
}

trace_text() { [ -f "$run/Tarvos.trc" ] && iconv -f UTF-16 -t UTF-8 "$run/Tarvos.trc" | tr -d '\r'; }

run_and_report() {
    local stamp=$jobdir/stamp d
    tool dump >"$jobdir/before.txt"
    autorecover_list >"$jobdir/autorecover-before.txt"
    touch "$stamp"
    sleep 0.01
    echo "== Tarvos.exe $*"
    run_tarvos "$@"
    result=$code
    echo "Exit code: $code ($(exit_text "$code"))"
    trace_text >"$jobdir/trace.txt" || true
    if [ "$code" = 1 ]; then
        echo "Refused because:"
        grep -P '\tError\t' "$jobdir/trace.txt" | cut -f6- | sed 's/^/  /' || echo "  (no error record at this trace level)"
    fi
    echo
    echo "== Repository difference"
    tool dump >"$jobdir/after.txt"
    repository_diff "$jobdir/before.txt" "$jobdir/after.txt"
    autorecover_list >"$jobdir/autorecover-after.txt"
    if ! cmp -s "$jobdir/autorecover-before.txt" "$jobdir/autorecover-after.txt"; then
        echo
        echo "== Autorecover list"
        diff -u --label before --label after "$jobdir/autorecover-before.txt" "$jobdir/autorecover-after.txt" || true
    fi
    local files
    files=$(for d in "${written_dirs[@]}"; do find "$d" -maxdepth 1 -type f -newer "$stamp"; done | sort -u)
    if [ -n "$files" ]; then
        echo
        echo "== Files the run wrote"
        echo "$files" | sed 's/^/  /'
    fi
    echo
    echo "== Trace at level $level: $jobdir/trace.txt (UTF-8 copy of $run/Tarvos.trc)"
    [ "$level" -ge 3 ] || echo "(errors and warnings only: --trace-level 4 for Tarvos's whole story)"
    trace_problems <"$jobdir/trace.txt"
    ini_outcomes "$@"
}

# For /DD /INI= and /SQ /INI=: what became of each entry of the INI file.
ini_outcomes() {
    local a job=''
    [ -n "$ini_file" ] && [ -f "$ini_file" ] || return 0
    for a in "$@"; do
        case "${a,,}" in /dd | /sq) job=${a^^} ;; esac
    done
    [ -n "$job" ] || return 0
    echo
    echo "== INI entries ($job /INI=$ini_file)"
    if [ "$job" = /DD ]; then
        dd_ini_report "$ini_file" "$jobdir/trace.txt" "$jobdir/before.txt" "$jobdir/after.txt"
    else
        sq_ini_report "$ini_file" "$jobdir/trace.txt" "$jobdir/before.txt" "$jobdir/after.txt"
    fi
}

# Objects of a dump as one line each (header and body), sorted.
dump_objects() {
    tr -d '\r' <"$1" | awk '
        /^wmiemu-repository/ { next }
        /^[^ ]/ { if (o != "") print o; o = $0; next }
        { o = o "\x1f" $0 }
        END { if (o != "") print o }' | sort
}

# The error and warning records of a trace text (stdin), a record's further lines joined to it.
trace_problems() {
    awk '/^[0-9][0-9]\.[0-9][0-9]\.[0-9]/ { if (r != "") print r; r = $0; next } { r = r " | " $0 }
        END { if (r != "") print r }' | grep -P '\t(Error|Warning)\t' | cut -f4- | sed 's/^/  /' || true
}

# What to do about a /CF that failed, read from its trace (stdin).
cf_hint() {
    local t
    t=$(cat)
    # Not found, invalid superclass, invalid namespace.
    if grep -q 'lPhaseError = 3' <<<"$t" && grep -Eiq 'hRes = 8004100(2|d|e) ' <<<"$t"; then
        echo "The compiler could not store an object because something it names is missing (a base class,"
        echo "a schema, a namespace): start from a repository that has it (--seed, --seed-into, --repository)."
    elif grep -q "Exception caught.*0x80070057" <<<"$t"; then
        echo "Tarvos's scanner stopped on the file (a #pragma with no namespace pragma after it, or"
        echo "\"class X :\" with no { after it): see --check."
    fi
}

undo_check() {
    local mof
    mof=$(windows_path "$1")
    tool dump >"$jobdir/start.txt"
    autorecover_list >"$jobdir/autorecover-start.txt"
    echo "== Tarvos.exe /CF /MOF=$mof"
    run_tarvos /CF "/MOF=$mof"
    echo "Exit code: $code ($(exit_text "$code"))"
    tool dump >"$jobdir/installed.txt"
    if [ "$code" != 0 ]; then
        echo
        echo "Undo check: not possible, /CF ended with $code ($(exit_text "$code")):"
        trace_text >"$jobdir/trace.txt" || true
        trace_problems <"$jobdir/trace.txt"
        cf_hint <"$jobdir/trace.txt"
        result=3
        return
    fi
    changed_objects "$jobdir/start.txt" "$jobdir/installed.txt" >"$jobdir/installed.obj"
    if [ ! -s "$jobdir/installed.obj" ]; then
        echo
        echo "Undo check: nothing installed, /CF changed nothing (the class is already at that version)."
        echo "Start from a fresh repository or from one with an older version (--seed, --repository)."
        result=3
        return
    fi
    read_as_tarvos "$1" "$jobdir/installed.obj"
    differences "$jobdir/installed.obj" "$1" >"$jobdir/differences.txt"
    echo "== Tarvos.exe /DD /MOF=$mof"
    run_tarvos /DD "/MOF=$mof"
    local dd=$code
    echo "Exit code: $code ($(exit_text "$code"))"
    tool dump >"$jobdir/end.txt"
    autorecover_list >"$jobdir/autorecover-end.txt"
    trace_text >"$jobdir/trace.txt" || true
    echo
    echo "== Installed by /CF"
    repository_diff "$jobdir/start.txt" "$jobdir/installed.txt"
    dump_objects "$jobdir/start.txt" >"$jobdir/start.obj"
    dump_objects "$jobdir/end.txt" >"$jobdir/end.obj"
    local left lost
    left=$(comm -13 "$jobdir/start.obj" "$jobdir/end.obj" | cut -d$'\x1f' -f1 | sed 's/ : .*//')
    lost=$(comm -23 "$jobdir/start.obj" "$jobdir/end.obj" | cut -d$'\x1f' -f1 | sed 's/ : .*//')
    echo
    if [ "$dd" = 0 ] && [ -z "$left$lost" ] &&
        cmp -s "$jobdir/autorecover-start.txt" "$jobdir/autorecover-end.txt"; then
        echo "Undo check: clean, the repository is back where it started."
        result=0
        return
    fi
    echo "Undo check: NOT clean."
    if [ "$dd" != 0 ]; then
        echo "/DD /MOF= ended with $dd ($(exit_text "$dd")):"
        trace_problems <"$jobdir/trace.txt"
    fi
    if [ -n "$left" ]; then
        echo "Left over (or changed):"
        # Each object with the reason Tarvos's reading gives for it.
        awk -F'\t' 'FNR == NR { r[tolower($1)] = $2; next }
            { print "  " $0 (tolower($0) in r ? "   <- " r[tolower($0)] : "") }' \
            "$jobdir/differences.txt" - <<<"$left"
    fi
    [ -z "$lost" ] || { echo "Lost (or changed):"; echo "$lost" | sed 's/^/  /'; }
    if ! cmp -s "$jobdir/autorecover-start.txt" "$jobdir/autorecover-end.txt"; then
        echo "Autorecover list:"
        diff --label start --label end "$jobdir/autorecover-start.txt" "$jobdir/autorecover-end.txt" | sed 's/^/  /' || true
    fi
    if grep -q -v -P '^(class|instance|namespace) ' "$jobdir/differences.txt"; then
        echo "Also in Tarvos's reading (see --check):"
        grep -v -P '^(class|instance|namespace) ' "$jobdir/differences.txt" | sed 's/\t/: /;s/^/  /'
    fi
    result=1
}
