// SPDX-License-Identifier: Apache-2.0
// Repeats a request when something has changed, but leaves the exporter most of the time for
// others: after a request that took long the next one waits longer.

const shortestPause = 150;
const pausePerTime = 3;

export class Refresher {
  // `run()` returns a promise; what it throws is passed to `onError`.
  constructor(run, onError) {
    this.run = run;
    this.onError = onError;
    this.isBusy = false;
    this.isRequested = false;
    this.isStopped = false;
  }

  stop() {
    this.isStopped = true;
  }

  async request() {
    this.isRequested = true;
    if (this.isBusy) return;
    this.isBusy = true;
    while (this.isRequested && !this.isStopped) {
      this.isRequested = false;
      const begin = performance.now();
      try {
        await this.run();
      } catch (error) {
        if (!this.isStopped && error.name !== 'AbortError') this.onError(error);
      }
      const pause = Math.max(shortestPause, pausePerTime * (performance.now() - begin));
      await new Promise((resolve) => { setTimeout(resolve, pause); });
    }
    this.isBusy = false;
  }
}
