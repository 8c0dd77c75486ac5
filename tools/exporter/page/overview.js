// SPDX-License-Identifier: Apache-2.0
// The first view: what the store has, and its last transactions as they come.
import {transactionItem} from './changes.js';
import {breakable, element, flash, setText} from './dom.js';
import {numberText} from './format.js';

const mostShown = 50;

export class Overview {
  constructor(app) {
    this.app = app;
    this.tables = element('dd');
    this.records = element('dd');
    this.rows = element('tbody');
    this.list = element('ol', {class: 'transactions', 'aria-label': 'Last transactions'},
      ...app.state.transactions.slice(0, mostShown).map((each) => transactionItem(app, each)));
    this.none = element('p', {class: 'note'}, 'No transaction since the page was opened.');
    this.element = element('article', {class: 'overview'},
      element('h1', {}, app.state.store),
      element('dl', {class: 'figures'},
        element('div', {}, element('dt', {}, 'tables'), this.tables),
        element('div', {}, element('dt', {}, 'records'), this.records)),
      element('h2', {}, 'Transactions'), this.none, this.list,
      element('h2', {}, 'Tables'),
      element('table', {class: 'list'},
        element('thead', {}, element('tr', {}, ...['table', 'records', 'what it has'].map((each) => element('th', {scope: 'col'}, each)))),
        this.rows));
    this.count();
  }

  close() {}

  show() {}

  refresh() {}

  reload() {
    this.count();
  }

  count() {
    const {tables} = this.app.state;
    setText(this.tables, numberText(tables.length));
    setText(this.records, numberText(tables.reduce((sum, each) => sum + each.records, 0)));
    this.none.hidden = this.list.childElementCount > 0;
    this.rows.replaceChildren(...tables.map((each) => element('tr', {},
      element('td', {}, element('a', {href: this.app.router.link(each.table, [])}, ...breakable(each.table))),
      element('td', {class: 'number'}, numberText(each.records)), element('td', {class: 'meaning'}, each.meaning))));
  }

  changed() {
    const item = transactionItem(this.app, this.app.state.transactions[0]);
    this.list.prepend(item);
    flash(item, 'inserted');
    if (this.list.childElementCount > mostShown) this.list.lastElementChild.remove();
    this.count();
  }
}
