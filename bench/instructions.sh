#!/usr/bin/env bash
# Counts instructions per call outside the kernel under callgrind, which gives the same figures on a
# busy machine as on a quiet one, and compares them with those in instructions.json. They depend on
# compiler and C library, and a little on the processor: compare on one machine.
#     --check    exit code 1 when a path takes more than 3 % more
#     --update   make the new figures the ones to compare with
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
kept=$root/bench/instructions.json
check=false
update=false

for argument in "$@"; do
    case $argument in
        --instructions) ;;
        --check) check=true ;;
        --update) update=true ;;
        *) echo "bench.sh: --instructions knows no option '$argument'; see --help" >&2 && exit 2 ;;
    esac
done

source "$root/scripts/setup.sh"
qv_install_packages "${qv_packages[@]}" valgrind

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

if ! { qv_configure "$root" release -DQV_BUILD_BENCHMARKS=ON && qv_build "$root" release qv_bench_instructions; } \
    >"$work/build.log" 2>&1; then
    cat "$work/build.log" >&2
    echo "bench.sh: the build failed, see above" >&2
    exit 1
fi

# One dump for each path, numbered in their order.
mkdir "$work/share"
if ! valgrind --tool=callgrind --callgrind-out-file="$work/dump" \
    --toggle-collect=qv_measured_calls --dump-after=qv_measured_calls \
    "$root/build/release/bin/qv_bench_instructions" "$work/share" \
    >"$work/paths" 2>"$work/errors"; then
    cat "$work/errors" >&2
    exit 1
fi

# "NAME<tab>INSTRUCTIONS" of each path.
number=0
while read -r calls name; do
    number=$((number + 1))
    total=$(awk '/^(totals|summary):/ { sum = $2 } END { print sum + 0 }' "$work/dump.$number")
    printf '%s\t%d\n' "$name" $((total / calls))
done <"$work/paths" >"$work/measured"

if $update; then
    awk -F '\t' 'BEGIN { print "{" }
        { printf "%s    \"%s\": %d", (NR > 1 ? ",\n" : ""), $1, $2 }
        END { print "\n}" }' "$work/measured" >"$kept"
fi

# Prints the comparison; fails when a path takes more.
compare() {
    awk -F '\t' -v kept="$kept" '
        BEGIN {
            while ((getline line < kept) > 0) {
                if (split(line, parts, "\"") == 3) {
                    gsub(/[^0-9]/, "", parts[3])
                    before[parts[2]] = parts[3]
                }
            }
            printf "%-24s%10s%10s\n", "instructions per call", "kept", "now"
        }
        {
            note = "no figure is kept"
            if ($1 in before) {
                change = ($2 / before[$1] - 1) * 100
                note = sprintf("%+.1f %%%s", change, change > 3 ? "  REGRESSION" : "")
                worse += change > 3
            }
            printf "%-24s%10s%10d  %s\n", $1, before[$1], $2, note
        }
        END { exit worse > 0 || NR == 0 }' "$work/measured"
}

if ! compare && $check; then
    exit 1
fi
