# SPDX-License-Identifier: Apache-2.0
"""Stores, sessions, transactions and snapshots."""
from __future__ import annotations

import contextlib
import datetime
import errno
import os
from collections.abc import Callable, Iterator, Mapping
from types import TracebackType
from typing import TYPE_CHECKING, Any, TypeVar

from . import _core, errors
from ._record import EPOCH, MICROSECOND
from ._table import STANDARD, Tables

if TYPE_CHECKING:
    from ._watch import Version, Watch
    from .schema import TypedTables

MODES = {'r': 0, 'w': 1, 'x': 2, 'c': 3}
Moment = datetime.datetime | int
S = TypeVar('S', bound='Session')
P = TypeVar('P', 'Store', 'Watch')


class Transaction:
    """Changes that are all made or none: `with store.transaction():` commits at the end of the
    block, and rolls back if an exception leaves it."""

    def __init__(self, core: _core.Store, label: str, tracked: bool,
                 variants: list[tuple[str, int]]) -> None:
        self._core = core
        self._settings = (label, tracked, variants)
        self._is_open = False

    def __enter__(self) -> Transaction:
        self._core.begin(*self._settings)
        self._is_open = True
        return self

    def commit(self) -> None:
        """Makes the changes permanent before the end of the block."""
        self._is_open = False
        self._core.commit()

    def rollback(self) -> None:
        """Undoes the changes. The block goes on without a transaction."""
        self._is_open = False
        self._core.roll_back()

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None,
                 traceback: TracebackType | None) -> None:
        if not self._is_open:
            return
        if kind is None:
            self.commit()
        else:
            self.rollback()


class Snapshot:
    """The store as it is now, to this thread: brought up to date, and kept so."""

    def __init__(self, core: _core.Store) -> None:
        self._core = core

    def __enter__(self) -> Snapshot:
        self._core.begin_snapshot()
        return self

    def __exit__(self, *_: object) -> None:
        self._core.end_snapshot()


class Session:
    """Settings with which a store is used: how the objects of its transactions are made."""

    def __init__(self, store: Store | None, tracked: bool = False,
                 variants: Mapping[str, int] | None = None) -> None:
        self._own_store = store
        self._tracked = tracked
        self._variants = [(_structure_named(name), number)
                          for name, number in (variants or {}).items()]

    @property
    def _store(self) -> Store:
        assert self._own_store is not None
        return self._own_store

    @property
    def _core(self) -> _core.Store:
        return self._store._core

    @property
    def tables(self) -> TypedTables:
        """The tables by name."""
        return Tables(self)  # type: ignore[return-value]

    def transaction(self, label: str = '') -> Transaction:
        """A transaction of this thread. A journal keeps the label with the changes."""
        return Transaction(self._core, label, self._tracked, self._variants)

    def snapshot(self) -> Snapshot:
        """Brings the store up to date for this thread, and keeps it so."""
        return Snapshot(self._core)

    def __enter__(self: S) -> S:
        return self

    def __exit__(self, *_: object) -> None:
        """A session holds nothing that must be closed."""


def _structure_named(name: str) -> str:
    from . import schema
    for prefix in ('', 'st_', 'kel_'):
        if prefix + name in schema.structures:
            return prefix + name
    raise errors.NoSuchKey(errno.ENOENT, f'the schema has no structure {name}')


class Store(Session):
    """A store that this process has open. Close it, or use it as a context manager."""

    def __init__(self, core: _core.Store) -> None:
        super().__init__(None)
        self._core_store = core
        self._patience: float | None = None
        self._past: Store | Watch | None = None  # for which this store is closed meanwhile
        self._opens_again = False

    @property
    def _store(self) -> Store:
        return self

    @property
    def _core(self) -> _core.Store:
        return self._core_store

    @property
    def path(self) -> str:
        """The store's folder, '' if it is private."""
        return self._core.path

    @property
    def writable(self) -> bool:
        return self._core.writable

    @property
    def closed(self) -> bool:
        return self._core.closed

    @property
    def patience(self) -> float | None:
        """How many seconds a transaction waits for other writers; None: until they end."""
        return self._patience

    @patience.setter
    def patience(self, seconds: float | None) -> None:
        self._patience = seconds
        self._core.set_patience(-1.0 if seconds is None else seconds)

    def session(self, *, tracked: bool = False,
                variants: Mapping[str, int] | None = None) -> Session:
        """A session whose transactions make objects with state flags, or in older variants."""
        return Session(self, tracked, variants)

    def close(self) -> None:
        """Closes the store. In a block of `at` or `watch` it also closes what that has opened, and
        the store stays closed after the block."""
        if self._past is not None:
            self._past.close()
        self._core.close()
        self._opens_again = False

    def __exit__(self, *_: object) -> None:
        self.close()

    def refresh(self) -> None:
        """Brings the store up to date with what other processes have committed."""
        self._core.refresh()

    def wait(self, timeout: float | None = None) -> bool:
        """Waits until another process has committed something: whether it has."""
        return self._core.wait(-1.0 if timeout is None else timeout)

    def sync(self) -> None:
        """Waits until what is committed is on the disk."""
        self._core.sync()

    def back_up(self, path: str | os.PathLike[str]) -> None:
        self._core.back_up(os.fspath(path))

    def compact(self) -> None:
        """Makes the store's files as short as they can be."""
        self._core.compact()

    def describe(self) -> dict[str, Any]:
        """Sizes and counts."""
        return self._core.describe()

    def set_journal(self, enabled: bool, *, keep_bytes: int = 0, keep_seconds: int = 0) -> None:
        """Whether the store keeps its states and who has changed it; 0: without limit."""
        self._core.set_journal(enabled, keep_bytes, keep_seconds)

    # ---- The past. It is at the address of the store, which is closed meanwhile.

    @contextlib.contextmanager
    def at(self, moment: Moment) -> Iterator[Store]:
        """The store as it was at a moment, or after the transaction of a number, to read. This
        store is closed until the end of the block."""
        with self._closed_for(lambda: open_past(self.path, moment)) as past:
            yield past

    @contextlib.contextmanager
    def watch(self, **options: Any) -> Iterator[Watch]:
        """As `tarnbase.watch`. This store is closed until the end of the block."""
        from ._watch import watch
        with self._closed_for(lambda: watch(self.path, **options)) as changes:
            yield changes

    def history(self, table: str, key: Any, *, source: int = STANDARD,
                since: Moment | None = None) -> list[Version]:
        """As `tarnbase.history`. This store is closed meanwhile."""
        from ._watch import open_first, versions
        with self._closed_for(lambda: open_first(self.path, since)) as past:
            return list(versions(past, table, key, source))

    @contextlib.contextmanager
    def _closed_for(self, open_past: Callable[[], P]) -> Iterator[P]:
        if not self.path:
            raise errors.NotPossible(errno.EINVAL, 'a private store has no history')
        if self.closed:
            raise errors.NotPossible(errno.EBADF, 'the store is closed')
        if self._core.advances:
            raise errors.NotPossible(errno.EINVAL, 'this is a state of the past: '
                                     'open the store itself to go to another one')
        mode = MODES['w' if self.writable else 'r']
        self._core.close()
        self._opens_again = True
        try:
            with contextlib.closing(open_past()) as past:
                self._past = past
                yield past
        finally:
            self._past = None
            if self._opens_again:
                self._core_store = _core.Store.open(self.path, mode, 0)
                self.patience = self._patience

    def __repr__(self) -> str:
        return f'<store {self.path!r}{", closed" if self.closed else ""}>'


def open(path: str | os.PathLike[str], mode: str = 'r', *, at: Moment | None = None,
         capacity: int = 0) -> Store:
    """Opens a store: 'r' to read, 'w' to write too, 'c' makes it if there is none, 'x' makes it.

    `at`: as it was at a moment, or after the transaction of a number, to read. `capacity` is the
    size in bytes that a new store may grow to; 0: the default.
    """
    if mode not in MODES:
        raise errors.BadValue(errno.EINVAL, f"mode: expected 'r', 'w', 'c' or 'x', not {mode!r}")
    name = os.fspath(path)
    if at is None:
        return Store(_core.Store.open(name, MODES[mode], capacity))
    if mode != 'r':
        raise errors.BadValue(errno.EINVAL,
                              "mode: a state of the past can only be read: expected 'r'")
    return open_past(name, at)


def private(capacity: int = 0) -> Store:
    """A store in the memory of this process, which is lost when it is closed."""
    return Store(_core.Store.private(capacity))


def open_past(path: str, moment: Moment) -> Store:
    return Store(_core.Store.at(path, sequence_at(path, moment)))


def sequence_at(path: str, moment: Moment) -> int:
    """The number of the last transaction that was committed at a moment, or before."""
    if isinstance(moment, int):
        return moment
    if moment.tzinfo is None:
        raise errors.BadValue(errno.EINVAL,
                              f'at: expected a datetime with a time zone, not {moment!r}')
    return _core.sequence_at(path, (moment - EPOCH) // MICROSECOND * 1000 + 999)


@contextlib.contextmanager
def tenant(number: int) -> Iterator[None]:
    """Sets this thread's tenant: records are made for it, and reading is limited to it."""
    if not 0 <= number <= 65535:
        raise errors.BadValue(errno.EINVAL,
                              f'tenant: expected a number from 0 to 65535, not {number!r}')
    before = _core.tenant()
    _core.set_tenant(number)
    try:
        yield
    finally:
        _core.set_tenant(before)
