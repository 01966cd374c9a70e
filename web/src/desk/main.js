// The teacher's desk: who is here and what their programs do, and everything a teacher may do about it.
import { getJson, postJson } from '../common/api.js';
import { download, el, focusIsFree, openFile, store } from '../common/dom.js';
import { logoMark, pageButtons, setUpPage } from '../common/page.js';
import { refusal, t } from '../common/texts.js';

const EVERY = 2000; // ms
setUpPage('desk.title');

let state = null;
let drawn = {}; // what was shown last, by part, so that only changes are rebuilt

const trouble = el('p', { class: 'alert', role: 'alert', hidden: true });
const told = el('p', { class: 'notice', hidden: true });
const rows = el('tbody');
const heading = el('h2', { text: t('desk.students'), tabIndex: -1 });
const pauseButton = el('button', { type: 'button', class: 'main' });
const stopAllButton = el('button', { type: 'button', text: t('desk.stopall') });
const zip = el('a', { class: 'button', href: '/api/desk/programs.zip', download: '', text: t('desk.zip') });
const whichField = el('select', { 'aria-label': t('desk.which') });
const fieldList = el('ul', { class: 'plain-list' });
const actions = el('div', { class: 'row' });
const outOfReach = el('dl', { class: 'keys' });
const rules = el('div', { class: 'stack tight' });
const starterTitle = el('input', { type: 'text', maxLength: 80, 'aria-label': t('desk.starter.name'), placeholder: t('desk.starter.name'), value: store.get('desk.title', '') });
const starterLanguage = el('select', { 'aria-label': t('language') }, ...['python', 'javascript', 'blocks'].map((value) => el('option', { value, text: t(`language.${value}`) })));
const starterText = el('textarea', { class: 'mono', rows: 8, spellcheck: false, 'aria-label': t('program'), value: store.get('desk.text', '') });
const code = el('p', { class: 'class-code mono' });
const address = el('p', { class: 'mono' });
const turns = el('input', { type: 'number', min: '0', max: '240', id: 'turns' });
const start = el('select', { id: 'start' }, el('option', { value: 'middle', text: t('desk.start.middle') }), el('option', { value: 'apart', text: t('desk.start.apart') }));

function say(text) {
  told.textContent = text;
  told.hidden = false;
  clearTimeout(say.timer);
  say.timer = setTimeout(() => { told.hidden = true; }, 6000);
}

/** Performs an action, shows its effect at once, and reports errors. */
async function act(path, json, done = t('desk.done')) {
  try {
    const answer = await postJson(`/api/desk/${path}`, json);
    const failed = answer?.failed?.[0];
    say(failed ? t('desk.failed', failed.field + 1, t('error.field')) : done);
    await refresh();
    return answer;
  } catch (error) {
    say(refusal(error));
    return null;
  }
}

/** What a rebuilt part needs to give the focus back: the key of the control that has it, and its row. */
function focused() {
  const { activeElement: active } = document;
  return active?.dataset.key ? { key: active.dataset.key, row: [...rows.children].indexOf(active.closest('tr')) } : null;
}

/** Gives the focus back to the control of that key; when its student has gone, to the next one's. */
function giveBack(had) {
  if (!had || !focusIsFree()) return;
  let control = document.querySelector(`[data-key="${CSS.escape(had.key)}"]`);
  if (!control && had.row >= 0) {
    control = rows.children[Math.min(had.row, rows.children.length - 1)]?.querySelector(`[data-key$=" ${had.key.split(' ')[1]}"]`) || heading;
  }
  if (control?.disabled) control = control.closest('tr')?.querySelector('button:not(:disabled)') || heading;
  control?.focus();
}

function ask(title, { text = '', value = null, label = '' } = {}) {
  return new Promise((resolve) => {
    const had = focused();
    const input = value === null ? null : el('input', { type: 'text', value, maxLength: 24, 'aria-label': label || title });
    const dialog = el('dialog', { 'aria-label': title }, el('form', { method: 'dialog', class: 'stack' },
      el('h2', { text: title }), text ? el('p', { text }) : null, input,
      el('div', { class: 'row' }, el('span', { class: 'grow' }),
        el('button', { type: 'button', text: t('desk.cancel'), on: { click: () => dialog.close('') } }),
        el('button', { type: 'submit', class: 'main', value: 'yes', text: t('desk.ok') }))));
    dialog.addEventListener('close', () => {
      dialog.remove();
      giveBack(had);
      resolve(dialog.returnValue === 'yes' ? (input ? input.value.trim() : true) : null);
    });
    document.body.append(dialog);
    dialog.showModal();
  });
}

async function showProgram(session) {
  const had = focused();
  try {
    const program = await getJson(`/api/desk/program?id=${session.id}`);
    const close = el('button', { type: 'button', text: t('close') });
    const dialog = el('dialog', { 'aria-label': t('desk.view', session.name) }, el('div', { class: 'stack' },
      el('h2', { text: `${session.name}: ${program.title}` }), el('pre', { class: 'program-text', tabIndex: 0 }, el('code', { text: program.text })),
      el('div', { class: 'row' },
        el('button', { type: 'button', text: t('save'), on: { click: () => download(`${session.name}.${program.language === 'javascript' ? 'js' : 'py'}`, program.text) } }), close)));
    close.addEventListener('click', () => dialog.close());
    dialog.addEventListener('close', () => {
      dialog.remove();
      giveBack(had);
    });
    document.body.append(dialog);
    dialog.showModal();
  } catch (error) {
    say(refusal(error));
  }
}

function placeOf(session) {
  if (session.state === 'seated') return el('span', { class: 'chip good', text: state.fields.length > 1 ? t('desk.seat', session.field + 1) : t('desk.onfield') });
  if (session.state === 'waiting') return el('span', { class: 'chip note', text: t('desk.queue', session.queue ?? '?') });
  return el('span', { class: 'chip', text: t('desk.away') });
}

function row(session) {
  const button = (key, text, label, click, disabled = false) => el('button', { type: 'button', class: 'small-button', text, 'aria-label': label, title: label, disabled,
    data: { key: `${session.id} ${key}` }, on: { click } });
  const lastLine = (session.said || '').trim().split('\n').pop();
  return el('tr', {},
    el('th', { scope: 'row', text: session.name }), el('td', {}, placeOf(session)),
    el('td', {}, el('span', { class: `chip ${session.doing === 'error' ? 'bad' : session.doing === 'running' ? 'good' : ''}`, text: t(`doing.${session.doing}`) }),
      ...(session.held ? [' ', el('span', { class: 'chip note', text: t('desk.held') })] : [])),
    el('td', { class: 'said mono', title: session.said || '' }, lastLine),
    el('td', {}, el('div', { class: 'row tools' },
      button('view', t('desk.b.view'), t('desk.view', session.name), () => showProgram(session), !session.program),
      button('stop', t('stop'), t('desk.stopone', session.name), () => act('stop', { id: session.id }), !session.run),
      button('rename', t('desk.b.rename'), t('desk.rename', session.name), async () => {
        const name = await ask(t('desk.rename', session.name), { value: session.name, label: t('desk.rename.ask') });
        if (name) act('rename', { id: session.id, name });
      }),
      button('remove', t('desk.b.remove'), t('desk.remove', session.name), async () => {
        if (await ask(t('desk.remove', session.name), { text: t('desk.remove.sure', session.name) })) act('remove', { id: session.id });
      }))));
}

/** Rebuilds a part only when its content has changed: a list under the teacher's finger does not move. */
function part(name, value, make) {
  const text = JSON.stringify(value);
  if (drawn[name] === text) return;
  drawn[name] = text;
  const had = focused();
  make();
  giveBack(had);
}

function show() {
  part('code', [state.code, state.address], () => {
    code.textContent = state.code;
    address.textContent = state.address;
  });
  part('pause', state.paused, () => {
    pauseButton.textContent = t(state.paused ? 'desk.resume' : 'desk.pause');
  });
  // Who is away comes last.
  state.sessions.sort((a, b) => (a.state === 'away') - (b.state === 'away'));
  part('sessions', state.sessions.map(({ seen_s: _, ...rest }) => rest), () => rows.replaceChildren(...(state.sessions.length > 0 ? state.sessions.map(row)
    : [el('tr', {}, el('td', { colSpan: 5, class: 'muted', text: t('desk.nobody') }))])));
  part('fields', state.fields, () => {
    const before = whichField.value;
    whichField.hidden = state.fields.length < 2;
    whichField.replaceChildren(el('option', { value: '', text: t('desk.all') }), ...state.fields.map((field) => el('option', { value: String(field.n), text: t('watch.number', field.n + 1) })));
    whichField.value = before;
    fieldList.replaceChildren(...state.fields.map((field) => el('li', {}, el('strong', { text: t('watch.number', field.n + 1) }), ` ${field.address} `,
      el('span', { class: `chip ${field.ok ? 'good' : 'bad'}`, text: field.ok ? t('desk.fieldstate', field.taken, field.places) : t('desk.fieldlost') }))));
  });
  part('actions', state.actions, () => actions.replaceChildren(...state.actions.map((action) => el('button', { type: 'button', title: action.command, data: { key: `do ${action.do}` },
    text: known('do', action.do, action.what), on: { click: () => act('field', { do: action.do, ...(whichField.value === '' ? {} : { field: Number(whichField.value) }) }) } }))));
  part('out', state.out_of_reach, () => outOfReach.replaceChildren(...state.out_of_reach.flatMap((key) => [el('dt', {}, el('kbd', { text: key.key })), el('dd', { text: known('key', key.key, key.what) })])));
  part('rules', state.rules, () => rules.replaceChildren(...state.rules.map((rule) => el('label', { class: 'check' },
    el('input', { type: 'checkbox', checked: rule.allowed, data: { key: `rule ${rule.key}` }, on: { change: (event) => act('rule', { key: rule.key, allowed: event.target.checked }) } }),
    el('code', { text: rule.key }), el('span', { text: known('rule', rule.key, rule.what) })))));
  part('turns', state.turn_minutes, () => { if (document.activeElement !== turns) turns.value = state.turn_minutes; });
  part('start', state.start, () => { start.value = state.start; });
}

/** The server's English words for a thing, or ours in the page's language when the table has them. */
function known(kind, name, otherwise) {
  const text = t(`desk.${kind}.${name}`);
  return text.startsWith('desk.') ? otherwise : text;
}

async function refresh() {
  try {
    state = await getJson('/api/desk/state');
    trouble.hidden = true;
    show();
  } catch (error) {
    trouble.textContent = error.word === 'desk' ? t('desk.only') : refusal(error);
    trouble.hidden = false;
  }
}

pauseButton.addEventListener('click', () => act('pause', { paused: !state?.paused }));
stopAllButton.addEventListener('click', () => act('stop', { all: true }));
start.addEventListener('change', () => act('start', { start: start.value }));
for (const [box, key] of [[starterTitle, 'desk.title'], [starterText, 'desk.text']]) box.addEventListener('input', () => store.set(key, box.value));

const section = (title, ...children) => el('section', { class: 'card stack' }, el('h2', { text: title }), ...children);
document.body.append(
  el('header', { class: 'bar' }, logoMark(), el('h1', { class: 'bar-title', text: t('desk.title') }), el('span', { class: 'grow' }),
    pauseButton, stopAllButton, zip, ...pageButtons()),
  el('main', { class: 'desk' }, trouble, el('div', { class: 'told', role: 'status' }, told),
    el('section', { class: 'card stack' }, heading,
      el('div', { class: 'table' }, el('table', {}, el('thead', {}, el('tr', {}, ...['student', 'place', 'doing', 'said', 'actions'].map((key) => el('th', { scope: 'col', text: t(`desk.${key}`) })))), rows))),
    el('div', { class: 'desk-grid' },
      section(t('desk.code'), code, address,
        el('div', { class: 'row' }, el('a', { class: 'button', href: '/board', target: '_blank', text: t('desk.board') }),
          el('button', { type: 'button', text: t('desk.code.new'), on: { click: () => act('code', {}) } }),
          el('button', { type: 'button', text: t('desk.code.all'), on: { click: async () => { if (await ask(t('desk.code.all'), { text: t('desk.code.sure') })) act('code', { all: true }); } } }))),
      section(t('desk.field'), fieldList, whichField, actions,
        el('details', {}, el('summary', { text: t('desk.window') }), outOfReach)),
      section(t('desk.rules'), el('p', { class: 'small muted', text: t('desk.rules.text') }), rules),
      section(t('desk.starter'), el('div', { class: 'row' }, starterTitle, starterLanguage,
        el('button', { type: 'button', text: t('open'), on: { click: () => openFile('.py,.js,.json,.txt', (text, name) => {
          starterText.value = text;
          starterTitle.value = name.replace(/\.[^.]*$/, '');
          starterLanguage.value = /\.m?js$/.test(name) ? 'javascript' : /\.json$/.test(name) ? 'blocks' : 'python';
        }) } })), starterText,
      el('div', { class: 'row' },
        el('button', { type: 'button', class: 'main', text: t('desk.starter.give'), on: { click: () => act('starter', { language: starterLanguage.value, title: starterTitle.value.trim() || t('starter.given'), text: starterText.value }) } }),
        el('button', { type: 'button', text: t('desk.starter.none'), on: { click: () => act('starter', { language: 'python', title: '', text: '' }) } }))),
      section(t('desk.settings'), el('label', { for: 'turns', text: t('desk.turns') }),
        el('div', { class: 'row' }, turns, el('button', { type: 'button', text: t('desk.set'), on: { click: () => act('turns', { minutes: Math.max(0, Math.round(Number(turns.value) || 0)) }) } })),
        el('label', { for: 'start', text: t('desk.start') }), start))));

async function turn() {
  await refresh();
  setTimeout(turn, EVERY);
}
turn();
