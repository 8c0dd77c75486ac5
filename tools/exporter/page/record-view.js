// SPDX-License-Identifier: Apache-2.0
// One record: its days, its fields with what they mean, and its history.
import {Chart} from './chart.js';
import {element, flash, setText} from './dom.js';
import {isEmpty, minuteText, valueText} from './format.js';
import {History} from './history.js';
import {Refresher} from './refresher.js';
import {isDay, isNumber, valueOf} from './schema.js';

// From so many on, those without a value are left out at first.
const manyFields = 20;
const minuteSplits = [1, 5, 10, 15, 30, 60, 120, 180, 240, 360];

export class RecordView {
  constructor(app, route) {
    this.app = app;
    this.name = route.table;
    this.table = app.schema.table(route.table);
    this.key = route.key;
    this.abort = new AbortController();
    this.cells = new Map();  // by column
    this.charts = new Map();
    this.isLive = false;
    this.refresher = new Refresher(() => this.read(), (error) => this.fail(error));
    this.parameters = route.parameters;
    this.element = this.table ? this.build() : element('p', {class: 'note error'}, `No table ${this.name} is known.`);
    if (this.table) this.show(route);
  }

  close() {
    this.refresher.stop();
    this.abort.abort();
    this.history?.close();
    for (const each of this.charts.values()) each.close();
  }

  // ---- Parts ----

  build() {
    this.error = element('p', {class: 'error', role: 'alert', hidden: true});
    this.places = element('p', {class: 'places'});
    this.days = element('div', {class: 'days'});
    this.hides = element('input', {type: 'checkbox', id: 'only-values', on: {change: () => this.hideZeros()}});
    this.hides.checked = this.table.columns.length > manyFields;
    this.fields = element('div', {class: 'fields-of-record'}, ...this.sections());
    this.hideZeros();
    this.history = new History(this.app, this);
    return element('article', {class: 'record-view'},
      element('p', {class: 'crumbs'}, element('a', {href: this.app.router.link(this.name, [])}, this.name)),
      element('h1', {}, this.title()), element('p', {class: 'meaning'}, this.table.meaning), this.places, this.error,
      this.days,
      element('div', {class: 'tools'}, element('h2', {}, 'Fields'),
        element('label', {class: 'check'}, this.hides, 'Only those with a value')),
      this.fields, this.history.element);
  }

  // The values of the key as they are in the address, numbers with their names.
  title() {
    return this.key.map((each, i) => {
      const column = this.table.keys[i];
      const value = column ? each.replace(new RegExp(`^${column.path}(:hex)?=`), '') : each;
      return column && isNumber(column) ? `${column.path} ${value}` : value;
    }).join(', ');
  }

  // A section for each structure in the structure.
  sections() {
    const groups = Map.groupBy(this.table.columns, (each) =>
      (each.isInKeyObject ? 'Key' : each.names.slice(0, -1).join('.')));
    return [...groups].map(([name, columns]) => {
      const isInner = name !== '' && name !== 'Key';
      const meaning = isInner ? columns[0].meanings.slice(0, -1).join(': ') : '';
      return element('section', {class: 'group'},
        name === '' ? null : element('h3', {}, name, meaning ? element('span', {class: 'meaning'}, meaning) : null),
        element('dl', {}, ...columns.map((each) => this.fieldRow(each))));
    });
  }

  fieldRow(column) {
    const value = element('dd', {class: 'value'});
    const unit = element('dd', {class: 'unit'}, column.unit);
    const about = column.measure === 'plain' || column.isKey ? column.type : `${column.measure}, ${column.type}`;
    const row = element('div', {class: 'field-row', data: {field: column.path}},
      element('dt', {title: about}, column.names.at(-1)), value, unit,
      element('dd', {class: 'meaning'}, column.meanings.at(-1)));
    this.cells.set(column, {row, value});
    return row;
  }

  // ---- What is shown ----

  show(route) {
    this.parameters = route.parameters;
    this.isLive = false;
    this.refresher.request();
    this.history.show(route);
  }

  refresh() {
    this.refresher.request();
  }

  reload() {
    this.isLive = false;
    this.refresher.request();
    this.history.reload();
  }

  changed(changes, transaction) {
    const mine = changes.filter((each) => this.isMine(each));
    if (mine.length === 0) return;
    this.isLive = true;
    this.refresher.request();
    for (const each of mine) this.history.add({...transaction, ...each});
  }

  get tenant() {
    return Number(this.parameters.get('tenant') ?? 0);
  }

  get source() {
    return Number(this.parameters.get('source') ?? 1);
  }

  isMine(change) {
    return change.table === this.name && change.tenant === this.tenant && change.source === this.source &&
      this.table.keys.every((column, i) => this.key[i] === this.partOf(column, change.key[column.path]));
  }

  partOf(column, value) {
    return value && typeof value === 'object' ? `${column.path}:hex=${value.hex}` : `${column.path}=${value ?? ''}`;
  }

  // ---- Reading ----

  get path() {
    return `/api/v1/tables/${[this.name, ...this.key].map(encodeURIComponent).join('/')}`;
  }

  async read() {
    const {parameters, isLive} = this;
    const answer = await this.app.api.get(this.path,
      {store: this.app.state.store, at: parameters.get('at')}, this.abort.signal);
    if (parameters !== this.parameters) return;
    const found = answer.records.find((each) => each.tenant === this.tenant && each.source === this.source);
    this.error.hidden = found !== undefined;
    if (found) this.fill(found, isLive);
    else setText(this.error, `There is no record of this key with tenant ${this.tenant} and source ${this.source}.`);
    this.element.classList.toggle('gone', !found);
    this.showPlaces(answer.records);
  }

  fail(error) {
    this.error.hidden = false;
    setText(this.error, error.status === 404 ? 'The record isn’t in the table at this moment.' : error.message);
    this.element.classList.toggle('gone', error.status === 404);
  }

  fill(record, isLive) {
    for (const [column, {row, value}] of this.cells) {
      const now = valueOf(record, column);
      row.classList.toggle('zero', isEmpty(column, now));
      if (isDay(column) && Array.isArray(now)) this.draw(column, now);
      const text = isDay(column) && now ? 'see the chart' : valueText(column, now);
      if (setText(value, text) && isLive) flash(value);
    }
  }

  draw(column, minutes) {
    let chart = this.charts.get(column);
    if (!chart) {
      chart = new Chart({title: column.path, note: column.meanings.join(': '), xText: minuteText, splits: minuteSplits});
      this.charts.set(column, chart);
      this.days.append(chart.element);
    }
    chart.update(minutes.map((_, minute) => minute), minutes);
  }

  // Records of the same key with other tenants and sources.
  showPlaces(records) {
    const isUsual = records.length === 1 && this.tenant === 0 && this.source === 1;
    this.places.hidden = isUsual;
    this.places.replaceChildren(...records.map((each) => {
      const link = this.app.router.link(this.name, this.key, {tenant: each.tenant || '', source: each.source === 1 ? '' : each.source});
      const isThis = each.tenant === this.tenant && each.source === this.source;
      return element('a', {href: link, class: 'chip', 'aria-current': isThis ? 'true' : null},
        `tenant ${each.tenant}, source ${each.source}${each.pending ? ', awaits its destruction' : ''}`);
    }));
  }

  hideZeros() {
    this.fields.classList.toggle('hide-zeros', this.hides.checked);
  }
}
