# SPDX-License-Identifier: Apache-2.0
"""What the users do: logins, failures and logoffs at the ports, and searches of the directory."""
import collections
import time

from programs import until
from slapd import SUFFIX

USERS = {"alice": "secret-a", "bob": "secret-b", "carol": "secret-c"}
# With what a method does in its tunnel.
METHODS = {"MD5": None, "PWD": None, "TLS": None, "PEAP": "auth=MSCHAPV2", "TTLS": "auth=PAP"}
AGAIN = 5  # seconds until a step is done again, whose messages were lost with a killed process


class Port:
    """A port, and what its client does next."""

    def __init__(self, lab, port, client):
        self.lab, self.port, self.client = lab, port, client
        self.step = None
        self.began = 0

    def choose(self, random, methods):
        """A login uses the last one of the methods, which is removed."""
        user = random.choice(sorted(USERS))
        kind = random.choices(("login", "failure", "logoff"), (6, 2, 2))[0]
        method = methods.pop() if kind == "login" else random.choice(sorted(METHODS))
        self.step = (kind, user, method)
        self.began = 0
        return kind if kind == "logoff" else f"{kind} with {method}"

    def do(self):
        kind, user, method = self.step
        if kind == "logoff":
            self.lab.supplicants.logoff(self.client)
            return
        self.forget_refused()
        self.lab.supplicants.login(self.client, method, self.texts(user, method, kind == "login"))

    def texts(self, user, method, are_right):
        """What a login needs; of another authority a certificate is as good as a wrong password."""
        certificate, key = None, None
        if method == "TLS":
            made = self.lab.certificates if are_right else self.lab.other_certificates
            certificate, key = made[user]
        return {"identity": user, "password": USERS[user] if are_right else "wrong",
                "phase2": METHODS[method], "client_cert": certificate, "private_key": key}

    def forget_refused(self):
        """As if the link had been down: hostapd has nothing of a client that it refused."""
        for address in self.lab.hostapd.stations(self.port):
            self.lab.hostapd.forget(self.port, address)

    def is_done(self):
        """Whether the step has had its effect; it is begun again after a while."""
        if time.monotonic() - self.began > AGAIN:
            self.began = time.monotonic()
            self.do()
            return False
        kind, user, _ = self.step
        status = self.lab.supplicants.status(self.client)
        if kind == "failure":
            return status.get("EAP state") == "FAILURE"
        users = self.lab.hostapd.users(self.port)
        return users == [user] if kind == "login" else users == []


class Load:
    def __init__(self, lab, random):
        self.lab, self.random = lab, random
        self.ports = [Port(lab, *pair) for pair in zip(lab.ports, lab.clients)]
        self.done = collections.Counter()
        self.methods = []  # of the next logins, the last one first

    def round(self):
        """One step at each port, at the same time, and some requests to the directory."""
        for port in self.ports:
            if not self.methods:
                self.methods = self.random.sample(sorted(METHODS), len(METHODS))
            self.done[port.choose(self.random, self.methods)] += 1
        with self.lab.directory_in_use:
            self.use_directory()
        waiting = list(self.ports)
        while waiting:
            with self.lab.directory_in_use:
                port = until(lambda: next((each for each in waiting if each.is_done()), None),
                             "a step at " + ", ".join(f"{e.port} {e.step}" for e in waiting))
            waiting.remove(port)

    def use_directory(self):
        client = self.lab.slapd.client
        user = self.random.choice(sorted(USERS))
        name = f"uid={user},{SUFFIX}"
        kind = self.random.choice(("search", "compare", "whoami", "refused"))
        self.done["directory " + kind] += 1
        if kind == "search":
            client("ldapsearch", "-b", SUFFIX, f"(uid={user})")
        elif kind == "compare":
            client("ldapcompare", name, "sn:" + user)
        elif kind == "whoami":
            client("ldapwhoami", "-D", name, "-w", USERS[user])
        else:
            client("ldapwhoami", "-D", name, "-w", "wrong")
