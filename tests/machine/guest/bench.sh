# bench.sh LIST-BENCH umtprd|VPHONE-GADGET FILES ROUNDS: see ../bench.sh
bench=$1 phone=$2 files=$3 rounds=$4
. "$MACHINE/guest/checks.sh"
[ "$phone" = umtprd ] || export RESPONDER=vphone VPHONE_GADGET=$phone
bash "$MACHINE/gadget" up
mkdir -p /phone/Folder
(cd /phone/Folder && seq -f 'IMG_%05g.jpg' "$files" | xargs touch)
within 20 plugged || exit 1
sleep 1
for _ in $(seq "$rounds"); do
  for how in engine bare libmtp; do
    timeout 1500 "$bench" $how Folder 2>>/tmp/bench.log || { echo "$how failed"; tail -20 /tmp/bench.log; }
  done
done | tee /tmp/bench.out
awk -F '\t' -v phone="$(basename "$phone")" '
  $1 == "engine-transactions" { transactions = $2; next }
  NF == 3 { if (!($1 in best) || $3 < best[$1]) best[$1] = $3; entries = $2 }
  END {
    printf "%d files on %s: engine %.2f s (%d transactions), bare loop %.2f s, libmtp %.2f s\n", entries, phone,
           best["engine"], transactions, best["bare"], best["libmtp"]
    if (best["engine"] > 0)
      printf "engine against libmtp: %.2f times faster; against the bare loop: %.2f\n", best["libmtp"] / best["engine"],
             best["bare"] / best["engine"]
  }' /tmp/bench.out
