# copy-bench.sh COPY-BENCH umtprd|VPHONE-GADGET MIB FILES ROUNDS: see ../copy-bench.sh
bench=$1 phone=$2 mib=$3 files=$4 rounds=$5
. "$MACHINE/guest/checks.sh"
[ "$phone" = umtprd ] || export RESPONDER=vphone VPHONE_GADGET=$phone
bash "$MACHINE/gadget" up
mkdir -p /computer && mount -t tmpfs -o size=90% tmpfs /computer
mkdir -p /phone/large /phone/small /phone/sent /computer/large /computer/small /computer/come
# Not empty: pages that were never written cost less to read.
head -c "${mib}M" /dev/urandom >/phone/large/large.bin
cp /phone/large/large.bin /computer/large/
for i in $(seq "$files"); do head -c 4096 /phone/large/large.bin >"/phone/small/file_$i.bin"; done
cp /phone/small/* /computer/small/
within 20 plugged || exit 1
sleep 1

# one HOW WAY WHAT
one() {
  local folder=$3 local=/computer/come
  [ "$2" = down ] || { folder=sent local=/computer/$3; }
  rm -rf /computer/come/* /phone/sent
  mkdir /phone/sent
  timeout 1500 "$bench" "$1" "$2" "$folder" "$local" 2>>/tmp/bench.log | grep -E "^(engine-)?[a-z]+	" |
    sed "s/^/$2 $3	/"
}
for what in large small; do
  for way in down up; do
    for _ in $(seq "$rounds"); do
      for how in bare engine libmtp; do one $how $way $what; done
      [ $way = up ] || cmp /phone/large/large.bin /computer/come/large.bin 2>/dev/null || diff -rq /phone/$what /computer/come
    done
  done
done | tee /tmp/bench.out
awk -F '\t' -v phone="$(basename "$phone")" '
  # Of the times seen: the best one, or the one in the middle.
  function quickest(work, how, middle,   n, i, j, times, time) {
    n = split(seen[work, how], times, " ")
    for (i = 2; i <= n; ++i)
      for (j = i; j > 1 && times[j - 1] + 0 > times[j] + 0; --j) { time = times[j]; times[j] = times[j - 1]; times[j - 1] = time }
    return middle ? (times[int((n + 1) / 2)] + times[int(n / 2) + 1]) / 2 : times[1] + 0
  }
  NF == 3 { transactions[$1] = $3; next }
  {
    seen[$1, $2] = seen[$1, $2] " " $5
    if (!($1 in files)) order[++works] = $1
    files[$1] = $3
    bytes[$1] = $4
  }
  END {
    for (i = 1; i <= works; ++i) {
      work = order[i]
      printf "%s on %s, files: %d of together %d bytes, transactions of the engine: %d\n", work, phone, files[work], bytes[work], transactions[work]
      for (middle = 0; middle <= 1; ++middle) {
        bare = quickest(work, "bare", middle)
        printf "  %s: bare loop %.3f s", middle ? "median" : "best", bare
        for (j = split("libmtp engine", hows, " "); j > 0; --j)
          if ((time = quickest(work, hows[j], middle)) > 0)
            printf ", %s %.3f s (%.1f %%)", hows[j], time, 100 * bare / time
        printf "\n"
      }
    }
  }' /tmp/bench.out
[ "$(grep -c 'large\|small' /tmp/bench.out)" = $((16 * rounds)) ] || { tail -30 /tmp/bench.log; exit 1; }
