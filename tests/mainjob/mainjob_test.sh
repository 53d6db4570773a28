#!/bin/bash
# One case of the main-job script's tests: mainjob_test.sh <case>. Exit 0 when it holds.
set -uo pipefail
job=$(cd "$(dirname "$0")/../.." && pwd)/scripts/run-main-job.sh
files=${MAINJOB_SCRATCH:-/tmp/mainjob-test-files}/$1
rm -rf "$files" && mkdir -p "$files" && cd "$files" || exit 1

failures=0
# expect <what> <wanted exit code> <text that must appear> -- <run-main-job arguments>
expect() {
    local what=$1 want=$2 text=$3
    shift 4
    out=$("$job" "$@" 2>&1)
    local got=$?
    if [ "$got" != "$want" ] || ! grep -qF -- "$text" <<<"$out"; then
        echo "FAILED: $what: exit $got (wanted $want), wanted the text: $text"
        echo "$out" | sed 's/^/    /'
        failures=$((failures + 1))
    else
        echo "ok: $what"
    fi
}

mof() {
    cat >"$1"
}

case "$1" in
stop)
    "$job" --stop
    exit 0
    ;;
arguments)
    expect "unknown option" 2 "unknown option '--frob'" -- --frob
    expect "trace level out of range" 2 "--trace-level takes 1 to 6" -- --trace-level 9 -- /?
    expect "missing seed file" 2 "no such file: nowhere.mof" -- --seed nowhere.mof -- /?
    expect "missing MOF of the command line" 2 "no such file: absent.mof (given as /MOF=)" -- -- /CF /MOF=absent.mof
    expect "undo check with a command line" 2 "--undo-check takes no Tarvos command line" -- --undo-check x -- /CF
    expect "--reg without a value" 2 "--reg takes" -- --reg novalue -- /CM
    ;;
seed_failure)
    printf 'class Broken\n{\n  string A\n};\n' | mof broken.mof
    expect "seed that does not parse" 2 "does not compile (phase 2, parsing): parse error 0x80044" -- --seed broken.mof -- /?
    grep -q "Tarvos was not run" <<<"$out" || { echo "FAILED: Tarvos was run"; failures=$((failures + 1)); }
    ;;
refused)
    printf 'class A { };\n' | mof a.mof
    expect "two actions" 1 "Only one action: /cf, /dd, /cm is allowed" -- -- /CF /MOF=a.mof /DD
    grep -q "Exit code: 1 (command line rejected)" <<<"$out" || failures=$((failures + 1))
    ;;
delete_diff)
    printf '#pragma namespace("\\\\\\\\.\\\\root\\\\cimv2")\nclass Old_Thing\n{\n  [key] string Id;\n};\ninstance of Old_Thing { Id = "x"; };\nclass Kept_Thing { };\n' | mof seed.mof
    printf '#pragma namespace("\\\\\\\\.\\\\root\\\\cimv2")\nclass Old_Thing\n{\n  [key] string Id;\n};\ninstance of Old_Thing { Id = "x"; };\n' | mof remove.mof
    expect "/DD shows what went" 0 "-class root\\cimv2 Old_Thing" -- --seed seed.mof --autorecover remove.mof -- /DD /MOF=remove.mof
    grep -qF -- "--- before root\\cimv2" <<<"$out" || { echo "FAILED: no per-namespace header"; failures=$((failures + 1)); }
    grep -qF -- "-Z:${files//\//\\}\\remove.mof" <<<"$(sed -n '/== Autorecover list/,$p' <<<"$out")" ||
        { echo "FAILED: the autorecover entry did not go"; failures=$((failures + 1)); }
    grep -qF -- "-class root\\cimv2 Kept_Thing" <<<"$out" && { echo "FAILED: an untouched class went"; failures=$((failures + 1)); }
    ;;
undo_clean)
    printf '#pragma autorecover\n#pragma namespace("\\\\\\\\.\\\\root\\\\cimv2")\n[Version("1.0")]\nclass Clean_Agent\n{\n  [key] string Id;\n};\ninstance of Clean_Agent { Id = "a"; };\n' | mof clean.mof
    expect "an uninstall that leaves nothing" 0 "Undo check: clean" -- --undo-check clean.mof
    ;;
undo_leftover)
    printf '#pragma autorecover\n#pragma namespace("\\\\\\\\.\\\\root")\ninstance of __Namespace { Name = "LeftOver"; };\n#pragma namespace("\\\\\\\\.\\\\root\\\\LeftOver")\n[Version("1.0")]\nclass Left_Agent { [key] string Id; };\n' | mof left.mof
    expect "an uninstall that leaves a namespace" 1 "namespace root\\LeftOver" -- --undo-check left.mof
    grep -q "Undo check: NOT clean" <<<"$out" || failures=$((failures + 1))
    grep -q "class root\\\\LeftOver Left_Agent" <<<"$(sed -n '/Left over/,$p' <<<"$out")" &&
        { echo "FAILED: the class is reported left over"; failures=$((failures + 1)); }
    ;;
dump_roundtrip)
    # wmidump.exe's text of the try-run's repository (through COM, system classes included) loads
    # back through --repository and dumps to the same text.
    build=$(dirname "$job")/../build/mingw
    dump() {
        WINEPREFIX=$MAINJOB_DIR/prefix WINEDEBUG=-all WMIEMU_REPOSITORY="Z:${MAINJOB_DIR//\//\\}\\run\\repository.txt" \
            wine "$build/bin/wmidump.exe" root >"$1" 2>&1 || { echo "FAILED: wmidump: $(cat "$1")"; failures=$((failures + 1)); }
    }
    cat >seed.mof <<'MOF'
#pragma namespace("\\\\.\\root")
instance of __Namespace { Name = "TarvosDump"; };
#pragma namespace("\\\\.\\root\\TarvosDump")
[abstract, Version("2.1"): ToSubclass DisableOverride, Description("base")]
class Dump_Base { [key] string Id; uint32 Count = 3; real64 Ratio = 0.5; };
class Dump_Item : Dump_Base { [Description("more")] uint32 Count = 4; uint64 Big; sint8 Small; boolean Flag;
    datetime When; char16 Letter; string Names[]; real32 Part; Dump_Item ref Next; };
instance of Dump_Item as $A { Id = "a\"q\\b"; Big = 18446744073709551615; Small = -7; Flag = true;
    When = "20240101000000.000000+060"; Letter = 65; Names = {"x", "y"}; Part = 0.1; };
instance of Dump_Item { Id = "b"; Next = $A; Count = 9; };
MOF
    "$job" --seed seed.mof --keep -- /? >/dev/null 2>&1
    dump first.txt
    "$job" --repository first.txt --keep -- /? >/dev/null 2>&1
    dump second.txt
    if ! grep -q "^class root\\\\TarvosDump __SystemClass" first.txt || ! grep -q "^instance root\\\\TarvosDump Dump_Item" first.txt; then
        echo "FAILED: the dump lacks the system classes or the instances"; failures=$((failures + 1))
    fi
    diff -u first.txt second.txt || { echo "FAILED: the reloaded repository dumps differently"; failures=$((failures + 1)); }
    # A Windows machine's system classes differ: another qualifier, a class of its own.
    awk '/^class root\\TarvosDump __thisNAMESPACE / { print "class root\\TarvosDump __SystemSecurity : __SystemClass" }
         { print } /^class root\\TarvosDump __SystemClass$/ { print "  qualifier Locale flavor=0x0 = 1033" }' first.txt >windows.txt
    "$job" --repository windows.txt --keep -- /? >/dev/null 2>&1
    dump third.txt
    [ "$(wc -l <windows.txt)" -gt "$(wc -l <first.txt)" ] && diff -u windows.txt third.txt ||
        { echo "FAILED: a dump with other system classes does not come back as it was"; failures=$((failures + 1)); }
    echo "dump: $(wc -l <first.txt) lines"
    ;;
*)
    echo "unknown case $1"
    exit 2
    ;;
esac
exit $((failures > 0))
