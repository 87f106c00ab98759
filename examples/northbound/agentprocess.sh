# Sourced by demo.sh and measure.sh: starts the example's agent, waits for it, stops it.
#     start_agent BIN SHARE     the configuration is SHARE/conf/corba_agent.cfg
#     stop_agent
# Both return the agent's exit code when the agent has failed.

agent=

start_agent() {
    local bin=$1 share=$2 code=0
    rm -f "$share/northbound.ior"
    mkdir -p "$share/log"
    "$bin/qv_agent" --share "$share" --traffic none >"$share/agent.out" 2>&1 </dev/null &
    agent=$!
    # The reference is there as soon as clients can call. An agent that has ended writes none.
    until [[ -e $share/northbound.ior ]]; do
        if ! kill -0 "$agent" 2>/dev/null; then
            wait "$agent" || code=$?
            agent=
            cat "$share/agent.out" >&2
            return "$((code == 0 ? 1 : code))"
        fi
        sleep 0.05
    done
}

stop_agent() {
    local code=0
    if [[ -n $agent ]]; then
        kill -INT "$agent" 2>/dev/null || true
        wait "$agent" || code=$?
        agent=
    fi
    return "$code"
}
