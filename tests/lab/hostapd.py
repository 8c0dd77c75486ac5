# SPDX-License-Identifier: Apache-2.0
"""hostapd on all ports of the device, and its own counts."""
import collections
import os
import socket

from control_socket import request
from freeradius import SECRET
from programs import find
from supervised import Supervised

PORT = """\
interface={port}
driver=wired
ctrl_interface={folder}/control
ieee8021x=1
eap_reauth_period=0
use_pae_group_addr=1
own_ip_addr={device}
nas_identifier=lab
auth_server_addr={server}
auth_server_port=1812
auth_server_shared_secret={secret}
acct_server_addr={server}
acct_server_port=1813
acct_server_shared_secret={secret}
"""


def variables(text):
    """The lines NAME=VALUE, as a list: a name may be there several times."""
    return [tuple(line.split("=", 1)) for line in text.splitlines() if "=" in line]


class Hostapd(Supervised):
    def __init__(self, folder, ports, device, server):
        super().__init__(folder, "hostapd")
        self.ports = ports
        self.control = self.folder + "/control"
        self.settings = [self.write(port + ".conf", PORT.format(
            port=port, folder=self.folder, device=device, server=server, secret=SECRET))
            for port in ports]

    def command(self):
        return [find("hostapd"), *self.settings]

    def start(self):
        # After a kill the sockets are still there.
        for port in self.ports:
            if os.path.exists(self.socket(port)):
                os.unlink(self.socket(port))
        super().start()

    def socket(self, port):
        return os.path.join(self.control, port)

    def is_ready(self):
        return all("state=ENABLED" in (request(self.socket(port), "STATUS", 1) or "")
                   for port in self.ports)

    def stations(self, port):
        """The variables of each client, by its address."""
        found = {}
        text = request(self.socket(port), "STA-FIRST")
        while text and text.strip() not in ("", "FAIL"):
            address = text.splitlines()[0]
            if address in found:
                break
            found[address] = dict(variables(text))
            text = request(self.socket(port), "STA-NEXT " + address)
        return found

    def users(self, port):
        """Who is logged in."""
        return [each.get("dot1xAuthSessionUserName") for each in self.stations(port).values()
                if each.get("dot1xAuthAuthControlledPortStatus") == "1"]

    def forget(self, port, address):
        request(self.socket(port), "DEAUTHENTICATE " + address)

    def servers(self, port):
        """The variables of the RADIUS servers."""
        return variables(request(self.socket(port), "MIB") or "")

    def counts(self):
        """(term, key, value) of each variable of a client or a server that is a number."""
        found = []
        servers = collections.Counter()
        for port in self.ports:
            stations = self.stations(port)
            if len(stations) > 1:
                return None
            index = str(socket.if_nametoindex(port))
            for values in stations.values():
                found += [(name, index, int(value)) for name, value in values.items()
                          if name.startswith("dot1x") and value.isdigit()]
            self.add_servers(port, servers)
        return found + [(*place, value) for place, value in servers.items()]

    def add_servers(self, port, servers):
        """Each port is a client of its own: their counts are added."""
        address = None
        for name, value in self.servers(port):
            if name.endswith("ServerAddress"):
                address = value
            elif value.isdigit():
                servers[name, address] += int(value)
