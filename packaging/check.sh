#!/usr/bin/env bash
# Checks packages as far as it goes without installing them: lintian, the units, the contents of the
# RPM packages.
#     packaging/check.sh DIRECTORY
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
packages=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# Of lintian's tags, errors fail, and so does a warning that docs/packages.md does not explain.
check_with_lintian() {
    local tag
    local code=0
    lintian --allow-root --fail-on none --tag-display-limit 0 "$packages"/*.deb >"$work/lintian" \
        2>"$work/errors" || code=$?
    ((code == 0)) || { cat "$work/errors" >&2 && fail "lintian ended with $code"; }
    cat "$work/lintian"
    ! grep -q '^E: ' "$work/lintian" || fail "lintian finds errors"
    while read -r tag; do
        grep -qF "\`$tag\`" "$root/docs/packages.md" || fail "docs/packages.md does not explain $tag"
    done < <(sed -n 's/^W: [^ ]*\( [a-z]*\)\{0,1\}: \([^ ]*\).*/\2/p' "$work/lintian" | sort -u)
    echo "lintian: no errors, no warning that is not explained."
}

# The units, in a system that consists of the agent's package and this machine's units.
check_units() {
    local system=$work/system
    dpkg-deb --extract "$packages"/qv-agent_*.deb "$system"
    mkdir -p "$system/lib/systemd/system"
    cp -rn /lib/systemd/system/. "$system/lib/systemd/system/"
    local unit
    for unit in qv-agent.service qvlog-prune.service qvlog-prune.timer qvlog-ship.service \
        qvlog-collect.service; do
        systemd-analyze verify --root="$system" --recursive-errors=no --man=no "$unit" \
            >"$work/units" 2>&1 || { cat "$work/units" >&2 && fail "$unit"; }
        [[ ! -s $work/units ]] || { cat "$work/units" >&2 && fail "$unit"; }
    done
    for unit in qv-agent.service qvlog-prune.service qvlog-ship.service qvlog-collect.service; do
        systemd-analyze security --offline=true --root="$system" --threshold=25 --no-pager "$unit" \
            >"$work/units" 2>&1 || { cat "$work/units" >&2 && fail "$unit is exposed"; }
        tail -n 1 "$work/units"
    done
    check_bundles_know_addresses "$system"
    echo "systemd-analyze: the units are well."
}

# getifaddrs() asks the kernel through netlink. An ORB to which that is forbidden gives its clients
# references to 127.0.0.1.
check_bundles_know_addresses() {
    systemd-analyze security --offline=true --root="$1" --json=short --no-pager qv-agent.service \
        >"$work/security"
    grep -q '"set":false,[^}]*"RestrictAddressFamilies_AF_NETLINK"' "$work/security" ||
        fail "bundles cannot learn the machine's addresses: qv-agent.service forbids AF_NETLINK"
}

# Passwords stand there.
check_credentials() {
    local file
    for file in ship.env collect.env; do
        [[ $(dpkg-deb --contents "$packages"/qv-agent_*.deb | grep "/etc/qv-agent/$file\$") == \
            "-rw-r----- root/root"* ]] || fail "$file can be read by others than root"
    done
}

# What a guide points to lies in the same package. Links to places inside a page and to other hosts are
# not looked at.
check_guides() {
    local package guide link system count=0
    for package in "$packages"/{qv-agent,libqv-base-log-dev}_*.deb; do
        system=$work/guides/${package##*/}
        mkdir -p "$system"
        dpkg-deb --extract "$package" "$system"
        while IFS=: read -r guide link; do
            count=$((count + 1))
            [[ -e ${guide%/*}/$link ]] || fail "${guide#"$system"} points to $link, which is not installed"
        done < <(find "$system" -name '*.md' -exec grep -HoP '\]\(\K(?![a-z]+:)[^)#]+' {} +)
    done
    ((count > 0)) || fail "no guide points to anything"
    echo "The guides point to $count files, and all are installed."
}

check_rpm() {
    local package name files=$work/files
    declare -A expected=(
        [libqv-base-log1]=/usr/lib64/qv_base_log/libqv_base_log.so
        [libqv-base-log-dev]=/usr/lib64/cmake/qv_base_log/qv_base_log-config.cmake
        [qv-agent]=/usr/lib64/qv_base_log/libqv_control.so)
    for name in "${!expected[@]}"; do
        package=$(find "$packages" -name "$name-[0-9]*.rpm")
        rpm -qlp "$package" >"$files"
        grep -qx "${expected[$name]}" "$files" || fail "$name lacks ${expected[$name]}"
        ! grep -xE '/etc|/usr|/usr/(bin|include|lib64|share)|/usr/share/(doc|man|zsh)' "$files" ||
            fail "$name claims a directory of the system"
    done
    package=$(find "$packages" -name 'qv-agent-[0-9]*.rpm')
    [[ $(rpm -qcp "$package") == */corba_agent.cfg* ]] ||
        fail "the configuration is no configuration file"
    # The program that runs is the former one until it is started again.
    rpm -qp --scripts "$package" | sed -n '/^postuninstall/,$p' | grep -q 'try-restart qv-agent.service' ||
        fail "an upgrade leaves the former agent running"
    echo "rpm: the packages hold what they should."
}

check_with_lintian
check_units
check_credentials
check_guides
if compgen -G "$packages/*.rpm" >/dev/null; then
    check_rpm
fi
