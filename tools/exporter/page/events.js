// SPDX-License-Identifier: Apache-2.0
// The changes of a store, as the exporter sends them. Read with fetch, since EventSource can't send
// a token. A connection that is lost is made again, and goes on after the last event.

const firstDelay = 250;
const longestDelay = 5000;
// The exporter writes something every 15 seconds.
const longestSilence = 40000;

export class ChangeStream {
  // Goes on after the event `lastId`, or begins with the present if that is ''. Calls
  // `onEvent(kind, data, transaction)` for each event and `onState(isConnected)` when that changes.
  constructor(api, store, lastId, {onEvent, onState}) {
    this.api = api;
    this.store = store;
    this.onEvent = onEvent;
    this.onState = onState;
    this.lastId = lastId;
    this.isClosed = false;
    this.run();
  }

  close() {
    this.isClosed = true;
    this.abort?.abort();
  }

  async run() {
    let delay = firstDelay;
    while (!this.isClosed) {
      const hasWorked = await this.read().catch(() => false);
      if (this.isClosed) return;
      this.onState(false);
      delay = hasWorked ? firstDelay : Math.min(delay * 2, longestDelay);
      await new Promise((resolve) => { setTimeout(resolve, delay); });
    }
  }

  // Reads events until the connection ends. Returns whether there was one.
  async read() {
    this.abort = new AbortController();
    const headers = this.lastId ? {'Last-Event-ID': this.lastId} : {};
    const target = `/api/v1/changes?store=${encodeURIComponent(this.store)}`;
    const response = await this.api.fetch(target, {headers, signal: this.abort.signal});
    if (response.status === 400) this.lastId = '';
    if (!response.ok) return false;
    this.onState(true);
    await this.takeAll(response.body.getReader()).catch(() => {});
    return true;
  }

  async takeAll(reader) {
    const decoder = new TextDecoder();
    let text = '';
    for (;;) {
      const timer = setTimeout(() => this.abort.abort(), longestSilence);
      const {done, value} = await reader.read().finally(() => clearTimeout(timer));
      if (done) return;
      const events = (text + decoder.decode(value, {stream: true})).split('\n\n');
      text = events.pop();
      for (const each of events) this.take(each);
    }
  }

  take(text) {
    const fields = {};
    for (const line of text.split('\n')) {
      const colon = line.indexOf(': ');
      if (colon > 0) fields[line.slice(0, colon)] = line.slice(colon + 2);
    }
    if (!fields.event) return;
    this.lastId = fields.id;
    this.onEvent(fields.event, JSON.parse(fields.data), Number(fields.id.slice(fields.id.lastIndexOf('-') + 1)));
  }
}
