#!/usr/bin/env bash
# What logging costs the northbound example: calls per second, and the agent's processor time for each
# call, without the service and with more and more of it. Needs an idle machine to say much; the
# rounds of the arrangements take turns, so that a busy one disturbs all of them alike.
#     measure.sh BIN [ROUNDS [CALLS [MS]]]
# MS is how long an element takes to answer, which two calls in five wait for. With 0, the default,
# nothing but the ORB, the logging and the copying of answers is measured.
set -euo pipefail
export LC_ALL=C.UTF-8  # whose numbers have a point

here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
bin=${1:?usage: measure.sh BIN [ROUNDS [CALLS [MS]]]}
rounds=${2:-5}
calls=${3:-10000}
answer_time=${4:-0}
clients=4
page=100  # elements that a client takes at a time, which is every fifth call
source "$here/agentprocess.sh"
work=$(mktemp -d)

clean_up() {
    stop_agent || true
    rm -rf "$work"
}
trap clean_up EXIT

# name | queued | the bundle's arguments | logswitch | bEnableAsnLog
arrangements=(
    "without the service|off|--log off|1,1,1,1|0"
    "levels 0 to 1|off|--details none|1,1,0,0|0"
    "levels 2 and 3 kept back|off|--details kept-back|1,1,0,0|0"
    "levels 2 and 3 kept back, and traces|off|--details kept-back|1,1,0,0|1"
    "levels 2 and 3 kept back, queued|on|--details kept-back|1,1,0,0|0"
    "levels 0 to 3 written|off|--details as-configured|1,1,1,1|0"
    "levels 0 to 3 written, and traces|off|--details as-configured|1,1,1,1|1"
)

configure() {
    local arguments=$1 switches=$2 asn=$3
    local bundles="qv_schedule, qv_base_log, qv_northbound, qv_control"
    [[ $arguments != "--log off" ]] || bundles=qv_northbound
    mkdir -p "$work/conf"
    cat >"$work/conf/corba_agent.cfg" <<EOF
bundles = $bundles
qv_northbound.arguments = $arguments --alarms 0 --answer-time $answer_time
logfilesize = 2000000000
logfilecount = 100
logswitch = $switches
filterbuflength = 128
outputmode = 0
queuebuflength = 16384
logtimeinterval = 1
bEnableAsnLog = $asn
bEnableAsnTrace = 0
bLogOutputPara = 0
EOF
}

# The agent's processor time so far, in clock ticks. The name before it may hold anything but ")".
ticks() {
    sed 's/.*) //' "/proc/$agent/stat" | awk '{ print $12 + $13 }'
}

# One round of one arrangement: "calls per second, microseconds of processor time for each call".
measure() {
    local queued=$1 before after rate
    rm -rf "$work/log"
    start_agent "$bin" "$work"
    if [[ $queued == on ]]; then
        "$bin/qv_agentctl" --share "$work" queue on >"$work/queue.out"
    fi
    before=$(ticks)
    rate=$(_APP_SHARE_DIR=$work "$bin/qv_northbound_client" load --clients "$clients" \
        --calls "$calls" --count "$page" --failures 0 --subscribers 0 | sed -n 's/^calls per second: //p')
    after=$(ticks)
    stop_agent
    awk -v rate="$rate" -v ticks="$((after - before))" -v hertz="$(getconf CLK_TCK)" \
        -v calls="$((clients * calls))" \
        'BEGIN { printf "%d %.1f\n", rate, ticks / hertz * 1e6 / calls }'
}

# The middle one of the numbers in a column of a file.
median() {
    awk -v column="$2" '{ print $column }' "$1" | sort -n | sed -n "$(((rounds + 1) / 2))p"
}

for ((round = 1; round <= rounds; ++round)); do
    for i in "${!arrangements[@]}"; do
        IFS='|' read -r _ queued arguments switches asn <<<"${arrangements[i]}"
        configure "$arguments" "$switches" "$asn"
        measure "$queued" >>"$work/result.$i"
    done
done

printf '%d clients, %d calls each, pages of %d elements, which answer in %d ms\n' \
    "$clients" "$calls" "$page" "$answer_time"
printf 'Medians of %d rounds; load of the machine: %s\n\n' \
    "$rounds" "$(cut -d' ' -f1-3 /proc/loadavg)"
printf '| %-40s | %14s | %8s | %22s |\n' Logging "Calls a second" Against "Agent, us for a call"
printf '|%s|%s:|%s:|%s:|\n' "------------------------------------------" "---------------" \
    "---------" "-----------------------"
without=$(median "$work/result.0" 1)
for i in "${!arrangements[@]}"; do
    rate=$(median "$work/result.$i" 1)
    printf '| %-40s | %14d | %7s%% | %22s |\n' "${arrangements[i]%%|*}" "$rate" \
        "$(awk -v a="$rate" -v b="$without" 'BEGIN { printf "%.0f", 100 * a / b }')" \
        "$(median "$work/result.$i" 2)"
done
