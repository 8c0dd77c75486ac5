// SPDX-License-Identifier: Apache-2.0
// Elements. Text is always set as text: what a store contains is never markup.

// element('a', {class: 'x', href: '#', on: {click: f}}, 'text', other)
export function element(tag, attributes = {}, ...children) {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (value === undefined || value === null || value === false) continue;
    if (name === 'on') for (const [event, call] of Object.entries(value)) made.addEventListener(event, call);
    else if (name === 'data') Object.assign(made.dataset, value);
    else made.setAttribute(name, value === true ? '' : value);
  }
  made.append(...children.filter((each) => each !== undefined && each !== null));
  return made;
}

// Sets a text that may be the same, without touching the page then. Returns whether it changed.
export function setText(node, text) {
  if (node.textContent === text) return false;
  node.textContent = text;
  return true;
}

// A name that may be broken after its signs.
export function breakable(name) {
  return name.split(/(?<=[_:.])/).flatMap((each) => [each, element('wbr')]);
}

// Marks an element as changed, or inserted, until its colour has faded.
const flashTime = 2400;
const fading = new WeakMap();
export function flash(node, kind = 'changed') {
  const name = `flash-${kind}`;
  clearTimeout(fading.get(node));
  node.classList.remove(name);
  void node.offsetWidth;  // begins the animation anew
  node.classList.add(name);
  fading.set(node, setTimeout(() => node.classList.remove(name), flashTime));
}
