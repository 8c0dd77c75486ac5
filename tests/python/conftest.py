# SPDX-License-Identifier: Apache-2.0
"""What the tests of the Python package share. The build names the programs in the environment."""
import os
import signal
import subprocess
import sys
import time

import pytest

import tarnbase

TARNCTL = os.environ['TARNCTL']
PATIENCE = 60  # seconds until something that has to happen is given up
# The sanitizer's library is preloaded for this interpreter, not for other programs.
PLAIN_ENVIRONMENT = {name: value for name, value in os.environ.items() if name != 'LD_PRELOAD'}


def run(*command, text=None, expect=0):
    done = subprocess.run(command, input=text, capture_output=True, text=True,
                          env=PLAIN_ENVIRONMENT)
    assert done.returncode == expect, f'{command}: {done.stdout}{done.stderr}'
    return done.stdout


def tarnctl(*arguments, **options):
    return run(TARNCTL, *map(str, arguments), **options)


def until(condition):
    end = time.monotonic() + PATIENCE
    while not condition():
        assert time.monotonic() < end, 'waited in vain'
        time.sleep(0.01)


class Child:
    """Another process with the package, which runs a program and prints lines."""

    def __init__(self, program, *arguments):
        self.process = subprocess.Popen([sys.executable, '-c', program, *map(str, arguments)],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def line(self):
        return self.process.stdout.readline().strip()

    def say(self, text):
        self.process.stdin.write(text + '\n')
        self.process.stdin.flush()

    def kill(self):
        self.process.send_signal(signal.SIGKILL)
        self.process.wait()
        self.close()

    def end(self):
        assert self.process.wait(PATIENCE) == 0
        self.close()

    def close(self):
        self.process.stdin.close()
        self.process.stdout.close()


@pytest.fixture
def path(tmp_path):
    return str(tmp_path / 'test.store')


@pytest.fixture
def store(path):
    with tarnbase.open(path, 'x') as made:
        yield made


@pytest.fixture
def servers(store):
    """A table with three records."""
    table = store.tables.open('ldap_conn:ldap')
    with store.transaction():
        for number, name in enumerate(['c.example', 'a.example', 'b.example']):
            table.insert(name, num_conns=number)
    return table
