# SPDX-License-Identifier: Apache-2.0
"""snmpd, and a tarn-agentx for each store."""
import subprocess

import snmp
from programs import find
from supervised import Supervised

SYSTEM_NAME = "1.3.6.1.2.1.1.5.0"
# Who is asked often whether it is ready: a request to one that isn't there yet is lost.
SOON = ("-r", "0", "-t", "1")


class Snmpd(Supervised):
    ADDRESS = "127.0.0.1:1161"

    def __init__(self, folder, schema):
        super().__init__(folder, "snmpd")
        self.variables = snmp.environment(schema)
        # There it writes a file that has the name of its settings.
        self.variables["SNMP_PERSISTENT_DIR"] = self.folder + "/state"
        self.socket = self.folder + "/agentx"
        self.settings = self.write("snmpd.conf", (
            f"agentAddress udp:{self.ADDRESS}\nrwcommunity public 127.0.0.1\nmaster agentx\n"
            f"agentXSocket {self.socket}\nagentXTimeout 2\nagentXRetries 1\n"))

    def command(self):
        return [find("snmpd"), "-f", "-Le", "-C", "-c", self.settings]

    def environment(self):
        return self.variables

    def client(self, program, *words):
        """The values that a client of SNMP prints, or None."""
        done = subprocess.run([find(program), "-v2c", "-c", "public", "-On", "-Ox", "-r", "1", "-t",
                               "5", *words[:-1], self.ADDRESS, words[-1]], env=self.variables,
                              capture_output=True, text=True)
        return snmp.read_values(done.stdout) if done.returncode == 0 else None

    def is_ready(self):
        return bool(self.client("snmpget", *SOON, SYSTEM_NAME))


class Agent(Supervised):
    """A subagent, which shows a store below a base of its own."""

    def __init__(self, folder, program, snmpd, store, path, number):
        super().__init__(folder, "tarn-agentx-" + store)
        self.snmpd = snmpd
        base = snmp.numbers(snmp.BASE)
        self.base = snmp.dotted((*base[:-1], base[-1] + number))
        self.words = [program, "--agentx-socket", snmpd.socket, "--base", self.base, path]

    def command(self):
        return self.words

    def environment(self):
        return self.snmpd.variables

    def is_ready(self):
        open_store = self.snmpd.client("snmpget", *SOON, self.base + ".2.1.0")
        return bool(open_store) and open_store[0][1] == 1

    def values(self):
        """Of all records, with the object identifiers of the module."""
        walked = self.snmpd.client("snmpbulkwalk", "-Cr40", self.base + ".1")
        if walked is None:
            return None
        base, moved = snmp.numbers(snmp.BASE), snmp.numbers(self.base)
        return {base + oid[len(moved):]: value for oid, value in walked}
