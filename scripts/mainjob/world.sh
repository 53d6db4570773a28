# The main job's world: the build, a cached Wine prefix with the WMI emulator, and the run's
# repository, fault file, registry values and trace file. Sourced by run-main-job.sh.
root=$(cd "$here/.." && pwd)
# The build tree: the one the tests belong to (CTest passes it), else the preset's.
build=${MAINJOB_BUILD:-$root/build/mingw}
jobdir=${MAINJOB_DIR:-$build/mainjob}
prefix=$jobdir/prefix
run=$jobdir/run
written_dirs=("$PWD")

export WINEPREFIX=$prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
unset DISPLAY WAYLAND_DISPLAY

# A progress line on stderr for the steps that take more than a second.
progress() { echo "run-main-job: $*" >&2; }

is_windows_path() { [[ "$1" =~ ^[A-Za-z]: || "$1" == \\* ]]; }
# Wine maps the Linux root on drive Z:, so a file keeps its own name there.
windows_path() {
    local p
    p=$(realpath -m "$1")
    echo "Z:${p//\//\\}"
}

world_tools() {
    local missing
    missing=$("$root/scripts/prerequisites.sh" --list)
    [ -z "$missing" ] && return 0
    if [ "$(id -u)" != 0 ]; then
        fail "missing packages: $missing (install them as root: apt-get install $missing, or run scripts/prerequisites.sh as root)"
    fi
    mkdir -p "$build"
    progress "installing $missing (log: $build/mainjob.install.log)"
    "$root/scripts/prerequisites.sh" >"$build/mainjob.install.log" 2>&1 ||
        fail "the installation failed; its log: $build/mainjob.install.log"
}

world_build() {
    local log=$build/mainjob.build.log
    if [ -f "$build/CMakeCache.txt" ]; then
        cmake --build "$build" >"$log" 2>&1 || fail "the build failed; its log: $log"
    else
        [ -z "${MAINJOB_BUILD:-}" ] || fail "$build is no configured build tree (MAINJOB_BUILD)"
        progress "building Tarvos and the WMI emulator (first run, log: $log)"
        mkdir -p "$build"
        "$root/scripts/build.sh" >"$log" 2>&1 || fail "the build failed; its log: $log"
    fi
}

# The prefix is made once and kept; a waiting command prompt keeps its services up for a
# quarter of an hour after the last run, so that the next run starts in a fraction of a second.
world_ready() {
    world_tools
    mkdir -p "$jobdir"
    world_build
    local stamp
    stamp=$(md5sum <"$build/wmiemu/wmiemu.reg")
    if [ "$(cat "$prefix/.mainjob-ready" 2>/dev/null)" != "$stamp" ]; then
        progress "preparing the Wine prefix $prefix (first run, about half a minute)"
        "$root/tests/harness/wineprefix.sh" setup "$prefix" "$build/wmiemu/wmiemu.reg" >/dev/null
        "$root/tests/harness/wineprefix.sh" cleanup "$prefix"
        echo "$stamp" >"$prefix/.mainjob-ready"
    fi
    if ! kill -0 "$(cat "$prefix/.holder.pid" 2>/dev/null)" 2>/dev/null; then
        progress "starting the Wine prefix"
        wineserver -p900 </dev/null >/dev/null 2>&1 || true
        # Started as programs of their own, so that no descriptor of this script stays open.
        bash -c 'sleep 900 </dev/null & echo $! >"$1"; wait' _ "$prefix/.holder.pid" 2>/dev/null |
            wine cmd /k >/dev/null 2>&1 &
    fi
    mkdir -p "$run"
    export WMIEMU_REPOSITORY WMIEMU_FAULTS
    WMIEMU_REPOSITORY=$(windows_path "$run/repository.txt")
    WMIEMU_FAULTS=$(windows_path "$run/faults.txt")
    # The first COM client starts the prefix's desktop and services, which keep its standard
    # handles open for their whole life: they get none of this script's.
    tool check </dev/null >/dev/null 2>&1 || fail "the WMI emulator is not served in $prefix (remove that folder and try again)"
}

tool() { wine "$build/bin/wmiemutool.exe" "$@"; }

# A fresh repository (or the given dump) and no trace file.
world_reset() {
    rm -f "$run/repository.txt" "$run/repository.txt.journal" "$run/faults.txt" "$run/Tarvos.trc"
    [ -z "$1" ] || cp "$1" "$run/repository.txt"
}

reg_string() {
    local s=${1//\\/\\\\}
    echo "\"${s//\"/\\\"}\""
}
reg_key() {
    local k=${1#\\}
    case "${k^^}" in
    HKLM\\* | HKEY_LOCAL_MACHINE\\*) k=${k#*\\} ;;
    esac
    echo "HKEY_LOCAL_MACHINE\\$k"
}

# One registry file for the run: the trace settings, the keys of the previous run removed,
# then the autorecover entries and /CM values asked for (names of the arrays in $2 and $3).
world_registry() {
    local level=$1
    local -n entries=$2 values=$3
    local cm='SOFTWARE\Brevane\Vintrel\Infrastructure\MOF' f=$run/world.reg key name value k
    {
        printf 'REGEDIT4\r\n\r\n'
        printf '[HKEY_LOCAL_MACHINE\\Software\\Brevane\\Common\\Tracing\\Tarvos.exe\\1.02]\r\n'
        printf '"Trace"=dword:00000001\r\n"TraceLevel"=dword:%08x\r\n"TraceClear"=dword:00000001\r\n' "$level"
        printf '"TraceFile"=%s\r\n\r\n' "$(reg_string "$(windows_path "$run/Tarvos.trc")")"
        if [ -f "$run/keys.txt" ]; then sort -u "$run/keys.txt" | while read -r k; do printf '[-%s]\r\n\r\n' "$k"; done; fi
        # A Windows machine always has the list, with its own schema's files in it.
        printf '[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\WBEM\\CIMOM]\r\n"Autorecover MOFs"=hex(7):'
        { for e in 'C:\Windows\system32\wbem\cimwin32.mof' "${entries[@]}"; do
            is_windows_path "$e" || e=$(windows_path "$e")
            printf '%s\0' "$e"
        done; printf '\0'; } | xxd -p | tr -d '\n' | sed 's/../&,/g;s/,$//'
        printf '\r\n\r\n'
    } >"$f"
    echo "$(reg_key "$cm")" >"$run/keys.txt"
    for v in "${values[@]}"; do
        [[ "$v" == *=* ]] || fail "--reg takes [<key>\\]<name>=<value>, not '$v'"
        name=${v%%=*} value=${v#*=} key=$cm
        if [[ "$name" == *\\* ]]; then key=${name%\\*} name=${name##*\\}; fi
        [ -e "$value" ] && value=$(windows_path "$value")
        echo "$(reg_key "$key")" >>"$run/keys.txt"
        printf '[%s]\r\n"%s"=%s\r\n\r\n' "$(reg_key "$key")" "$name" "$(reg_string "$value")" >>"$f"
    done
    wine regedit /S "$(windows_path "$f")" || fail "the registry file $f was not imported"
}

# Compiles a seed MOF into the repository, into namespace $2 when given; on failure shows where
# the compiler stopped.
seed_mof() {
    local out ns=()
    [ -z "${2:-}" ] || ns=("-N:$2")
    if ! out=$(tool seed "${ns[@]}" "$(windows_path "$1")" 2>&1); then
        out=${out//$'\r'/}
        case "$out" in
        *"parse error"*) echo "Seed $1 does not compile (phase 1, parsing): ${out#*: }" >&2 ;;
        *"cannot store"*) echo "Seed $1 does not compile (phase 3, storing): ${out#*: }" >&2 ;;
        *) echo "Seed $1 does not compile: $out" >&2 ;;
        esac
        return 1
    fi
}

autorecover_list() {
    wine reg query 'HKLM\SOFTWARE\Microsoft\WBEM\CIMOM' /v 'Autorecover MOFs' 2>/dev/null |
        tr -d '\r' | sed -n 's/.*REG_MULTI_SZ *//p' | sed 's/\\0/\n/g' | sed '/^$/d'  || true
}

# Runs Tarvos.exe with the given arguments in the current folder; the code goes to $code.
# Its output ends with a line feed, so that the report starts on a line of its own.
run_tarvos() {
    set +e
    wine "$build/bin/Tarvos.exe" "$@" | tr -d '\r' | sed '$a\'
    code=${PIPESTATUS[0]}
    set -e
}

# Stops the cached prefix's Wine processes (the prefix itself stays for the next run).
world_stop() {
    [ -d "$prefix" ] && "$root/tests/harness/wineprefix.sh" cleanup "$prefix"
    return 0
}

keep_note() {
    echo
    echo "== Kept for a look (the next run resets it)"
    echo "  WINEPREFIX=$prefix WMIEMU_REPOSITORY='$WMIEMU_REPOSITORY' wine $build/bin/wmiemutool.exe dump"
}
