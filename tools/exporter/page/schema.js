// SPDX-License-Identifier: Apache-2.0
// The columns of the tables, from the exporter's description of the schema. No table is named here.

export class Schema {
  constructor(description) {
    this.structures = new Map(description.structures.map((each) => [each.name, each]));
    this.enumerations = new Map(description.enumerations.map((each) => [each.name, each]));
    this.tables = new Map(description.tables.map((each) => [each.name, this.tableOf(each)]));
  }

  // By the full name of a store's table, such as "tbl_x:name" or "tbl_x#7"; undefined if unknown.
  table(fullName) {
    return this.tables.get(fullName.split(/[:#]/)[0]);
  }

  tableOf(described) {
    const measures = new Map(described.metrics.figures.map((each) => [each.field, each.type]));
    for (const each of described.metrics.labels) measures.set(each.field, 'label');
    const inKey = described.key_type ? this.leavesOf(described.key_type, true) : [];
    const others = this.leavesOf(described.type, false);
    const columns = [...inKey, ...others].map((each) => ({
      ...each,
      isKey: (each.isInKeyObject || !described.key_type) && described.key.includes(each.path),
      measure: measures.get(each.path) ?? 'plain',
    }));
    const keys = described.key.map((path) => columns.find((each) => each.isKey && each.path === path));
    return {
      name: described.name,
      meaning: described.type.meaning,
      order: described.order,
      columns: [...keys, ...columns.filter((each) => !each.isKey)],
      keys,
    };
  }

  // The fields that have values, of structures in the structure too.
  leavesOf(structure, isInKeyObject, outer = []) {
    return structure.fields.flatMap((field) => {
      const fields = [...outer, field];
      const inner = this.structures.get(field.type);
      if (inner) return this.leavesOf(inner, isInKeyObject, fields);
      return [{
        path: fields.map((each) => each.name).join('.'),
        names: fields.map((each) => each.name),
        meanings: fields.map((each) => each.meaning),
        unit: field.unit ?? '',
        type: field.type,
        elements: field.elements ?? 0,
        enumeration: this.enumerations.get(field.type),
        isInKeyObject,
      }];
    });
  }
}

export const minutesOfADay = 1440;
export const isDay = (column) => column.elements === minutesOfADay;
export const isNumber = (column) => !column.enumeration && !column.elements && /int\d+$/.test(column.type);
// One whose values are words.
export const isText = (column) => !column.elements && !isNumber(column) && column.type !== 'boolean';

// The value of a column in a record as the API describes it.
export function valueOf(record, column) {
  let value = column.isInKeyObject ? record.key : record.fields;
  for (const name of column.names) value = value?.[name];
  return value;
}

// The parts of a record's path: FIELD=VALUE, since a value may look like that itself.
export function keyParts(table, valueAt) {
  return table.keys.map((column) => {
    const value = valueAt(column);
    if (value && typeof value === 'object') return `${column.path}:hex=${value.hex}`;
    return `${column.path}=${value ?? ''}`;
  });
}
