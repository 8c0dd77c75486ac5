// SPDX-License-Identifier: Apache-2.0
// The token that requests must have, if the exporter has one. The user types it once in a tab, and it
// is gone when the tab is closed. A header, not a cookie: no other site can send it.
import {element} from './dom.js';

const place = 'tarnbase-token';

export class Token {
  constructor(dialog) {
    this.dialog = dialog;
    this.value = sessionStorage.getItem(place) ?? '';
    this.open = null;  // the promise of the dialog
  }

  // Gets another token than `refused`. Requests that fail at the same time share the dialog.
  replace(refused) {
    if (this.value !== refused) return Promise.resolve();
    this.open ??= this.show(refused !== '').finally(() => { this.open = null; });
    return this.open;
  }

  show(wasWrong) {
    return new Promise((resolve) => {
      const input = element('input', {
        type: 'password', id: 'token', autocomplete: 'off', required: true, spellcheck: 'false'});
      const form = element('form', {method: 'dialog'},
        element('h2', {id: 'token-title'}, 'Token'),
        element('p', {}, 'This exporter needs a token: the first line of its --token-file. It is kept until the tab is closed.'),
        element('p', {class: 'error', role: 'alert', hidden: !wasWrong}, 'That token was refused.'),
        element('label', {for: 'token'}, 'Token'), input,
        element('button', {type: 'submit', class: 'primary'}, 'Use it'));
      form.addEventListener('submit', (event) => {
        event.preventDefault();
        this.value = input.value.trim();
        sessionStorage.setItem(place, this.value);
        this.dialog.close();
        resolve();
      });
      this.dialog.replaceChildren(form);
      this.dialog.oncancel = (event) => event.preventDefault();
      this.dialog.showModal();
      input.focus();
    });
  }
}
