# SPDX-License-Identifier: Apache-2.0
"""The exceptions of the package. All of them are an `Error`, with the Linux errno number in `code`.

Where Python has an exception for a case, ours is one too: a missing key is a `KeyError`, a failure
of the store's files an `OSError`.
"""
from __future__ import annotations

import errno


class Error(Exception):
    """A failed operation: what was done, with which table, record and field, and why it failed."""

    def __init__(self, code: int, message: str) -> None:
        super().__init__(code, message)
        self.code = code
        self.message = message

    def __str__(self) -> str:
        return self.message


class StoreError(Error, OSError):
    """The store, its files or the system have failed. `errno` is `code`."""


class StoreNotFound(StoreError, FileNotFoundError):
    """There is no store of that path, or something in it is missing."""


class StoreExists(StoreError, FileExistsError):
    """There is something of that path already."""


class NotPermitted(StoreError, PermissionError):
    """The process may not do that with the store."""


class Busy(StoreError, TimeoutError):
    """Another process or thread was the writer for longer than `Store.patience`."""


class NoSuchKey(Error, KeyError):
    """No record has that key, or the store has no such table."""


class DuplicateKey(Error, KeyError):
    """There is already a record of that key."""


class Stale(Error, ReferenceError):
    """A record that isn't valid any more: its store has changed, or its snapshot has ended."""


class BadValue(Error, ValueError):
    """A value that the field can't have."""


class BadType(Error, TypeError):
    """A value of a type that the field can't have."""


class NoSuchField(Error, AttributeError):
    """The object's variant lacks the field, or its structure has none of that name."""


class NotPossible(Error, RuntimeError):
    """Not in this state of the store, of the thread or of the record."""


class Missed(Error):
    """Transactions that were removed from the store's log before they were read: `count` of them.

    The next step goes on after them.
    """

    count = 0


# In the order of the extension module's problems.
PROBLEMS = (StoreError, NoSuchKey, DuplicateKey, Stale, BadValue, BadType, NoSuchField, NotPossible)
STORE_ERRORS = {errno.ENOENT: StoreNotFound, errno.EEXIST: StoreExists,
                errno.EACCES: NotPermitted, errno.EPERM: NotPermitted, errno.EROFS: NotPermitted,
                errno.ETIMEDOUT: Busy, errno.EBUSY: Busy}


def failure(problem: int, number: int, message: str) -> Error:
    """The exception of a failure of the extension module."""
    kind: type[Error] = PROBLEMS[problem]
    if kind is StoreError:
        kind = STORE_ERRORS.get(number, StoreError)
    return kind(number, message)


def missed(count: int) -> Missed:
    error = Missed(errno.EOVERFLOW, f'{count} transactions were removed from the log before they '
                                    'were read; a journal keeps them')
    error.count = count
    return error
