#!/bin/bash
# Runs Tarvos.exe once against the emulated WMI in a private, cached Wine prefix and shows what
# it did: the exit code, the repository difference, the autorecover list, the files it wrote and
# the trace. Without arguments it runs the demo: /CF of examples/DemoAgent.mof over version 1.0.
#
#   scripts/run-main-job.sh [options] -- <Tarvos command line>
#   scripts/run-main-job.sh [options] --undo-check <file.mof>
#   scripts/run-main-job.sh [options] --check <file.mof>
#
# Options:
#   --seed <a.mof>          compile into the repository before the run (repeatable, in order)
#   --seed-into <namespace> <a.mof>
#                           the same, into the given namespace (as mofcomp -N: does), for
#                           the classes a file's pragmas do not place, such as a CIM schema
#   --repository <dump>     start from a repository dump (wmiemutool dump) instead of a fresh one
#   --autorecover <path>    an entry of the WMI autorecover list (repeatable); the list
#                           always starts with cimwin32.mof, as on a Windows machine
#   --reg [<key>\]<name>=<value>
#                           a string value for /CM; <key> defaults to the /CM key below
#                           HKLM; a <value> naming an existing file becomes its Windows path
#   --trace-level <1..6>    trace level of the run; by default 4 for /INI= jobs, whose INI
#                           outcomes come from level-4 records, and 2 (errors and warnings)
#                           otherwise: each record costs Wine about 0.2 ms
#   --keep                  leave the repository, registry and prefix as the run left them
#   --stop                  only stop the cached prefix's Wine processes
#
# --undo-check runs /CF and /DD /MOF= of the file and says whether the repository is back where
# it started (exit 0 clean, 1 not clean, 3 when /CF failed or installed nothing); --check shows
# how Tarvos reads the file beside what the MOF compiler stores (exit 0 when they agree, 1 not).
# The prefix and the run's files live in build/mingw/mainjob (or $MAINJOB_DIR).
# Paths of the user's files (in --seed, /MOF=, /INI=, --reg values) are Linux paths; Wine sees
# them under their own names on drive Z:, so relative #pragma include folders resolve as usual.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
source "$here/mainjob/world.sh"
source "$here/mainjob/report.sh"
source "$here/mainjob/check.sh"
source "$here/mainjob/ini.sh"

usage() {
    sed -n '5,32p' "$0" | sed 's/^# \{0,1\}//' >&2
    exit 2
}
fail() {
    echo "run-main-job: $*" >&2
    exit 2
}

seeds=() seed_ns=() autorecover=() regs=() tarvos_args=() repository='' ini_file='' undo='' check='' level='' keep=0 demo=1
while [ $# -gt 0 ]; do
    case "$1" in
    --seed) [ $# -ge 2 ] || usage; seeds+=("$2"); shift 2 ;;
    --seed-into) [ $# -ge 3 ] || usage; seeds+=("$3"); seed_ns[${#seeds[@]} - 1]=$2; shift 3 ;;
    --repository) [ $# -ge 2 ] || usage; repository=$2; shift 2 ;;
    --autorecover) [ $# -ge 2 ] || usage; autorecover+=("$2"); shift 2 ;;
    --reg) [ $# -ge 2 ] || usage; regs+=("$2"); shift 2 ;;
    --trace-level) [ $# -ge 2 ] || usage; level=$2; shift 2 ;;
    --keep) keep=1; shift ;;
    --stop) world_stop; exit 0 ;;
    --undo-check) [ $# -ge 2 ] || usage; undo=$2; demo=0; shift 2 ;;
    --check) [ $# -ge 2 ] || usage; check=$2; demo=0; shift 2 ;;
    --) shift; tarvos_args=("$@"); demo=0; break ;;
    -h | --help) usage ;;
    *) echo "run-main-job: unknown option '$1'" >&2; usage ;;
    esac
done
[[ "${level:-2}" =~ ^[1-6]$ ]] || fail "--trace-level takes 1 to 6, not '$level'"
[ -z "$undo" ] || [ ${#tarvos_args[@]} -eq 0 ] || fail "--undo-check takes no Tarvos command line"
[ -z "$check" ] || [ ${#tarvos_args[@]} -eq 0 ] || fail "--check takes no Tarvos command line"
[ -z "$check" ] || [ -z "$undo" ] || fail "--check and --undo-check exclude each other"
[ -z "$repository" ] || [ ${#seeds[@]} -eq 0 ] || fail "--repository and --seed exclude each other"
for f in "${seeds[@]}" $repository $undo $check; do
    [ -f "$f" ] || fail "no such file: $f"
done

if [ $demo = 1 ]; then
    seeds=("$here/../examples/DemoAgent_1.0.mof")
    tarvos_args=(/CF "/MOF=$here/../examples/DemoAgent.mof")
fi

# Tarvos's own file names become Windows names; a missing MOF or INI file is a user's slip.
for i in "${!tarvos_args[@]}"; do
    a=${tarvos_args[$i]}
    case "${a,,}" in
    /mof=* | /ini=*)
        f=${a:5}
        f=${f#\"} f=${f%\"}
        if [ -n "$f" ] && ! is_windows_path "$f"; then
            [ -e "$f" ] || fail "no such file: $f (given as ${a:0:5})"
            tarvos_args[$i]="${a:0:5}$(windows_path "$f")"
            [[ "${a,,}" != /ini=* ]] || ini_file=$f
            written_dirs+=("$(dirname "$(realpath "$f")")")
        fi
        ;;
    esac
done

if [ -z "$level" ]; then
    level=2
    for a in "${tarvos_args[@]}"; do
        [[ "${a,,}" != /ini=* ]] || level=4
    done
fi

world_ready
world_reset "$repository"
world_registry "$level" autorecover regs

for i in "${!seeds[@]}"; do
    seed_mof "${seeds[$i]}" "${seed_ns[$i]:-}" || { echo "Tarvos was not run." >&2; exit 2; }
done

if [ -n "$undo" ]; then
    undo_check "$undo"
elif [ -n "$check" ]; then
    check_mof "$check"
else
    run_and_report "${tarvos_args[@]}"
fi
[ $keep = 1 ] && keep_note || world_reset ""
exit "$result"
