#!/usr/bin/env bash
# Every test that docs/reliability.md names exists:
#     table_test.sh ROOT
set -euo pipefail
cd -- "${1:?usage: table_test.sh ROOT}"

named=$(grep -o '`[A-Z][A-Za-z]*\.[A-Z][A-Za-z0-9]*`' docs/reliability.md | tr -d '`' | sort -u)
(($(wc -l <<<"$named") > 30)) || { echo "docs/reliability.md names hardly any test" >&2 && exit 1; }

# Some stand on two lines; those of other kinds are named where they are added.
existing=$({
    find tests -name '*.cpp' -exec cat {} + | tr -s '\n ' '  ' |
        grep -oE 'TEST(_F|_P)?\([A-Za-z]+, ?[A-Za-z0-9]+' | sed -E 's/.*\(//; s/, ?/./'
    find tests -name CMakeLists.txt -exec grep -ohE 'NAME [A-Z][A-Za-z.]+' {} + | sed 's/NAME //'
} | sort -u)

missing=$(comm -23 <(echo "$named") <(echo "$existing"))
[[ -z $missing ]] || { printf 'There is no test named\n%s\n' "$missing" >&2 && exit 1; }
