# SPDX-License-Identifier: Apache-2.0
"""The networks of the lab: namespaces, and links between them.

The lab's own process is the device. It is the first process of its namespace, so that nothing that it
has started is left when it ends, however it ends.
"""
import os
import signal
import subprocess
import sys

from programs import find, until

INSIDE = "TARNBASE_LAB_INSIDE"
NEEDED = ("unshare", "nsenter", "setpriv", "ip")


def entry():
    """The command that runs another one in namespaces of its own."""
    user = [] if os.geteuid() == 0 else ["--user", "--map-root-user"]
    return [find("unshare"), *user, "--net", "--mount", "--pid", "--fork", "--kill-child",
            "--mount-proc", "--"]


def obstacle():
    """Why there can't be namespaces here, or None."""
    missing = [each for each in NEEDED if not find(each)]
    if missing:
        return f"{', '.join(missing)} not found"
    test = [*entry(), find("ip"), "link", "add", "name", "a", "type", "veth", "peer", "name", "b"]
    done = subprocess.run(test, capture_output=True, text=True)
    if done.returncode != 0:
        return "no namespaces with links: " + (done.stderr.strip().splitlines() or ["?"])[-1]
    return None


def enter():
    """Starts the program again in new namespaces and ends as it does, unless this is there."""
    if INSIDE in os.environ:
        return
    # Its process and its user, as they are outside.
    shell = f'{INSIDE}="$$ {os.geteuid()}" exec "$@"'
    process = subprocess.Popen([find("setpriv"), "--pdeathsig", "KILL", "sh", "-c", shell, "sh",
                                *entry(), sys.executable, *sys.argv])
    # On a terminal the other one gets SIGINT too.
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    signal.signal(signal.SIGTERM, lambda *_: process.kill())
    sys.exit(process.wait())


def way_in():
    """The command with which others run one in the device's network."""
    process, user = os.environ[INSIDE].split()
    options = [] if user == "0" else ["--user", "--preserve-credentials"]
    return ["nsenter", "--target", process, *options, "--net"]


def ip(*words):
    subprocess.run([find("ip"), *words], check=True)


class Namespace:
    """Another network than the device's."""

    def __init__(self):
        self.holder = subprocess.Popen([find("unshare"), "--net", "--", "sleep", "infinity"])
        self.path = f"/proc/{self.holder.pid}/ns/net"
        own = os.readlink("/proc/self/ns/net")
        until(lambda: os.readlink(self.path) != own, "a namespace")
        self.run("ip", "link", "set", "lo", "up")

    def command(self, *words):
        return [find("nsenter"), "--net=" + self.path, *words]

    def run(self, program, *words):
        subprocess.run(self.command(find(program), *words), check=True)

    def connect(self, here, there):
        """A link between the device and this network, by the names of its ends."""
        ip("link", "add", "name", here, "type", "veth", "peer", "name", there, "netns",
           str(self.holder.pid))
        ip("link", "set", here, "up")
        self.run("ip", "link", "set", there, "up")
