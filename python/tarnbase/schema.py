# SPDX-License-Identifier: Apache-2.0
"""The schema's types, made from the library's catalogue: an `enum.IntEnum` for each enumeration, a
class for each structure, a class for the records of each table (`tbl_ldap_conn`), and a named tuple
for each key of several parts (`tbl_service_type_info_key`).

Structures have no "st_" or "kel_"; enumerators lack the words that all of them begin with. A field
with the name of a keyword, or of an attribute of every record, gets an underscore.
"""
from __future__ import annotations

import enum
import keyword
from collections import namedtuple
from collections.abc import Callable
from typing import Any

from . import _core
from ._record import Field, Record, Structure, address_of

OWN_NAMES = frozenset(name for name in dir(Record) if not name.startswith('_'))


def bare(name: str) -> str:
    for prefix in ('st_', 'kel_'):
        rest = name.removeprefix(prefix)
        if rest != name and not rest[:1].isdigit():
            return rest
    return name


def usable(name: str) -> str:
    return name + '_' if keyword.iskeyword(name) or name in OWN_NAMES else name


def short_names(names: list[str]) -> list[str]:
    """Without the words that all begin with. None begins with a digit, and each keeps a word."""
    words = [name.split('_') for name in names]
    common = min(len(each) - 1 for each in words)
    while any(each[:common] != words[0][:common] for each in words):
        common -= 1
    result = []
    for each in words:
        first = common
        while first > 0 and (not each[first] or each[first][0].isdigit()):
            first -= 1
        result.append('_'.join(each[first:]).upper())
    return result


def make_enumeration(name: str, meaning: str, enumerators: list[tuple[str, int]]) -> Any:
    members = zip(short_names([each for each, _ in enumerators]),
                  (value for _, value in enumerators))
    made: Any = enum.IntEnum(name, list(members), module=__name__)
    made.__doc__ = meaning
    made.schema_names = {value: each for each, value in enumerators}
    return made


def converter(field: Field) -> Callable[[Any], Any] | None:
    if field.enumeration is not None:
        members = {int(member): member for member in field.enumeration}
        return lambda value: members.get(value, value)
    return address_of if field.kind == 'address' else None


def make_structure(name: str, meaning: str, described: list[tuple[Any, ...]]) -> type[Structure]:
    fields = [Field(number, each, usable(each[0])) for number, each in enumerate(described)]
    members: dict[str, Any] = {field.attribute: field for field in fields}
    members.update(__doc__=meaning, __slots__=(), __module__=__name__, _name=name,
                   _fields={field.name: field for field in fields})
    return type(bare(name), (Structure,), members)


class TableType:
    """A table of the schema: the class of its records, and how its keys are made."""

    def __init__(self, described: tuple[Any, ...]) -> None:
        self.name, self.meaning, structure, key_structure, self.key_field, self.luid = described
        self.key_structure = structures[key_structure] if key_structure else None
        own = structures[structure]
        self.record = type(self.name, (own, Record),
                           {'__doc__': self.meaning or own.__doc__, '__slots__': (),
                            '__module__': __name__})
        self.key: Callable[[Any], Any] | None
        if self.key_structure is None:
            self.key = own._fields[self.key_field].convert
        else:
            self.key_class = self._named_tuple(self.key_structure)
            self.key = self._key_of

    def _named_tuple(self, structure: type[Structure]) -> Any:
        made: Any = namedtuple(f'{self.name}_key',  # type: ignore[misc]
                               [field.attribute for field in structure._fields.values()],
                               module=__name__)
        made.__doc__ = structure.__doc__
        self._converters = [field.convert for field in structure._fields.values()]
        return made

    def _key_of(self, values: tuple[Any, ...]) -> Any:
        return self.key_class._make(value if convert is None else convert(value)
                                    for value, convert in zip(values, self._converters))


enumerations: dict[str, Any] = {each[0]: make_enumeration(*each)
                                for each in _core.enumerations()}
structures: dict[str, type[Structure]] = {each[0]: make_structure(*each)
                                          for each in _core.structures()}


def complete_fields() -> None:
    for structure in structures.values():
        for field in structure._fields.values():
            field.structure = structures.get(field.type)
            field.enumeration = enumerations.get(field.type)
            field.convert = converter(field)


complete_fields()
tables: dict[str, TableType] = {each[0]: TableType(each) for each in _core.tables()}

globals().update(enumerations)
globals().update({made.__name__: made for made in structures.values()})
globals().update({table.name: table.record for table in tables.values()})
globals().update({table.key_class.__name__: table.key_class
                  for table in tables.values() if table.key_structure is not None})
