#!/usr/bin/env bash
# Measures the reader beside grep, ripgrep and lnav, on log files that the sample traffic writes:
#     bench/reader.sh [MEGABYTES [ROUNDS]]
# Prints a table in Markdown: the least processor time and the least wall time of all rounds, and the
# bytes of the files by the first. Needs the preset release, ripgrep, lnav and time.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
megabytes=${1:-600}
rounds=${2:-5}
bin=$root/build/release/bin
share=$(mktemp -d "${TMPDIR:-/tmp}/qvlog-bench.XXXXXX")
trap 'rm -rf "$share"' EXIT
export _APP_SHARE_DIR=$share HOME=$share LC_ALL=C.UTF-8

mkdir -p "$share/conf" "$share/.config/lnav/formats/installed"
cp "$root/host/agent/corba_agent.cfg" "$share/conf"
cp "$root/reader/lnav/qv_log.json" "$share/.config/lnav/formats/installed"
# Four threads; an operation writes about three kilobytes.
"$bin/qv_agent" --share "$share" --sample --threads 4 --operations $((megabytes * 1000 / 12)) >/dev/null
files=("$share"/log/*.log)
cat "${files[@]}" >/dev/null
bytes=$(cat "${files[@]}" | wc -c)

# The same records, one each five milliseconds: for ranges of time.
mkdir "$share/slow"
awk -v OFS= '
    after { count++
            ms = 5 * count
            stamp = sprintf("2026-03-%02dT%02d:%02d:%02d.%03d000+00:00", 5 + ms / 86400000,
                            ms / 3600000 % 24, ms / 60000 % 60, ms / 1000 % 60, ms % 1000)
            $0 = stamp substr($0, length(stamp) + 1) }
    { after = $0 ~ /^<[0-9]+>$/; print }' \
    "$share"/log/unbi_debug_* >"$share/slow/unbi_debug_20260305_000000_1.log"

# add TITLE COMMAND...: a line of the table.
titles=()
commands=()
add() {
    titles+=("$1")
    shift
    commands+=("$(printf '%q ' "$@")")
}

# Runs all commands in turn, again and again, so that a busy moment of the machine does not fall on
# one of them alone.
measure_all() {
    local round i real user system
    local -a best wall
    for ((round = 0; round < rounds; round++)); do
        for i in "${!commands[@]}"; do
            read -r real user system < <({
                TIMEFORMAT='%3R %3U %3S'
                time eval "${commands[i]}" >/dev/null
            } 2>&1)
            read -r "best[i]" "wall[i]" < <(awk -v b="${best[i]:-999}" -v w="${wall[i]:-999}" \
                -v r="$real" -v u="$user" -v s="$system" \
                'BEGIN { t = u + s; print (t < b ? t : b), (r < w ? r : w) }')
        done
    done
    for i in "${!commands[@]}"; do
        awk -v t="${titles[i]}" -v b="${best[i]}" -v w="${wall[i]}" -v n="$bytes" \
            'BEGIN { printf "| %s | %.3f s | %.3f s | %.2f |\n", t, b, w, n / (b > 0 ? b : 0.001) / 1e9 }'
    done
}

echo "$((bytes / 1000000)) MB, $("$bin/qvlog" -c) records"
echo
echo "| What | Processor | Wall | GB/s of processor time |"
echo "|---|---|---|---|"
add '`grep -c` one fixed text' grep -c 'NE-1199 ' "${files[@]}"
add '`rg -c` the same' rg -c 'NE-1199 ' "${files[@]}"
add '`qvlog -c` the same' "$bin/qvlog" -c -g 'NE-1199 '
add '`qvlog -c` the same, ignoring case' "$bin/qvlog" -c -g 'ne-1199 '
add '`qvlog -c` an expression' "$bin/qvlog" -c -g 'NE-11[0-9]9 does not'
add '`qvlog -c --level 0`' "$bin/qvlog" -c -l 0
add '`qvlog -c --level 1`' "$bin/qvlog" -c -l 1
add '`qvlog -c --operation`' "$bin/qvlog" -c --operation 00000001-0000-4000-8000-0000000000c7
add '`qvlog -c --user`' "$bin/qvlog" -c --user 'nobody'
add '`qvlog -c --category debug`' "$bin/qvlog" -c --category debug
add '`qvlog -c`, every record' "$bin/qvlog" -c
add '`qvlog -o json`, every record' "$bin/qvlog" -o json
add '`qvlog verify`' "$bin/qvlog" verify
add '`qvlog --since --until`, a second of a sorted file' "$bin/qvlog" -c \
    --since 2026-03-05T00:01:00Z --until 2026-03-05T00:01:01Z "$share/slow"
add '`qvlog -n 10`' "$bin/qvlog" -n 10
add '`lnav -n`, one query' lnav -n -c ';SELECT count(*) FROM qv_log' "${files[@]}"
measure_all
echo
for command in "-c -l 0" "-o json" "-r -o json" "-n 10" "--story -l 0 -o json"; do
    # shellcheck disable=SC2086
    kilobytes=$(command time -f %M "$bin/qvlog" $command 2>&1 >/dev/null)
    printf '`qvlog %s`: %d MB of memory\n' "$command" $((kilobytes / 1024))
done
