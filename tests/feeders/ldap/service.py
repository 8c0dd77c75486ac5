# SPDX-License-Identifier: Apache-2.0
"""A running tarn-ldap, and what its store has. The program's first arguments are TARN_LDAP TARNCTL."""
import json
import os
import signal
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)) + "/../../support")
from programs import Program, until

TARN_LDAP, TARNCTL = (os.path.abspath(path) for path in sys.argv[1:3])
# Rounded in each run, so it differs where a run was interrupted.
ROUNDED = "avg_resp_delay"


class WithService(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.store = self.folder + "/ldap.store"
        self.log = self.folder + "/slapd.log"
        self.messages = self.folder + "/messages"
        self.service = None

    def start(self, *options, environment=None):
        self.service = Program(self.messages, TARN_LDAP, "--service", "--store", self.store,
                               *options, environment=environment)
        self.addCleanup(self.service.stop)

    def end(self, how=signal.SIGTERM):
        return self.service.stop(how)

    def wait_for_message(self, text):
        until(lambda: text in self.service.text(), text, patience=20)

    def fields(self, store=None):
        """The fields of the server, of all tables."""
        done = subprocess.run([TARNCTL, "show", "--json", "--store", store or self.store, "ldap_stats",
                               "ldap_summary", "ldap_conn"], capture_output=True, text=True)
        if done.returncode != 0:
            return {}
        fields = {}
        for table in json.loads(done.stdout)["tarnbase"]["tables"]:
            self.assertLessEqual(len(table["records"]), 1)
            for record in table["records"]:
                fields.update(record["fields"])
        return fields

    def counted(self, store=None):
        return {name: value for name, value in self.fields(store).items() if name != ROUNDED}

    def counted_once(self, log):
        """What the program stores of this file in one run."""
        store = self.folder + "/once.store"
        subprocess.run([TARN_LDAP, "--store", store, "--recount", log], check=True,
                       capture_output=True)
        return self.counted(store)

    def wait_for_counts(self, expected):
        last = {}

        def equal():
            last.clear()
            last.update(self.counted())
            return last == expected
        try:
            until(equal, "the counts", patience=20)
        except AssertionError:
            self.assertEqual(last, expected)
