#!/bin/bash
# installing.sh TREE: what a script of TREE does and says while it installs packages. The tools that
# it calls are stand-ins: the fake apt-get fails as often as it is told to, as apt-get does where
# another process has a lock.
set -u
tree=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failed=0

tool() { cat >"$folder/bin/$1"; chmod +x "$folder/bin/$1"; }
mkdir "$folder/bin"
tool dpkg-query <<'TOOL'
#!/bin/sh
case $* in *there*) echo 'install ok installed' ;; *) exit 1 ;; esac
TOOL
tool sudo <<'TOOL'
#!/bin/sh
exec "$@"
TOOL
tool apt-get <<'TOOL'
#!/bin/sh
folder=${0%/bin/*}
echo "$*" >>"$folder/calls"
left=$(cat "$folder/failures")
[ "$left" = 0 ] && exit
echo $((left - 1)) >"$folder/failures"
cat "$folder/error" >&2
exit 100
TOOL

# install FAILURES ERROR: the status, and what was said.
install() {
  echo "$1" >"$folder/failures"
  echo "$2" >"$folder/error"
  rm -f "$folder/calls"
  PATH="$folder/bin:$PATH" bash -c '. "$1/scripts/lib/common.sh"; install_missing there missing' \
    sh "$tree" >"$folder/said" 2>&1
  status=$?
}
check() { # WHAT CONDITION...
  local what=$1
  shift
  if ! "$@"; then
    printf 'ERROR: %s; it said:\n%s\n' "$what" "$(cat "$folder/said")"
    failed=1
  fi
}
said() { [ "$(grep -c -- "$1" "$folder/said")" = "$2" ]; }
calls() { [ "$(cat "$folder/calls")" = "$(printf '%s\n' "$@")" ]; }
updates='update' installs='install -y --no-install-recommends missing'

install 0 ''
check 'installs only what is missing' calls "$updates" "$installs"
check 'succeeds' [ "$status" = 0 ]
check 'does not speak of waiting' said Waiting 0

install 2 'E: Could not get lock /var/lib/dpkg/lock-frontend. It is held by process 7 (apt-get)'
check 'tries again while a lock is held' calls "$updates" "$updates" "$updates" "$installs"
check 'succeeds in the end' [ "$status" = 0 ]
check 'says once that it waits' said 'Waiting up to two minutes for another process' 1

install 1 'E: Failed to fetch the list of packages'
check 'gives up at once where no lock is held' calls "$updates"
check 'fails' [ "$status" = 1 ]
check 'says what apt-get said' said 'E: Failed to fetch the list of packages' 1
check 'says what that means' said 'The packages could not be installed.' 1

exit $failed
