# For scripts in the machine: what is really in a folder against what engine-probe tells. Sourced.

# Kind, size, date, path of all below folder $1, the paths beginning with $2.
truth() {
  (cd "$1" && find . -mindepth 1 -printf '%y\t%s\t%TY%Tm%TdT%TH%TM%TS\t%P\n') |
    awk -F '\t' -v OFS='\t' -v top="$2" '{ sub(/\..*/, "", $3); if ($1 == "d") { $2 = 0; $3 = "" } $4 = top "/" $4; print }' | sort
}
# The same from engine-probe's output $1, of the storage $2.
told() { awk -F '\t' -v OFS='\t' -v top="$2/" '/^[df]\t/ && index($4, top) == 1 { sub(/\..*|Z$/, "", $3); print }' "$1" | sort; }
same() {
  diff "$1" "$2" >difference && return 0
  head -20 difference
  return 1
}
# No folder cost more than $2 transactions an entry and $3, in engine-probe's output $1. Tells of the largest one.
frugal() {
  awk -F '\t' -v each="$2" -v more="$3" '
    /^opened\t/ { n++; if ($4 > each * $3 + more) { print; bad = 1 } }
    /^opened\t/ && $3 >= entries { entries = $3; transactions = $4 }
    END { print entries " entries, " transactions " transactions"; exit bad || n == 0 }' "$1"
}
