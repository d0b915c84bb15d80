#!/bin/bash
# Plays updates against the real PackageKit service, run by hand:
#
#     cmake --build --preset dev --target packagekit_player
#     sudo tests/platform/packagekit/real-service.sh build/dev/bin/packagekit_player
#
# Needs root and the packages dbus packagekit polkitd dpkg-dev gnupg util-linux. Everything happens
# on a copy-on-write view of the system, in a mount and a process namespace of its own: the package
# database, the repository and its key, the bus and the services are gone when the script ends,
# however it ends. The only thing it makes outside is an empty folder for the view, which it removes.
# VERBOSE=1 shows what each step printed.
set -eu

inside() {
    export HOME=/root LC_ALL=C.UTF-8 GNUPGHOME=/play/gnupg
    unset DBUS_SYSTEM_BUS_ADDRESS DBUS_SESSION_BUS_ADDRESS
    local source=/etc/apt/sources.list.d/lumivert-play.list repository=/play/repository failures=0
    mkdir -p $repository /run/dbus /run/lock
    mkdir -m 700 $GNUPGHOME
    rm -rf /etc/apt/sources.list /etc/apt/sources.list.d /var/lib/apt/lists
    mkdir -p /etc/apt/sources.list.d /var/lib/apt/lists/partial

    build() { # version
        local tree=/play/tree-$1
        mkdir -p "$tree/DEBIAN" "$tree/usr/share/lumivert-play"
        echo "$1" >"$tree/usr/share/lumivert-play/version"
        printf '%s\n' 'Package: lumivert' "Version: $1" 'Architecture: all' \
            'Maintainer: Test <test@example.org>' 'Description: Prints one photograph at a time' \
            >"$tree/DEBIAN/control"
        dpkg-deb --root-owner-group --build "$tree" "$repository/lumivert_$1_all.deb" >/dev/null
    }
    index() { # signed|unsigned
        (
            cd $repository
            rm -f InRelease Release
            dpkg-scanpackages -m . >Packages 2>/dev/null
            printf '%s\n' 'Origin: Lumivert' 'Suite: stable' 'Codename: stable' \
                "Date: $(date -Ru)" 'SHA256:' \
                " $(sha256sum Packages | cut -d' ' -f1) $(stat -c %s Packages) Packages" >Release
            if [ "$1" = signed ]; then
                gpg --batch --quiet --clearsign -o InRelease Release
                rm Release
            fi
        )
    }
    expect() { # what, expected first line(s) as a pattern, command...
        local what=$1 pattern=$2 output
        shift 2
        output=$("$@" 2>&1 || true)
        if [[ $output == $pattern ]]; then
            echo "ok      $what"
            if [ -n "${VERBOSE-}" ]; then echo "${output//$'\n'/ | }"; fi
        else
            echo "FAILED  $what"
            echo "        expected: $pattern"
            echo "        output:   $output"
            failures=$((failures + 1))
        fi
    }
    player() { timeout 120 /play/player "$@"; }
    as_nobody() {
        timeout 120 setpriv --reuid=nobody --regid=nogroup --clear-groups /play/player "$@"
    }
    version() { dpkg-query -W -f '${Version}' lumivert; }

    gpg --batch --quiet --passphrase '' --quick-gen-key 'Test <test@example.org>' ed25519 sign never \
        2>/dev/null
    gpg --batch --export >/play/key.gpg
    local signed="deb [signed-by=/play/key.gpg] file:$repository ./"

    expect 'no bus: no service' $'failed noService*' player check
    dbus-daemon --system --fork
    # The bus may know how to start the services; where systemd would have to, they are started here.
    /usr/lib/polkit-1/polkitd --no-debug >/dev/null 2>&1 &
    mv /usr/share/dbus-1/system-services/org.freedesktop.PackageKit.service /play/
    sleep 1
    expect 'a bus without PackageKit: no service' $'failed noService*' player check
    /usr/libexec/packagekitd --disable-timer >/play/packagekitd.log 2>&1 &
    local service=$!
    for _ in $(seq 50); do
        dbus-send --system --print-reply --dest=org.freedesktop.DBus / \
            org.freedesktop.DBus.GetNameOwner string:org.freedesktop.PackageKit \
            >/dev/null 2>&1 && break
        sleep 0.1
    done

    build 1.0
    index signed
    echo "$signed" >$source
    expect 'not installed: not from a repository' $'failed notFromRepository*' player check
    dpkg -i $repository/lumivert_1.0_all.deb >/dev/null
    mv $source /play/
    apt-get -qq update
    expect 'from a file of its own: not from a repository' 'failed notFromRepository*' player check
    dpkg -P lumivert >/dev/null
    mv /play/lumivert-play.list $source
    apt-get -qq update
    apt-get -qq -y install lumivert >/dev/null 2>&1
    expect 'installed, nothing newer: up to date' 'up to date 1.0' player check

    build 1.1
    index signed
    expect 'a newer version is found' $'found 1.1 after 1.0*' player check
    expect 'on schedule too' $'found 1.1 after 1.0*' player scheduled
    chmod 755 /play
    expect 'without the right to refresh: not authorized' $'failed notAuthorized*' \
        as_nobody check
    expect 'without that right on schedule: found, no question' $'found 1.1 after 1.0*' \
        as_nobody scheduled
    expect 'it is installed' $'found 1.1 after 1.0*installed 1.1' player install
    expect 'the newer version is there' '1.1' version
    expect 'and nothing newer any more' 'up to date 1.1' player check

    build 1.2
    index unsigned
    expect 'an unsigned repository is refused' $'failed sourcesUnreadable*signed*' \
        player install
    expect 'nothing was installed from it' '1.1' version
    rm -rf /var/lib/apt/lists/* # apt remembers that it was signed
    mkdir -p /var/lib/apt/lists/partial
    echo "deb [allow-insecure=yes] file:$repository ./" >$source
    expect 'let in unsigned, its package is not trusted' $'found 1.2*failed untrusted*' \
        player install
    expect 'and not installed' '1.1' version
    index signed
    echo "$signed" >$source
    kill -STOP $service
    (sleep 2 && kill -KILL $service) &
    expect 'a service that dies is noticed' $'failed *' player check

    rm $source
    echo "$failures failures"
    [ "$failures" = 0 ]
}

view() { # folder, player
    mount -t tmpfs tmpfs "$1"
    mkdir "$1/changes" "$1/work" "$1/root"
    mount -t overlay overlay -o "lowerdir=/,upperdir=$1/changes,workdir=$1/work" "$1/root"
    mount -t proc proc "$1/root/proc"
    mount --rbind /dev "$1/root/dev"
    mount -t tmpfs tmpfs "$1/root/run"
    mkdir "$1/root/play"
    cp "$2" "$1/root/play/player"
    cp "$0" "$1/root/play/play.sh"
    exec chroot "$1/root" /bin/bash /play/play.sh --inside
}

case ${1-} in
--inside) inside ;;
--view) view "$2" "$3" ;;
'')
    echo "usage: $0 path/to/packagekit_player" >&2
    exit 2
    ;;
*)
    folder=$(mktemp -d)
    trap 'rmdir "$folder"' EXIT
    unshare --mount --propagation private --pid --fork --kill-child \
        /bin/bash "$0" --view "$folder" "$1"
    ;;
esac
