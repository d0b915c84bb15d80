#!/bin/sh
# by-assistive-technology.sh LUMIVERT: works the whole program over the real accessibility bus, on a
# display and with buses of its own. Status 77 where the machine lacks what that takes.
for tool in Xvfb dbus-run-session /usr/libexec/at-spi-bus-launcher; do
  command -v "$tool" >/dev/null || { echo "skipped: no $tool"; exit 77; }
done
/usr/bin/python3 -c "import gi; gi.require_version('Atspi', '2.0')" 2>/dev/null ||
  { echo "skipped: no gir1.2-atspi-2.0 or python3-gi"; exit 77; }

home=$(mktemp -d) || exit 1
chmod 700 "$home"
Xvfb -displayfd 3 -screen 0 1920x1200x24 -nolisten tcp 3>"$home/display" 2>/dev/null &
display=$!
trap 'kill "$display" 2>/dev/null; wait "$display"; rm -rf "$home"' EXIT
for _ in $(seq 100); do
  [ -s "$home/display" ] && break
  sleep 0.1
done
# A print system of one queue that refuses to print, and a desktop without a viewer.
mkdir "$home/bin"
cat >"$home/bin/lpstat" <<'END'
#!/bin/sh
case $1 in
  -p) echo "printer Photo is idle.  enabled since Sat 21 Nov 2026 12:00:00 PM UTC" ;;
  -d) echo "system default destination: Photo" ;;
esac
END
printf '#!/bin/sh\necho "PageSize/Media Size: *A4 A3"\n' >"$home/bin/lpoptions"
printf '#!/bin/sh\necho "lp: it has no paper" >&2\nexit 1\n' >"$home/bin/lp"
printf '#!/bin/sh\n' >"$home/bin/xdg-open"
chmod +x "$home/bin/"*
env PATH="$home/bin:$PATH" DISPLAY=":$(cat "$home/display")" HOME="$home" XDG_RUNTIME_DIR="$home" \
  XDG_CONFIG_HOME="$home" TMPDIR="$home" LC_ALL=C.UTF-8 \
  QT_QPA_PLATFORM=xcb QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 \
  dbus-run-session -- /usr/bin/python3 "$(dirname "$0")/by_assistive_technology.py" "$1"
