# SPDX-License-Identifier: Apache-2.0
"""Whole stores as documents, and single frames."""
from __future__ import annotations

import errno
from typing import Any

from . import errors, schema
from ._store import Store, private

LUID_BEGIN, LUID_END = 27, 43  # of a frame


def document(store: Store) -> dict[str, Any]:
    """All tables and records of a store, in the form of an export as JSON."""
    tables = []
    for table in store.tables.values():
        is_id = table.name.startswith('#')
        where: dict[str, Any] = {'id': int(table.name[1:])} if is_id else {'name': table.name}
        tables.append({'table': table.type.name, **where,
                       'records': [record.to_json() for record in table.everything()]})
    return {'tarnbase': {'format': 1, 'tables': tables}}


def decode(frame: bytes) -> tuple[str, Any, dict[str, Any]]:
    """The table's type, the key and the fields of a frame."""
    luid = frame[LUID_BEGIN:LUID_END]
    name = next((each.name for each in schema.tables.values() if each.luid == luid), None)
    if name is None:
        raise errors.BadValue(errno.EINVAL, 'the frame is of no table of the schema')
    with private(64 << 20) as store:
        table = store.tables.open(name)
        with store.transaction() as transaction:
            record = table.insert_wire(frame)
            decoded = name, record.key, record.to_dict()
            transaction.rollback()
    return decoded
