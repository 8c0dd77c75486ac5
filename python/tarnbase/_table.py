# SPDX-License-Identifier: Apache-2.0
"""Tables as mappings from keys to records, in the order of the keys."""
from __future__ import annotations

import errno
from collections.abc import ItemsView, Iterator, KeysView, Mapping, ValuesView
from typing import TYPE_CHECKING, Any, TypeVar

from . import _core, errors, schema
from ._record import Record, Structure, Values

if TYPE_CHECKING:
    from ._store import Session

K = TypeVar('K')
R = TypeVar('R', bound=Record[Any])
STANDARD = 1  # the source of a record unless another one is given


class Table(Mapping[K, R]):
    """A table of a store. Reading is limited to the thread's tenant and to one source.

    Changing it needs a transaction of the thread: `with store.transaction():`.
    """

    def __init__(self, session: Session, core: _core.Table, source: int = STANDARD) -> None:
        self._session = session
        self._core_table = core
        self._made_for = session._core
        self._source = source
        self.type = schema.tables[core.type]
        self.key_structure: type[Structure] | None = self.type.key_structure

    @property
    def _bound(self) -> _core.Table:
        if self._made_for is not self._session._core:  # the store was opened again
            self._core_table = self._session.tables._find(self._core_table.full_name)
            self._made_for = self._session._core
        return self._core_table

    @property
    def name(self) -> str:
        """The name that it was opened with, or "#" and its id."""
        return self._core_table.name

    @property
    def full_name(self) -> str:
        """Unique in the store: 'tbl_ldap_conn:ldap'."""
        return self._core_table.full_name

    def of_source(self, source: int) -> Table[K, R]:
        """The same table, limited to another source, from 0 to 255."""
        if not 0 <= source <= 255:
            raise errors.BadValue(errno.EINVAL,
                                  f'source: expected a number from 0 to 255, not {source!r}')
        return Table(self._session, self._bound, source)

    # ---- Reading.

    def key_of(self, at: _core.Object) -> Any:
        key = at.key()
        return key if self.type.key is None else self.type.key(key)

    def _record(self, at: _core.Object) -> R:
        record: R = self.type.record(at, self)  # type: ignore[assignment]
        return record

    def __getitem__(self, key: K) -> R:
        found = self._bound.find(key, self._source)
        if found is None:
            raise errors.NoSuchKey(errno.ENOENT,
                                   f'{self.full_name} has no record of the key {key!r}')
        return self._record(found)

    def get(self, key: K, default: Any = None) -> Any:
        found = self._bound.find(key, self._source)
        return default if found is None else self._record(found)

    def __contains__(self, key: object) -> bool:
        return self._bound.find(key, self._source) is not None

    def __len__(self) -> int:
        return self._bound.count(self._source, False)

    def __bool__(self) -> bool:
        return len(self) != 0

    def __iter__(self) -> Iterator[K]:
        return (self.key_of(at) for at in self._walk())

    def __reversed__(self) -> Iterator[K]:
        return (self.key_of(at) for at in self._walk(backward=True))

    def keys(self) -> KeysView[K]:
        return KeysView(self)

    def values(self) -> ValuesView[R]:
        return _Values(self)

    def items(self) -> ItemsView[K, R]:
        return _Items(self)

    def range(self, first: K | None = None, last: K | None = None, *,
              backward: bool = False) -> Iterator[R]:
        """The records from the key `first` on, up to `last`, which isn't part of it."""
        return map(self._record, self._walk(first, last, backward))

    def all_sources(self) -> Iterator[R]:
        """The records of all sources of the thread's tenant."""
        return map(self._record, self._bound.walk(None, False, None, None, False))

    def everything(self) -> Iterator[R]:
        """The records of all tenants and sources."""
        return map(self._record, self._bound.walk(None, True, None, None, False))

    def columns(self, *names: str, every_source: bool = False,
                every_tenant: bool = False) -> dict[str, _core.Column]:
        """The values of fields of all records, in one walk. A column is a buffer, which NumPy and
        pandas take without a copy; without names, all fields but arrays."""
        source = None if every_source or every_tenant else self._source
        chosen = list(names) or self.column_names()
        return {column.name: column
                for column in self._bound.columns(chosen, source, every_tenant)}

    def column_names(self) -> list[str]:
        """The columns that `columns` returns without names."""
        parts = [self.key_structure] if self.key_structure is not None else []
        parts.append(self.type.record)
        return [path for part in parts for path in _leaves(part, '')]

    def _walk(self, first: K | None = None, last: K | None = None,
              backward: bool = False) -> _core.Walk:
        return self._bound.walk(self._source, False, first, last, backward)

    # ---- Changing.

    def insert(self, key: K, values: Values = None, /, **others: Any) -> R:
        """Inserts a record with the given fields. Raises `DuplicateKey` if the key is there."""
        core = self._bound
        made = core.make(key, self._source)
        try:
            record = self._record(made)
            record.update(values, **others)
            core.insert(made)
            return record
        except BaseException:
            core.discard(made)
            raise

    def update(self, key: K, values: Values = None, /, **others: Any) -> R:
        """Sets fields of the record of a key. Raises `NoSuchKey` if there is none."""
        record = self[key]
        record.update(values, **others)
        return record

    def __setitem__(self, key: K, values: Mapping[str, Any] | Structure) -> None:
        """Makes the record of the key one with these fields and no others."""
        fields = dict(values.to_dict() if isinstance(values, Structure) else values)
        fields.pop(self.type.key_field, None)
        found = self._bound.find(key, self._source)
        if found is not None:
            self._bound.erase(found)
        self.insert(key, fields)

    def __delitem__(self, key: K) -> None:
        self._bound.erase(self[key]._at)

    def insert_wire(self, frame: bytes) -> R:
        """Inserts the record of a frame, as `Record.to_wire` makes it."""
        return self._insert_read(self._bound.read_wire(bytes(frame), self._source))

    def insert_xml(self, document: str) -> R:
        """Inserts the record of a document, as `Record.to_xml` makes it."""
        return self._insert_read(self._bound.read_xml(document))

    def _insert_read(self, made: _core.Object) -> R:
        core = self._bound
        try:
            core.insert(made)
        except BaseException:
            core.discard(made)
            raise
        return self._record(made)

    def drop(self) -> None:
        """Removes the table, which must be empty, from the store."""
        self._bound.drop()

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Table) and self._core_key() == other._core_key()

    def __hash__(self) -> int:
        return hash(self._core_key())

    def _core_key(self) -> tuple[int, str, int]:
        return id(self._session._store), self.full_name, self._source

    def __repr__(self) -> str:
        return f'<table {self.full_name}>'


class _Values(ValuesView[R]):
    _mapping: Table[Any, R]

    def __iter__(self) -> Iterator[R]:
        return map(self._mapping._record, self._mapping._walk())


class _Items(ItemsView[K, R]):
    _mapping: Table[K, R]

    def __iter__(self) -> Iterator[tuple[K, R]]:
        table = self._mapping
        return ((table.key_of(at), table._record(at)) for at in table._walk())


def _leaves(structure: type[Structure], prefix: str) -> Iterator[str]:
    for field in structure._fields.values():
        if field.structure is not None and field.type != 'kel_timespec':
            yield from _leaves(field.structure, f'{prefix}{field.name}.')
        elif not field.elements:
            yield prefix + field.name


class Tables(Mapping[str, Table[Any, Any]]):
    """The tables of a store by name, in the order of the schema.

    A name is that of the type, if the store has only one table of it ('ldap_conn', or
    'tbl_ldap_conn'), or is followed by the table's own: 'ldap_conn:ldap', 'ldap_conn#7'.
    """

    def __init__(self, session: Session) -> None:
        self._session = session

    def __getitem__(self, name: str) -> Table[Any, Any]:
        return Table(self._session, self._find(name))

    def _find(self, name: str) -> _core.Table:
        wanted = name if name.startswith('tbl_') else f'tbl_{name}'
        all_tables = self._session._core.tables()
        found = [each for each in all_tables if wanted in (each.full_name, each.type)]
        if len(found) == 1:
            return found[0]
        held = ', '.join(each.full_name for each in found or all_tables) or 'none'
        if found:
            raise errors.NoSuchKey(errno.ENOENT, f'the store has several tables {name}: {held}')
        raise errors.NoSuchKey(errno.ENOENT, f'the store has no table {name}; it has {held}')

    def __iter__(self) -> Iterator[str]:
        return (each.full_name for each in self._session._core.tables())

    def __len__(self) -> int:
        return len(self._session._core.tables())

    def open(self, name: str) -> Table[Any, Any]:
        """Opens a table, or makes it: 'ldap_conn:ldap'. Without a name of its own it gets that of
        its type."""
        type_name, _, own_name = name.partition(':')
        type_name = 'tbl_' + type_name.removeprefix('tbl_')
        if type_name not in schema.tables:
            raise errors.NoSuchKey(errno.ENOENT, f'the schema has no table {type_name}')
        if not own_name and (found := self._only(type_name)) is not None:
            return Table(self._session, found)
        made = self._session._core.make_table(type_name, own_name or type_name[len('tbl_'):])
        return Table(self._session, made)

    def _only(self, type_name: str) -> _core.Table | None:
        found = [each for each in self._session._core.tables() if each.type == type_name]
        return found[0] if len(found) == 1 else None

    def __repr__(self) -> str:
        return f'<tables {", ".join(self)}>'
