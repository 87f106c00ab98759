#!/usr/bin/env bash
# Compares the types that clients and the service share, and the symbols of the delivered library,
# with their descriptions in tests/abi:
#     scripts/abi.sh [--update] BUILD_DIRECTORY
# --update keeps the new descriptions instead. Such a change belongs into CHANGELOG.md.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
update=false
if [[ ${1:-} == --update ]]; then
    update=true
    shift
fi
build=$(cd -- "${1:?usage: scripts/abi.sh [--update] BUILD_DIRECTORY}" && pwd)
new=$(mktemp -d)
trap 'rm -rf "$new"' EXIT

# The type names of the C++ library differ from one of its releases to the next, and clients agree
# on them with the service by using the same compiler: their members are left out.
describe() {
    abidw --suppressions "$root/tests/abi/suppressions" --no-show-locs --no-comp-dir-path \
        --no-corpus-path --drop-undefined-syms --out-file "$2" "$1"
}
describe "$build/lib/libqv_interface.so" "$new/interface.abi"
describe "$build/lib/libqv_base_log.so" "$new/library.abi"

for name in interface library; do
    kept=$root/tests/abi/$name.abi
    if $update; then
        cp "$new/$name.abi" "$kept"
    elif ! abidiff --harmless --no-architecture "$kept" "$new/$name.abi"; then
        echo "abi.sh: $name is not as tests/abi/$name.abi says. If this is intended:" \
            "./test.sh --update-abi, and an entry in CHANGELOG.md." >&2
        exit 1
    fi
done
