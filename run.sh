#!/usr/bin/env bash
# Builds the agent with the logging service and runs it. ./run.sh --help says more.
set -euo pipefail

root=$(cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")" && pwd)
share=${QV_SHARE:-$root/var}
configuration=$share/conf/corba_agent.cfg
build_log=$root/build/run.log
targets=(qv_agent qv_agentctl qvlog qv_base_log qv_control qv_line_feed qv_sample_traffic qv_schedule)

print_help() {
    cat <<EOF
Usage: ./run.sh [OPTION...] [< FILE]

Installs what is missing (Debian packages, as root or through sudo), builds the agent and runs it.
Every line of standard input becomes a log record. When standard input is a terminal or empty, the
bundled sample traffic runs instead. Then the agent stops, and path, size and last record of each
log file that it has written are printed. Works from any directory.

    ./run.sh < FILE                                   every line of FILE, category corbaoper, level 1
    ./run.sh --category corbasys --level 2 < FILE     another category and level
    tail -f FILE | ./run.sh                           whatever a program prints, as it comes
    ./run.sh --sample --threads 8 --operations 1000   the sample, with more of everything
    ./run.sh --keep-running                           serve until Ctrl-C, SIGINT or SIGTERM
    ./run.sh --traffic none                           only serve, without a client
    ./run.sh --northbound [OPTION...]                 an agent whose clients call it over CORBA

With --northbound, 8 clients make 600 calls each, of which some fail. Calls per second are printed,
the failures, and what the log tells of a failed operation. Options go to the client's load: --clients
N, --calls N, --failures PERCENT, --subscribers N. Its files are in $share/northbound, and
docs/northbound.md explains it.

Configuration:  $configuration
                written with defaults if it is not there, with a comment on each item
Log files:      $share/log
                QV_SHARE=DIR ./run.sh has both in DIR
Build log:      $build_log

Categories: debug corbadebug corbanotify corba_alarm corbasys corbaoper corba_internal_oper
Levels:     0 (gravest) to 3, -2 for short records of one line

A zero byte in a line is logged as the sign U+2400; bytes that are no UTF-8 as U+FFFD.
All options go to the agent: build/release/bin/qv_agent --help lists them and the exit codes.
EOF
}

# A build directory that has the tests keeps them; none of them is built here.
build() {
    qv_configure "$root" release "${options[@]}" && qv_build "$root" release "${targets[@]}"
}

for argument in "$@"; do
    if [[ $argument == --help || $argument == -h ]]; then
        print_help
        exit 0
    fi
done

source "$root/scripts/setup.sh"
packages=("${qv_packages[@]}")
options=()
northbound=false
if [[ ${1:-} == --northbound ]]; then
    shift
    northbound=true
    packages+=("${qv_northbound_packages[@]}")
    options=(-DQV_BUILD_NORTHBOUND=ON)
    targets+=(qv_northbound qv_northbound_client)
fi
qv_install_packages "${packages[@]}"

# Emptied first: where it cannot be written, it tells of another build.
if ! { mkdir -p "$root/build" && : >"$build_log"; } 2>/dev/null; then
    echo "run.sh: cannot build: $build_log cannot be written" >&2
    qv_name_foreign_files "$root/build"
    exit 1
fi
echo "Building... (the first time takes minutes)" >&2
if ! build >"$build_log" 2>&1; then
    cat "$build_log" >&2
    echo "run.sh: the build failed, see above" >&2
    exit 1
fi

if $northbound; then
    exec "$root/examples/northbound/demo.sh" "$root/build/release/bin" "$share/northbound" "$@"
fi

mkdir -p "$share/conf" "$share/log"
if [[ ! -e $configuration ]]; then
    cp "$root/host/agent/corba_agent.cfg" "$configuration"
fi

# In the place of the shell, so that signals reach the agent and its exit code the caller.
exec "$root/build/release/bin/qv_agent" --share "$share" --traffic input-or-sample --summary "$@"
