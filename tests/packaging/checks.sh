# For the tests here: checks that tell what they checked. Sourced; the script ends with `finish`.
failed=0

# check "what holds" COMMAND...; a failing command's own words are shown
check() {
  local what=$1 said
  shift
  if said=$("$@" 2>&1); then echo "ok - $what"; else
    echo "NOT OK - $what"
    [ -z "$said" ] || echo "$said"
    failed=$((failed + 1))
  fi
}

not() { ! "$@"; }

finish() {
  echo "$failed checks failed"
  exit $((failed > 0))
}
