#!/usr/bin/env python3
"""Reports which lines and branches of src/ the tests have reached, and compares the lines that they
have not with those that tests/uncovered.txt explains:

    scripts/coverage.py BUILD_DIRECTORY

Fails when fewer than 97 % of the lines are reached, when a line is not reached and not explained, and
when a line is explained and reached. test.sh --coverage builds and runs the tests before.
"""

import collections
import json
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
EXPLAINED = ROOT / "tests" / "uncovered.txt"
LEAST = 97.0


def measure(build):
    """What gcovr says about each file: its lines with their branches."""
    command = ["gcovr", "--root", str(ROOT), "--filter", "src/", "--gcov-ignore-parse-errors",
               "--exclude-unreachable-branches", "--exclude-throw-branches", "--json", "-",
               str(build)]
    return json.loads(subprocess.run(command, check=True, cwd=ROOT,
                                     stdout=subprocess.PIPE).stdout)["files"]


def explained():
    """The lines that need not be reached as (path, text), how often each, and which of them are
    reached in some runs only."""
    lines, sometimes = collections.Counter(), set()
    for number, line in enumerate(EXPLAINED.read_text().splitlines(), 1):
        if not line.strip() or line.startswith("#"):
            continue
        path, separator, text = line.partition(": ")
        if not separator:
            sys.exit(f"{EXPLAINED.name}:{number}: not of the form 'path: text of the line'")
        key = (path.removeprefix("? "), text.strip())
        lines[key] += 1
        if path.startswith("? "):
            sometimes.add(key)
    return lines, sometimes


def summarise(files):
    """Prints the figures; returns the lines that were not reached, and the percentage of those that
    were."""
    missed, lines, branches, taken = [], 0, 0, 0
    for file in files:
        texts = (ROOT / file["file"]).read_text().splitlines()
        counted = [line for line in file["lines"] if not line.get("gcovr/noncode")]
        lines += len(counted)
        for line in counted:
            branches += len(line["branches"])
            taken += sum(branch["count"] > 0 for branch in line["branches"])
            if line["count"] == 0:
                number = line["line_number"]
                missed.append((file["file"], texts[number - 1].strip(), number))
    percentage = 100.0 * (lines - len(missed)) / max(lines, 1)
    print(f"Lines: {lines - len(missed)} of {lines} ({percentage:.1f} %). "
          f"Branches: {taken} of {branches} ({100.0 * taken / max(branches, 1):.1f} %).")
    return missed, percentage


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    files = measure(pathlib.Path(sys.argv[1]).resolve())
    if not files:
        sys.exit("coverage.py: no line of src/ was counted")
    missed, percentage = summarise(files)
    expected, sometimes = explained()
    complaints = []
    if percentage < LEAST:
        complaints.append(f"fewer than {LEAST} % of the lines were reached")
    for path, text, number in missed:
        if expected[(path, text)] > 0:
            expected[(path, text)] -= 1
        else:
            complaints.append(f"{path}:{number} was not reached: {text}")
    for (path, text), count in expected.items():
        if count > 0 and (path, text) not in sometimes:
            complaints.append(f"{path}: reached or gone, but in {EXPLAINED.name}: {text}")
    for complaint in complaints:
        print(complaint, file=sys.stderr)
    sys.exit(1 if complaints else 0)


if __name__ == "__main__":
    main()
