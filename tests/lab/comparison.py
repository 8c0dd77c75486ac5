# SPDX-License-Identifier: Apache-2.0
"""The table at the end: what each reader has for each figure, and what the servers count."""
import collections

import sources

READERS = ("store", "Prometheus", "SNMP", "Python")


class Comparison:
    """`values` are {Figure: {reader: value}}, `own` {Figure: values of servers}."""

    def __init__(self):
        self.values = collections.defaultdict(dict)
        self.own = collections.defaultdict(set)
        self.problems = []

    def add(self, reader, found):
        if found is None:
            self.problems.append(f"{reader} can't be read")
        for figure, value in (found or {}).items():
            self.values[figure][reader] = value

    def is_equal(self, figure):
        found = {self.values[figure].get(reader) for reader in READERS}
        return len(found | self.own.get(figure, set())) == 1

    def all_equal(self):
        return (not self.problems and bool(self.own)
                and all(map(self.is_equal, {**self.values, **self.own})))

    def rows(self):
        """Of what a server counts, and of what isn't equal."""
        figures = sorted({**self.values, **self.own},
                         key=lambda each: (each.store, each.table, each.key, each.field))
        for figure in figures:
            if figure in self.own or not self.is_equal(figure):
                yield figure

    def lines(self):
        yield row("figure", ("server", *READERS), "")
        for figure in self.rows():
            own = "/".join(map(str, sorted(self.own.get(figure, ())))) or None
            cells = [own, *(self.values[figure].get(each) for each in READERS)]
            yield row(name_of(figure), cells, "" if self.is_equal(figure) else "different")
        others = [each for each in self.values if each not in self.own]
        equal = sum(map(self.is_equal, others))
        yield f"{equal} of {len(others)} other figures are equal in {', '.join(READERS)}"
        yield from self.problems


def row(name, cells, verdict):
    texts = ["-" if each is None else str(each) for each in cells]
    return f"{name:62}" + "".join(f"{each:>11}" for each in texts) + "  " + verdict


def name_of(figure):
    return f"{figure.table.removeprefix('tbl_')} {'/'.join(figure.key)} {figure.field}"


def compare(lab):
    comparison = Comparison()
    own = [(store, counts()) for store, counts in lab.counting()]
    for store, path in lab.stores.items():
        comparison.add("store", sources.by_tarnctl(lab.notes, lab.settings.tarnctl, store, path))
        comparison.add("Python", sources.by_python(lab.notes, lab.settings, store, path))
    comparison.add("Prometheus", sources.by_prometheus(lab.notes, lab.prometheus))
    for store, agent in lab.agents.items():
        figures = [each for each in comparison.values if each.store == store]
        found, others = sources.by_snmp(lab.notes, lab.mib, agent, figures)
        comparison.add("SNMP", found)
        if others:
            comparison.problems.append(f"SNMP has {others} values of other records of {store}")
    for store, counts in own:
        add_own(comparison, lab.notes, store, counts)
    return comparison


def add_own(comparison, notes, store, counts):
    """`counts` are (term, key, value): the notes say of which figures."""
    if counts is None:
        comparison.problems.append(f"the server of {store} can't be read")
        return
    records = {(each.table, each.key[0]): each for each in comparison.values
               if each.store == store and len(each.key) == 1}
    for term, key, value in counts:
        for table, field in notes.places.get(term, ()):
            if not any(field == each["field"] for each in notes.figures(table)):
                continue
            record = records.get((table, key))
            if record:
                comparison.own[record._replace(field=field)].add(value)
            elif any(each.table == table for each in comparison.values) or value:
                comparison.problems.append(f"{store} has no record {key} of {table} for {term}")
