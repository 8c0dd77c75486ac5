# SPDX-License-Identifier: Apache-2.0
"""Kills processes of the lab at random times and starts them again."""
import collections
import threading
import time

PAUSE = 1.2  # seconds between two kills at most


class Killer:
    def __init__(self, lab, random, kills):
        self.lab, self.random, self.left = lab, random, kills
        self.done = collections.Counter()
        self.failure = None
        self.thread = threading.Thread(target=self.run, daemon=True)
        self.thread.start()

    def run(self):
        try:
            while self.left:
                time.sleep(self.random.uniform(0, PAUSE))
                victim = self.random.choice(self.lab.processes)
                self.kill(victim)
                self.done[victim.name] += 1
                self.left -= 1
        except Exception as failure:
            self.failure = failure

    def kill(self, victim):
        if victim is not self.lab.slapd:
            victim.kill()
            return
        # What it has counted has to be read before, while nobody uses it.
        with self.lab.directory_in_use, self.lab.frozen_users_of_the_directory():
            victim.kill()

    def is_running(self):
        if self.failure:
            raise self.failure
        return self.thread.is_alive()
