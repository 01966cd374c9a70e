// Starts, feeds, stops and replaces the worker that runs programs.
import { postJson, postText, token } from '../common/api.js';

const STOP_PATIENCE = 2500; // ms until a worker that does not stop is ended; the variables are lost then

/**
 * One language's worker. `tell` gets its messages, and {kind: 'state', state} with one of
 * 'loading' 'ready' 'running' 'asking' 'stopping' 'failed'.
 */
export class WorkerLink {
  /** @param keepsVariables  false: Stop ends the worker at once */
  constructor(url, tell, keepsVariables) {
    this.url = url;
    this.tell = tell;
    this.keepsVariables = keepsVariables;
    this.state = 'none';
    this.run = null;
    this.worker = null;
    this.patience = STOP_PATIENCE;
    this.stopTimer = null;
  }

  setState(state) {
    if (state === this.state) return;
    this.state = state;
    this.tell({ kind: 'state', state });
  }

  /** Begins to load what the worker needs, so that the first run waits less. */
  prepare() {
    if (this.worker) return;
    this.setState('loading');
    this.worker = new Worker(this.url, { type: 'module' });
    this.worker.addEventListener('message', ({ data }) => this.hear(data));
    this.worker.addEventListener('error', (event) => {
      this.hear({ kind: 'failed', message: event.message || 'the worker could not be started' });
    });
  }

  hear(message) {
    if (message.kind === 'loaded') {
      if (this.state === 'loading') this.setState(this.waiting ? 'running' : 'ready');
    } else if (message.kind === 'ask') this.setState('asking');
    else if (message.kind === 'asked') this.setState('running');
    else if (message.kind === 'failed') {
      this.forget();
      this.setState('failed');
    } else if (message.kind === 'ended') {
      this.calm();
      this.waiting = false;
      if (message.how === 'crashed') this.forget();
      this.setState(message.how === 'crashed' ? 'none' : 'ready');
      if (message.how === 'crashed') this.prepare();
    }
    this.tell(message);
  }

  /** No longer about to end the worker. */
  calm() {
    clearTimeout(this.stopTimer);
    this.stopTimer = null;
  }

  forget() {
    this.calm();
    this.worker?.terminate();
    this.worker = null;
    this.waiting = false;
    this.state = 'none';
  }

  get busy() {
    return this.waiting || this.state === 'running' || this.state === 'asking' || this.state === 'stopping';
  }

  /** @param order  {do, source, run, speed, practice}; run null: without the class server */
  start(order) {
    this.prepare();
    this.waiting = true;
    this.run = order.run ?? null;
    this.worker.postMessage({ ...order, token: token() });
    if (this.state === 'ready') this.setState('running');
  }

  answer(text) {
    return postText(`/api/run/answer?run=${this.run}`, text);
  }

  /** Stops the program; Python keeps its variables unless it hangs in code that cannot be interrupted. */
  stop() {
    if (!this.busy) return;
    const loading = this.state === 'loading';
    this.setState('stopping');
    const asked = this.run === null ? Promise.resolve() : postJson('/api/run/stop', { run: this.run });
    if (loading || !this.keepsVariables || this.run === null) {
      asked.catch(() => {});
      this.kill(this.keepsVariables && !loading);
      return;
    }
    asked.catch(() => this.kill());
    this.killSoon();
  }

  /** The run is over: ends the worker a little later if the program has not noticed until then. */
  killSoon() {
    if (this.busy) this.stopTimer ??= setTimeout(() => this.kill(), this.patience);
  }

  /** @param lost  whether a program's variables are lost with the worker */
  kill(lost = this.keepsVariables) {
    if (!this.busy) return;
    this.forget();
    this.tell({ kind: 'ended', how: 'stopped', reason: 'stopped', lost });
    this.prepare();
  }
}
