#!/usr/bin/env bash
# A fleet on this machine: agents, shippers and the servers behind them. ./fleet.sh --help says more.
set -euo pipefail

root=$(cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")" && pwd)
bin=$root/build/release/bin
base=$root/var/fleet
agents=4
seconds=0
started=()

print_help() {
    cat <<END
Usage: ./fleet.sh [OPTION...]

Installs what is missing (Debian packages, as root or through sudo), builds, and starts three servers
for streams, PostgreSQL, a collector, $agents agents with sample traffic and a shipper for each, all
on 127.0.0.1 and below $base. Then it shows every two seconds what each host has sent. Ctrl-C
stops everything and removes $base.
The packages may start servers of their own when they are installed; those are left alone.

    --small         PostgreSQL alone: the shippers send straight into it
    --agents N      so many agents (default: $agents)
    --seconds N     end after so many seconds; 0: at Ctrl-C (default)
    --help          this text
END
}

small=false
while (($#)); do
    case $1 in
        --small) small=true ;;
        --agents) agents=${2:?--agents needs a number} && shift ;;
        --seconds) seconds=${2:?--seconds needs a number} && shift ;;
        --help | -h) print_help && exit 0 ;;
        *) echo "fleet.sh: unknown option '$1'; see --help" >&2 && exit 2 ;;
    esac
    shift
done
source "$root/scripts/setup.sh"
source "$root/fleet/local/postgres.sh"
source "$root/fleet/local/nats.sh"

build() {
    qv_configure "$root" release -DQV_BUILD_FLEET=ON &&
        qv_build "$root" release qvlog qv_agent qv_base_log qv_sample_traffic qv_schedule \
            qv_control qv_line_feed
}

# Everything that was started, in the reverse order; then nothing is left of it.
clean_up() {
    local pid
    trap - EXIT INT TERM
    echo
    echo "Stopping"
    for pid in "${started[@]}"; do
        kill "$pid" 2>/dev/null || true
    done
    wait "${started[@]}" 2>/dev/null || true
    [[ ! -d $base/nats ]] || qv_stop_nats "$base/nats"
    qv_stop_postgres "$base/postgres"
    rm -rf "$base"
    qv_forget_ports
}

# An agent ends when its traffic does; the next one goes on in the same place.
run_agent() {
    local share=$1 pid=
    trap '[[ -z $pid ]] || kill "$pid" 2>/dev/null; wait; exit 0' TERM
    while :; do
        "$bin/qv_agent" --share "$share" --sample --threads 2 --operations 100 \
            </dev/null >/dev/null 2>&1 &
        pid=$!
        wait "$pid" || true
        sleep 1 &
        pid=$!
        wait "$pid" || true
    done
}

# Where a host sends to, and as whom: into `words`.
target_words() {
    local certs=$base/nats/certs
    words=(--to "$store")
    if ! $small; then
        words=(--to "$(<"$base/nats/url")" --ca "$certs/ca.pem" --cert "$certs/$1.pem"
            --key "$certs/$1.key")
    fi
}

start_streams() {
    local i hosts=()
    for ((i = 1; i <= agents; ++i)); do
        hosts+=("agent$i")
    done
    qv_make_nats "$base/nats" 3 "${hosts[@]}"
    local certs=$base/nats/certs
    "$bin/qvlog" collect --from "$(<"$base/nats/url")" --to "$store" \
        --ca "$certs/ca.pem" --cert "$certs/collector.pem" --key "$certs/collector.key" \
        --make-streams --replicas 3 2>"$base/collect.log" &
    started+=($!)
}

start_host() {
    local host=$1 share=$base/$1
    mkdir -p "$share/conf" "$share/log"
    cp "$root/host/agent/corba_agent.cfg" "$share/conf/"
    run_agent "$share" &
    started+=($!)
    target_words "$host"
    "$bin/qvlog" ship --host "$host" "${words[@]}" "$share/log" 2>"$share/ship.log" &
    started+=($!)
}

show_fleet() {
    [[ ! -t 1 ]] || clear
    echo "The fleet at $(date +%T); ask it yourself:  PGPASSFILE=$PGPASSFILE psql $store"
    psql -X -q "$store" -c "SELECT host, date_trunc('second', seen) AS seen,
        files, stored AS bytes_stored, backlog, gaps, lost, problem FROM qv.fleet ORDER BY host"
}

servers=("${qv_fleet_servers[@]}")
! $small || servers=(postgresql)
qv_install_packages "${qv_packages[@]}" "${qv_fleet_packages[@]}" "${servers[@]}"
mkdir -p "$root/build"
if ! build >"$root/build/fleet.log" 2>&1; then
    cat "$root/build/fleet.log" >&2
    echo "fleet.sh: the build failed, see above" >&2
    exit 1
fi

[[ ! -e $base ]] || { echo "fleet.sh: $base is there already: is another one running?" >&2 && exit 1; }
trap clean_up EXIT
trap 'exit 130' INT TERM
mkdir -p "$base"
echo "Starting"
qv_make_postgres "$base/postgres"
export PGPASSFILE=$base/postgres/passfile
store=$(<"$base/postgres/address")
"$bin/qvlog" collect --migrate --to "$store"
$small || start_streams
for ((i = 1; i <= agents; ++i)); do
    start_host "agent$i"
done
end=$((SECONDS + seconds))
while ((seconds == 0 || SECONDS < end)); do
    show_fleet
    sleep 2 &
    wait $! || true
done
