#!/usr/bin/env bash
# Installs the packages into a bare Debian 12 that it makes, uses them as an operator and as a bundle
# author do, and removes and purges them; compares what is left with what was there. As root.
#     packaging/test.sh DIRECTORY [MIRROR]
# MIRROR: where the bare system comes from; without it, from where this system's packages come.
set -euo pipefail

here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
root=$(dirname -- "$here")
packages=$(readlink -f -- "$1")
shift

if ((EUID != 0)); then
    echo "Not installed: that takes root." >&2
    exit 0
fi
if ! unshare --pid --fork true 2>/dev/null; then
    echo "Not installed: this system does not let its root make namespaces." >&2
    exit 0
fi

work=$(mktemp -d)
system=$work/system
trap 'rm -rf --one-file-system "$work"' EXIT

sources=("$@")
((${#sources[@]})) || mapfile -t sources < <(
    find /etc/apt/sources.list /etc/apt/sources.list.d -name '*.list' -o -name '*.sources' 2>/dev/null)

# What the packages depend on is installed first: what is compared is what our packages leave.
mmdebstrap --quiet --variant=apt --mode=root \
    --include=systemd-standalone-sysusers,systemd-standalone-tmpfiles,libace-dev,libjsoncpp-dev \
    --include=libsafec3,libpcre2-8-0,zlib1g,libzstd1,libsqlite3-0,libpq5,libnats3.4 \
    --include=g++,cmake,make,pkgconf,passwd \
    bookworm "$system" "${sources[@]}"

mkdir -p "$system/packages" "$system/guide"
cp "$packages"/*.deb "$system/packages/"
cp "$root/docs/bundles.md" "$root/tests/package/guide.sh" "$here/insystem.sh" "$system/guide/"

# Its own processes, and no way out of them: what a test leaves running ends with it.
unshare --pid --fork --kill-child --mount-proc="$system/proc" \
    chroot "$system" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 \
    bash /guide/insystem.sh
