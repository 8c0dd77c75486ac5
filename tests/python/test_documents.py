# SPDX-License-Identifier: Apache-2.0
"""The programs of the document run, one after the other."""
import os
import re

import pytest

DOCUMENT = os.environ['DOCUMENT']


def test_the_programs_of_the_document_run(tmp_path, monkeypatch, capsys):
    pytest.importorskip('numpy')
    with open(DOCUMENT, encoding='utf-8') as file:
        programs = re.findall(r'^```python\n(.*?)^```$', file.read(), re.MULTILINE | re.DOTALL)
    assert len(programs) == 6
    monkeypatch.chdir(tmp_path)
    names = {}
    for program in programs:
        exec(compile(program, DOCUMENT, 'exec'), names)
    printed = capsys.readouterr().out
    assert "ldap1.example.net 7\n" in printed
    assert "'ldap1.example.net': there is already a record of this key" in printed
    assert "maintenance ldap1.example.net CHANGED {'num_conns': (8, 0)}" in printed
    assert names['busiest'] == 'ldap1.example.net'
