#!/usr/bin/env bash
# Installs the parts of the build one after the other, as packages do, moves the installation, and uses
# it: the agent without what only bundle authors need, and then the guide for bundle authors.
#     install_test.sh BUILD SOURCE WORK LIBRARY_DIRECTORY
set -euo pipefail

build=$1
source=$2
work=$3
libraries=$4

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

rm -rf "$work"
# pkg-config gives spaces in a path away as the guide's shell commands cannot take them back.
if [[ $work == *[[:space:]]* ]]; then
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
fi
mkdir -p "$work/share/conf"
export HOME=$work

for component in library agent; do
    cmake --install "$build" --component "$component" --prefix "$work/elsewhere" >/dev/null
done
mv "$work/elsewhere" "$work/qv"

# Links without a version serve linking only. The bundle directory is no place to link from.
links=$(find "$work/qv/$libraries" -maxdepth 1 -name '*.so')
[[ -z $links ]] || fail "these belong to bundle authors: $links"
cp "$source/host/agent/corba_agent.cfg" "$work/share/conf/"
echo "a line" | "$work/qv/bin/qv_agent" --share "$work/share" 2>"$work/errors" ||
    { cat "$work/errors" >&2 && fail "the agent does not run"; }
details=$("$work/qv/bin/qvlog" --fields detail "$work/share/log")
[[ $details == "a line" ]] || fail "the agent has logged '$details'"
"$work/qv/bin/qv_agentctl" --version >/dev/null || fail "qv_agentctl does not run"

cmake --install "$build" --component dev --prefix "$work/qv" >/dev/null

# A project that can do without the package asks for it quietly, and goes on when ACE is missing.
mkdir -p "$work/asks" "$work/nothing"
cat >"$work/asks/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.22)
project(asks LANGUAGES NONE)
find_package(qv_base_log QUIET)
if(NOT qv_base_log_FOUND)
    message(STATUS "Without it: ${qv_base_log_NOT_FOUND_MESSAGE}")
endif()
END
PKG_CONFIG_LIBDIR=$work/nothing PKG_CONFIG_PATH='' cmake -S "$work/asks" -B "$work/asks/build" \
    -Dqv_base_log_DIR="$work/qv/$libraries/cmake/qv_base_log" \
    -Djsoncpp_DIR="$(sed -n 's/^jsoncpp_DIR:PATH=//p' "$build/CMakeCache.txt")" >"$work/asks/output" 2>&1 ||
    { cat "$work/asks/output" >&2 && fail "asking quietly for the package ends the project that asks"; }
grep -q 'Without it: .*ACE' "$work/asks/output" ||
    { cat "$work/asks/output" >&2 && fail "nobody says that ACE is missing"; }

"$source/tests/package/guide.sh" "$source/docs/bundles.md" "$work" own
cmp "$work/greeting/greeting.cpp" "$source/examples/greeting.cpp" ||
    fail "the guide shows another bundle than examples/greeting.cpp"
