#!/usr/bin/env python3
"""Runs the static checks (clang-tidy, rules in .clang-tidy) on source files:

    scripts/tidy.py BUILD_DIRECTORY FILE...

BUILD_DIRECTORY is a configured build, for its compile commands; FILE is relative to the root of the
tree. Headers are checked with the files that include them. A file that has passed is not checked
again before it, a header or a rule changes.

Most of the time goes into the headers of the system and of the libraries. So files that are compiled
alike are checked together, as one unit that includes them. Files that do not compile together,
because both have a name for themselves, are checked apart; the compiler says so in a tenth of the time
that a check takes.

In a unit, clang-tidy does not look for names that a file declares and does not use; this program does.
"""
import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FILES_IN_A_UNIT = 30


def arguments_of(command):
    """What a compilation's command says about the meaning of the file: not where the result goes, how
    fast it is, or which library it becomes part of."""
    words = shlex.split(command)
    kept = []
    for word, before in zip(words[1:], words):
        if before == '-isystem':
            kept.append(before + word)
        elif re.match(r'-(D(?!\w+_EXPORTS$)|U|I|std=|isystem.|pthread)', word):
            kept.append(word)
    return ('-O2', *kept)


def files_of(path):
    """The files that a compilation is about: those that are compiled together, or the file itself."""
    if '/Unity/' not in path:
        return [path]
    return re.findall(r'^#include "(.+)"$', pathlib.Path(path).read_text(), re.M)


def arguments_by_file(build):
    """The arguments of each source file: those of all files in its folder of the tree's first level, or
    in one that builds on that, so that they can be checked together. Nothing there means two things.
    Of a file that several programs compile, the first one counts."""
    folders = {}
    arguments = {}
    for entry in json.loads((build / 'compile_commands.json').read_text()):
        for path in files_of(os.path.normpath(os.path.join(entry['directory'], entry['file']))):
            if path in arguments:
                continue
            folder = folders.setdefault(os.path.relpath(path, ROOT).split(os.sep)[0], {})
            folder.update(dict.fromkeys(arguments_of(entry['command'])))
            arguments[path] = folder
    def widest(folder):
        return tuple(max((other for other in folders.values() if folder.keys() <= other.keys()), key=len))
    return {path: widest(folder) for path, folder in arguments.items()}


def reads_command_lines(path):
    """Whether a file includes the library for that. One of the checks goes through the whole unit for
    each function of that library that takes a string, so the unit should be small."""
    return '#include <CLI/CLI.hpp>' in (ROOT / path).read_text()


def unused_names(path):
    """Where a file declares an alias of a namespace, or a name of another one, that it does not use."""
    text = (ROOT / path).read_text()
    code = re.sub(r"'(?:\\.|[^'\\\n])'|//.*|/\*.*?\*/|\"(?:\\.|[^\"\\\n])*\"", '', text)
    names = re.findall(r'^ *(?:using [\w:]*::(\w+);|namespace (\w+) =)', code, re.M)
    return [f'{path}: nothing uses the name {name} that it declares [unused-name]'
            for name in map(''.join, names) if len(re.findall(rf'\b{name}\b', code)) == 1]


class Checker:
    def __init__(self, build, files):
        self.build = build
        self.stamps = build / 'lint'
        self.units = build / 'lint' / 'units'
        self.units.mkdir(parents=True, exist_ok=True)
        self.arguments = arguments_by_file(build)
        headers = sorted(path for path in files if path.endswith('.h'))
        common = hashlib.sha256()
        for path in [ROOT / '.clang-tidy', pathlib.Path(__file__), *(ROOT / header for header in headers)]:
            common.update(path.read_bytes())
        self.common = common.digest()

    def stamp(self, path):
        key = hashlib.sha256(self.common + path.encode() + (ROOT / path).read_bytes())
        return self.stamps / key.hexdigest()[:40]

    def make_units(self, paths):
        groups = {}
        for path in paths:
            key = (self.arguments[str(ROOT / path)], reads_command_lines(path))
            groups.setdefault(key, []).append(path)
        units = []
        for group in groups.values():
            count = -(-len(group) // FILES_IN_A_UNIT)
            size = -(-len(group) // count)
            units += [group[i:i + size] for i in range(0, len(group), size)]
        return sorted(units, key=len, reverse=True)

    def source_of(self, unit):
        """What is compiled: the file, or one that includes all those of the unit."""
        if len(unit) == 1:
            return ROOT / unit[0]
        name = hashlib.sha256('\n'.join(unit).encode()).hexdigest()[:16]
        # The analyzer follows the paths through included files when the unit has such a name.
        source = self.units / f'UnifiedSource-{name}.cpp'
        source.write_text(''.join(
            f'#include "{ROOT / path}"  // NOLINT(bugprone-suspicious-include)\n' for path in unit))
        return source

    def run(self, command, unit, *more):
        return subprocess.run(
            [*command, str(self.source_of(unit)), *more, *self.arguments[str(ROOT / unit[0])]],
            cwd=self.build, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False)

    def apart(self, unit):
        """The files of a unit in parts that compile, without names that stand in each other's way."""
        if len(unit) == 1:
            return [unit]
        messages = self.run(['clang++', '-fsyntax-only', '-ferror-limit=0'], unit).stderr
        named = set(re.findall(r'^(/[^:]+):\d+:\d+: (?:fatal )?error: ', messages, re.M))
        if not named:
            return [unit]
        named = [path for path in unit if str(ROOT / path) in named]
        rest = [path for path in unit if path not in named]
        parts = [rest, named] if rest and named else [[path] for path in unit]
        return [compiling for part in parts for compiling in self.apart(part)]

    def check(self, unit):
        """Whether all files of the unit pass. Prints what is wrong with those that do not."""
        done = self.run(['clang-tidy', '--quiet', f'--config-file={ROOT / ".clang-tidy"}'], unit, '--')
        if done.returncode != 0:
            print(done.stdout or f'clang-tidy failed on {" ".join(unit)}: {done.stderr}')
            return False
        for path in unit:
            self.stamp(path).touch()
        return True


def main():
    if len(sys.argv) < 3:
        sys.exit('usage: scripts/tidy.py BUILD_DIRECTORY FILE...')
    checker = Checker(pathlib.Path(sys.argv[1]).resolve(), sys.argv[2:])
    sources = [path for path in sys.argv[2:] if path.endswith('.cpp')]
    for path in sources:
        if str(ROOT / path) not in checker.arguments:
            sys.exit(f'tidy.py: {sys.argv[1]} compiles no {path}')
    pending = [path for path in sources if not checker.stamp(path).exists()]
    unused = sum(map(unused_names, sources), [])
    print(*unused, sep='\n', end='\n' if unused else '')
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        units = [part for parts in pool.map(checker.apart, checker.make_units(pending)) for part in parts]
        passed = list(pool.map(checker.check, sorted(units, key=len, reverse=True)))
    if unused or not all(passed):
        sys.exit('tidy.py: static checks failed')
    print(f'Static checks: {len(pending)} files checked, all pass.')


main()
