# SPDX-License-Identifier: Apache-2.0
"""The device, its servers and its clients: which processes there are, and how they are connected."""
import contextlib
import os
import signal
import threading

import namespaces
import snmp
from certificates import Authority
from feeders import Feeder
from figures import Notes
from freeradius import STATUS_PORT, STATUS_SECRET, FreeRadius
from hostapd import Hostapd
from load import USERS
from prometheus import Exporter, Prometheus
from slapd import Slapd
from snmpd import Agent, Snmpd
from supplicant import Supplicants

DEVICE, SERVER = "192.0.2.1", "192.0.2.2"
DIRECTORY = "directory.example.net"  # the name of slapd in its store
RADIUS = "radius1"  # the name of FreeRADIUS in its store


class Lab:
    def __init__(self, settings):
        self.settings, self.folder = settings, settings.folder
        self.ports = [f"p{i + 1}" for i in range(settings.ports)]
        self.clients = [f"c{i + 1}" for i in range(settings.ports)]
        self.stores = {name: f"{self.folder}/{name}.store" for name in ("dot1x", "ldap", "radius")}
        self.directory_in_use = threading.Lock()
        self.connect()
        self.make_servers()
        self.make_feeders()
        self.make_readers()
        self.processes = [self.slapd, self.freeradius, self.hostapd, self.supplicants,
                          *self.feeders, self.exporter, self.prometheus, self.snmpd,
                          *self.agents.values()]

    def counting(self):
        """The functions with which servers count what a store has."""
        yield "dot1x", self.hostapd.counts
        yield "ldap", self.count_directory
        yield "radius", self.count_radius
        # The packets between both of them, unless one has begun anew.
        if self.hostapd.starts == self.freeradius.starts == 1:
            yield "dot1x", self.freeradius.counts

    def connect(self):
        namespaces.ip("link", "set", "lo", "up")
        self.servers_network = namespaces.Namespace()
        self.clients_network = namespaces.Namespace()
        self.servers_network.connect("uplink", "eth0")
        namespaces.ip("addr", "add", DEVICE + "/24", "dev", "uplink")
        self.servers_network.run("ip", "addr", "add", SERVER + "/24", "dev", "eth0")
        for port, client in zip(self.ports, self.clients):
            self.clients_network.connect(port, client)

    def make_servers(self):
        authority = Authority(self.folder, "authority")
        other = Authority(self.folder, "other-authority")
        self.certificates = {user: authority.member(user) for user in USERS}
        self.other_certificates = {user: other.member(user) for user in USERS}
        self.slapd = Slapd(self.folder, self.servers_network, SERVER, USERS)
        self.freeradius = FreeRadius(self.folder, self.servers_network, SERVER, DEVICE,
                                     self.slapd.url, authority)
        self.hostapd = Hostapd(self.folder, self.ports, DEVICE, SERVER)
        self.supplicants = Supplicants(self.folder, self.clients_network, self.clients,
                                       authority)

    def make_feeders(self):
        self.dot1x = Feeder(
            self.folder, self.settings.tarn_dot1x,
            ["--store", self.stores["dot1x"], "--folder", self.hostapd.control, "--interval", "5"])
        self.ldap = Feeder(
            self.folder, self.settings.tarn_ldap,
            ["--store", self.stores["ldap"], "--server", DIRECTORY, "--service", "--slapd-log",
             self.slapd.log, "--monitor", self.slapd.url])
        self.radius = Feeder(
            self.folder, self.settings.tarn_radius,
            ["--store", self.stores["radius"], "--server", f"{RADIUS}={SERVER}:{STATUS_PORT}",
             "--client", f"{RADIUS}={DEVICE}", "--interval", "1", "--patience", "0.5"])
        self.radius.words += ["--secret-file", self.radius.write("secret", STATUS_SECRET)]
        self.feeders = [self.dot1x, self.ldap, self.radius]

    def make_readers(self):
        self.exporter = Exporter(self.folder, self.settings.exporter, self.stores)
        self.prometheus = Prometheus(self.folder)
        self.snmpd = Snmpd(self.folder, self.settings.schema)
        self.mib = snmp.Mib(self.settings.schema)
        self.agents = {
            name: Agent(self.folder, self.settings.agentx, self.snmpd, name, path, number)
            for number, (name, path) in enumerate(self.stores.items())}

    def start(self):
        for each in self.processes:
            each.start()
            each.wait_until_ready()
        self.notes = Notes(self.exporter.schema(), self.settings.source + "/schema")

    def count_directory(self):
        counts = self.slapd.counts()
        return counts and [(term, DIRECTORY, value) for term, value in counts.items()]

    def count_radius(self):
        """The server with all of its clients, and with the device, which is the only one."""
        counts = self.freeradius.own_counts()
        return counts and [(term, name, value) for term, value in counts.items()
                           for name in (RADIUS, f"{RADIUS}/{DEVICE}")]

    @contextlib.contextmanager
    def frozen_users_of_the_directory(self):
        users = [self.freeradius, self.ldap]
        for each in users:
            each.program.process.send_signal(signal.SIGSTOP)
        try:
            yield
        finally:
            for each in users:
                each.program.process.send_signal(signal.SIGCONT)

    def wait_until_ready(self):
        for each in self.processes:
            each.wait_until_ready()
