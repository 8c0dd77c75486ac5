# SPDX-License-Identifier: Apache-2.0
"""Parses the public headers, for the API reference and the manual pages.

A header is a sequence of parts. A comment documents the declarations that follow it, up
to the next comment or blank line. The first comment after the licence is the
file's; `/* ---- Stores ---- */` begins a section.
"""
import re

FIXED_WORDS = ("Requires", "Arguments", "Returns", "Errors", "Lifetime")

COMMENT = re.compile(r"/\*.*?\*/", re.S)
SECTION = re.compile(r"^-{4} (.+?) -+$")
CALL = re.compile(r"^(KEL_\w+)\((.*)\)$")


class Part:
    """A piece of a header. `kind` is one of blank, comment, section, file, directive,
    define, call and declaration; `comment` are the lines that document it."""

    def __init__(self, kind, lines):
        self.kind = kind
        self.lines = lines
        self.comment = None
        self.shared = False  # a part before this one has the same comment

    @property
    def text(self):
        return "\n".join(self.lines)


def comment_lines(text):
    """The text of a comment, line for line, without its marks."""
    inner = text.strip()[2:-2].strip("\n")
    lines = [re.sub(r"^\s*\* ?", "", line).rstrip() for line in inner.split("\n")]
    lines = [line.strip() if i == 0 else line for i, line in enumerate(lines)]
    while lines and not lines[0]:
        lines.pop(0)
    while lines and not lines[-1]:
        lines.pop()
    if lines:
        lines[-1] = lines[-1].rstrip()
    return lines


def _is_complete(text):
    code = COMMENT.sub("", text)
    if "/*" in code:
        return False
    depth = code.count("(") + code.count("{") - code.count(")") - code.count("}")
    return depth == 0 and code.rstrip().endswith(";")


def _take(lines, i):
    """The kind of the part at line `i`, and the line after it."""
    line = lines[i]
    if not line.strip():
        return "blank", i + 1
    if line.startswith("/*"):
        while "*/" not in lines[i]:
            i += 1
        return "comment", i + 1
    if line.startswith("#"):
        while lines[i].endswith("\\"):
            i += 1
        return ("define" if line.startswith("#define") else "directive"), i + 1
    if line in ("TARNBASE_BEGIN", "TARNBASE_END"):
        return "directive", i + 1
    if CALL.match(line):
        return "call", i + 1
    end = i + 1
    while end < len(lines) and not _is_complete("\n".join(lines[i:end])):
        end += 1
    return "declaration", end


def read(text):
    """The parts of a header; joined, their lines are the text."""
    lines = text.split("\n")
    parts = []
    i = 0
    while i < len(lines):
        kind, end = _take(lines, i)
        parts.append(Part(kind, lines[i:end]))
        i = end

    comment = None
    shared = False
    for number, part in enumerate(parts):
        if part.kind == "comment":
            comment, shared = comment_lines(part.text), False
            if len(comment) == 1 and SECTION.match(comment[0]):
                part.kind = "section"
                comment = None
            elif number + 1 < len(parts) and parts[number + 1].text.startswith("#ifndef"):
                part.kind = "file"
                comment = None
        elif part.kind == "blank":
            comment = None
        elif part.kind != "directive":
            part.comment, part.shared = comment, shared
            shared = True
    return parts


def read_file(path):
    with open(path, encoding="utf-8") as file:
        return read(file.read())


def section_name(part):
    return SECTION.match(comment_lines(part.text)[0]).group(1)


def file_comment(parts):
    for part in parts:
        if part.kind == "file":
            return comment_lines(part.text)
    return []


def declared_name(part):
    """The name that a declaration or a macro declares, or None."""
    code = " ".join(COMMENT.sub(" ", part.text).split())
    if part.kind == "define":
        return re.match(r"#define (\w+)", code).group(1)
    if part.kind != "declaration" or code.startswith("enum {"):
        return None
    structure = re.match(r"(?:typedef )?struct (\w+) \{", code)
    if structure:
        return structure.group(1)
    function = re.match(r"typedef .*?\(\*(\w+)\)\(", code)
    if function:
        return function.group(1)
    if code.startswith(("typedef", "struct")):
        return re.search(r"(\w+);$", code).group(1)
    variable = re.match(r"extern .*?(\w+)(\[.*)?;$", code)
    if variable:
        return variable.group(1)
    function = re.search(r"(\w+)\(", code)
    return function.group(1) if function else None


def members(part):
    """The members of a structure: (declaration, lines of comment)."""
    body = part.text[part.text.index("{") + 1:part.text.rindex("}")]
    found = []
    before = []
    statement = ""
    end_of_line = re.compile(r"[ \t]*(/\*.*?\*/)", re.S)
    position = 0
    while position < len(body):
        if body.startswith("/*", position):
            stop = body.index("*/", position) + 2
            if not statement.strip():
                before = comment_lines(body[position:stop])
            position = stop
            continue
        statement += body[position]
        position += 1
        words = " ".join(statement.split())
        if words == "KEL_OBJECT_HEADER" or (words.endswith(";") and
                                            words.count("{") == words.count("}")):
            after = end_of_line.match(body, position)
            lines = before
            if after:
                lines = before + comment_lines(after.group(1))
                position = after.end()
            found.append((words, [line.strip() for line in lines]))
            statement, before = "", []
    return found


def enumerators(part):
    """The enumerators of an enumeration: (`name = value`, lines of comment)."""
    found = re.findall(r"(\w+ = \w+),?[ \t]*(/\*.*?\*/)", part.text, re.S)
    return [(enumerator, comment_lines(comment)) for enumerator, comment in found]


def macros(parts):
    """The macros that expand to declarations: name to (parameters, declarations)."""
    found = {}
    for part in parts:
        if part.kind != "define":
            continue
        match = re.match(r"#define (KEL_\w+OPERATIONS|KEL_OBJECT_HEADER)(?:\((.*?)\))?\s*\\\n",
                         part.text)
        if match:
            body = part.text[match.end():].replace("\\\n", "\n").rstrip("\\")
            parameters = [p.strip() for p in (match.group(2) or "").split(",") if p.strip()]
            found[match.group(1)] = (parameters, body)
    return found


def expand(name, arguments, known):
    """The declarations that a call of one of `known` expands to."""
    parameters, body = known[name]
    given = dict(zip(parameters, arguments))
    body = re.sub(r"\b(%s)(?:##|\b)" % "|".join(parameters), lambda m: given[m.group(1)], body)
    declarations = []
    for statement in re.split(r"(?<=[;)])\s*\n", " ".join(body.split()).replace("; ", ";\n")):
        for piece in re.split(r" (?=KEL_\w+OPERATIONS\()", statement):
            piece = piece.strip()
            call = re.match(r"(KEL_\w+)\((.*)\)$", piece)
            if call and call.group(1) in known:
                inner = [a.strip() for a in call.group(2).split(",")]
                declarations += expand(call.group(1), inner, known)
            elif piece:
                declarations.append(piece)
    return declarations


def value_operations(comment):
    """The description of each operation in value.h's comment: name to lines."""
    found = {}
    names = []
    for line in comment:
        head = re.match(r"^  (\w+(?:, \w+)*)(?:\s{2,}(\S.*))?$", line)
        if head and not line.startswith("   "):
            names = head.group(1).split(", ")
            for name in names:
                found[name] = [head.group(2)] if head.group(2) else []
        elif line.startswith("      ") and names:
            for name in names:
                found[name].append(line.strip())
        else:
            names = []
    return found


def paragraphs(comment):
    """A comment as (word, lines) paragraphs; the word is a fixed one, or None."""
    result = []
    for line in comment:
        head = re.match(r"^(%s): (.*)$" % "|".join(FIXED_WORDS), line)
        if head:
            result.append((head.group(1), [head.group(2)]))
        elif not line:
            result.append((None, []))
        elif result:
            result[-1][1].append(line)
        else:
            result.append((None, [line]))
    return [(word, lines) for word, lines in result if lines]
