"""Which changes of a source file are possible."""

import dataclasses
import re

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
COMMENT = r"//.*"
# A mark between digits, as in 1'000, begins no character.
TEXT = r'"(\\.|[^"\\])*"|(?<!\w)\'(\\.|[^\'\\])+\''


@dataclasses.dataclass(frozen=True)
class Change:
    """A piece of a file's text, by its offsets, and what takes its place."""
    name: str
    begin: int
    end: int
    replacement: str
    line: int
    new_line: str

    def __str__(self):
        return f"{self.name}:{self.line}: {self.new_line.strip()}"


def _blank(match):
    return " " * len(match.group())


def without_comments(text):
    """The text with its comments as spaces, offsets unchanged."""
    def keep_texts(match):
        return _blank(match) if match.group().startswith("//") else match.group()
    return re.sub(f"{TEXT}|{COMMENT}", keep_texts, text)


def code_of(text):
    """The text with all that is comment, text, annotation or for the compiler alone as spaces."""
    text = re.sub(TEXT, _blank, without_comments(text))
    text = re.sub(r"template <.*", _blank, text)
    text = re.sub(r"__attribute__ *\(\(.*\)\)", _blank, text)
    return re.sub(r"^[ \t]*(#|static_assert).*", _blank, text, flags=re.MULTILINE)


def changes_of(name, text):
    """All changes of one file, from its beginning to its end."""
    found, offset = [], 0
    whole = code_of(text)
    lines = text.split("\n")
    for number, (line, code) in enumerate(zip(lines, whole.split("\n")), 1):
        def add(begin, end, replacement):
            found.append(Change(name, offset + begin, offset + end, replacement, number,
                                line[:begin] + replacement + line[end:]))
        for pattern, replacements in CHANGES:
            for match in re.finditer(pattern, code):
                for replacement in replacements:
                    if replacement == "next":
                        replacement = str(int(match.group()) + 1)
                    add(match.start(), match.end(), replacement)
        # Other lines end in the middle of the statement that this one goes on with.
        if STATEMENT.match(code) and re.search(r"([;{}):]|else)\s*$", whole[:offset]):
            begin = len(line) - len(line.lstrip())
            found.append(Change(name, offset + begin, offset + len(line.rstrip()), "{}", number,
                                "without " + line.strip()))
        offset += len(line) + 1
    return found
