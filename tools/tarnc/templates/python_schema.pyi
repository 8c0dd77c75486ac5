# SPDX-License-Identifier: Apache-2.0
# Made by tarnc from {{origin}}; changes belong there.
import datetime
import enum
from collections.abc import Callable
from typing import Any, Literal, NamedTuple, overload

from ._core import Array
from ._record import Address, Record, Structure
from ._table import Table, Tables

class TableType:
    name: str
    meaning: str
    luid: bytes
    key_field: str
    key_structure: type[Structure] | None
    record: type[Record[Any]]
    key: Callable[[Any], Any] | None

enumerations: dict[str, Any]
structures: dict[str, type[Structure]]
tables: dict[str, TableType]
{{#enumerations}}

class {{enum}}(enum.IntEnum):
    """{{{meaning}}}"""
{{#enumerators}}
    {{name}} = {{value}}
{{/enumerators}}
{{/enumerations}}
{{#structures}}

class {{class}}(Structure):
    """{{{meaning}}}"""
{{#fields}}
    {{attribute}}: {{{value}}}
{{/fields}}
{{/structures}}
{{#tables}}
{{#composite}}

class {{table}}_key(NamedTuple):
    """{{{key_meaning}}}"""
{{#parts}}
    {{attribute}}: {{{value}}}
{{/parts}}
{{/composite}}

class {{table}}({{class}}, Record[{{{key}}}]):
    """{{{meaning}}}"""
{{/tables}}

class TypedTables(Tables):
{{#tables}}
    @overload
    def __getitem__(self, name: Literal['{{short}}', '{{table}}']) -> Table[{{{key}}}, {{table}}]: ...
{{/tables}}
    @overload
    def __getitem__(self, name: str) -> Table[Any, Any]: ...
{{#tables}}
    @overload
    def open(self, name: Literal['{{short}}', '{{table}}']) -> Table[{{{key}}}, {{table}}]: ...
{{/tables}}
    @overload
    def open(self, name: str) -> Table[Any, Any]: ...
