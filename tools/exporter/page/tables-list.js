// SPDX-License-Identifier: Apache-2.0
// The list of the store's tables, beside the view.
import {breakable, element, flash, setText} from './dom.js';
import {numberText} from './format.js';

export class TablesList {
  constructor(nav, app) {
    this.app = app;
    this.links = new Map();  // by table
    this.list = element('ul', {on: {keydown: (event) => this.key(event)}});
    nav.replaceChildren(element('h2', {}, 'Tables'), this.list);
  }

  // `isLive`: differences are changes of the store.
  fill(tables, isLive) {
    const old = this.links;
    this.links = new Map(tables.map((each) => [each.table, old.get(each.table) ?? this.make(each)]));
    for (const each of tables) {
      const {link, count} = this.links.get(each.table);
      link.href = this.app.router.link(each.table, []);
      if (setText(count, numberText(each.records)) && isLive && old.has(each.table)) flash(count);
    }
    const items = [...this.links.values()].map((each) => each.item);
    if (items.length === 0) items.push(element('li', {class: 'note'}, 'The store has no tables yet.'));
    this.list.replaceChildren(...items);
    this.mark(this.current);
  }

  make({table, meaning}) {
    const count = element('span', {class: 'count'});
    const link = element('a', {title: meaning}, element('span', {class: 'name'}, ...breakable(table)), count);
    return {item: element('li', {}, link), link, count};
  }

  mark(table) {
    this.current = table;
    for (const [name, {link}] of this.links) {
      if (name === table) link.setAttribute('aria-current', 'page');
      else link.removeAttribute('aria-current');
    }
  }

  key(event) {
    const links = [...this.list.querySelectorAll('a')];
    const at = links.indexOf(document.activeElement);
    const to = {ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: links.length - 1}[event.key];
    if (to === undefined || !links[to]) return;
    links[to].focus();
    event.preventDefault();
  }

  focus() {
    (this.links.get(this.current)?.link ?? this.list.querySelector('a'))?.focus();
  }
}
