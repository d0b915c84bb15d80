# Shared by the scripts beside it: what they say, what they install, as whom they build.
# shellcheck shell=bash

say() { printf '%s\n' "$*"; }
fail() { printf '%s\n' "$*" >&2; exit 1; }

# Holds the output of commands that are silent unless they fail.
log=$(mktemp)
trap 'rm -f "$log"' EXIT

top=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
cd "$top" || exit 1

packages_build=(
  g++ cmake ninja-build pkg-config qt6-base-dev qt6-svg-dev libvips-dev libheif-dev libjpeg-dev
  libjxl-dev libraw-dev libtiff-dev libaom-dev libpng-dev libwebp-dev zlib1g-dev liblcms2-dev
  libopenexr-dev libisal-dev libcups2-dev libseccomp-dev nlohmann-json3-dev libxcb1-dev libgtest-dev
  libgmock-dev)
packages_run=(
  zsh cups cups-client cups-filters printer-driver-cups-pdf fonts-dejavu-core qt6-wayland xdg-utils)
packages_test=(
  openbox python3-gi qpdf weston xdotool xvfb xauth locales dbus icc-profiles-free colord-data cups-ipp-utils
  adwaita-qt6 at-spi2-core fonts-goudybookletter ghostscript gir1.2-atspi-2.0 libraw-bin mupdf-tools poppler-utils
  printer-driver-gutenprint printer-driver-escpr foomatic-db-compressed-ppds openprinting-ppds)
# From Debian 13 on libheif's encoders, of which the tests make their photos, are packages.
[ "$(. /etc/os-release && echo "${VERSION_ID:-0}")" -lt 13 ] ||
  packages_test+=(libheif-plugin-aomenc libheif-plugin-x265)
packages_bench=(argyll colord-data icc-profiles-free img2pdf libheif-examples libraw-bin libvips-tools)
packages_package=(
  build-essential debhelper dpkg-dev librsvg2-bin lintian desktop-file-utils appstream apt-utils gnupg)

# Runs a command with root's rights; fails where there is no way to them.
as_root() {
  if [ "$(id -u)" = 0 ]; then "$@"
  elif command -v sudo >/dev/null 2>&1; then sudo "$@"
  else printf "This needs root's rights and there is no sudo: %s\n" "$*" >&2; return 1; fi
}

# Runs a command as the person who called: under "sudo scripts/…" what is built belongs to the
# owner of the folder and not to root.
as_person() {
  local owner
  owner=$(stat -c %U "$top")
  if [ "$(id -u)" = 0 ] && [ -n "${SUDO_USER:-}" ] && [ "$owner" = "$SUDO_USER" ] &&
     [ "$SUDO_USER" != root ]; then
    runuser -u "$SUDO_USER" -- env HOME="$(getent passwd "$SUDO_USER" | cut -d: -f6)" "$@"
  else
    "$@"
  fi
}

# Installs those of the named packages that are missing.
install_missing() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' ||
      missing+=("$package")
  done
  [ ${#missing[@]} = 0 ] && return
  say "Installing: ${missing[*]}"
  # Another process of apt's (a desktop's updater, say) has one of its locks for a while.
  local end=$((SECONDS + 120)) waiting=
  until as_root env LC_ALL=C DEBIAN_FRONTEND=noninteractive sh -c \
    'apt-get update && apt-get install -y --no-install-recommends "$@"' sh "${missing[@]}" >"$log" 2>&1; do
    if ! grep -q '^E: Could not get lock' "$log" || [ "$SECONDS" -ge "$end" ]; then
      tail -n 20 "$log" >&2
      fail "The packages could not be installed."
    fi
    [ -n "$waiting" ] || say "Waiting up to two minutes for another process that installs packages."
    waiting=1
    sleep 1
  done
}

# build PRESET [TARGET...]: configures when needed and builds; silent but for errors.
build() {
  local preset=$1
  shift
  say "Building (${preset}) into build/${preset}"
  if [ ! -e "build/$preset/build.ninja" ]; then
    as_person cmake --preset "$preset" >"$log" 2>&1 || { cat "$log" >&2; fail "Configuring failed."; }
  fi
  as_person cmake --build --preset "$preset" ${1:+--target "$@"} >"$log" 2>&1 ||
    { grep -vE '^\[[0-9]+/[0-9]+\] (Building|Linking|Automatic)' "$log" | head -n 60 >&2
      fail "The build failed."; }
}
