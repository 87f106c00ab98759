#!/usr/bin/env bash
# The scripts that start servers of one's own: the password of the store stays with its user, and a
# directory of somebody else's in the place of that for the ports ends them. No server is started: their
# programs are stand-ins.
#     local_test.sh FLEET
set -euo pipefail

fleet=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export TMPDIR=$work

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

source "$fleet/local/postgres.sh"

# initdb --pgdata DIRECTORY ...
make_cluster() {
    mkdir "$2"
}
qv_as_postgres() {
    "$@"
}
qv_postgres_program() {
    echo make_cluster
}
qv_start_postgres() {
    [[ -s $1/port ]]
}
psql() {
    [[ $PGPASSWORD == "$(<"$store/password")" && "$*" != *"$PGPASSWORD"* ]]
}
chown() {
    :
}

umask 022
store=$work/store
qv_make_postgres "$store" || fail "the store is not made"
password=$(<"$store/password")
readable=$(find "$store" -type f -perm /077 -exec grep -lF "$password" {} +) || true
[[ -z $readable ]] || fail "others can read the password in $readable"
[[ $(stat -c %a "$store") == 700 ]] || fail "others can enter $store"
[[ $(<"$store/address") == "postgresql://qv@127.0.0.1:$(<"$store/port")/qv" ]] ||
    fail "the address is $(<"$store/address")"
[[ $(<"$store/passfile") == "127.0.0.1:$(<"$store/port"):*:qv:$password" ]] ||
    fail "the file for PGPASSFILE is wrong"

# Each has a port of its own, until its directory is gone.
mkdir "$work/other"
[[ $(qv_free_port "$work/other") != "$(<"$store/port")" ]] || fail "two have the same port"
rm -r "$store" "$work/other"
qv_forget_ports
[[ ! -e $qv_ports ]] || fail "ports are kept for what is gone"

mkdir "$work/elsewhere"
ln -s "$work/elsewhere" "$qv_ports"
code=0
timeout 60 bash -c 'source "$0" && qv_free_port "$1"' "$fleet/local/postgres.sh" "$work" \
    >"$work/port" 2>"$work/errors" || code=$?
[[ $code == 1 && ! -s $work/port ]] || fail "ports are taken down where anybody may have a say: $code"
grep -q "$qv_ports is no directory of this user's" "$work/errors" || fail "nobody says why"
if ((EUID == 0)); then
    rm "$qv_ports"
    mkdir "$qv_ports"
    command chown 65534 "$qv_ports"
    ! qv_free_port "$work" 2>/dev/null || fail "another user's directory is taken for one's own"
fi
