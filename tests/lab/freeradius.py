# SPDX-License-Identifier: Apache-2.0
"""FreeRADIUS: authenticates the users of slapd, and counts."""
import os
import re
import subprocess

from programs import find
from slapd import SUFFIX
from supervised import Supervised

SECRET = "lab-secret"
STATUS_SECRET = "status-secret"
STATUS_PORT = 18121

SERVER = """\
name = radiusd
raddbdir = {folder}
run_dir = {folder}
logdir = {folder}
libdir = /usr/lib/freeradius
pidfile = {folder}/radiusd.pid
max_request_time = 5
cleanup_delay = 1
max_requests = 4096
security {{
    max_attributes = 200
    reject_delay = 0
    status_server = yes
}}
thread pool {{
    start_servers = 2
    max_servers = 4
    min_spare_servers = 1
    max_spare_servers = 4
    max_requests_per_server = 0
}}
client device {{
    ipaddr = {device}
    secret = {secret}
}}
modules {{
    always ok {{
        rcode = ok
    }}
    eap {{
        default_eap_type = md5
        timer_expire = 60
        md5 {{
        }}
        pwd {{
            group = 19
            server_id = lab
            fragment_size = 1020
            virtual_server = passwords
        }}
        tls-config certificates {{
            ca_file = {authority}
            certificate_file = {certificate}
            private_key_file = {key}
            tls_min_version = "1.2"
            tls_max_version = "1.2"
            ecdh_curve = prime256v1
        }}
        tls {{
            tls = certificates
        }}
        peap {{
            tls = certificates
            default_eap_type = mschapv2
            virtual_server = inner
        }}
        ttls {{
            tls = certificates
            default_eap_type = md5
            virtual_server = inner
        }}
        mschapv2 {{
        }}
    }}
    mschap {{
    }}
    pap {{
    }}
    ldap {{
        server = '{url}'
        base_dn = '{suffix}'
        update {{
            control:Cleartext-Password := 'userPassword'
        }}
        user {{
            base_dn = "${{..base_dn}}"
            filter = "(uid=%{{User-Name}})"
        }}
        options {{
            net_timeout = 2
            res_timeout = 2
            srv_timelimit = 2
        }}
        pool {{
            start = 0
            min = 0
            max = 2
            spare = 1
            uses = 0
            retry_delay = 0
            lifetime = 0
            idle_timeout = 0
        }}
    }}
}}
server default {{
    listen {{
        type = auth
        ipaddr = {address}
        port = 1812
    }}
    listen {{
        type = acct
        ipaddr = {address}
        port = 1813
    }}
    authorize {{
        eap {{
            ok = return
        }}
        ldap
    }}
    authenticate {{
        eap
    }}
    accounting {{
        ok
    }}
}}
server passwords {{
    authorize {{
        ldap
    }}
}}
server inner {{
    authorize {{
        eap {{
            ok = return
        }}
        ldap
        pap
    }}
    authenticate {{
        eap
        pap
        mschap
    }}
}}
server status {{
    listen {{
        type = status
        ipaddr = {address}
        port = {status_port}
        clients = readers
    }}
    authorize {{
        ok
    }}
}}
clients readers {{
    client reader {{
        ipaddr = {device}
        secret = {status_secret}
    }}
}}
server control {{
    listen {{
        type = control
        socket = {folder}/control
        mode = rw
    }}
}}
"""


# Of each port: the objects of its clients that count the same.
TRAFFIC = (
    (1812, "radiusAuthClient", {"requests": "AccessRequests", "accepts": "AccessAccepts",
                                "rejects": "AccessRejects", "challenges": "AccessChallenges",
                                "dup": "AccessRetransmissions"}),
    (1813, "radiusAccClient", {"requests": "Requests", "dup": "Retransmissions"}))


class FreeRadius(Supervised):
    def __init__(self, folder, network, address, device, url, authority):
        super().__init__(folder, "freeradius")
        self.network, self.address = network, address
        certificate, key = authority.member("server")
        self.write("radiusd.conf", SERVER.format(
            folder=self.folder, device=device, secret=SECRET, url=url, suffix=SUFFIX,
            authority=authority.certificate, certificate=certificate, key=key,
            address=address, status_port=STATUS_PORT, status_secret=STATUS_SECRET))
        self.write("dictionary", "$INCLUDE /usr/share/freeradius/dictionary\n")

    def command(self):
        return self.network.command(find("freeradius"), "-f", "-d", self.folder, "-n", "radiusd",
                                    "-l", self.folder + "/radius.log")

    def admin(self, command):
        done = subprocess.run([find("radmin"), "-f", self.folder + "/control", "-e", command],
                              capture_output=True, text=True)
        return done.stdout if done.returncode == 0 else None

    def is_ready(self):
        return os.path.exists(self.folder + "/control") and self.admin("show uptime") is not None

    def numbers(self, port):
        text = self.admin(f"stats socket {self.address} {port}")
        return text and {name: int(value) for name, value in re.findall(r"(\w+)\t+(\d+)", text)}

    def own_counts(self):
        """What it has received and replied to, by the objects of its clients."""
        found = {}
        for port, front, names in TRAFFIC:
            numbers = self.numbers(port)
            if not numbers:
                return None
            numbers["requests"] -= numbers["dup"]
            found.update({front + object: numbers[name] for name, object in names.items()})
        return found

    def counts(self):
        """(object, key, value) of what it and its clients both count."""
        found = []
        for port, front, names in TRAFFIC:
            numbers = self.numbers(port)
            if not numbers:
                return None
            # A packet that was sent again is another count on each side.
            if not numbers["dup"]:
                found += [(front + object, self.address, numbers[name])
                          for name, object in names.items()]
        return found
