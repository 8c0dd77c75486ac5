// SPDX-License-Identifier: Apache-2.0
// Dark or light: as the system has it, until the button is used.

const place = 'tarnbase-theme';
const isDark = window.matchMedia('(prefers-color-scheme: dark)');

export class Theme {
  constructor(button) {
    this.button = button;
    this.set(localStorage.getItem(place));
    button.addEventListener('click', () => this.toggle());
    isDark.addEventListener('change', () => this.set(localStorage.getItem(place)));
  }

  toggle() {
    const next = this.now === 'dark' ? 'light' : 'dark';
    localStorage.setItem(place, next);
    this.set(next);
  }

  set(chosen) {
    this.now = chosen === 'dark' || chosen === 'light' ? chosen : isDark.matches ? 'dark' : 'light';
    document.documentElement.dataset.theme = this.now;
    this.button.textContent = this.now === 'dark' ? '☀' : '☾';
    this.button.setAttribute('aria-label', this.now === 'dark' ? 'Light colours' : 'Dark colours');
    document.dispatchEvent(new Event('themechange'));
  }
}
