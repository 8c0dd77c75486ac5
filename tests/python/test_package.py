# SPDX-License-Identifier: Apache-2.0
"""The wheel of the build, installed in an environment of its own."""
import os
import subprocess
import sys
import zipfile

import pytest

from conftest import PLAIN_ENVIRONMENT, run

BUILD = os.environ['BUILD']
MAKE_WHEEL = os.path.join(os.path.dirname(__file__), '..', '..', 'scripts', 'make-wheel')
PROGRAM = '''
import sys, tarnbase
assert tarnbase.__file__.startswith(sys.argv[1]), tarnbase.__file__
mapped = open('/proc/self/maps').read()
assert sys.argv[1] + '/' in mapped and '/libs/libtarnbase.so.1' in mapped
with tarnbase.open('test.store', 'c') as store:
    table = store.tables.open('ldap_conn')
    with store.transaction():
        table.insert('a', num_conns=5)
    print(table['a'].num_conns)
'''


@pytest.fixture(scope='module')
def wheel(tmp_path_factory):
    return run(MAKE_WHEEL, BUILD, str(tmp_path_factory.mktemp('wheel'))).strip()


def test_the_same_build_makes_the_same_wheel(wheel, tmp_path):
    again = run(MAKE_WHEEL, BUILD, str(tmp_path)).strip()
    assert os.path.basename(again) == os.path.basename(wheel)
    with open(wheel, 'rb') as first, open(again, 'rb') as second:
        assert first.read() == second.read()


def test_the_wheel_has_types_and_libraries_and_no_traces_of_the_build(wheel):
    with zipfile.ZipFile(wheel) as archive:
        names = set(archive.namelist())
        for name in names:
            if name.endswith(('.py', '.pyi', 'RECORD', 'METADATA')):
                assert BUILD not in archive.read(name).decode()
    assert {'tarnbase/py.typed', 'tarnbase/schema.pyi', 'tarnbase/_core.pyi',
            'tarnbase/libs/libtarnbase.so.1', 'tarnbase/libs/libtarnbase-runtime.so.1'} <= names


def test_the_wheel_is_installed_without_a_network(wheel, tmp_path):
    environment = tmp_path / 'environment'
    made = subprocess.run([sys.executable, '-m', 'venv', environment], capture_output=True,
                          text=True, env=PLAIN_ENVIRONMENT)
    if made.returncode != 0:
        pytest.skip('python3-venv is not on this machine')
    python = environment / 'bin' / 'python'
    run(python, '-m', 'pip', 'install', '-q', '--no-index', '--disable-pip-version-check', wheel)
    own = {name: value for name, value in os.environ.items() if name != 'PYTHONPATH'}
    done = subprocess.run([python, '-c', PROGRAM, environment], cwd=tmp_path, env=own,
                          capture_output=True, text=True)
    assert (done.returncode, done.stdout) == (0, '5\n'), done.stderr
