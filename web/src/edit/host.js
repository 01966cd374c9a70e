// The workers' link to the class server, by synchronous requests: the only way to block in a page over plain http. Used
// by both workers, Python's and JavaScript's.

const STOP_EVERY = 100; // ms between two questions whether Stop was pressed
const STOP_AT_LEAST = 400; // ms, while the field's answers show that the run goes on
const BATCH_AFTER = 40; // ms that output is collected before it goes to the page, once a program prints much
const AT_ONCE = 100; // pieces of output a second that go to the page at once
const BATCH_MOST = 16384; // letters
const OUTPUT_RATE = 400000; // letters a second; faster output is slowed down
const SLICE = 50; // ms
const STOP_PATIENCE = 4000; // ms until the question whether Stop was pressed is given up, and asked again
const HELD_PATIENCE = 30000; // ms, the same in a pause, when the server holds it for 25 s at most
const PAUSE_ALONE = 60000; // ms until a pause ends when the server is away
const ANSWER_PATIENCE = 60000; // ms; the server holds a request for 25 s at most

/** A refusal of the class server; `word` is one of its error words. */
export class Refused extends Error {
  constructor(word, message, more = {}) {
    super(message);
    this.word = word;
    Object.assign(this, more);
  }
}

/** The run is over: Stop was pressed, or the server ended it. */
export class Ended extends Error {
  constructor(reason) {
    super(`the run is over: ${reason}`);
    this.reason = reason;
  }
}

let sleeper = null;
/** Sleeps without busy waiting. WebAssembly's shared memory exists even where SharedArrayBuffer does not. */
export function sleep(ms) {
  if (ms <= 0) return;
  try {
    sleeper ||= new Int32Array(new WebAssembly.Memory({ initial: 1, maximum: 1, shared: true }).buffer);
    Atomics.wait(sleeper, 0, 0, ms);
  } catch {
    const end = performance.now() + ms;
    while (performance.now() < end);
  }
}

/** @param post  sends a message to the page */
export function makeHost(post) {
  let token = '';
  let run = null; // number of the run, or null: no server behind it
  let serial = 0; // number of the last request for lines, so that one that is sent again is carried out once
  let askedStop = 0; // when the run was last known to go on
  let polledStop = 0; // when that was last polled, which also returns the speed
  let stopped = false;
  let speed = 0; // lines a second, 0: no brake
  let text = '';
  let textIsError = false;
  let textSince = 0;
  let atOnce = AT_ONCE;
  let allowance = OUTPUT_RATE;
  let allowanceAt = 0;

  function request(method, path, body = null, tries = 3, patience = ANSWER_PATIENCE) {
    for (let attempt = 1; ; ++attempt) {
      const question = new XMLHttpRequest();
      question.open(method, path, false);
      question.timeout = patience;
      if (token) question.setRequestHeader('Kelmora-Token', token);
      if (method !== 'GET') question.setRequestHeader('Kelmora', '1');
      if (body !== null) question.setRequestHeader('Content-Type', 'text/plain; charset=utf-8');
      try {
        question.send(body);
        return { status: question.status, text: question.responseText };
      } catch {
        if (attempt >= tries) throw new Refused('offline', 'The class server does not answer. Is the wireless still on?');
        sleep(300);
      }
    }
  }

  // Without a run at the class server nothing can wake a program that waits.
  const alone = () => new Refused('alone', 'This works after joining the class only.');

  function refuse(answer) {
    let told = {};
    try {
      told = JSON.parse(answer.text);
    } catch { /* an answer of no server of ours */ }
    if (answer.status === 410 || answer.status === 401) { // over, or the whole session is
      stopped = true;
      throw new Ended(answer.status === 401 ? 'removed' : told.reason || 'ended');
    }
    throw new Refused(told.error || 'bad', told.message || `The class server answered ${answer.status}.`, told);
  }

  function flush() {
    if (text === '') return;
    post({ kind: 'out', text, error: textIsError });
    text = '';
  }

  function out(more, isError) {
    const now = performance.now();
    if (text !== '' && textIsError !== isError) flush();
    if (text === '') textSince = now;
    text += more;
    textIsError = isError;
    const passed = (now - allowanceAt) / 1000; // s
    allowance = Math.min(OUTPUT_RATE, allowance + passed * OUTPUT_RATE) - more.length;
    atOnce = Math.min(AT_ONCE, atOnce + passed * AT_ONCE);
    allowanceAt = now;
    if (atOnce >= 1 && more.endsWith('\n')) {
      atOnce -= 1;
      flush();
    } else if (text.length >= BATCH_MOST || now - textSince >= BATCH_AFTER) flush();
    if (allowance < 0) sleep(SLICE);
  }

  /** Asks the server about Stop and the speed. Returns whether the class is paused; throws when nobody answers. */
  function askStop(path, patience) {
    const answer = request('GET', path, null, 1, patience);
    if (answer.status === 200) {
      if (answer.text === '2') stopped = true;
      else if (answer.text >= '3' && answer.text <= '9') speed = Number(answer.text) - 3;
    } else if (answer.status === 401 || answer.status === 410) stopped = true;
    return answer.status === 202;
  }

  /** The class is paused: returns when the pause has ended, or the run. Until then the server holds the answers. */
  function standStill() {
    post({ kind: 'held', held: true });
    let heard = performance.now();
    for (let paused = true; paused;) {
      const asked = performance.now();
      try {
        paused = askStop(`/api/run/stop?run=${run}`, HELD_PATIENCE);
        heard = performance.now();
      } catch {
        paused = performance.now() - heard < PAUSE_ALONE;
      }
      if (paused) sleep(asked + STOP_EVERY - performance.now());
    }
    if (!stopped) post({ kind: 'held', held: false });
  }

  /** True when Stop was pressed; polls the server at most ten times a second. Waits while the class is paused. */
  function isStopped() {
    if (stopped || run === null) return stopped;
    const now = performance.now();
    if (now - askedStop < STOP_EVERY) return false;
    flush();
    try {
      if (askStop(`/api/run/stop?run=${run}&wait=0`, STOP_PATIENCE)) standStill();
    } catch { /* asked again soon */ }
    askedStop = performance.now();
    polledStop = askedStop;
    return stopped;
  }

  /** Sends protocol lines, waits for the field's answers; both end with a line feed. Throws Refused or Ended. */
  function lines(body) {
    if (stopped) throw new Ended('stopped');
    if (run === null) throw alone();
    serial += 1;
    for (;;) {
      const answer = request('POST', `/api/run/lines?run=${run}&n=${serial}`, body);
      if (answer.status === 200) {
        const now = performance.now();
        if (now - polledStop < STOP_AT_LEAST) askedStop = now;
        return answer.text;
      }
      if (answer.status !== 202) refuse(answer);
      if (isStopped()) throw new Ended('stopped');
    }
  }

  /** Asks the person at the page; null when Stop was pressed. */
  function ask(prompt) {
    flush();
    if (run === null) throw alone();
    if (stopped) return null;
    post({ kind: 'ask', prompt });
    for (;;) {
      const answer = request('POST', `/api/run/ask?run=${run}`, prompt.slice(0, 500));
      if (answer.status === 200) {
        post({ kind: 'asked', text: answer.text });
        return answer.text;
      }
      if (answer.status === 202) continue;
      try {
        refuse(answer);
      } catch (error) {
        if (error instanceof Ended && error.reason === 'stopped') return null;
        throw error;
      }
    }
  }

  return {
    begin(given) {
      ({ token, run, speed } = given);
      stopped = false;
      askedStop = performance.now();
      allowance = OUTPUT_RATE;
      allowanceAt = performance.now();
    },
    end() {
      flush();
      run = null;
    },
    out, flush, ask, lines, isStopped,
    line(number) {
      flush();
      post({ kind: 'line', line: number });
    },
    draw(what) {
      post({ kind: 'draw', what });
    },
    speed: () => speed,
    /** Sleeps so many ms at most; true when Stop was pressed. */
    wait(ms) {
      sleep(Math.min(ms, SLICE));
      return isStopped();
    },
    request,
  };
}
