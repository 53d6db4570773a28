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
    expect "check with a command line" 2 "--check takes no Tarvos command line" -- --check x -- /CF
    expect "check and undo check" 2 "exclude each other" -- --check x --undo-check x
    expect "seed into without its file" 2 "--seed-into <namespace> <a.mof>" -- --seed-into root
    expect "check of a missing file" 2 "no such file: absent.mof" -- --check absent.mof
    ;;
seed_failure)
    printf 'class Broken\n{\n  string A\n};\n' | mof broken.mof
    expect "seed that does not parse" 2 "does not compile (phase 1, parsing): parse error 0x80044" -- --seed broken.mof -- /?
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
    grep -qF "== Trace at level 2:" <<<"$out" || { echo "FAILED: not the errors-and-warnings level"; failures=$((failures + 1)); }
    ;;
undo_clean)
    printf '#pragma autorecover\n#pragma namespace("\\\\\\\\.\\\\root\\\\cimv2")\n[Version("1.0")]\nclass Clean_Agent\n{\n  [key] string Id;\n};\ninstance of Clean_Agent { Id = "a"; };\n' | mof clean.mof
    expect "an uninstall that leaves nothing" 0 "Undo check: clean" -- --undo-check clean.mof
    ;;
undo_leftover)
    printf '#pragma autorecover\n#pragma namespace("\\\\\\\\.\\\\root")\ninstance of __Namespace { Name = "LeftOver"; };\n#pragma namespace("\\\\\\\\.\\\\root\\\\LeftOver")\n[Version("1.0")]\nclass Left_Agent { [key] string Id; };\n' | mof left.mof
    expect "an uninstall that leaves a namespace" 1 "namespace root\\LeftOver   <- a namespace, which /DD /MOF= never deletes" -- --undo-check left.mof
    grep -q "Undo check: NOT clean" <<<"$out" || failures=$((failures + 1))
    grep -q "class root\\\\LeftOver Left_Agent" <<<"$(sed -n '/Left over/,$p' <<<"$out")" &&
        { echo "FAILED: the class is reported left over"; failures=$((failures + 1)); }
    ;;
undo_verdicts)
    printf '#pragma namespace("\\\\\\\\.\\\\root\\\\cimv2")\n[Version("1.0")]\nclass Win32_ProcessEx : CIM_Process\n{\n};\n' | mof nobase.mof
    expect "/CF fails" 3 "Undo check: not possible, /CF ended with 17" -- --undo-check nobase.mof
    grep -qP "Error\t" <<<"$out" || { echo "FAILED: no error record"; failures=$((failures + 1)); }
    printf 'class CIM_Process\n{\n  [key] string Handle;\n};\n' | mof base.mof
    expect "its base class seeded into root\\cimv2" 0 "Undo check: clean" -- --seed-into 'root\cimv2' base.mof --undo-check nobase.mof
    printf '#pragma namespace("\\\\\\\\.\\\\root\\\\cimv2")\n[Version("1.0")]\nclass Done_Agent\n{\n  [key] string Id;\n};\n' | mof done.mof
    expect "/CF installs nothing" 3 "Undo check: nothing installed" -- --seed done.mof --undo-check done.mof
    printf '#pragma namespace("//./root/cimv2")\n[Version("1.0")]\nclass Slash_Agent\n{\n  [key] string Id;\n};\ninstance of Slash_Agent { Id = "a"; };\n' | mof slash.mof
    expect "a misread pragma" 1 "/DD /MOF= ended with 19" -- --undo-check slash.mof
    grep -qF "class root\cimv2 Slash_Agent   <- /DD /MOF= looks for it in" <<<"$out" || { echo "FAILED: no reason"; failures=$((failures + 1)); }
    ;;
check)
    printf '#pragma namespace("//./root/cimv2")\n[Version("1.0")]\nclass Slash_Agent\n{\n  [key] string Id;\n};\ninstance of Slash_Agent { Id = "a"; };\n' | mof slash.mof
    expect "forward-slash pragma" 1 "line 1: a pragma Tarvos misreads" -- --check slash.mof
    printf 'class Plain_Agent\n{\n  [key] string Id;\n  string Note = "a class inside";\n};\ninstance of Plain_Agent { Id = "a"; };\ninstance of Plain_Agent { Id = "b"; };\n' | mof plain.mof
    expect "no namespace pragma" 1 "class root\default Plain_Agent: /DD /MOF= looks for it in no namespace" -- --check plain.mof
    grep -cF 'instance root\default Plain_Agent: Plain_Agent.Id="' <<<"$out" | grep -qx 2 || { echo "FAILED: not both instances"; failures=$((failures + 1)); }
    printf '#pragma namespace("\\\\\\\\.\\\\root\\\\cimv2")\nclass Keyless_Agent\n{\n  string Id;\n};\ninstance of Keyless_Agent { Id = "a"; };\n[Description("no class Foo {")]\nclass Keyed_Agent\n{\n  [key] uint32 Id;\n};\ninstance of Keyed_Agent { Id = 3; };\n' | mof keys.mof
    expect "keyless instance" 1 "an instance without keys: never deleted" -- --check keys.mof
    grep -qF "the word class inside a string" <<<"$out" || { echo "FAILED: class in a string"; failures=$((failures + 1)); }
    printf '#pragma namespace("\\\\\\\\.\\\\root\\\\cimv2")\nclass Over_Agent\n{\n  [key] string Id;\n  string Note;\n};\ninstance of Over_Agent { Id = "a"; Note = "x;yz"; };\ninstance of Over_Agent { Id = "b"; };\n' | mof over.mof
    expect "an instance scan that runs over the next" 1 "declaration at line 8: the scan of the instance at line 7 ran over it" -- --check over.mof
    printf '#pragma namespace("\\\\\\\\.\\\\root\\\\cimv2")\nclass Both_Agent\n{\n  [key] string Id;\n};\ninstance of Both_Agent { Id = "a"; };\n' | mof both.mof
    expect "readings agree" 0 "Check: both readings agree." -- --check both.mof
    ;;
ini_outcomes)
    cp "$(dirname "$job")"/../examples/DemoAgent.mof .
    printf '[Namespaces]\n1=root\\TarvosDemo\n[DeleteInstances]\n1=Demo_Agent.Name="agent"\n2=Demo_Agent.Name="gone"\n[DeleteClasses]\n1=__Namespace\n2=Demo_Agent\n[DeleteNamespace]\n1=root\\TarvosDemo\n[DeleteClasses]\n3=Later\n' | mof DemoCleanup.ini
    expect "/DD /INI= entries" 0 '[DeleteInstances] Demo_Agent.Name="agent": root\TarvosDemo: deleted' -- --seed DemoAgent.mof -- /DD /INI=DemoCleanup.ini
    grep -qF '[DeleteNamespace] root\TarvosDemo: deleted' <<<"$out" || { echo "FAILED: namespace"; failures=$((failures + 1)); }
    grep -qF '[DeleteClasses] __Namespace: root\TarvosDemo: refused: 0x8004' <<<"$out" && ! grep -qF Later <<<"$out" &&
        grep -qF '[DeleteInstances] Demo_Agent.Name="gone": root\TarvosDemo: not found' <<<"$out" || { echo "FAILED: /DD outcomes"; failures=$((failures + 1)); }
    printf '[Qualifier]\n1=root\\TarvosDemo:Demo_Agent.Version=1.2\n2=no separator\n3=root\\TarvosDemo:Demo_Agent.Missing=1\n4=root\\TarvosDemo:Demo_Agent.Version=1.3\n' | mof q.ini
    expect "/SQ /INI= entries" 22 '1=root\TarvosDemo:Demo_Agent.Version=1.2: set from "1.1" to "1.2"' -- --seed DemoAgent.mof -- /SQ /INI=q.ini
    grep -qF '3=root\TarvosDemo:Demo_Agent.Missing=1: refused: oAcc.GetQualifier failed' <<<"$out" &&
        grep -qF '4=root\TarvosDemo:Demo_Agent.Version=1.3: not set (the job stopped' <<<"$out" &&
        grep -qF '2=no separator: not set' <<<"$out" || { echo "FAILED: /SQ outcomes"; failures=$((failures + 1)); }
    ;;
read_trace)
    reader=$(dirname "$job")/read-trace.sh
    { printf '\xff\xfe'; printf '%s\r\n' \
        $'01.02.2026 10:00:00.000\t0100\t0001\tVerbose\t<global>\tmain\tInternal\tBUILD INFORMATION\tNODEBUG' \
        $'01.02.2026 10:00:00.001\t0100\t0001\tInfo\t<global>\tmain\tEnter\tTarvos called\tbLocalSystem=\'false\'' \
        "argv[0]='Tarvos.exe'" "argv[1]='/CF'" "argv[2]='/system'" "argv[3]='null'" 'gg_nInst=1, gg_nSystemInst=0' \
        $'01.02.2026 10:00:00.100\t0200\t0002\tInfo\t<global>\tTempServiceProc\tEnter\tMethod TempServiceProc has been entered.\t' \
        'argc=2' "argv[0]='Tarvos.exe'" "argv[1]='/CF'" "argv[2]='<null>'" \
        $'01.02.2026 10:00:00.200\t0200\t0002\tError\tCCompMof\tCompile\tInternal\tCompileFile failed\thr=0x80044001' \
        $'01.02.2026 10:00:00.300\t0200\t0002\tInfo\t<global>\tTempServiceProc\tLeave\tMethod TempServiceProc has been left.\tgg_nSvcExitcode=17' \
        $'01.02.2026 10:00:00.400\t0100\t0001\tInfo\t<global>\tmain\tLeave\tMethod main has been left.\tnReturn=17 \'EXITCODE_ERR_COMPILE_MOF\'' | iconv -f UTF-8 -t UTF-16LE; } >t.trc
    out=$("$reader" t.trc)
    for want in "Command line: Tarvos.exe /CF /system" "service instance" "Exit code: 17 (EXITCODE_ERR_COMPILE_MOF)" \
        "CCompMof::Compile	Internal	CompileFile failed" "== Run 2"; do
        grep -qF "$want" <<<"$out" || { echo "FAILED: read-trace lacks: $want"; echo "$out"; failures=$((failures + 1)); }
    done
    grep -q "== Run 3" <<<"$out" && { echo "FAILED: a run too many"; failures=$((failures + 1)); }
    "$reader" t.trc --level 9 >/dev/null 2>&1 && { echo "FAILED: level 9 taken"; failures=$((failures + 1)); }
    ;;
corpus)
    corpus=$(cd "$(dirname "$job")/../.." && pwd)/shared/corpus
    [ -d "$corpus" ] || { echo "no MOF corpus at $corpus: skipped"; exit 77; }
    declare -A count
    while read -r f; do
        out=$("$job" --undo-check "$f" 2>&1)
        v=$(grep -o '^Undo check: [a-zA-Z ]*' <<<"$out" || echo "no verdict")
        count[$v]=$((${count[$v]:-0} + 1))
        echo "$v: ${f#"$corpus"/}"
        if [ "$v" = "Undo check: clean" ] && { ! grep -q '^Exit code: 0 ' <<<"$(grep -m1 '^Exit code' <<<"$out")" ||
            grep -qx '(no change)' <<<"$out"; }; then
            echo "FAILED: clean although /CF failed or installed nothing"; failures=$((failures + 1))
        fi
        sed -n '/^Left over/,/^[^ ]/p' <<<"$out" | grep '^  ' | grep -v ' <- ' &&
            { echo "FAILED: a left-over object without a reason"; failures=$((failures + 1)); }
        out=$("$job" --check "$f" 2>&1)
        got=$?
        count["check exit $got"]=$((${count["check exit $got"]:-0} + 1))
        count[differences]=$((${count[differences]:-0} + $(sed -n '/^Check: [0-9]/,$p' <<<"$out" | grep -c '^  ')))
        sed -n '/^Check: [0-9]/,$p' <<<"$out" | grep '^  ' | grep -v ': .' &&
            { echo "FAILED: a difference without a reason"; failures=$((failures + 1)); }
        [ $got = 0 ] || [ $got = 1 ] || [ $got = 3 ] || { echo "FAILED: --check ended with $got"; echo "$out"; failures=$((failures + 1)); }
    done < <(find "$corpus" -name '*.mof' -not -path '*/omischema/CIM-2.32.0/*' | sort)
    for k in "${!count[@]}"; do echo "$k: ${count[$k]}"; done | sort
    ;;
dump_roundtrip)
    # wmidump.exe's text of the try-run's repository (through COM, system classes included) loads
    # back through --repository and dumps to the same text.
    build=${MAINJOB_BUILD:-$(dirname "$job")/../build/mingw}
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
