// SPDX-License-Identifier: Apache-2.0
// The moment that the page shows: the present, or one of the past that a slider, a text or a step
// chooses. The slider goes from the oldest state that the store's journal keeps to now.
import {element, setText} from './dom.js';
import {authorText, timeText} from './format.js';

const slidingPause = 120;
const positions = 1000;

export class Moments {
  constructor(section, app) {
    this.app = app;
    this.section = section;
    this.slider = element('input', {
      type: 'range', id: 'slider', min: '0', max: String(positions), value: String(positions), step: '1',
      'aria-label': 'Moment of the store', on: {input: () => this.slide()}});
    this.text = element('input', {
      type: 'text', id: 'moment', autocomplete: 'off', spellcheck: 'false', size: '13', placeholder: '10:30, -2h, 4711',
      title: 'A time, how long ago, or the number of a transaction', 'aria-label': 'Moment, as text',
      on: {change: () => this.typed()}});
    this.before = this.button('◀', 'The transaction before', () => this.step(-1));
    this.after = this.button('▶', 'The next transaction', () => this.step(1));
    this.live = element('button', {type: 'button', class: 'live', on: {click: () => this.choose('')}}, 'Live');
    this.said = element('span', {class: 'said', role: 'status'});
    this.advice = element('p', {class: 'note advice', hidden: true});
    this.controls = element('div', {class: 'controls'},
      this.before, this.slider, this.after, this.text, this.live);
    section.replaceChildren(this.controls, this.advice, this.said);
  }

  button(text, title, click) {
    return element('button', {type: 'button', title, 'aria-label': title, on: {click}}, text);
  }

  // Which moments there are.
  async load() {
    try {
      const {journal, advice, oldest} = await this.app.api.get('/api/v1/moments', {store: this.app.state.store});
      this.oldest = journal ? Date.parse(oldest.time) : undefined;
      this.first = oldest.transaction;
      this.controls.hidden = !journal;
      this.advice.hidden = journal;
      setText(this.advice, journal ? '' : `No time slider: ${advice}.`);
    } catch (error) {
      this.controls.hidden = true;
      this.advice.hidden = false;
      setText(this.advice, `No time slider: ${error.message}.`);
    }
    this.place();
  }

  // The route's moment; '' is the present.
  show(at) {
    this.at = at ?? '';
    this.section.classList.toggle('is-past', this.at !== '');
    this.live.disabled = this.at === '';
    this.after.disabled = this.at === '';
    if (this.at === '') setText(this.said, '');
    if (document.activeElement !== this.text) this.text.value = this.at;
    this.place();
  }

  // What the exporter says of the moment.
  describe(answer) {
    this.transaction = answer.transaction;
    this.time = answer.time;
    const time = answer.time ? `${timeText(answer.time)}, ` : '';
    const author = authorText(answer);
    setText(this.said, `The store after ${time}transaction ${answer.transaction}${author ? ` by ${author}` : ''}`);
    this.place();
  }

  fail(error) {
    if (this.at !== '') setText(this.said, error.message);
  }

  // Puts the slider where the moment is, unless it is used: its next step would begin there.
  place() {
    if (this.oldest === undefined || (document.activeElement === this.slider && this.at !== '')) return;
    const now = Date.now();
    const time = this.at === '' || !this.time ? now : Date.parse(this.time);
    this.slider.value = String(Math.round((time - this.oldest) / Math.max(1, now - this.oldest) * positions));
  }

  slide() {
    clearTimeout(this.sliding);
    const at = this.momentAt(Number(this.slider.value) / positions);
    this.slider.setAttribute('aria-valuetext', at === '' ? 'now' : /T/.test(at) ? timeText(at) : 'the oldest state');
    this.sliding = setTimeout(() => this.choose(at), slidingPause);
  }

  // Of a share of the slider. The oldest state has no time of its own.
  momentAt(share) {
    if (share === 0) return String(this.first);
    if (share === 1) return '';
    return new Date(Math.ceil(this.oldest + 1 + share * (Date.now() - this.oldest - 1))).toISOString();
  }

  typed() {
    this.choose(this.text.value.trim());
  }

  step(by) {
    const number = (this.at === '' ? this.app.transaction : this.transaction) + by;
    if (number > 0) this.choose(String(number));
  }

  choose(at) {
    this.app.router.change({at}, true);
  }

  focus() {
    this.slider.focus();
  }
}
