#!/usr/bin/env bash
# The northbound example from end to end: an agent, its clients, and what one failed operation left
# in the log. ./run.sh --northbound builds it all and calls this:
#     demo.sh BIN SHARE [OPTION OF THE CLIENT'S LOAD...]
set -euo pipefail

here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
bin=${1:?usage: demo.sh BIN SHARE [OPTION...]}
share=${2:?usage: demo.sh BIN SHARE [OPTION...]}
shift 2
source "$here/agentprocess.sh"
trap stop_agent EXIT

# The records of one operation in a log file, those inside dumps among them, as they stand there.
print_frames() {
    local operation=$1 file=$2
    awk -v operation="$operation" '
        /^<\/?[0-9]+>$/ || /^\*+ Dump filtered debug information / { shown = 0; next }
        /^[0-9-]+T[^ ]+, .*, T:-?[0-9]+, DL:/ { shown = index($0, ", " operation ",") > 0 }
        shown && !/^$/
    ' "$file"
}

print_story() {
    local operation=$1 file frames
    if [[ -x $bin/qvlog ]]; then
        "$bin/qvlog" --operation "$operation" "${files[@]}"
        return
    fi
    for file in "${files[@]}"; do
        frames=$(print_frames "$operation" "$file")
        if [[ -n $frames ]]; then
            printf '%s:\n%s\n' "${file##*/}" "$frames"
        fi
    done
}

mkdir -p "$share/conf"
if [[ ! -e $share/conf/corba_agent.cfg ]]; then
    cp "$here/corba_agent.cfg" "$share/conf/corba_agent.cfg"
fi

start_agent "$bin" "$share"
process=$agent
code=0
_APP_SHARE_DIR=$share "$bin/qv_northbound_client" load "$@" >"$share/load.out" || code=$?
cat "$share/load.out"
((code == 0)) || exit "$code"
stop_agent
files=("$share"/log/unbi_*_"$process".log)

operation=$(sed -n 's/^a failed operation: \([^ ]*\) .*/\1/p' "$share/load.out")
if [[ -n $operation ]]; then
    printf '\nWhat the log tells of the operation %s:\n\n' "$operation"
    print_story "$operation"
fi
printf '\nThe log files:\n'
printf '%s\n' "${files[@]}"
