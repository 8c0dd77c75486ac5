# SPDX-License-Identifier: Apache-2.0
"""The programs that keep the stores up to date."""
import os

from supervised import Supervised


class Feeder(Supervised):
    restarts = True

    def __init__(self, folder, program, words):
        super().__init__(folder, os.path.basename(program))
        self.words = [program, *words]

    def command(self):
        return self.words

    def is_ready(self):
        return True
