#!/bin/bash
# Installs the package in a clean root of a Debian release, from a signed repository, and uses it:
#
#     sudo tests/package/installed.sh bookworm FOLDER
#     sudo tests/package/installed.sh trixie FOLDER
#
# The program prints on the queue "PDF", finds the next version of itself through the real
# PackageKit, installs it, and prints once more before it is started anew; then the package is
# removed and purged. Needs root, debootstrap and the network, and ends in "ok" or in what failed.
#
# FOLDER/clean becomes the clean root. FOLDER/repository and FOLDER/next are made by scripts/package
# in the root FOLDER/build, where they are not there yet: the tree's own version, and that and the
# next one. No service of the machine takes part: the roots have their own buses, schedulers and
# package services, which end with the script.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
release_root="$here/../release-root.sh"
# Where the repository lies in the roots, which is also where its changelogs are looked for.
repository=/srv/lumivert

# In the build root: the repository with this version, or with the next one too.
make_repository() { # this|next
    export GNUPGHOME=/root/gnupg LUMIVERT_CHANGELOGS=copy://$repository/changelogs
    apt-get -qq install -y --no-install-recommends gnupg >/dev/null
    if [ ! -d $GNUPGHOME ]; then
        mkdir -m 700 $GNUPGHOME
        gpg --batch --quiet --passphrase '' --quick-gen-key 'Test <test@example.org>' ed25519 sign never
    fi
    if [ "$1" = next ]; then
        # A day after the newest: no two versions are of one time.
        newest=$(sed -nE '0,/^## /s/^## [0-9.]+ - (.*)/\1/p' CHANGELOG.md)
        sed -i '0,/^## /s//## 99.1 - '"$(date -I -d "$newest + 1 day")"'\n\nFinds the margins by itself.\n\n## /' \
            CHANGELOG.md
    fi
    scripts/package --repository $repository
    gpg --batch --export >$repository/key.gpg
}

# In the clean root.
use_it() {
    export LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive
    local person=/home/person session
    say() { printf '%s\n' "ok      $*"; }
    fail() { printf 'FAILED  %s\n' "$*" >&2; exit 1; }
    as_person() { runuser -u person -- env -i HOME=$person PATH=/usr/bin:/bin LC_ALL=C.UTF-8 "$@"; }
    in_session() {
        as_person env DISPLAY=:7 XDG_RUNTIME_DIR=$person/run \
            DBUS_SESSION_BUS_ADDRESS="unix:path=$person/run/bus" "$@"
    }
    window() { in_session /src/tests/package/window.py "$@"; }
    version() { dpkg-query -W -f '${Version}' lumivert; }
    sheets() { find $person/PDF -name '*.pdf' 2>/dev/null | wc -l; }

    restore_sources() {
        mv /root/sources/sources.list /etc/apt/ 2>/dev/null || true
        mv /root/sources/debian.sources /etc/apt/sources.list.d/ 2>/dev/null || true
    }

    # A second run begins as the first did, however that ended.
    restore_sources
    if dpkg-query -W lumivert >/dev/null 2>&1; then apt-get -qq purge -y lumivert >/dev/null; fi
    rm -f /etc/apt/sources.list.d/lumivert.list
    apt-get -qq update
    apt-get -qq install -y --no-install-recommends xvfb xauth at-spi2-core python3-gi \
        gir1.2-atspi-2.0 poppler-utils procps libglib2.0-bin >/dev/null
    echo "deb [signed-by=$repository/key.gpg] file:$repository stable main" \
        >/etc/apt/sources.list.d/lumivert.list
    apt-get -qq update
    # With what it recommends, as a person's apt does.
    apt-get -qq install -y lumivert >/dev/null
    local first
    first=$(version)
    say "installed $first"
    dpkg -L lumivert | while read -r path; do [ -d "$path" ] || echo "$path"; done >/root/files

    # Services, as a start of the system would bring them up.
    mkdir -p /run/dbus /run/cups /run/lock
    dbus-uuidgen --ensure
    dbus-daemon --system --fork
    id person >/dev/null 2>&1 || useradd -m -s /bin/bash person
    rm -rf $person/PDF $person/.config $person/.cache
    # The person at the machine, who would be asked for a password.
    mkdir -p /etc/polkit-1/rules.d
    echo 'polkit.addRule(function(action, subject) {
        if (action.id.indexOf("org.freedesktop.packagekit.") === 0 && subject.user === "person")
            return polkit.Result.YES;
    });' >/etc/polkit-1/rules.d/10-person.rules
    chmod 755 /etc/polkit-1/rules.d
    /usr/lib/polkit-1/polkitd --no-debug >/root/polkitd.log 2>&1 &
    /usr/libexec/packagekitd --disable-timer >/root/packagekitd.log 2>&1 &
    sed -i "/^Listen localhost/d" /etc/cups/cupsd.conf # the port may be taken
    /usr/sbin/cupsd -f >/root/cupsd.log 2>&1 &
    for _ in $(seq 100); do lpstat -r 2>/dev/null | grep -q 'is running' && break; sleep 0.1; done
    lpstat -r | grep -q 'is running' || fail 'the print scheduler does not start'
    # A scheduler that has just started refuses its first changes now and then.
    change() { for _ in $(seq 20); do lpadmin "$@" 2>/dev/null && return; sleep 0.5; done; fail "lpadmin $*"; }
    if lpstat -e | grep -qx PDF; then change -x PDF; fi
    change -p PDF -E -v cups-pdf:/ -m "$(lpinfo -m | awk '/CUPS-PDF_opt/ && !n++ { print $1 }')"
    lumivert-prepare-queue --apply PDF >/root/prepare.log
    grep -q 'done; the former PPD is kept' /root/prepare.log || fail "$(cat /root/prepare.log)"
    say 'lumivert-prepare-queue prepares the queue "PDF"'

    sh -c 'cd /src && AUTOPKGTEST_TMP=$(mktemp -d) sh debian/tests/installed' >/root/tests.log 2>&1 ||
        fail "debian/tests/installed: $(cat /root/tests.log)"
    say 'debian/tests/installed'

    # A session: a bus, a display, the program by its desktop entry's name on the bus.
    session=$person/run
    rm -rf $session && mkdir -m 700 $session && chown person: $session
    cp /usr/share/icons/hicolor/512x512/apps/org.lumivert.Lumivert.png $person/photo.png
    chmod 644 $person/photo.png
    rm -f /tmp/.X11-unix/X7 /tmp/.X7-lock # of a run that was cut short
    as_person Xvfb :7 -screen 0 1600x1200x24 -nolisten tcp >/dev/null 2>&1 &
    in_session env QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 dbus-daemon --session --nofork \
        --address="unix:path=$session/bus" >$person/session.log 2>&1 &
    for _ in $(seq 100); do [ -S $session/bus ] && [ -S /tmp/.X11-unix/X7 ] && break; sleep 0.1; done
    in_session gdbus call --session --dest org.lumivert.Lumivert \
        --object-path /org/lumivert/Lumivert --method org.freedesktop.Application.Open \
        "['file://$person/photo.png']" '{}' >/dev/null || fail 'the desktop cannot start it'
    window shows 'photo.png' || fail 'the photo is not open'
    local program
    program=$(pgrep -u person -x lumivert)
    say 'the desktop starts it and hands it a photo'

    print() { # how many sheets are there then
        window press 'Lumivert > Print' 'Print > Print' || fail 'Print cannot be pressed'
        for _ in $(seq 300); do [ "$(sheets)" = "$1" ] && break; sleep 0.1; done
        [ "$(sheets)" = "$1" ] || fail "no sheet arrived; $(window texts; lpstat -o)"
        local sheet
        sheet=$(find $person/PDF -name '*.pdf' -newer /root/mark)
        # Its name shows before it is written.
        for _ in $(seq 100); do pdfinfo "$sheet" >/dev/null 2>&1 && break; sleep 0.1; done
        pdfinfo "$sheet" | grep -q 'Page size: *59[45][.0-9]* x 84[12]' ||
            fail "not A4: $(pdfinfo "$sheet")"
        pdfimages -list "$sheet" | grep -q ' image ' || fail 'no photo on the sheet'
        touch /root/mark
    }
    touch -d yesterday /root/mark
    print 1
    say "$first prints A4 on \"PDF\""

    # The next version. The program asks the real package service.
    rm -rf $repository && cp -r /srv/next $repository
    mkdir -p /root/sources
    mv /etc/apt/sources.list /etc/apt/sources.list.d/debian.sources /root/sources/ 2>/dev/null || true
    window press 'Check for Updates…'
    window shows 'Lumivert 99.1 is available' "You have version $first" 'Finds the margins by itself' ||
        fail "the update is not found: $(tail -n 5 /root/packagekitd.log)"
    say 'it finds 99.1 and shows what changes'
    window press 'Lumivert 99.1 is available > Install'
    window shows 'Lumivert 99.1 is installed' 'Restart Lumivert to use it' ||
        fail 'the update is not installed'
    [ "$(version)" = 99.1 ] || fail "$(version) is installed"
    say 'it installs it and asks for a restart'
    window press 'Lumivert 99.1 is installed > Close'
    # What runs is still the old program; its decoder's file is gone, its descriptor is not.
    [[ $(readlink "/proc/$program/exe") == *'(deleted)' ]] || fail 'another program runs'
    # Started through its descriptor, it has no name that pgrep knows.
    decoders() {
        local child
        for child in $(pgrep -P "$program"); do
            case $(readlink "/proc/$child/exe") in */lumivert-decoder*) echo "$child" ;; esac
        done
    }
    local decoder before
    before=$(decoders)
    [ -n "$before" ] || fail 'no decoder runs'
    for decoder in $before; do kill -KILL "$decoder"; done
    in_session gdbus call --session --dest org.lumivert.Lumivert \
        --object-path /org/lumivert/Lumivert --method org.freedesktop.Application.Open \
        "['file://$person/photo.png']" '{}' >/dev/null
    print 2
    for decoder in $(decoders); do
        [[ " $before " != *" $decoder "* ]] || fail 'a decoder that was killed runs'
        [[ $(readlink "/proc/$decoder/exe") == *'(deleted)' ]] || fail 'the new decoder was started'
    done
    [ -n "$(decoders)" ] || fail 'no decoder was started after the update'
    say "$first still prints, by its own decoder, until it is started anew"
    window press Quit
    for _ in $(seq 100); do kill -0 "$program" 2>/dev/null || break; sleep 0.1; done
    ! kill -0 "$program" 2>/dev/null || fail 'it does not quit'
    in_session gdbus call --session --dest org.lumivert.Lumivert \
        --object-path /org/lumivert/Lumivert --method org.freedesktop.Application.Open \
        "['file://$person/photo.png']" '{}' >/dev/null
    window press 'About Lumivert'
    window shows 99.1 || fail 'the old version runs after the restart'
    say 'after the restart 99.1 runs'
    kill "$(pgrep -u person -x lumivert)"

    apt-get -qq remove -y lumivert >/dev/null
    while read -r path; do [ ! -e "$path" ] || fail "removing leaves $path"; done </root/files
    apt-get -qq purge -y lumivert >/dev/null
    local left
    left=$(find / -xdev \( -path /src -o -path /srv -o -path /proc -o -path /var/lib/apt/lists \
        -o -path /var/cache/apt -o -path $person -o -path /tmp -o -path /etc/apt/sources.list.d -o -path /root \) \
        -prune -o -iname '*lumivert*' -print)
    [ -z "$left" ] || fail "purging leaves $left"
    say 'removing and purging leave nothing'
    restore_sources
}

case "${1-}" in
--make) make_repository "$2" ;;
--use) use_it ;;
*)
    [ $# = 2 ] || { sed -n '4,5p' "$0" | cut -c3- >&2; exit 2; }
    release=$1 folder=$(realpath -m "$2")
    mkdir -p "$folder"
    for which in repository next; do
        [ ! -d "$folder/$which" ] || continue
        [ $which = repository ] || word=next
        "$release_root" "$release" "$folder/build" tests/package/installed.sh --make "${word-this}"
        cp -r "$folder/build$repository" "$folder/$which"
    done
    "$release_root" "$release" "$folder/clean" true
    rm -rf "$folder/clean$repository" "$folder/clean/srv/next"
    cp -r "$folder/repository" "$folder/clean$repository"
    cp -r "$folder/next" "$folder/clean/srv/next"
    "$release_root" "$release" "$folder/clean" tests/package/installed.sh --use
    ;;
esac
