// This browser's session with the class: its state, and a sign of life every five seconds.
import { ApiError, getJson, postJson, setToken, token } from './api.js';

const EVERY = 5000; // ms
const SOON = 1000; // at most one sign a second
const RETRY = 3000;

/** Calls `changed(state, online)` with the state, or null when there is no session. */
export class Session {
  constructor(changed) {
    this.changed = changed;
    this.state = null;
    this.online = true;
    this.doing = 'idle';
    this.said = '';
    this.sent = -Infinity;
    this.timer = 0;
  }

  /** Restores the session after a reload; resolves with the first answer. */
  async start() {
    if (token()) await this.beat();
    else this.changed(null, true);
    document.addEventListener('visibilitychange', () => { if (!document.hidden) this.soon(); });
    addEventListener('online', () => this.soon());
    addEventListener('storage', (event) => { if (event.key === 'kelmora-token') this.soon(); });
  }

  async beat() {
    clearTimeout(this.timer);
    if (!token()) {
      if (this.state) this.changed(this.state = null, true); // left the class in another tab
      return;
    }
    this.sent = performance.now();
    let again = EVERY;
    try {
      this.state = await postJson('/api/beat', { doing: this.doing, said: this.said.slice(-400).replace(/\p{Cs}/gu, '') }); // no half pictures: the server would refuse them
      this.online = true;
    } catch (error) {
      if (error instanceof ApiError && error.status === 401) {
        setToken('');
        this.state = null;
        this.online = true;
        this.changed(null, true);
        return;
      }
      this.online = error.status !== 0;
      again = RETRY;
    }
    this.timer = setTimeout(() => this.beat(), again);
    this.changed(this.state, this.online);
  }

  /** What the program does and its last output; sent with the next sign of life, within a second. */
  report(doing, said) {
    const different = doing !== this.doing;
    this.doing = doing;
    this.said = said;
    if (different) this.soon();
  }

  soon() {
    if (!token() && !this.state) return;
    clearTimeout(this.timer);
    this.timer = setTimeout(() => this.beat(), Math.max(0, this.sent + SOON - performance.now()));
  }

  async refresh() {
    this.state = await getJson('/api/me');
    this.changed(this.state, true);
  }

  async leave() {
    clearTimeout(this.timer);
    await postJson('/api/leave').catch(() => {});
    setToken('');
    this.state = null;
    this.changed(null, true);
  }
}
