# SPDX-License-Identifier: Apache-2.0
"""The declarations of a header, as the parts of a manual page."""
import re

import headers
from roff import bold, fold, formatted, formatted_item, prose


def prototype(part):
    code = headers.COMMENT.sub("", part.text).replace("TARNBASE_API ", "")
    return re.sub(r"\s*TARNBASE_PRINTF\(.*?\)", "", " ".join(code.split()))


def is_function(part):
    code = part.text
    return part.kind == "declaration" and not code.startswith(("typedef", "struct", "enum"))


def selection(parts, section):
    """The parts of one section of a header, or all."""
    if section is None:
        return parts
    chosen = []
    inside = False
    for part in parts:
        if part.kind == "section":
            inside = headers.section_name(part) == section
        elif inside:
            chosen.append(part)
    return chosen


def entries(parts):
    """Functions and data in order, grouped by their common comment."""
    groups = []
    for part in parts:
        if part.kind == "section":
            groups.append((headers.section_name(part), None))
        elif is_function(part):
            if part.shared and groups and groups[-1][1]:
                groups[-1][1].append(part)
            else:
                groups.append((part.comment or [], [part]))
    return groups


def constants(parts):
    out = []
    shared = None
    for part in parts:
        if part.kind != "define" or "\n" in part.text:
            continue
        match = re.match(r"#define (\w+) (\S.*?)\s*(/\*.*\*/)?$", part.text)
        if not match:
            continue
        name, value, own = match.groups()
        lines = headers.comment_lines(own) if own else []
        if part.comment and part.comment is not shared:
            shared = part.comment
            if len(lines) == 0 and not part.shared:
                lines = part.comment
            else:
                out.extend([".PP", prose(" ".join(part.comment))])
        out.extend([".TP", bold(f"{name} {value}"), prose(" ".join(lines))])
    return out


def types(parts):
    out = []
    for part in parts:
        if part.kind != "declaration" or is_function(part):
            continue
        name = headers.declared_name(part)
        if part.text.startswith("typedef enum"):
            out.append(f".SS enum {name}")
            out.extend(formatted(part.comment or []))
            for enumerator, lines in headers.enumerators(part):
                out.extend([".TP", bold(enumerator), prose(" ".join(lines))])
        elif "{" in part.text:
            out.append(f".SS struct {name}")
            out.extend(formatted(part.comment or []))
            for declaration, lines in headers.members(part):
                declaration = re.sub(r"union \{.*\} ", "union { ... } ", declaration)
                if declaration == "KEL_OBJECT_HEADER":
                    lines = ["descriptor, variant, created_variant and flags; see "
                             "tarnbase-object(3)"]
                out.extend([".TP", bold(declaration), prose(" ".join(lines))])
        elif "(*" in part.text:
            out.extend([".PP", ".nf"] + [bold(line) for line in fold(prototype(part))] + [".fi"])
            out.extend([".RS 4"] + formatted_item(part.comment or []) + [".RE"])
        elif part.comment:
            out.append(f".SS struct {name}")
            out.extend(formatted_item(part.comment))
    return out


def functions(groups, rename=lambda text: text, starts=None):
    """Each function with its comment; `starts` maps a name to the heading before it."""
    out = []
    for comment, group in groups:
        if group is None:
            out.append(f".SS {comment}")
            continue
        names = [rename(headers.declared_name(part)) for part in group]
        if starts and names[0] in starts:
            out.append(f".SS {starts[names[0]]}")
        twin = names[0] + "_unsafe" in names
        shown = [name for name in names if not name.endswith("_unsafe")]
        for i, name in enumerate(shown):
            out.extend([".TP" if i == 0 else ".TQ",
                        bold(name) + (", " + bold("..._unsafe") if twin else "")])
        out.extend(formatted_item([rename(line) for line in comment]))
    return out
