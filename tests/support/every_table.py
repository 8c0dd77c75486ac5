# SPDX-License-Identifier: Apache-2.0
# Records of every table of the schema, for tests of what tarnctl writes of them.
import json
import random
import subprocess
import sys

INTEGERS = {'u_int8': (0, 2**8 - 1), 'u_int16': (0, 2**16 - 1), 'u_int32': (0, 2**32 - 1),
            'u_int64': (0, 2**64 - 1), 'int32': (-2**31, 2**31 - 1), 'int64': (-2**63, 2**63 - 1)}
STRINGS = ['', 'ldap1.example.net', 'größer', '<script>"quoted"\\', 'x' * 300]
ADDRESSES = [None, '192.0.2.1', '255.255.255.255', '2001:db8::7', '::']
RECORDS = 6  # of a table, so that each value of these lists is used
STATE = 2    # of a field in every second record, which so gets state bytes


def run(*command):
    result = subprocess.run(command, capture_output=True, text=True)
    if result.returncode != 0:
        sys.exit(f'{" ".join(command)}: {result.stdout}{result.stderr}')
    return result.stdout


class Schema:
    def __init__(self, tarnctl):
        self.tarnctl = tarnctl
        self.descriptions = {}
        self.random = random.Random(1)

    def describe(self, name):
        if name not in self.descriptions:
            self.descriptions[name] = json.loads(run(self.tarnctl, 'describe', '--json', name))
        return self.descriptions[name]

    # A value of a field, as an export in JSON has it. `number` makes keys differ.
    def value_of(self, field, number):
        type_name = field['type']
        if 'elements' in field:
            return [self.random.randrange(256) for _ in range(field['elements'])]
        if type_name in INTEGERS:
            low, high = INTEGERS[type_name]
            value = (low, high, number)[number] if number < 3 else self.random.randint(low, high)
            return str(value) if abs(value) > 2**53 else value
        if type_name == 'kel_boolean':
            return number % 2 == 0
        if type_name == 'kel_vstring':
            return STRINGS[number % len(STRINGS)] + (str(number) if number > 1 else '')
        if type_name == 'ip_address':
            return ADDRESSES[number % len(ADDRESSES)]
        described = self.describe(type_name)
        if described['kind'] == 'enum':
            return described['enumerators'][number % len(described['enumerators'])]['name']
        return self.object_of(described, number)

    def object_of(self, described, number):
        return {field['name']: self.value_of(field, number) for field in described['fields']}

    def records_of(self, described):
        records, keys = [], []
        for number in range(RECORDS):
            record = {'tenant': 0, 'source': 1,
                      'fields': self.object_of(described['type'], number)}
            if described['key_type'] is not None:
                record['key'] = self.object_of(described['key_type'], number)
            if number % 2 == 1:
                record['state'] = {described['type']['fields'][0]['name']: STATE}
            key = record.get('key') or record['fields'][described['key'][0]]
            if key not in keys:  # an enumeration has few values
                keys.append(key)
                records.append(record)
        return records

    # A document of tarnctl in JSON with records of all tables.
    def document(self):
        tables = [{'table': each['table'], 'name': each['table'][4:],
                   'records': self.records_of(self.describe(each['table']))}
                  for each in json.loads(run(self.tarnctl, 'tables', '--json'))]
        return {'tarnbase': {'format': 1, 'tables': tables}}


# Makes the store `all.store` in the current folder.
def make_store(tarnctl):
    schema = Schema(tarnctl)
    with open('records.json', 'w', encoding='utf-8') as file:
        json.dump(schema.document(), file)
    run(tarnctl, 'store', 'create', 'all.store')
    run(tarnctl, 'import', '--into', 'all.store', 'records.json')
    return schema
