#!/usr/bin/env bash
# Measures the roads of a fleet on this machine, with servers of its own on 127.0.0.1. Needs the
# release build of qvlog and the agent; `./bench.sh --fleet` makes it and installs what is missing.
#     bench/fleet/fleet.sh [MEGABYTES]        about so many of log files (default: 60)
# Prints for each hop: rows, seconds, rows per second, MB per second of the files, the seconds of
# processor time per 100,000 rows of the program and of the servers, and the MB of memory that the
# program took at most. Then, for each road, how old records are when the store shows them.
set -euo pipefail
export LC_ALL=C.UTF-8  # whose numbers have a point

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
    local nats job
    for job in $(jobs -p); do
        kill "$job" 2>/dev/null || true
    done
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
    local name=$1 servers=$2 before after wall own kernel memory
    shift 2
    # shellcheck disable=SC2086
    before=$(ticks $servers)
    /usr/bin/time -f '%e %U %S %M' -o "$work/time" "$@" >"$work/out" 2>&1 ||
        { cat "$work/out" >&2 && return 1; }
    read -r wall own kernel memory <"$work/time"
    sleep 0.3
    # shellcheck disable=SC2086
    after=$(ticks $servers)
    awk -v name="$name" -v rows="$rows" -v bytes="$bytes" -v wall="$wall" -v own="$own" \
        -v kernel="$kernel" -v servers=$((after - before)) -v hz="$(getconf CLK_TCK)" \
        -v memory="$memory" 'BEGIN {
        printf "%-34s %8d %7.2f %9d %7.1f %9.2f %9.2f %7d\n", name, rows, wall, rows / wall,
            bytes / wall / 1e6, (own + kernel) * 1e5 / rows, servers / hz * 1e5 / rows,
            memory / 1024 }'
}

count_rows() {
    psql -X -q -A -t "$url" -c 'SELECT count(*) FROM qv.record'
}

empty_store() {
    psql -X -q "$url" -c 'DROP SCHEMA IF EXISTS qv CASCADE' 2>/dev/null
    "$bin/qvlog" collect --migrate --to "$url" >/dev/null
}

measure_streams() {
    local replicas=$1 nats=$work/nats$1 servers secrets node host collect
    qv_make_nats "$nats" "$replicas" bench live
    secrets=(--ca "$nats/certs/ca.pem")
    host=(--cert "$nats/certs/bench.pem" --key "$nats/certs/bench.key")
    collect=(--cert "$nats/certs/collector.pem" --key "$nats/certs/collector.key")
    "$bin/qvlog" collect --from "$(<"$nats/url")" "${secrets[@]}" "${collect[@]}" \
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
        "${collect[@]}"
    [[ $(count_rows) == "$rows" ]] || { echo "the store has $(count_rows) rows" >&2 && exit 1; }
    ((replicas > 1)) || measure_stream_delay
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
        printf "%-34s %8d %7.2f %9d %7.1f %9.2f %9.2f\n", "files to store, rsyslog", rows, wall,
            rows / wall, bytes / wall / 1e6, sender / hz * 1e5 / rows,
            (receiver + database) / hz * 1e5 / rows
        printf "  of the servers: receiver %.2f, database %.2f\n", receiver / hz * 1e5 / rows,
            database / hz * 1e5 / rows }'
}

# A thousand lines a second, for ten seconds.
write_lines() {
    local i j
    for ((i = 0; i < 100; ++i)); do
        for ((j = 0; j < 100; ++j)); do
            echo "a line of a program, such as this one, with number $i.$j and some more words"
        done
        sleep 0.1
    done
}

# Notes every 50 ms what the newest record is that the store shows, while the agent of
# measure_delay runs; then tells for each record when it was there.
watch_store() {
    psql -X -q -A -t -F ' ' "$url" <<'SQL'
CREATE TEMPORARY TABLE shown (at timestamptz, newest timestamptz);
DO $$
DECLARE
    newest timestamptz;
BEGIN
    FOR i IN 1 .. 600 LOOP
        SELECT max(r.time) INTO newest FROM qv.record r JOIN qv.file f ON f.id = r.file
            WHERE f.host = 'live' AND f.category = 'corbaoper' AND r.kind = 'record';
        INSERT INTO shown VALUES (clock_timestamp(), newest);
        COMMIT;  -- a transaction would not see the table of a day that is made meanwhile
        EXIT WHEN EXISTS (SELECT FROM qv.file WHERE host = 'live' AND category = 'corbaoper' AND closed);
        PERFORM pg_sleep(0.05);
    END LOOP;
END $$;
WITH ages AS (
    SELECT r.time, extract(epoch FROM
        (SELECT min(s.at) FROM shown s WHERE s.newest >= r.time) - r.time) AS age
    FROM qv.record r JOIN qv.file f ON f.id = r.file
    WHERE f.host = 'live' AND f.category = 'corbaoper' AND r.kind = 'record')
SELECT count(*) / extract(epoch FROM max(time) - min(time)),
       percentile_cont(0.5) WITHIN GROUP (ORDER BY age),
       percentile_cont(0.99) WITHIN GROUP (ORDER BY age), max(age) FROM ages;
SQL
}

# measure_delay NAME PROCESSES...: with shippers, and collectors, that run already.
measure_delay() {
    local name=$1 agent before after
    shift
    sleep 1
    before=$(ticks "$@")
    write_lines | "$bin/qv_agent" --share "$work/live" --traffic input >/dev/null 2>&1 &
    agent=$!
    watch_store >"$work/ages"
    wait "$agent"
    after=$(ticks "$@")
    awk -v name="$name" -v ticks=$((after - before)) -v hz="$(getconf CLK_TCK)" '{
        printf "%-34s %8.0f %8.2f %8.2f %8.2f %9.1f\n", name, $1, $2, $3, $4,
            ticks / hz / 10 * 100 }' "$work/ages" >>"$work/delays"
}

make_live() {
    empty_store
    rm -rf "$work/live"
    mkdir -p "$work/live/conf" "$work/live/log"
    cp "$root/host/agent/corba_agent.cfg" "$work/live/conf/"
}

stop() {
    kill "$@" 2>/dev/null || true
    wait "$@" || true
}

measure_straight_delay() {
    local shipper
    make_live
    "$bin/qvlog" ship --host live --to "$url" "$work/live/log" &
    shipper=$!
    measure_delay 'files to store' "$shipper"
    stop "$shipper"
}

# Inside measure_streams.
measure_stream_delay() {
    local shipper collector
    make_live
    "$bin/qvlog" collect --from "$(<"$nats/url")" --to "$url" "${secrets[@]}" "${collect[@]}" &
    collector=$!
    "$bin/qvlog" ship --host live --to "$(<"$nats/url")" "${secrets[@]}" \
        --cert "$nats/certs/live.pem" --key "$nats/certs/live.key" "$work/live/log" &
    shipper=$!
    measure_delay 'files to stream to store' "$shipper" "$collector"
    stop "$shipper" "$collector"
}

make_files
qv_make_postgres "$work/postgres"
export PGPASSFILE=$work/postgres/passfile
url=$(<"$work/postgres/address")
empty_store
"$bin/qvlog" ship --once --host bench --to "$url" "$work/agent/log"
rows=$(count_rows)
echo "$(nproc) processors, load $(cut -d' ' -f1 /proc/loadavg), $rows rows of $bytes bytes"
printf '%-34s %8s %7s %9s %7s %9s %9s %7s\n' '' rows seconds rows/s MB/s 'own CPU' servers memory
empty_store
measure 'files to store' "$(head -1 "$work/postgres/data/postmaster.pid")" \
    "$bin/qvlog" ship --once --host bench --to "$url" "$work/agent/log"
measure_straight_delay
measure_streams 1
measure_streams 3
measure_rsyslog
echo
printf '%-34s %8s %8s %8s %8s %9s\n' 'seconds until a record is shown' rows/s median '99 %' most \
    '% of CPU'
cat "$work/delays"
