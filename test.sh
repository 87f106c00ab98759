#!/usr/bin/env bash
# Builds and tests everything. ./test.sh --help says more.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
presets=(release asan tsan)
filter=.
fuzz=false
fleet=OFF
lint=true

print_help() {
    cat <<EOF
Usage: ./test.sh [OPTION...]

Installs what is missing (Debian packages, as root or through sudo), checks format and static
rules, builds the presets release, asan and tsan without a warning, and runs all tests in each of
them. Works from any directory; what is up to date is not built again.

    --quick            only the preset release, and no static checks
    --preset NAME      only this preset
    --filter REGEX     only the tests whose names match
    --fleet            only the fleet, with real servers, which are killed; takes some minutes
    --fuzz             fuzz the masking, the common formats and the reader for one minute each
    --help             this text
EOF
}

while (($#)); do
    case $1 in
        --quick) presets=(release) lint=false ;;
        --preset) presets=("${2:?--preset needs a name}") && shift ;;
        --filter) filter=${2:?--filter needs an expression} && shift ;;
        --fleet) presets=(release) lint=false fleet=ON filter='^fleet_' ;;
        --fuzz) fuzz=true ;;
        --help | -h) print_help && exit 0 ;;
        *) echo "test.sh: unknown option '$1'; see --help" >&2 && exit 2 ;;
    esac
    shift
done

source "$root/scripts/setup.sh"
qv_install_packages "${qv_packages[@]}" "${qv_northbound_packages[@]}" "${qv_fleet_packages[@]}" \
    "${qv_test_packages[@]}"

[[ $fleet == OFF ]] || qv_install_packages "${qv_fleet_servers[@]}"

for preset in "${presets[@]}"; do
    options=(-DQV_BUILD_TESTS=ON "-DQV_TEST_FLEET=$fleet")
    [[ $preset != release ]] || options+=(-DQV_BUILD_BENCHMARKS=ON)
    echo "== Build: $preset"
    qv_configure "$root" "$preset" "${options[@]}" >/dev/null
    if [[ $fleet == ON ]]; then
        qv_build "$root" "$preset" fleet_test fleet_road_test
    else
        qv_build "$root" "$preset"
    fi
done

if $lint; then
    echo "== Format and static checks"
    "$root/scripts/lint.sh" "$root/build/${presets[0]}"
fi

# Two more at a time than there are processors: some tests wait.
for preset in "${presets[@]}"; do
    echo "== Tests: $preset"
    ctest --test-dir "$root/build/$preset" --output-on-failure --no-tests=error \
        --parallel "$(($(nproc) + 2))" --tests-regex "$filter" |
        grep -vE '^ *(Start +[0-9]+:|[0-9]+/[0-9]+ Test .* Passed )'
done

if $fuzz; then
    echo "== Fuzzing"
    "$root/scripts/fuzz.sh" 60
fi
