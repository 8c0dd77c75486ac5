# SPDX-License-Identifier: Apache-2.0
"""What is compared: the figures of all records, as the schema's notes say.

A figure is (store, table, the table's name, tenant, source, key, field), where the key is a tuple of
texts, and its value is a whole number.
"""
import collections
import os
import re

Figure = collections.namedtuple("Figure", "store table name tenant source key field")


class Notes:
    """The schema: `document` is the exporter's, `folder` has the files."""

    def __init__(self, document, folder):
        self.tables = {each["name"]: each for each in document["tables"]}
        self.enumerations = {each["name"]: {one["name"]: one["value"] for one in each["enumerators"]}
                             for each in document["enumerations"]}
        self.structures = {each["name"]: each for each in document["structures"]}
        # The fields of an object of a standard, or of a message of a protocol: (table, field). The
        # objects with Ext are the same ones with addresses of any kind.
        self.places = collections.defaultdict(list)
        for table in self.tables.values():
            for figure in table["metrics"]["figures"]:
                term = re.search(r"\((\w+)\)$", figure["help"])
                if term and not term[1].startswith("dot1x"):
                    self.places[term[1]].append((table["name"], figure["field"]))
        self.read_objects(folder)

    def read_objects(self, folder):
        for parent, _, files in os.walk(folder):
            for each in sorted(files):
                if each.endswith(".tarn"):
                    with open(os.path.join(parent, each)) as file:
                        self.read_objects_of(file)

    def read_objects_of(self, lines):
        table = None
        for line in lines:
            words = line.split()
            if words[:1] == ["table"]:
                table = words[1]
            elif words[:1] == ["object"] and len(words) == 3:
                self.places[words[1].replace("Ext", "")].append((table, words[2]))

    def figures(self, table):
        """The fields of a table that are counters or gauges, with their metrics in whole units."""
        return [each for each in self.tables[table]["metrics"]["figures"]
                if "_seconds" not in each["metric"]]

    def key(self, table):
        return self.tables[table]["metrics"]["key"]

    def type_of(self, table, path):
        """The type of a field, or of a field of the key."""
        described = self.tables[table]
        parts = path.split(".")
        found = None
        for part in parts:
            fields = (found and self.structures[found]["fields"]) or [
                *described["type"]["fields"], *(described["key_type"] or {"fields": []})["fields"]]
            found = next(each["type"] for each in fields if each["name"] == part)
        return found
