# Sourced after postgres.sh: an rsyslog that receives and one that sends, below a directory, on
# 127.0.0.1, as ordinary programs. The configurations are those of fleet/rsyslog.

qv_rsyslog_program() {
    command -v rsyslogd || command -v /usr/sbin/rsyslogd ||
        { echo "rsyslog is not installed" >&2 && return 1; }
}

# qv_make_rsyslog DIRECTORY STORE HOST LOGS: prepares the store, a URL, and starts both for the log
# files of a host.
qv_make_rsyslog() {
    local directory=$1 store=$2 host=$3 logs=$4 fleet password
    fleet=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
    password=$(od -An -N12 -tx1 /dev/urandom | tr -d ' \n')
    mkdir -p "$directory/receiver" "$directory/sender"
    "$fleet/nats/make-certificates.sh" "$directory/certs" "$host"
    psql -X -q -v ON_ERROR_STOP=1 --single-transaction -f "$fleet/rsyslog/store.sql" \
        -f - "$store" <<<"CREATE USER receiver IN ROLE qv_rsyslog PASSWORD '$password'"
    (umask 077 && echo "postgresql://receiver:$password@${store#*@}?client_encoding=LATIN1" \
        >"$directory/store")
    echo "$host" >"$directory/host"
    echo "$logs" >"$directory/logs"
    qv_free_port "$directory" >"$directory/port"
    qv_start_rsyslog "$directory" receiver
    qv_start_rsyslog "$directory" sender
}

# qv_start_rsyslog DIRECTORY receiver|sender: also after a kill.
qv_start_rsyslog() {
    local directory=$1 kind=$2 certs=$1/certs name=server fleet program
    fleet=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
    program=$(qv_rsyslog_program)
    [[ $kind == receiver ]] || name=$(<"$directory/host")
    QV_LISTEN=127.0.0.1 QV_RECEIVER=localhost QV_PORT=$(<"$directory/port") \
        QV_WORK=$directory/$kind QV_STORE=$(<"$directory/store") QV_HOST=$(<"$directory/host") \
        QV_LOGS=$(<"$directory/logs") QV_CA=$certs/ca.pem QV_CERT=$certs/$name.pem \
        QV_KEY=$certs/$name.key \
        setsid "$program" -n -C -iNONE -f "$fleet/rsyslog/$kind.conf" \
        </dev/null >>"$directory/$kind.log" 2>&1 &
    echo $! >"$directory/$kind.pid"
    # That it is killed later is no news.
    disown "$!"
}

# qv_kill_rsyslog DIRECTORY receiver|sender: also when it has been killed already.
qv_kill_rsyslog() {
    qv_kill "$(<"$1/$2.pid")" 2>/dev/null || true
}

qv_stop_rsyslog() {
    local kind
    for kind in sender receiver; do
        [[ ! -e $1/$kind.pid ]] || kill -9 "$(<"$1/$kind.pid")" 2>/dev/null || true
    done
}
