#!/usr/bin/env bash
# What is installed names no directory of this machine: not that of the source, not that of the build,
# and as a place to look for libraries only such that are relative to itself.
#     paths_test.sh SOURCE FILE...
set -euo pipefail

source=$1
shift
failures=0

for file in "$@"; do
    if grep -qF "$source" "$file"; then
        echo "FAILED: $file holds the path $source" >&2
        failures=$((failures + 1))
    fi
    path=$(readelf --dynamic --wide "$file" | sed -n 's/.*(R\(UN\)\{0,1\}PATH).*\[\(.*\)\]/\2/p')
    IFS=: read -ra directories <<<"$path:"
    ((${#directories[@]} > 0)) || { echo "FAILED: $file has no run path" >&2 && failures=1; }
    for directory in "${directories[@]}"; do
        if [[ $directory != '$ORIGIN'* ]]; then
            echo "FAILED: $file looks for libraries in '$directory'" >&2
            failures=$((failures + 1))
        fi
    done
done
((failures == 0))
