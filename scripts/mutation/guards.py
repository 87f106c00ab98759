"""Puts changes into one source text, each behind a question for its number, so that one build serves
for all of them:

    return size > limit;    becomes    if (QvMutantIs(7)) { return size >= limit; } else { ... }
    Write(begin, size + 1)  becomes    Write(begin, (QvMutantIs(8) ? (size - 1) : (size + 1)))

Where that cannot be, the body of the function is there twice:

    { ... }                 becomes    { if (QvMutantIs(9)) { ... } else { ... } }
"""

import dataclasses
import re

from mutation.changes import code_of, without_comments

OPENERS = {")": "(", "]": "[", "}": "{"}
CLOSERS = {opener: closer for closer, opener in OPENERS.items()}

# What asks. With QV_MUTANT_REACHED the numbers that are asked for are noted in that file, whatever
# becomes of the process. It makes no call that a test may have replaced.
HEADER = r"""#pragma once
#ifdef __cplusplus
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <cstdlib>
struct QvMutants {
    int chosen = 0;
    volatile char* reached = nullptr;
    QvMutants() {
        const char* const number = std::getenv("QV_MUTANT");
        chosen = number == nullptr ? 0 : std::atoi(number);
        const char* const path = std::getenv("QV_MUTANT_REACHED");
        if (path != nullptr) {
            const long file = syscall(SYS_openat, AT_FDCWD, path, O_RDWR | O_CLOEXEC, 0);
            const long begin = syscall(SYS_mmap, nullptr, 65536, PROT_READ | PROT_WRITE, MAP_SHARED,
                                       file, 0);
            reached = begin < 0 && begin > -4096 ? nullptr : reinterpret_cast<char*>(begin);
            syscall(SYS_close, file);
        }
    }
};
inline bool QvMutantIs(int number) {
    static const QvMutants mutants;
    if (mutants.reached != nullptr) {
        mutants.reached[number] = 1;
    }
    return mutants.chosen == number;
}
static const bool qv_mutants_are_ready = QvMutantIs(0);
#endif
"""


@dataclasses.dataclass(frozen=True)
class Place:
    """What a guard encloses: a statement or an expression; and a constexpr that has to go."""
    is_statement: bool
    begin: int
    end: int
    constexpr: tuple = None

    def overlaps(self, other):
        return self.begin < other.end and other.begin < self.end


def _unmatched_opener(code, position):
    depth = 0
    for i in range(position - 1, -1, -1):
        if code[i] in OPENERS:
            depth += 1
        elif code[i] in CLOSERS:
            if depth == 0:
                return i
            depth -= 1
    return None


def _next_at_depth_0(code, position, wanted):
    depth = 0
    for i in range(position, len(code)):
        if depth == 0 and code[i] in wanted:
            return i
        if code[i] in CLOSERS:
            depth += 1
        elif code[i] in OPENERS:
            depth -= 1
            if depth < 0:
                return i
    return len(code)


def _last_at_depth_0(code, position, first, wanted):
    depth = 0
    for i in range(position - 1, first - 1, -1):
        if depth == 0 and code[i] in wanted:
            return i + 1
        if code[i] in OPENERS:
            depth += 1
        elif code[i] in CLOSERS:
            depth -= 1
    return first


def _statement_begin(code, position):
    """Behind what ends the statement before."""
    depth = 0
    for i in range(position - 1, -1, -1):
        # Behind the brace of a value, as in size_t{64} * 1024, the line goes on.
        ends_value = code[i] == "}" and code[i + 1:position].split("\n")[0].strip()
        if code[i] in ")]" or ends_value:
            depth += 1
        elif code[i] in "([" or code[i] == "{" and depth > 0:
            depth -= 1
        elif depth <= 0 and code[i] in ";{}":
            begin = i + 1
            break
    else:
        begin = 0
    label = re.match(r"\s*(case [\w:]+|default|public|private|protected)\s*:(?!:)",
                     code[begin:position])
    return begin + label.end() if label else begin


def _constexpr_before(code, name, begin, end):
    match = re.search(r"\b(static )?constexpr\b", code[begin:end])
    if not match:
        return None
    inline = "static inline const" if name.endswith(".h") else "static const"
    return (begin + match.start(), begin + match.end(), inline if match.group(1) else "const")


def _expression(code, name, change, begin, end):
    assigned = None
    for match in re.finditer(r" [+-]?=\s", code[begin:change.begin]):
        assigned = begin + match.end()
    begin = assigned or begin
    begin += len(code[begin:change.begin]) - len(code[begin:change.begin].lstrip())
    end -= len(code[change.end:end]) - len(code[change.end:end].rstrip())
    statement = _statement_begin(code, begin)
    return Place(False, begin, end, _constexpr_before(code, name, statement, begin))


def place_of(code, change):
    """What a guard of this change has to enclose, or None where there is none."""
    opener = _unmatched_opener(code, change.begin)
    inside = ""
    if opener is not None:
        closer = _next_at_depth_0(code, opener + 1, "")
        inside = code[opener + 1:closer]
    # A block has statements; whatever else is enclosed has expressions.
    if opener is not None and (code[opener] != "{" or ";" not in inside):
        begin = _last_at_depth_0(code, change.begin, opener + 1, ",;")
        end = _next_at_depth_0(code, change.end, ",;")
        return _expression(code, change.name, change, begin, end)
    begin = _statement_begin(code, change.begin)
    end = _next_at_depth_0(code, change.begin, ";")
    if end >= len(code) or code[end] != ";":
        end = change.end - 1  # a statement that is left out, with its semicolon
    before = code[begin:change.begin]
    if re.search(r" =\s", before) and not before.lstrip().startswith("return"):
        return _expression(code, change.name, change, begin, end)
    begin += len(code[begin:end]) - len(code[begin:end].lstrip())
    return Place(True, begin, end + 1)


def function_around(code, begin, end):
    """Where the body of the function that encloses the text begins and ends, or None."""
    body, position = None, begin
    while (opener := _unmatched_opener(code, position)) is not None:
        position = opener
        if code[opener] == "{":
            head = code[_statement_begin(code, opener):opener]
            is_function = re.search(r"\)\s*(const|noexcept|override|\s)*$", head)
            if re.match(r"\s*(namespace|extern|class|struct|enum|union)\b", head) and not is_function:
                break
            body = opener, head
    if body is None or ")" not in body[1] or re.search(r"=\s*$|\bconstexpr\b", body[1]):
        return None
    closer = _next_at_depth_0(code, body[0] + 1, "")
    return (body[0], closer + 1) if end <= closer else None


def _changed(source, begin, end, change):
    """That piece with the change, on one line, so that the lines behind it keep their numbers."""
    def piece(first, last):
        return re.sub(r"\b__LINE__\b",
                      lambda match: str(source.count("\n", 0, first + match.start()) + 1),
                      source[first:last])
    text = piece(begin, change.begin) + change.replacement + piece(change.end, end)
    return " ".join(text.split("\n"))


def _guarded(place, source, changes):
    """`changes` are pairs of a number and a change, all within the place."""
    def changed(change):
        return _changed(source, place.begin, place.end, change)
    original = source[place.begin:place.end]
    if place.is_statement:
        cases = " else ".join(f"if (QvMutantIs({number})) {{ {changed(change)} }}"
                              for number, change in changes)
        return f"{{ {cases} else {{ {original} }} }}"
    cases = "".join(f"QvMutantIs({number}) ? ({changed(change)}) : " for number, change in changes)
    return f"({cases}({original}))"


class GuardedFile:
    """A source file and those of its changes that stand behind guards."""

    def __init__(self, name, text):
        self.name, self.text = name, text
        self.source = without_comments(text)
        self.code = code_of(text)
        self.places = {}     # around a statement or an expression
        self.functions = {}  # around the body of a function

    def add(self, number, change, refused=frozenset()):
        """False where no guard can be put. `refused`: what drop has returned for this change."""
        return ("place" not in refused and self._add_place(number, change) or
                "function" not in refused and self._add_function(number, change))

    def _add_place(self, number, change):
        place = place_of(self.code, change)
        if place.begin > change.begin or place.end < change.end:
            return False
        if any(place.overlaps(other) and place != other for other in self.places):
            return False
        self.places.setdefault(place, []).append((number, change))
        return True

    def _add_function(self, number, change):
        body = function_around(self.code, change.begin, change.end)
        if body is None or re.search(r"^\s*#", self.source[slice(*body)], re.MULTILINE):
            return False
        self.functions.setdefault(body, []).append((number, change))
        return True

    def drop(self, line):
        """Takes away the guards that touch a line, or those around a function whose copies stand
        there, or else those in the function: one of them has hidden a name. Returns the numbers of
        their changes, each with the kind of its guard."""
        begin, end = self._offset(line), self._offset(line + 1)
        places = [place for place in self.places if place.begin < end and begin <= place.end]
        bodies = [body for body in self.functions if begin <= body[0] < end and not places]
        if not places and not bodies:
            first, last = function_around(self.code, begin, begin) or (0, 0)
            places = [place for place in self.places if first <= place.begin < last]
        return ([(number, "place") for place in places for number, _ in self.places.pop(place)] +
                [(number, "function") for body in bodies for number, _ in self.functions.pop(body)])

    def _offset(self, line):
        """Where that line begins, counted from 1."""
        return sum(len(text) for text in self.text.splitlines(keepends=True)[:line - 1])

    def guarded(self):
        """The numbers of the changes that have a guard."""
        return {number for changes in [*self.places.values(), *self.functions.values()]
                for number, _ in changes}

    def with_guards(self, plain=None):
        """The text with all guards. With `plain`, a change that is made for good, those that
        overlap it are left out."""
        def is_apart(begin, end):
            return plain is None or end <= plain.begin or plain.end <= begin
        edits = set()
        for place, changes in self.places.items():
            if is_apart(place.begin, place.end):
                edits.add((place.begin, place.end, _guarded(place, self.source, changes)))
                if place.constexpr:
                    edits.add(place.constexpr)
        for (begin, end), changes in self.functions.items():
            if is_apart(begin, end):
                cases = "".join(f"if (QvMutantIs({number})) "
                                f"{_changed(self.source, begin, end, change)} else "
                                for number, change in changes)
                edits.update([(begin, begin, "{ " + cases), (end, end, " }")])
        if plain is not None:
            edits.add((plain.begin, plain.end, plain.replacement))
        text = self.text
        for begin, end, replacement in sorted(edits, reverse=True):
            text = text[:begin] + replacement + text[end:]
        return text
