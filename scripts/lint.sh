#!/usr/bin/env bash
# Checks the format of every source file, and runs the static checks on every file that has changed
# since they last passed, but for tests and benchmarks, whose libraries' macros trip them. Needs a
# configured build for its compile commands:
#     scripts/lint.sh BUILD_DIRECTORY
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
build=$(cd -- "${1:?usage: scripts/lint.sh BUILD_DIRECTORY}" && pwd)
stamps=$build/lint
cd "$root"

for program in git clang-format clang-tidy; do
    command -v "$program" >/dev/null || { echo "lint.sh: $program is missing" >&2 && exit 1; }
done

mapfile -t files < <(git ls-files --cached --others --exclude-standard \
    'src/*.h' 'src/*.cpp' 'include/*.h' 'platform/*.h' 'host/*.h' 'host/*.cpp' \
    'version/*.h' 'reader/*.h' 'reader/*.cpp' 'fleet/*.h' 'fleet/*.cpp' \
    'tests/*.h' 'tests/*.cpp' 'bench/*.h' 'bench/*.cpp' \
    'examples/*.h' 'examples/*.cpp')

((${#files[@]})) || { echo "lint.sh: git lists no source files" >&2 && exit 1; }

clang-format --dry-run --Werror "${files[@]}"
echo "Format: ${#files[@]} files are as .clang-format says."

scripts/rooms.sh

# A file passes again without a run when neither it, nor any header, nor the rules have changed.
mkdir -p "$stamps"
common=$({ cat .clang-tidy; printf '%s\n' "${files[@]}" | grep '\.h$' | xargs -d '\n' cat; } |
    sha256sum)
pending=()
for file in "${files[@]}"; do
    [[ $file == *.cpp && $file != tests/* && $file != bench/* ]] || continue
    grep -qF "\"$root/$file\"" "$build/compile_commands.json" ||
        { echo "lint.sh: $build compiles no $file" >&2 && exit 1; }
    stamp=$stamps/$( (echo "$common $file" && cat "$file") | sha256sum | cut -c1-40)
    [[ -e $stamp ]] || pending+=("$file" "$stamp")
done

check() {
    # The compiler's own warning options mean nothing to the checks, which know fewer of them.
    clang-tidy --quiet -p "$build" --extra-arg=-Wno-unknown-warning-option "$1" 2>/dev/null &&
        touch "$2"
}
export -f check
export build
if ((${#pending[@]})); then
    printf '%s\0' "${pending[@]}" | xargs -0 -n 2 -P "$(nproc)" bash -c 'check "$@"' check
fi
echo "Static checks: $((${#pending[@]} / 2)) files checked, all pass."
