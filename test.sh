#!/usr/bin/env bash
# Builds and tests everything. ./test.sh --help says more.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
presets=(release asan tsan)
filter=.
fuzz=false
lint=true
coverage=false
update_abi=false

print_help() {
    cat <<EOF
Usage: ./test.sh [OPTION...]

Installs what is missing (Debian packages, as root or through sudo), checks format and static
rules, builds the presets release, asan and tsan without a warning, and runs all tests in each of
them. Works from any directory; what is up to date is not built again.

    --quick            only the preset release, and no static checks
    --preset NAME      only this preset
    --filter REGEX     only the tests whose names match
    --fuzz             fuzz the masking, the common formats and the reader for one minute each
    --coverage         which lines of the service the tests reach, and nothing else; fails below 97 %
                       and for a line that tests/uncovered.txt does not explain
    --update-abi       keep the description of the library's binary interface in tests/abi as it is
                       now, and do nothing else
    --help             this text
EOF
}

while (($#)); do
    case $1 in
        --quick) presets=(release) lint=false ;;
        --preset) presets=("${2:?--preset needs a name}") && shift ;;
        --filter) filter=${2:?--filter needs an expression} && shift ;;
        --fuzz) fuzz=true ;;
        --update-abi) presets=(release) lint=false update_abi=true ;;
        --coverage) presets=(coverage) lint=false coverage=true ;;
        --help | -h) print_help && exit 0 ;;
        *) echo "test.sh: unknown option '$1'; see --help" >&2 && exit 2 ;;
    esac
    shift
done

source "$root/scripts/setup.sh"
qv_install_packages "${qv_packages[@]}" "${qv_northbound_packages[@]}" "${qv_test_packages[@]}"

for preset in "${presets[@]}"; do
    options=(-DQV_BUILD_TESTS=ON)
    [[ $preset != release ]] || options+=(-DQV_BUILD_BENCHMARKS=ON)
    echo "== Build: $preset"
    qv_configure "$root" "$preset" "${options[@]}" >/dev/null
    qv_build "$root" "$preset"
done

if $update_abi; then
    "$root/scripts/abi.sh" --update "$root/build/release"
    exit 0
fi

if $lint; then
    echo "== Format and static checks"
    "$root/scripts/lint.sh" "$root/build/${presets[0]}"
fi

# What an earlier run has counted, and what programs count while the build lists their tests.
if $coverage; then
    find "$root/build/coverage" -name '*.gcda' -delete
fi

# Two more at a time than there are processors: some tests wait.
for preset in "${presets[@]}"; do
    echo "== Tests: $preset"
    ctest --test-dir "$root/build/$preset" --output-on-failure --no-tests=error \
        --parallel "$(($(nproc) + 2))" --tests-regex "$filter" |
        grep -vE '^ *(Start +[0-9]+:|[0-9]+/[0-9]+ Test .* Passed )'
done

if $coverage; then
    echo "== Coverage"
    "$root/scripts/coverage.py" "$root/build/coverage"
fi

if $fuzz; then
    echo "== Fuzzing"
    "$root/scripts/fuzz.sh" 60
fi
