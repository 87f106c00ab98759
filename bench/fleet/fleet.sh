#!/usr/bin/env bash
# Measures the roads of a fleet on this machine, with servers of its own on 127.0.0.1. Needs the
# release build of qvlog and the agent, and the packages of `qv_fleet_servers` and
# `qv_rsyslog_servers` (scripts/setup.sh).
#     bench/fleet/fleet.sh [MEGABYTES]        about so many of log files (default: 60)
# Prints for each hop: rows, seconds, rows per second, MB per second of the files, and the seconds of
# processor time per 100,000 rows of the program and of the servers.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/../.." && pwd)
bin=$root/build/release/bin
megabytes=${1:-60}
source "$root/fleet/local/postgres.sh"
source "$root/fleet/local/nats.sh"
source "$root/fleet/local/rsyslog.sh"
# The servers' users must be able to reach it.
work=$(mktemp -d /tmp/qv-fleet-bench.XXXXXX)
chmod 755 "$work"
clean_up() {
    local nats
    for nats in "$work"/nats*; do
        [[ ! -d $nats ]] || qv_stop_nats "$nats"
    done
    qv_stop_rsyslog "$work/rsyslog"
    qv_stop_postgres "$work/postgres"
    rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 130' INT TERM

make_files() {
    mkdir -p "$work/agent/conf" "$work/agent/log"
    cp "$root/host/agent/corba_agent.cfg" "$work/agent/conf/"
    while (($(du -sm "$work/agent/log" | cut -f1) < megabytes)); do
        "$bin/qv_agent" --share "$work/agent" --sample --threads 8 --operations 400 \
            </dev/null >/dev/null 2>&1
    done
    bytes=$(cat "$work"/agent/log/*.log | wc -c)
}

# Clock ticks of processes and of their children that have ended.
ticks() {
    local pid sum=0 stat
    for pid in "$@"; do
        stat=$(<"/proc/$pid/stat")
        read -r -a words <<<"${stat##*) }"
        sum=$((sum + words[11] + words[12] + words[13] + words[14]))
    done
    echo "$sum"
}

# measure NAME SERVERS COMMAND...: SERVERS are process ids. Prints one line.
measure() {
    local name=$1 servers=$2 before after wall user system
    shift 2
    # shellcheck disable=SC2086
    before=$(ticks $servers)
    local TIMEFORMAT='%R %U %S'
    read -r wall user system < <({ time "$@" >"$work/out" 2>&1; } 2>&1)
    sleep 0.3
    # shellcheck disable=SC2086
    after=$(ticks $servers)
    awk -v name="$name" -v rows="$rows" -v bytes="$bytes" -v wall="$wall" -v own="$user" \
        -v kernel="$system" -v servers=$((after - before)) -v hz="$(getconf CLK_TCK)" 'BEGIN {
        printf "%-34s %8d %7.2f %9d %7.1f %10.2f %10.2f\n", name, rows, wall, rows / wall,
            bytes / wall / 1e6, (own + kernel) * 1e5 / rows, servers / hz * 1e5 / rows }'
}

count_rows() {
    psql -X -q -A -t "$url" -c 'SELECT count(*) FROM qv.record'
}

empty_store() {
    psql -X -q "$url" -c 'DROP SCHEMA IF EXISTS qv CASCADE' 2>/dev/null
    "$bin/qvlog" collect --migrate --to "$url" >/dev/null
}

measure_streams() {
    local replicas=$1 nats=$work/nats$1 servers secrets node
    qv_make_nats "$nats" "$replicas" bench
    secrets=(--ca "$nats/certs/ca.pem")
    host=(--cert "$nats/certs/bench.pem" --key "$nats/certs/bench.key")
    collector=(--cert "$nats/certs/collector.pem" --key "$nats/certs/collector.key")
    "$bin/qvlog" collect --from "$(<"$nats/url")" "${secrets[@]}" "${collector[@]}" \
        --make-streams --replicas "$replicas"
    servers=
    for ((node = 1; node <= replicas; ++node)); do
        servers+=" $(<"$nats/$node/pid")"
    done
    measure "files to stream, $replicas server(s)" "$servers" "$bin/qvlog" ship --once \
        --host bench --to "$(<"$nats/url")" "${secrets[@]}" "${host[@]}" "$work/agent/log"
    empty_store
    measure "stream to store, $replicas server(s)" "$(head -1 "$work/postgres/data/postmaster.pid")" \
        "$bin/qvlog" collect --once --from "$(<"$nats/url")" --to "$url" "${secrets[@]}" \
        "${collector[@]}"
    [[ $(count_rows) == "$rows" ]] || { echo "the store has $(count_rows) rows" >&2 && exit 1; }
    qv_stop_nats "$nats"
}

# rsyslog is measured from its start to the last byte in the store, and so are the questions whether it
# is there. It makes fewer rows of the same files, as records inside dumps have none: its figures are for
# the rows of the other roads.
measure_rsyslog() {
    local rsyslog=$work/rsyslog database before sender receiver start wall stored=0
    database=$(head -1 "$work/postgres/data/postmaster.pid")
    before=$(ticks "$database")
    start=$EPOCHREALTIME
    qv_make_rsyslog "$rsyslog" "$url" bench "$work/agent/log"
    until ((stored >= bytes)); do
        kill -0 "$(<"$rsyslog/receiver.pid")" && kill -0 "$(<"$rsyslog/sender.pid")"
        sleep 1
        stored=$(psql -X -q -A -t "$url" \
            -c 'SELECT coalesce(sum(length(bytes) + 1), 0) FROM qv_rsyslog.piece')
    done
    wall=$(awk -v start="$start" -v end="$EPOCHREALTIME" 'BEGIN { print end - start }')
    sender=$(ticks "$(<"$rsyslog/sender.pid")")
    receiver=$(ticks "$(<"$rsyslog/receiver.pid")")
    # The database counts a process of its own when that has ended.
    qv_stop_rsyslog "$rsyslog"
    sleep 1
    awk -v rows="$rows" -v bytes="$bytes" -v wall="$wall" -v sender="$sender" \
        -v receiver="$receiver" -v database=$(($(ticks "$database") - before)) \
        -v hz="$(getconf CLK_TCK)" 'BEGIN {
        printf "%-34s %8d %7.2f %9d %7.1f %10.2f %10.2f\n", "files to store, rsyslog", rows, wall,
            rows / wall, bytes / wall / 1e6, sender / hz * 1e5 / rows,
            (receiver + database) / hz * 1e5 / rows
        printf "  of the servers: receiver %.2f, database %.2f\n", receiver / hz * 1e5 / rows,
            database / hz * 1e5 / rows }'
}

# A thousand records a second for ten seconds: how old the newest row is, and what the shipper costs.
measure_delay() {
    local shipper agent before after
    mkdir -p "$work/live/conf" "$work/live/log"
    cp "$root/host/agent/corba_agent.cfg" "$work/live/conf/"
    "$bin/qvlog" ship --host live --to "$url" "$work/live/log" &
    shipper=$!
    for ((i = 0; i < 100; ++i)); do
        for ((j = 0; j < 100; ++j)); do
            echo "a line of a program, such as this one, with number $i.$j and some more words"
        done
        sleep 0.1
    done | "$bin/qv_agent" --share "$work/live" --traffic input >/dev/null 2>&1 &
    agent=$!
    sleep 2
    before=$(ticks "$shipper")
    for ((i = 0; i < 30; ++i)); do
        psql -X -q -A -t "$url" -c "SELECT extract(epoch FROM clock_timestamp() - max(time))
            FROM qv.record WHERE kind = 'record' AND time > now() - interval '1 minute'"
        sleep 0.2
    done >"$work/delays"
    after=$(ticks "$shipper")
    wait "$agent"
    kill "$shipper" && wait "$shipper" || true
    sort -n "$work/delays" | awk -v ticks=$((after - before)) -v hz="$(getconf CLK_TCK)" '
        { all[NR] = $1 } END {
        printf "age of the newest row at 1,000/s: median %.2f s, most %.2f s\n", all[int((NR + 1) / 2)],
            all[NR]
        printf "the shipper meanwhile: %.1f %% of a processor\n", ticks / hz / 6 * 100 }'
}

make_files
qv_make_postgres "$work/postgres"
url=$(<"$work/postgres/url")
empty_store
"$bin/qvlog" ship --once --host bench --to "$url" "$work/agent/log"
rows=$(count_rows)
echo "$(nproc) processors, load $(cut -d' ' -f1 /proc/loadavg), $rows rows of $bytes bytes"
printf '%-34s %8s %7s %9s %7s %10s %10s\n' '' rows seconds rows/s MB/s 'own CPU' 'servers'
empty_store
measure 'files to store' "$(head -1 "$work/postgres/data/postmaster.pid")" \
    "$bin/qvlog" ship --once --host bench --to "$url" "$work/agent/log"
measure_streams 1
measure_streams 3
measure_rsyslog
measure_delay
