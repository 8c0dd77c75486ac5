# SPDX-License-Identifier: Apache-2.0
"""slapd: the users, and its own counts from cn=Monitor."""
import os
import re
import subprocess

from programs import find, until
from supervised import Supervised

SUFFIX = "dc=example,dc=net"
MANAGER = "cn=manager," + SUFFIX
PASSWORD = "manager"

CONFIGURATION = """\
include /etc/ldap/schema/core.schema
include /etc/ldap/schema/cosine.schema
include /etc/ldap/schema/inetorgperson.schema
modulepath /usr/lib/ldap
moduleload back_mdb
moduleload back_monitor
pidfile {folder}/slapd.pid
database mdb
maxsize 16777216
dbnosync
suffix "{suffix}"
rootdn "{manager}"
rootpw {password}
directory {folder}/data
access to * by * read
database monitor
access to * by * read
"""


def entries(users):
    text = (f"dn: {SUFFIX}\nobjectClass: dcObject\nobjectClass: organization\no: lab\n"
            "dc: example\n")
    for name, password in users.items():
        text += (f"\ndn: uid={name},{SUFFIX}\nobjectClass: inetOrgPerson\nuid: {name}\n"
                 f"cn: {name}\nsn: {name}\nuserPassword: {password}\n")
    return text


class Slapd(Supervised):
    def __init__(self, folder, network, address, users):
        super().__init__(folder, "slapd")
        self.network, self.address = network, address
        self.url = f"ldap://{address}"
        self.settings = self.write("slapd.conf", CONFIGURATION.format(
            folder=self.folder, suffix=SUFFIX, manager=MANAGER, password=PASSWORD))
        os.mkdir(self.folder + "/data")
        subprocess.run([find("slapadd"), "-f", self.settings], input=entries(users), text=True,
                       check=True, stderr=subprocess.DEVNULL)
        self.ended = {}  # the counts of the lives that were killed

    def command(self):
        return self.network.command(find("slapd"), "-f", self.settings, "-d", "stats", "-h",
                                    self.url)

    def is_ready(self):
        return self.program.text().count("slapd starting\n") >= self.starts

    def client(self, program, *words, text=None):
        """The exit code of a client, and its output."""
        done = subprocess.run([find(program), "-H", self.url, "-x", "-o", "nettimeout=5", *words],
                              input=text, capture_output=True, text=True)
        return done.returncode, done.stdout

    def life_counts(self):
        """By the names of the protocol, since slapd was started."""
        status, text = self.client("ldapsearch", "-LLL", "-o", "ldif-wrap=no", "-b",
                                   "cn=Operations,cn=Monitor", "monitorOpInitiated",
                                   "monitorOpCompleted")
        if status != 0:
            return None
        pattern = (r"dn: cn=(\w+),cn=Operations,cn=Monitor\n"
                   r"monitorOpInitiated: (\d+)\nmonitorOpCompleted: (\d+)\n")
        counts = {}
        for name, initiated, completed in re.findall(pattern, text):
            counts[name + "Request"] = int(initiated)
            counts[("SearchResultDone" if name == "Search" else name + "Response")] = int(completed)
        # The search that has read this was not completed then.
        counts["SearchResultDone"] += 1
        return counts

    def counts(self):
        life = self.life_counts()
        return life and {name: count + self.ended.get(name, 0) for name, count in life.items()}

    def before_kill(self):
        self.ended = until(self.counts, "slapd's counts")
