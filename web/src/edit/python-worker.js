// The worker in which Python runs. It starts from a memory snapshot of the interpreter, or normally when that fails.
// Messages in: {do: 'load'}, {do: 'run', source, run, token, speed, practice}, {do: 'try', source}.
// Messages out: progress, loaded, out, ask, asked, held {held}, line, draw, ended {how, error}, failed {message}.
import { Ended, Refused, makeHost } from './host.js';

const folder = new URL(PYTHON_FOLDER, import.meta.url).href; // replaced by the build
const ARCHIVE = '/lib/kelmora.zip'; // the package kelmora and the runner, compiled
const LANES = 3; // pieces of the snapshot that are fetched at a time
const TELL_AGAIN = 20; // ms
// Bytes of the interpreter's own stack after which a recursion through its C functions (a sort, a __getattr__, a cached
// function) becomes a RecursionError. The browser's stack cannot be measured, and running out of it ends the interpreter:
// with 122880 Firefox did, with 163840 Chromium. Reading a program takes less of the browser's stack for the same bytes.
const RUN_STACK = 96 << 10;
const READ_STACK = 1 << 20;
const post = (message) => self.postMessage(message);
const host = makeHost(post);
let running = false;
let python = null;
let runner = null;

// The interpreter reads element 0 now and then, which asks the server whether Stop was pressed. Stop is reported until
// the program has ended: the runner knows what to do about one that has caught the interrupt.
const interrupts = {
  told: -Infinity,
  get 0() {
    if (!running || !host.isStopped()) return 0;
    const now = performance.now();
    if (now - this.told < TELL_AGAIN) return 0;
    this.told = now;
    return 2;
  },
  set 0(_value) { /* the server remembers */ },
};

// A browser opens six connections to a server, and the page needs some for its signs of life.
async function fetchSnapshot() {
  const { pieces, size, length } = SNAPSHOT; // replaced by the build
  const bytes = new Uint8Array(length);
  let loaded = 0;
  let next = 0;
  const fetchSome = async () => {
    while (next < pieces.length) {
      const number = next++;
      const wanted = Math.min(size, length - number * size);
      if (pieces[number]) {
        const answer = await fetch(folder + pieces[number]);
        if (!answer.ok) throw new Error(`${pieces[number]}: ${answer.status}`);
        const piece = new Uint8Array(await answer.arrayBuffer());
        if (piece.length !== wanted) throw new Error(`${pieces[number]} is cut`);
        bytes.set(piece, number * size);
      }
      loaded += wanted;
      post({ kind: 'progress', part: loaded / length });
    }
  };
  await Promise.all(Array.from({ length: LANES }, fetchSome));
  return bytes;
}

async function start() {
  const options = { indexURL: folder, enableRunUntilComplete: false };
  const [{ loadPyodide }, archive, snapshot] = await Promise.all([
    import(`${folder}pyodide.mjs`),
    fetch(new URL('./kelmora.zip', import.meta.url)).then((answer) => answer.arrayBuffer()),
    fetchSnapshot().catch(() => null),
  ]);
  if (snapshot) {
    try {
      python = await loadPyodide({ ...options, _loadSnapshot: snapshot });
    } catch (error) {
      console.warn('The picture of the memory was refused, starting plainly:', error);
    }
  }
  python ||= await loadPyodide(options);
  python.FS.writeFile(ARCHIVE, new Uint8Array(archive));
  python.registerJsModule('kelmora_host', {
    out: host.out, flush: host.flush, wait: host.wait, line: host.line, speed: host.speed, draw: host.draw, stopped: host.isStopped,
    over() {
      running = false;
    },
    bound: boundStack,
    ask: (prompt) => guarded(() => host.ask(prompt)),
    lines: (body) => guarded(() => host.lines(body)),
  });
  python.runPython(`import sys; sys.path.insert(0, '${ARCHIVE}')`);
  runner = python.pyimport('kelmora_runner');
  runner.set_up();
  python.setInterruptBuffer(interrupts);
}

/** Bounds how deep C functions may call each other from here on. */
function boundStack(isRunning) {
  const core = python._module;
  const top = core._emscripten_stack_get_current();
  const size = isRunning ? RUN_STACK : READ_STACK;
  core._PyUnstable_ThreadState_SetStackProtection(core._PyThreadState_Get(), top - size, size);
}

// Python gets refusals as records: an exception of ours would lose its fields in between.
function guarded(act) {
  try {
    const answer = act();
    return JSON.stringify({ answer });
  } catch (error) {
    if (error instanceof Ended) return JSON.stringify({ ended: error.reason });
    if (error instanceof Refused) return JSON.stringify({ refused: { ...error, message: error.message } });
    throw error;
  }
}

const loaded = start().then(() => post({ kind: 'loaded' }), (error) => {
  post({ kind: 'failed', message: String(error && error.message ? error.message : error) });
  throw error;
});

async function execute(order) {
  await loaded;
  host.begin({ token: order.token || '', run: order.run ?? null, speed: order.speed || 0 });
  running = true;
  interrupts.told = -Infinity;
  let ended;
  try {
    ended = JSON.parse(order.do === 'try' ? runner.try_line(order.source) : runner.run(order.source, Boolean(order.practice)));
  } catch (error) {
    // The interpreter itself failed, as when a recursion has exhausted the browser's stack.
    ended = { how: 'crashed', message: String(error) };
    console.warn('Python gave up:', error);
  }
  running = false;
  host.end();
  post({ kind: 'ended', ...ended });
}

self.addEventListener('message', ({ data }) => {
  if (data.do === 'run' || data.do === 'try') execute(data);
});
