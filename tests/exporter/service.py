# SPDX-License-Identifier: Apache-2.0
"""A running tarn-exporter and its stores. The first arguments of the program are EXPORTER TARNCTL."""
import http.client
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)) + "/../support")
from programs import PATIENCE, until

EXPORTER, TARNCTL = (os.path.abspath(path) for path in sys.argv[1:3])


def tarnctl(*arguments, text=None):
    done = subprocess.run([TARNCTL, *arguments], input=text, capture_output=True, text=True)
    if done.returncode != 0:
        raise AssertionError(f"tarnctl {' '.join(arguments)}: {done.stderr}")
    return done.stdout


class Exporter:
    """A running exporter, on a port that is free."""

    def __init__(self, *arguments):
        self.process = subprocess.Popen([EXPORTER, *arguments], stderr=subprocess.PIPE, text=True)
        self.lines = []
        self.reader = threading.Thread(target=self.read_lines, daemon=True)
        self.reader.start()

    def read_lines(self):
        for line in self.process.stderr:
            self.lines.append(line)

    def said(self, pattern):
        def search():
            if self.process.poll() is not None and not self.reader.is_alive():
                raise AssertionError(f"it has ended: {self.lines}")
            return re.search(pattern, "".join(self.lines))
        return until(search, pattern)

    @property
    def port(self):
        return int(self.said(r"listens on 127\.0\.0\.1:(\d+)\n")[1])

    def connection(self):
        return http.client.HTTPConnection("127.0.0.1", self.port, timeout=PATIENCE)

    def request(self, target, method="GET", **headers):
        connection = self.connection()
        connection.request(method, target, headers={k.replace("_", "-"): v
                                                    for k, v in headers.items()})
        answer = connection.getresponse()
        body = answer.read().decode()
        connection.close()
        return answer.status, body

    def json(self, target, **headers):
        status, body = self.request(target, **headers)
        if status != 200:
            raise AssertionError(f"{target}: {status} {body}")
        return json.loads(body)

    def wait_until_open(self):
        until(lambda: self.request("/healthz")[0] == 200, "an open store")

    def value(self, series):
        for line in self.request("/metrics")[1].splitlines():
            if line.startswith(series + " "):
                return float(line[len(series):])
        return None

    def stop(self, how=signal.SIGTERM):
        if self.process.poll() is None:
            self.process.send_signal(how)
        status = self.process.wait(timeout=PATIENCE)
        self.reader.join()
        self.process.stderr.close()
        return status


class WithStore(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="tarn-exporter-test-")
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.store = os.path.join(self.folder, "net.store")
        self.create()

    def create(self):
        tarnctl("store", "create", self.store)
        tarnctl("insert", "ldap_conn:ldap", "sname=a.example", "num_conns=7", "--create", "-s",
                self.store)

    def set_connections(self, number):
        tarnctl("set", "ldap_conn:ldap", "a.example", f"num_conns={number}", "-s", self.store)

    def start(self, *arguments):
        exporter = Exporter("--listen", "127.0.0.1:0", *arguments, self.store)
        self.addCleanup(exporter.stop, signal.SIGKILL)
        exporter.wait_until_open()
        return exporter

    SERIES = ('tarnbase_ldap_conn_num_conns{store="net",table="ldap",tenant="0",source="1",'
              'sname="a.example"}')


class Result(unittest.TextTestResult):
    def addSkip(self, test, reason):
        super().addSkip(test, reason)
        print(f"SKIPPED: {test.id()}: {reason}", flush=True)
