// SPDX-License-Identifier: Apache-2.0
// Connects the parts of the page: the address chooses the view, the store's changes refresh it.
import {Api} from './api.js';
import {element, setText} from './dom.js';
import {ChangeStream} from './events.js';
import {Keys} from './keys.js';
import {Moments} from './moments.js';
import {Overview} from './overview.js';
import {RecordView} from './record-view.js';
import {Refresher} from './refresher.js';
import {Router} from './router.js';
import {Schema} from './schema.js';
import {State} from './state.js';
import {TableView} from './table-view.js';
import {TablesList} from './tables-list.js';
import {Theme} from './theme.js';
import {Token} from './token.js';

const $ = (id) => document.getElementById(id);
const retryPause = 1000;

class App {
  constructor() {
    this.theme = new Theme($('theme'));
    this.api = new Api(new Token($('token-dialog')));
    this.state = new State();
    this.router = new Router((route) => this.follow(route));
    this.moments = new Moments($('moments'), this);
    this.list = new TablesList($('tables'), this);
    this.tables = new Refresher(() => this.readTables(), (error) => this.moments.fail(error));
    this.keys = new Keys($('help-dialog'), $('help'), this.actions());
    this.isConnected = undefined;  // not yet
    $('store').addEventListener('change', () => this.router.go(`#/?store=${encodeURIComponent($('store').value)}`));
    document.addEventListener('visibilitychange', () => this.rest());
  }

  async start() {
    while (!this.schema) {
      try {
        this.schema = new Schema(await this.api.get('/api/v1/schema'));
        this.state.stores = Object.keys((await this.api.get('/healthz')).stores);
      } catch (error) {
        this.schema = null;
        $('content').replaceChildren(element('p', {class: 'note error', role: 'alert'}, error.message));
        await new Promise((resolve) => { setTimeout(resolve, retryPause); });
      }
    }
    $('store').replaceChildren(...this.state.stores.map((each) => element('option', {value: each}, each)));
    document.querySelector('.store').hidden = this.state.stores.length < 2;
    this.router.follow();
  }

  // ---- The address ----

  follow(route) {
    const store = route.parameters.get('store') ?? this.state.stores[0];
    if (store !== this.state.store) this.open(store);
    const at = route.parameters.get('at') ?? '';
    const isOther = at !== this.moments.at;
    this.moments.show(at);
    if (isOther) this.tables.request();
    const place = JSON.stringify([store, route.table, route.key, route.parameters.get('tenant'), route.parameters.get('source')]);
    if (place === this.place) this.view.show(route);
    else this.change(place, route);
    this.list.mark(route.table);
  }

  change(place, route) {
    this.place = place;
    this.view?.close();
    this.view = this.viewOf(route);
    $('content').replaceChildren(this.view.element);
    $('content').scrollTop = 0;
    document.title = [...route.key, route.table, this.state.store, 'tarnbase'].filter((each) => each).join(' · ');
  }

  viewOf(route) {
    if (route.table === '') return new Overview(this);
    return route.key.length === 0 ? new TableView(this, route) : new RecordView(this, route);
  }

  // ---- The store ----

  open(store) {
    this.state.store = store;
    this.state.tables = [];
    this.state.transactions = [];
    $('store').value = store;
    this.listen('');
    this.moments.load();
    this.tables.request();
  }

  listen(lastId) {
    this.stream?.close();
    this.stream = new ChangeStream(this.api, this.state.store, lastId, {
      onEvent: (kind, data, transaction) => this.take(kind, data, transaction),
      onState: (isConnected) => this.connect(isConnected),
    });
  }

  // A page that nobody sees needs no connection.
  rest() {
    if (document.hidden) this.stream?.close();
    else if (this.stream) this.listen(this.stream.lastId);
  }

  connect(isConnected) {
    const isBack = isConnected && this.isConnected === false;
    this.isConnected = isConnected;
    $('connection').classList.toggle('is-connected', isConnected);
    this.say();
    if (!isBack) return;
    this.tables.request();
    this.view?.reload();
  }

  say() {
    const number = this.transaction === undefined ? '' : ` · transaction ${this.transaction}`;
    setText($('connection'), this.isConnected ? `connected${number}` : 'connecting again …');
  }

  take(kind, data, transaction) {
    this.transaction = transaction;
    this.say();
    if (kind === 'gap' || kind === 'begin') {
      if (kind === 'gap') this.view?.reload();
      else this.view?.refresh();
      // What a gap leaves out has changed the tables, too.
      if (kind === 'gap' && this.moments.at === '') this.isLive = true;
      if (data.replaced) this.moments.load();
      this.tables.request();
      return;
    }
    this.state.add(data);
    if (this.moments.at !== '') return;
    this.isLive = true;
    this.tables.request();
    this.view?.changed(data.changes, data);
  }

  async readTables() {
    const {isLive} = this;
    this.isLive = false;
    const at = this.moments.at ?? '';
    const answer = await this.api.get('/api/v1/tables', {store: this.state.store, at});
    if (at !== this.moments.at) return;
    this.state.tables = answer.tables;
    this.list.fill(answer.tables, isLive);
    if (at !== '') this.moments.describe(answer);
    if (this.view instanceof Overview) this.view.count();
  }

  // ---- Keys ----

  actions() {
    return {
      filter: () => this.view.focusFilter?.(),
      rows: () => this.view.focusRow?.(),
      tables: () => this.list.focus(),
      moments: () => this.moments.focus(),
      live: () => this.moments.choose(''),
      theme: () => this.theme.toggle(),
      back: () => this.back(),
    };
  }

  back() {
    const {table, key} = this.router.route;
    if (key.length > 0) this.router.go(this.router.link(table, []));
    else if (table !== '') this.router.go(this.router.link('', []));
  }
}

const app = new App();
app.start();
