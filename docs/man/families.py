# SPDX-License-Identifier: Apache-2.0
"""The pages generated from the schema: a family's operations, and one for each item."""
import os
import re

import headers
from entries import entries, functions, prototype
from roff import Page, bold, fold, formatted, prose, see_also

# Title, and the name of the section's first operation.
TABLE_SECTIONS = [
    ("Opening, counting, closing", r"_table_open$"),
    ("Records and their objects", r"_create_record$"),
    ("The key index", r"_avl_compare$"),
    ("Searching", r"_search$"),
    ("Steps in key order", r"_get_first$"),
    ("Steps from a key", r"_get_next_by_key$"),
    ("Walks", r"_walk$"),
    ("Delivering events", r"_table_record_create_cb$"),
    ("Keys as text and on the wire", r"_pkey_print$"),
    ("Text, XML and wire", r"_table_record_print$"),
    ("Handling events", r"_table_record_create_handler$"),
]

STRUCTURE_SECTIONS = [
    ("Creating and destroying", r"_create$"),
    ("Variants, marks and state", r"_is_valid_cr$"),
    ("Access, order and hash", r"_get$"),
    ("Wire", r"_marshal$"),
    ("Copies", r"_clone$"),
    ("Text and XML", r"_print$"),
    ("A field", r"_<field>_get$"),
    ("An array", r"_<array>_get$"),
]

ENUMERATION_SECTIONS = [
    ("Creating and destroying", r"_create$"),
    ("Values", r"_map_to_user_value$"),
    ("Wire, marks, text and XML", r"_marshal$"),
]


def headings(names, sections):
    """The first operation of each section: its name to the section's title."""
    found = {}
    for title, pattern in sections:
        first = next((name for name in names if re.search(pattern, name)), None)
        if first:
            found[first] = title
    return found


def prototypes(groups, starts, rename=lambda text: text):
    """The prototypes of a synopsis, without `_unsafe` forms, which have the same parameters."""
    shown = []
    for _, group in groups:
        if rename(headers.declared_name(group[0])) in starts:
            shown.append(None)
        for part in group:
            if not headers.declared_name(part).endswith("_unsafe"):
                shown.append(fold(rename(prototype(part))))
    return shown


def declarations(path, keep=lambda name: True):
    """The functions and data of a header in groups, those for whose first name `keep` is true."""
    return [group for group in entries(headers.read_file(path))
            if group[1] and keep(headers.declared_name(group[1][0]))]


def family_page(name, about, intro, path, renames, sections, keep, version, more=()):
    """A family's page, from the headers of one item; `more` adds fields of another one."""
    def rename(text):
        for pattern, replacement in renames:
            text = re.sub(pattern, replacement, text)
        return text

    page = Page("tarnbase-" + name, about, version)
    groups = []
    for source, chosen in [(path, keep)] + list(more):
        groups += declarations(source, chosen)
    starts = headings([rename(headers.declared_name(group[0])) for _, group in groups], sections)
    page.synopsis(["tarnbase.h"], prototypes(groups, starts, rename))
    page.add(".SH DESCRIPTION")
    for paragraph in intro:
        page.add(".PP", prose(paragraph))
    page.add(".SH FUNCTIONS", *functions(groups, rename, starts))
    page.add(*see_also(name))
    return page


TABLE_INTRO = [
    "Every table of the schema has these operations, exported under its own name: "
    "`<table>` is a table, `<type>` the structure of its records' objects and `<key>` "
    "the field of it that is the key. `<key type>` is the C type of a key argument: "
    "`kel_vstring`, `ip_address`, or `uint32_t` for integers and enumerations.",
    "A table with a key structure `<ktype>` has `<ktype>_` in place of `<type>_<key>` in "
    "these names (`<table>_<ktype>__search`), takes a `<ktype> *` as the key, and has "
    "`<table>_<ktype>_get_field`, `_get_field_detach`, `_set_field` and "
    "`_free_and_set_field` for the key object in addition to those of `<type>`.",
    "An operation marked with `..._unsafe` has a second form of that name, with the "
    "same arguments and the same behaviour; the table's vector contains this form.",
]

STRUCTURE_INTRO = [
    "Every structure of the schema has these operations, exported under its own name: "
    "`<type>` is a structure, `<field>` one of its fields, shown as a `u_int32`, and "
    "`<array>` an array of `u_int8`. Its header begins with the fields and their meaning.",
    "Integers, `kel_boolean` and enumerations have all operations of a field; strings, "
    "addresses and structures have `_get`, `_set` and those of the state flag. An "
    "array has N elements. "
    "`_get_all` and `_set_all` take a parameter for each field with a plain value.",
]

ENUMERATION_INTRO = [
    "Every enumeration of the schema has these operations, exported under its own name, "
    "and its header declares an enumerator for each user value. An object of an "
    "enumeration holds the user value; the wire form has the internal one, which "
    "starts at 0.",
]


def families(generated, version):
    table = os.path.join(generated, "tables", "tbl_ldap_conn.h")
    structure = os.path.join(generated, "types", "st_ldap_conn.h")
    fields = os.path.join(generated, "types", "st_aaa_servers.h")
    enumeration = os.path.join(generated, "enums", "auth_state.h")
    everything = lambda name: True
    type_renames = [(r"st_ldap_conn|st_aaa_servers", "<type>"), (r"duration", "<field>"),
                    (r"\bminute\b|(?<=_)minute(?=_)", "<array>"),
                    (r"uint32_t \*num_conns", "uint32_t *<field>, ..."),
                    (r"uint32_t num_conns", "uint32_t <field>, ..."),
                    (r": 64, and 3 more for", "; more for"),
                    (r"^`(<field>|<array>)`: .*", r"Gives access to `\1`."),
                    (r"\b1440\b", "N")]
    return [
        family_page("table", "the operations of a table", TABLE_INTRO, table,
                    [(r"tbl_ldap_conn", "<table>"), (r"st_ldap_conn", "<type>"),
                     (r"sname", "<key>"), (r"kel_vstring", "<key type>")],
                    TABLE_SECTIONS, everything, version),
        family_page("structure", "the operations of a structure", STRUCTURE_INTRO, structure,
                    type_renames, STRUCTURE_SECTIONS,
                    lambda name: not re.search(r"_(sname|num_conns)_", name), version,
                    more=[(fields, lambda name: "_duration_" in name and "p" not in name),
                          (fields, lambda name: "_minute_" in name)]),
        family_page("enumeration", "the operations of an enumeration", ENUMERATION_INTRO,
                    enumeration, [(r"auth_state", "<enum>")], ENUMERATION_SECTIONS, everything,
                    version),
    ]


# Folder of the headers, the page of the family, its sections.
KINDS = [("tables", "table", TABLE_SECTIONS),
         ("types", "structure", STRUCTURE_SECTIONS),
         ("enums", "enumeration", ENUMERATION_SECTIONS)]


def values(parts):
    """The enumerators of an enumeration's header."""
    for part in parts:
        if part.kind == "declaration" and part.text.startswith("enum {"):
            body = part.text[part.text.index("{") + 1:part.text.rindex("}")]
            lines = [line.strip().rstrip(",") for line in body.strip().split("\n")]
            return [".SH VALUES", ".nf"] + [bold(line) for line in lines] + [".fi"]
    return []


def item_page(folder, family, sections, path, version):
    """The page of one table, structure or enumeration, and the names that it documents."""
    parts = headers.read_file(path)
    comment = headers.file_comment(parts)
    name, about = comment[0].rstrip(".").split(": ", 1)
    groups = declarations(path)
    names = [headers.declared_name(part) for _, group in groups for part in group]
    starts = headings(names, sections)
    for lines, group in groups:
        field = re.match(r"`(\w+)`: ", lines[0]) if lines else None
        if field:
            starts[headers.declared_name(group[0])] = f"The field {field.group(1)}"

    page = Page(name, about, version)
    page.synopsis([f"{folder}/{os.path.basename(path)}"], prototypes(groups, starts))
    if comment[1:]:
        page.add(".SH DESCRIPTION", *formatted(comment[1:]))
    page.add(*values(parts))
    page.add(".SH FUNCTIONS", *functions(groups, starts=starts))
    page.add(".SH SEE ALSO", f".BR tarnbase\\-{family} (3),", ".BR tarnbase (3)")
    return page, names


def items(generated, version):
    """The page of each item of the schema, with the names that it documents."""
    for folder, family, sections in KINDS:
        place = os.path.join(generated, folder)
        for header in sorted(os.listdir(place)):
            yield item_page(folder, family, sections, os.path.join(place, header), version)
