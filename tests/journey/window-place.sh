#!/bin/sh
# window-place.sh LUMIVERT: on a real X server with a window manager, the window opens as large as it
# was left and where it was, and on a screen that has become too small for that, still on it. Status
# 77 where the machine lacks what that takes.
for tool in Xvfb openbox xdotool dbus-run-session; do
  command -v "$tool" >/dev/null || { echo "skipped: no $tool"; exit 77; }
done
home=$(mktemp -d) || exit 1
chmod 700 "$home"
program=$1 display= manager= lumivert=
stop() {
  for process in $lumivert $manager $display; do
    kill "$process" 2>/dev/null
    wait "$process"
  done
  lumivert= manager= display=
}
trap 'stop; rm -rf "$home"' EXIT
fail() { echo "$1" >&2; exit 1; }

# eventually COMMAND…: until it succeeds.
eventually() {
  for _ in $(seq 600); do
    "$@" >/dev/null 2>&1 && return
    sleep 0.1
  done
  fail "not seen: $*"
}
export HOME="$home" XDG_CONFIG_HOME="$home" XDG_RUNTIME_DIR="$home" CUPS_SERVER="$home/none" \
  QT_QPA_PLATFORM=xcb LC_ALL=C.UTF-8

# open SIZE: a screen of that size with the window on it, in $window.
open() {
  : >"$home/display"
  Xvfb -displayfd 3 -screen 0 "$1x24" -nolisten tcp 3>"$home/display" 2>/dev/null &
  display=$!
  eventually test -s "$home/display"
  export DISPLAY=":$(cat "$home/display")"
  openbox --sm-disable >/dev/null 2>&1 &
  manager=$!
  eventually xdotool get_num_desktops # which the window manager says
  "$program" >/dev/null 2>&1 &
  lumivert=$!
  eventually xdotool search --onlyvisible --class lumivert
  window=$(xdotool search --onlyvisible --class lumivert | head -n 1)
  stays
}
place() { xdotool getwindowgeometry --shell "$window" | grep -E '^(X|Y|WIDTH|HEIGHT)=' | tr '\n' ' '; }
# stays: until the place of the window has been the same for a while.
stays() {
  for _ in $(seq 50); do
    before=$(place)
    sleep 0.4
    [ "$before" = "$(place)" ] && return
  done
  fail "the window keeps moving"
}
[ -n "${DBUS_SESSION_BUS_ADDRESS-}" ] && [ "${2-}" = inside ] ||
  exec dbus-run-session -- "$0" "$program" inside

open 1920x1200
eval "$(place)"
[ "$WIDTH $HEIGHT" = "1100 750" ] || fail "opens at $WIDTH x $HEIGHT the first time"
xdotool windowsize --sync "$window" 1010 701
xdotool windowmove "$window" 333 222
stays
left=$(place)
# Some versions of xdotool count what the window manager draws around a window twice.
eval "$left"
frame_x=$((X - 333)) frame_y=$((Y - 222))
stop
for turn in 1 2 3; do
  open 1920x1200
  [ "$(place)" = "$left" ] || fail "was left at $left and opens at $(place) in turn $turn"
  stop
done
echo "opens three times at $left"

# At the lower right of the large screen, and then on one that ends before.
open 1920x1200
xdotool windowmove "$window" 880 460
stays
stop
open 1024x768
eval "$(place)"
left=$((X - frame_x)) top=$((Y - frame_y))
seen="$WIDTH x $HEIGHT at $left, $top on a screen of 1024 x 768"
[ $((left - frame_x)) -ge 0 ] && [ $((top - frame_y)) -ge 0 ] &&
  [ $((left + WIDTH)) -le 1024 ] && [ $((top + HEIGHT)) -le 768 ] || fail "off the screen: $seen"
echo "opens with $seen"
