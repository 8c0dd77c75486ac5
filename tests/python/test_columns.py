# SPDX-License-Identifier: Apache-2.0
"""Columns as buffers."""
import datetime

import pytest

import tarnbase
from tarnbase import schema


@pytest.fixture
def table(store):
    made = store.tables.open('aaa_servers')
    with store.session(variants={'aaa_servers': 0}).transaction():
        made.insert('old', duration=5, aaa_authen={'requests': 50})
    with store.transaction():
        for number, name in enumerate(['a', 'größer', '']):
            made.insert(name, duration=2**32 - 1 - number, minute=bytes([number, 7]))
    return made


def test_numbers_are_arrays_of_their_type(table):
    column = table.columns('duration')['duration']
    view = memoryview(column)
    assert (view.format, view.itemsize, view.shape, view.readonly) == ('I', 4, (4,), True)
    assert view.tolist() == column.tolist() == [each.duration for each in table.values()]
    assert len(column) == 4 and column.name == 'duration'


def test_texts_are_bytes_and_offsets(table):
    column = table.columns('sname')['sname']
    offsets = memoryview(column.offsets)
    assert offsets.format == 'q' and len(offsets) == 5
    data = bytes(memoryview(column.values))
    assert [data[begin:end].decode() for begin, end in zip(offsets, offsets[1:])] == list(table)
    assert column.tolist() == list(table)
    fixed = memoryview(column.fixed)
    assert fixed.format == f'{len("größer".encode())}s' and fixed.shape == (4,)
    size = fixed.itemsize
    rows = [fixed.tobytes()[begin:begin + size] for begin in range(0, fixed.nbytes, size)]
    assert [each.rstrip(b'\0').decode() for each in rows] == list(table)
    with pytest.raises(TypeError, match="duration isn't a column of texts"):
        table.columns('duration')['duration'].fixed


def test_an_array_is_a_row_of_two_dimensions(table):
    view = memoryview(table.columns('minute')['minute'])
    assert view.shape == (4, 1440) and view.format == 'B'
    assert view.tolist() == [list(record.minute) for record in table.values()]


def test_a_field_of_a_structure_is_named_by_its_path(table):
    column = table.columns('aaa_authen.requests')['aaa_authen.requests']
    assert column.tolist() == [each.aaa_authen.requests for each in table.values()]
    with pytest.raises(tarnbase.NoSuchField, match='as aaa_authen.requests'):
        table.columns('aaa_authen')
    for name in ('nothing', 'aaa_authen.nothing', 'duration.x', ''):
        with pytest.raises(tarnbase.NoSuchField, match='tbl_aaa_servers has no field'):
            table.columns(name)


def test_a_field_that_an_older_object_lacks_is_not_valid(table):
    name = next(path for path in table.column_names() if path.startswith('radius_dtls_stats.'))
    column = table.columns(name)[name]
    is_old = [record.variant == 0 for record in table.values()]
    assert memoryview(column.valid).tolist() == [not each for each in is_old]
    assert [each is None for each in column.tolist()] == is_old
    assert all(memoryview(table.columns('duration')['duration'].valid))


def test_times_are_nanoseconds_and_enumerations_numbers(store):
    table = store.tables.open('lumEnvironmentDataObjects_op')
    moment = datetime.datetime(2026, 3, 1, tzinfo=datetime.timezone.utc)
    with store.transaction():
        table.insert(1, last_update=moment, data_source=schema.lum_env_data_source.CACHED)
    columns = table.columns('last_update', 'data_source')
    assert memoryview(columns['last_update']).format == 'q'
    assert columns['last_update'].tolist() == [int(moment.timestamp()) * 10**9]
    assert columns['data_source'].tolist() == [1]


def test_parts_of_a_key_and_addresses_are_columns(store):
    table = store.tables.open('lumvDownloadServerEntry_op')
    with store.transaction():
        for address in ('192.0.2.1', '2001:db8::7', None):
            table.insert(('list', address, 2))
    parts = table.type.key_class._fields
    columns = table.columns(*parts)
    assert list(columns) == list(parts)
    keys = list(zip(*(columns[name].tolist() for name in parts)))
    assert keys == [(name, str(address or ''), number) for name, address, number in table]


def test_a_column_is_of_a_source_and_a_tenant_or_of_all(store, servers):
    with store.transaction():
        servers.of_source(9).insert('a.example', num_conns=90)
        with tarnbase.tenant(7):
            servers.insert('z.example', num_conns=70)
            assert servers.columns('num_conns')['num_conns'].tolist() == [70]
    assert servers.columns('num_conns')['num_conns'].tolist() == [1, 2, 0]
    assert servers.columns('num_conns', every_source=True)['num_conns'].tolist() == [1, 90, 2, 0]
    everything = servers.columns('num_conns', 'source', 'tenant', every_tenant=True)
    assert [each.tolist() for each in everything.values()] == [
        [1, 90, 2, 0, 70], [1, 9, 1, 1, 1], [0, 0, 0, 0, 7]]


def test_without_names_all_fields_but_arrays_are_columns(table, servers):
    assert list(servers.columns()) == ['sname', 'num_conns']
    columns = table.columns()
    assert 'aaa_authen.requests' in columns and 'minute' not in columns
    assert {len(column) for column in columns.values()} == {4}


def test_a_column_outlives_its_store(store, table):
    column = table.columns('duration')['duration']
    view = memoryview(column)
    store.close()
    assert view.tolist() == column.tolist() != []


def test_an_empty_table_has_empty_columns(store):
    columns = store.tables.open('ldap_conn').columns('sname', 'num_conns')
    assert [column.tolist() for column in columns.values()] == [[], []]
    assert memoryview(columns['num_conns']).shape == (0,)
    assert memoryview(columns['sname'].offsets).tolist() == [0]


def test_numpy_takes_a_column_without_a_copy(table):
    numpy = pytest.importorskip('numpy')
    column = table.columns('duration')['duration']
    array = numpy.asarray(column)
    assert array.dtype == numpy.uint32 and array.tolist() == column.tolist()
    assert numpy.shares_memory(array, numpy.asarray(column))
    assert numpy.asarray(table.columns('minute')['minute']).shape == (4, 1440)
    assert numpy.asarray(table.columns('sname')['sname'].fixed).tolist()[0] == b''
