# A phone that shows its memory and its card as USB disks: mounted late, never mounted, unmounted, taken out, pulled.
#   volumes.sh VOLUME-PROBE
probe=$1
. "$MACHINE/guest/checks.sh"
export HOME=/tmp/home VID=7e55
mkdir -p "$HOME" /tmp/volumes "/mnt/phone memory" /mnt/card
cd /tmp/volumes || exit 1

modprobe -a dummy_hcd libcomposite usb_f_mass_storage usb-storage sd_mod ext4
echo 300 >/sys/module/block/parameters/events_dfl_poll_msecs # how soon a card that is put in or taken out is seen
mountpoint -q /sys/kernel/config || mount -t configfs none /sys/kernel/config
for disk in internal card; do
  truncate -s 8M $disk.img
  mke2fs -q -F $disk.img
done

gadget=/sys/kernel/config/usb_gadget/disks
mkdir -p $gadget/strings/0x409 $gadget/configs/c.1 $gadget/functions/mass_storage.0/lun.1
echo "0x$VID" >$gadget/idVendor
echo 0x4160 >$gadget/idProduct
echo 0x0200 >$gadget/bcdUSB
echo SER123456 >$gadget/strings/0x409/serialnumber
echo 'Larkspur 5' >$gadget/strings/0x409/product
internal=$gadget/functions/mass_storage.0/lun.0 card=$gadget/functions/mass_storage.0/lun.1
echo 1 >$internal/removable
echo 1 >$card/removable
echo 'Maker   Phone Internal  0001' >$internal/inquiry_string
echo 'Maker   Phone Card      0001' >$card/inquiry_string
echo "$PWD/internal.img" >$internal/file
ln -s $gadget/functions/mass_storage.0 $gadget/configs/c.1/

events() { [ "$(grep -cP "^event\t$1\t" out)" = "$2" ]; }
count() { grep -cE -- "$1" log; }
more() { [ "$(count "$1")" -gt "$2" ]; }
removed='DiskRemoved-.*EXIT'

put_in() { echo "$PWD/$2" >"$1/file"; }
take_out() {
  local before
  before=$(count "$removed")
  echo >"$1/file"
  within 30 more "$removed" "$before"
}

mkfifo go
"$probe" <go >out 2>log &
detector=$!
exec 5>go
check "both detector threads run" within 30 more CFRunLoopRun 1

ls /sys/class/udc | head -1 >$gadget/UDC
check "the phone is plugged in" within 20 plugged
check "the phone is announced" within 20 events 1 1
check "its memory comes as a disk" within 30 more 'sda DiskAdded' 0
mount /dev/sda "/mnt/phone memory"
check "mounted late it is announced as internal memory" within 20 events 5 1
check "... by its place and its path" has "^event	5	1100000	file:///mnt/phone memory$" out
check "the empty card slot is no disk" not more 'sdb DiskAdded' 0

scans=$(count 'findVolumePath-.*ENTER')
put_in $card card.img
check "a card put in comes as a disk" within 30 more 'sdb DiskAdded' 0
check "... is looked for among the mounted ones" within 20 more 'findVolumePath-.*ENTER' "$scans"
check "... and goes when it is taken out" take_out $card
check "never mounted it is not announced" events 7 0

put_in $card card.img
check "put in again it comes again" within 30 more 'sdb DiskAdded' 1
mount /dev/sdb /mnt/card
check "mounted late it is announced as a memory card" within 20 events 7 1
umount /mnt/card
check "unmounted alone it has not gone" events 8 0
take_out $card
check "unmounted and taken out it is announced as gone" within 30 events 8 1

before=$(count "$removed")
echo >$gadget/UDC
check "the phone pulled with a mounted disk is announced as gone" within 20 events 2 1
check "... and so is its disk" within 20 more "$removed" "$before"
exec 5>&-
wait $detector
check "the detector ends with both its threads" test $? = 0
check "... the card has gone once" events 8 1
memory_gone() { events 6 0 || events 6 1; } # whichever of the two detectors is told first
check "... the memory at most once" memory_gone
[ "$checks_failed" = 0 ] || { cat out; tail -60 log; }
umount -l "/mnt/phone memory"
finish
