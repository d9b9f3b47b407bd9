# For scripts in the machine: checks that tell what they checked, and waiting with an end. Sourced; the script ends with
# `finish`.
checks_failed=0

# check "what holds" COMMAND...
check() {
  local what=$1
  shift
  if "$@"; then echo "ok - $what"; else
    echo "NOT OK - $what"
    checks_failed=$((checks_failed + 1))
  fi
}

# within SECONDS COMMAND...: until the command succeeds
within() {
  local end=$((SECONDS + $1))
  shift
  until "$@"; do
    [ $SECONDS -lt $end ] || return 1
    sleep 0.1
  done
}

has() { grep -qE -- "$1" "$2"; }
not() { ! "$@"; }
plugged() { grep -qsx "${VID:-18d1}" /sys/bus/usb/devices/*/idVendor; }

finish() {
  echo "$checks_failed checks failed"
  exit $((checks_failed > 0))
}
