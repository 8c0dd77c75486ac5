# SPDX-License-Identifier: Apache-2.0
"""Formats text, prototypes and comments for a manual page."""
import re
import textwrap

import headers


def breakable(text):
    """Allows breaks after underscores of long names, which can be wider than a terminal."""
    return re.sub(r"\w{30,}", lambda word: word.group(0).replace("_", "_\\:"), text)


def escape(text):
    return breakable(text.replace("\\", "\\e").replace("-", "\\-").replace("'", "\\(aq"))


def prose(text):
    """A paragraph; `code` becomes bold."""
    pieces = text.split("`")
    line = "".join("\\fB" + escape(piece) + "\\fP" if i % 2 else
                   breakable(piece.replace("\\", "\\e")) for i, piece in enumerate(pieces))
    return "\\&" + line if line[:1] in (".", "'") else line


def bold(text):
    return "\\fB" + escape(text) + "\\fP"


def fold(code, width=70):
    """A prototype as lines that fit on a terminal, broken between parameters."""
    code = " ".join(code.split())
    head, bracket, rest = code.partition("(")
    words = (head + bracket).replace(" ", "\0") + rest.replace(" ", "\0").replace(",\0", ", ")
    if len(head) > 40:
        words = words.replace("(", "( ", 1)
    lines = textwrap.wrap(words, width, subsequent_indent="    ", break_long_words=False,
                          break_on_hyphens=False)
    return [line.replace("( ", "(").replace("\0", " ") for line in lines]


def formatted_item(comment):
    """A comment of an entry in a list."""
    out = []
    for word, lines in headers.paragraphs([line.strip() for line in comment]):
        if out:
            out.append(".br")
        mark = f"\\fI{word}:\\fP " if word else ""
        out.append(mark + prose(" ".join(lines)))
    return out


def formatted(comment):
    """A comment as paragraphs; indented lines are a picture, or a list of two columns."""
    out = []
    run = []

    def flush():
        if run:
            out.extend([".PP", prose(" ".join(run))])
            run.clear()

    i = 0
    while i < len(comment):
        head = re.match(r"^( *)(\S+(?:,? \S+)*) {2,}(\S.*)$", comment[i])
        if comment[i].startswith("  ") or (head and i + 1 < len(comment) and
                                           comment[i + 1].startswith("  ")):
            flush()
            picture = []
            while i < len(comment) and (comment[i].startswith("  ") or
                                        re.match(r"\S+ {2,}\S", comment[i])):
                picture.append(comment[i])
                i += 1
            columns = [len(re.split(r" {2,}", line.strip())) for line in picture]
            out.extend(listed(picture) if max(columns) <= 2 else drawn(picture))
            continue
        if comment[i]:
            run.append(comment[i])
        else:
            flush()
        i += 1
    flush()
    return out


def drawn(picture):
    return [".PP", ".RS 4", ".nf"] + [prose(line) for line in textwrap.dedent(
        "\n".join(picture)).split("\n")] + [".fi", ".RE"]


def listed(picture):
    out = []
    for line in picture:
        row = re.match(r"^ *(\S+(?:,? \S+)*) {2,}(\S.*)$", line)
        if row:
            out.extend([".TP", bold(row.group(1)), prose(row.group(2))])
        else:
            out.append(prose(line.strip()))
    return out


class Page:
    def __init__(self, name, about, version):
        self.name = name
        self.lines = [
            ".\\\" SPDX-License-Identifier: Apache-2.0",
            ".\\\" Generated from the public headers: change those.",
            f".TH {escape(name)} 3 \"\" \"tarnbase {version}\" \"tarnbase\"",
            ".nh", ".ad l",
            ".SH NAME", f"{escape(name)} \\- {about}",
        ]

    def add(self, *lines):
        self.lines.extend(lines)

    def synopsis(self, includes, prototypes):
        self.add(".SH SYNOPSIS", ".nf")
        for include in includes:
            self.add(bold(f"#include <tarnbase/{include}>"))
        space = True
        for lines in prototypes:
            if lines is None:
                space = True
                continue
            self.add(*([".sp"] if space else []), *[bold(line) for line in lines])
            space = False
        self.add(".fi")

    def text(self):
        """The page; a paragraph directly after a heading needs no mark."""
        kept = [line for i, line in enumerate(self.lines)
                if line != ".PP" or not self.lines[i - 1].startswith((".SH", ".SS"))]
        return "\n".join(kept) + "\n"


def see_also(name):
    near = {"table": "record structure transaction", "structure": "object value table",
            "enumeration": "structure value", "store": "handle transaction",
            "handle": "store transaction", "transaction": "store handle",
            "runtime": "handle value", "value": "string structure", "string": "value",
            "record": "table object", "failure": "record table", "object": "descriptor structure"}
    chosen = near.get(name, "store handle").split()
    listed_pages = [f".BR tarnbase\\-{other} (3)," for other in sorted(chosen)]
    return [".SH SEE ALSO", ".BR tarnbase (3),"] + listed_pages + [".BR tarnbase (7)"]
