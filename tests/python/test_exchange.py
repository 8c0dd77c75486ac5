# SPDX-License-Identifier: Apache-2.0
"""Stores that others have written, and those that others read; and the forms of records."""
import json
import os
import subprocess

import pytest

import every_table
import tarnbase
from conftest import PLAIN_ENVIRONMENT, TARNCTL, tarnctl
from tarnbase import schema


@pytest.fixture(scope='module')
def every(tmp_path_factory):
    """A store with records of all tables, which tarnctl has written."""
    before = os.getcwd()
    preloaded = os.environ.pop('LD_PRELOAD', None)
    os.chdir(tmp_path_factory.mktemp('every'))
    try:
        every_table.make_store(TARNCTL)
        yield os.path.abspath('all.store')
    finally:
        os.chdir(before)
        if preloaded is not None:
            os.environ['LD_PRELOAD'] = preloaded


def exported(path):
    document = json.loads(tarnctl('export', '--store', path, '--format', 'json'))
    return document['tarnbase']['tables']


def test_every_table_is_read_as_tarnctl_reads_it(every):
    expected = exported(every)
    with tarnbase.open(every) as store:
        assert len(store.tables) == len(schema.tables) == len(expected)
        for read, wanted in zip(tarnbase.document(store)['tarnbase']['tables'], expected):
            assert read == wanted


def test_every_record_is_copied_through_python(every, path):
    with tarnbase.open(every) as store, tarnbase.open(path, 'x') as copy:
        for table in store.tables.values():
            made = copy.tables.open(table.full_name)
            for record in table.values():
                tracked = record.states is not None
                with copy.session(tracked=tracked).transaction():
                    same = made.insert(record.key)
                    same.update(record)
                    for name, flag in (record.states or {}).items():
                        if name in record._fields:
                            same.set_state(name, flag)
    for copied, original in zip(exported(path), exported(every)):
        assert [each['fields'] for each in copied['records']] == [
            each['fields'] for each in original['records']]
        assert [each.get('key') for each in copied['records']] == [
            each.get('key') for each in original['records']]
    tarnctl('store', 'check', path)


def test_every_record_goes_through_its_frame_and_its_xml(every):
    with tarnbase.open(every) as store, tarnbase.private() as other:
        for table in store.tables.values():
            made = other.tables.open(table.full_name)
            for record in table.values():
                frame, text = record.to_wire(), record.to_xml()
                with other.transaction() as transaction:
                    copy = made.insert_wire(frame)
                    assert copy.key == record.key and copy.to_dict() == record.to_dict()
                    assert copy.to_text() == record.to_text()
                    transaction.rollback()
                with other.transaction() as transaction:
                    assert made.insert_xml(text).to_dict() == record.to_dict()
                    transaction.rollback()
                assert tarnbase.decode(frame) == (table.type.name, record.key, record.to_dict())


def test_a_bad_frame_or_document_is_refused_and_leaves_nothing(store, servers, capfd):
    frame = servers['a.example'].to_wire()
    stats = store.tables.open('ldap_stats')
    blocks = store.describe()['blocks']
    with store.transaction():
        for table, bad, message in ((servers, frame[:20], 'expected a frame of at least 43'),
                                    (stats, frame, "the frame is another table's"),
                                    (servers, frame[:-3], "can't be read from byte"),
                                    (servers, frame + b'x', "can't be read from byte")):
            with pytest.raises(ValueError, match=message):
                table.insert_wire(bad)
        with pytest.raises(ValueError, match='tbl_ldap_conn:ldap: .*line'):
            servers.insert_xml('<tbl_ldap_conn>')
        with pytest.raises(tarnbase.DuplicateKey):
            servers.insert_wire(frame)
    assert store.describe()['blocks'] == blocks and len(servers) == 3
    with pytest.raises(ValueError, match='no table of the schema'):
        tarnbase.decode(bytes(60))
    assert capfd.readouterr().err == ''


def test_a_store_that_a_c_program_keeps_is_read(path):
    subprocess.run([os.environ['TARN_LDAP'], '--store', path, os.environ['RECORDING']],
                   check=True, capture_output=True, env=PLAIN_ENVIRONMENT)
    expected = {(each['table'], each['name']): each['records'] for each in exported(path)}
    assert expected
    with tarnbase.open(path) as store:
        for table in store.tables.values():
            records = expected[table.type.name, table.name]
            assert [record.to_json() for record in table.everything()] == records
        assert any(stats.total_bind_req for stats in store.tables['ldap_stats'].values())


def test_tarnctl_reads_what_python_has_written(store, servers, path):
    with store.transaction(), tarnbase.tenant(3):
        servers.of_source(7).insert('größer', num_conns=2**32 - 1)
    assert tarnctl('get', '--store', path, 'ldap_conn', 'a.example', '--field',
                   'num_conns').strip() == '1'
    [table] = exported(path)
    assert [(each['tenant'], each['source'], each['fields']) for each in table['records']][-1] == (
        3, 7, {'sname': 'größer', 'num_conns': 2**32 - 1})
    assert tarnbase.document(store)['tarnbase']['tables'] == [table]
    tarnctl('store', 'check', path)


def test_python_reads_what_tarnctl_changes(store, servers, path):
    tarnctl('set', '--store', path, 'ldap_conn', 'a.example', 'num_conns=17')
    store.refresh()
    assert servers['a.example'].num_conns == 17
