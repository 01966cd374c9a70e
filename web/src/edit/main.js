// The editor's page: assembles its parts and runs programs.
import { ApiError, postJson, postText, putJson, token } from '../common/api.js';
import { copyText, download, el, focusIsFree, openFile, setUsable, store } from '../common/dom.js';
import { makeFieldView } from '../common/field-view.js';
import { logoMark, pageButtons, setUpPage } from '../common/page.js';
import { Session } from '../common/session.js';
import { language as pageLanguage, refusal, t, waitText } from '../common/texts.js';
import { advise } from './advice.js';
import { makeEditor } from './editor.js';
import { completions, makeHelp } from './help.js';
import { makeLearn } from './learn.js';
import { makeOutput } from './output.js';
import { makePractice } from './practice.js';
import { dropProgram, fileName, fromFile, keepProgram, listPrograms, newProgram } from './programs.js';
import { SHARED_MOST, fromFragment, toFragment } from './share.js';
import { STARTERS } from './starters.js';
import { WorkerLink } from './worker-link.js';

const SPEEDS = [[1, 'speed.1'], [5, 'speed.5'], [0, 'speed.full']]; // lines a second, 0: full
const KEEP_AFTER = 800; // ms after a change
const SEND_AFTER = 5000;

setUpPage('edit.title');

let program = null;
let blocks = null; // the block editor, once it was wanted
let keepTimer = 0;
let sendTimer = 0;
let current = null; // the run: {number, practice, began, language}
let starterSeen = store.get('starter', 0);

/* ---- the parts ---- */

const titleInput = el('input', { type: 'text', class: 'title', maxLength: 80, 'aria-label': t('edit.name'), spellcheck: false });
const languageSelect = el('select', { 'aria-label': t('language') },
  ...['python', 'javascript', 'blocks'].map((value) => el('option', { value, text: t(`language.${value}`) })));
const speedSelect = el('select', { class: 'speed', 'aria-label': t('speed') },
  ...SPEEDS.map(([value, key]) => el('option', { value: String(value), text: t(key) })));
speedSelect.value = String(store.get('speed', 0));
const runButton = el('button', { type: 'button', class: 'main', 'aria-keyshortcuts': 'Control+Enter' },
  el('span', { 'aria-hidden': 'true', text: '▶' }), t('run'));
const stopButton = el('button', { type: 'button', class: 'danger', disabled: true },
  el('span', { 'aria-hidden': 'true', text: '■' }), t('stop'));
const status = el('span', { role: 'status' });
const progress = el('span', { 'aria-hidden': 'true' }); // nobody wants to hear every percent
const seatChip = el('span', { class: 'chip' });
const seatTold = el('p', { class: 'only-read', role: 'status' }); // the same without the times, which change all the while
const joinLink = el('a', { href: '/', class: 'button join-link', text: t('join') });
const shareButton = el('button', { type: 'button', class: 'plain', text: t('share') });
const saveButton = el('button', { type: 'button', class: 'plain', text: t('save') });
const openButton = el('button', { type: 'button', class: 'plain', text: t('open') });
const learnButton = el('button', { type: 'button', class: 'plain', text: t('learn'), 'aria-expanded': 'false' });
const helpButton = el('button', { type: 'button', class: 'plain', text: t('help'), 'aria-expanded': 'false' });
const programsButton = el('button', { type: 'button', class: 'plain', text: t('programs') });
const notice = el('p', { class: 'notice', hidden: true });

const textHost = el('div', { class: 'text-editor' });
const blocksHost = el('div', { class: 'block-editor', hidden: true });
const output = makeOutput(submitLine);
const practice = makePractice();
const practiceBox = el('div', { class: 'field practice', role: 'tabpanel', id: 'practice', 'aria-labelledby': 'tab-practice', hidden: true }, practice.canvas);
const field = makeFieldView({});
for (const [name, value] of [['role', 'tabpanel'], ['id', 'field'], ['aria-labelledby', 'tab-field']]) field.element.setAttribute(name, value);
const fieldTab = el('button', { type: 'button', role: 'tab', id: 'tab-field', 'aria-controls': 'field', text: t('view.field') });
const practiceTab = el('button', { type: 'button', role: 'tab', id: 'tab-practice', 'aria-controls': 'practice', text: t('view.practice') });

const editor = makeEditor({
  parent: textHost,
  label: t('program'),
  words: completions(),
  changed: (text) => {
    if (!program || program.language === 'blocks') return;
    program.text = text;
    keepSoon();
  },
  keys: [
    { key: 'Mod-Enter', run: () => { start(); return true; } },
    { key: 'Mod-s', run: () => { save(); return true; } },
    { key: 'F1', run: () => { help.toggle(true); return true; } },
  ],
});
const help = makeHelp({ button: helpButton, insert: (text) => editor.insert(text), language: () => program.language });
const learn = makeLearn({ button: learnButton, async open(made) {
  await openProgram(made);
  if (matchMedia('(pointer: fine)').matches) editor.focus();
  else {
    usePane('edit');
    if (learn.element.offsetWidth > 0.9 * innerWidth) learn.toggle(false); // a phone: it covers the program
  }
  say(t('learn.opened', made.title));
} });

document.body.append(
  el('header', { class: 'bar' },
    logoMark(), titleInput, seatChip, joinLink, el('span', { class: 'grow' }),
    el('nav', { class: 'bar-tools', 'aria-label': t('edit.tools') },
      learnButton, helpButton, programsButton, shareButton, saveButton, openButton, ...pageButtons())),
  el('main', { class: 'edit' }, el('h1', { class: 'only-read', text: t('edit.title') }), seatTold,
    el('section', { class: 'work', 'aria-label': t('edit.section') },
      el('div', { class: 'run-bar', role: 'group', 'aria-label': t('edit.running') },
        runButton, stopButton, speedSelect, languageSelect),
      el('div', { class: 'notices', role: 'status' }, notice), blocksHost, textHost),
    el('section', { class: 'side', 'aria-label': t('view.section') },
      el('div', { class: 'view-bar' },
        el('div', { class: 'view-tabs', role: 'tablist', 'aria-label': t('view.section') }, fieldTab, practiceTab), el('span', { class: 'status muted' }, status, progress)),
      field.element, practiceBox, output.element),
    help.element, learn.element));

// On a phone the part in use is the large one.
const usePane = (pane) => { document.body.dataset.pane = pane; };
usePane('edit');
textHost.addEventListener('focusin', () => usePane('edit'));
for (const host of [textHost, blocksHost]) host.addEventListener('pointerdown', () => usePane('edit'));
output.element.addEventListener('focusin', () => usePane('run'));
field.element.addEventListener('pointerdown', () => usePane('run'));

/* ---- programs ---- */

function keepSoon() {
  clearTimeout(keepTimer);
  keepTimer = setTimeout(keepNow, KEEP_AFTER);
  clearTimeout(sendTimer);
  sendTimer = setTimeout(sendProgram, SEND_AFTER);
}

function keepNow() {
  clearTimeout(keepTimer);
  keepTimer = 0;
  if (!program) return;
  program.title = titleInput.value.trim() || t('program.untitled');
  if (keepProgram(program)) store.set('current', program.id);
  else say(t('keep.full'));
}

function sendProgram() {
  clearTimeout(sendTimer);
  if (!token() || !program) return;
  putJson('/api/program', { language: program.language, title: program.title, text: program.text })
    .catch((error) => { if (error.word === 'too_big') say(refusal(error)); });
}

async function openProgram(next) {
  if (keepTimer) keepNow();
  if (!current && program && program.id !== next.id) output.clear(); // its lines are not those of the next program
  program = next;
  say('');
  titleInput.value = program.title;
  languageSelect.value = program.language;
  const isBlocks = program.language === 'blocks';
  editor.open(isBlocks ? '' : program.text, program.language);
  editor.mark(null);
  blocksHost.hidden = !isBlocks;
  document.body.classList.toggle('with-blocks', isBlocks);
  if (isBlocks) {
    blocks ||= (await import('./blocks.js')).makeBlocks(blocksHost, (state, code) => {
      if (program.language !== 'blocks') return;
      if (state !== program.text) keepSoon();
      program.text = state;
      editor.open(code, 'blocks');
    });
    if (!blocks.open(program.text)) say(t('blocks.bad'));
  }
  link().prepare();
  keepNow();
}

function startingProgram(language) {
  return newProgram(language, t(`starter.${language}`), STARTERS[language][pageLanguage()] || STARTERS[language].en);
}

languageSelect.addEventListener('change', () => {
  const untouched = listPrograms().find((kept) => kept.language === languageSelect.value);
  openProgram(untouched || startingProgram(languageSelect.value));
});
titleInput.addEventListener('change', keepNow);
addEventListener('pagehide', () => { if (keepTimer) keepNow(); });

function save() {
  keepNow();
  download(fileName(program), program.text);
}
saveButton.addEventListener('click', save);
openButton.addEventListener('click', () => openFile('.py,.js,.mjs,.json,.txt,text/*', (text, name) => {
  if (text.length > SHARED_MOST) say(refusal({ word: 'too_big' }));
  else openProgram(fromFile(name, text));
}));

shareButton.addEventListener('click', async () => {
  keepNow();
  if (program.text.length > SHARED_MOST) {
    say(refusal({ word: 'too_big' }));
    return;
  }
  const link = `${location.origin}/edit#${await toFragment(program)}`;
  const box = el('input', { type: 'text', readOnly: true, value: link, class: 'mono', 'aria-label': t('share.link') });
  const done = el('p', { role: 'status', class: 'small muted' });
  const dialog = makeDialog(t('share.title'),
    el('p', { text: t('share.text') }), box,
    el('div', { class: 'row' },
      el('button', { type: 'button', class: 'main', text: t('share.copy'), on: { click: () => {
        done.textContent = copyText(link) ? t('share.copied') : t('share.byhand');
        box.select();
      } } }), done));
  dialog.showModal();
  box.focus();
  box.select();
});

function makeDialog(title, ...children) {
  const close = el('button', { type: 'button', class: 'plain', text: t('close') });
  const dialog = el('dialog', { 'aria-label': title },
    el('div', { class: 'stack' }, el('div', { class: 'row' }, el('h2', { class: 'grow', text: title }), close), ...children));
  close.addEventListener('click', () => dialog.close());
  dialog.addEventListener('close', () => dialog.remove());
  document.body.append(dialog);
  return dialog;
}

programsButton.addEventListener('click', () => {
  keepNow();
  const list = el('ul', { class: 'program-list' });
  const dialog = makeDialog(t('programs.title'), el('p', { class: 'muted small', text: t('programs.text') }), list,
    el('div', { class: 'row' }, ...['python', 'javascript', 'blocks'].map((language) => el('button', { type: 'button',
      text: `+ ${t(`language.${language}`)}`, on: { click: () => {
        dialog.close();
        openProgram(newProgram(language, t('program.untitled'), ''));
      } } }))));
  const fill = () => {
    const at = [...list.children].findIndex((line) => line.contains(document.activeElement));
    list.replaceChildren(...listPrograms().map((kept) => el('li', {},
    el('button', { type: 'button', class: 'plain grow left', on: { click: () => {
      dialog.close();
      openProgram(kept);
    } } }, el('span', { text: kept.title }), el('span', { class: 'muted small', text: t(`language.${kept.language}`) })),
    el('button', { type: 'button', class: 'plain', text: '✕', 'aria-label': t('programs.delete', kept.title),
      disabled: kept.id === program.id, on: { click: () => {
        dropProgram(kept.id);
        fill();
      } } }))));
    list.children[Math.min(at, list.children.length - 1)]?.querySelector('button').focus();
  };
  fill();
  dialog.showModal();
});

/* ---- the session ---- */

function say(text) {
  notice.textContent = text;
  notice.hidden = text === '';
}

let before = null; // the state that was shown last
const session = new Session((state, online) => {
  if (before && !state) say(refusal({ word: 'token' }));
  else if (before && !before.seat && state?.seat) {
    say(t('seat.arrived'));
    chosenView = null;
  }
  // The teacher or another page has ended the run: a program that does not ask, such as an endless loop in JavaScript, is not told.
  const run = state?.run;
  const over = state ? run?.id > current?.number || run?.id === current?.number && run?.over : before;
  if (current?.number && over) links[current.engine].killSoon();
  before = state;
  joinLink.hidden = Boolean(state);
  const told = !online ? t('seat.offline') : !state ? t('seat.none') : state.paused ? t('seat.paused') : state.seat ? t('seat.on.short')
    : t('seat.queued.short', state.queue?.place ?? '?');
  if (seatTold.textContent !== told) seatTold.textContent = told;
  seatChip.className = 'chip';
  if (!online) {
    seatChip.textContent = t('seat.offline');
    seatChip.classList.add('bad');
  } else if (!state) {
    seatChip.textContent = t('seat.none');
  } else if (state.paused) {
    seatChip.textContent = t('seat.paused');
    seatChip.classList.add('note');
  } else if (state.seat) {
    const left = state.seat.turn_left_s;
    seatChip.textContent = left === null || left === undefined ? t('seat.on', state.name) : t('seat.turn', state.name, waitText(left));
    seatChip.classList.add('good');
  } else {
    seatChip.textContent = state.queue?.wait_s ? t('seat.waiting', state.name, state.queue.place, waitText(state.queue.wait_s))
      : t('seat.queued', state.name, state.queue?.place ?? '?');
    seatChip.classList.add('note');
  }
  if (state?.seat) {
    field.setField(state.seat.field);
    field.setOwn(state.seat.turtle);
  } else field.setOwn(null);
  if (state && state.starter !== starterSeen && state.starter > 0) offerStarter(state.starter);
  if (!chosenView && !current) showView(state && !state.seat ? 'practice' : state ? 'field' : 'practice', false);
  if (document.body.dataset.state === 'running') showStatus();
});

async function offerStarter(version) {
  starterSeen = version;
  store.set('starter', version);
  try {
    const given = await (await fetch('/api/starter', { headers: { 'Kelmora-Token': token() }, cache: 'no-store' })).json();
    if (!given.text || !['python', 'javascript', 'blocks'].includes(given.language)) return;
    openProgram(newProgram(given.language, given.title || t('starter.given'), given.text));
    say(t('starter.arrived'));
  } catch { /* the next sign of life tells again */ }
}

/* ---- field and practice ---- */

let chosenView = null; // what the reader pressed; forgotten when a place on the field becomes free
let view = 'field';
function showView(next, chosen) {
  view = next;
  if (chosen) chosenView = next;
  fieldTab.setAttribute('aria-selected', String(next === 'field'));
  practiceTab.setAttribute('aria-selected', String(next === 'practice'));
  fieldTab.tabIndex = next === 'field' ? 0 : -1;
  practiceTab.tabIndex = next === 'practice' ? 0 : -1;
  field.element.hidden = next !== 'field';
  practiceBox.hidden = next !== 'practice';
}
for (const [tab, other, name] of [[fieldTab, practiceTab, 'field'], [practiceTab, fieldTab, 'practice']]) {
  tab.addEventListener('click', () => showView(name, true));
  tab.addEventListener('keydown', (event) => {
    if (event.key !== 'ArrowLeft' && event.key !== 'ArrowRight') return;
    other.focus();
    other.click();
  });
}
showView('field', false);

/* ---- running ---- */

const links = {
  python: new WorkerLink(new URL('./python-worker.js', import.meta.url), (message) => hear('python', message), true),
  javascript: new WorkerLink(new URL('./js-worker.js', import.meta.url), (message) => hear('javascript', message), false),
};
const engineOf = (language) => (language === 'javascript' ? 'javascript' : 'python');
const link = () => links[engineOf(program.language)];

function showState(state) {
  const busy = Boolean(current) || state === 'running' || state === 'asking';
  setUsable(runButton, !busy);
  setUsable(stopButton, busy, runButton);
  document.body.dataset.state = state;
  showStatus();
  progress.textContent = '';
  output.mode(state === 'asking' ? 'asking' : !busy && state === 'ready' && engineOf(program.language) === 'python' ? 'trying' : 'off');
  const doing = { running: current?.practice ? 'practice' : 'running', asking: 'asking', stopping: 'running' }[state];
  session.report(doing || (lastHow === 'error' ? 'error' : 'idle'), output.tail());
}

/** What the program does, in words. A pause holds programs that run. */
function showStatus() {
  const { state } = document.body.dataset;
  const text = state === 'running' && (held || session.state?.paused) ? t('state.paused') : t(`state.${state}`);
  if (status.textContent !== text) status.textContent = text; // a screen reader reads changes
}

let held = false; // by a pause; the worker hears of it earlier than this page
let lastHow = 'done';
let lastPractice = null; // whether the last program ran on the practice canvas; null: there was none
let asking = '';
/** Whether the editor shows the program of a run, so that its lines may be marked. */
const showsRun = (run) => Boolean(run) && !run.tried && run.program === program?.id;

const hear = (engine, message) => {
  const mine = program && engineOf(program.language) === engine;
  switch (message.kind) {
    case 'progress':
      if (mine && link().state === 'loading') progress.textContent = t('state.progress', Math.round(message.part * 100));
      break;
    case 'state':
      if (current ? current.engine === engine : mine) showState(message.state);
      break;
    case 'out':
      output.write(message.text, message.error ? 'err' : 'out');
      session.report(session.doing, output.tail());
      break;
    case 'ask':
      asking = message.prompt;
      output.write(message.prompt);
      output.mode('asking', asking);
      break;
    case 'asked':
      output.write(`${message.text}\n`, 'in');
      break;
    case 'held':
      held = message.held;
      if (session.state) session.changed(session.state = { ...session.state, paused: held }, session.online);
      session.soon();
      break;
    case 'line':
      if (showsRun(current)) editor.mark({ kind: 'run', line: message.line });
      break;
    case 'draw':
      practice.carryOut(message.what);
      break;
    case 'failed':
      output.box(el('p', { class: 'alert', role: 'alert', text: t('worker.failed', message.message) }));
      if (!current || current.engine === engine) finish({ how: 'failed' });
      break;
    case 'ended':
      finish(message);
      break;
  }
};

async function start() {
  if (current || !program) return;
  const engine = engineOf(program.language);
  const source = program.language === 'blocks' ? editor.text() : program.text;
  current = { number: null, practice: true, engine, source, language: engine, program: program.id };
  const mine = current;
  say('');
  output.clear();
  editor.mark(null);
  usePane('run');
  if (matchMedia('(pointer: coarse)').matches && textHost.contains(document.activeElement)) document.activeElement.blur(); // its keyboard hides the field
  showState('starting');
  keepNow();
  sendProgram();
  const wanted = view === 'practice' || !session.state;
  if (token()) {
    try {
      const begun = await postJson('/api/run/begin', { language: engine, ...(wanted ? { practice: true } : {}) });
      mine.number = begun.run;
      mine.practice = wanted;
      if (!wanted && begun.turtle && current === mine) field.setOwn(begun.turtle);
    } catch (error) {
      if (current !== mine) return;
      if (error.word === 'no_seat') {
        const practising = await postJson('/api/run/begin', { language: engine, practice: true }).catch((again) => again);
        if (practising.word === 'paused' && current === mine) {
          refuseRun(practising);
          return;
        }
        mine.number = practising.run ?? null;
        if (current === mine) say(t('run.practice'));
      } else if (error.status === 401) {
        session.beat();
      } else if (error.word === 'offline' && wanted) {
        say(t('run.offline'));
      } else {
        refuseRun(error);
        return;
      }
    }
  }
  if (current !== mine) { // Stop was pressed meanwhile
    endRun(mine, 'done');
    return;
  }
  if (current.practice) {
    practice.reset();
    showView('practice', false);
  } else showView('field', false);
  current.began = performance.now();
  links[engine].start({ do: 'run', source, run: current.number, speed: Number(speedSelect.value), practice: current.practice });
  showState(links[engine].state);
}

function refuseRun(error) {
  current = null;
  output.box(el('p', { class: 'alert', role: 'alert', text: refusal(error) }));
  showState(link().state);
}

function stop() {
  if (!current) return;
  const running = links[current.engine];
  current.pressed = true;
  if (running.busy) running.stop();
  else finish({ how: 'stopped', reason: 'stopped' });
}

function endRun({ number }, how) {
  if (number !== null && number !== undefined) postJson(`/api/run/end?run=${number}`, { how }).catch(() => {});
}

function finish(message) {
  const run = current;
  current = null;
  asking = '';
  held = false;
  lastHow = message.how;
  if (run && !(message.how === 'stopped' && !run.pressed)) endRun(run, message.how === 'error' ? 'error' : 'done');
  if (message.how !== 'error' && showsRun(run)) editor.mark(null);
  if (run && !run.tried) lastPractice = run.practice;
  if (message.how === 'done') {
    for (const { line, word } of message.idle || []) output.box(el('p', { class: 'notice' }, lineLink(line), ' ', t('run.idle', word)));
    if (!run?.tried) output.box(el('p', { class: 'end muted small', text: t('end.done') })); // a tried line shows its own result
  } else if (message.how === 'stopped') {
    const plain = run?.engine === 'javascript' && message.reason === 'stopped';
    const reason = message.lost ? 'lost' : plain ? 'plain' : message.reason || 'stopped';
    output.box(el('p', { class: 'end muted small', text: t(`end.${reason}`) }));
    if (!run?.pressed && message.reason === 'stopped' && run?.number) tellWhy(run.number, output.last(), plain || message.lost ? 'end.desk.plain' : 'end.desk');
  } else if (message.how === 'crashed') output.box(el('p', { class: 'alert', role: 'alert', text: t('end.crashed') }));
  else if (message.how === 'error') showError(message.error, run);
  if (program) showState(link().state);
  sendProgram();
}

/** Something other than Stop ended the run: asks for the reason and replaces the note with it. */
async function tellWhy(number, note, byTeacher) {
  try {
    await postText(`/api/run/lines?run=${number}`, '');
  } catch (error) {
    const { reason } = error.told || {};
    if (reason === 'stopped') note.textContent = t(byTeacher);
    else if (reason) note.textContent = t(`end.${reason}`);
    else if (error.status === 401) {
      note.textContent = t('end.removed');
      session.beat();
    }
  }
}

const lineLink = (line) => el('button', { type: 'button', class: 'link', text: t('error.line', line), on: { click: () => editor.goTo(line) } });

function showError(error, run) {
  const source = run ? run.source : editor.text();
  // JavaScript's engines do not tell where a program cannot be read; the editor's own reader knows about where.
  if (error.kind === 'SyntaxError' && !error.line && run?.language === 'javascript' && showsRun(run)) error = { ...error, ...editor.firstFault() };
  if (error.line && showsRun(run)) editor.mark({ kind: 'error', line: error.line, column: error.column, end: error.end });
  if (error.refused) error = { ...error, kind: t('error.refused'), message: refusal({ word: error.refused.word, told: error.refused, message: error.message }) };
  const advice = advise({ ...error, source, language: run?.language || 'python' }, pageLanguage());
  const where = error.line && !run?.tried ? lineLink(error.line) : null;
  // What Python and the library say is English.
  const what = [el('span', error.refused ? {} : { lang: 'en' }, el('strong', { text: error.kind }), error.message ? `: ${error.message}` : '')];
  output.box(el('div', { class: 'alert error', role: 'alert' },
    el('p', {}, where, where ? ' ' : null, ...(advice ? [el('span', { class: 'advice', text: advice })] : what)),
    advice ? el('p', { class: 'small told' }, ...what) : null,
    error.through?.length && !run?.tried ? el('p', { class: 'small muted', text: t('error.through', error.through.join(', ')) }) : null));
}

/** Carries out one more line after the end of a program, with its variables and its turtle. */
async function tryLine(text) {
  output.write(`>>> ${text}\n`, 'in');
  const practice = lastPractice ?? !session.state?.seat;
  current = { number: null, practice, engine: 'python', language: 'python', source: text, tried: true };
  const mine = current;
  showState(links.python.state);
  if (token()) {
    try {
      const begun = await postJson('/api/run/begin', { language: 'python', ...(practice ? { practice: true } : { keep: true }) });
      mine.number = begun.run;
    } catch (error) {
      if (current !== mine) return;
      if (error.status === 401) session.beat();
      if (error.status !== 401 && !(practice && error.word === 'offline')) {
        refuseRun(error);
        return;
      }
    }
  }
  if (current !== mine) { // Stop was pressed meanwhile
    endRun(mine, 'done');
    return;
  }
  links.python.start({ do: 'try', source: text, run: mine.number, speed: 0 });
}

function submitLine(text) {
  if (current && links[current.engine].state === 'asking') {
    links[current.engine].answer(text).catch((error) => {
      if (error.word === 'busy') return;
      output.box(el('p', { class: 'alert', text: refusal(error) }));
      if (current && links[current.engine].state === 'asking') output.mode('asking', asking); // it still waits
    });
    output.mode('off');
    return true;
  }
  if (current || text.trim() === '' || links.python.state !== 'ready') return false;
  tryLine(text);
  return true;
}

runButton.addEventListener('click', start);
stopButton.addEventListener('click', stop);
speedSelect.addEventListener('change', () => {
  store.set('speed', Number(speedSelect.value));
  if (current && current.number !== null) {
    postText(`/api/run/note?run=${current.number}`, String(3 + Number(speedSelect.value))).catch(() => {});
  }
});
document.addEventListener('keydown', (event) => {
  if (event.defaultPrevented) return;
  const command = event.ctrlKey || event.metaKey;
  if (command && event.key === 'Enter') start();
  else if (command && event.key === '.') stop();
  else if (command && event.key === 's') save();
  else if (event.key === 'F1') help.toggle(true);
  else return;
  event.preventDefault();
});

/* ---- start ---- */

async function openFirst() {
  const shared = await fromFragment(location.hash);
  const given = location.hash.startsWith('#p=');
  if (given) history.replaceState(null, '', location.pathname + location.search);
  if (shared) {
    await openProgram(newProgram(shared.language, shared.title, shared.text));
    if (notice.hidden) say(t('share.opened'));
    return;
  }
  if (!program) {
    const kept = listPrograms();
    await openProgram(kept.find((one) => one.id === store.get('current')) || kept[0] || startingProgram('python'));
  }
  if (given) say(t('share.bad'));
}

addEventListener('hashchange', () => { if (location.hash.startsWith('#p=')) openFirst(); });
openFirst().then(() => {
  session.start();
  showState(link().state);
  if (matchMedia('(pointer: fine)').matches && focusIsFree()) editor.focus();
});
globalThis.kelmora = { editor, links, session, field, practice }; // for tests and the curious
