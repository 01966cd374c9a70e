// A program's output, and the input line. Text only; the oldest is dropped.
import { el } from '../common/dom.js';
import { t } from '../common/texts.js';

const MOST = 60000; // letters kept
const LINE_MOST = 4000; // letters of an answer

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

  const atEnd = () => log.scrollHeight - log.scrollTop - log.clientHeight < 40;
  function append(node, letters) {
    const follow = atEnd();
    log.append(node);
    length += letters;
    while (length > MOST && log.childNodes.length > 1) {
      length -= log.firstChild.textContent.length;
      log.firstChild.remove();
    }
    if (follow) log.scrollTop = log.scrollHeight;
  }

  function write(text, kind = 'out') {
    tail = (tail + text).slice(-800);
    if (last && last.dataset.kind === kind && last.textContent.length < 4000) {
      const follow = atEnd();
      last.append(text);
      length += text.length;
      if (follow) log.scrollTop = log.scrollHeight;
      return;
    }
    last = el('span', { class: `said-${kind}`, data: { kind }, text });
    append(last, text.length);
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
      last = null;
      append(node, node.textContent.length);
      // Its beginning is seen, however large it is.
      const start = node.offsetTop - log.offsetTop - 4;
      log.scrollTop = Math.min(log.scrollHeight, start);
    },
    clear() {
      log.replaceChildren();
      length = 0;
      last = null;
      tail = '';
    },
    /** 'asking': a program waits for an answer; 'trying': a statement may be tried; 'off' */
    mode(mode, question = '') {
      form.dataset.mode = mode;
      input.disabled = mode === 'off';
      send.disabled = mode === 'off';
      prompt.textContent = mode === 'trying' ? '>>>' : '';
      input.placeholder = mode === 'asking' ? t('input.asked') : mode === 'trying' ? t('input.try') : '';
      if (mode === 'asking') {
        input.setAttribute('aria-description', question);
        input.focus();
      } else input.removeAttribute('aria-description');
    },
    /** The box or text that came last. */
    last: () => log.lastChild,
    tail: () => tail,
  };
}
