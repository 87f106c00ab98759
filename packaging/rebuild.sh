#!/usr/bin/env bash
# Builds the Debian packages again, from an export of the tree in another folder, and compares them byte
# by byte. The tree has to be committed: an export holds nothing else.
#     packaging/rebuild.sh DIRECTORY
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
packages=$(readlink -f -- "$1")
failures=0

if [[ -n $(git -c safe.directory='*' -C "$root" status --porcelain) ]]; then
    echo "Not compared: the tree has changes that are not committed." >&2
    exit 0
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/of/another/name"
git -c safe.directory='*' -C "$root" archive HEAD | tar -x -C "$work/of/another/name"
env -u SOURCE_DATE_EPOCH "$work/of/another/name/package.sh" --no-rpm >"$work/log" 2>&1 ||
    { cat "$work/log" >&2 && exit 1; }

for package in "$packages"/*deb; do
    if ! cmp "$package" "$work/of/another/name/build/packages/${package##*/}"; then
        failures=$((failures + 1))
    fi
done
((failures == 0)) || exit 1
echo "The packages are the same, byte by byte."
