// SPDX-License-Identifier: Apache-2.0
// The changes of a record, and a chart of one of its fields over time.
import {changeItem} from './changes.js';
import {Chart} from './chart.js';
import {element, setText} from './dom.js';
import {numberText, timeText} from './format.js';
import {isNumber} from './schema.js';

const mostChanges = 200;

export class History {
  // `view` is the record's.
  constructor(app, view) {
    this.app = app;
    this.view = view;
    this.changes = [];  // the newest first
    this.abort = new AbortController();
    this.note = element('p', {class: 'note', role: 'status'});
    this.list = element('ol', {class: 'changes'});
    this.field = element('select', {on: {change: () => this.draw()}});
    this.choice = element('label', {class: 'check', hidden: true}, 'Chart of ', this.field);
    this.chart = new Chart({title: 'Over time', xText: (x) => timeText(x * 1000)});
    this.chart.element.hidden = true;
    this.element = element('section', {class: 'history', 'aria-label': 'History'},
      element('div', {class: 'tools'}, element('h2', {}, 'History'), this.choice), this.note, this.chart.element, this.list);
  }

  close() {
    this.abort.abort();
    this.chart.close();
  }

  show(route) {
    const name = JSON.stringify([route.table, route.key, this.view.tenant, this.view.source]);
    if (name !== this.name) this.reload();
    this.name = name;
  }

  async reload() {
    setText(this.note, 'Reading the history …');
    try {
      this.fill(await this.app.api.get(`${this.view.path}/history`, {
        store: this.app.state.store, tenant: this.view.tenant, source: this.view.source, limit: mostChanges,
      }, this.abort.signal));
    } catch (error) {
      if (error.name !== 'AbortError') setText(this.note, error.message);
    }
  }

  fill({changes, more, journal, advice}) {
    const known = new Set(changes.map((each) => each.transaction));
    const newer = this.changes.filter((each) => each.isNew && !known.has(each.transaction));
    this.changes = [...newer, ...changes];
    const texts = [];
    if (!journal) texts.push(`${advice[0].toUpperCase()}${advice.slice(1)}.`);
    if (more) texts.push(`The last ${numberText(mostChanges)} changes:`);
    if (this.changes.length === 0) texts.push('No change is known.');
    setText(this.note, texts.join(' '));
    this.list.replaceChildren(...this.changes.map((each) => this.item(each)));
    this.offerFields();
  }

  item(change) {
    return changeItem(this.view.table, change, (number) =>
      this.app.router.link(this.view.name, this.view.key, {
        tenant: this.view.tenant || '', source: this.view.source === 1 ? '' : this.view.source, at: number}));
  }

  // A change that has just happened.
  add(change) {
    this.changes.unshift({...change, isNew: true});
    this.list.prepend(this.item(change));
    if (this.changes.length > mostChanges) {
      this.changes.pop();
      this.list.lastElementChild.remove();
    }
    if (this.note.textContent === 'No change is known.') setText(this.note, '');
    this.offerFields();
  }

  // ---- Chart ----

  points(column) {
    const points = [];
    for (const each of this.changes) {
      const value = each.fields[column.path]?.new;
      if (typeof value === 'number' && each.time) points.unshift([Date.parse(each.time) / 1000, value]);
    }
    return points;
  }

  offerFields() {
    const columns = this.view.table.columns.filter((each) => isNumber(each) && this.points(each).length > 1);
    const before = this.field.value;
    this.choice.hidden = columns.length === 0;
    if (columns.map((each) => each.path).join() !== [...this.field.options].map((each) => each.value).join())
      this.field.replaceChildren(...columns.map((each) => element('option', {value: each.path}, each.path)));
    if (columns.some((each) => each.path === before)) this.field.value = before;
    this.draw();
  }

  draw() {
    const column = this.view.table.columns.find((each) => each.path === this.field.value);
    const points = column ? this.points(column) : [];
    this.chart.element.hidden = points.length < 2;
    if (points.length > 1) this.chart.update(points.map((each) => each[0]), points.map((each) => each[1]));
  }
}
