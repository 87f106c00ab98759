#!/usr/bin/env python3
"""Changes one operator, constant or statement of src/ at a time, builds what depends on it, runs the
tests that it concerns, and lists the changes that no test has noticed:

    scripts/mutants.py COUNT [--seed SEED] [--files REGEX]

Works on a copy in build/mutants, without optimisation and without warnings as errors. A change is
killed when a test fails, crashes or takes too long. One that does not compile is replaced by another.
"""

import argparse
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
TREE = ROOT / "build" / "mutants" / "tree"
BUILD = ROOT / "build" / "mutants" / "build"
TEST_SECONDS = 60

# The test programs of a room of src/, those that are most likely to notice first.
PROGRAMS = {
    "base": ["qv_base_test", "logger_test", "qv_lock_failure_test"],
    "record": ["qv_record_test", "qv_channel_test", "logger_test"],
    "channel": ["qv_channel_test", "faults_test"],
    "logger": ["logger_test", "asndump_test", "logger_recordorder_test", "logger_allocation_test"],
    "masking": ["asnmasking_test"],
    "manager": ["manager_test", "service_test"],
    "control": ["qv_control_test", "qv_maintenance_test", "qv_monitor_test"],
    "diagnostic": ["qv_diagnostic_test", "qv_positions_test"],
    "lookup": ["qv_lookup_test", "qv_control_test"],
    "": ["service_test", "service_platform_test", "qv_monitor_test", "qv_maintenance_test"],
}
# What is asked when those have noticed nothing.
ALL = sorted({name for names in PROGRAMS.values() for name in names}
             | {"service_allocation_test", "abi_slots_test"})

# Each with the pattern of what is replaced, and by what.
CHANGES = [
    (r" == ", [" != "]), (r" != ", [" == "]),
    (r" < ", [" <= ", " > "]), (r" > ", [" >= ", " < "]),
    (r" <= ", [" < "]), (r" >= ", [" > "]),
    (r" && ", [" || "]), (r" \|\| ", [" && "]),
    (r" \+ ", [" - "]), (r" - ", [" + "]), (r" \* ", [" / "]), (r" / ", [" * "]),
    (r" & ", [" | "]), (r" \| ", [" & "]),
    (r" \+= ", [" -= "]), (r" -= ", [" += "]),
    (r"\+\+(?=\w)", ["--"]),
    (r"(?<=[( ])!(?=\w)", [""]),
    (r"\btrue\b", ["false"]), (r"\bfalse\b", ["true"]),
    (r"(?<![\w.'\"])\d+(?![\w.'\"])", ["next"]),
]
# A whole statement on one line, which is left out; declarations and returns with a value are not.
STATEMENT = re.compile(
    r"^\s+(?!return|using|const |constexpr|static|auto |throw|delete|case|default|struct|class|enum)"
    r"(\+\+[\w.>\-\[\]()]+|[\w:.>\-\[\]*]+( [+-]?= .*|\(.*\)));$")


def copy_tree():
    """Brings the copy up to date, without touching what has not changed."""
    names = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard"],
                           cwd=ROOT, check=True, capture_output=True, text=True).stdout.split("\n")
    for name in filter(None, names):
        source, target = ROOT / name, TREE / name
        if not source.is_file():
            continue
        content = source.read_bytes()
        if name == "cmake/CompilerOptions.cmake":
            content = content.replace(b" -Werror", b"")
        if not target.is_file() or target.read_bytes() != content:
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(content)
            shutil.copymode(source, target)


def build(programs):
    return subprocess.run(["cmake", "--build", str(BUILD), "--parallel", str(os.cpu_count()),
                           "--target", *programs], capture_output=True, text=True)


def notices(programs):
    """Whether a test of these programs fails; None when the programs cannot be built."""
    built = build(programs)
    if built.returncode != 0:
        # Listing a program's tests is part of its build: one that crashes there is noticed too.
        return None if re.search(r"error:|undefined reference", built.stdout) else True
    names = "|".join(programs)
    tested = subprocess.run(["ctest", "--test-dir", str(BUILD), "--stop-on-failure", "--timeout",
                             str(TEST_SECONDS), "-j", str(os.cpu_count()), "-R", f"^({names})\\."],
                            capture_output=True)
    return tested.returncode != 0


def code_of(line):
    """The line without what is comment, text or annotation, as spaces."""
    if line.lstrip().startswith(("//", "#", "static_assert")):
        return ""
    def blank(match):
        return " " * len(match.group())
    line = re.sub(r'"(\\.|[^"\\])*"|\'(\\.|[^\'\\])+\'', blank, line)
    return re.sub(r"//.*|template <.*", blank, line)


def changes_of(path):
    """All changes of a file as (line number, new line)."""
    found = []
    for number, line in enumerate(path.read_text().split("\n")):
        code = code_of(line)
        for pattern, replacements in CHANGES:
            for match in re.finditer(pattern, code):
                for replacement in replacements:
                    if replacement == "next":
                        replacement = str(int(match.group()) + 1)
                    found.append((number, line[:match.start()] + replacement + line[match.end():]))
        if STATEMENT.match(code):
            found.append((number, re.sub(r"\S.*", "{}", line)))
    return found


def test_change(name, number, new_line):
    """True: killed; False: survived; None: does not compile."""
    path = TREE / name
    original = path.read_text()
    lines = original.split("\n")
    lines[number] = new_line
    path.write_text("\n".join(lines))
    try:
        parts = pathlib.PurePath(name).parts
        first = PROGRAMS[parts[1] if len(parts) == 3 else ""]
        result = notices(first)
        if result is False:
            result = notices(ALL)
        return result
    finally:
        path.write_text(original)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("count", type=int)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--files", default=r".*\.cpp$", help="of src/, as a regular expression")
    arguments = parser.parse_args()

    copy_tree()
    subprocess.run(["cmake", "-S", str(TREE), "-B", str(BUILD), "-G", "Ninja",
                    "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O0",
                    "-DQV_BUILD_TESTS=ON"], check=True, stdout=subprocess.DEVNULL)
    if notices(ALL) is not False:
        sys.exit("mutants.py: the tests do not pass without any change")

    chosen = []
    for path in sorted((TREE / "src").rglob("*")):
        name = str(path.relative_to(TREE))
        if path.suffix in (".cpp", ".h") and re.search(arguments.files, name):
            chosen += [(name, *change) for change in changes_of(path)]
    random.Random(arguments.seed).shuffle(chosen)
    print(f"{len(chosen)} changes are possible; {arguments.count} are tried, seed {arguments.seed}.")

    killed, survivors = 0, []
    for name, number, new_line in chosen:
        if killed + len(survivors) == arguments.count:
            break
        begin = time.monotonic()
        result = test_change(name, number, new_line)
        if result is None:
            continue
        text = f"{name}:{number + 1}: {new_line.strip()}"
        print(f"{'killed  ' if result else 'SURVIVED'} {time.monotonic() - begin:4.0f} s  {text}",
              flush=True)
        if result:
            killed += 1
        else:
            survivors.append(text)
    tried = killed + len(survivors)
    print(f"{killed} of {tried} changes were noticed ({100.0 * killed / max(tried, 1):.0f} %).")
    if survivors:
        print("No test has noticed:", *survivors, sep="\n    ")


if __name__ == "__main__":
    main()
