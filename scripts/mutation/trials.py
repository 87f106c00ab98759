"""Runs tests of a build, each in a process of its own, until one fails."""

import dataclasses
import json
import os
import pathlib
import resource
import shutil
import signal
import subprocess
import tempfile
import time

LARGEST_FILE = 1 << 30  # bytes; a change may write for ever
REACHED_BYTES = 65536


@dataclasses.dataclass
class Test:
    name: str
    command: list
    environment: dict
    directory: str
    seconds: float = 0
    reached: bytes = b""

    @property
    def program(self):
        return pathlib.PurePath(self.command[0]).name

    def reaches(self, number):
        return self.reached[number] != 0


def tests_of(build, programs):
    """The tests of these programs, as ctest lists them."""
    listed = json.loads(subprocess.run(["ctest", "--test-dir", str(build), "--show-only=json-v1"],
                                       check=True, capture_output=True, text=True).stdout)
    tests = []
    for entry in listed["tests"]:
        command = entry.get("command", [])
        if not command or pathlib.PurePath(command[0]).name not in programs:
            continue
        properties = {item["name"]: item["value"] for item in entry.get("properties", [])}
        environment = dict(line.split("=", 1) for line in properties.get("ENVIRONMENT", []))
        tests.append(Test(entry["name"], command, environment,
                          properties.get("WORKING_DIRECTORY", str(build))))
    return tests


def _limit_files():
    resource.setrlimit(resource.RLIMIT_FSIZE, (LARGEST_FILE, LARGEST_FILE))


def passes(test, variables, seconds):
    """Whether the test comes to a good end within the time. Leaves no process and no file."""
    directory = tempfile.mkdtemp(prefix="qvmutant.")
    process = subprocess.Popen(test.command, cwd=test.directory, start_new_session=True,
                               stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL, preexec_fn=_limit_files,
                               env={**os.environ, **test.environment, "TMPDIR": directory,
                                    **variables})
    try:
        return process.wait(seconds) == 0
    except subprocess.TimeoutExpired:
        return False
    finally:
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        process.wait()
        shutil.rmtree(directory, ignore_errors=True)


def measure(test):
    """Runs the test without any change; notes how long it takes and which changes it reaches.
    Returns whether it passes."""
    with tempfile.NamedTemporaryFile() as reached:
        reached.truncate(REACHED_BYTES)
        begin = time.monotonic()
        good = passes(test, {"QV_MUTANT_REACHED": reached.name}, 600)
        test.seconds = time.monotonic() - begin
        test.reached = pathlib.Path(reached.name).read_bytes()
    return good


def first_to_fail(tests, first_programs, variables):
    """The first test that notices, or None. Those of the first programs are asked first, and those
    that take more than a second last."""
    def order(test):
        return (test.seconds > 1, test.program not in first_programs, test.seconds)
    for test in sorted(tests, key=order):
        limit, begin = max(20.0, 20 * test.seconds), time.monotonic()
        if not passes(test, variables, limit):
            if time.monotonic() - begin < limit or not _is_slow_anyway(test, variables, limit):
                return test
    return None


def _is_slow_anyway(test, variables, limit):
    """Whether it was the machine that has made a test late: without a guard's change, it takes a
    fifth of the limit too."""
    return "QV_MUTANT" in variables and not passes(test, {}, limit / 5)
