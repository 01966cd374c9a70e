// A program's output, and the input line. Text only; the oldest is dropped.
import { el, setUsable } from '../common/dom.js';
import { t } from '../common/texts.js';
import { overwritten, withoutSequences } from './terminal.js';

const MOST = 60000; // letters kept
const SPAN_MOST = 4000; // letters of one element, of which the oldest is dropped whole
const LINE_MOST = 4000; // letters of an answer
const HEARD_MOST = 300; // letters within QUIET that a screen reader is given; more would keep it talking for minutes
const QUIET = 2000; // ms
const REST = 5; // times as long as it took to show texts, the page does other things before it shows the next

/** @param submit  gets the typed line: an answer while a program asks, else a statement to try */
export function makeOutput(submit) {
  const log = el('div', { class: 'output-log', role: 'log', 'aria-label': t('output'), tabIndex: 0 });
  const prompt = el('span', { class: 'prompt mono', 'aria-hidden': 'true' });
  const input = el('input', { type: 'text', class: 'mono', autocomplete: 'off', autocapitalize: 'off', spellcheck: false,
    maxLength: LINE_MOST, 'aria-label': t('input') });
  const send = el('button', { type: 'submit', text: t('input.send') });
  const form = el('form', { class: 'output-input' }, prompt, input, send);
  const history = [];
  let at = 0;
  let length = 0;
  let last = null; // the span that the last text of its kind went to
  let tail = ''; // the end of what was said, for the desk

  function append(node, letters) {
    log.append(node);
    length += letters;
    while (length > MOST && log.childNodes.length > 1) {
      length -= log.firstChild.textContent.length;
      log.firstChild.remove();
    }
  }

  function show(text, kind) {
    if (last && last.dataset.kind === kind && last.textContent.length + text.length <= SPAN_MOST) {
      const before = last.textContent.length;
      const all = overwritten(last.textContent + text);
      if (all.length === before + text.length) last.append(text);
      else last.textContent = all;
      length += all.length - before;
      return;
    }
    text = overwritten(text);
    for (let from = 0, to; from < text.length; from = to) {
      to = from + SPAN_MOST;
      if (text.codePointAt(to - 1) > 0xffff) to += 1; // a pair of surrogates stays whole
      const part = text.slice(from, to);
      last = el('span', { class: `said-${kind}`, lang: kind === 'err' ? 'en' : null, data: { kind }, text: part }); // Python's own words are English
      append(last, part.length);
    }
  }

  // Texts wait here and are shown together: each time costs a layout of the whole log, and a program may print faster
  // than a slow tablet can do that.
  let waiting = []; // {text, kind}
  let waitingLetters = 0;
  let timer = 0;
  let free = 0; // when the next texts may be shown, as performance.now() counts

  // A screen reader reads out what comes, except from a program that says more than anybody can hear.
  let heard = 0; // letters shown since `heardSince`
  let heardSince = -Infinity;
  function letHear(letters) {
    const now = performance.now();
    if (now - heardSince > QUIET) [heard, heardSince] = [0, now];
    heard += letters;
    log.setAttribute('aria-live', heard > HEARD_MOST ? 'off' : 'polite');
  }

  function flush() {
    clearTimeout(timer);
    timer = 0;
    if (waiting.length === 0) return;
    letHear(waitingLetters);
    const began = performance.now();
    const atEnd = log.scrollHeight - log.scrollTop - log.clientHeight < 40;
    for (const { text, kind } of waiting) show(text, kind);
    waiting = [];
    waitingLetters = 0;
    if (atEnd) log.scrollTop = log.scrollHeight;
    const end = performance.now();
    free = end + REST * (end - began);
  }

  function clear() {
    clearTimeout(timer);
    timer = 0;
    waiting = [];
    waitingLetters = 0;
    log.replaceChildren();
    length = 0;
    last = null;
    tail = '';
  }

  function write(said, kind = 'out') {
    const { wiped, text } = withoutSequences(said);
    if (wiped) clear();
    tail = (tail + text).slice(-800);
    const before = waiting[waiting.length - 1];
    if (before?.kind === kind) before.text += text;
    else waiting.push({ text, kind });
    waitingLetters += text.length;
    while (waitingLetters > MOST) { // the rest would be dropped anyway
      const oldest = waiting[0];
      const kept = oldest.text.slice(waitingLetters - MOST);
      waitingLetters -= oldest.text.length - kept.length;
      if (kept) oldest.text = kept;
      else waiting.shift();
    }
    timer ||= setTimeout(flush, Math.max(0, free - performance.now()));
  }

  form.addEventListener('submit', (event) => {
    event.preventDefault();
    const text = input.value;
    if (submit(text) === false) return;
    if (text && history[history.length - 1] !== text) history.push(text);
    at = history.length;
    input.value = '';
  });
  input.addEventListener('keydown', (event) => {
    const step = { ArrowUp: -1, ArrowDown: 1 }[event.key];
    if (!step || history.length === 0) return;
    at = Math.min(Math.max(at + step, 0), history.length);
    input.value = history[at] ?? '';
    event.preventDefault();
  });

  return {
    element: el('section', { class: 'output', 'aria-label': t('output.section') }, log, form),
    write,
    /** A separate box: an error, a piece of advice, a note. */
    box(node) {
      flush();
      heardSince = -Infinity;
      letHear(0);
      last = null;
      append(node, node.textContent.length);
      // Its beginning is seen, however large it is.
      const start = node.offsetTop - log.offsetTop - 4;
      log.scrollTop = Math.min(log.scrollHeight, start);
    },
    clear,
    /** 'asking': a program waits for an answer; 'trying': a statement may be tried; 'off' */
    mode(mode, question = '') {
      flush();
      form.dataset.mode = mode;
      setUsable(input, mode !== 'off');
      setUsable(send, mode !== 'off');
      prompt.textContent = mode === 'trying' ? '>>>' : '';
      input.placeholder = mode === 'asking' ? t('input.asked') : mode === 'trying' ? t('input.try') : '';
      if (mode === 'asking') {
        input.setAttribute('aria-description', question);
        input.focus();
      } else input.removeAttribute('aria-description');
    },
    /** The box or text that came last. */
    last() {
      flush();
      return log.lastChild;
    },
    tail: () => tail,
  };
}
