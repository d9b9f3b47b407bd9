# The engine copies trees to and from umtprd's phone, is cancelled in mid-file, and loses the cable.
#   copies.sh ENGINE-PROBE [huge]
probe=$1 huge=${2:-}
. "$MACHINE/guest/checks.sh"
mkdir -p /copies
mount -t tmpfs -o size=90% tmpfs /copies
cd /copies || exit 1
export TZ=UTC

# run OUT COMMAND...: what the probe printed is in OUT, its log in OUT.log.
run() {
  local out=$1
  shift
  timeout 1500 "$probe" "$@" >"$out" 2>"$out.log"
}
succeeded() { has '^status	00000000' "$1"; }
# Names, kinds and contents of two folders are the same.
same_tree() {
  diff -r --no-dereference "$1" "$2" >difference 2>&1 && return 0
  head -20 difference
  return 1
}
# No name in a folder that a copy left behind.
no_remains() { [ -z "$(find "$1" -name '.*' -print)" ]; }

# -- what is copied ---------------------------------------------------------------------------------------------------
mkdir -p tree/many "tree/odd names/глубоко/深い" tree/empty
for i in $(seq 1000); do printf '%04d%4092s' "$i" "$i" >tree/many/file_$i.dat; done
cd "tree/odd names" || exit 1
odd=('with spaces' 'ümläut é' "quote'd \"twice\"" 'colon: question? star* pipe| less< more>' 'back\slash' 'percent%20sign' '-dash first' '.hidden'
  'trailing dot.' 'песня.mp3' 'שלום.txt' '写真.jpg' "$(printf 'e\314\201 decomposed')" "$(printf 'a%.0s' $(seq 200)).long" 'tab	inside')
for name in "${odd[@]}"; do echo "$name" >"$name"; done
echo deep >глубоко/深い/ещё.txt
: >'no bytes'
for size in 499 500 501 511 512 513 1012 1048564 1048576 1048588; do head -c $size /dev/urandom >"size_$size"; done
cd /copies || exit 1

bash "$MACHINE/gadget" up
check "the phone is plugged in" within 20 plugged

# -- a tree there and back --------------------------------------------------------------------------------------------
start=$SECONDS
run put put /copies/tree Phone
check "a tree of a thousand small files and odd names goes to the phone" succeeded put
echo "up: $((SECONDS - start)) s, $(grep '^copies' put)"
check "… every byte and name of it" same_tree tree /phone/tree
check "… at no more than three transactions an entry, and a few" \
  awk -F '\t' '$1 == "copied" { n++ } $1 == "copies" { exit !($2 <= 3 * n + 60) }' put
touch -d '2020-02-29 12:34:56' /phone/tree/many/file_7.dat # umtprd takes no dates
start=$SECONDS
run get get Phone/tree /copies/back
check "it comes back" succeeded get
echo "down: $((SECONDS - start)) s, $(grep '^copies' get)"
check "… every byte and name of it" same_tree tree back
check "… and nothing else" no_remains back/many
check "… with its date" test "$(date -r back/many/file_7.dat '+%F %T')" = '2020-02-29 12:34:56'
rm -rf back

# -- to a stick -------------------------------------------------------------------------------------------------------
# It keeps less: names without some characters, dates of two seconds, 40 MB in all.
modprobe -a loop vfat nls_cp437 nls_ascii nls_utf8
mkdir -p /stick "/phone/for the stick"
truncate -s 40M stick.img
mkfs.vfat -F 32 stick.img >/dev/null
mount -o loop,utf8 stick.img /stick
for name in plain.txt 'colon: question?' 'trailing dot.' "$(printf '\303\244%.0s' $(seq 120))" 写真.jpg; do
  echo "$name" >"/phone/for the stick/$name"
done
touch -d '2020-02-29 12:34:57' "/phone/for the stick/plain.txt"
run stick get "Phone/for the stick" /stick/come
check "a stick takes what it can name" has '^copied	00000000	.*/plain.txt' stick
check "… whole" cmp "/phone/for the stick/plain.txt" /stick/come/plain.txt
check "… with its date, as near as it can" test "$(date -r /stick/come/plain.txt '+%F %T')" = '2020-02-29 12:34:56'
check "… long and foreign names, too" test "$(grep -c '^copied	00000000' stick)" -ge 4
check "… and tells of what it cannot" has '^copied	1[0-9a-f]{7}	.*/colon: question' stick
check "… with nothing left behind" no_remains /stick/come
head -c 60M /dev/urandom >"/phone/for the stick/large.bin"
run full get "Phone/for the stick" /stick/come
check "what is too large for a stick is told as that" has '^copied	1000000a	.*/large.bin' full
check "… and leaves nothing behind" no_remains /stick/come
umount /stick
rm -r "/phone/for the stick" stick.img

# -- more than 4 GiB --------------------------------------------------------------------------------------------------
if [ -n "$huge" ]; then
  # Not all zero: something stands at the start, on both sides of 4 GiB and at the end.
  truncate -s 5G huge.bin
  for at in 0 4095 4096 5119; do
    head -c 4096 /dev/urandom | dd of=huge.bin bs=4096 seek=$((at * 256)) conv=notrunc status=none
  done
  start=$SECONDS
  run hugeput put /copies/huge.bin Phone
  check "a file of 5 GiB goes to the phone" succeeded hugeput
  echo "up: $((SECONDS - start)) s"
  check "… every byte of it" cmp huge.bin /phone/huge.bin
  rm /phone/huge.bin
  mkdir -p /phone/big
  cp --sparse=always huge.bin /phone/big/huge.bin
  start=$SECONDS
  run hugeget get Phone/big /copies/big
  check "it comes back" succeeded hugeget
  echo "down: $((SECONDS - start)) s"
  check "… every byte of it" cmp huge.bin big/huge.bin
  rm -rf big
fi

# -- stopped in the middle --------------------------------------------------------------------------------------------
mkdir -p some
head -c 30M /dev/urandom >some/a.bin
head -c 30M /dev/urandom >some/b.bin
head -c 30M /dev/urandom >some/c.bin
run cancelup put /copies/some Phone b.bin 8000000
check "an upload cancelled in mid-file goes on with the next" succeeded cancelup
check "… the cancelled one tells so" has '^copied	10000007	.*/b.bin' cancelup
check "… and is not on the phone" not test -e /phone/some/b.bin
check "… its neighbours are whole" cmp some/a.bin /phone/some/a.bin
check "… both of them" cmp some/c.bin /phone/some/c.bin
cp some/b.bin /phone/some/
run canceldown get Phone/some /copies/cancelled b.bin 8000000
check "a download cancelled in mid-file goes on with the next" succeeded canceldown
check "… the cancelled one tells so" has '^copied	10000007	.*/b.bin' canceldown
check "… and is not on the computer" test "$(ls -A cancelled)" = "$(printf 'a.bin\nc.bin')"
check "… its neighbours are whole" cmp some/a.bin cancelled/a.bin
check "… both of them" cmp some/c.bin cancelled/c.bin
run after get Phone/some /copies/cancelled
check "all of it comes when it is asked for again" succeeded after
check "… whole" same_tree some cancelled

# -- the cable pulled in the middle -----------------------------------------------------------------------------------
# pulled OUT COMMAND...: the cable is pulled as soon as a quarter of b.bin is over.
pulled() {
  local out=$1
  shift
  timeout 200 "$probe" "$@" >"$out" 2>"$out.log" &
  local copier=$!
  within 100 has '^under	.*/b.bin' "$out" || echo "b.bin never came under way"
  bash "$MACHINE/gadget" unplug
  local begun=$SECONDS
  wait $copier && [ $((SECONDS - begun)) -le 20 ] && not succeeded "$out"
}
rm -rf cancelled /phone/some
check "an upload whose cable is pulled ends soon, with a status" pulled pullup put /copies/some Phone
bash "$MACHINE/gadget" replug
check "the phone is back" within 20 plugged
check "… with the first file whole" cmp some/a.bin /phone/some/a.bin
check "… and no whole file that is none" not test -e /phone/some/c.bin
run sendagain delete Phone/some
check "what is left there can be deleted" succeeded sendagain
run putagain put /copies/some Phone
check "the upload works anew" succeeded putagain
check "… whole" same_tree some /phone/some
check "a download whose cable is pulled ends soon, with a status" pulled pulldown get Phone/some /copies/pulled
check "… with nothing but the first file, under its name" test "$(ls -A pulled)" = a.bin
check "… which is whole" cmp some/a.bin pulled/a.bin
bash "$MACHINE/gadget" replug
check "the phone is back again" within 20 plugged
run getagain get Phone/some /copies/pulled
check "the download works anew" succeeded getagain
check "… whole" same_tree some pulled
for log in *.log; do
  [ "$checks_failed" = 0 ] || { echo "== $log"; tail -5 "$log"; }
done
finish
