// SPDX-License-Identifier: Apache-2.0
// Requests to the exporter that the page came from.

export class ApiError extends Error {
  constructor(status, text) {
    super(text);
    this.status = status;
  }
}

export class Api {
  constructor(token) {
    this.token = token;
  }

  // `parameters` may have arrays: a parameter for each element. Throws ApiError, with the status 0
  // if the exporter can't be reached.
  async get(path, parameters = {}, signal = undefined) {
    const response = await this.fetch(path + queryOf(parameters), {signal});
    const body = await response.json().catch(() => ({}));
    if (response.ok || path === '/healthz') return body;
    throw new ApiError(response.status, body.error ?? `the exporter has answered ${response.status}`);
  }

  async fetch(target, options) {
    for (let tries = 0; ;) {
      const used = this.token.value;
      const headers = {...options.headers, ...(used ? {Authorization: `Bearer ${used}`} : {})};
      const response = await reach(target, {...options, headers, cache: 'no-store'});
      if (response.status === 503 && response.headers.has('Retry-After') && tries++ < mostTries) {
        await pause();
        continue;
      }
      if (response.status !== 401) return response;
      await this.token.replace(used);
    }
  }
}

// After an answer that the exporter has too much to do.
const mostTries = 3;
const pause = () => new Promise((resolve) => { setTimeout(resolve, 1000); });

async function reach(target, options) {
  try {
    return await fetch(target, options);
  } catch (error) {
    if (error.name === 'AbortError') throw error;
    throw new ApiError(0, 'the exporter can’t be reached');
  }
}

function queryOf(parameters) {
  const query = new URLSearchParams();
  for (const [name, value] of Object.entries(parameters)) {
    for (const each of Array.isArray(value) ? value : [value])
      if (each !== undefined && each !== null && each !== '') query.append(name, each);
  }
  const text = query.toString();
  return text ? `?${text}` : '';
}
