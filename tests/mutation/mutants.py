# SPDX-License-Identifier: Apache-2.0
"""Finds the places of a C++ source that can be changed, one small change each."""

import re
import sys
from dataclasses import dataclass


@dataclass(frozen=True)
class Mutant:
    """One changed place: lines [first, first + len(before)) of a file become `after`."""

    file: str
    first: int  # counted from 0
    kind: str
    before: tuple
    after: tuple
    fault: str = ""  # what is wrong, of one in a list

    def key(self):
        """Identifies the mutant as long as its lines and the change are the same."""
        if self.fault:
            return "%s: %s" % (self.file, self.fault)
        return "%s | %s | %s -> %s" % (
            self.file,
            self.kind,
            " / ".join(line.strip() for line in self.before),
            " / ".join(line.strip() for line in self.after) or "(gone)",
        )


# An operator is replaced by a similar one: the pattern's group 1 is replaced.
EXCHANGES = [
    ("comparison", r"(==)", "!="),
    ("comparison", r"(!=)", "=="),
    ("comparison", r"(?<= )(<=)(?= )", "<"),
    ("comparison", r"(?<= )(>=)(?= )", ">"),
    ("comparison", r"(?<= )(<)(?= )", "<="),
    ("comparison", r"(?<= )(>)(?= )", ">="),
    ("logic", r"(&&)", "||"),
    ("logic", r"(\|\|)", "&&"),
    ("logic", r"(?<=\()(!)(?=\w)", ""),
    ("logic", r"\breturn (true);", "false"),
    ("logic", r"\breturn (false);", "true"),
    ("arithmetic", r"(?<= )(\+)(?= )", "-"),
    ("arithmetic", r"(?<= )(-)(?= )", "+"),
    ("arithmetic", r"(\+=)", "-="),
    ("arithmetic", r"(-=)", "+="),
    ("arithmetic", r"(?<= )(\*)(?= )", "+"),
    ("bits", r"(?<=\w )(&)(?= [\w(~])", "|"),
    ("bits", r"(?<=\w )(\|)(?= [\w(~])", "&"),
    ("bits", r"(\|=)", "&="),
    ("bits", r"(~)(?=\w)", ""),
]

ERRORS = [
    "ENOENT", "E2BIG", "EAGAIN", "ENOMEM", "EFAULT", "EEXIST", "EINVAL", "EIDRM", "EMSGSIZE",
]

NUMBER = re.compile(r"(?<![\w.\"'])(0x[0-9a-fA-F]+|\d+)([uUlL]*)(?![\w.\"'])")
CALL = re.compile(r"^ +[\w:.>\-]+\(.*\);$")
STORE = re.compile(r"^ +((call\.)?logged_store\(.*\);|[\w>*.\-\[\]]+ (\||&|\+|-)?= .*;|(\+\+|--)[\w>.\-]+;)$")
NOT_CODE = re.compile(r"^\s*(//|/\*|\*|#|using |static_assert|namespace|template|extern|\[\[)")


def blank_out(line):
    """The line with strings and comments replaced by spaces, so that columns don't change."""
    line = re.sub(r'"(\\.|[^"\\])*"', lambda m: '"' + " " * (len(m.group()) - 2) + '"', line)
    line = re.sub(r"'(\\.|[^'\\])'", lambda m: "'" + " " * (len(m.group()) - 2) + "'", line)
    return re.sub(r"//.*$", lambda m: " " * len(m.group()), line)


def with_replaced(line, match, text):
    return line[: match.start(1)] + text + line[match.end(1):]


def other_error(name):
    return ERRORS[(ERRORS.index(name) + 1) % len(ERRORS)]


def mutants_of_line(file, number, line):
    code = blank_out(line)
    for kind, pattern, text in EXCHANGES:
        for match in re.finditer(pattern, code):
            yield Mutant(file, number, kind, (line,), (with_replaced(line, match, text),))
    for match in NUMBER.finditer(code):
        value = int(match.group(1), 0)
        yield Mutant(file, number, "constant", (line,), (with_replaced(line, match, str(value + 1)),))
    for match in re.finditer(r"\b(E[A-Z0-9]+)\b", code):
        if match.group(1) in ERRORS:
            text = other_error(match.group(1))
            yield Mutant(file, number, "error code", (line,), (with_replaced(line, match, text),))
    if CALL.match(code) and not code.lstrip().startswith("return"):
        yield Mutant(file, number, "statement", (line,), ())
    elif STORE.match(code):
        yield Mutant(file, number, "statement", (line,), ())


def mutants_of(file, text):
    """All mutants of a file's text, in the order of its lines."""
    lines = text.split("\n")
    for number, line in enumerate(lines):
        if NOT_CODE.match(line) or not line.strip():
            continue
        yield from mutants_of_line(file, number, line)
        following = lines[number + 1] if number + 1 < len(lines) else ""
        if STORE.match(blank_out(line)) and STORE.match(blank_out(following)):
            yield Mutant(file, number, "order", (line, following), (following, line))


def pattern_of(lines):
    """Matches the lines wherever they are broken and however they are indented."""
    tokens = " ".join(lines).split()
    return re.compile(r"\s+".join(re.escape(token) for token in tokens))


def fault_of(heading, entry, root):
    """The mutant of an entry of a list of faults. Raises ValueError if its lines are gone."""
    name, _, fault = heading.partition(": ")
    file = "runtime/" + name
    old = [line[2:] for line in entry if line.startswith("- ")]
    new = [line[2:] for line in entry if line.startswith("+")]
    text = (root / file).read_text()
    found = list(pattern_of(old).finditer(text))
    if len(found) != 1:
        raise ValueError("%s: its lines occur %d times" % (heading, len(found)))
    begin = text.rfind("\n", 0, found[0].start()) + 1
    end = text.find("\n", found[0].end())
    after = text[begin:found[0].start()] + "\n".join(new) + text[found[0].end():end]
    return Mutant(file, text.count("\n", 0, begin), "fault", tuple(text[begin:end].split("\n")),
                  tuple(after.split("\n")), fault)


def faults_of(file, root):
    """The mutants of a list: entries with an empty line between them. Names those that are gone."""
    entries = [entry.split("\n") for entry in file.read_text().strip().split("\n\n")]
    found = []
    for lines in entries:
        if lines[0].startswith("#"):
            continue
        try:
            found.append(fault_of(lines[0], lines[1:], root))
        except ValueError as error:
            print(error, file=sys.stderr)
    return found


def applied(mutant, text):
    lines = text.split("\n")
    end = mutant.first + len(mutant.before)
    if tuple(lines[mutant.first:end]) != mutant.before:
        raise ValueError("the file has changed: " + mutant.key())
    return "\n".join(lines[: mutant.first] + list(mutant.after) + lines[end:])
