// SPDX-License-Identifier: Apache-2.0
// What all parts of the page share: the stores, the chosen one and its tables.

// That are kept of a transaction.
const mostChanges = 6;

export class State {
  constructor() {
    this.stores = [];  // names
    this.store = '';
    this.tables = [];  // of the chosen store, as the exporter lists them
    this.transactions = [];  // the last ones, the newest first
  }

  // The number of records of a table; undefined if the store doesn't have it.
  records(table) {
    return this.tables.find((each) => each.table === table)?.records;
  }

  // A transaction may have changed all records of a table.
  add(transaction) {
    const {changes} = transaction;
    this.transactions.unshift({...transaction, changes: changes.slice(0, mostChanges), changed: changes.length});
    this.transactions.length = Math.min(this.transactions.length, 100);
  }
}
