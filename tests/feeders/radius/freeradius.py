# SPDX-License-Identifier: Apache-2.0
"""A FreeRADIUS of the tests' own, which is a home server of itself, and what it counts."""
import contextlib
import os
import re
import signal
import socket
import subprocess

from programs import Program, find, until

SECRET = "requests"
STATUS_SECRET = "statistics"

CONFIGURATION = """\
name = radiusd
raddbdir = {folder}
run_dir = {folder}
logdir = {folder}
libdir = /usr/lib/freeradius
pidfile = {folder}/radiusd.pid
cleanup_delay = 1
security {{
    reject_delay = 0
    status_server = yes
}}
client device {{
    ipaddr = 127.0.0.1
    secret = {secret}
}}
clients readers {{
    client four {{
        ipaddr = 127.0.0.1
        secret = {status_secret}
    }}
    client six {{
        ipv6addr = ::1
        secret = {status_secret}
    }}
}}
modules {{
    always ok {{
        rcode = ok
    }}
    always handled {{
        rcode = handled
    }}
    always reject {{
        rcode = reject
    }}
}}
proxy server {{
}}
home_server far {{
    type = auth
    ipaddr = 127.0.0.1
    port = {home}
    secret = {secret}
}}
home_server_pool far {{
    home_server = far
}}
realm far {{
    auth_pool = far
}}
server near {{
    listen {{
        type = auth
        ipaddr = 127.0.0.1
        port = {auth}
    }}
    listen {{
        type = acct
        ipaddr = 127.0.0.1
        port = {acct}
    }}
    authorize {{
        if (User-Name == "far") {{
            update control {{
                Proxy-To-Realm := far
            }}
        }}
        elsif (User-Name == "nobody") {{
            update control {{
                Response-Packet-Type := Do-Not-Respond
            }}
            handled
        }}
        elsif (User-Name == "alice") {{
            update control {{
                Auth-Type := Accept
            }}
        }}
        else {{
            reject
        }}
    }}
    accounting {{
        ok
    }}
}}
server far {{
    listen {{
        type = auth
        ipaddr = 127.0.0.1
        port = {home}
    }}
    authorize {{
        update control {{
            Auth-Type := Accept
        }}
    }}
}}
server status {{
    listen {{
        type = status
        ipaddr = 127.0.0.1
        port = {status}
        clients = readers
    }}
{six}
    authorize {{
        ok
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

SIX = """\
    listen {{
        type = status
        ipv6addr = ::1
        port = {status}
        clients = readers
    }}
"""


def is_there():
    return all(find(each) for each in ("freeradius", "radmin", "radclient"))


def has_six():
    try:
        with socket.socket(socket.AF_INET6, socket.SOCK_DGRAM) as each:
            each.bind(("::1", 0))
        return True
    except OSError:
        return False


def free_ports(*names):
    """Different ones: all are in use until the last one is chosen."""
    with contextlib.ExitStack() as stack:
        sockets = {name: stack.enter_context(socket.socket(socket.AF_INET, socket.SOCK_DGRAM))
                   for name in names}
        for each in sockets.values():
            each.bind(("127.0.0.1", 0))
        return {name: each.getsockname()[1] for name, each in sockets.items()}


class FreeRadius:
    def __init__(self, folder):
        self.folder = folder + "/freeradius"
        os.mkdir(self.folder)
        self.ports = free_ports("auth", "acct", "home", "status")
        self.status = f"127.0.0.1:{self.ports['status']}"
        self.home = f"127.0.0.1:{self.ports['home']}"
        self.write("radiusd.conf", CONFIGURATION.format(
            folder=self.folder, secret=SECRET, status_secret=STATUS_SECRET,
            six=SIX.format(**self.ports) if has_six() else "", **self.ports))
        self.write("dictionary", "$INCLUDE /usr/share/freeradius/dictionary\n")

    def write(self, name, text):
        path = f"{self.folder}/{name}"
        with open(path, "w") as file:
            file.write(text)
        os.chmod(path, 0o640)

    def start(self):
        self.program = Program(self.folder + "/output", find("freeradius"), "-f", "-d", self.folder,
                               "-n", "radiusd", "-l", self.folder + "/log")
        until(self.is_ready_or_ended, "freeradius")

    def is_ready_or_ended(self):
        if self.program.process.poll() is not None:
            with open(self.folder + "/log") as log:
                raise AssertionError(log.read())
        return self.admin("show uptime")

    def stop(self, how=signal.SIGKILL):
        self.program.stop(how)

    def admin(self, command):
        done = subprocess.run([find("radmin"), "-f", self.folder + "/control", "-e", command],
                              capture_output=True, text=True)
        return done.stdout if done.returncode == 0 else ""

    def numbers(self, words):
        return {name: int(value) for name, value in
                re.findall(r"(\w+)\t+(\d+)", self.admin("stats " + words))}

    def socket(self, name):
        """Packets that were sent again, because a reply was late, aren't requests."""
        numbers = self.numbers(f"socket 127.0.0.1 {self.ports[name]}")
        if numbers:
            numbers["requests"] -= numbers["dup"]
        return numbers

    def request(self, kind, secret=SECRET, tries=3, **attributes):
        text = ",".join(f"{name.replace('_', '-')}={value}" for name, value in attributes.items())
        port = self.ports["acct" if kind == "acct" else "auth"]
        subprocess.run([find("radclient"), "-r", str(tries), "-t", "2", f"127.0.0.1:{port}", kind,
                        secret], input=text, capture_output=True, text=True)

    def login(self, user, **options):
        self.request("auth", **options, User_Name=user, User_Password="x",
                     Message_Authenticator="0")

    def load(self):
        """Some requests of each kind."""
        for user in ("alice", "alice", "bob", "far", "far", "far"):
            self.login(user)
        self.request("acct", User_Name="alice", Acct_Status_Type="Start", Acct_Session_Id="1")

    def counts(self):
        """Of the server, of its client and of its home server, by fields of the store."""
        near, far, acct = (self.socket(name) for name in ("auth", "home", "acct"))
        home = self.numbers(f"home_server 127.0.0.1 {self.ports['home']}")
        both = {name: near[name] + far[name] for name in near}
        return [authen(both, acct), authen(both, acct),
                authen(home, {"requests": 0, "responses": 0})]


def authen(numbers, acct):
    return {"requests": numbers["requests"], "accepts": numbers["accepts"],
            "rejects": numbers["rejects"], "challenges": numbers["challenges"],
            "transaction_successes": numbers["responses"], "acct_requests": acct["requests"],
            "acct_transaction_successes": acct["responses"]}
