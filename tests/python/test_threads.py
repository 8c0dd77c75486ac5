# SPDX-License-Identifier: Apache-2.0
"""Threads of a process share a store."""
import threading

import pytest

import tarnbase
from conftest import Child

ROUNDS = 60


def run_all(*functions):
    failures = []

    def guarded(function):
        try:
            function()
        except BaseException as failure:
            failures.append(failure)
    threads = [threading.Thread(target=guarded, args=(each,)) for each in functions]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    if failures:
        raise failures[0]


def ending(event, function):
    """The function, with an event that says when it has ended, also by a failure."""
    def ended():
        try:
            function()
        finally:
            event.set()
    return ended


def test_threads_take_turns_in_writing(store, servers):
    def write(name):
        for number in range(ROUNDS):
            with store.transaction():
                servers.update(name, num_conns=servers[name].num_conns + 1)
                servers.insert(f'{name}.{number}')
    run_all(*(lambda name=name: write(name) for name in ('a.example', 'b.example')))
    assert servers['a.example'].num_conns == 1 + ROUNDS
    assert len(servers) == 3 + 2 * ROUNDS


def test_a_snapshot_shows_no_half_of_a_transaction(store, servers):
    is_over = threading.Event()

    def write():
        for number in range(ROUNDS):
            with store.transaction():
                for name in servers:
                    servers[name].num_conns = number
                if number % 3 == 0:
                    del servers['c.example']
                    servers.insert('c.example', num_conns=number)

    def read():
        while not is_over.is_set():
            with store.snapshot():
                records = list(servers.values())
                first = [record.num_conns for record in records]
                assert len(set(first)) == 1 or first == [1, 2, 0]
                assert first == [record.num_conns for record in records]
    run_all(ending(is_over, write), read, read)


def test_a_snapshot_that_waits_leaves_a_transaction_its_records(store, servers):
    def read():
        with store.snapshot():
            assert servers['a.example'].num_conns == 5
    with store.transaction():
        record = servers['a.example']
        reader = threading.Thread(target=read)
        reader.start()
        reader.join(0.2)
        assert reader.is_alive()
        record.num_conns = 5
    reader.join()


def test_a_reader_without_a_snapshot_reads_or_raises(store, servers):
    is_over = threading.Event()
    outcomes = set()

    def write():
        for number in range(ROUNDS):
            with store.transaction():
                del servers['c.example']
                servers.insert('c.example', num_conns=number)

    def read():
        has_read_after_end = False
        while not has_read_after_end:
            has_read_after_end = is_over.is_set()
            try:
                record = servers['c.example']
                outcomes.add(0 <= record.num_conns < ROUNDS)
                outcomes.add(0 <= record.num_conns < ROUNDS)
            except tarnbase.Stale:
                outcomes.add('stale')
    run_all(ending(is_over, write), read, read)
    assert outcomes <= {True, 'stale'} and True in outcomes


def test_a_thread_without_a_transaction_changes_nothing(store, servers):
    with store.transaction():
        record = servers['a.example']

        def change():
            with pytest.raises(tarnbase.NotPossible, match='a transaction of this thread'):
                record.num_conns = 3
            store.patience = 0.01
            with pytest.raises(tarnbase.Busy, match='another thread'):
                with store.transaction():
                    pass
        run_all(change)


def test_others_run_while_a_thread_waits(store, servers, path):
    with tarnbase.open(path + '2', 'x') as other:
        waits = threading.Thread(target=lambda: other.wait(30))
        waits.start()
        assert servers['a.example'].num_conns == 1  # at once
        Child('''
import sys, tarnbase
with tarnbase.open(sys.argv[1], 'w') as store:
    store.tables.open('ldap_conn')
''', path + '2').end()
        waits.join()


def test_each_thread_has_a_tenant_of_its_own(store, servers):
    with tarnbase.tenant(4):
        assert len(servers) == 0
        run_all(lambda: servers['a.example'])
