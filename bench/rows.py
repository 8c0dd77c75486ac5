# SPDX-License-Identifier: Apache-2.0
"""The rows of results.md, with their goals, and its fixed texts."""
import collections

# The goal is a share of the figure of `peer`, or of the best peer, or a limit in the row's unit.
Row = collections.namedtuple('Row', 'title what key records share limit peer',
                             defaults=(None, None, None))
PARSE = 'libxml2, parse alone'

HEAD = '''# Results

Written by `scripts/run-benchmarks`; [earlier.md](earlier.md) has measurements that it doesn't
repeat.
'''

READING = '''Medians of repetitions in which the contenders took turns, each in a process of its own. Spread is
the middle half of the repetitions, relative to the median; a figure marked with ~ has more than 15 %.
Times are processor time of the whole process unless a row says otherwise. Ratio is our figure
divided by that of the best peer: below 1 we are ahead. The goal is a share of the best peer's
figure in the same run, or a limit in the row's own unit.
'''

KEYED = '''`keyed_bench`, ns an operation. Every contender gets the same keys in the same order, and keeps 64
bytes beside the key. `tarnbase` is a store with files on tmpfs, `private` one without; LMDB has a
writable map, SQLite a write-ahead log, and none of them syncs. insert: all keys, shuffled, in one
transaction; erase: the searched keys in one transaction. find, miss: keys shuffled differently,
each independent of the one before; dependent find: the record found contains the number of the next
key. All of these are hot, after a search for the same keys; cold find: a search and a read, by the
clock, after other memory has filled the caches. scan: step after step; walk: a callback for each
record, where there is such a call. Three rows are transactions with one change. libpmemobj has no
index, so a `std::map` has the addresses of its records.'''


def _keyed(key, records, shares):
    kinds = ('insert', 'find', 'dependent find', 'miss', 'erase')
    return [Row(kind, kind, key, records, share) for kind, share in zip(kinds, shares)]


GROUPS = [
    ('Text key of 26 bytes, 100,000 records', _keyed('text', 100000, (0.5, 0.4, 0.4, 0.2, 0.5)) + [
        Row('scan, a record', 'scan', 'text', 100000, 1.5),
        Row('walk, a record', 'walk', 'text', 100000, 1.0),
        Row('insert and commit', 'insert and commit', 'text', 100000, 0.4),
        Row('insert and rollback', 'insert and rollback', 'text', 100000, 0.5),
        Row('update and commit', 'update and commit', 'text', 100000, 0.3)]),
    ('Text key of 26 bytes, 1,000,000 records', _keyed('text', 1000000, (0.5, 0.4, 0.4, 0.2, 0.5)) + [
        Row('growth of find from 1,000 records', 'growth of find', 'text', 1000000, None, 5)]),
    ('`u_int32` key, 1,000,000 records', _keyed('u32', 1000000, (0.8, 0.8, 0.8, 0.8, 0.9))),
    ('Encoding and decoding', [
        Row('encode a string and 18 u32', 'encode', 'small', 1, None, 40),
        Row('decode it', 'decode', 'small', 1, None, 39),
        Row('encode a string, 40 u32 and 1440 bytes', 'encode', 'large', 1, None, 130),
        Row('decode it', 'decode', 'large', 1, None, 130),
        Row('decode it in a transaction', 'decode in a transaction', 'large', 1, None, 200)]),
    ('Text and XML; the peer of writing is appending the same bytes', [
        Row('print 18 u32', 'print', 'small', 1, 1.6),
        Row('write them as XML', 'write XML', 'small', 1, 1.6),
        Row('read XML, 18 u32', 'read XML', 'small', 1, 1.5, None, PARSE),
        Row('read XML, 1440 elements', 'read XML', 'large', 1, 1.5, None, PARSE),
        Row('read XML, a table of 10,000; a record', 'read XML', 'table', 10000, 1.5, None, PARSE)]),
    ('Memory', [
        Row('a record in a store, u32 key', 'record', 'u32', 1000000, None, 112),
        Row('a record in a store, text key of 26', 'record', 'text', 1000000, None, 176),
        Row('memory taken in a transaction, a record', 'transaction', 'text', 1000000, None, 300),
        Row('disk after 1,000,000 inserts in one transaction, beside its blocks', 'disk',
            'text', 1000000, None, 1.2)]),
    ('Latency', [
        Row('longest insert and commit of 1,000,000, by the clock', 'longest commit', 'text', 1000000,
            None, 0.2),
        Row('first record of a second tenant after 500,000 of the first', 'second tenant', 'text', 500000,
            None, 5)]),
    ('tarnctl, 100,000 `st_ldap_stats`', [
        Row('import XML', 'import XML', 'tarnctl', 100000, None, 0.8),
        Row('import JSON', 'import JSON', 'tarnctl', 100000, None, 0.6),
        Row('import frames', 'import frames', 'tarnctl', 100000, None, 0.15)]),
]

# The rows of the short page: a title, and what `Row` has of it.
SHORT = [
    ('find a record by a text key among 100,000', 'find', 'text', 100000),
    ('find among 1,000,000', 'find', 'text', 1000000),
    ('find among 1,000,000, each search depending on the one before', 'dependent find', 'text', 1000000),
    ('search for a missing key among 1,000,000', 'miss', 'text', 1000000),
    ('find by a `u_int32` key among 1,000,000', 'find', 'u32', 1000000),
    ('insert with a text key, 1,000,000 in one transaction', 'insert', 'text', 1000000),
    ('step to the next record, 100,000 records', 'scan', 'text', 100000),
    ('step and read a field', 'scan and read', 'text', 100000),
    ('a transaction with one insert, among 100,000', 'insert and commit', 'text', 100000),
    ('a transaction with one changed field', 'update and commit', 'text', 100000),
    ('a transaction that is rolled back', 'insert and rollback', 'text', 100000),
    ('encode a string and 18 numbers', 'encode', 'small', 1),
    ('decode a string and 18 numbers', 'decode', 'small', 1),
    ('encode a string, 40 numbers and 1440 bytes', 'encode', 'large', 1),
    ('decode a string, 40 numbers and 1440 bytes', 'decode', 'large', 1),
]
