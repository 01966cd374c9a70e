// The class's page for viewers: one field in three dimensions, with its painting and the scores.
import { getJson } from '../common/api.js';
import { el } from '../common/dom.js';
import { makeFieldView } from '../common/field-view.js';
import { giveFocus, keepFocus, logoMark, pageButtons, setUpPage } from '../common/page.js';
import { t } from '../common/texts.js';
import { rank, title } from './scores.js';

setUpPage('watch.title');
const query = new URLSearchParams(location.search);
const wanted = Math.max(0, Number.parseInt(query.get('field') || '0', 10) || 0);
const eyes = query.get('eyes') || '';

const which = el('select', { 'aria-label': t('watch.which'), hidden: true });
const through = el('select', { 'aria-label': t('watch.eyes') }, el('option', { value: '', text: t('watch.above') }));
const scores = el('ol', { class: 'scores', 'aria-label': t('watch.scores') });
let names = null; // of all turtles in play
let shown = '';

function go(select, field, turtle) {
  keepFocus(select); // an arrow key goes to the next page, too, and must find the list again
  location.assign(`/watch?field=${field}${turtle ? `&eyes=${encodeURIComponent(turtle)}` : ''}`);
}
which.addEventListener('change', () => go('which', which.value, ''));
through.addEventListener('change', () => go('through', wanted, through.value));

const view = makeFieldView({ field: wanted, turtle: eyes ? encodeURIComponent(eyes) : '', every: 60, onTurtles(turtles) {
  const ranked = rank(turtles);
  showScores(ranked.slice(0, 12));
  const all = ranked.map(({ turtle }) => turtle.name).filter(Boolean).sort();
  if (all.join('\n') === names || (names !== null && document.activeElement === through)) return;
  names = all.join('\n');
  through.replaceChildren(el('option', { value: '', text: t('watch.above') }), ...all.map((name) => el('option', { value: name, text: name })));
  if (eyes && !all.includes(eyes)) through.append(el('option', { value: eyes, text: eyes }));
  through.value = eyes;
} });

function showScores(ranked) {
  const text = JSON.stringify(ranked.map(({ place, turtle }) => [place, title(turtle), turtle.team, turtle.score, turtle.ncoin, turtle.ttl > 0]));
  if (text === shown) return;
  shown = text;
  const team = (turtle) => (turtle.team >= 0 && turtle.team <= 4 ? turtle.team : 0);
  scores.replaceChildren(...ranked.map(({ place, turtle }) => el('li', { class: turtle.ttl > 0 ? 'gone' : '' },
    el('span', { class: `dot team-${team(turtle)}`, title: team(turtle) > 0 ? t('watch.team', team(turtle)) : '' }),
    el('span', { class: 'place', text: `${place}.` }), el('span', { class: 'grow who', text: title(turtle) }),
    el('span', { class: 'only-read', text: [team(turtle) > 0 ? t('watch.team', team(turtle)) : '', turtle.ttl > 0 ? t('watch.gone') : ''].filter(Boolean).join(', ') }),
    el('strong', { text: String(turtle.score) }), turtle.ncoin > 0 ? el('span', { class: 'money', text: `● ${turtle.ncoin}` }) : null)));
  if (ranked.length === 0) scores.replaceChildren(el('li', { class: 'muted', text: t('watch.nobody') }));
  letScroll();
}

/** The arrow keys scroll the list where it is longer than its place. */
function letScroll() {
  if (scores.scrollHeight > scores.clientHeight) scores.tabIndex = 0;
  else scores.removeAttribute('tabindex');
}
new ResizeObserver(letScroll).observe(scores);

document.body.append(
  el('header', { class: 'bar' }, el('h1', { class: 'only-read', text: t('watch.title') }), logoMark(), which, el('label', { class: 'row eyes' }, el('span', { class: 'small', text: t('watch.eyes') }), through),
    el('span', { class: 'grow' }), ...pageButtons()),
  el('main', { class: 'watch' }, view.element, scores));

getJson('/api/hello').then((hello) => {
  if (!hello || hello.fields.length < 2) return;
  which.append(...hello.fields.map((_, i) => el('option', { value: String(i), text: t('watch.number', i + 1) })));
  which.value = String(wanted);
  which.hidden = false;
  giveFocus('which', which);
}).catch(() => {});
giveFocus('through', through);
globalThis.kelmora = { view };
