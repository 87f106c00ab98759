#!/usr/bin/env bash
# Measures the service beside other loggers. ./bench.sh --help says more.
set -euo pipefail

root=$(cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")" && pwd)
build=$root/build/bench

print_help() {
    cat <<EOF
Usage: ./bench.sh [OPTION...]
       ./bench.sh --instructions [--check] [--update]
       ./bench.sh --fairness [SECONDS [DIRECTORY]]
       ./bench.sh --northbound [ROUNDS [CALLS [MS]]]
       ./bench.sh --fleet [MEGABYTES]

Installs what is missing (Debian packages, as root or through sudo), builds the service and the
other loggers' programs optimised, measures, and prints one table. It stands in $build
too, as results.txt and results.json. A full run takes about a quarter of an hour.

    --quick            under two minutes: short rounds, and the cases that matter most
    --case REGEX       only the cases whose names match, '^direct-2$' for example
    --list             list the cases and measure nothing
    --json             print JSON instead of the table
    --plot             write a picture beside the table as well: results.svg
    --rounds N         how often each entrant is measured (5)
    --duration MS      length of each phase in milliseconds (300)
    --disk DIR         where to write to the disk ($build)
    --memory DIR       where to write into memory (/dev/shm)

    --instructions     instructions per call outside the kernel, counted by valgrind, beside the
                       figures kept in bench/instructions.json
    --check            with it: exit code 1 when a path takes more than 3 % more
    --update           with it: keep the new figures

    --fairness         the longest wait of a command, and the longest of a call that logs, while eight
                       threads log without a pause and eight operators give commands (5 s); the log files are
                       written below DIRECTORY ($build), a gigabyte in each second

    --northbound       calls per second of the northbound example, with more and less logging; MS is
                       how long an element takes to answer

    --fleet            the roads of a fleet, with servers of its own: rows per second, processor time,
                       memory, and how soon a record is in the store; MEGABYTES of files (60)
EOF
}

for argument in "$@"; do
    case $argument in
        --help | -h) print_help && exit 0 ;;
        --instructions) exec "$root/bench/instructions.sh" "$@" ;;
    esac
done

source "$root/scripts/setup.sh"
qv_install_packages "${qv_packages[@]}" "${qv_bench_packages[@]}"

build_or_fail() {
    if ! "$@" >"$build/build.log" 2>&1; then
        cat "$build/build.log" >&2
        echo "bench.sh: the build failed, see above" >&2
        exit 1
    fi
}

build_northbound() {
    qv_configure "$root" bench -DQV_BUILD_NORTHBOUND=ON &&
        qv_build "$root" bench qv_agent qv_agentctl qv_base_log qv_schedule qv_control qv_northbound qv_northbound_client
}

build_fleet() {
    qv_configure "$root" release -DQV_BUILD_FLEET=ON &&
        qv_build "$root" release qvlog qv_agent qv_base_log qv_sample_traffic qv_schedule \
            qv_control qv_line_feed
}

build_fairness() {
    qv_configure "$root" release -DQV_BUILD_BENCHMARKS=ON &&
        qv_build "$root" release qv_bench_fairness
}

build_all() {
    qv_configure "$root" bench && qv_build "$root" bench
}

mkdir -p "$build"
if [[ ${1:-} == --northbound ]]; then
    qv_install_packages "${qv_northbound_packages[@]}"
    build_or_fail build_northbound
    exec "$root/examples/northbound/measure.sh" "$build/bin" "${@:2}"
fi
if [[ ${1:-} == --fleet ]]; then
    qv_install_packages "${qv_fleet_packages[@]}" "${qv_fleet_servers[@]}" "${qv_rsyslog_servers[@]}"
    build_or_fail build_fleet
    exec "$root/bench/fleet/fleet.sh" "${@:2}"
fi
if [[ ${1:-} == --fairness ]]; then
    build_or_fail build_fairness
    share=$(mktemp -d "${3:-$build}/fairness.XXXXXX")
    trap 'rm -rf "$share"' EXIT
    "$root/build/release/bin/qv_bench_fairness" "$share" "${2:-5}"
    exit 0
fi
build_or_fail build_all

exec "$build/bin/qv_bench" --disk "$build" --results "$build" "$@"
