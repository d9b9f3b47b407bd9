#!/usr/bin/env bash
# One folder of many files, listed by the engine, by libmtp and by a bare loop of one GetObjectInfo an object, on the
# same phone in the same run, each several times in turn:
#   bench.sh LIST-BENCH [umtprd | VPHONE-GADGET] [FILES] [ROUNDS]
# Prints the best time of each and the ratios.
set -euo pipefail
here=$(dirname "$(readlink -f "$0")")
bench=$(readlink -f "$1") phone=${2:-umtprd} files=${3:-5000} rounds=${4:-3}
[ "$phone" = umtprd ] || phone=$(readlink -f "$phone")
exec "$here/usbvm" -t 3600 "$here/guest/bench.sh" "$bench" "$phone" "$files" "$rounds"
