#!/usr/bin/env bash
# Follows the guide for bundle authors to the letter: writes the files that it shows, runs its commands,
# and compares what the bundle has logged with what the guide says. Everything is installed already.
#     guide.sh GUIDE DIRECTORY packages|own
# "own": an installation in $HOME/qv, which has to be named to CMake, pkg-config and the shell.
set -euo pipefail

guide=$(readlink -f -- "$1")
directory=$2
installation=$3
mkdir -p "$directory/blocks" "$directory/greeting"
blocks=$(readlink -f -- "$directory/blocks")
cd "$directory/greeting"

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# Each block with a file name becomes that file; the others are numbered: sh1, sh2, cmake1, text1.
awk -v blocks="$blocks" '
    /^```/ && isInside { isInside = 0; close(file); next }
    /^```/ {
        isInside = 1
        $0 = substr($0, 4)
        count[$1] += $2 == ""
        file = $2 != "" ? $2 : blocks "/" $1 count[$1]
        next
    }
    isInside { print > file }
' "$guide"
for block in sh1 sh2 sh3 sh4 cmake1 text1; do
    [[ -s $blocks/$block ]] || fail "the guide has no block $block"
done

expect_records() {
    tail -n "$(wc -l <"$blocks/text1")" "$1" | diff "$blocks/text1" - ||
        fail "$2: the guide promises other records"
}

run_agent() {
    rm -rf share/log
    grep '^qv_agent\|^qvlog' "$blocks/sh3" >run.sh
    bash -e run.sh >output 2>errors || { cat errors >&2 && fail "$1"; }
    expect_records output "$1"
}

if [[ $installation == own ]]; then
    # The commands that set variables; nounset is for this script's own.
    source "$blocks/sh2"
fi

bash -e "$blocks/sh3" >output 2>errors || { cat output errors >&2 && fail "building with CMake"; }
expect_records output "built with CMake"

rm build/libgreeting.so
bash -e "$blocks/sh4" || fail "building with pkg-config"
run_agent "built with pkg-config"

cat "$blocks/cmake1" >>CMakeLists.txt
{ cmake -S . -B build && cmake --build build && cmake --install build; } >output 2>&1 ||
    { cat output >&2 && fail "installing the bundle"; }
sed -i 's/^bundles = .*/bundles = qv_base_log, greeting/' share/conf/corba_agent.cfg
rm -rf build
run_agent "installed beside the agent's bundles"
[[ -e $(pkg-config --variable=bundledir qv_base_log)/libgreeting.so ]] ||
    fail "pkg-config names another bundle directory"
