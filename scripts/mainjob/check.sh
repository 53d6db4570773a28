# Tarvos's reading of a MOF file (mofcheck.exe: Tarvos's own scanner and object path code) beside
# what the MOF compiler stored, and the reason for every difference. Sourced by run-main-job.sh.

# Headers of the objects that are new or changed from dump $1 to dump $2, one a line.
changed_objects() {
    comm -13 <(dump_objects "$1") <(dump_objects "$2") | cut -d$'\x1f' -f1 | sed 's/ : .*//'
}

# Runs mofcheck on $1 against the repository as it is; the compiled instances of the classes
# named in $2 (changed_objects lines) are listed too. Its lines go to $jobdir/reading.txt.
read_as_tarvos() {
    local pairs=()
    while read -r kind ns name; do
        [ "$kind" = instance ] && pairs+=("$ns" "$name")
    done < <(grep '^instance ' "$2" | sort -u)
    wine "$build/bin/mofcheck.exe" "$(windows_path "$1")" "${pairs[@]}" | tr -d '\r' >"$jobdir/reading.txt"
}

# The differences between $jobdir/reading.txt and the compiled objects in $1, one a line:
# "<object>\t<reason>" (object as a dump header, or "line N" for a pragma). $2 is the MOF file,
# searched for the declarations Tarvos does not see.
differences() {
    awk -F'\t' -v OFS='\t' -v mof="$2" '
        function lc(s) { return tolower(s) }
        # The first line of the MOF file at or after line "from" that matches rx, or 0.
        function find(rx, from,   i) { for (i = from; i <= nlines; i++) if (text[i] ~ rx) return i; return 0 }
        BEGIN { while ((getline l < mof) > 0) text[++nlines] = tolower(l) }
        FNR == NR {
            split($0, w, " ")
            if (w[1] == "namespace") print "namespace " w[2], "a namespace, which /DD /MOF= never deletes"
            else if (w[1] == "class") { cns[lc(w[3])] = w[2]; cname[lc(w[3])] = w[3] }
            next
        }
        $1 == "stop" { print "file", $2; stop = "Tarvos'\''s scanner stops on this file: /DD /MOF= ends with 19" }
        $1 == "pragma" { if ($5 != "") print "line " $2, "a pragma Tarvos misreads: it reads \"" $3 "\", the compiler \"" $4 "\"" (index($5, "//") ? " (its // starts a line comment for Tarvos)" : "") }
        $1 == "class" {
            k = lc($4); seen[k] = 1
            if (!(k in cname)) {
                if ($6 != "") print "line " $2, "Tarvos reads a class " $4 " that the compiler does not define: " $6
                next
            }
            if ($5 == "skipped") reason[k] = "/DD /MOF= skips it as a system class (its name starts with __ or a lower-case letter)"
            else if (lc($3) != lc(cns[k])) reason[k] = "/DD /MOF= looks for it in " ($3 == "" ? "no namespace" : "\"" $3 "\"") " (line " $2 ")" ($6 != "" ? ": " $6 : "")
            else if ($5 == "found") reason[k] = ""
        }
        $1 == "instance" {
            ok[lc($3) "\t" lc($6)] = ($6 != "")
            tline[$2] = 1; iline[++ni] = $2 + 0
            if ($7 ~ /neither a value/) print "line " $2, "instance of " $4 ": " $7
            if ($7 ~ /the word instance inside/) print "line " $2, "Tarvos reads an instance" ($4 != "" ? " of " $4 : "") " that the compiler does not create: " $7
            k = lc($4); why = $7 != "" ? $7 : "/DD /MOF= builds " $5 " in " ($3 == "" ? "no namespace" : "\"" $3 "\"") " (line " $2 ")"
            if ($7 != "" && index(note[k], $7) == 0) note[k] = note[k] (note[k] != "" ? "; " : "") $7
            if (index(iwhy[k], why) == 0) iwhy[k] = iwhy[k] (iwhy[k] != "" ? "; " : "") why
        }
        $1 == "compiled" { comp[++ncomp] = $2 "\t" $3 }
        END {
            for (k in cname) {
                if (k in seen) { if (reason[k] != "") print "class " cns[k] " " cname[k], reason[k]; continue }
                l = find("class[ \t]+" k "([^a-z0-9_]|$)", 1)
                print "class " cns[k] " " cname[k], stop != "" ? stop : l ? "Tarvos does not see the declaration at line " l " (no blank before its { or :?)" : "declared in an included file, which Tarvos does not read"
            }
            for (i = 1; i <= ncomp; i++) {
                split(comp[i], c, "\t")
                if (ok[lc(comp[i])]) continue
                cls = c[2]; sub(/[.=].*/, "", cls); k = lc(cls)
                # The next declaration of the class that Tarvos has no instance for.
                l = from[k] = find("instance[ \t]+of[ \t]+" k "([^a-z0-9_]|$)", from[k] + 1)
                while (l && (l in tline)) l = from[k] = find("instance[ \t]+of[ \t]+" k "([^a-z0-9_]|$)", l + 1)
                if (stop != "") r = stop
                else if (note[k] != "") r = note[k]
                else if (l) {
                    for (p = j = 0; j < ni; j++) if (iline[j + 1] < l && iline[j + 1] > p) p = iline[j + 1]
                    r = "Tarvos does not see the declaration at line " l (p ? ": the scan of the instance at line " p " ran over it (a ; or a line end inside one of its values, or a } without ;)" : "")
                }
                else if (!find("instance[ \t]+of[ \t]+" k "([^a-z0-9_]|$)", 1)) r = "declared in an included file, which Tarvos does not read"
                else r = iwhy[k]
                print "instance " c[1] " " cls, c[2] ": " r
            }
        }' "$1" "$jobdir/reading.txt" | sort -u
}

# What --check prints of Tarvos's reading.
show_reading() {
    awk -F'\t' '
        function ns(n) { return n == "" ? "(no namespace)" : (n ~ /^[A-Za-z0-9_\\]+$/ ? n : "\"" n "\"") }
        $1 == "stop" { print "  " $2 }
        $1 == "pragma" { if (!p++) print "Namespace pragmas:"; print "  line " $2 ": " ns($3) ($3 != $4 ? "   (the compiler reads " $4 ")" : "") }
        $1 == "version" { v = $2 == "-" ? "/CF finds no versioned class: it compiles without a version check" : "/CF compares class " $3 " version " $4 " in " ns($2) }
        $1 == "class" { if (!c++) print "Classes (/DD /MOF= deletes each in this namespace):"; print "  line " $2 ": " ns($3) " " $4 "   [" $5 "]" ($6 != "" ? " " $6 : "") }
        $1 == "instance" { if (!i++) print "Instances (namespace and the object path /DD /MOF= builds):"; print "  line " $2 ": " ns($3) " " ($5 != "" ? $5 : $4) "   [" ($6 != "" ? "found" : "not found") "]" ($7 != "" ? " " $7 : "") }
        END { if (!p) print "Namespace pragmas: none"; print v }' "$jobdir/reading.txt"
}

check_mof() {
    tool dump >"$jobdir/start.txt"
    echo "== The MOF compiler"
    if ! seed_mof "$1" 2>&1; then
        echo "Check: not possible, the MOF compiler refuses the file."
        result=3
        return
    fi
    tool dump >"$jobdir/compiled.txt"
    changed_objects "$jobdir/start.txt" "$jobdir/compiled.txt" >"$jobdir/compiled.obj"
    grep -v '^instance ' "$jobdir/compiled.obj" | sed 's/^/  /' || true
    read_as_tarvos "$1" "$jobdir/compiled.obj"
    grep -P '^compiled\t' "$jobdir/reading.txt" | cut -f2- | sed 's/\t/ /;s/^/  instance /' || true
    echo
    echo "== Tarvos's reading"
    show_reading
    differences "$jobdir/compiled.obj" "$1" >"$jobdir/differences.txt"
    echo
    if [ ! -s "$jobdir/differences.txt" ]; then
        echo "Check: both readings agree."
        result=0
        return
    fi
    echo "Check: $(wc -l <"$jobdir/differences.txt") difference(s):"
    sed 's/\t/: /;s/^/  /' "$jobdir/differences.txt"
    result=1
}
