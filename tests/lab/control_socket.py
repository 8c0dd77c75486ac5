# SPDX-License-Identifier: Apache-2.0
"""The control sockets of hostapd and wpa_supplicant."""
import os
import socket
import tempfile


def request(path, command, patience=5):
    """The response to a command, or None if there is none."""
    folder = tempfile.mkdtemp(prefix="tarn-lab-")
    own = os.path.join(folder, "s")
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as client:
        client.settimeout(patience)
        try:
            client.bind(own)
            client.connect(path)
            client.send(command.encode())
            return client.recv(65536).decode(errors="replace")
        except OSError:
            return None
        finally:
            if os.path.exists(own):
                os.unlink(own)
            os.rmdir(folder)
