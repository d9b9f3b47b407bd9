#!/usr/bin/env bash
# One large file and a thousand small ones, copied down and up by the engine, by libmtp and by a bare loop of transfers
# of 1 MiB, on the same phone in the same run, each several times in turn:
#   copy-bench.sh COPY-BENCH [umtprd | VPHONE-GADGET] [MIB] [FILES] [ROUNDS]
# Prints the best and the median time of each and the ratios.
set -euo pipefail
here=$(dirname "$(readlink -f "$0")")
bench=$(readlink -f "$1") phone=${2:-umtprd} mib=${3:-256} files=${4:-1000} rounds=${5:-3}
[ "$phone" = umtprd ] || phone=$(readlink -f "$phone")
exec "$here/usbvm" -m $((1500 + 3 * mib)) -t 3600 "$here/guest/copy-bench.sh" "$bench" "$phone" "$mib" "$files" "$rounds"
