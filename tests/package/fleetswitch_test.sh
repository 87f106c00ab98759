#!/usr/bin/env bash
# What QV_BUILD_FLEET and QV_TEST_FLEET mean, with the fleet's libraries and without them. Stand-ins take
# the libraries' place, and nothing is compiled.
#     fleetswitch_test.sh SOURCE
set -euo pipefail

source=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "FAILED: $*" >&2
    cat "$work/log" >&2
    exit 1
}

mkdir -p "$work/project" "$work/some/nats" "$work/none"
printf '%s\n' 'Name: libpq' 'Description: a stand-in' 'Version: 15' >"$work/some/libpq.pc"
touch "$work/some/libnats.so" "$work/some/nats/nats.h"
cat >"$work/project/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.22)
project(switch LANGUAGES NONE)
find_package(PkgConfig REQUIRED)
set(CMAKE_FIND_LIBRARY_PREFIXES lib)
set(CMAKE_FIND_LIBRARY_SUFFIXES .so)
include("$source/cmake/FleetDependencies.cmake")
message(STATUS "The fleet is \${QV_HAS_FLEET}")
END

# expect ON|OFF|refused some|none OPTION...: what comes of the options with these libraries.
expect() {
    local expected=$1 libraries=$work/$2 outcome=refused
    shift 2
    rm -rf "$work/build"
    if PKG_CONFIG_LIBDIR=$libraries PKG_CONFIG_PATH='' cmake -S "$work/project" -B "$work/build" \
        -DCMAKE_FIND_ROOT_PATH="$libraries" -DCMAKE_FIND_ROOT_PATH_MODE_LIBRARY=ONLY \
        -DCMAKE_FIND_ROOT_PATH_MODE_INCLUDE=ONLY -DCMAKE_SYSTEM_PREFIX_PATH=/ \
        -DCMAKE_LIBRARY_PATH=/ -DCMAKE_INCLUDE_PATH=/ "$@" >"$work/log" 2>&1; then
        outcome=$(sed -n 's/^-- The fleet is //p' "$work/log")
    fi
    [[ $outcome == "$expected" ]] || fail "$* with ${libraries##*/} of the libraries: $outcome, not $expected"
}

for off in OFF FALSE NO 0; do
    expect OFF some -DQV_BUILD_FLEET="$off"
done
for on in ON TRUE 1; do
    expect ON some -DQV_BUILD_FLEET="$on"
    expect refused none -DQV_BUILD_FLEET="$on"
done
expect ON some -DQV_BUILD_FLEET=AUTO
expect OFF none -DQV_BUILD_FLEET=AUTO
expect ON some -DQV_BUILD_FLEET=AUTO -DQV_TEST_FLEET=ON
expect refused none -DQV_BUILD_FLEET=AUTO -DQV_TEST_FLEET=ON
expect refused some -DQV_BUILD_FLEET=OFF -DQV_TEST_FLEET=ON
