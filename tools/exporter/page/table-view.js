// SPDX-License-Identifier: Apache-2.0
// The records of a table: a page of rows that follow the store.
import {element, flash, setText} from './dom.js';
import {conditionOf} from './filter.js';
import {isEmpty, numberText, valueText} from './format.js';
import {Refresher} from './refresher.js';
import {isNumber, keyParts} from './schema.js';

const rowsOfAPage = 100;
const typingPause = 250;
const usual = {tenant: 0, source: 1};

export class TableView {
  // `app` has api, router, schema and state.
  constructor(app, route) {
    this.app = app;
    this.name = route.table;
    this.table = app.schema.table(route.table);
    this.rows = new Map();  // by the record's name
    this.shown = new Set();  // columns that had a value once
    this.abort = new AbortController();
    this.isLive = false;  // whether differences are changes of the store
    this.refresher = new Refresher(() => this.read(), (error) => this.fail(error));
    this.element = this.table ? this.build() : element('p', {class: 'note error'}, `No table ${this.name} is known.`);
    if (this.table) this.show(route);
  }

  close() {
    this.refresher.stop();
    clearTimeout(this.typing);
    this.abort.abort();
  }

  // ---- Parts ----

  build() {
    this.input = element('input', {
      type: 'search', id: 'filter', autocomplete: 'off', spellcheck: 'false', 'aria-describedby': 'filter-error',
      placeholder: 'Filter: a word, or a condition such as ' + this.example(), on: {input: () => this.typed()}});
    this.error = element('p', {id: 'filter-error', class: 'error', role: 'alert', hidden: true});
    this.count = element('span', {class: 'count', 'aria-live': 'polite'});
    this.all = element('input', {type: 'checkbox', on: {change: () => this.refresher.request()}});
    this.previous = this.pageButton('Previous', -1);
    this.next = this.pageButton('Next', 1);
    this.head = element('tr');
    this.body = element('tbody', {on: {keydown: (event) => this.key(event), click: (event) => this.click(event)}});
    this.grid = element('table', {class: 'grid', role: 'grid', 'aria-label': this.name},
      element('thead', {}, this.head), this.body);
    return element('article', {class: 'table-view'},
      element('h1', {}, this.name), element('p', {class: 'meaning'}, this.table.meaning),
      element('div', {class: 'tools'},
        element('label', {class: 'filter'}, element('span', {class: 'hidden-text'}, 'Filter'), this.input),
        element('label', {class: 'check', title: 'Otherwise columns that are 0 or empty in all rows are left out'},
          this.all, 'All columns'),
        element('span', {class: 'pages'}, this.count, this.previous, this.next)),
      this.error,
      element('div', {class: 'scroll'}, this.grid));
  }

  example() {
    const column = this.table.columns.find((each) => !each.isKey && isNumber(each)) ?? this.table.keys[0];
    return isNumber(column) ? `${column.path}>0` : `${column.path}~a`;
  }

  pageButton(text, step) {
    return element('button', {type: 'button', on: {click: () => this.turn(step)}}, text);
  }

  // ---- What is shown ----

  show(route) {
    this.parameters = route.parameters;
    if (document.activeElement !== this.input) this.input.value = this.parameters.get('where') ?? '';
    this.isLive = false;
    this.refresher.request();
  }

  changed(changes) {
    if (!changes.some((each) => each.table === this.name)) return;
    this.isLive = true;
    this.refresher.request();
  }

  refresh() {
    this.refresher.request();
  }

  reload() {
    this.isLive = false;
    this.refresher.request();
  }

  typed() {
    clearTimeout(this.typing);
    this.typing = setTimeout(
      () => this.app.router.change({where: this.input.value, offset: ''}, true), typingPause);
  }

  turn(step) {
    const offset = Math.max(0, this.offset + step * rowsOfAPage);
    this.app.router.change({offset: offset || ''}, true);
  }

  sortBy(column) {
    const [name, order] = (this.parameters.get('sort') ?? '').split(':');
    const next = name !== column.path ? column.path : order === 'desc' ? '' : `${column.path}:desc`;
    this.app.router.change({sort: next, offset: ''}, true);
  }

  get offset() {
    return Number(this.parameters.get('offset') ?? 0) || 0;
  }

  // ---- Reading ----

  async read() {
    const isLive = this.isLive;
    const parameters = this.parameters;
    // A structure's name means all its fields.
    const outer = new Set(this.table.columns.filter((each) => !each.elements).map((each) => each.names[0]));
    const answer = await this.app.api.get(`/api/v1/tables/${encodeURIComponent(this.name)}`, {
      store: this.app.state.store, at: parameters.get('at'),
      where: conditionOf(parameters.get('where') ?? '', this.table),
      sort: parameters.get('sort'), limit: rowsOfAPage, offset: this.offset,
      column: ['tenant', 'source', ...outer],
    }, this.abort.signal);
    if (parameters !== this.parameters) return;
    this.error.hidden = true;
    this.fill(answer.tables[0], isLive);
  }

  fail(error) {
    this.error.hidden = false;
    setText(this.error, error.message);
    if (error.status === 404) this.fill({records: [], more: false}, false);
  }

  fill({records, more}, isLive) {
    this.chooseColumns(records);
    this.fillHead();
    const old = this.rows;
    this.rows = new Map();
    for (const record of records) {
      const name = this.nameOf(record);
      const row = old.get(name) ?? this.makeRow(record);
      this.fillRow(row, record, isLive && old.has(name));
      this.rows.set(name, row);
    }
    this.place([...this.rows.values()].map((each) => each.element));
    if (isLive) for (const [name, row] of this.rows) if (!old.has(name)) flash(row.element, 'inserted');
    this.fillPages(records.length, more);
  }

  // Moves only the rows that aren't in their place: the focus stays where it is.
  place(rows) {
    const kept = new Set(rows);
    const hadFocus = [...this.body.children].indexOf(document.activeElement);
    for (const each of [...this.body.children]) if (!kept.has(each)) each.remove();
    rows.forEach((each, i) => {
      if (this.body.children[i] !== each) this.body.insertBefore(each, this.body.children[i] ?? null);
    });
    if (hadFocus >= 0 && rows.length > 0 && !this.body.contains(document.activeElement))
      rows[Math.min(hadFocus, rows.length - 1)].focus();
    if (!rows.some((each) => each.tabIndex === 0) && rows.length > 0) rows[0].tabIndex = 0;
    this.body.classList.toggle('empty', rows.length === 0);
  }

  fillPages(length, more) {
    const first = this.offset + 1;
    const known = this.app.state.records(this.name);
    const isWhole = !this.parameters.get('where') && known !== undefined;
    const total = isWhole ? ` of ${numberText(known)}` : more ? ' of more' : '';
    setText(this.count, length === 0 ? 'no records' : `${numberText(first)}–${numberText(first + length - 1)}${total}`);
    this.previous.disabled = this.offset === 0;
    this.next.disabled = !more;
  }

  // ---- Columns ----

  chooseColumns(records) {
    const {columns} = this.table;
    for (const column of columns)
      if (!this.shown.has(column) && records.some((each) => !isEmpty(column, each[column.path]))) this.shown.add(column);
    for (const each of ['tenant', 'source'])
      if (records.some((record) => record[each] !== usual[each])) this.shown.add(each);
    this.columns = columns.filter((each) => !each.elements && (each.isKey || this.all.checked || this.shown.has(each)));
    this.places = ['tenant', 'source'].filter((each) => this.shown.has(each));
  }

  fillHead() {
    const sort = this.parameters.get('sort') ?? '';
    const layout = [sort, ...this.places, ...this.columns.map((each) => each.path)].join(' ');
    if (layout === this.layout) return;
    if (this.layout !== undefined) this.rows.forEach((each) => { each.cells = null; });
    this.layout = layout;
    this.head.replaceChildren(
      ...this.places.map((each) => element('th', {scope: 'col', class: 'place'}, each)),
      ...this.columns.map((each) => this.headCell(each, sort)));
  }

  headCell(column, sort) {
    const [name, order] = sort.split(':');
    const sorted = name !== column.path ? 'none' : order === 'desc' ? 'descending' : 'ascending';
    const sign = {none: '', ascending: ' ▲', descending: ' ▼'}[sorted];
    return element('th', {scope: 'col', 'aria-sort': sorted, class: classOf(column), title: column.meanings.join(': ')},
      element('button', {type: 'button', data: {column: column.path}, on: {click: () => this.sortBy(column)}},
        column.path, sign),
      column.unit ? element('span', {class: 'unit'}, column.unit) : null);
  }

  // ---- Rows ----

  nameOf(record) {
    return JSON.stringify([record.tenant, record.source, ...this.table.keys.map((each) => record[each.path])]);
  }

  linkOf(record) {
    const other = (name) => (record[name] === usual[name] ? '' : record[name]);
    return this.app.router.link(this.name, keyParts(this.table, (column) => record[column.path]),
      {tenant: other('tenant'), source: other('source')});
  }

  makeRow(record) {
    const link = this.linkOf(record);
    return {element: element('tr', {tabindex: '-1', data: {link}}), cells: null};
  }

  fillRow(row, record, isLive) {
    row.element.dataset.link = this.linkOf(record);
    if (!row.cells) {
      row.cells = [...this.places.map((each) => element('td', {class: 'place', data: {label: each}})),
        ...this.columns.map((each) => this.cellOf(each, row))];
      row.element.replaceChildren(...row.cells);
      isLive = false;
    }
    this.places.forEach((each, i) => setText(row.cells[i], String(record[each])));
    this.columns.forEach((column, i) => {
      const cell = row.cells[this.places.length + i];
      const value = record[column.path];
      cell.classList.toggle('zero', isEmpty(column, value));
      if (setText(cell.firstChild ?? cell, valueText(column, value)) && isLive) flash(cell);
    });
  }

  cellOf(column, row) {
    const cell = element('td', {class: classOf(column), data: {label: column.path}});
    const isFirst = column === this.table.keys[0];
    cell.append(isFirst ? element('a', {href: row.element.dataset.link, tabindex: '-1'}) : element('span'));
    return cell;
  }

  // ---- Keys ----

  key(event) {
    const rows = [...this.body.children];
    const at = rows.indexOf(event.target.closest('tr'));
    const to = {ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: rows.length - 1}[event.key];
    if (to !== undefined) this.focusRow(rows[Math.max(0, Math.min(to, rows.length - 1))]);
    else if (event.key === 'PageDown' && !this.next.disabled) this.turn(1);
    else if (event.key === 'PageUp' && !this.previous.disabled) this.turn(-1);
    else if (event.key === 'Enter' && at >= 0) this.app.router.go(rows[at].dataset.link);
    else return;
    event.preventDefault();
  }

  focusRow(row = this.body.querySelector('[tabindex="0"]') ?? this.body.firstElementChild) {
    if (!row) return;
    for (const each of this.body.querySelectorAll('[tabindex="0"]')) each.tabIndex = -1;
    row.tabIndex = 0;
    row.focus();
  }

  click(event) {
    const row = event.target.closest('tr');
    const isSelecting = String(window.getSelection()) !== '';
    if (row && !event.target.closest('a') && !isSelecting) this.app.router.go(row.dataset.link);
  }

  focusFilter() {
    this.input.focus();
    this.input.select();
  }
}

const classOf = (column) => [column.isKey ? 'key' : '', isNumber(column) ? 'number' : ''].join(' ').trim();
