# SPDX-License-Identifier: Apache-2.0
"""Certificates of the lab, which openssl makes."""
import os
import subprocess

from programs import find

SETTINGS = """\
[req]
distinguished_name = name
[name]
[authority]
basicConstraints = critical, CA:TRUE
subjectKeyIdentifier = hash
[member]
basicConstraints = CA:FALSE
extendedKeyUsage = serverAuth, clientAuth
"""
DAYS = "2"


class Authority:
    """Makes certificates that are valid for those who have its own."""

    def __init__(self, folder, name):
        self.folder = os.path.join(folder, name)
        os.mkdir(self.folder)
        with open(self.path("settings"), "w") as file:
            file.write(SETTINGS)
        self.make(name, "authority", [])

    @property
    def certificate(self):
        return self.path("authority.pem")

    def member(self, name):
        """The files of a new certificate and its key."""
        own = ["-CA", self.certificate, "-CAkey", self.path("authority.key")]
        return self.make(name, name, own)

    def path(self, name):
        return os.path.join(self.folder, name)

    def make(self, subject, name, signer):
        certificate, key = self.path(name + ".pem"), self.path(name + ".key")
        kind = "member" if signer else "authority"
        done = subprocess.run(
            [find("openssl"), "req", "-x509", "-config", self.path("settings"), "-extensions", kind,
             "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-days", DAYS,
             "-subj", "/CN=" + subject, "-keyout", key, "-out", certificate, *signer],
            capture_output=True, text=True)
        if done.returncode != 0:
            raise RuntimeError("openssl: " + done.stderr)
        return certificate, key
