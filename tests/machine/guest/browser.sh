# The browser as its user sees it, on a phone that none of us wrote: welcome, plug in, storages, open a folder, a change
# on the phone, unplug.
#   browser.sh MTPBROWSER
program=$1
. "$MACHINE/guest/checks.sh"
export HOME=/tmp/home XDG_RUNTIME_DIR=/tmp/run TZ=UTC LANG=C.UTF-8 QT_QPA_PLATFORM=xcb DISPLAY=:7 MTPBROWSER_DEBUG=1
export MTPBROWSER_VIRTUAL_PHONE=never
mkdir -p "$HOME" "$XDG_RUNTIME_DIR"
cd /tmp || exit 1

picture() { import -window root "/share/$1.png"; }
windows() { xdotool search --onlyvisible --name "$1" >/tmp/window 2>/dev/null && [ -s /tmp/window ]; }
alive() { kill -0 "$browser" 2>/dev/null; }
ended() { ! alive; }

Xvfb :7 -noreset -screen 0 1024x768x24 >/dev/null 2>&1 &
display_up() { xdotool getdisplaygeometry >/dev/null 2>&1; }
check "a display is there" within 30 display_up

dbus-run-session -- "$program" >out.log 2>&1 &
browser=$!
check "the window opens in its welcome state" within 60 windows '^MTP Browser$'
sleep 2 # only for the picture: the welcome has been painted by then
picture welcome
check "… and stays there while no phone is attached" alive

bash "$MACHINE/gadget" up
mkdir -p /phone/DCIM/Camera /phone/Documents /phone/Music
for i in $(seq 25); do head -c $((i * 1000)) /dev/zero >/phone/DCIM/IMG_$i.jpg; done
check "the phone is plugged in" within 20 plugged
check "the detector announces it by its place on the bus" within 40 has 'Device Event Received.*1100000' out.log
check "the storages are shown" within 60 has 'device storage list' out.log
check "the first storage's folders are listed" within 60 has 'listed 3 objects' out.log
check "the window bears the phone's name" within 30 windows 'TESSALY'
sleep 3 # as above
picture storage

xdotool windowfocus "$(tail -n 1 window)" 2>/dev/null
xdotool mousemove 400 500 click 1 # into the tree's empty part: it has the keyboard now
xdotool type --delay 80 DCIM
xdotool key --delay 80 Return
check "Enter opens the folder that was typed for" within 60 has 'listed 26 objects' out.log
sleep 3
picture folder

echo new >/phone/DCIM/NEW.jpg
check "a file made on the phone appears by itself" within 60 has 'NotifyCallbackEx: ENTER' out.log
listings() { [ "$(grep -c 'listed 3 objects' out.log)" -ge 2 ]; }
check "… the storage is listed again" within 60 listings

bash "$MACHINE/gadget" unplug
check "the program ends when the phone is unplugged" within 30 ended
wait "$browser"
check "… with status 0" test $? = 0
check "… without a complaint about a thread" not has 'did not end in time|off the main thread' out.log
[ "$checks_failed" = 0 ] || tail -60 out.log
cp out.log /share/browser.log
finish
