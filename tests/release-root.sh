#!/bin/bash
# Runs a command of this tree in a clean root of a Debian release:
#
#     sudo tests/release-root.sh trixie FOLDER scripts/test
#     sudo tests/release-root.sh bookworm FOLDER scripts/package
#
# Needs root and debootstrap. FOLDER becomes the root, or is one from an earlier run; the tree is
# copied to /src in it, and what was built there before stays for the next run. Nothing is mounted
# when the script ends; FOLDER itself is left for its owner to remove.
set -eu
[ $# -ge 3 ] || { sed -n '4,5p' "$0" | cut -c3- >&2; exit 2; }
release=$1 root=$(realpath -m "$2")
shift 2
tree=$(cd "$(dirname "$0")/.." && pwd)
[ "$(id -u)" = 0 ] || { echo "This needs root." >&2; exit 1; }
mkdir -p "$(dirname "$root")"
if [ ! -e "$root/etc/debian_version" ]; then
    command -v debootstrap >/dev/null || { echo "debootstrap is missing." >&2; exit 1; }
    debootstrap --variant=minbase --include=ca-certificates "$release" "$root" >"$root.log" 2>&1 ||
        { tail -n 5 "$root.log" >&2; exit 1; }
    rm -f "$root.log"
fi
# No service starts in it.
printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d"
chmod 755 "$root/usr/sbin/policy-rc.d"
cp /etc/resolv.conf "$root/etc/resolv.conf"
mkdir -p "$root/src"
tar -C "$tree" -c --exclude=./build --exclude=./.git . | tar -C "$root/src" -x --no-same-owner

# The mounts go with the namespace.
exec unshare --mount --propagation private --pid --fork --kill-child bash -euc '
    root=$1
    shift
    mount -t proc proc "$root/proc"
    mount --rbind /dev "$root/dev"
    mount -t tmpfs tmpfs "$root/run"
    exec chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root \
        LC_ALL=C.UTF-8 sh -c "cd /src && exec \"\$@\"" sh "$@"
' release-root "$root" "$@"
