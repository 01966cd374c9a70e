// The class's page for viewers: one field in three dimensions, with its painting and the scores.
import { getJson } from '../common/api.js';
import { el } from '../common/dom.js';
import { makeFieldView } from '../common/field-view.js';
import { logoMark, pageButtons, setUpPage } from '../common/page.js';
import { t } from '../common/texts.js';
import { rank, title } from './scores.js';

setUpPage('watch.title');
const query = new URLSearchParams(location.search);
const wanted = Math.max(0, Number.parseInt(query.get('field') || '0', 10) || 0);
const eyes = query.get('eyes') || '';

const which = el('select', { 'aria-label': t('watch.which'), hidden: true });
const through = el('select', { 'aria-label': t('watch.eyes') }, el('option', { value: '', text: t('watch.above') }));
const scores = el('ol', { class: 'scores', 'aria-label': t('watch.scores') });
let names = '';

const go = (field, turtle) => location.assign(`/watch?field=${field}${turtle ? `&eyes=${encodeURIComponent(turtle)}` : ''}`);
which.addEventListener('change', () => go(which.value, ''));
through.addEventListener('change', () => go(wanted, through.value));

const view = makeFieldView({ field: wanted, turtle: eyes ? encodeURIComponent(eyes) : '', every: 60, onTurtles(turtles) {
  const ranked = rank(turtles);
  scores.replaceChildren(...ranked.slice(0, 12).map(({ place, turtle }) => el('li', { class: turtle.ttl > 0 ? 'gone' : '' },
    el('span', { class: `dot team-${turtle.team >= 0 && turtle.team <= 4 ? turtle.team : 0}` }),
    el('span', { class: 'place', text: `${place}.` }), el('span', { class: 'grow who', text: title(turtle) }),
    el('strong', { text: String(turtle.score) }), turtle.ncoin > 0 ? el('span', { class: 'money', text: `● ${turtle.ncoin}` }) : null)));
  if (ranked.length === 0) scores.replaceChildren(el('li', { class: 'muted', text: t('watch.nobody') }));
  const all = ranked.map(({ turtle }) => turtle.name).filter(Boolean).sort();
  if (all.join('\n') === names || document.activeElement === through) return;
  names = all.join('\n');
  through.replaceChildren(el('option', { value: '', text: t('watch.above') }), ...all.map((name) => el('option', { value: name, text: name })));
  if (eyes && !all.includes(eyes)) through.append(el('option', { value: eyes, text: eyes }));
  through.value = eyes;
} });

document.body.append(
  el('header', { class: 'bar' }, el('h1', { class: 'only-read', text: t('watch.title') }), logoMark(), which, el('label', { class: 'row eyes' }, el('span', { class: 'small', text: t('watch.eyes') }), through),
    el('span', { class: 'grow' }), ...pageButtons()),
  el('main', { class: 'watch' }, view.element, scores));

getJson('/api/hello').then((hello) => {
  if (!hello || hello.fields.length < 2) return;
  which.append(...hello.fields.map((_, i) => el('option', { value: String(i), text: t('watch.number', i + 1) })));
  which.value = String(wanted);
  which.hidden = false;
}).catch(() => {});
globalThis.kelmora = { view };
