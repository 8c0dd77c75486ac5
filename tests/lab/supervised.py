# SPDX-License-Identifier: Apache-2.0
"""A program of the lab, which can be killed and started again."""
import os
import signal

from programs import Program, until


class Supervised:
    """`command()` is its command line, `is_ready()` whether it does its work."""

    restarts = False  # whether it is started again if it ends by itself

    def __init__(self, folder, name):
        self.name = name
        self.folder = os.path.join(folder, name)
        os.makedirs(self.folder)
        self.log = os.path.join(folder, name + ".log")
        self.program = None
        self.starts = 0

    def write(self, name, text, mode=0o640):
        path = os.path.join(self.folder, name)
        with open(path, "w") as file:
            file.write(text)
        os.chmod(path, mode)
        return path

    def environment(self):
        return None

    def start(self):
        self.program = Program(self.log, *self.command(), environment=self.environment())
        self.starts += 1

    def wait_until_ready(self):
        until(self.is_ready_or_ended, f"{self.name} to be ready; see {self.log}")

    def is_ready_or_ended(self):
        status = self.program.process.poll()
        if status is not None and self.restarts:
            self.start()
        elif status is not None:
            raise AssertionError(f"{self.name} has ended with {status}:\n" +
                                 "\n".join(self.program.text().splitlines()[-10:]))
        return self.is_ready()

    def before_kill(self):
        """What has to be read before its memory is lost."""

    def kill(self):
        self.before_kill()
        self.program.stop(signal.SIGKILL)
        self.start()
