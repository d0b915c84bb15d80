#!/bin/sh
# on-wayland.sh PROGRAM ARGUMENTS…: runs a program of tests on a real Wayland compositor without a
# screen. Status 77 where the machine lacks one.
for tool in weston dbus-run-session; do
  command -v "$tool" >/dev/null || { echo "skipped: no $tool"; exit 77; }
done
run=$(mktemp -d) || exit 1
chmod 700 "$run"
export XDG_RUNTIME_DIR="$run"
weston --backend=headless-backend.so --width=1920 --height=1200 --socket=lumivert --idle-time=0 \
  --no-config >"$run/weston.log" 2>&1 &
compositor=$!
trap 'kill "$compositor" 2>/dev/null; wait "$compositor"; rm -rf "$run"' EXIT
for _ in $(seq 100); do
  [ -S "$run/lumivert" ] && break
  sleep 0.1
done
[ -S "$run/lumivert" ] || { cat "$run/weston.log"; echo "the compositor does not start"; exit 1; }
# Without a seat Qt's own input context for Wayland ends the program at a key.
WAYLAND_DISPLAY=lumivert QT_IM_MODULE=compose QT_QPA_PLATFORM=wayland dbus-run-session -- "$@"
