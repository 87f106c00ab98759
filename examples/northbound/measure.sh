#!/usr/bin/env bash
# What logging costs the northbound example: calls per second, and the processor time of the agent and
# of its clients for each call, without the service and with more and more of it. Needs an idle machine
# to say much; how much of it others took is printed with the results.
#     measure.sh BIN [ROUNDS [CALLS [MS]]]
# MS is how long an element takes to answer, which two calls in five wait for. With 0, the default,
# nothing but the ORB, the logging and the copying of answers is measured.
#
# Each round measures all arrangements, every second one from the last to the first, so that none
# always follows the same other one. An arrangement is compared with the one without the service in the
# same round: a machine that is slower for a while is slower for both.
set -euo pipefail
export LC_ALL=C.UTF-8  # whose numbers have a point

here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
bin=${1:?usage: measure.sh BIN [ROUNDS [CALLS [MS]]]}
rounds=${2:-5}
calls=${3:-5000}
answer_time=${4:-0}
clients=8  # two for each processor are too few: when some wait for a lock, one has nothing to do
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

# The processor time of the agent and of the children that have ended, the clients among them, in clock
# ticks. The name before it may hold anything but ")".
agent_ticks() {
    sed 's/.*) //' "/proc/$agent/stat" | awk '{ print $12 + $13 }'
}
ended_ticks() {
    sed 's/.*) //' "/proc/$$/stat" | awk '{ print $14 + $15 }'
}

# What all processors together have worked so far, and what they could have, in clock ticks.
machine_ticks() {
    awk '/^cpu / { print $2 + $3 + $4 + $7 + $8 + $9, $2 + $3 + $4 + $5 + $6 + $7 + $8 + $9 }' /proc/stat
}

# Runs the clients; each makes that many calls.
load() {
    _APP_SHARE_DIR=$work "$bin/qv_northbound_client" load --clients "$clients" --calls "$1" \
        --count "$page" --failures 0 --subscribers 0 >"$work/load.out"
}

# One round of one arrangement: "calls per second, microseconds of the agent's processor time for each
# call, the same of the clients, ticks of others, ticks of the machine".
measure() {
    local queued=$1 agent_before ended_before before agent_after ended_after after
    rm -rf "$work/log"
    start_agent "$bin" "$work"
    if [[ $queued == on ]]; then
        "$bin/qv_agentctl" --share "$work" queue on >"$work/queue.out"
    fi
    # An agent that has served for a while has its files open and its memory at hand.
    load "$((calls / 10 + 1))"
    agent_before=$(agent_ticks) before=$(machine_ticks) ended_before=$(ended_ticks)
    load "$calls"
    ended_after=$(ended_ticks) agent_after=$(agent_ticks) after=$(machine_ticks)
    stop_agent
    awk -v rate="$(sed -n 's/^calls per second: //p' "$work/load.out")" \
        -v agent="$((agent_after - agent_before))" -v ended="$((ended_after - ended_before))" \
        -v machine="$before $after" -v hertz="$(getconf CLK_TCK)" -v calls="$((clients * calls))" 'BEGIN {
            split(machine, ticks, " ")
            others = ticks[3] - ticks[1] - agent - ended
            printf "%d %.2f %.2f %d %d\n", rate, agent / hertz * 1e6 / calls,
                ended / hertz * 1e6 / calls, others < 0 ? 0 : others, ticks[4] - ticks[2]
        }'
}

# The middle one of the numbers that come in.
median() {
    sort -n | sed -n "$(((rounds + 1) / 2))p"
}

# A column of an arrangement's rounds.
column() {
    awk -v column="$2" '{ print $column }' "$work/result.$1"
}

# For each round, the calls per second as a share of those without the service.
shares() {
    paste "$work/result.$1" "$work/result.0" | awk '{ printf "%.1f\n", 100 * $1 / $6 }'
}

measure_arrangement() {
    local queued arguments switches asn
    IFS='|' read -r _ queued arguments switches asn <<<"${arrangements[$1]}"
    configure "$arguments" "$switches" "$asn"
    measure "$queued" >>"$work/result.$1"
}

for ((round = 1; round <= rounds; ++round)); do
    order=("${!arrangements[@]}")
    ((round % 2)) || mapfile -t order < <(printf '%s\n' "${order[@]}" | tac)
    for i in "${order[@]}"; do
        measure_arrangement "$i"
    done
done

printf '%d clients, %d calls each, pages of %d elements, which answer in %d ms\n' \
    "$clients" "$calls" "$page" "$answer_time"
cat "$work"/result.* | awk -v rounds="$rounds" '{ others += $4; all += $5 } END {
    printf "Medians of %d rounds; others took %d %% of the processors\n\n", rounds, 100 * others / all
}'
printf '| %-40s | %14s | %8s | %14s | %15s | %17s |\n' Logging "Calls a second" Against \
    "Least to most" "Agent, us/call" "Clients, us/call"
printf '|%s|%s:|%s:|%s:|%s:|%s:|\n' "------------------------------------------" \
    "---------------" "---------" "---------------" "----------------" "------------------"
for i in "${!arrangements[@]}"; do
    printf '| %-40s | %14d | %7.1f%% | %14s | %15.1f | %17.1f |\n' "${arrangements[i]%%|*}" \
        "$(column "$i" 1 | median)" "$(shares "$i" | median)" \
        "$(shares "$i" | sort -n | sed -n '1p;$p' | paste -sd' ' | awk '{ printf "%.0f-%.0f%%", $1, $NF }')" \
        "$(column "$i" 2 | median)" "$(column "$i" 3 | median)"
done
