// Ranking and the texts of the score boxes. Pure, but for fillBoxes, which writes texts only, never HTML.
import { TURTLE_TYPE } from './protocol.js';

export const BOXES = 30;
export const LABEL_LETTERS = 12;

/** Turtles in play, best first; equal scores share a rank and stand in slot order. */
export function rank(turtles) {
  const inPlay = turtles.filter((turtle) => turtle.alive && turtle.type === TURTLE_TYPE);
  inPlay.sort((a, b) => b.score - a.score || a.tid - b.tid);
  let place = 0;
  return inPlay.map((turtle, i) => {
    if (i === 0 || turtle.score < inPlay[i - 1].score) place = i + 1;
    return { place, turtle };
  });
}

/** A turtle's displayed name: without control characters, or its number when it has none. */
export function title(turtle) {
  const name = turtle.name.replace(/[\u0000-\u001f\u007f-\u009f\u200e\u200f\u202a-\u202e\u2066-\u2069]/g, ' ').trim();
  return name === '' ? `#${turtle.tid}` : name;
}

/** A title short enough to stand above a turtle. */
export function shortTitle(turtle) {
  const letters = [...title(turtle)];
  return letters.length > LABEL_LETTERS ? `${letters.slice(0, LABEL_LETTERS - 1).join('')}…` : letters.join('');
}

/** The icon beside a score: one for each team, another for the dying. */
export function iconPath(turtle) {
  if (turtle.ttl > 0) return '/img/7';
  return `/img/${turtle.team >= 0 && turtle.team <= 4 ? turtle.team : 0}`;
}

/** How many are in, and who leads. */
export function summary(ranked) {
  if (ranked.length === 0) return 'No turtles on the field';
  const leaders = ranked.filter((entry) => entry.place === 1);
  const count = ranked.length === 1 ? '1 turtle' : `${ranked.length} turtles`;
  const top = ranked[0].turtle.score;
  if (leaders.length > 1) return `${count} · ${leaders.length} lead with ${top}`;
  return `${count} · ${title(leaders[0].turtle)} leads with ${top}`;
}

function setText(element, text) {
  if (element.textContent !== text) element.textContent = text;
}

// Gives a box its parts once: icon, name, score, coins.
function partsOf(box, document) {
  if (!box.parts) {
    const make = (kind) => box.appendChild(document.createElement(kind));
    box.parts = { path: '', icon: make('img'), name: make('span'), score: make('b'), coins: make('i') };
    box.parts.icon.alt = '';
  }
  return box.parts;
}

/** Fills boxes and result from a turtle list; boxes without a turtle are hidden. @returns how many are filled */
export function fillBoxes(document, boxes, result, turtles) {
  const ranked = rank(turtles);
  boxes.forEach((box, i) => {
    box.hidden = i >= ranked.length;
    if (box.hidden) return;
    const { place, turtle } = ranked[i];
    const parts = partsOf(box, document);
    const icon = iconPath(turtle);
    if (parts.path !== icon) parts.icon.src = parts.path = icon;
    setText(parts.name, `${place}. ${title(turtle)}`);
    setText(parts.score, String(turtle.score));
    setText(parts.coins, turtle.ncoin > 0 ? `${turtle.ncoin} coins` : '');
  });
  setText(result, summary(ranked));
  return Math.min(ranked.length, boxes.length);
}
