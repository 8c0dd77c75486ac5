# SPDX-License-Identifier: Apache-2.0
"""Records and the structures in them: views whose attributes are the fields."""
from __future__ import annotations

import datetime
import errno
import ipaddress
import socket
from collections.abc import Callable, Mapping
from typing import TYPE_CHECKING, Any, ClassVar, Generic, TypeVar

from . import _core, errors

if TYPE_CHECKING:
    from ._table import Table

EPOCH = datetime.datetime(1970, 1, 1, tzinfo=datetime.timezone.utc)
SECOND = datetime.timedelta(seconds=1)
MICROSECOND = datetime.timedelta(microseconds=1)
TIME_TYPE = 'kel_timespec'
LARGEST_EXACT = 2**53  # integers that a double represents

Address = ipaddress.IPv4Address | ipaddress.IPv6Address
K = TypeVar('K')


def address_of(packed: bytes | None) -> Address | None:
    if packed is None:
        return None
    return ipaddress.IPv4Address(packed) if len(packed) == 4 else ipaddress.IPv6Address(packed)


class Field:
    """A field of a structure: a descriptor, and what the schema says about it."""

    structure: type[Structure] | None
    enumeration: type[Any] | None
    convert: Callable[[Any], Any] | None

    def __init__(self, number: int, described: tuple[Any, ...], attribute: str) -> None:
        self.number = number
        (self.name, self.meaning, self.unit, self.kind, self.type, self.elements,
         self.first_variant) = described
        self.attribute = attribute
        self.structure = None
        self.enumeration = None
        self.convert = None
        self.__doc__ = self.meaning + (f' [{self.unit}]' if self.unit else '')

    def __get__(self, view: Structure | None, owner: type | None = None) -> Any:
        return self if view is None else self.read(view._at)

    def __set__(self, view: Structure, value: Any) -> None:
        self.write(view._at, value)

    def read(self, at: _core.Object) -> Any:
        if self.structure is not None:
            return self._read_structure(at.inner(self.number))
        if self.elements:
            return _core.Array(at, self.number)
        value = at.get(self.number)
        return value if self.convert is None else self.convert(value)

    def _read_structure(self, inner: _core.Object) -> Any:
        if self.type != TIME_TYPE:
            assert self.structure is not None
            return self.structure(inner)
        return EPOCH + inner.get(0) * SECOND + inner.get(1) // 1000 * MICROSECOND

    def write(self, at: _core.Object, value: Any) -> None:
        if self.structure is None:
            at.set(self.number, value)
        elif self.type == TIME_TYPE and isinstance(value, datetime.datetime):
            self._write_time(at.inner(self.number), value)
        elif isinstance(value, (Mapping, self.structure)):
            self.structure(at.inner(self.number)).update(value)
        else:
            wanted = 'a datetime' if self.type == TIME_TYPE else f'a {self.structure.__name__}'
            raise errors.BadType(errno.EINVAL, f'{self.name}: expected {wanted} or a mapping of '
                                               f'fields, not {value!r}')

    def _write_time(self, inner: _core.Object, value: datetime.datetime) -> None:
        if value.tzinfo is None:
            raise errors.BadValue(errno.EINVAL, f'{self.name}: expected a datetime with a time '
                                                f'zone, not {value!r}')
        seconds, rest = divmod(value - EPOCH, SECOND)
        inner.set(0, seconds)
        inner.set(1, rest // MICROSECOND * 1000)

    def to_plain(self, at: _core.Object) -> Any:
        """The value as part of `to_dict`."""
        value = self.read(at)
        if isinstance(value, Structure):
            return value.to_dict()
        return value.tobytes() if self.elements else value

    def to_json(self, at: _core.Object) -> Any:
        """The value in the JSON form of the tools."""
        if self.structure is not None:
            return json_of_fields(at.inner(self.number), self.structure)
        return json_of_value(self, at.get(self.number))

    def __repr__(self) -> str:
        return f'<field {self.name}: {self.type}>'


def json_of_value(field: Field, value: Any) -> Any:
    if field.elements:
        return list(value)
    if field.enumeration is not None:
        return field.enumeration.schema_names.get(value, value)
    if field.kind == 'vstring':
        raw = value.encode('utf-8', 'surrogateescape')
        return value if raw == value.encode('utf-8', 'replace') else {'hex': raw.hex()}
    if field.kind == 'address' and value is not None:
        return socket.inet_ntop(socket.AF_INET if len(value) == 4 else socket.AF_INET6, value)
    if isinstance(value, int) and not isinstance(value, bool) and abs(value) > LARGEST_EXACT:
        return str(value)
    return value


def json_of_fields(at: _core.Object, structure: type[Structure]) -> dict[str, Any]:
    variant = at.variant
    return {field.name: field.to_json(at)
            for field in structure._fields.values() if field.first_variant <= variant}


class Structure:
    """A structure of the schema: a record's data, or a structure in it. It reads and writes in
    place."""

    __slots__ = ('_at',)
    _fields: ClassVar[dict[str, Field]] = {}
    _name: ClassVar[str] = ''

    def __init__(self, at: _core.Object) -> None:
        self._at = at

    @property
    def variant(self) -> int:
        """The variant of the object: fields of later ones are missing."""
        return self._at.variant

    def get(self, path: str) -> Any:
        """A value by its path, as the store has it: 'start.tv_nsec'."""
        first, _, rest = path.partition('.')
        field = self._field(first)
        if field.structure is None:
            if rest:
                raise errors.NoSuchField(errno.ENOENT, f'{self._name}.{first} has no fields')
            return field.read(self._at)
        inner = field.structure(self._at.inner(field.number))
        return inner.get(rest) if rest else inner

    def update(self, values: Values = None, /, **others: Any) -> None:
        """Sets fields, by their names in the schema or their attributes; or all of them to those of
        another object of the structure."""
        if isinstance(values, Structure):
            copy_fields(values._at, self._at, self)
            values = None
        for name, value in {**(values or {}), **others}.items():
            self._field(name).write(self._at, value)

    def to_dict(self) -> dict[str, Any]:
        """A copy of the fields: structures are dicts, arrays bytes. Fields that the object's
        variant lacks are left out."""
        variant = self._at.variant
        return {field.name: field.to_plain(self._at)
                for field in self._fields.values() if field.first_variant <= variant}

    def _field(self, name: str) -> Field:
        field = self._fields.get(name) or self._fields.get(name.removesuffix('_'))
        if field is None:
            raise errors.NoSuchField(errno.ENOENT, f'{self._name} has no field {name}')
        return field

    def __setattr__(self, name: str, value: Any) -> None:
        if not hasattr(type(self), name):
            raise errors.NoSuchField(errno.ENOENT, f'{self._name} has no field {name}')
        object.__setattr__(self, name, value)

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Structure) or self._name != other._name:
            return NotImplemented
        return self.to_dict() == other.to_dict()

    __hash__ = None  # type: ignore[assignment]

    def __repr__(self) -> str:
        try:
            return f'<{type(self).__name__} {self.to_dict()!r}>'
        except errors.Error as error:
            return f'<{type(self).__name__}, not valid: {error}>'


Values = Mapping[str, Any] | Structure | None  # what fields are set from


def copy_fields(source: _core.Object, target: _core.Object,
                structure: Structure | type[Structure]) -> None:
    """Sets the fields that differ, without a change of their form."""
    for field in structure._fields.values():
        if field.first_variant > source.variant:
            continue
        if field.structure is not None:
            copy_fields(source.inner(field.number), target.inner(field.number), field.structure)
        elif (value := source.get(field.number)) != target.get(field.number):
            target.set(field.number, value)


class Record(Structure, Generic[K]):
    """A record of a table: its fields, and the record's own properties.

    It is valid until its snapshot or transaction ends, and outside of both until the store is
    refreshed or a transaction begins. After that its attributes raise `Stale`.
    """

    __slots__ = ('_table',)
    _table: Table[Any, Any]

    def __init__(self, at: _core.Object, table: Table[Any, Any]) -> None:
        object.__setattr__(self, '_at', at)
        object.__setattr__(self, '_table', table)

    @property
    def table(self) -> Table[Any, Any]:
        return self._table

    @property
    def key(self) -> K:
        key: K = self._table.key_of(self._at)
        return key

    @property
    def tenant(self) -> int:
        return self._at.tenant

    @property
    def source(self) -> int:
        return self._at.source

    @property
    def pending(self) -> bool:
        """Whether the record awaits its destruction, in a replicated table."""
        return self._at.pending

    @property
    def has_data(self) -> bool:
        """Whether it has a data object; a record that was inserted by key alone has none."""
        return self._at.has_data

    @property
    def states(self) -> dict[str, int] | None:
        """The state flags that aren't 0, by field; None of an object without flags."""
        return self._at.flags(False)

    def set_state(self, field: str, flag: int) -> None:
        """Sets the state flag of a field of an object that has flags."""
        self._at.set_flag(self._field(field).number, flag)

    def to_text(self) -> str:
        return self._at.text()

    def to_xml(self) -> str:
        return self._at.xml()

    def to_wire(self) -> bytes:
        """The record's frame: the message that other programs read."""
        return self._at.wire()

    def to_dict(self) -> dict[str, Any]:
        return super().to_dict() if self.has_data else {}

    def to_json(self) -> dict[str, Any]:
        """The record as the tools' documents in JSON have it."""
        at = self._at
        document: dict[str, Any] = {'tenant': at.tenant, 'source': at.source}
        if at.pending:
            document['pending'] = True
        top = max((field.first_variant for field in self._fields.values()), default=0)
        if at.has_data and at.variant != top:
            document['variant'] = at.variant
        if at.has_data and (flags := at.flags(False)) is not None:
            document['state'] = flags
        if (key_flags := at.flags(True)) is not None:
            document['key_state'] = key_flags
        if self._table.key_structure is not None:
            document['key'] = json_of_key(self._table.key_structure, at.key())
        document['fields'] = json_of_fields(at, type(self)) if at.has_data else None
        return document


def json_of_key(structure: type[Structure], values: tuple[Any, ...]) -> dict[str, Any]:
    return {field.name: json_of_key(field.structure, value) if field.structure is not None
            else json_of_value(field, value)
            for field, value in zip(structure._fields.values(), values)}


