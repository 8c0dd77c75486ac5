# SPDX-License-Identifier: Apache-2.0
"""Changes as they happen, and states of the past."""
import datetime
import gc
import os
import tracemalloc

import pytest

import tarnbase
from conftest import Child, tarnctl

CHANGED, DELETED, INSERTED = (tarnbase.What.CHANGED, tarnbase.What.DELETED,
                              tarnbase.What.INSERTED)


@pytest.fixture
def past(path):
    """A store with a journal and four transactions, closed; and the moment before the third."""
    with tarnbase.open(path, 'x') as store:
        store.set_journal(True)
        servers = store.tables.open('ldap_conn:ldap')
        with store.transaction('first'):
            servers.insert('a', num_conns=1)
            servers.insert('b', num_conns=1)
        with store.transaction('second'):
            servers['a'].num_conns = 2
        moment = datetime.datetime.now(datetime.timezone.utc)
        with store.transaction('third'):
            del servers['b']
        with store.transaction('fourth'):
            servers['a'].num_conns = 4
            servers.insert('b', num_conns=4)
    return moment


def test_a_watch_returns_each_change(path, past):
    with tarnbase.watch(path, since=0, timeout=0) as changes:
        found = [(change.transaction.label, change.key, change.what,
                  change.before and change.before.num_conns,
                  change.after and change.after.num_conns) for change in changes]
    assert found == [('first', 'a', INSERTED, None, 1), ('first', 'b', INSERTED, None, 1),
                     ('second', 'a', CHANGED, 1, 2), ('third', 'b', DELETED, 1, None),
                     ('fourth', 'a', CHANGED, 2, 4), ('fourth', 'b', INSERTED, None, 4)]


def test_a_change_says_who_made_it_and_what_differs(path, past):
    with tarnbase.watch(path, since=past, timeout=0) as changes:
        deleted, changed, inserted = (
            (change.transaction, change.differences(), change.table.name) for change in changes)
    author = deleted[0]
    assert (author.pid, author.uid, author.label) == (os.getpid(), os.getuid(), 'third')
    assert abs(author.time - past) < datetime.timedelta(minutes=1)
    assert changed[1:] == ({'num_conns': (2, 4)}, 'ldap')
    assert inserted[1] == {'num_conns': (None, 4), 'sname': (None, 'b')}


def test_a_watch_waits_for_the_next_change(path, past):
    with tarnbase.watch(path, tables=['ldap_conn'], timeout=60) as changes:
        writer = Child('''
import sys, tarnbase
with tarnbase.open(sys.argv[1], 'w') as store:
    stats = store.tables.open('ldap_stats')
    with store.transaction():
        stats.insert('not followed')
        store.tables['ldap_conn'].insert('d', num_conns=9)
''', path)
        change = next(changes)
        writer.end()
        assert (change.key, change.after.num_conns) == ('d', 9)
        assert len(changes.store.tables['ldap_conn']) == 3


def test_a_changed_record_is_valid_until_the_next_change(path, past):
    with tarnbase.watch(path, since=0, timeout=0) as changes:
        first = next(changes)
        second = next(changes)
        assert first.after.num_conns == second.after.num_conns == 1
        next(changes)
        with pytest.raises(tarnbase.Stale, match='the replica has advanced'):
            first.after.num_conns


def test_transactions_that_are_gone_are_reported(path):
    with tarnbase.open(path, 'x') as store:
        table = store.tables.open('ldap_conn')
        with store.transaction():
            table.insert('a')
    with tarnbase.watch(path, timeout=0) as changes:
        Child('''
import sys, tarnbase
with tarnbase.open(sys.argv[1], 'w') as store:
    for number in range(3):
        with store.transaction():
            store.tables['ldap_conn']['a'].num_conns = number + 1
        store.compact()
''', path).end()
        with pytest.raises(tarnbase.Missed) as missed:
            while True:
                next(changes)
        assert missed.value.count > 0 and str(missed.value.count) in str(missed.value)
        assert list(changes) == [] and changes.store.tables['ldap_conn']['a'].num_conns == 3


def test_a_store_is_read_as_it_was(path, past):
    with tarnbase.open(path, at=past) as store:
        servers = store.tables['ldap_conn']
        assert {key: record.num_conns for key, record in servers.items()} == {'a': 2, 'b': 1}
        assert not store.writable
    with tarnbase.open(path, at=0) as store:
        assert list(store.tables) == []
    with pytest.raises(ValueError, match='time zone'):
        tarnbase.open(path, at=datetime.datetime.now())
    with pytest.raises(tarnbase.StoreError):
        tarnbase.open(path, at=10**6)


def test_an_open_store_goes_to_the_past_and_back(path, past):
    with tarnbase.open(path, 'w') as store:
        servers = store.tables['ldap_conn']
        record = servers['a']
        with store.at(past) as before:
            assert before.tables['ldap_conn']['a'].num_conns == 2
            with pytest.raises(tarnbase.NotPossible, match='the store is closed'):
                len(servers)
        with pytest.raises(tarnbase.Error):
            record.num_conns
        assert servers['a'].num_conns == 4
        with store.transaction():
            servers['a'].num_conns = 5
        with store.watch(since=past, timeout=0) as changes:
            assert len(list(changes)) == 4
        assert servers['a'].num_conns == 5
        assert [version.what for version in store.history('ldap_conn', 'b')] == [
            INSERTED, DELETED, INSERTED]
        with store.snapshot(), pytest.raises(tarnbase.NotPossible):
            store.history('ldap_conn', 'b')


def test_a_history_has_the_changes_of_one_record(path, past):
    versions = list(tarnbase.history(path, 'ldap_conn', 'b'))
    assert [(each.what, each.transaction.label) for each in versions] == [
        (INSERTED, 'first'), (DELETED, 'third'), (INSERTED, 'fourth')]
    assert versions[1].before == {'sname': 'b', 'num_conns': 1} and versions[1].after is None
    assert [each.after['num_conns'] for each in tarnbase.history(path, 'ldap_conn', 'a',
                                                                 since=past)] == [4]
    assert list(tarnbase.history(path, 'ldap_conn', 'c')) == []
    assert len(tarnctl('history', '--store', path, 'ldap_conn', 'a').splitlines()) > 0


def test_a_closed_store_closes_its_past_too(path, past):
    store = tarnbase.open(path, 'w')
    with store.at(past) as before:
        servers = before.tables['ldap_conn']
        record, walk = servers['a'], iter(servers.values())
        store.close()
        assert before.closed
        for access in (lambda: len(servers), lambda: record.num_conns, lambda: next(walk),
                       lambda: before.tables['ldap_conn'], lambda: before.describe()):
            with pytest.raises(tarnbase.NotPossible, match='the store is closed'):
                access()
        tarnbase.open(path, 'w').close()
    assert store.closed
    for begin in (lambda: store.at(past).__enter__(), lambda: store.watch().__enter__(),
                  lambda: store.history('ldap_conn', 'a')):
        with pytest.raises(tarnbase.NotPossible, match='the store is closed'):
            begin()


def test_a_closed_store_closes_its_watch_too(path, past):
    store = tarnbase.open(path, 'w')
    with store.watch(since=0, timeout=0) as changes:
        change = next(changes)
        store.close()
        for access in (lambda: next(changes), lambda: change.after.num_conns,
                       lambda: change.differences(), lambda: list(changes.store.tables),
                       lambda: len(change.table), changes._core.transaction,
                       lambda: changes._core.changes(0, 1), lambda: changes._core.missed):
            with pytest.raises(tarnbase.NotPossible, match='the store is closed'):
                access()
    assert store.closed


def test_a_store_whose_past_is_in_use_is_not_closed(path, past):
    with tarnbase.open(path, 'w') as store:
        with store.at(past) as before:
            with before.snapshot():
                with pytest.raises(tarnbase.NotPossible, match="can't be closed"):
                    store.close()
                assert before.tables['ldap_conn']['a'].num_conns == 2
        assert store.tables['ldap_conn']['a'].num_conns == 4


def test_a_block_that_is_never_left_ends_with_its_object(path, past):
    store = tarnbase.open(path, 'w')
    block = store.at(past)
    before = block.__enter__()
    del block
    gc.collect()
    assert before.closed and not store.closed
    store.close()


def test_a_state_of_the_past_has_no_other(path, past):
    with tarnbase.open(path, at=past) as store:
        with pytest.raises(tarnbase.NotPossible, match='open the store itself'):
            store.at(0).__enter__()
        assert len(store.tables['ldap_conn']) == 2
    with tarnbase.open(path) as store:
        with pytest.raises(tarnbase.NotPossible, match='at a transaction'):
            store._core.changes(0, 1)


def test_a_watch_makes_few_objects_of_a_large_transaction_at_once(path):
    count = 8000
    with tarnbase.open(path, 'x') as store:
        store.set_journal(True)
        servers = store.tables.open('ldap_conn')
        with store.transaction():
            for number in range(count):
                servers.insert(f'server{number}')
    with tarnbase.watch(path, since=0, timeout=0) as changes:
        tracemalloc.start()
        found = sum(1 for _ in changes)
        peak = tracemalloc.get_traced_memory()[1]
        tracemalloc.stop()
    assert found == count
    # All at once they take 190 bytes each.
    assert peak < 100 * count
