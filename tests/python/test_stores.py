# SPDX-License-Identifier: Apache-2.0
"""Stores, transactions, and other processes."""
import errno
import signal
import threading

import pytest

import tarnbase
from conftest import Child, tarnctl, until

WRITER = '''
import sys, tarnbase
with tarnbase.open(sys.argv[1], 'c') as store:
    table = store.tables.open('ldap_conn:ldap')
    with store.transaction():
        table.insert(sys.argv[2], num_conns=1)
        print('inserted', flush=True)
        if len(sys.argv) > 3:
            sys.stdin.readline()
'''


def test_each_mode_opens_or_makes_a_store(path):
    with pytest.raises(FileNotFoundError) as missing:
        tarnbase.open(path)
    assert missing.value.errno == missing.value.code == errno.ENOENT
    assert path in str(missing.value)
    tarnbase.open(path, 'c').close()
    with pytest.raises(FileExistsError):
        tarnbase.open(path, 'x')
    with tarnbase.open(path, 'w') as store:
        assert store.writable and store.path == path and not store.closed
    assert store.closed
    with pytest.raises(ValueError, match="expected 'r', 'w', 'c' or 'x', not 'q'"):
        tarnbase.open(path, 'q')


def test_a_store_that_is_open_to_read_has_no_transactions(store, path, servers):
    store.close()
    with tarnbase.open(path) as reader:
        assert len(reader.tables['ldap_conn']) == 3
        with pytest.raises(tarnbase.NotPossible, match='open to read only'):
            with reader.transaction():
                pass


def test_a_block_commits_at_its_end(store, servers):
    with store.transaction():
        servers.insert('d.example')
    assert 'd.example' in servers


def test_an_exception_rolls_its_block_back(store, servers):
    with pytest.raises(ZeroDivisionError):
        with store.transaction():
            servers.insert('d.example')
            del servers['a.example']
            1 / 0
    assert list(servers) == ['a.example', 'b.example', 'c.example']


def test_a_transaction_can_be_ended_inside_its_block(store, servers):
    with store.transaction() as transaction:
        servers.insert('d.example')
        transaction.rollback()
        assert 'd.example' not in servers
    with store.transaction() as transaction:
        servers.insert('e.example')
        transaction.commit()
    assert list(servers)[-1] == 'e.example'


def test_a_change_needs_a_transaction(store, servers):
    record = servers['a.example']
    for change in (lambda: setattr(record, 'num_conns', 3), lambda: servers.insert('d'),
                   lambda: servers.__delitem__('a.example')):
        with pytest.raises(tarnbase.NotPossible, match='needs a transaction'):
            change()


def test_a_thread_has_one_transaction_at_a_time(store):
    with store.transaction():
        with pytest.raises(tarnbase.NotPossible, match='this thread has a transaction open'):
            with store.transaction():
                pass


def test_a_snapshot_and_a_transaction_in_it_exclude_each_other(store, servers):
    with store.snapshot():
        with pytest.raises(tarnbase.NotPossible) as refused:
            with store.transaction():
                pass
        assert refused.value.code == errno.EDEADLK
        with pytest.raises(tarnbase.NotPossible):
            store.refresh()
    with store.transaction(), store.snapshot():
        assert len(servers) == 3


def test_other_processes_are_seen_after_a_refresh(store, servers, path):
    Child(WRITER, path, 'd.example').end()
    assert store.wait(60)
    assert 'd.example' not in servers
    store.refresh()
    assert 'd.example' in servers
    assert not store.wait(0)


def test_a_snapshot_brings_the_store_up_to_date(store, servers, path):
    with store.snapshot():
        Child(WRITER, path, 'd.example').end()
        assert 'd.example' not in servers
    with store.snapshot():
        assert 'd.example' in servers


def test_what_a_killed_process_had_not_committed_is_not_there(store, servers, path):
    child = Child(WRITER, path, 'd.example', 'waits')
    assert child.line() == 'inserted'
    child.kill()
    with store.transaction():
        servers.insert('e.example')
    assert list(servers) == ['a.example', 'b.example', 'c.example', 'e.example']
    assert 'd.example' not in tarnctl('show', '--store', path, 'ldap_conn')


def test_patience_limits_the_wait_for_another_process(store, servers, path):
    child = Child(WRITER, path, 'd.example', 'waits')
    assert child.line() == 'inserted'
    store.patience = 0.05
    with pytest.raises(TimeoutError) as busy:
        with store.transaction():
            pass
    assert isinstance(busy.value, tarnbase.Busy)
    assert str(child.process.pid) in str(busy.value)
    child.say('')
    child.end()
    store.patience = None
    with store.transaction():
        assert 'd.example' in servers


def test_a_backup_is_a_store_of_its_own(store, servers, tmp_path):
    copy = tmp_path / 'copy.store'
    store.back_up(copy)
    store.compact()
    store.sync()
    store.close()
    with tarnbase.open(copy) as other:
        assert len(other.tables['ldap_conn']) == 3


def test_a_private_store_has_no_files():
    with tarnbase.private() as store:
        table = store.tables.open('ldap_stats')
        with store.transaction():
            table.insert('a')
        assert store.path == '' and len(table) == 1 and store.describe()['tables'] == 1
        with pytest.raises(tarnbase.NotPossible, match='no history'):
            store.history('ldap_stats', 'a')


def test_a_closed_store_refuses_everything(store, servers):
    store.close()
    store.close()
    for use in (lambda: len(servers), lambda: servers['a.example'], lambda: list(store.tables),
                store.refresh, store.sync, store.describe, lambda: store.wait(0)):
        with pytest.raises(tarnbase.NotPossible, match='the store is closed'):
            use()


def test_a_store_is_not_closed_while_it_is_used(store, servers):
    with store.snapshot():
        with pytest.raises(tarnbase.NotPossible) as refused:
            store.close()
        assert refused.value.code == errno.EBUSY
        assert len(servers) == 3
    with store.transaction():
        with pytest.raises(tarnbase.NotPossible):
            store.close()


def test_ctrl_c_ends_a_wait(path):
    child = Child('''
import signal, sys, tarnbase
store = tarnbase.open(sys.argv[1], 'c')
try:
    print('waits', flush=True)
    store.wait()
except KeyboardInterrupt:
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    print('interrupted', flush=True)
''', path)
    assert child.line() == 'waits'
    answers = []
    reader = threading.Thread(target=lambda: answers.append(child.line()))
    reader.start()

    def is_over():
        child.process.send_signal(signal.SIGINT)
        return bool(answers)
    until(is_over)
    reader.join()
    assert answers == ['interrupted']
    child.end()
