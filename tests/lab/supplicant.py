# SPDX-License-Identifier: Apache-2.0
"""wpa_supplicant on the clients' ends of the links."""
import os

from control_socket import request
from programs import find
from supervised import Supervised

CLIENT = """\
ctrl_interface={folder}/control
ap_scan=0
network={{
    key_mgmt=IEEE8021X
    eap=MD5
    identity="nobody"
    password="-"
    ca_cert="{authority}"
    eapol_flags=0
    disabled=1
}}
"""


class Supplicants(Supervised):
    def __init__(self, folder, network, clients, authority):
        super().__init__(folder, "wpa_supplicant")
        self.network, self.clients = network, clients
        self.control = self.folder + "/control"
        self.settings = self.write("client.conf", CLIENT.format(
            folder=self.folder, authority=authority.certificate))

    def command(self):
        words = []
        for client in self.clients:
            words += (["-N"] if words else []) + ["-i", client, "-D", "wired", "-c", self.settings]
        return self.network.command(find("wpa_supplicant"), *words)

    def start(self):
        for client in self.clients:
            if os.path.exists(self.socket(client)):
                os.unlink(self.socket(client))
        super().start()

    def socket(self, client):
        return os.path.join(self.control, client)

    def request(self, client, command):
        return request(self.socket(client), command)

    def is_ready(self):
        return all(self.request(client, "PING") == "PONG\n" for client in self.clients)

    def status(self, client):
        lines = (self.request(client, "STATUS") or "").splitlines()
        return dict(line.split("=", 1) for line in lines if "=" in line)

    def login(self, client, method, texts):
        # Its state machines begin anew only without a connection.
        self.request(client, "DISCONNECT")
        self.request(client, "LOGON")
        self.request(client, "SET_NETWORK 0 eap " + method)
        for name, text in texts.items():
            value = "NULL" if text is None else f'"{text}"'
            self.request(client, f"SET_NETWORK 0 {name} {value}")
        self.request(client, "SELECT_NETWORK 0")

    def logoff(self, client):
        self.request(client, "LOGOFF")
