# SPDX-License-Identifier: Apache-2.0
"""Fields of each kind, read and set."""
import datetime
import ipaddress

import pytest

import tarnbase
from tarnbase import schema

UTC = datetime.timezone.utc


@pytest.fixture
def server(store):
    """A record with a structure, an enumeration and an array, in an open transaction."""
    table = store.tables.open('aaa_servers')
    with store.transaction():
        yield table.insert('radius1')


@pytest.fixture
def environment(store):
    table = store.tables.open('lumEnvironmentDataObjects_op')
    with store.transaction():
        yield table.insert(1)


@pytest.mark.parametrize('value', [0, 1, 2**31, 2**32 - 1])
def test_a_number_keeps_its_value(server, value):
    server.duration = value
    assert server.duration == value and type(server.duration) is int


def test_a_number_of_64_bits_keeps_its_value(store):
    table = store.tables.open('aaa_command_handler')
    with store.transaction():
        record = table.insert(1, cmd_pod=2**64 - 1)
        assert record.cmd_pod == 2**64 - 1
        with pytest.raises(ValueError, match='from 0 to 18446744073709551615'):
            record.cmd_pod = 2**64


@pytest.mark.parametrize('value', [-1, 2**32, 2**64, 2**100, -2**70])
def test_a_number_out_of_range_names_table_key_field_and_range(server, value):
    with pytest.raises(tarnbase.BadValue) as refused:
        server.duration = value
    assert str(refused.value) == (
        "tbl_aaa_servers:aaa_servers 'radius1': duration: expected a number from 0 to 4294967295, "
        f'not {value}')
    assert server.duration == 0


@pytest.mark.parametrize('value', [1.5, '1', None, [1]])
def test_a_number_is_no_other_type(server, value):
    with pytest.raises(TypeError, match='duration: expected a number'):
        server.duration = value


def test_a_boolean_is_true_or_false(store):
    table = store.tables.open('service_type_info')
    with store.transaction():
        record = table.insert((1, 'x'))
        assert record.enabled is False
        record.enabled = True
        assert record.enabled is True
        with pytest.raises(TypeError, match='enabled: expected True or False, not 1'):
            record.enabled = 1


@pytest.mark.parametrize('text', ['', 'ldap1.example.net', 'größer', 'nul\0 inside', 'x' * 70000])
def test_a_text_keeps_its_value(environment, text):
    environment.security_group_tag_generation_id = text
    assert environment.security_group_tag_generation_id == text


def test_bytes_that_are_no_text_keep_their_value(environment):
    environment.security_group_tag_generation_id = b'\xff\xfe1'
    text = environment.security_group_tag_generation_id
    assert text.encode('utf-8', 'surrogateescape') == b'\xff\xfe1'
    environment.security_group_tag_generation_id = text
    assert environment.to_json()['fields']['security_group_tag_generation_id'] == {'hex': 'fffe31'}
    with pytest.raises(TypeError, match='expected a str or bytes, not 5'):
        environment.security_group_tag_generation_id = 5


def test_an_enumeration_is_an_int_enum(environment):
    source = schema.lum_env_data_source
    environment.data_source = source.DOWNLOADED
    assert environment.data_source is source.DOWNLOADED
    assert environment.data_source == 2 and source.DOWNLOADED.name == 'DOWNLOADED'
    environment.data_source = 1
    assert environment.data_source is source.CACHED
    with pytest.raises(ValueError, match='data_source: expected a value of lum_env_data_source'):
        environment.data_source = 99
    assert environment.to_json()['fields']['data_source'] == 'KEL_ENV_DATA_SOURCE_CACHED'


def test_an_enumeration_that_was_never_set_is_its_number(store):
    table = store.tables.open('dot1xAuthConfigEntry_op')
    [field] = [each for each in tarnbase.fields(table.type.record).values()
               if each.enumeration is schema.auth_state]
    with store.transaction():
        record = table.insert(1)
        assert record.get(field.name) == 0 and type(record.get(field.name)) is int
        record.update({field.name: schema.auth_state.HELD})
        assert record.get(field.name) is schema.auth_state.HELD


def test_an_address_is_one_of_ipaddress(store):
    table = store.tables.open('lumvProvisionedServerEntry_op')
    with store.transaction():
        record = table.insert('::1')
        assert record.addr == record.key == ipaddress.IPv6Address('::1')
    peers = store.tables.open('lumvDownloadServerEntry_op')
    with store.transaction():
        for address in ('192.0.2.1', '2001:db8::7', None):
            peer = peers.insert(('list', address, 1))
            assert peer.key[1] == (address and ipaddress.ip_address(address))
        with pytest.raises(TypeError, match='an address of `ipaddress`'):
            peers.insert(('list', 7, 1))


def test_a_time_is_a_datetime(environment):
    moment = datetime.datetime(2026, 3, 1, 12, 30, 15, 250, tzinfo=UTC)
    environment.last_update = moment
    assert environment.last_update == moment
    assert environment.get('last_update.tv_nsec') == 250_000
    environment.last_update = moment.astimezone(datetime.timezone(datetime.timedelta(hours=5)))
    assert environment.last_update == moment and environment.last_update.tzinfo is UTC
    environment.last_update = {'tv_sec': 1, 'tv_nsec': 999}
    assert environment.last_update == datetime.datetime(1970, 1, 1, 0, 0, 1, tzinfo=UTC)


def test_a_time_needs_a_time_zone_and_32_bits(environment):
    with pytest.raises(ValueError, match='last_update: expected a datetime with a time zone'):
        environment.last_update = datetime.datetime(2026, 3, 1)
    with pytest.raises(ValueError, match='tv_sec: expected a number from 0'):
        environment.last_update = datetime.datetime(2200, 1, 1, tzinfo=UTC)
    with pytest.raises(TypeError, match='last_update: expected a datetime or a mapping'):
        environment.last_update = 5


def test_a_structure_is_read_and_set_in_place(server):
    server.aaa_authen.requests = 3
    inner = server.aaa_authen
    inner.accepts = 2
    assert isinstance(inner, schema.aaa_type)
    assert (server.aaa_authen.requests, server.aaa_authen.accepts) == (3, 2)
    server.aaa_author = {'rejects': 4}
    assert server.aaa_author.rejects == 4 and server.aaa_author.requests == 0
    server.aaa_author = inner
    assert server.aaa_author == inner and server.aaa_author.requests == 3
    with pytest.raises(TypeError, match='aaa_author: expected a aaa_type or a mapping'):
        server.aaa_author = 5
    with pytest.raises(ValueError, match="'radius1': requests: expected a number"):
        server.aaa_authen.requests = -1


def test_an_array_is_a_buffer(server):
    assert len(server.minute) == 1440 and server.minute.tobytes() == bytes(1440)
    server.minute = bytes(range(200))
    assert bytes(memoryview(server.minute)[:200]) == bytes(range(200))
    minute = server.minute
    minute[3] = 77
    minute[-1] = 5
    assert minute[3] == server.minute[3] == 77 and server.minute[1439] == 5
    assert list(minute)[:5] == [0, 1, 2, 77, 4] and minute[2:4] == bytes([2, 77])
    assert memoryview(minute).readonly
    with pytest.raises(IndexError):
        minute[1440]
    with pytest.raises(ValueError, match='minute: expected a number from 0 to 255, not 256'):
        minute[0] = 256
    with pytest.raises(ValueError, match='minute: expected at most 1440 elements'):
        server.minute = bytes(1441)
    with pytest.raises(TypeError, match='minute: expected bytes'):
        server.minute = 'text'


def test_a_name_that_is_no_field_is_refused(server):
    with pytest.raises(AttributeError, match='st_aaa_servers has no field requests'):
        server.requests = 1
    with pytest.raises(AttributeError):
        server.requests
    with pytest.raises(tarnbase.NoSuchField):
        server.get('aaa_authen.nothing')
    with pytest.raises(tarnbase.NoSuchField, match='duration has no fields'):
        server.get('duration.seconds')


def test_an_object_of_an_older_variant_lacks_the_newer_fields(store):
    with store.session(variants={'aaa_servers': 0}) as session:
        old = session.tables.open('aaa_servers')
        with session.transaction():
            record = old.insert('radius1')
            assert record.variant == 0 and not hasattr(record, 'radius_dtls_stats')
            with pytest.raises(tarnbase.NoSuchField, match='older variant'):
                record.radius_dtls_stats
            assert 'radius_dtls_stats' not in record.to_dict()
            assert record.to_json()['variant'] == 0
    with store.transaction():
        record = store.tables['aaa_servers'].insert('radius2')
        assert record.variant == 1 and 'radius_dtls_stats' in record.to_dict()
    with pytest.raises(tarnbase.NoSuchKey, match='no structure nothing'):
        store.session(variants={'nothing': 0})


def test_a_tracked_object_has_state_flags(store):
    with store.session(tracked=True) as session:
        with session.transaction():
            record = session.tables.open('ldap_conn:ldap').insert('a', num_conns=1)
            assert record.states['num_conns'] == 2
            record.set_state('num_conns', 1)
            assert record.states['num_conns'] == 1
    with store.transaction():
        plain = store.tables['ldap_conn'].insert('b')
        assert plain.states is None
        with pytest.raises(tarnbase.NotPossible, match='no state flags'):
            plain.set_state('num_conns', 1)


def test_a_field_says_what_the_schema_says(server):
    field = tarnbase.fields(server)['minute']
    assert (field.type, field.elements, field.kind) == ('u_int8', 1440, 'array')
    assert schema.aaa_servers.minute is field and 'minutes of a day' in field.__doc__
    assert set(tarnbase.fields(schema.ldap_conn)) == {'sname', 'num_conns'}
