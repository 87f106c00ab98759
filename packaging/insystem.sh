#!/usr/bin/env bash
# The part of test.sh that runs inside the bare system.
set -euo pipefail

share=/var/lib/qv-agent
logs=/var/log/qv-agent

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# Everything but what apt, dpkg and the makers of users write down for themselves.
list_files() {
    find / -xdev \( -path /proc -o -path /sys -o -path /dev -o -path /tmp -o -path /run \
        -o -path /guide -o -path /packages -o -path /var/lib/dpkg -o -path /var/lib/apt \
        -o -path /var/cache -o -path /var/log/apt -o -path /var/log/dpkg.log \
        -o -path /root -o -path '/etc/*-' \) -prune -o -print | sort
    cat /etc/passwd /etc/group
}

# unit_says SETTING: what the agent's unit says.
unit_says() {
    local unit=/lib/systemd/system/qv-agent.service
    [[ -e $unit ]] || unit=/usr$unit
    sed -n "s/^$1=//p" "$unit"
}

# run_as_the_unit COMMAND...: with its user, its variable and its mask, in the place of the shell.
run_as_the_unit() {
    local user
    user=$(unit_says User)
    umask "$(unit_says UMask)"
    exec setpriv --reuid "$user" --regid "$user" --clear-groups --no-new-privs \
        env "$(unit_says Environment)" "$@"
}

# Like systemd, by the unit's own words. What comes before the agent runs as root ("+"), and may fail
# ("-").
start_agent() {
    local before
    before=$(unit_says ExecStartPre)
    ${before#-+} || true
    (run_as_the_unit $(unit_says ExecStart) </dev/null >/tmp/agent.out 2>&1) &
    agent=$!
    for _ in {1..600}; do
        [[ ! -S $share/qv_agent.sock ]] || return 0
        kill -0 "$agent" 2>/dev/null || break
        sleep 0.1
    done
    cat /tmp/agent.out >&2
    fail "the agent does not serve"
}

use_agent() {
    rm -r "$logs"
    start_agent
    qv_agentctl --share "$share" status | grep -q corbaoper || fail "qv_agentctl shows no category"
    find "$logs" -name 'unbi_corbaoper_*' -delete
    (run_as_the_unit $(unit_says ExecReload)) || fail "the agent is not reloaded"
    kill "$agent"
    wait "$agent" || { cat /tmp/agent.out >&2 && fail "the agent ended with $?"; }
    ! grep -q "Get Config Item" /tmp/agent.out || fail "the configuration lacks an item"
    [[ $(find "$logs" -name 'unbi_*.log' -user qv-agent -group adm | wc -l) == 7 ]] ||
        { ls -l "$logs" >&2 && fail "seven log files of the agent's user are expected"; }
    qvlog verify "$logs" >/dev/null || fail "the log files are not whole"
    setpriv --reuid qv-agent --regid qv-agent --clear-groups \
        sh -c "echo 'a line' | qv_agent --share $share >/dev/null 2>&1" || fail "no line is logged"
    [[ $(qvlog --fields detail "$logs") == "a line" ]] || fail "qvlog does not show what was logged"
    setpriv --reuid qv-agent --regid qv-agent --clear-groups qvlog prune --keep 1 "$logs" >/dev/null ||
        fail "nothing is pruned"
}

apt-get() {
    DEBIAN_FRONTEND=noninteractive command apt-get -q -y -o Dpkg::Use-Pty=0 "$@" \
        >/tmp/apt.out 2>&1 || { cat /tmp/apt.out >&2 && fail "apt-get $*"; }
}

# Here systemd would note when the timer has run.
mkdir -p /var/lib/systemd/timers
list_files >/tmp/before

apt-get install --no-install-recommends /packages/libqv-base-log1_*.deb /packages/qv-agent_*.deb
use_agent
for program in qv_agent qv_agentctl qvlog; do
    "$program" --version
done
[[ -e $share/conf/corba_agent.cfg ]] || fail "the share directory has no configuration"

# A change of the configuration survives, as it does of a configuration file.
echo "logfilecount = 7" >>/etc/qv-agent/corba_agent.cfg
apt-get install --reinstall /packages/qv-agent_*.deb
grep -q "^logfilecount = 7" /etc/qv-agent/corba_agent.cfg || fail "the configuration was replaced"

apt-get install --no-install-recommends /packages/libqv-base-log-dev_*.deb
bash /guide/guide.sh /guide/bundles.md /tmp/author packages
rm -rf /tmp/author "$(pkg-config --variable=bundledir qv_base_log)/libgreeting.so"
[[ -s /usr/share/doc/libqv-base-log-dev/html/index.html ]] || fail "there is no reference"
dpkg --verify libqv-base-log1 libqv-base-log-dev | grep . && fail "files differ from the packages'"

touch /var/lib/systemd/timers/stamp-qvlog-prune.timer
apt-get remove qv-agent libqv-base-log1 libqv-base-log-dev
[[ -e /etc/qv-agent/corba_agent.cfg && -d $logs ]] || fail "removing took configuration or logs along"
apt-get purge qv-agent
list_files >/tmp/after
diff /tmp/before /tmp/after || fail "the purge leaves something"
echo "Installed, used, written against, removed and purged without a rest."
