# SPDX-License-Identifier: Apache-2.0
"""Changes of a store, as they happen or happened. Both are read from the store's files: nobody
waits for the reader."""
from __future__ import annotations

import contextlib
import datetime
import enum
import os
import time
from collections.abc import Callable, Collection, Iterator
from dataclasses import dataclass
from typing import Any

from . import _core, errors
from ._record import EPOCH, MICROSECOND, Record
from ._store import Moment, Store, sequence_at
from ._table import STANDARD, Table

APPLIED, CURRENT, GAP = range(3)
SLICE = 0.2  # seconds until the end of a wait is looked at
PIECE = 1000  # changes that are made into objects at once


class What(enum.IntEnum):
    INSERTED = 1
    CHANGED = 2
    DELETED = 3


@dataclass(frozen=True)
class Author:
    """A transaction, and who has made it if the store keeps a journal."""

    sequence: int
    time: datetime.datetime | None
    pid: int
    uid: int
    command: str
    label: str


@dataclass(frozen=True)
class Change:
    """A record that a transaction has changed. The records are valid until the next change is
    taken that isn't of the same transaction; `to_dict` copies one."""

    table: Table[Any, Any]
    what: What
    before: Record[Any] | None
    after: Record[Any] | None
    transaction: Author

    @property
    def key(self) -> Any:
        record = self.after if self.after is not None else self.before
        assert record is not None
        return record.key

    def differences(self) -> dict[str, tuple[Any, Any]]:
        """The fields that differ, with what they were and what they are."""
        old = self.before.to_dict() if self.before is not None else {}
        new = self.after.to_dict() if self.after is not None else {}
        return {name: (old.get(name), new.get(name)) for name in {**old, **new}
                if old.get(name) != new.get(name)}


@dataclass(frozen=True)
class Version:
    """A record before and after a change, as copies."""

    what: What
    before: dict[str, Any] | None
    after: dict[str, Any] | None
    transaction: Author


def _author(core: _core.Store) -> Author:
    described = core.transaction()
    moment = described['time']
    described['time'] = EPOCH + moment // 1000 * MICROSECOND if moment else None
    return Author(**described)


def _core_changes(core: _core.Store) -> Iterator[
        tuple[_core.Table, int, _core.Object | None, _core.Object | None]]:
    """The changes of the last transaction, a piece at a time: there may be many."""
    for first in range(0, core.change_count, PIECE):
        yield from core.changes(first, PIECE)


def _record(table: Table[Any, Any], at: _core.Object | None) -> Record[Any] | None:
    return None if at is None else table._record(at)


class Watch(Iterator[Change]):
    """The changes of a store from a transaction on. It waits for the next one."""

    def __init__(self, core: _core.Store, tables: Collection[str] | None,
                 timeout: float | None) -> None:
        self._core = core
        self._timeout = timeout
        self._pending: Iterator[Change] = iter(())
        self._tables = tables
        self.store = Store(core)
        """The store as it is after the last change, to read."""

    def __next__(self) -> Change:
        while True:
            change = next(self._pending, None)
            if change is not None:
                return change
            if not self._advance():
                raise StopIteration

    def _advance(self) -> bool:
        end = None if self._timeout is None else time.monotonic() + self._timeout
        while True:
            step = self._core.advance()
            if step == GAP:
                raise errors.missed(self._core.missed)
            if step == APPLIED:
                self._pending = self._changes()
                return True
            left = SLICE if end is None else end - time.monotonic()
            if left <= 0:
                return False
            self._core.wait(min(left, SLICE))

    def _changes(self) -> Iterator[Change]:
        author = _author(self._core)
        for core_table, what, before, after in _core_changes(self._core):
            if self._tables is not None and not self._follows(core_table):
                continue
            table: Table[Any, Any] = Table(self.store, core_table)
            yield Change(table, What(what), _record(table, before), _record(table, after), author)

    def _follows(self, table: _core.Table) -> bool:
        assert self._tables is not None
        names = {table.full_name, table.type}
        return any(f'tbl_{name.removeprefix("tbl_")}' in names for name in self._tables)

    def close(self) -> None:
        self._pending = iter(())
        self._core.close()

    def __enter__(self) -> Watch:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()


def watch(path: str | os.PathLike[str], *, tables: Collection[str] | None = None,
          since: Moment | None = None, timeout: float | None = None) -> Watch:
    """The changes of a store, from now on or since a moment; the iteration ends when there is none
    for `timeout` seconds. `tables`: only of these. Raises `Missed` for what the files don't have
    any more, and goes on after it."""
    name = os.fspath(path)
    sequence = _core.NEWEST if since is None else sequence_at(name, since)
    return Watch(_core.Store.at(name, sequence), tables, timeout)


def history(path: str | os.PathLike[str], table: str, key: Any, *, source: int = STANDARD,
            since: Moment | None = None) -> Iterator[Version]:
    """All changes of one record, as far back as the store's files reach, or since a moment."""
    with contextlib.closing(open_first(os.fspath(path), since)) as store:
        yield from versions(store, table, key, source)


def open_first(path: str, since: Moment | None) -> Store:
    """The store as it was at a moment, or as far back as its files reach."""
    return Store(_core.Store.at(path, _core.OLDEST if since is None else sequence_at(path, since)))


def versions(store: Store, name: str, key: Any, source: int) -> Iterator[Version]:
    """The changes of one record from a state of the store on, which advances."""
    core = store._core
    while True:
        is_record = _by_identity(store, name, key, source)
        step = _step(store, name, key, source)
        if step == CURRENT:
            return
        if step == GAP:
            raise errors.missed(core.missed)
        for core_table, what, before, after in _core_changes(core):
            table: Table[Any, Any] = Table(store, core_table)
            old, new = _record(table, before), _record(table, after)
            if is_record(table, old if new is None else new):
                yield Version(What(what), None if old is None else old.to_dict(),
                              None if new is None else new.to_dict(), _author(core))


def _step(store: Store, name: str, key: Any, source: int) -> int:
    """To the next change of the record, or the next transaction as long as there is no table."""
    table = store.tables.get(name)
    if table is not None:
        try:
            return store._core.advance_record(table._bound, key, source)
        except errors.StoreNotFound:
            pass  # the table was dropped
    return store._core.advance()


def _by_identity(store: Store, name: str, key: Any,
                 source: int) -> Callable[[Table[Any, Any], Any], bool]:
    wanted = f'tbl_{name.removeprefix("tbl_")}'
    tenant = _core.tenant()

    def is_it(table: Table[Any, Any], record: Any) -> bool:
        return (wanted in (table.full_name, table.type.name) and record.key == key
                and record.source == source and record.tenant == tenant)
    return is_it
