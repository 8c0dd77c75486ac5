# SPDX-License-Identifier: Apache-2.0
"""A slapd of the tests' own, its clients, and what it counts in cn=Monitor."""
import os
import re
import shutil
import subprocess
import urllib.parse

from programs import Program, find, free_port, until

SUFFIX = "dc=example,dc=net"
MANAGER = "cn=manager," + SUFFIX
PASSWORD = "manager's"

CONFIGURATION = """\
include /etc/ldap/schema/core.schema
modulepath /usr/lib/ldap
moduleload back_mdb
moduleload back_monitor
pidfile {folder}/slapd.pid
authz-regexp "gidNumber=.*,cn=peercred,cn=external,cn=auth" "{manager}"
{tls}
database mdb
maxsize 16777216
dbnosync
suffix "{suffix}"
rootdn "{manager}"
rootpw "{password}"
directory {folder}/data
access to * by * read
database monitor
access to * by dn.exact="{manager}" read by * none
"""

TLS = """\
TLSCertificateFile {folder}/certificate.pem
TLSCertificateKeyFile {folder}/key.pem
"""

ENTRIES = f"""\
dn: {SUFFIX}
objectClass: dcObject
objectClass: organization
o: test
dc: example
"""


def is_there():
    return all(find(each) for each in ("slapd", "slapadd", "ldapsearch"))


class Slapd:
    def __init__(self, folder, with_tls=False):
        self.folder, self.log = folder, folder + "/slapd.log"
        self.port = free_port()
        self.url = f"ldap://127.0.0.1:{self.port}"
        self.socket = "ldapi://" + urllib.parse.quote(folder + "/ldapi", safe="")
        self.certificate = folder + "/certificate.pem"
        if with_tls:
            self.make_certificate()
        self.settings = folder + "/slapd.conf"
        with open(self.settings, "w") as file:
            file.write(CONFIGURATION.format(
                folder=folder, suffix=SUFFIX, manager=MANAGER, password=PASSWORD,
                tls=TLS.format(folder=folder) if with_tls else ""))
        os.mkdir(folder + "/data")
        subprocess.run([find("slapadd"), "-f", self.settings], input=ENTRIES, text=True,
                       check=True, stderr=subprocess.DEVNULL)

    def make_certificate(self):
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2",
                        "-subj", "/CN=slapd", "-addext", "subjectAltName=IP:127.0.0.1",
                        "-keyout", self.folder + "/key.pem", "-out", self.certificate],
                       check=True, stderr=subprocess.DEVNULL)

    def start(self):
        self.program = Program(self.log, find("slapd"), "-f", self.settings, "-d", "stats", "-h",
                               f"{self.url} {self.socket}")
        until(lambda: self.client("ldapwhoami")[0] == 0, "slapd")

    def client(self, program, *words, url=None):
        """The exit code of a client, and its output."""
        done = subprocess.run([find(program), "-H", url or self.url, "-x", "-o", "nettimeout=5",
                               *words], capture_output=True, text=True)
        return done.returncode, done.stdout

    def load(self):
        """Some requests of each kind."""
        self.client("ldapwhoami", "-D", MANAGER, "-w", PASSWORD)
        self.client("ldapwhoami", "-D", MANAGER, "-w", "wrong")
        self.client("ldapsearch", "-b", SUFFIX)
        self.client("ldapsearch", "-b", "dc=missing")
        self.client("ldapcompare", SUFFIX, "o:test")

    def counts(self):
        """By the fields of the store, without the connection that reads them."""
        text = self.client("ldapsearch", "-D", MANAGER, "-w", PASSWORD, "-LLL", "-o",
                           "ldif-wrap=no", "-b", "cn=Operations,cn=Monitor", "monitorOpInitiated",
                           "monitorOpCompleted")[1]
        found = dict((name, (int(initiated), int(completed))) for name, initiated, completed in
                     re.findall(r"dn: cn=(\w+),cn=Operations,cn=Monitor\n"
                                r"monitorOpInitiated: (\d+)\nmonitorOpCompleted: (\d+)\n", text))
        counts = {}
        for name, requests, results in (
                ("Bind", "total_bind_req", "total_bind_resp"),
                ("Search", "total_search_req", "total_search_resdone"),
                ("Compare", "total_compare_req", "total_compare_resp"),
                ("Extended", "total_extended_req", "total_extended_resp")):
            counts[requests], counts[results] = found[name]
        counts["total_search_resdone"] += 1  # of the search that has read this
        return counts

    def copy_and_truncate(self, suffix):
        shutil.copyfile(self.log, self.log + suffix)
        os.truncate(self.log, 0)
