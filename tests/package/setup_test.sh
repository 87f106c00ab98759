#!/usr/bin/env bash
# How packages are installed: with programs in the place of apt-get, dpkg-query and sudo that write down
# what they are asked for. The only argument is the directory with scripts/setup.sh.
set -euo pipefail

root=$1
work=$(mktemp -d)
trap 'chmod -R u+w "$work" && rm -rf "$work"' EXIT

fail() {
    echo "FAILED: $*" >&2
    cat "$work/errors" >&2
    exit 1
}

mkdir "$work/bin"
cat >"$work/bin/dpkg-query" <<'SCRIPT'
#!/bin/sh
[ $# -gt 2 ] || exec cat "$work/versions"
[ "${3#here}" = "$3" ] || echo installed
SCRIPT
printf '#!/bin/sh\necho "$*" >>"$work/builds"\n' >"$work/bin/cmake"
# Fails as often as the file of its command says, with the words that stand there.
cat >"$work/bin/apt-get" <<'SCRIPT'
#!/bin/sh
for command; do
    case $command in update | install) break ;; esac
done
echo "$command" >>"$work/commands"
echo "$*" >>"$work/lines"
cat >>"$work/input"
[ -s "$work/$command" ] || exit 0
head -n 1 "$work/$command" >&2
sed -i 1d "$work/$command"
exit 100
SCRIPT
printf '#!/bin/sh\nexec "$@"\n' >"$work/bin/sudo"
chmod +x "$work/bin"/*

# install EXPECTED_CODE PACKAGE...: installs them, and remembers which commands that took.
install() {
    local expected=$1 code=0
    shift
    rm -f "$work"/{commands,lines,input}
    (export work QV_LOCK_PAUSE=0 PATH="$work/bin:$PATH" && source "$root/scripts/setup.sh" &&
        echo "of the agent" | qv_install_packages "$@") >"$work/output" 2>"$work/errors" || code=$?
    [[ $code == "$expected" ]] || fail "installing $* ended with $code, not $expected"
    commands=$(tr '\n' ' ' 2>/dev/null <"$work/commands") || commands=
}

install 0 here-one here-two
[[ -z $commands ]] || fail "what is there was installed again: $commands"

install 0 here-one missing-one missing-two
[[ $commands == "update install " ]] || fail "two packages took: $commands"
grep -q -- '--no-install-recommends missing-one missing-two$' "$work/lines" ||
    fail "not the missing packages alone were installed: $(cat "$work/lines")"
[[ ! -s $work/input ]] || fail "the installation took the agent's input"
[[ ! -s $work/output ]] || fail "the installation wrote to the agent's output"

printf 'E: Could not get lock %s\n' /lists /lists >"$work/update"
printf 'E: Could not get lock %s\n' /archives >"$work/install"
install 0 missing
[[ $commands == "update update update install install " ]] || fail "locks were not awaited: $commands"

echo "E: a source is gone" >"$work/update"
install 0 missing
[[ $commands == "update install " ]] || fail "a source that is gone ends it: $commands"
grep -q "a source is gone" "$work/errors" || fail "it does not say which source is gone"

echo "E: Unable to locate package" >"$work/install"
install 100 missing
[[ $commands == "update install " ]] || fail "a package that does not exist took: $commands"

# A file of another user. Root is told of none: it can write them all.
mkdir "$work/build"
touch "$work/build/ours" && chmod a-w "$work/build/ours"
source "$root/scripts/setup.sh"
[[ -z $(qv_name_foreign_files "$work/build" 2>&1) ]] || fail "a file of one's own is named as another's"
if ((EUID != 0)); then
    [[ $(qv_name_foreign_files /etc/passwd 2>&1) == "/etc/passwd belongs to root"* ]] ||
        fail "the owner of a file of root's is not named"
fi

# What was compiled with a package that has been upgraded is compiled anew, and nothing else is.
builds_after() {
    printf '%s\n' "$@" >"$work/versions"
    rm -f "$work/builds"
    (export work PATH="$work/bin:$PATH" && qv_forget_older_headers "$work/build") \
        >"$work/output" 2>"$work/errors" || fail "looking for upgraded packages ended with $?"
    [[ ! -s $work/output ]] || fail "it writes to the agent's output"
    cat "$work/builds" 2>/dev/null || true
}
[[ -n $(builds_after "libz-dev 1" "bash 1") ]] || fail "what was compiled with unknown packages is kept"
[[ -z $(builds_after "libz-dev 1" "bash 2") ]] || fail "a package without headers counts"
[[ -z $(builds_after "liba-dev 1" "libz-dev 1") ]] || fail "a package that is new counts"
[[ $(builds_after "liba-dev 1" "libz-dev 2") == "--build $work/build --target clean" ]] ||
    fail "what was compiled with an older package is kept"
grep -q "build was compiled with have changed" "$work/errors" || fail "it does not say why it compiles"
[[ -z $(builds_after "liba-dev 1" "libz-dev 2") ]] || fail "it compiles anew each time"
[[ -n $(builds_after "liba-dev 1" "g++ 2") ]] || fail "a package that has gone does not count"

# A step of several commands ends at the first one that fails, and the script with it.
fails_in_the_middle() {
    echo begun
    false
    echo "gone on"
}
code=0
bash -c "set -e; $(declare -f fails_in_the_middle qv_run_logged)
    qv_run_logged '$work/log' echo well; qv_run_logged '$work/log' fails_in_the_middle; echo after" \
    a/name >"$work/output" 2>"$work/errors" || code=$?
[[ $code == 1 && $(<"$work/log") == begun && ! -s $work/output ]] ||
    fail "a step goes on after a command that fails: $code $(cat "$work/log" "$work/output")"
[[ $(<"$work/errors") == "begun"*"name: fails_in_the_middle failed, see above" ]] ||
    fail "it does not say what has failed"

# The scripts find their tree through a link, and where cd looks for directories elsewhere and prints
# what it has found.
mkdir "$work/links"
ln -s "$(readlink -f -- "$root")" "$work/tree"
for script in run test bench fleet package; do
    ln -s "$work/tree/$script.sh" "$work/links/"
    for way in tree links; do
        (cd "$work" && CDPATH=$work bash -x "$way/$script.sh" --help) >"$work/output" 2>"$work/errors"
        [[ $(sed -n "/^+ root=/,/^+ /{ s/'//g; p }" "$work/errors" | head -n 2) == \
            "+ root=$(readlink -f -- "$root")"$'\n+ '* ]] || fail "$way/$script.sh does not find its tree"
    done
done
