#!/usr/bin/env python3
"""Changes one operator, constant or statement of src/ at a time, and lists the changes that no test
has noticed:

    scripts/mutants.py COUNT [--seed SEED] [--files REGEX] [--only REGEX] [--jobs N] [--resume]
                       [--longest SECONDS]

Works on a copy in build/mutants, without optimisation and without warnings as errors. Most changes
are compiled at once, each behind a question for its number (mutation/guards.py); a test run chooses
one by an environment variable. Only the tests that reach the changed place are run, those of its room
first. Where the language allows no such question, the change is made, built and tested by itself. One
that does not compile is replaced by another. Which changes are chosen depends on the seed and on each
changed line alone: when a file changes, those of the others are chosen as before.

A change is noticed when a test fails, crashes or takes much longer. tests/survivors.txt explains
those that no test can notice. Fails when fewer than 90 % of the others are noticed, or one is neither
noticed nor explained.
The changes of mutation/orders.py come last in each run and are not counted.

Each change that is noticed is remembered. With --resume, those that were noticed while src/ was as it
is now are not tried again, so that a run that was stopped goes on, and one for new tests is short.
"""

import argparse
import collections
import concurrent.futures
import hashlib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import threading
import time

from mutation.changes import changes_of
from mutation.guards import HEADER, GuardedFile
from mutation.orders import orders
from mutation.trials import first_to_fail, measure, tests_of

ROOT = pathlib.Path(__file__).resolve().parent.parent
TREE = ROOT / "build" / "mutants" / "tree"
BUILD = ROOT / "build" / "mutants" / "build"
GUARD = ROOT / "build" / "mutants" / "qvmutants.h"
# Changes of which an earlier run has found that they cannot have a guard, or one of that kind.
REFUSED = ROOT / "build" / "mutants" / "refused.txt"
# Changes that were noticed, each behind a digest of src/.
NOTICED = ROOT / "build" / "mutants" / "noticed.txt"
EXPLAINED = ROOT / "tests" / "survivors.txt"
LEAST = 90.0

# The test programs of a room of src/, those that are most likely to notice first.
PROGRAMS = {
    "base": ["qv_base_test", "logger_test", "qv_lock_failure_test"],
    "record": ["qv_record_test", "qv_channel_test", "logger_test"],
    "channel": ["qv_channel_test", "faults_test"],
    "logger": ["logger_test", "asndump_test", "logger_recordorder_test", "logger_allocation_test",
               "logger_callsite_test"],
    "masking": ["asnmasking_test", "asnmasking_fuzz_replay"],
    "manager": ["manager_test", "service_test"],
    "control": ["qv_control_test", "qv_maintenance_test", "qv_monitor_test"],
    "diagnostic": ["qv_diagnostic_test", "qv_positions_test"],
    "lookup": ["qv_lookup_test", "qv_control_test"],
    "": ["service_test", "service_platform_test", "qv_monitor_test", "qv_maintenance_test"],
}
# All that are asked.
ALL = sorted({name for names in PROGRAMS.values() for name in names}
             | {"service_allocation_test", "abi_slots_test", "process_test", "qv_stress",
                "reader_roundtrip_test", "service_configurator_test"})


def first_programs(name):
    parts = pathlib.PurePath(name).parts
    return PROGRAMS[parts[1] if len(parts) == 3 else ""]


def write_if_new(path, content):
    if not path.is_file() or path.read_bytes() != content:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)


def copy_tree():
    """Brings the copy up to date, without touching what has not changed. What goes into src/ is
    written later."""
    command = ["git", "-c", "safe.directory=*", "ls-files", "--cached", "--others", "--exclude-standard"]
    names = subprocess.run(command, cwd=ROOT, check=True, capture_output=True, text=True).stdout.split("\n")
    for name in filter(None, names):
        source, target = ROOT / name, TREE / name
        if not source.is_file() or pathlib.PurePath(name).suffix in (".cpp", ".h") and \
                name.startswith("src/"):
            continue
        content = source.read_bytes()
        if name == "cmake/CompilerOptions.cmake":
            content = content.replace(b" -Werror", b"")
        write_if_new(target, content)
        shutil.copymode(source, target)
    write_if_new(GUARD, HEADER.encode())


def configure():
    subprocess.run(["cmake", "-S", str(TREE), "-B", str(BUILD), "-G", "Ninja",
                    "-DCMAKE_BUILD_TYPE=Debug", f"-DCMAKE_CXX_FLAGS_DEBUG=-O0 -w -include {GUARD}",
                    "-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST",
                    "-DQV_BUILD_TESTS=ON"], check=True, stdout=subprocess.DEVNULL)


def build(targets, jobs, keep_going=False):
    return subprocess.run(["cmake", "--build", str(BUILD), "--parallel", str(jobs),
                           "--target", *targets, "--", *(["-k", "0"] if keep_going else [])],
                          capture_output=True, text=True)


def by_chance(changes, seed):
    """In an order that depends on the seed, and for each change on nothing but its own text and how
    many of the same text come before it."""
    before = collections.Counter()

    def rank(change):
        text = f"{seed} {change.name}: {change.new_line.strip()}"
        before[text] += 1
        return hashlib.sha256(f"{text} {before[text]}".encode()).digest()
    return [change for _, change in sorted(((rank(change), change) for change in changes),
                                           key=lambda pair: pair[0])]


class Mutants:
    """The changes that are tried, and the sources with guards for those that can have one."""

    def __init__(self, arguments):
        self.jobs, self.files, possible = arguments.jobs, {}, []
        for path in sorted((ROOT / "src").rglob("*")):
            name = str(path.relative_to(ROOT))
            if path.suffix in (".cpp", ".h"):
                text = path.read_text()
                self.files[name] = GuardedFile(name, text)
                possible += changes_of(name, text) if re.search(arguments.files, name) else []
        possible = [change for change in by_chance(possible, arguments.seed)
                    if re.search(arguments.only, str(change))]
        self.possible, count = len(possible), arguments.count
        # Some more, because some do not compile.
        self.changes = dict(enumerate(possible[:count + count // 4 + 5], 1))
        self.orders = dict(enumerate(orders({name: file.text for name, file in self.files.items()}),
                                     len(self.changes) + 1))
        refused = REFUSED.read_text().splitlines() if REFUSED.is_file() else []
        for number, change in self.all().items():
            kinds = [line.partition(" ")[0] for line in refused if line.endswith(f" {change}")]
            self.files[change.name].add(number, change, kinds)

    def all(self):
        return {**self.changes, **self.orders}

    def guarded(self):
        return {number for file in self.files.values() for number in file.guarded()}

    def digest(self):
        """Of all of src/."""
        text = "".join(f"{name}\n{file.text}" for name, file in sorted(self.files.items()))
        return hashlib.sha256(text.encode()).hexdigest()[:16]

    def write(self):
        for name, file in self.files.items():
            write_if_new(TREE / name, file.with_guards().encode())

    def compile(self):
        """Builds everything; takes away guards until it compiles."""
        for targets in (["qv_base_log_objects"], ALL):
            while True:
                self.write()
                built = build(targets, self.jobs, keep_going=True)
                if built.returncode == 0:
                    break
                places = set(re.findall(r"tree/(src/[^:\s]+):(\d+)", built.stdout))
                dropped = [pair for name, line in places if name in self.files
                           for pair in self.files[name].drop(int(line))]
                if not dropped:
                    sys.exit(f"mutants.py: does not compile:\n{built.stdout[-5000:]}")
                self.refuse(dropped)

    def refuse(self, dropped):
        """Puts a guard of another kind in the place of each that has none, where that can be."""
        with open(REFUSED, "a", encoding="utf-8") as refused:
            for number, kind in dropped:
                change = self.all()[number]
                refused.write(f"{kind} {change}\n")
                if kind == "place":
                    self.files[change.name].add(number, change, ["place"])


class Noticed:
    """The changes that were noticed earlier, with the test that did."""

    def __init__(self, digest, resume):
        self.digest, self.names, self.lock = digest, {}, threading.Lock()
        if resume and NOTICED.is_file():
            for line in NOTICED.read_text().splitlines():
                if line.startswith(f"{digest} "):
                    name, change = line[len(digest) + 1:].split(" ", maxsplit=1)
                    self.names[change] = name

    @staticmethod
    def _key(change):
        return f"{change.begin} {change}"

    def get(self, change):
        return self.names.get(self._key(change))

    def add(self, change, name):
        with self.lock, open(NOTICED, "a", encoding="utf-8") as file:
            file.write(f"{self.digest} {name.replace(' ', '_')} {self._key(change)}\n")


class Runner:
    """Tries the changes."""

    def __init__(self, mutants, tests, noticed):
        self.mutants, self.tests, self.noticed = mutants, tests, noticed

    def attempt(self, number):
        """The name of the test that notices, or None. LookupError where it does not compile."""
        change = self.mutants.all()[number]
        name = self.noticed.get(change)
        if name:
            return name
        is_guarded = number in self.mutants.guarded()
        test = self.try_guarded(number) if is_guarded else self.try_plain(number)
        if test is None:
            return None
        self.noticed.add(change, test.name)
        return test.name

    def attempt_all(self, numbers, tell):
        """Tells each result of those that have guards, several at once; returns the other numbers."""
        def one(number):
            begin = time.monotonic()
            name = self.attempt(number)
            tell(number, name, time.monotonic() - begin)
        guarded = self.mutants.guarded()
        with concurrent.futures.ThreadPoolExecutor(self.mutants.jobs) as pool:
            list(pool.map(one, [number for number in numbers if number in guarded]))
        return [number for number in numbers if number not in guarded]

    def try_guarded(self, number):
        change = self.mutants.all()[number]
        reaching = [test for test in self.tests if test.reaches(number)]
        return first_to_fail(reaching, first_programs(change.name), {"QV_MUTANT": str(number)})

    def try_plain(self, number):
        """The test that notices, or None. LookupError where it does not compile."""
        change = self.mutants.all()[number]
        path, file = TREE / change.name, self.mutants.files[change.name]
        path.write_text(file.with_guards(change))
        try:
            first = first_programs(change.name)
            for programs in (first, [name for name in ALL if name not in first]):
                built = build(programs, self.mutants.jobs)
                if built.returncode != 0:
                    raise LookupError(change)
                tests = [test for test in self.tests if test.program in programs]
                noticed = first_to_fail(tests, programs, {})
                if noticed:
                    return noticed
            return None
        finally:
            path.write_text(file.with_guards())


class Report:
    def __init__(self):
        self.lock = threading.Lock()
        self.killed, self.explained, self.survivors = 0, [], []
        self.reasons = collections.Counter()
        for line in EXPLAINED.read_text().splitlines():
            if line.strip() and not line.startswith("#"):
                self.reasons[line.strip()] += 1

    def tell(self, change, noticed, seconds):
        with self.lock:
            text = f"{change.name}: {change.new_line.strip()}"
            is_explained = not noticed and self.reasons[text] > 0
            word = "noticed" if noticed else "explained" if is_explained else "SURVIVED"
            print(f"{word:9} {seconds:4.0f} s  {change}" + (f"  [{noticed}]" if noticed else ""),
                  flush=True)
            if noticed:
                self.killed += 1
            elif is_explained:
                self.reasons[text] -= 1  # an entry explains one change
                self.explained.append(str(change))
            else:
                self.survivors.append(str(change))

    def tried(self):
        return self.killed + len(self.explained) + len(self.survivors)

    def finish(self):
        rate = 100.0 * self.killed / max(self.tried() - len(self.explained), 1)
        print(f"{self.killed} of {self.tried()} changes were noticed; {len(self.explained)} others are "
              f"explained. Of those that a test can notice, that is {rate:.1f} %.")
        if self.survivors:
            print("No test has noticed:", *self.survivors, sep="\n    ")
        return not self.survivors and rate >= LEAST


def try_orders(runner):
    """Whether each order is guarded by a test."""
    survivors = []

    def tell(number, name, seconds):
        change = runner.mutants.orders[number]
        if not name:
            survivors.append(change)
        print(f"{'noticed' if name else 'SURVIVED':9} {seconds:4.0f} s  order: {change.new_line}" +
              (f"  [{name}]" if name else ""), flush=True)
    for number in runner.attempt_all(list(runner.mutants.orders), tell):
        begin = time.monotonic()
        tell(number, runner.attempt(number), time.monotonic() - begin)
    return not survivors


def try_all(runner, count):
    report, changes = Report(), runner.mutants.changes

    def tell(number, name, seconds):
        report.tell(changes[number], name, seconds)

    chosen, spare = list(changes)[:count], list(changes)[count:]
    # One that does not compile makes room for another one.
    for number in runner.attempt_all(chosen, tell):
        while number is not None:
            begin = time.monotonic()
            try:
                tell(number, runner.attempt(number), time.monotonic() - begin)
                break
            except LookupError:
                number = spare.pop(0) if spare else None
    return report.finish()


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("count", type=int)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--files", default=r".*", help="of src/, as a regular expression")
    parser.add_argument("--only", default="", help="changes whose description matches")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="at once")
    parser.add_argument("--resume", action="store_true",
                        help="not those again that were noticed while src/ was as it is now")
    parser.add_argument("--longest", type=float, default=1000,
                        help="leaves out tests that take more seconds, for a first look")
    arguments = parser.parse_args()

    copy_tree()
    mutants = Mutants(arguments)
    mutants.write()
    configure()
    mutants.compile()
    print(f"{mutants.possible} changes are possible; {arguments.count} are tried, seed "
          f"{arguments.seed}; {len(mutants.guarded())} of {len(mutants.all())} with the orders have "
          "a guard.", flush=True)

    tests = tests_of(BUILD, ALL)
    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        failing = [test.name for test, good in zip(tests, pool.map(measure, tests)) if not good]
    if failing:
        sys.exit("mutants.py: these tests do not pass without any change: " + " ".join(failing))
    tests = [test for test in tests if test.seconds <= arguments.longest]
    print(f"{len(tests)} tests take {sum(test.seconds for test in tests):.0f} s.", flush=True)
    runner = Runner(mutants, tests, Noticed(mutants.digest(), arguments.resume))
    noticed = try_all(runner, arguments.count)
    kept = try_orders(runner)
    sys.exit(0 if kept and noticed else 1)


if __name__ == "__main__":
    main()
