// SPDX-License-Identifier: Apache-2.0
// A chart of one series, with zoom: by dragging, by its buttons and by keys.
import {element, setText} from './dom.js';
import {numberText, timeText} from './format.js';

const height = 220;
const zoomStep = 2;
const panStep = 0.25;

// A time of the x axis, whose texts are so many seconds apart.
function timeOf(seconds, step) {
  const text = timeText(seconds * 1000);
  return step >= 86400 ? text.slice(5, 10) : step >= 60 ? text.slice(11, 16) : text.slice(11, 19);
}

export class Chart {
  // `xText` makes a text of an x; `splits` are distances of the x axis, none for times.
  constructor({title, note, xText, splits}) {
    this.xText = xText;
    this.splits = splits;
    this.xs = [];
    this.ys = [];
    this.reading = element('span', {class: 'reading'});
    this.range = element('span', {class: 'range'});
    this.plot = element('div', {class: 'plot', tabindex: '0', role: 'img', on: {keydown: (event) => this.key(event)}});
    this.element = element('figure', {class: 'chart'},
      element('figcaption', {}, element('strong', {}, title), note ? element('span', {class: 'meaning'}, note) : null,
        this.reading),
      this.plot,
      element('div', {class: 'zoom'}, this.range,
        this.button('+', 'Zoom in', () => this.zoom(1 / zoomStep)),
        this.button('−', 'Zoom out', () => this.zoom(zoomStep)),
        this.button('All', 'Show all', () => this.showAll())));
    this.sizes = new ResizeObserver(() => this.resize());
    this.sizes.observe(this.plot);
    this.recolour = () => this.make();
    document.addEventListener('themechange', this.recolour);
  }

  close() {
    this.sizes.disconnect();
    document.removeEventListener('themechange', this.recolour);
    this.uplot?.destroy();
  }

  button(text, title, click) {
    return element('button', {type: 'button', title, 'aria-label': title, on: {click}}, text);
  }

  // Keeps the zoom if the x are the same.
  update(xs, ys) {
    const isSame = xs.length === this.xs.length && xs[0] === this.xs[0];
    this.xs = xs;
    this.ys = ys;
    this.describe();
    if (!this.uplot) this.make();
    else this.uplot.setData([xs, ys], !isSame);
    if (isSame) this.uplot?.redraw();
  }

  describe() {
    if (this.ys.length === 0) return;
    const low = this.ys.reduce((best, y, i) => (y < this.ys[best] ? i : best), 0);
    const high = this.ys.reduce((best, y, i) => (y > this.ys[best] ? i : best), 0);
    const average = this.ys.reduce((sum, y) => sum + y, 0) / this.ys.length;
    this.summary = `low ${numberText(this.ys[low])} at ${this.xText(this.xs[low])}, high ` +
      `${numberText(this.ys[high])} at ${this.xText(this.xs[high])}, average ${average.toFixed(1)}`;
    this.plot.setAttribute('aria-label', this.summary);
    setText(this.reading, this.summary);
  }

  make() {
    const width = this.plot.clientWidth;
    if (width === 0 || this.xs.length === 0) return;
    const scale = this.uplot?.scales.x;
    this.uplot?.destroy();
    this.uplot = new window.uPlot(this.options(width), [this.xs, this.ys], this.plot);
    if (scale) this.uplot.setScale('x', {min: scale.min, max: scale.max});
  }

  options(width) {
    const colour = (name) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();
    const axis = {stroke: colour('--muted'), grid: {stroke: colour('--line'), width: 1}, ticks: {show: false}};
    const x = this.splits
      ? {...axis, incrs: this.splits, values: (_, values) => values.map(this.xText), space: 56, size: 28}
      : {...axis, size: 28, space: 72, values: (_, values, _axis, _space, step) => values.map((each) => timeOf(each, step))};
    return {
      width, height, legend: {show: false}, cursor: {drag: {x: true, y: false}, y: false},
      scales: {x: {time: !this.splits}, y: {range: (_, low, high) => [Math.min(0, low), Math.max(1, high * 1.05)]}},
      axes: [x, {...axis, size: 52, values: (_, values) => values.map((each) => (each === null ? '' : numberText(each)))}],
      series: [{}, {stroke: colour('--accent'), fill: colour('--accent-wash'), width: 1.5, points: {show: false},
        paths: window.uPlot.paths.stepped({align: 1})}],
      hooks: {setCursor: [(plot) => this.read(plot)], setScale: [(plot) => this.showRange(plot)]},
    };
  }

  read(plot) {
    const at = plot.cursor.idx;
    if (at === null || at === undefined) setText(this.reading, this.summary ?? '');
    else setText(this.reading, `${this.xText(this.xs[at])}: ${numberText(this.ys[at])}`);
  }

  showRange(plot) {
    const {min, max} = plot.scales.x;
    if (min === undefined || min === null) return;
    this.element.dataset.from = min;
    this.element.dataset.to = max;
    setText(this.range, `${this.xText(min)} to ${this.xText(max)}`);
  }

  resize() {
    if (!this.uplot) this.make();
    else this.uplot.setSize({width: this.plot.clientWidth, height});
  }

  // ---- Zoom ----

  get whole() {
    return [this.xs[0], this.xs[this.xs.length - 1]];
  }

  // Shows from `min` on, as far as there are values.
  show(min, length) {
    const [first, last] = this.whole;
    const most = Math.min(length, last - first);
    const from = Math.max(first, Math.min(min, last - most));
    this.uplot?.setScale('x', {min: from, max: from + most});
  }

  showAll() {
    this.show(this.whole[0], Infinity);
  }

  zoom(factor) {
    if (!this.uplot) return;
    const {min, max} = this.uplot.scales.x;
    const length = (max - min) * factor;
    this.show((min + max - length) / 2, length);
  }

  pan(step) {
    if (!this.uplot) return;
    const {min, max} = this.uplot.scales.x;
    this.show(min + (max - min) * step, max - min);
  }

  key(event) {
    const actions = {
      '+': () => this.zoom(1 / zoomStep), '=': () => this.zoom(1 / zoomStep), '-': () => this.zoom(zoomStep),
      0: () => this.showAll(), ArrowLeft: () => this.pan(-panStep), ArrowRight: () => this.pan(panStep),
    };
    const action = actions[event.key];
    if (!action || event.ctrlKey || event.metaKey || event.altKey) return;
    action();
    event.preventDefault();
    event.stopPropagation();
  }
}
