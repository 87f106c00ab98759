#!/usr/bin/env python3
"""Checks that each test that a document names exists. A name has the form `Subject.Sentence`."""
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
NAME = r"[A-Z]\w*\.[A-Z]\w*"


def files(*patterns):
    listed = subprocess.run(["git", "ls-files", "--", *patterns], cwd=ROOT, check=True,
                            capture_output=True, text=True).stdout
    return [ROOT / name for name in listed.splitlines()]


def tests():
    """The names of all tests, without the values of those that have parameters."""
    names = set()
    for path in files("tests/*.cpp", "tests/*.h"):
        for match in re.finditer(r"\bTEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", path.read_text()):
            names.add(".".join(match.groups()))
    for path in files("tests/*CMakeLists.txt"):
        names.update(re.findall(rf"\bNAME ({NAME})", path.read_text()))
    return names


def main():
    existing = tests()
    named = 0
    missing = []
    for path in files("*.md"):
        for number, line in enumerate(path.read_text().splitlines(), 1):
            for name in re.findall(rf"`({NAME})`", line):
                named += 1
                if name not in existing:
                    missing.append(f"{path.relative_to(ROOT)}:{number}: there is no test {name}")
    if missing:
        sys.exit("testnames.py: " + "\ntestnames.py: ".join(missing))
    print(f"Tests: all {named} that documents name exist.")


if __name__ == "__main__":
    main()
