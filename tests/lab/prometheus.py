# SPDX-License-Identifier: Apache-2.0
"""tarn-exporter, and Prometheus, which scrapes it."""
import http.client
import json
import os
import urllib.parse

from programs import find
from supervised import Supervised

# Without the numbers of the stores themselves.
ALL_FIGURES = '{__name__=~"tarnbase_.*",tenant!=""}'


def get(port, target):
    """A JSON document, or None."""
    try:
        connection = http.client.HTTPConnection("127.0.0.1", port, timeout=10)
        connection.request("GET", target)
        answer = connection.getresponse()
        body = answer.read()
        connection.close()
        return json.loads(body) if answer.status == 200 else None
    except (OSError, ValueError, http.client.HTTPException):
        return None


class Exporter(Supervised):
    PORT = 9595

    def __init__(self, folder, program, stores):
        super().__init__(folder, "tarn-exporter")
        self.words = [program, "--listen", f"127.0.0.1:{self.PORT}",
                      *(f"{name}={path}" for name, path in stores.items())]

    def command(self):
        return self.words

    def is_ready(self):
        return get(self.PORT, "/healthz") is not None

    def schema(self):
        return get(self.PORT, "/api/v1/schema")


class Prometheus(Supervised):
    PORT = 9090

    def __init__(self, folder):
        super().__init__(folder, "prometheus")
        self.settings = self.write("prometheus.yml", (
            "global: {scrape_interval: 1s, scrape_timeout: 1s}\nscrape_configs:\n"
            "- job_name: tarn\n"
            f"  static_configs: [{{targets: ['127.0.0.1:{Exporter.PORT}']}}]\n"))

    def command(self):
        # A series that ended while it didn't run has no end: it is gone after a few scrapes.
        return [find("prometheus"), "--config.file", self.settings, "--storage.tsdb.path",
                self.folder + "/tsdb", "--query.lookback-delta", "5s", "--web.listen-address",
                f"127.0.0.1:{self.PORT}"]

    def environment(self):
        return dict(os.environ, GOMAXPROCS="1")

    def is_ready(self):
        return self.query("vector(1)") is not None

    def query(self, text):
        found = get(self.PORT, "/api/v1/query?query=" + urllib.parse.quote(text))
        return found and found["data"]["result"]
