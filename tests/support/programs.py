# SPDX-License-Identifier: Apache-2.0
"""Programs that tests start, and waiting for what they do."""
import os
import shutil
import signal
import socket
import subprocess
import time

PATIENCE = 60  # seconds until something that has to happen is given up


def find(program):
    return shutil.which(program, path=os.environ["PATH"] + ":/usr/sbin:/sbin")


def until(condition, what, patience=PATIENCE, pause=0.05):
    end = time.monotonic() + patience
    while time.monotonic() < end:
        found = condition()
        if found:
            return found
        time.sleep(pause)
    raise AssertionError(f"waited in vain for {what}")


def free_port(kind=socket.SOCK_STREAM):
    with socket.socket(socket.AF_INET, kind) as free:
        free.bind(("127.0.0.1", 0))
        return free.getsockname()[1]


class Program:
    """A running program, whose output goes to the end of a file."""

    def __init__(self, log, *words, environment=None):
        self.log = log
        with open(log, "a") as file:
            self.process = subprocess.Popen(words, stdin=subprocess.DEVNULL, stdout=file,
                                            stderr=file, env=environment)

    def text(self):
        with open(self.log, errors="replace") as file:
            return file.read()

    def stop(self, how=signal.SIGKILL):
        if self.process.poll() is None:
            self.process.send_signal(how)
        return self.process.wait(timeout=PATIENCE)
