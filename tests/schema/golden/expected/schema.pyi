# SPDX-License-Identifier: Apache-2.0
# Made by tarnc from sample.tarn; changes belong there.
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

class color(enum.IntEnum):
    """what a shape is painted with"""
    RED = 1
    BLUE = 2

class corner(Structure):
    """where two lines meet"""
    x: int
    register: int

class shape(Structure):
    """a shape on a plane"""
    sides: int
    number: int
    color: color
    first: corner
    pattern: Array
    filled: bool

class shape_key(Structure):
    """names a shape among its layer's"""
    layer: str
    owner: Address | None

class tbl_shape(shape, Record[int]):
    """the shapes by number"""

class tbl_layer_shape_key(NamedTuple):
    """names a shape among its layer's"""
    layer: str
    owner: Address | None

class tbl_layer_shape(shape, Record[tbl_layer_shape_key]):
    """the shapes by layer and owner"""

class TypedTables(Tables):
    @overload
    def __getitem__(self, name: Literal['shape', 'tbl_shape']) -> Table[int, tbl_shape]: ...
    @overload
    def __getitem__(self, name: Literal['layer_shape', 'tbl_layer_shape']) -> Table[tbl_layer_shape_key, tbl_layer_shape]: ...
    @overload
    def __getitem__(self, name: str) -> Table[Any, Any]: ...
    @overload
    def open(self, name: Literal['shape', 'tbl_shape']) -> Table[int, tbl_shape]: ...
    @overload
    def open(self, name: Literal['layer_shape', 'tbl_layer_shape']) -> Table[tbl_layer_shape_key, tbl_layer_shape]: ...
    @overload
    def open(self, name: str) -> Table[Any, Any]: ...
