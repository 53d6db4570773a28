# What became of each entry of the INI file of a /DD /INI= or /SQ /INI= run, from the trace and
# the repository difference. Sourced by run-main-job.sh.

# The entries of an INI file as "<section>\t<key>\t<value>" lines, in file order; sections and
# keys compared without case, the first of a repeated section or key counts (as the profile
# functions read them).
ini_entries() {
    tr -d '\r' <"$1" | awk -v OFS='\t' '
        /^[ \t]*\[/ { s = $0; sub(/^[ \t]*\[/, "", s); sub(/\].*/, "", s); again = had[tolower(s)]++; next }
        /^[ \t]*;/ || !/=/ || s == "" || again { next }
        { k = $0; sub(/=.*/, "", k); v = substr($0, index($0, "=") + 1)
          gsub(/^[ \t]+|[ \t]+$/, "", k); gsub(/^[ \t]+|[ \t]+$/, "", v)
          if (!seen[tolower(s "\t" k)]++) print s, k, v }'
}

# The texts of the WMI codes in "0x8004xxxx" words of stdin, from Tarvos's own error texts.
with_code_texts() {
    local text codes
    text=$(cat)
    codes=$(grep -o '0x[0-9A-Fa-f]\{8\}' <<<"$text" | sort -u || true)
    [ -z "$codes" ] && { echo "$text"; return; }
    awk -F'\t' 'FNR == NR { t[tolower($1)] = $2; next }
        { for (c in t) { i = index(tolower($0), c); if (i) $0 = substr($0, 1, i + 9) " (" t[c] ")" substr($0, i + 10) } print }' \
        <(wine "$build/bin/mofcheck.exe" --text $codes | tr -d '\r') - <<<"$text"
}

# "<section>\t<value>\t<outcome>" lines from the /DD /INI trace ($1).
dd_outcomes() {
    awk -F'\t' -v OFS='\t' '
        function q(s, key) { return match(s, key "='\''[^'\'']*'\''") ? substr(s, RSTART + length(key) + 2, RLENGTH - length(key) - 3) : "" }
        function code(h) { h = tolower(h); while (length(h) < 10) h = "0x0" substr(h, 3)
                           return h == "0x00000000" ? "deleted" : (h == "0x80041002" ? "not found" : "refused: " h) }
        $7 == "Enter" && $6 ~ /^Remove(InstancesByRef|Instances|Classes)$/ { ns = q($9, "szNamespace") }
        $9 ~ /^Deleting instances form classname=/ { pending = "DeleteInstances\t" q($9, "classname") }
        $6 == "DeleteByProperty" && $7 == "Enter" && q($9, "szProperty") != "__RELPATH" { pending = "DeleteInstancesByRef\t" q($9, "szClass") "=" q($9, "szProperty") }
        $6 == "DeleteByProperty" && $7 == "Leave" { n = substr($9, 10); print pending, ns ": " (n > 0 ? n " instance(s) deleted" : "no instance deleted (none found)") }
        $9 ~ /^Finished deleting instancename=/ { v = $9; sub(/^Finished deleting instancename='\''/, "", v); h = v; sub(/'\''\. HRes: .*/, "", v); sub(/.*HRes: /, "", h); print "DeleteInstances", v, ns ": " code(h) }
        $8 == "Finished deleting class" { v = q($9, "name"); h = $9; sub(/.*HRes: /, "", h); print "DeleteClasses", v, ns ": " code(h) }
        $6 == "NamespaceDelete" && $7 == "Enter" { nsd = q($9, "szNamespace"); why = "" }
        $6 == "NamespaceDelete" && ($4 == "Error" || $4 == "Warning") || $8 ~ /^There are non system classes/ { why = $8 (why != "" ? "; " why : "") }
        $6 == "NamespaceDelete" && $7 == "Leave" { print "DeleteNamespace", nsd, q($9, "ret") == "true" ? "deleted" : "not deleted" (why != "" ? ": " why : "") }
        $7 == "Enter" && $6 ~ /^Remove(InstancesByRef|Instances|Classes)$/ { worked[ns] = 1 }
        END { for (n in worked) print "Namespaces", n, "worked in" }' "$1"
}

# The outcome list of a /DD /INI= run: INI file $1, trace $2, dumps before $3 and after $4.
dd_ini_report() {
    local outcomes
    outcomes=$(dd_outcomes "$2")
    ini_entries "$1" | awk -F'\t' -v before="$3" -v after="$4" '
        function strip(s) { sub(/^[\\.]+/, "", s); return tolower(s) }
        BEGIN { while ((getline l < before) > 0) if (l ~ /^namespace /) had[tolower(substr(l, 11))] = 1
                while ((getline l < after) > 0) if (l ~ /^namespace /) has[tolower(substr(l, 11))] = 1 }
        FNR == NR { k = tolower($1) "\t" ($1 == "DeleteNamespace" || $1 == "Namespaces" ? strip($2) : tolower($2))
                    out[k] = out[k] (out[k] != "" ? "; " : "") $3; next }
        tolower($1) !~ /^(namespaces|deleteinstancesbyref|deleteinstances|deleteclasses|deletenamespace)$/ { next }
        { v = tolower($1) == "deleteinstancesbyref" ? $2 "=" $3 : $3
          k = tolower($1) "\t" (tolower($1) ~ /namespace/ ? strip(v) : tolower(v)); o = out[k]
          if (tolower($1) == "deletenamespace") o = !had[strip(v)] ? "not found" : (has[strip(v)] ? o : "deleted")
          if (o == "") o = "not carried out (no record of it in the trace: a trace level below 4, or the job stopped before it)"
          printf "  [%s] %s: %s\n", $1, v, o }' <(echo "$outcomes") - | with_code_texts
}

# The outcome list of a /SQ /INI= run: INI file $1, trace $2, dumps before $3 and after $4.
sq_ini_report() {
    local results
    results=$(awk -F'\t' '
        $6 == "QualifierSet" && $7 == "Enter" { why = "" }
        $6 == "QualifierSet" && $4 == "Error" { why = $8 " " $9 }
        $6 == "QualifierSet" && $7 == "Leave" { print ($9 == "ret='\''true'\''" ? "set" : "refused: " why) }' "$2")
    ini_entries "$1" | awk -F'\t' -v results="$results" -v before="$3" -v after="$4" '
        function qual(file, ns, cls, q,   l, inclass, v) {
            while ((getline l < file) > 0) {
                if (l !~ /^ /) inclass = tolower(l) == tolower("class " ns " " cls)
                else if (inclass && tolower(l) ~ "^  qualifier " tolower(q) " ") { v = l; sub(/.* = /, "", v) }
            }
            close(file); return v == "" ? "(none)" : v
        }
        BEGIN { nres = split(results, res, "\n") }
        tolower($1) == "qualifier" { e[$2] = $3 }
        END {
            for (n = 1; (n in e) && e[n] != ""; n++) {
                if (index(e[n], "=") < 2) { printf "  [Qualifier] %d=%s: not set (no \"=\" between path and value)\n", n, e[n]; continue }
                p = substr(e[n], 1, index(e[n], "=") - 1)
                r = ++used <= nres ? res[used] : "not set (the job stopped at an earlier entry)"
                if (r == "set") {
                    ns = substr(p, 1, index(p, ":") - 1); gsub(/^\\+|\\+$/, "", ns)
                    c = substr(p, index(p, ":") + 1); q = c; sub(/\.[^.]*$/, "", c); sub(/.*\./, "", q)
                    r = "set from " qual(before, ns, c, q) " to " qual(after, ns, c, q)
                }
                printf "  [Qualifier] %d=%s: %s\n", n, e[n], r
            }
            if (n == 1) print "  (no entry [Qualifier] 1: nothing to set)"
        }'
}
