#!/usr/bin/env bash
# Fuzzes from the kept corpora, each target for so long:  scripts/fuzz.sh SECONDS [TARGET...]
# What is found new goes into build/fuzz; a failing input is kept there and fails the script.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
seconds=${1:?usage: scripts/fuzz.sh SECONDS [TARGET...]}
build=$root/build/fuzz
shift
targets=("$@")
((${#targets[@]})) || targets=(asnmasking commonformat configuration control reader)

source "$root/scripts/setup.sh"
cmake -S "$root" -B "$build" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DQV_BUILD_TESTS=ON -DQV_BUILD_FUZZERS=ON >/dev/null

for target in "${targets[@]}"; do
    cmake --build "$build" --target "${target}_fuzz"
    mkdir -p "$build/found/$target"
    (cd "$build" && "bin/${target}_fuzz" -max_total_time="$seconds" -print_final_stats=1 -verbosity=0 \
        -dict="$root/tests/fuzz/$target.dict" "found/$target" "$root/tests/fuzz/corpus/$target")
    echo "Fuzzed $target for $seconds seconds; nothing found."
done
