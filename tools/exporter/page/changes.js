// SPDX-License-Identifier: Apache-2.0
// Transactions and changes as lists.
import {element} from './dom.js';
import {authorText, timeText, valueText} from './format.js';
import {keyParts} from './schema.js';

const marks = {inserted: '+', changed: '~', deleted: '−', present: '='};
const mostFields = 12;
const mostElements = 3;

// The column of a field of a change, such as `minute[17]`.
function columnOf(table, field) {
  return table.columns.find((each) => each.path === field.replace(/\[\d+\]$/, '')) ?? {path: field};
}

function sidesOf(column, {old, new: now, count}, kind) {
  if (count) return [element('span', {class: 'new'}, `${count} elements`)];
  const before = valueText(column, old);
  const after = valueText(column, now);
  if (kind === 'changed') return [element('span', {class: 'old'}, before), ' → ', element('span', {class: 'new'}, after)];
  return [element('span', {class: 'new'}, kind === 'deleted' ? before : after)];
}

// Fields by name; the elements of an array are one entry.
function entriesOf(change) {
  const entries = [];
  const arrays = new Map();
  for (const [field, sides] of Object.entries(change.fields)) {
    const array = field.match(/^(.*)\[\d+\]$/)?.[1];
    if (array && !arrays.has(array)) arrays.set(array, []);
    (array ? arrays.get(array) : entries).push([field, sides]);
  }
  for (const [array, elements] of arrays) {
    if (elements.length > mostElements) entries.push([array, {count: elements.length}]);
    else entries.push(...elements);
  }
  return entries;
}

const isBlank = (value) => value === 0 || value === '' || value === null || value === false || value === undefined;

// The fields of a change; of a whole record only those with a value.
function fieldsOf(table, change) {
  const fields = entriesOf(change).filter(([, sides]) => change.change === 'changed' ||
    !(isBlank(sides.old) && isBlank(sides.new)) && !Array.isArray(sides.old ?? sides.new));
  const shown = fields.slice(0, mostFields).map(([field, sides]) => element('li', {},
    element('span', {class: 'field'}, field), ' ', ...sidesOf(columnOf(table, field), sides, change.change)));
  const left = fields.length - shown.length;
  if (left > 0) shown.push(element('li', {class: 'meaning'}, `${left} more`));
  return element('ul', {class: 'fields'}, ...shown);
}

function headOf(transaction, momentLink) {
  const number = transaction.transaction;
  return element('div', {class: 'change-head'},
    element('time', {}, transaction.time ? timeText(transaction.time) : ''),
    number === undefined ? element('span', {}, 'the oldest state that is kept')
      : momentLink ? element('a', {href: momentLink(number), title: 'The store after this transaction'}, `#${number}`)
        : element('span', {}, `#${number}`),
    element('span', {class: 'author', title: transaction.command ?? ''}, authorText(transaction)));
}

// A change of one record, in its history.
export function changeItem(table, change, momentLink) {
  return element('li', {class: `change ${change.change}`},
    element('span', {class: 'mark', title: change.change}, marks[change.change]),
    element('div', {}, headOf(change, momentLink), fieldsOf(table, change)));
}

// The records that a transaction has changed.
export function transactionItem(app, transaction) {
  const lines = transaction.changes.map((each) => {
    const table = app.schema.table(each.table);
    const name = table.keys.map((column) => valueText(column, each.key[column.path])).join(', ');
    const link = app.router.link(each.table, keyParts(table, (column) => each.key[column.path]),
      {tenant: each.tenant || '', source: each.source === 1 ? '' : each.source});
    return element('li', {class: each.change}, element('span', {class: 'mark', title: each.change}, marks[each.change]),
      ' ', element('a', {href: link}, `${each.table} ${name}`));
  });
  const left = transaction.changed - lines.length;
  if (left > 0) lines.push(element('li', {class: 'meaning'}, `${left} more`));
  return element('li', {class: 'transaction'}, headOf(transaction), element('ul', {}, ...lines));
}
