#!/usr/bin/env bash
# Builds two small libraries from two copies of the tree in folders of different names, with debug
# information, and compares the bytes. The copies have no git: their commit stands in the file that an
# export fills in. package.sh --test compares whole packages.
#     reproducible_test.sh SOURCE WORK
set -euo pipefail

source=$1
work=$2
libraries=(version/libqv_version.a host/bundles/control/libqv_control_protocol.a)

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

rm -rf "$work"
for copy in one another/longer; do
    tree=$work/$copy
    build=$tree/build/of-${copy%%/*}
    mkdir -p "$tree"
    (cd "$source" && tar -c --exclude=./build --exclude=./.git --exclude=./var .) | tar -x -C "$tree"
    printf '%s\n' 0123456789abcdef0123456789abcdef01234567 1700000000 >"$tree/version/commit.txt"
    { cmake -S "$tree" -B "$build" -DCMAKE_BUILD_TYPE=Debug &&
        cmake --build "$build" --target qv_version qv_control_protocol; } >"$work/log" 2>&1 ||
        { cat "$work/log" >&2 && fail "building in $tree"; }
done

for library in "${libraries[@]}"; do
    cmp "$work/one/build/of-one/$library" "$work/another/longer/build/of-another/$library" ||
        fail "$library depends on the folder that it is built in"
done
grep -q 'commit 0123456789ab, Debug' "$work/one/build/of-one/${libraries[0]}" ||
    fail "the commit of an export is not told"
