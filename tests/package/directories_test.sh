#!/usr/bin/env bash
# The pkg-config file names the directories that the installation has, whether they were given relative
# to the prefix, as absolute paths, or outside it. Installs the file alone, without compiling anything.
#     directories_test.sh SOURCE
set -euo pipefail

source=$1
work=$(realpath -- "$(mktemp -d)")
trap 'rm -rf "$work"' EXIT

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

mkdir "$work/project"
cat >"$work/project/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.22)
project(directories VERSION 1.0.0 LANGUAGES NONE)
include("$source/cmake/InstallDirectories.cmake")
include("$source/cmake/PkgConfigFile.cmake")
END

# expect LIBRARIES HEADERS: so given, and where they lie then.
expect() {
    local libraries=$1 headers=$2 prefix=$work/prefix
    local -A directories=([libdir]=$libraries [includedir]=$headers [bundledir]=$libraries/qv_base_log)
    local variable expected found file
    rm -rf "$prefix" "$work/build" "$work/apart"
    { cmake -S "$work/project" -B "$work/build" -DCMAKE_INSTALL_PREFIX="$prefix" \
        -DCMAKE_INSTALL_LIBDIR="$libraries" -DCMAKE_INSTALL_INCLUDEDIR="$headers" &&
        cmake --install "$work/build"; } >"$work/log" 2>&1 || { cat "$work/log" >&2 && fail "installing"; }
    file=$(find "$work" -path "$work/build" -prune -o -name qv_base_log.pc -print)
    for variable in "${!directories[@]}"; do
        expected=${directories[$variable]}
        [[ $expected == /* ]] || expected=$prefix/$expected
        found=$(PKG_CONFIG_PATH=${file%/*} pkg-config --variable="$variable" qv_base_log)
        [[ $(realpath -m -- "${found//\\/}") == "$expected" ]] ||
            fail "with $libraries and $headers, $variable is $found"
    done
}

expect lib/machine include
expect "$work/prefix/lib64" "$work/prefix/include/qv"
expect "$work/apart/lib" "$work/apart/include"
