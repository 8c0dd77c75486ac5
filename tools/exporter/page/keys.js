// SPDX-License-Identifier: Apache-2.0
// What keys do, and the list of them.
import {element} from './dom.js';

const isTyping = (target) => target.matches?.('input:not([type="checkbox"]):not([type="range"]), select, textarea');

export class Keys {
  // `actions` has a function for each name below.
  constructor(dialog, button, actions) {
    this.dialog = dialog;
    this.list = [
      ['/', 'Filter the table', actions.filter],
      ['g', 'Go to the list of tables', actions.tables],
      ['r', 'Go to the rows', actions.rows],
      ['t', 'Go to the time slider', actions.moments],
      ['l', 'Back to the present', actions.live],
      ['d', 'Dark or light', actions.theme],
      ['?', 'This list', () => this.open()],
      ['Escape', 'Back', actions.back],
      ['↑ ↓ Home End', 'Rows, and tables in the list'],
      ['PageUp PageDown', 'Pages of the table'],
      ['Enter', 'Open the record of the row'],
      ['+ − 0 ← →', 'Zoom and move a chart'],
    ];
    this.fill();
    button.addEventListener('click', () => this.open());
    document.addEventListener('keydown', (event) => this.press(event));
  }

  fill() {
    this.dialog.replaceChildren(
      element('h2', {id: 'help-title'}, 'Keys'),
      element('dl', {class: 'keys'}, ...this.list.map(([key, meaning]) => element('div', {},
        element('dt', {}, ...key.split(' ').map((each) => element('kbd', {}, each))), element('dd', {}, meaning)))),
      element('button', {type: 'button', class: 'primary', on: {click: () => this.dialog.close()}}, 'Close'));
  }

  open() {
    this.dialog.showModal();
  }

  press(event) {
    if (event.ctrlKey || event.metaKey || event.altKey || event.defaultPrevented) return;
    if (document.querySelector('dialog[open]')) return;
    if (isTyping(event.target)) {
      if (event.key === 'Escape') event.target.blur();
      return;
    }
    const action = this.list.find(([key]) => key === event.key)?.[2];
    if (!action) return;
    action();
    event.preventDefault();
  }
}
