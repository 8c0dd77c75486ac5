# SPDX-License-Identifier: Apache-2.0
"""Typed tables in transaction-logged stores, shared by processes.

    import tarnbase

    with tarnbase.open('first.store', 'c') as store:
        servers = store.tables.open('ldap_conn:ldap')
        with store.transaction():
            servers.insert('ldap1.example.net', num_conns=7)
        for name, server in servers.items():
            print(name, server.num_conns)
"""
from . import errors, schema
from ._core import Array, Column
from ._documents import decode, document
from ._record import Field, Record, Structure
from ._store import Session, Snapshot, Store, Transaction, open, private, tenant
from ._table import Table, Tables
from ._watch import Author, Change, Version, Watch, What, history, watch
from .errors import (BadType, BadValue, Busy, DuplicateKey, Error, Missed, NoSuchField, NoSuchKey,
                     NotPermitted, NotPossible, Stale, StoreError, StoreExists, StoreNotFound)


def fields(item: Structure | type[Structure]) -> dict[str, Field]:
    """The fields of a record, a structure, or the class of one, by name."""
    return dict(item._fields)


__all__ = [
    'Array', 'Author', 'BadType', 'BadValue', 'Busy', 'Change', 'Column', 'DuplicateKey', 'Error',
    'Field', 'Missed', 'NoSuchField', 'NoSuchKey', 'NotPermitted', 'NotPossible', 'Record',
    'Session', 'Snapshot', 'Stale', 'Store', 'StoreError', 'StoreExists', 'StoreNotFound',
    'Structure', 'Table', 'Tables', 'Transaction', 'Version', 'Watch', 'What', 'decode',
    'document', 'errors', 'fields', 'history', 'open', 'private', 'schema', 'tenant', 'watch',
]
