# SPDX-License-Identifier: Apache-2.0
"""Tables as mappings."""
import ipaddress

import pytest

import tarnbase
from tarnbase import schema


def test_a_table_is_a_mapping_in_the_order_of_its_keys(servers):
    assert list(servers) == list(servers.keys()) == ['a.example', 'b.example', 'c.example']
    assert list(reversed(servers)) == ['c.example', 'b.example', 'a.example']
    assert [record.num_conns for record in servers.values()] == [1, 2, 0]
    assert {key: record.num_conns for key, record in servers.items()} == {
        'a.example': 1, 'b.example': 2, 'c.example': 0}
    assert len(servers) == 3 and servers


def test_a_record_is_found_by_its_key(servers):
    assert servers['b.example'].num_conns == 2
    assert 'b.example' in servers and 'd.example' not in servers
    assert servers.get('d.example') is None and servers.get('d.example', 5) == 5
    with pytest.raises(KeyError, match="tbl_ldap_conn:ldap has no record of the key 'd.example'"):
        servers['d.example']


def test_a_key_of_another_type_is_refused(servers):
    with pytest.raises(TypeError, match='sname: expected a str or bytes, not 7'):
        servers[7]


def test_a_key_is_inserted_once(store, servers, capfd):
    with store.transaction():
        with pytest.raises(tarnbase.DuplicateKey, match="'a.example': there is already a record"):
            servers.insert('a.example')
    assert len(servers) == 3
    assert capfd.readouterr().err == ''


def test_a_failed_insertion_leaves_nothing(store, servers):
    before = store.describe()['blocks']
    with store.transaction():
        for _ in range(3):
            with pytest.raises(tarnbase.BadValue):
                servers.insert('d.example', num_conns=-1)
            with pytest.raises(tarnbase.NoSuchField, match='st_ldap_conn has no field cons'):
                servers.insert('d.example', cons=1)
            with pytest.raises(TypeError):
                servers.insert(5)
    assert store.describe()['blocks'] == before


def test_fields_of_a_record_are_updated(store, servers):
    with store.transaction():
        servers.update('a.example', num_conns=9)
        servers['b.example'].num_conns += 5
    assert [record.num_conns for record in servers.values()] == [9, 7, 0]
    with store.transaction(), pytest.raises(tarnbase.NoSuchKey):
        servers.update('d.example', num_conns=9)


def test_an_assignment_replaces_the_record(store):
    table = store.tables.open('ldap_stats')
    with store.transaction():
        table.insert('a', total_msg_sent=3, total_msg_rcvd=4)
        table['a'] = {'total_msg_rcvd': 5}
        table['b'] = table['a']
    assert table['a'].total_msg_sent == 0 and table['a'].total_msg_rcvd == 5
    with store.transaction():
        table['b'].update(table['b'].to_dict())
        with pytest.raises(tarnbase.NotPossible, match="'b': sname is the key"):
            table['b'].sname = 'c'
        with pytest.raises(tarnbase.NotPossible):
            table.insert('d', sname='e')
    assert table['b'].key == table['b'].sname == 'b'
    assert table['b'].total_msg_rcvd == 5


def test_a_deleted_record_is_gone(store, servers):
    with store.transaction():
        del servers['a.example']
        with pytest.raises(KeyError):
            del servers['a.example']
    assert list(servers) == ['b.example', 'c.example']


def test_a_range_is_from_a_key_up_to_another(servers):
    def keys(*ends, **options):
        return [record.key for record in servers.range(*ends, **options)]
    assert keys('b.example') == ['b.example', 'c.example']
    assert keys(None, 'b.example') == ['a.example']
    assert keys('a.examplf', 'c.example') == ['b.example']
    assert keys('b.example', 'c.example', backward=True) == ['b.example']
    assert keys('b.example', backward=True) == ['c.example', 'b.example']
    assert keys('x.example') == keys('x.example', backward=True) == []
    assert keys(None, 'a.example', backward=True) == []


def test_a_key_of_several_parts_is_a_tuple(store):
    table = store.tables.open('service_type_info')
    with store.transaction():
        for number, name in [(2, 'framed'), (1, 'login'), (2, 'call')]:
            table.insert((number, name), enabled=True)
    keys = list(table)
    assert keys == [(1, 'login'), (2, 'call'), (2, 'framed')]
    assert keys[0].serv_type == 1 and keys[0].serv_name == 'login'
    assert type(keys[0]) is schema.tbl_service_type_info_key
    assert table[schema.tbl_service_type_info_key(2, 'call')].enabled
    assert [record.key for record in table.range((2, ''))] == keys[1:]
    with pytest.raises(TypeError, match=r'a tuple \(serv_type, serv_name\), not \(1,\)'):
        table[(1,)]
    with pytest.raises(ValueError, match='serv_type: expected a number from 0 to 255, not 256'):
        table[(256, 'x')]


def test_a_key_is_an_enumeration_or_an_address(store):
    states = store.tables.open('lumiIfcStatsEntry_op')
    state = next(iter(schema.lumi_interface_controller_state))
    provisioned = store.tables.open('lumvProvisionedServerEntry_op')
    with store.transaction():
        states.insert(state)
        provisioned.insert('2001:db8::7')
        provisioned.insert(ipaddress.ip_address('192.0.2.1'))
    assert list(states) == [state] and isinstance(next(iter(states)), type(state))
    assert list(provisioned) == [ipaddress.ip_address('192.0.2.1'),
                                 ipaddress.ip_address('2001:db8::7')]
    assert '192.0.2.1' in provisioned and b'\xc0\x00\x02\x01' in provisioned
    with pytest.raises(ValueError, match="addr: expected an address .* not '192.0.2'"):
        provisioned['192.0.2']


def test_each_tenant_has_its_records(store, servers):
    with store.transaction(), tarnbase.tenant(7):
        servers.insert('a.example', num_conns=70)
        assert list(servers) == ['a.example'] and len(servers) == 1
        assert servers['a.example'].num_conns == 70
    assert len(servers) == 3 and servers['a.example'].num_conns == 1
    assert list(reversed(servers))[0] == 'c.example'
    assert [record.tenant for record in servers.everything()] == [0, 0, 0, 7]
    with tarnbase.tenant(65535):
        assert list(servers) == list(reversed(servers)) == [] and len(servers) == 0


def test_each_source_has_its_records(store, servers):
    other = servers.of_source(9)
    with store.transaction():
        other.insert('a.example', num_conns=90)
    assert list(other) == ['a.example'] and len(other) == 1 and len(servers) == 3
    assert other['a.example'].source == 9
    assert [(record.key, record.source) for record in servers.all_sources()] == [
        ('a.example', 1), ('a.example', 9), ('b.example', 1), ('c.example', 1)]


def test_a_tenant_and_a_source_are_numbers_in_their_ranges(servers):
    with pytest.raises(tarnbase.BadValue, match='tenant: expected a number from 0 to 65535'):
        with tarnbase.tenant(65536):
            pass
    with pytest.raises(tarnbase.BadValue, match='source: expected a number from 0 to 255'):
        servers.of_source(-1)


def test_tables_are_found_by_type_and_name(store, servers):
    assert list(store.tables) == ['tbl_ldap_conn:ldap'] and len(store.tables) == 1
    for name in ('ldap_conn', 'tbl_ldap_conn', 'ldap_conn:ldap', 'tbl_ldap_conn:ldap'):
        assert store.tables[name] == servers
    with pytest.raises(KeyError, match='the store has no table ldap_stats'):
        store.tables['ldap_stats']
    store.tables.open('ldap_conn:other')
    with pytest.raises(KeyError, match='several tables ldap_conn: .*ldap, tbl_ldap_conn:other'):
        store.tables['ldap_conn']
    with pytest.raises(KeyError, match='the schema has no table tbl_ldap'):
        store.tables.open('ldap')


def test_a_table_is_dropped_when_it_is_empty(store, servers):
    with pytest.raises(tarnbase.StoreError, match='tbl_ldap_conn:ldap'):
        servers.drop()
    with store.transaction():
        for key in list(servers):
            del servers[key]
    same = store.tables['ldap_conn']
    servers.drop()
    assert list(store.tables) == []
    with pytest.raises(tarnbase.NotPossible, match='no such table any more'):
        len(same)
