# The engine on phones that none of us wrote: umtprd on the kernel's USB stack, and QEMU's own MTP device.
#   engine.sh ENGINE-PROBE FOLDER-OF-QEMUS-PHONE
probe=$1 qemu_folder=$2
. "$MACHINE/guest/checks.sh"
. "$MACHINE/guest/truth.sh"
mkdir -p /tmp/engine-checks
cd /tmp/engine-checks || exit 1
export TZ=UTC

probe_list() { timeout 200 "$probe" list >"$1" 2>"$1.log"; }

# -- umtprd -----------------------------------------------------------------------------------------------------------
bash "$MACHINE/gadget" up
mkdir -p /phone/DCIM/Camera /phone/Documents/empty /phone/Music/深い/ещё
for i in $(seq 120); do head -c $((i * 97)) /dev/zero >/phone/DCIM/Camera/IMG_$i.jpg; done
touch -d '2019-03-31 02:30:00' /phone/DCIM/Camera/IMG_1.jpg
touch -d '2001-01-01 00:00:01' /phone/DCIM/Camera/IMG_2.jpg
truncate -s 5G /phone/huge.bin
truncate -s 4294967295 "/phone/almost 4 GiB.bin"
touch /phone/Documents/nothing.txt "/phone/Documents/with spaces & ümläuts ‡.txt"
echo tune >/phone/Music/深い/ещё/песня.mp3
head -c 1000 /dev/zero >/card/on-card.dat

check "the phone is plugged in" within 20 plugged
check "the engine lists umtprd's phone" probe_list u1
check "… with status 0" has '^status	00000000' u1
check "… at the place it has on the bus" has '^device	01100000	TESSALY-SM-X' u1
check "… and both storages" test "$(grep -c '^storage' u1)" = 2
truth /phone Phone >phone.truth
truth /card Card >card.truth
told u1 Phone >phone.told
told u1 Card >card.told
check "names, sizes (5 GiB too) and dates of the phone are the real ones" same phone.truth phone.told
check "names, sizes and dates of the card are the real ones" same card.truth card.told
check "a folder costs at most one transaction an entry, and two" frugal u1 1 2
grep '^opened	Phone/DCIM/Camera	' u1

# -- events -----------------------------------------------------------------------------------------------------------
events() { grep -c '^event	4002' "$1"; }
for mode in idle busy; do
  timeout 100 "$probe" watch 60 $mode >watch.$mode 2>watch.$mode.log &
  watcher=$!
  check "the watcher has listed the phone ($mode)" within 60 has '^ready' watch.$mode
  for i in $(seq 25); do echo x >/phone/DCIM/Camera/NEW_${mode}_$i.jpg; done
  arrived() { [ "$(events watch.$mode)" -ge 25 ]; }
  check "25 new files are told as 25 events ($mode)" within 40 arrived
  rm /phone/DCIM/Camera/NEW_${mode}_1.jpg
  check "a removed file is told as an event ($mode)" within 20 has '^event	4003' watch.$mode
  kill $watcher
  wait $watcher 2>/dev/null
done

# -- unplugging in the middle -----------------------------------------------------------------------------------------
timeout 100 "$probe" loop 60 >loop 2>loop.log &
looper=$!
check "the phone is listed over and over" within 60 has '^ready' loop
bash "$MACHINE/gadget" unplug
start=$SECONDS
wait $looper
check "unplugging in the middle of a listing neither hangs nor crashes the engine" test $? = 0
check "… it is over within 15 s" test $((SECONDS - start)) -le 15
check "… and ends with a status" has '^status	[0-9a-f]*[1-9a-f]' loop
check "without a phone the engine says so" probe_list none
check "… with the status no device attached" has '^status	12000001' none

bash "$MACHINE/gadget" replug
check "the phone is plugged in again" within 20 plugged
truth /phone Phone >phone.truth
check "the engine lists it again" probe_list u2
told u2 Phone >phone.told
check "… as it is now" same phone.truth phone.told

# -- a phone in other hands -------------------------------------------------------------------------------------------
timeout 60 "$probe" hold 30 >hold 2>hold.log &
holder=$!
check "another program holds the phone" within 20 has '^ready' hold
check "a busy phone neither hangs nor crashes the engine" probe_list busy
check "… the status is open failed" has '^status	12000003' busy
check "… the log names the program and its process" has "in use by engine-probe \(process [0-9]+\)" busy.log
kill $holder
wait $holder 2>/dev/null
as_nobody() { setpriv --reuid=65534 --regid=65534 --clear-groups timeout 60 "$probe" list >denied 2>denied.log; }
check "without permission the engine neither hangs nor crashes" as_nobody
check "… the status is open failed" has '^status	12000003' denied
check "… the log says no permission, the node and the rule that helps" \
  has 'no permission to open the phone at /dev/bus/usb/001/[0-9]+.*idVendor.*rules' denied.log
check "root gets it right after" probe_list u3
check "… with status 0" has '^status	00000000' u3
bash "$MACHINE/gadget" unplug
INTERFACE=unnamed bash "$MACHINE/gadget" replug
check "a phone that only itself can tell to be one is plugged in" within 20 plugged
as_nobody
check "without permission to ask it the engine says so" \
  has 'no permission to open the phone at /dev/bus/usb/001/[0-9]+.*idVendor.*rules' denied.log
bash "$MACHINE/gadget" unplug

# -- QEMU's phone -----------------------------------------------------------------------------------------------------
modprobe xhci-pci
qemu_plugged() { grep -qsx 46f4 /sys/bus/usb/devices/*/idVendor; }
check "QEMU's phone is plugged in" within 20 qemu_plugged
check "the engine lists QEMU's phone" probe_list q1
check "… with status 0" has '^status	00000000' q1
storage=$(awk -F '\t' '/^storage\t/ { print $2; exit }' q1)
truth "$qemu_folder" "$storage" | cut -f 1,2,4 >qemu.truth
told q1 "$storage" | cut -f 1,2,4 >qemu.told
check "names and sizes (5 GiB too) on QEMU's phone are the real ones" same qemu.truth qemu.told
truth "$qemu_folder" "$storage" | grep ^f | cut -f 3,4 >qemu.truth
told q1 "$storage" | grep ^f | cut -f 3,4 >qemu.told
check "dates on QEMU's phone are the real ones" same qemu.truth qemu.told
check "a folder costs at most one transaction an entry, and two" frugal q1 1 2

# -- both -------------------------------------------------------------------------------------------------------------
bash "$MACHINE/gadget" replug
check "umtprd's phone is back" within 20 plugged
check "both phones are listed at once" probe_list both
check "… each as a device" test "$(grep -c '^device' both)" = 2
check "… with status 0" has '^status	00000000' both
for log in *.log; do
  [ "$checks_failed" = 0 ] || { echo "== $log"; tail -5 "$log"; }
done
finish
