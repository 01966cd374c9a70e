import assert from 'node:assert/strict';
import test from 'node:test';
import { parseTurtles } from '../../web/src/watch/protocol.js';
import { fillBoxes, iconPath, rank, shortTitle, summary, title } from '../../web/src/watch/scores.js';
import { listText } from './records.mjs';

const turtles = (...given) => parseTurtles(listText(...given));

test('turtles in play are ranked by score, equal ones share a rank', () => {
  const ranked = rank(turtles({ score: 5 }, { score: 9 }, { score: 5 }, { score: 1 }, { score: 50, type: 3 },
    { score: 60, type: 2 }, { score: 70, alive: false }));
  assert.deepEqual(ranked.map((e) => [e.place, e.turtle.tid]), [[1, 1], [2, 0], [2, 2], [4, 3]]);
});

test('turtle without a name is shown by its number', () => {
  const [a, b, c] = turtles({ name: 'ann' }, { name: '' }, { name: ' ' });
  assert.deepEqual([a, b, c].map(title), ['ann', '#1', '#2']);
});

test('characters that reverse the text direction are left out', () => {
  assert.equal(title({ tid: 0, name: '\u202eabc\u0007' }), 'abc');
});

test('long name is cut for the label, whole letters only', () => {
  assert.equal(shortTitle({ tid: 0, name: 'twelve chars' }), 'twelve chars');
  assert.equal(shortTitle({ tid: 0, name: 'thirteen char' }), 'thirteen ch…');
  assert.equal(shortTitle({ tid: 0, name: '🐢'.repeat(13) }), `${'🐢'.repeat(11)}…`);
});

test('icon follows the team, and the dying have their own', () => {
  assert.equal(iconPath({ team: 3, ttl: 0 }), '/img/3');
  assert.equal(iconPath({ team: 99, ttl: 0 }), '/img/0');
  assert.equal(iconPath({ team: 3, ttl: 10 }), '/img/7');
});

test('summary says how many are in and who leads', () => {
  assert.equal(summary(rank([])), 'No turtles on the field');
  assert.equal(summary(rank(turtles({ name: 'ann', score: 7 }))), '1 turtle · ann leads with 7');
  assert.equal(summary(rank(turtles({ score: 7 }, { score: 7 }, { score: 1 }))), '3 turtles · 2 lead with 7');
});

// Fake page elements that know only texts and children, so that writing HTML would fail.
class Element {
  constructor() { this.children = []; this.textContent = ''; this.hidden = false; }
  appendChild(child) { this.children.push(child); return child; }
  set innerHTML(unused) { throw new Error('names must never be written as HTML'); }
}

test('boxes are filled in order, as texts, and the others hidden', () => {
  const document = { createElement: () => new Element() };
  const boxes = [new Element(), new Element(), new Element()];
  const result = new Element();
  fillBoxes(document, boxes, result, turtles({ name: 'a', score: 1, ncoin: 3 }, { name: '<b>"x"</b>', score: 2, team: 4 }));
  assert.deepEqual(boxes.map((box) => box.hidden), [false, false, true]);
  assert.equal(boxes[0].parts.name.textContent, '1. <b>"x"</b>');
  assert.equal(boxes[0].parts.icon.src, '/img/4');
  assert.equal(boxes[1].parts.coins.textContent, '3 coins');
  assert.equal(result.textContent, '2 turtles · <b>"x"</b> leads with 2');
  fillBoxes(document, boxes, result, []);
  assert.ok(boxes.every((box) => box.hidden));
  assert.equal(boxes[0].children.length, 4);
});
