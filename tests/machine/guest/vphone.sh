# Our virtual phone on the kernel's USB stack: the engine, and programs that others wrote, list it and copy from it.
#   vphone.sh ENGINE-PROBE VPHONE-GADGET
probe=$1
export RESPONDER=vphone VPHONE_GADGET=$2 TZ=UTC LC_ALL=C.UTF-8
. "$MACHINE/guest/checks.sh"
. "$MACHINE/guest/truth.sh"
mkdir -p /tmp/vphone-checks && cd /tmp/vphone-checks || exit 1

bash "$MACHINE/gadget" up
mkdir -p /phone/DCIM/Camera /phone/Documents/empty /phone/Music/深い/ещё
for i in $(seq 300); do head -c $((i * 97)) /dev/zero >/phone/DCIM/Camera/IMG_$i.jpg; done
touch -d '2019-03-31 02:30:00' /phone/DCIM/Camera/IMG_1.jpg
truncate -s 5G /phone/huge.bin
head -c 3145728 /dev/urandom >/phone/Documents/random.bin # a whole number of packets
head -c 1234567 /dev/urandom >/phone/Documents/uneven.bin
echo tune >/phone/Music/深い/ещё/песня.mp3
head -c 1000 /dev/zero >/card/on-card.dat
check "the virtual phone is plugged in" within 20 plugged

probe_list() { timeout 200 "$probe" list >"$1" 2>"$1.log"; }
check "the engine lists it" probe_list v1
check "… with status 0" has '^status	00000000' v1
truth /phone Phone >phone.truth
truth /card Card >card.truth
told v1 Phone >phone.told
told v1 Card >card.told
check "names, sizes and dates of the phone are the real ones" same phone.truth phone.told
check "names, sizes and dates of the card are the real ones" same card.truth card.told
check "a folder costs at most six transactions, whatever it holds" frugal v1 0 6

timeout 100 "$probe" watch 60 busy >watch 2>watch.log &
watcher=$!
check "it is being listed over and over" within 60 has '^ready' watch
for i in $(seq 10); do echo x >/phone/DCIM/Camera/NEW_$i.jpg; done
arrived() { [ "$(grep -c '^event	4002' watch)" -ge 10 ]; }
check "new files are told as events meanwhile" within 40 arrived
bash "$MACHINE/gadget" unplug
wait $watcher
check "unplugging in the middle neither hangs nor crashes the engine" test $? = 0
check "… and ends with a status" has '^status	[0-9a-f]*[1-9a-f]' watch
rm -f /phone/DCIM/Camera/NEW_*
bash "$MACHINE/gadget" replug
check "it is plugged in again" within 20 plugged

# -- libmtp's tools ---------------------------------------------------------------------------------------------------
mtp_files() { timeout 200 mtp-files >files 2>files.log; }
check "mtp-files lists it" mtp_files
names() { awk -F ': ' '/Filename: /{ sub(/^ *Filename: /, ""); print }' files | sort; }
names >names.told
find /phone /card -type f -printf '%f\n' | sort >names.truth
check "… with all names" same names.truth names.told
id_of() { awk -v name="$1" '/^File ID: /{ id = $3 } index($0, "Filename: " name) { print id; exit }' files; }
copies() {
  timeout 100 mtp-getfile "$(id_of "$1")" "copy-$1" >getfile.log 2>&1 && cmp "copy-$1" "/phone/Documents/$1"
}
check "mtp-getfile copies a file of full packets" copies random.bin
check "mtp-getfile copies an uneven file" copies uneven.bin

# -- android-file-transfer's command line -----------------------------------------------------------------------------
aft_lists() { timeout 100 aft-mtp-cli "cd DCIM/Camera" ls >aft 2>aft.log && [ "$(grep -c 'IMG_[0-9]*\.jpg' aft)" = 300 ]; }
check "aft-mtp-cli lists a folder in whole" aft_lists
aft_copies() { timeout 100 aft-mtp-cli "get Documents/uneven.bin aft-copy" >aft2 2>&1 && cmp aft-copy /phone/Documents/uneven.bin; }
check "aft-mtp-cli copies a file" aft_copies
for log in *.log aft2; do
  [ "$checks_failed" = 0 ] || { echo "== $log"; tail -5 "$log"; }
done
finish
