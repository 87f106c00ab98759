#!/usr/bin/env bash
# Runs the example's scripts: the demonstration and the measurement, small. The arguments are the
# example's directory and that of the programs.
set -euo pipefail

example=$1
bin=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "FAILED: $*" >&2
    cat "$work/output" "$work/errors" >&2
    exit 1
}

# Runs a script; the exit code is checked.
run() {
    local expected=$1 code=0
    shift
    "$@" >"$work/output" 2>"$work/errors" || code=$?
    [[ $code == "$expected" ]] || fail "$* ended with $code, not $expected"
}

run 0 "$bin/qv_northbound_client" --version
grep -Eqx 'qv_northbound_client [0-9.]+ \(commit [0-9a-z-]+, [^()]+\)' "$work/output" ||
    fail "the client tells no version"

run 0 "$example/demo.sh" "$bin" "$work/share" --clients 2 --calls 60 --failures 30
grep -q '^calls: 126$' "$work/output" || fail "the calls are not told"
operation=$(sed -n 's/^a failed operation: \([^ ]*\) .*/\1/p' "$work/output")
[[ -n $operation ]] || fail "no failed operation is told"
sed -n '/^What the log tells/,/^The log files/p' "$work/output" >"$work/story"
for text in "$operation" "begin: getElement" "getElement failed: NE-" "look up element " \
    "end: getElement failed"; do
    grep -qF "$text" "$work/story" || fail "the story lacks '$text'"
done
[[ $(grep -c "^$work/share/log/unbi_.*\.log$" "$work/output") == 7 ]] || fail "files are not named"

# Without clients' failures there is no story to tell.
run 0 "$example/demo.sh" "$bin" "$work/share" --clients 1 --calls 5 --failures 0
grep -q '^What the log tells' "$work/output" && fail "a story of no operation"

run 2 "$example/demo.sh" "$bin" "$work/share" --no-such-option 1
grep -q no-such-option "$work/errors" || fail "the unknown option is not named"

echo 'bundles = qv_base_log, qv_nowhere' >"$work/share/conf/corba_agent.cfg"
run 4 "$example/demo.sh" "$bin" "$work/share"
grep -q qv_nowhere "$work/errors" || fail "it does not say why the agent did not start"

run 0 "$example/measure.sh" "$bin" 1 20
[[ $(grep -cE '^\| [a-z0-9, ]+ +\| +[0-9]+ \| +[0-9.]+% \| +[0-9]+-[0-9]+% \| +[0-9.]+ \| +[0-9.]+ \|$' \
    "$work/output") == 7 ]] ||
    fail "not every arrangement was measured"

echo "The scripts: all as expected"
