#!/usr/bin/env bash
# Measures the reader beside grep, ripgrep and lnav, on log files that the sample traffic writes:
#     bench/reader.sh [MEGABYTES]
# Prints a table in Markdown: the processor time and the wall time of the best of five runs, and the
# bytes of the files by it. Needs the preset release, ripgrep, lnav and python3.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
megabytes=${1:-600}
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
python3 - "$share/log" "$share/slow" <<'PYTHON'
import datetime, glob, re, sys
source = glob.glob(sys.argv[1] + "/unbi_debug_*")[0]
begin, count = datetime.datetime(2026, 3, 5), 0
stamp = re.compile(rb"(?<=>\n)\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}\+\d\d:\d\d")
def later(_):
    global count
    count += 1
    time = begin + datetime.timedelta(milliseconds=5 * count)
    return time.strftime("%Y-%m-%dT%H:%M:%S.%f+00:00").encode()
with open(source, "rb") as text, open(sys.argv[2] + "/unbi_debug_20260305_000000_1.log", "wb") as out:
    out.write(stamp.sub(later, text.read()))
PYTHON

# measure TITLE COMMAND...: the best of five runs.
measure() {
    local title=$1 best=999999 wall=999999 user system real
    shift
    for _ in 1 2 3 4 5; do
        read -r real user system < <({ TIMEFORMAT='%3R %3U %3S'; time "$@" >/dev/null; } 2>&1)
        read -r best wall < <(awk -v b="$best" -v w="$wall" -v r="$real" -v u="$user" -v s="$system" \
            'BEGIN { t = u + s; print (t < b ? t : b), (r < w ? r : w) }')
    done
    awk -v t="$title" -v b="$best" -v w="$wall" -v n="$bytes" \
        'BEGIN { printf "| %s | %.2f s | %.2f s | %.2f |\n", t, b, w, n / b / 1e9 }'
}

echo "$((bytes / 1000000)) MB, $("$bin/qvlog" -c) records"
echo
echo "| What | Processor | Wall | GB/s of processor time |"
echo "|---|---|---|---|"
measure '`grep -c` one fixed text' grep -c 'NE-1199 ' "${files[@]}"
measure '`rg -c` the same' rg -c 'NE-1199 ' "${files[@]}"
measure '`qvlog -c` the same' "$bin/qvlog" -c -g 'NE-1199 '
measure '`qvlog -c` the same, ignoring case' "$bin/qvlog" -c -g 'ne-1199 '
measure '`qvlog -c` an expression' "$bin/qvlog" -c -g 'NE-11[0-9]9 does not'
measure '`qvlog -c --level 0`' "$bin/qvlog" -c -l 0
measure '`qvlog -c --level 1`' "$bin/qvlog" -c -l 1
measure '`qvlog -c --operation`' "$bin/qvlog" -c --operation 00000001-0000-4000-8000-0000000000c7
measure '`qvlog -c --user`' "$bin/qvlog" -c --user 'nobody'
measure '`qvlog -c --category debug`' "$bin/qvlog" -c --category debug
measure '`qvlog -c`, every record' "$bin/qvlog" -c
measure '`qvlog -o json`, every record' "$bin/qvlog" -o json
measure '`qvlog verify`' "$bin/qvlog" verify
measure '`qvlog --since --until`, a second of a sorted file' "$bin/qvlog" -c \
    --since 2026-03-05T00:01:00Z --until 2026-03-05T00:01:01Z "$share/slow"
measure '`qvlog -n 10`' "$bin/qvlog" -n 10
measure '`lnav -n`, one query' lnav -n -c ';SELECT count(*) FROM qv_log' "${files[@]}"
echo
for command in "-c -l 0" "-o json" "-r -o json" "-n 10" "--story -l 0 -o json"; do
    printf '`qvlog %s`: %d MB of memory\n' "$command" \
        $(($(python3 -c '
import resource, subprocess, sys
subprocess.run(sys.argv[1:], stdout=subprocess.DEVNULL)
print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)' "$bin/qvlog" $command) / 1024))
done
