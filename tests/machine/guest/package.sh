# The Debian package as people meet it: installed, started by an ordinary user, a phone found with the permission that
# udev's rules give, removed without a trace. The phones here speak MTP by a vendor-specific interface, of which systemd's
# own rules know nothing.
#   package.sh PACKAGE
package=$1
. "$MACHINE/guest/checks.sh"
export INTERFACE=vendor MTPB_HOME=/tmp/visitor
mkdir /tmp/work-$$ && cd /tmp/work-$$ || exit 1

# The user at the computer's own screen. There is no login manager here: this is what it writes when somebody logs in,
# and what udev's "uaccess" reads.
useradd --home-dir $MTPB_HOME --create-home visitor
visitor=$(id -u visitor)
mkdir -p /run/systemd/seats /run/visitor
printf 'IS_SEAT0=1\nACTIVE=c1\nACTIVE_UID=%s\nSESSIONS=c1\nUIDS=%s\n' "$visitor" "$visitor" >/run/systemd/seats/seat0
chown visitor: /run/visitor
chmod 700 /run/visitor
as_user() {
  setpriv --reuid "$visitor" --regid "$(id -g visitor)" --init-groups env -i HOME=$MTPB_HOME PATH=/usr/bin:/bin \
    XDG_RUNTIME_DIR=/run/visitor LANG=C.UTF-8 TZ=UTC DISPLAY=:7 "$@"
}

node() { # of the phone: VID's
  local device
  device=$(grep -lsx "$VID" /sys/bus/usb/devices/*/idVendor) || return 1
  printf '/dev/bus/usb/%03d/%03d' "$(cat "${device%/*}/busnum")" "$(cat "${device%/*}/devnum")"
}
opens() { as_user test -r "$(node)" -a -w "$(node)"; }
settled() { SYSTEMD_IGNORE_CHROOT=1 udevadm settle --timeout=30; }
windows() { xdotool search --onlyvisible --name "$1" >/tmp/window 2>/dev/null && [ -s /tmp/window ]; }
alive() { kill -0 "$browser" 2>/dev/null; }
ended() { ! alive; }

Xvfb :7 -ac -noreset -screen 0 1024x768x24 >/dev/null 2>&1 &
export DISPLAY=:7
display_up() { xdotool getdisplaygeometry >/dev/null 2>&1; }
check "a display is there" within 30 display_up

# A maker and a product that no hardware database has.
export VID=1209 PID=0001
check "the package is not installed yet" not test -e /usr/lib/udev/rules.d/60-mtpbrowser.rules
bash "$MACHINE/gadget" up
check "a phone is plugged in" within 20 plugged
settled
check "without the package the user may not open it" not opens
bash "$MACHINE/gadget" unplug

# Which of the package's files and folders are there.
present() {
  dpkg-deb --fsys-tarfile "$package" | tar -t | sed 's/^\.//' | while read -r path; do [ ! -e "$path" ] || echo "$path"; done
}
present >before
check "none of its files is there yet" not has '[^/]$' before

# Without triggers: the index of all manual pages would take minutes here.
check "the package can be installed" dpkg --no-triggers -i "$package"
check "the program is the package's" test "$(command -v mtpbrowser)" = /usr/bin/mtpbrowser

# start LOG: the program, as the desktop would start it
start() {
  # shellcheck disable=SC2046
  as_user dbus-run-session -- $(sed -n 's/^Exec=//p' /usr/share/applications/org.mtpbrowser.MTPBrowser.desktop) >"$1" 2>&1 &
  browser=$!
  within 60 windows '^MTP Browser$'
}
of_visitor() { [ "$(stat -c %u "/proc/$(pgrep -x mtpbrowser)")" = "$visitor" ]; }

mkdir -p /phone/DCIM /phone/Music
for phone in "1209 0001 any-maker" "7e55 4170 table"; do
  read -r VID PID name <<<"$phone"
  check "$name: the program starts" start $name.log
  check "$name: ... as the ordinary user" of_visitor
  bash "$MACHINE/gadget" replug
  check "$name: the phone is plugged in" within 20 plugged
  check "$name: the installed rule lets the user open it" within 30 opens
  check "$name: nobody else was let in" not setpriv --reuid 65534 --regid 65534 --clear-groups test -w "$(node)"
  check "$name: the program finds it and shows its folders" within 90 has 'listed 2 objects' $name.log
  check "$name: the window bears its name" within 30 windows 'TESSALY'
  sleep 3 # only for the picture: the tree has been painted by then
  import -window root /share/$name.png
  bash "$MACHINE/gadget" unplug
  check "$name: the program ends with the phone" within 30 ended
  wait "$browser"
  check "$name: ... with status 0" test $? = 0
done

check "the package can be removed" dpkg --no-triggers -P mtpbrowser
present >after
check "what was not there before is not there any more" diff before after
known() { dpkg-query -W mtpbrowser >/dev/null 2>&1 || ls /var/lib/dpkg/info/mtpbrowser* >/dev/null 2>&1; }
check "the packages' database knows nothing of it" not known
[ "$checks_failed" = 0 ] || tail -n 60 ./*.log
cp ./*.log /share/
finish
