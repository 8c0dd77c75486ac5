# SPDX-License-Identifier: Apache-2.0
"""What was read is valid as long as the store doesn't change: later it raises."""
import gc
import os

import pytest

import tarnbase
from conftest import Child


def use(record):
    return record.num_conns


def test_a_record_outlives_no_snapshot(store, servers):
    with store.snapshot():
        record = servers['a.example']
        with store.snapshot():
            inner = servers['a.example']
        assert use(record) == use(inner) == 1
    for each in (record, inner):
        with pytest.raises(tarnbase.Stale, match='tbl_ldap_conn:ldap: its snapshot has ended'):
            use(each)


@pytest.mark.parametrize('commits', [True, False])
def test_a_record_outlives_no_transaction(store, servers, commits):
    with store.transaction() as transaction:
        found, inserted = servers['a.example'], servers.insert('d.example')
        use(found), use(inserted)
        if not commits:
            transaction.rollback()
    for each in (found, inserted):
        with pytest.raises(ReferenceError, match='its transaction'):
            use(each)
        with pytest.raises(tarnbase.NotPossible):
            each.num_conns = 3


def test_a_record_is_valid_until_the_store_is_refreshed(store, servers):
    record = servers['a.example']
    assert use(record) == use(servers['a.example']) == 1
    store.refresh()
    with pytest.raises(tarnbase.Stale, match='the store has been refreshed'):
        use(record)
    record = servers['a.example']
    with store.transaction():
        with pytest.raises(tarnbase.Stale, match='the store has been changed'):
            use(record)


def test_a_table_that_is_made_in_a_transaction_leaves_its_records_valid(store, servers):
    with store.transaction():
        record = servers.insert('d.example', num_conns=4)
        other = store.tables.open('ldap_stats')
        other.insert('a')
        assert use(record) == 4
    assert list(other) == ['a']


def test_a_record_outlives_no_store(path):
    store = tarnbase.open(path, 'x')
    table = store.tables.open('aaa_servers')
    with store.transaction():
        table.insert('a')
    record = table['a']
    inner, minute = record.aaa_authen, record.minute
    store.close()
    for access in (lambda: record.duration, lambda: inner.requests, lambda: record.key,
                   lambda: record.to_wire(), lambda: record.to_dict(), lambda: record.tenant):
        with pytest.raises(tarnbase.NotPossible, match='the store is closed'):
            access()
    assert len(minute.tobytes()) == 1440
    assert 'not valid' in repr(record)


def test_a_record_keeps_its_store_in_memory(path):
    def read():
        store = tarnbase.open(path, 'x')
        with store.transaction():
            store.tables.open('ldap_conn').insert('a', num_conns=5)
        return store.tables['ldap_conn']['a']
    record = read()
    gc.collect()
    assert use(record) == 5
    del record
    gc.collect()
    tarnbase.open(path, 'w').close()


def test_a_deleted_record_raises_also_when_its_place_is_taken(store, servers):
    with store.transaction():
        records = [servers['a.example'], servers['a.example']]
        walk = servers.range()
        assert next(walk).key == 'a.example'
        del servers['a.example']
        for _ in range(50):
            servers.insert('a.example')
            for record in records:
                with pytest.raises(tarnbase.Stale, match='it has been deleted'):
                    use(record)
            del servers['a.example']
        with pytest.raises(tarnbase.Stale):
            next(walk)
        assert use(servers['b.example']) == 2


def test_an_inner_structure_and_a_walk_end_with_the_record(store):
    table = store.tables.open('aaa_servers')
    with store.transaction():
        for name in 'abc':
            table.insert(name)
    inner = table['a'].aaa_authen
    walk = iter(table.values())
    next(walk)
    store.refresh()
    with pytest.raises(tarnbase.Stale):
        inner.requests
    with pytest.raises(tarnbase.Stale):
        next(walk)


def test_a_table_that_another_process_has_dropped_raises(store, servers, path):
    Child('''
import sys, tarnbase
with tarnbase.open(sys.argv[1], 'w') as store:
    table = store.tables['ldap_conn']
    with store.transaction():
        for key in list(table):
            del table[key]
    table.drop()
''', path).end()
    record = servers['a.example']
    store.refresh()
    with pytest.raises(tarnbase.NotPossible, match='no such table any more'):
        len(servers)
    with pytest.raises(tarnbase.Stale):
        use(record)


def test_a_child_reads_its_copy_and_changes_nothing(store, servers):
    record = servers['a.example']
    child = os.fork()
    if child == 0:
        status = 1
        try:
            assert use(record) == 1 and len(servers) == 3
            for change in (store.refresh, store.transaction().__enter__):
                with pytest.raises(PermissionError):
                    change()
            store.close()
            status = 0
        finally:
            os._exit(status)
    assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0
    with store.transaction():
        servers.insert('d.example')
    assert len(servers) == 4
