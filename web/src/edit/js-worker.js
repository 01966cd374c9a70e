// The worker in which JavaScript programs run. The turtle's words are global functions and methods of `turtle`; each
// blocks until the field answers, and `await` before it is harmless. Stop ends the worker.
// Messages as in python-worker.js.
import { Ended, Refused, makeHost } from './host.js';
import { KelmoraError, makeWords } from './js-turtle.js';
import { PracticeField } from './js-practice.js';

const post = (message) => self.postMessage(message);
const host = makeHost(post);
let running = false;
const NAME = 'program.js';
const FIRST_LINES = 2; // that making a function puts before the program
const AsyncFunction = (async () => {}).constructor;

const show = (value) => {
  if (typeof value === 'string') return value;
  if (typeof value === 'object' && value !== null) {
    try {
      return JSON.stringify(value, (_key, part) => (part instanceof Map || part instanceof Set ? [...part] : part));
    } catch { /* a circle */ }
  }
  return String(value);
};
const say = (isError) => (...values) => {
  host.out(`${values.map(show).join(' ')}\n`, isError);
  if (host.isStopped() && running) throw new Ended('stopped'); // a pause of the class holds this question
};

// The program's line in a stack trace, in each engine's format. Programs are named by a comment at their end.
function lineIn(stack) {
  const found = new RegExp(`${NAME.replace('.', '\\.')}[^\\n]*?:(\\d+)(?::(\\d+))?`).exec(stack || '');
  return found ? Number(found[1]) - FIRST_LINES : null;
}

// Firefox tells the line of a program that it cannot read in the error itself.
const syntaxLine = (error) => (error instanceof SyntaxError && error.lineNumber > FIRST_LINES ? error.lineNumber - FIRST_LINES : null);

// Stack traces without file names (WebKit): an error from no file of ours carries its line itself.
function lineOf(error) {
  return lineIn(error.stack) ?? syntaxLine(error) ?? (typeof error.line === 'number' && !error.sourceURL && !(error instanceof KelmoraError) ? error.line - FIRST_LINES : null);
}

function describe(error) {
  const isError = error instanceof Error;
  return { kind: isError ? error.name : 'Error', message: isError ? error.message : show(error), line: isError ? lineOf(error) : null,
    column: null, end: null, through: [], bases: [], ...(error instanceof Refused ? { refused: { ...error, message: error.message } } : {}) };
}

const withoutImports = (source) => source.replace(/^\s*import\s*\{[^}]*\}\s*from\s*(["'])kelmora\1;?/gm, (found) => found.replace(/[^\n]/g, ''));

function sleepFor(seconds) {
  const wanted = Math.max(0, Number(seconds) || 0) * 1000;
  const began = performance.now();
  host.flush();
  for (let left; (left = wanted - (performance.now() - began)) > 0;) if (host.wait(left)) throw new Ended('stopped');
}

async function execute(order) {
  host.begin({ token: order.token || '', run: order.run ?? null, speed: order.speed || 0 });
  running = true;
  let how = { how: 'done' };
  try {
    const field = order.practice ? new PracticeField((acts) => host.draw(JSON.stringify(acts)), sleepFor) : null;
    const exchange = field ? (lines) => field.exchange(lines) : (lines) => host.lines(lines);
    const brake = () => {
      if (host.isStopped()) throw new Ended('stopped');
      const speed = host.speed();
      if (speed === 0) return;
      const line = lineIn(new Error().stack);
      if (line) host.line(line);
      sleepFor(1 / speed);
    };
    const { words, turtle } = makeWords(exchange, brake);
    const given = {
      ...words, turtle,
      print: say(false),
      console: { log: say(false), info: say(false), debug: say(false), table: say(false), warn: say(true), error: say(true) },
      input: (prompt = '') => {
        const answer = host.ask(show(prompt));
        if (answer === null) throw new Ended('stopped');
        return answer;
      },
      sleep: sleepFor,
      randint: (least, most) => Math.floor(Math.random() * (most - least + 1)) + least,
    };
    // Imports of the library are removed, because its words are already there.
    given.connect = async () => turtle;
    given.prompt = given.input;
    given.alert = given.print;
    // A program's own declaration hides ours: each word is an argument of a function around it.
    const names = Object.keys(given);
    const program = new AsyncFunction(...names, `return (async () => {${withoutImports(order.source)}\n})();\n//# sourceURL=${NAME}`);
    await program(...names.map((name) => given[name]));
    if (field) field.flush();
  } catch (error) {
    if (error instanceof Ended) how = { how: 'stopped', reason: error.reason };
    else how = { how: 'error', error: describe(error) };
  }
  running = false;
  host.end();
  post({ kind: 'ended', ...how });
}

self.addEventListener('message', ({ data }) => {
  if (data.do === 'run') execute(data);
});
post({ kind: 'loaded' });
