#!/bin/sh
# with-a-seat.sh PROGRAM ARGUMENTS…: runs a program of tests on a real Wayland compositor which has a
# pointer and a keyboard, those of an X server without a screen: LUMIVERT_SEAT is its display, for
# xdotool. Status 77 where the machine lacks what that takes.
for tool in weston Xvfb xdotool dbus-run-session; do
  command -v "$tool" >/dev/null || { echo "skipped: no $tool"; exit 77; }
done
run=$(mktemp -d) || exit 1
chmod 700 "$run"
export XDG_RUNTIME_DIR="$run"
display= compositor=
trap 'for process in $compositor $display; do kill "$process" 2>/dev/null; wait "$process"; done
  rm -rf "$run"' EXIT
# eventually COMMAND…: until it succeeds.
eventually() {
  for _ in $(seq 300); do
    "$@" >/dev/null 2>&1 && return
    sleep 0.1
  done
  cat "$run/log"
  echo "not seen: $*"
  exit 1
}
: >"$run/display"
Xvfb -displayfd 3 -screen 0 1640x1000x24 -nolisten tcp 3>"$run/display" >"$run/log" 2>&1 &
display=$!
eventually test -s "$run/display"
LUMIVERT_SEAT=":$(cat "$run/display")"
export LUMIVERT_SEAT DISPLAY="$LUMIVERT_SEAT"
printf '[shell]\npanel-position=none\nlocking=false\nanimation=none\nclose-animation=none\n' >"$run/weston.ini"
weston --backend=x11-backend.so --use-pixman --width=1600 --height=1000 --socket=lumivert \
  --idle-time=0 --config="$run/weston.ini" >"$run/log" 2>&1 &
compositor=$!
eventually test -S "$run/lumivert"
eventually xdotool search --onlyvisible --class weston
# No window manager gives its window the keyboard.
xdotool search --onlyvisible --class weston windowmove 0 0 windowfocus
WAYLAND_DISPLAY=lumivert QT_IM_MODULE=compose QT_QPA_PLATFORM=wayland dbus-run-session -- "$@"
