// The board for the projector: the address, the code, who is here, and the field.
import { getJson } from '../common/api.js';
import { el } from '../common/dom.js';
import { makeFieldView } from '../common/field-view.js';
import { logoMark, pageButtons, setUpPage } from '../common/page.js';
import { refusal, t } from '../common/texts.js';

const EVERY = 2000; // ms
setUpPage('board.title');

const address = el('p', { class: 'address mono' });
const code = el('p', { class: 'class-code mono' });
const qr = el('img', { class: 'qr', alt: t('board.qr'), hidden: true });
const count = el('span', { class: 'chip' });
const waiting = el('span', { class: 'chip note', hidden: true });
const paused = el('p', { class: 'notice paused', hidden: true, text: t('board.paused') });
const trouble = el('p', { class: 'alert', role: 'alert', hidden: true });
const FEW = 16; // names that are written large; nobody scrolls on a projector
const who = el('ul', { class: 'who' });
const legend = el('ul', { class: 'legend', hidden: true, 'aria-hidden': 'true' }, ...['idle', 'running', 'asking', 'error', 'practice'].map((doing) => el('li', { class: `doing-${doing}` },
  el('span', { class: 'dot' }), t(`doing.${doing}`))));
const tabs = el('div', { class: 'row field-tabs', role: 'group', 'aria-label': t('watch.which'), hidden: true });
const view = makeFieldView({ every: 60 });
let fields = 0;
let link = '';

document.body.append(
  el('header', { class: 'bar' }, el('h1', { class: 'only-read', text: t('board.title') }), logoMark(), el('span', { class: 'grow' }), ...pageButtons()),
  el('main', { class: 'board' },
    el('section', { class: 'invite', 'aria-label': t('board.open') },
      el('div', { class: 'card how' },
        el('div', { class: 'where' }, el('h2', { text: t('board.open') }), address), el('div', {}, el('h2', { text: t('board.code') }), code), qr),
      el('div', { class: 'told', role: 'status' }, paused), trouble,
      el('div', { class: 'card people' }, el('div', { class: 'row' }, el('h2', { class: 'grow', text: t('board.who') }), count, waiting), who, legend)),
    el('section', { class: 'board-field', 'aria-label': t('watch.title') }, tabs, view.element)));

function showFields(list) {
  if (list.length === fields) return;
  fields = list.length;
  tabs.hidden = fields < 2;
  tabs.replaceChildren(...list.map((_, i) => el('button', { type: 'button', text: t('watch.number', i + 1), 'aria-pressed': String(i === view.field()),
    on: { click: () => {
      view.setField(i);
      [...tabs.children].forEach((button, k) => button.setAttribute('aria-pressed', String(k === i)));
    } } })));
}

function show(told) {
  address.textContent = told.address.replace(/^http:\/\//, '').replace(/\/$/, '');
  code.textContent = told.code;
  code.style.setProperty('--letters', Math.max(told.code.length, 4));
  if (told.link !== link) {
    link = told.link;
    qr.src = `/api/board/qr.svg?${encodeURIComponent(told.code)}`;
    qr.hidden = false;
  }
  paused.hidden = !told.paused;
  count.textContent = String(told.who.length);
  who.classList.toggle('many', told.who.length > FEW);
  legend.hidden = told.who.length === 0;
  waiting.hidden = !(told.waiting > 0);
  waiting.textContent = t('board.waiting', told.waiting);
  who.replaceChildren(...(told.who.length === 0 ? [el('li', { class: 'muted', text: t('board.nobody') })] : told.who.map((one) => el('li', {
    class: `doing-${one.doing}${one.state === 'waiting' ? ' waiting' : ''}`, title: t(`doing.${one.doing}`) }, el('span', { class: 'dot', 'aria-hidden': 'true' }), el('span', { class: 'name', text: one.name }),
  el('span', { class: 'only-read', text: t(`doing.${one.doing}`) })))));
  showFields(told.fields);
}

async function turn() {
  try {
    show(await getJson('/api/board'));
    trouble.hidden = true;
  } catch (error) {
    trouble.textContent = error.word === 'desk' ? t('board.only') : refusal(error);
    trouble.hidden = false;
  }
  setTimeout(turn, EVERY);
}
turn();
globalThis.kelmora = { view };
