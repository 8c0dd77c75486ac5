# SPDX-License-Identifier: Apache-2.0
"""The figures of a store, as its readers show them: tarnctl, Python, Prometheus, SNMP.

Each function returns {Figure: value}, or None while the reader can't say.
"""
import json
import os
import subprocess
import sys

import snmp
from figures import Figure
from prometheus import ALL_FIGURES

HERE = os.path.dirname(os.path.abspath(__file__))


def by_tarnctl(notes, program, store, path):
    done = subprocess.run([program, "export", "-s", path, "--format", "json"],
                          capture_output=True, text=True)
    if done.returncode != 0:
        return None
    found = {}
    for table in json.loads(done.stdout)["tarnbase"]["tables"]:
        for record in table["records"]:
            fields = {**record.get("key", {}), **record["fields"]}
            key = tuple(text_of(notes, table["table"], each["field"], fields)
                        for each in notes.key(table["table"]))
            for each in notes.figures(table["table"]):
                value = value_at(notes, table["table"], each["field"], fields)
                if value is not None:
                    found[Figure(store, table["table"], table["name"], record["tenant"],
                                 record["source"], key, each["field"])] = value
    return found


def text_of(notes, table, path, fields):
    """Of a field of the key, as labels have it."""
    value = fields[path]
    kind = notes.type_of(table, path)
    return str(notes.enumerations[kind][value]) if kind in notes.enumerations else str(value)


def value_at(notes, table, path, fields):
    value = fields
    for part in path.split("."):
        if part not in value:
            return None
        value = value[part]
    kind = notes.type_of(table, path)
    return notes.enumerations[kind].get(value, value) if kind in notes.enumerations else int(value)


def by_python(notes, settings, store, path):
    """The package is used in a process of its own."""
    wanted = {table: {"key": [each["field"] for each in notes.key(table)],
                      "figures": [each["field"] for each in notes.figures(table)]}
              for table in notes.tables}
    done = subprocess.run([settings.python, HERE + "/read_with_python", path],
                          input=json.dumps(wanted), capture_output=True, text=True,
                          env=settings.python_environment)
    if done.returncode != 0:
        print(done.stderr, file=sys.stderr)
        return None
    return {Figure(store, table, name, tenant, source, tuple(key), field): value
            for table, name, tenant, source, key, field, value in json.loads(done.stdout)}


def by_prometheus(notes, prometheus):
    series = prometheus.query(ALL_FIGURES)
    if series is None:
        return None
    metrics = {each["metric"]: (table, each["field"])
               for table in notes.tables for each in notes.figures(table)}
    found = {}
    for one in series:
        labels = one["metric"]
        if labels["__name__"] not in metrics:
            continue
        table, field = metrics[labels["__name__"]]
        key = tuple(labels[each["label"]] for each in notes.key(table))
        found[Figure(labels["store"], table, labels["table"], int(labels["tenant"]),
                     int(labels["source"]), key, field)] = int(float(one["value"][1]))
    return found


def object_index(notes, figure):
    """The index of a record in the store's own module."""
    index = snmp.text_index(figure.name.encode()) + (figure.tenant, figure.source)
    for each, text in zip(notes.key(figure.table), figure.key):
        if notes.type_of(figure.table, each["field"]) == "kel_vstring":
            index += snmp.text_index(text.encode())
        else:
            index += (int(text),)
    return index


def by_snmp(notes, mib, agent, figures):
    """Of the records of `figures`, and how many values there are of other records."""
    values = agent.values()
    if values is None:
        return None, 0
    found, columns = {}, set()
    for figure in figures:
        name = mib.prefixes[figure.table] + "".join(map(snmp.camel, figure.field.split(".")))
        column = mib.oids[name]
        columns.add(column)
        value = values.get(column + object_index(notes, figure))
        if value is not None:
            truth = notes.type_of(figure.table, figure.field) == "kel_boolean"
            found[figure] = int(value == 1) if truth else int(value)
    shown = sum(any(oid[:len(each)] == each for each in columns) for oid in values)
    return found, shown - len(found)
