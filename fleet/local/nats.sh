# Sourced after postgres.sh: servers for streams of one's own, below a directory, on 127.0.0.1. The
# configurations are those of fleet/nats.

qv_nats_program() {
    command -v nats-server || command -v /usr/sbin/nats-server ||
        { echo "nats-server is not installed" >&2 && return 1; }
}

# qv_make_nats DIRECTORY COUNT HOST...: one server or three, which know the hosts. Leaves
# DIRECTORY/url, DIRECTORY/certs and DIRECTORY/N/pid.
qv_make_nats() {
    local directory=$1 count=$2 fleet node ports=() routes=() urls=() kind=one.conf
    shift 2
    fleet=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
    ((count == 1)) || kind=three.conf
    mkdir -p "$directory"
    "$fleet/nats/make-certificates.sh" "$directory/certs" "$@"
    cp "$fleet/nats/$kind" "$directory/nats.conf"
    "$fleet/nats/make-users.sh" "$@" >"$directory/users.conf"
    printf '%s_file: "%s"\n' cert "$directory/certs/server.pem" key "$directory/certs/server.key" \
        ca "$directory/certs/ca.pem" >"$directory/tls.conf"
    for ((node = 1; node <= 2 * count; ++node)); do
        ports+=("$(qv_free_port "$directory")")
    done
    for ((node = 1; node <= count; ++node)); do
        urls+=("nats://127.0.0.1:${ports[node - 1]}")
        routes+=("\"tls://127.0.0.1:${ports[count + node - 1]}\"")
    done
    (IFS=, && echo "${urls[*]}" >"$directory/url" && echo "[${routes[*]}]" >"$directory/routes")
    for ((node = 1; node <= count; ++node)); do
        mkdir -p "$directory/$node"
        echo "${ports[node - 1]}" >"$directory/$node/port"
        echo "${ports[count + node - 1]}" >"$directory/$node/cluster_port"
        qv_start_nats_node "$directory" "$node"
    done
}

# qv_start_nats_node DIRECTORY N: also after a kill. QV_SPACE may be set.
qv_start_nats_node() {
    local directory=$1 node=$2 program tries=600
    program=$(qv_nats_program)
    QV_NODE=node$node QV_HOST=127.0.0.1 QV_PORT=$(<"$directory/$node/port") \
        QV_STORE=$directory/$node/store QV_SPACE=${QV_SPACE:-4G} \
        QV_CLUSTER_PORT=$(<"$directory/$node/cluster_port") QV_ROUTES=$(<"$directory/routes") \
        setsid "$program" -c "$directory/nats.conf" </dev/null >>"$directory/$node/log" 2>&1 &
    echo $! >"$directory/$node/pid"
    # That it is killed later is no news.
    disown "$!"
    until (exec 3<>"/dev/tcp/127.0.0.1/$(<"$directory/$node/port")") 2>/dev/null; do
        kill -0 "$!" 2>/dev/null && ((--tries > 0)) || { tail "$directory/$node/log" >&2 && return 1; }
        sleep 0.1
    done
}

qv_kill_nats_node() {
    local directory=$1 node=$2
    qv_kill "$(<"$directory/$node/pid")"
}

qv_stop_nats() {
    local directory=$1 pid
    for pid in "$directory"/*/pid; do
        [[ ! -e $pid ]] || kill -9 "$(<"$pid")" 2>/dev/null || true
    done
}
