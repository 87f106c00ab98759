#!/usr/bin/env bash
# Fuzzes the masking of ASN dumps from the kept corpus:  scripts/fuzz.sh SECONDS
# What is found new goes into build/fuzz; a failing input is kept there and fails the script.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
seconds=${1:?usage: scripts/fuzz.sh SECONDS}
build=$root/build/fuzz

source "$root/scripts/setup.sh"
cmake -S "$root" -B "$build" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DQV_BUILD_TESTS=ON -DQV_BUILD_FUZZERS=ON >/dev/null
cmake --build "$build" --target asnmasking_fuzz

mkdir -p "$build/found"
cd "$build"
"$build/bin/asnmasking_fuzz" -max_total_time="$seconds" -print_final_stats=1 -verbosity=0 \
    -dict="$root/tests/fuzz/asnmasking.dict" "$build/found" "$root/tests/fuzz/corpus/asnmasking"
echo "Fuzzed for $seconds seconds; nothing found."
