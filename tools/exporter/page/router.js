// SPDX-License-Identifier: Apache-2.0
// What is shown is in the address, so that it can be linked, and the browser's buttons work:
//   #/                          the stores
//   #/TABLE?where=...           a table
//   #/TABLE/KEY/KEY?tenant=1    a record, by the parts of its key
// The parameters `store` and `at` are of all of them.

export function parse(hash) {
  const [path, query] = splitAt(hash.replace(/^#\/?/, ''), '?');
  const parts = path.split('/').filter((each) => each !== '').map(decode);
  return {table: parts[0] ?? '', key: parts.slice(1), parameters: new URLSearchParams(query)};
}

export function linkTo(table = '', key = [], parameters = {}) {
  const path = [table, ...key].filter((each) => each !== '').map(encodeURIComponent).join('/');
  const query = new URLSearchParams();
  for (const [name, value] of Object.entries(parameters))
    if (value !== undefined && value !== null && value !== '') query.set(name, value);
  const text = query.toString();
  return `#/${path}${text ? `?${text}` : ''}`;
}

export class Router {
  constructor(onRoute) {
    this.onRoute = onRoute;
    window.addEventListener('hashchange', () => this.follow());
  }

  get route() {
    return parse(window.location.hash);
  }

  follow() {
    this.onRoute(this.route);
  }

  // The link to another view of the same store at the same moment.
  link(table, key, parameters = {}) {
    const {parameters: now} = this.route;
    return linkTo(table, key, {store: now.get('store'), at: now.get('at'), ...parameters});
  }

  go(link) {
    window.location.hash = link;
  }

  // Changes parameters of this view; without an entry in the browser's history if `isSmall`.
  change(parameters, isSmall = false) {
    const {table, key, parameters: now} = this.route;
    const link = linkTo(table, key, {...Object.fromEntries(now), ...parameters});
    if (link === window.location.hash) return;
    if (!isSmall) {
      this.go(link);
      return;
    }
    window.history.replaceState(null, '', link);
    this.follow();
  }
}

function splitAt(text, sign) {
  const at = text.indexOf(sign);
  return at < 0 ? [text, ''] : [text.slice(0, at), text.slice(at + 1)];
}

function decode(part) {
  try {
    return decodeURIComponent(part);
  } catch {
    return part;
  }
}
