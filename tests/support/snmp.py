# SPDX-License-Identifier: Apache-2.0
"""TARNBASE-MIB and the values of net-snmp's programs, for tests."""
import os
import re
import subprocess

HERE = os.path.dirname(os.path.abspath(__file__))
BASE = "1.3.6.1.4.1.8072.9999.9999.1"


def environment(schema):
    """net-snmp finds the modules here, reads no other files and leaves none."""
    return dict(os.environ, MIBS="", MIBDIRS=HERE + "/../agentx/mibs:" + schema,
                SNMPCONFPATH=HERE, SNMP_PERSISTENT_DIR="/dev/null")


def numbers(oid):
    return tuple(int(part) for part in oid.strip(".").split("."))


def dotted(oid):
    return ".".join(str(each) for each in oid)


def read_values(text):
    """The lines of net-snmp's programs as (object identifier, value)."""
    values = []
    for line in re.split(r"\n(?=\.1\.)", text.strip()):
        found = re.fullmatch(r"(\.1\.[.\d]+) = (.*)", line.strip(), re.DOTALL)
        if found and not found[2].startswith("No "):
            values.append((numbers(found[1]), value_of(found[2])))
    return values


def value_of(text):
    if text == '""':
        return b""
    kind, _, rest = text.partition(": ")
    if kind == "Hex-STRING":
        return bytes.fromhex(rest.replace("\n", " "))
    return rest if kind == "OID" else int(rest)


def camel(words):
    """The names of objects, as the schema compiler makes them of fields."""
    if not any("a" <= c <= "z" for c in words):
        words = words.lower()
    name = ""
    for word in filter(None, words.split("_")):
        apart = name[-1:].isdigit() and word[0].isdigit()
        name += ("x" if apart else "") + word[0].upper() + word[1:]
    return name


def text_index(text):
    return (len(text), *text)


class Mib:
    """What net-snmp reads in the module, which is in the folder `schema`."""

    def __init__(self, schema):
        done = subprocess.run(["snmptranslate", "-m", "TARNBASE-MIB", "-Tz"], check=True,
                              capture_output=True, text=True, env=environment(schema))
        self.oids = {}
        for name, oid in re.findall(r'"(\w+)"\s+"([\d.]+)"', done.stdout):
            if oid.startswith(BASE):
                self.oids[name] = numbers(oid)
        with open(os.path.join(schema, "TARNBASE-MIB.txt")) as file:
            text = file.read()
        self.counters = set(re.findall(r"\n(\w+) OBJECT-TYPE\n    SYNTAX Counter32\n", text))
        self.prefixes = dict(re.findall(r"\n-- (tbl_\w+)\n\n(\w+)Table OBJECT-TYPE", text))
        self.keys = {name: index.split(", ")[3:] for name, index in
                     re.findall(r"\n(\w+)Entry OBJECT-TYPE.*?INDEX \{ ([\w, ]+) \}", text,
                                re.DOTALL)}
