#!/usr/bin/env bash
# Checks the format of every source file, what documents say about rooms and tests, and whether the
# orders that mutants break are still there. Runs the static checks on every file that has changed
# since they last passed, but for tests and benchmarks, whose libraries' macros trip them. Needs a
# configured build for its compile commands:
#     scripts/lint.sh BUILD_DIRECTORY
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
build=$(cd -- "${1:?usage: scripts/lint.sh BUILD_DIRECTORY}" && pwd)
cd "$root"

for program in git clang-format clang-tidy python3; do
    command -v "$program" >/dev/null || { echo "lint.sh: $program is missing" >&2 && exit 1; }
done

mapfile -t files < <(git -c safe.directory='*' ls-files --cached --others --exclude-standard \
    'src/*.h' 'src/*.cpp' 'include/*.h' 'platform/*.h' 'host/*.h' 'host/*.cpp' \
    'version/*.h' 'reader/*.h' 'reader/*.cpp' 'fleet/*.h' 'fleet/*.cpp' \
    'tests/*.h' 'tests/*.cpp' 'bench/*.h' 'bench/*.cpp' \
    'examples/*.h' 'examples/*.cpp')

((${#files[@]})) || { echo "lint.sh: git lists no source files" >&2 && exit 1; }

printf '%s\0' "${files[@]}" | xargs -0 -n 50 -P "$(nproc)" clang-format --dry-run --Werror
echo "Format: ${#files[@]} files are as .clang-format says."

scripts/rooms.sh
scripts/testnames.py
PYTHONPATH=scripts python3 -B -m mutation.orders

mapfile -t checked < <(printf '%s\n' "${files[@]}" | grep -vE '^(tests|bench)/.*\.cpp$')
scripts/tidy.py "$build" "${checked[@]}"
