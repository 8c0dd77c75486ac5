# SPDX-License-Identifier: Apache-2.0
"""The types that checkers see are those of the package."""
import ast
import enum
import os
import shutil
import subprocess

import pytest

import tarnbase
from conftest import PLAIN_ENVIRONMENT
from tarnbase import schema

MYPY = '/usr/bin/mypy' if os.path.exists('/usr/bin/mypy') else shutil.which('mypy')
STUB = os.path.join(os.path.dirname(tarnbase.__file__), 'schema.pyi')
NOT_OF_THE_SCHEMA = {'TableType', 'TypedTables'}

PROGRAM = '''
import datetime, ipaddress
import tarnbase
from tarnbase import schema

with tarnbase.open('x', 'c') as store:
    servers = store.tables.open('aaa_servers')
    with store.transaction('label'):
        servers.insert('a', duration=5).aaa_authen.requests += 1
    for name, record in servers.items():
        text: str = name + record.key + record.sname
        number: int = record.duration + record.aaa_authen.requests + record.minute[3]
    state: schema.server_state = servers['a'].status
    addresses = store.tables['lumvProvisionedServerEntry_op']
    for address in addresses:
        print(address is not None and address.packed)
    when: datetime.datetime = store.tables['lumEnvironmentDataObjects_op'][1].last_update
    part: str = next(iter(store.tables['service_type_info'])).serv_name
    print(memoryview(servers.columns('duration')['duration'].tolist()[0]))
'''
MISTAKES = {
    "store.tables['aaa_servers']['a'].duration = 'x'": 'Incompatible types in assignment',
    "store.tables['aaa_servers']['a'].nothing": 'has no attribute "nothing"',
    "store.tables['aaa_servers'][5]": 'Invalid index type "int"',
    "schema.server_state.NOTHING": 'has no attribute "NOTHING"',
}


@pytest.fixture(scope='module')
def folder(tmp_path_factory):
    """Where both programs are checked, so that the second finds the results for the package."""
    if MYPY is None:
        pytest.skip('mypy is not on this machine')
    return tmp_path_factory.mktemp('checked')


def check(program, folder):
    (folder / 'program.py').write_text(program)
    environment = PLAIN_ENVIRONMENT | {'MYPYPATH': os.path.dirname(os.path.dirname(STUB))}
    environment.pop('PYTHONPATH', None)
    return subprocess.run(
        [MYPY, '--strict', '--cache-dir', folder / 'cache', 'program.py'],
        cwd=folder, capture_output=True, text=True, env=environment)


def test_each_class_of_the_stub_is_that_of_the_package():
    with open(STUB, encoding='utf-8') as file:
        classes = {node.name: node for node in ast.parse(file.read()).body
                   if isinstance(node, ast.ClassDef) and node.name not in NOT_OF_THE_SCHEMA}
    made = {name: item for name, item in vars(schema).items()
            if isinstance(item, type) and item.__module__ == 'tarnbase.schema'
            and name not in NOT_OF_THE_SCHEMA}
    assert set(classes) == set(made)
    for name, node in classes.items():
        assert names_in(node) == names_of(made[name]), name
        assert [ast.unparse(base).partition('[')[0] for base in node.bases] == [
            'NamedTuple' if base is tuple else 'enum.IntEnum' if base is enum.IntEnum
            else base.__name__ for base in made[name].__bases__], name


def names_in(node):
    return [(each.targets[0].id, each.value.value) if isinstance(each, ast.Assign)
            else each.target.id for each in node.body if not isinstance(each, ast.Expr)]


def names_of(item):
    if issubclass(item, enum.Enum):
        return [(name, int(member)) for name, member in item.__members__.items()]
    if issubclass(item, tarnbase.Record):
        return []
    if issubclass(item, tuple):
        return list(item._fields)
    return [field.attribute for field in item._fields.values()]


def test_the_package_and_a_program_pass_a_strict_check(folder):
    done = check(PROGRAM + '\nimport tarnbase._watch, tarnbase._documents\n', folder)
    assert done.returncode == 0, done.stdout + done.stderr


def test_mistakes_are_found(folder):
    program = PROGRAM + ''.join(f'    {line}\n' for line in MISTAKES)
    done = check(program, folder)
    for line, message in MISTAKES.items():
        assert message in done.stdout, line
    assert f'Found {len(MISTAKES)} errors' in done.stdout
