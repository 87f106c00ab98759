#!/usr/bin/env bash
# Runs run.sh as an operator does, with a share directory of its own. The only argument is the directory
# that it lies in.
set -euo pipefail

root=$1
program=$root/run.sh
work=$(mktemp -d)
export QV_SHARE="$work/its own"
sleeper=

clean_up() {
    if [[ -n $sleeper ]]; then
        kill "$sleeper"
    fi
    rm -rf "$work"
}
trap clean_up EXIT

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# Runs run.sh with the arguments, from a directory that is not its own; the exit code is checked.
# Notes the log files that it names, and prints nothing.
run() {
    local expected=$1
    shift
    local code=0
    (cd "$work" && "$program" "$@" >output 2>errors) || code=$?
    [[ $code == "$expected" ]] ||
        { cat "$work/errors" >&2; fail "run.sh $* ended with $code, not $expected"; }
    mapfile -t files < <(grep "^$QV_SHARE/.*\.log\$" "$work/output" || true)
}

run 0 --help
grep -q -- --keep-running "$work/output" || fail "the help does not say how to keep it running"
grep -q "$QV_SHARE/conf/corba_agent.cfg" "$work/output" || fail "the help names no configuration"
env -u QV_SHARE "$program" --help | grep -q "$root/var/conf/corba_agent.cfg" ||
    fail "the help does not name the usual configuration"

printf 'first\nl\0st' >"$work/input"
# The second time by a link, which lies elsewhere.
for round in 1 2; do
    ((round == 1)) || { ln -s "$root/run.sh" "$work/link" && program=$work/link; }
    run 0 --category corbasys --level 2 <"$work/input"
    [[ ${#files[@]} == 7 ]] || fail "round $round: ${#files[@]} files are named"
    grep -q '^Building' "$work/errors" || fail "round $round: it does not say that it builds"
    file=$(printf '%s\n' "${files[@]}" | grep '/unbi_corbasys_2')
    grep -q '^ Detail: first$' "$file" || fail "round $round: the first line is missing"
    grep -q $'^ Detail: l\xe2\x90\x80st$' "$file" || fail "round $round: the last line is missing"
    grep -q $'^     Detail: l\xe2\x90\x80st$' "$work/output" || fail "round $round: no last record shown"
done
[[ -s $QV_SHARE/conf/corba_agent.cfg ]] || fail "there is no configuration"

run 0 </dev/null
[[ $(grep -c 'last record' "$work/output") == 7 ]] || fail "the sample left categories out"

run 0 --northbound --clients 2 --calls 60 --failures 30 </dev/null
grep -q '^calls: 126$' "$work/output" || fail "the northbound example tells of no calls"
grep -q '^What the log tells of the operation ' "$work/output" || fail "it tells no story"
[[ ${#files[@]} == 7 ]] || fail "the northbound example: ${#files[@]} files are named"

run 2 --no-such-option </dev/null
grep -q -- --no-such-option "$work/errors" || fail "the unknown option is not named"

# A tree with the log of another build, which cannot be written: not even root writes a program that
# runs.
mkdir -p "$work/tree/scripts" "$work/tree/build"
cp "$root/run.sh" "$work/tree/"
cp "$root/scripts/setup.sh" "$work/tree/scripts/"
cp "$(command -v sleep)" "$work/tree/build/run.log"
"$work/tree/build/run.log" 3600 &
sleeper=$!
program=$work/tree/run.sh
run 1 </dev/null
grep -q "run.log cannot be written" "$work/errors" || fail "it does not say what it cannot write"
! grep -qa ELF "$work/errors" || fail "it shows the log of another build"

echo "run.sh: all as expected"
