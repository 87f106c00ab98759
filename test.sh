#!/usr/bin/env bash
# Builds and tests everything. ./test.sh --help says more.
set -euo pipefail

root=$(cd -- "$(dirname -- "$(readlink -f -- "${BASH_SOURCE[0]}")")" && pwd)
presets=(release asan tsan)
filter=.
fuzz=false
fleet=OFF
lint=true
coverage=false
update_abi=false
soak=0
valgrind=false
kills=0
reloads=0
mutants=0

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
    --fuzz             fuzz the masking, the common formats, the configuration, the control commands and
                       the reader for one minute each
    --coverage         which lines of the service the tests reach, and nothing else; fails below 97 %
                       and for a line that tests/uncovered.txt does not explain
    --update-abi       keep the description of the library's binary interface in tests/abi as it is
                       now, and do nothing else
    --soak MINUTES     the stress alone, again and again; memory, descriptors and threads are sampled
    --valgrind         the stress alone, shorter, under valgrind
    --kills N          the tests alone that kill a process while it logs, N times for each mode
    --reloads N        the tests alone that load the service, use it and unload it, N times
    --mutants N        change the service in N places, one at a time, and see whether a test notices
    --help             this text
EOF
}

# need_number OPTION [NUMBER ...]: ends the script unless it is above 0. Only minutes have fractions.
need_number() {
    local number='^[0-9]+$'
    [[ $1 != --soak ]] || number='^[0-9]+([.][0-9]+)?$'
    if [[ ! ${2:-} =~ $number || $2 != *[1-9]* ]]; then
        echo "test.sh: $1 needs a number above 0, not '${2:-}'" >&2
        exit 2
    fi
}

while (($#)); do
    case $1 in
        --quick) presets=(release) lint=false ;;
        --preset) presets=("${2:?--preset needs a name}") && shift ;;
        --filter) filter=${2:?--filter needs an expression} && shift ;;
        --fleet) presets=(release) lint=false fleet=ON filter='^fleet_' ;;
        --fuzz) fuzz=true ;;
        --soak) need_number "$@" && soak=$2 presets=(release) lint=false && shift ;;
        --valgrind) valgrind=true presets=(release) lint=false ;;
        --kills) need_number "$@" && kills=$2 presets=(release) lint=false && shift ;;
        --reloads) need_number "$@" && reloads=$2 presets=(release) lint=false && shift ;;
        --mutants) need_number "$@" && mutants=$2 presets=() lint=false && shift ;;
        --update-abi) presets=(release) lint=false update_abi=true ;;
        --coverage) presets=(coverage) lint=false coverage=true ;;
        --help | -h) print_help && exit 0 ;;
        *) echo "test.sh: unknown option '$1'; see --help" >&2 && exit 2 ;;
    esac
    shift
done

source "$root/scripts/setup.sh"
qv_install_packages "${qv_packages[@]}" "${qv_northbound_packages[@]}" "${qv_fleet_packages[@]}" \
    "${qv_test_packages[@]}"

[[ $fleet == OFF ]] || qv_install_packages "${qv_fleet_servers[@]}" "${qv_rsyslog_servers[@]}"

# What runs beside something else writes into `output` first. Each has a process group of its own, so
# that nothing goes on when this is interrupted.
output=
begin_jobs() {
    [[ -z $output ]] || return 0
    set -m
    output=$(mktemp -d)
    trap end_jobs EXIT
}
end_jobs() {
    for job in $(jobs -p); do
        kill -- "-$job" 2>/dev/null || true
    done
    rm -rf "$output"
}

for preset in "${presets[@]}"; do
    options=(-DQV_BUILD_TESTS=ON "-DQV_TEST_FLEET=$fleet")
    [[ $preset != release ]] || options+=(-DQV_BUILD_BENCHMARKS=ON)
    echo "== Build: $preset"
    qv_configure "$root" "$preset" "${options[@]}" >/dev/null
    if [[ $fleet == ON ]]; then
        qv_build "$root" "$preset" fleet_test fleet_road_test fleet_asking_test
    else
        qv_build "$root" "$preset"
    fi
    # The static checks take the time that builds and tests leave. They need what a build generates.
    if $lint && [[ $preset == "${presets[0]}" ]]; then
        begin_jobs
        nice "$root/scripts/lint.sh" "$root/build/$preset" >"$output/checks" 2>&1 &
        lint_process=$!
    fi
done

if [[ $mutants != 0 ]]; then
    exec "$root/scripts/mutants.py" "$mutants"
fi
if [[ $soak != 0 ]]; then
    exec "$root/build/release/bin/qv_stress" --soak "$soak"
fi
if $valgrind; then
    exec valgrind --quiet --leak-check=full --error-exitcode=9 \
        "$root/build/release/bin/qv_stress" --operations 100
fi
if [[ $kills != 0 ]]; then
    QV_KILLS=$kills exec "$root/build/release/bin/faults_test" --gtest_filter='*Death.ByAKill*'
fi
if [[ $reloads != 0 ]]; then
    QV_RELOADS=$reloads exec "$root/build/release/bin/service_configurator_test" \
        --gtest_filter='*AgainAndAgain*'
fi

if $update_abi; then
    "$root/scripts/abi.sh" --update "$root/build/release"
    exit 0
fi

# What an earlier run has counted, and what programs count while the build lists their tests.
if $coverage; then
    find "$root/build/coverage" -name '*.gcda' -delete
fi

if ((EUID != 0)); then
    echo "Not root: the tests that mount small disks are left out (docs/reliability.md)."
fi

begin_jobs

# Whether tests may have their files and programs in memory.
has_room_in_memory() {
    local memory=/dev/shm least=$((2 * 1024 * 1024))  # KiB
    (($(df --output=avail -k "$memory" 2>/dev/null | tail -n 1) + 0 >= least)) &&
        [[ -w $memory && ,$(findmnt -n -o OPTIONS -T "$memory"), != *,noexec,* ]]
}

# The release has its files on the disk. The sanitizers' tests make and remove them in half the time in
# memory.
run_tests() {
    if [[ $1 != release ]] && has_room_in_memory; then
        export TMPDIR=/dev/shm
    fi
    ctest --test-dir "$root/build/$1" --output-on-failure --no-tests="$no_tests" \
        --parallel "$((tests_at_a_time * $(nproc)))" --tests-regex "$filter" |
        grep -vE '^ *(Start +[0-9]+:|[0-9]+/[0-9]+ Test .* Passed )'
}

# Not every preset has every test, so a filter may leave nothing of some of them.
no_tests=error
[[ $filter == . ]] || no_tests=ignore

# Many tests wait, so several run at a time for each processor, and those of all presets at once.
tests_at_a_time=$((${#presets[@]} > 1 ? 2 : 3))
passed=true
any_test=false
declare -A running
for preset in "${presets[@]}"; do
    run_tests "$preset" >"$output/$preset" 2>&1 </dev/null &
    running[$preset]=$!
done
for preset in "${presets[@]}"; do
    echo "== Tests: $preset"
    wait "${running[$preset]}" || passed=false
    cat "$output/$preset"
    ! grep -q '% tests passed' "$output/$preset" || any_test=true
done
if ! $any_test; then
    echo "test.sh: no test has a name that matches '$filter'" >&2
    passed=false
fi

if $lint; then
    echo "== Format and static checks"
    wait "$lint_process" || passed=false
    cat "$output/checks"
fi
$passed

if $coverage; then
    echo "== Coverage"
    "$root/scripts/coverage.py" "$root/build/coverage"
fi

if $fuzz; then
    echo "== Fuzzing"
    "$root/scripts/fuzz.sh" 60
fi
