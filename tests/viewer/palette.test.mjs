// The pages show the teams in the colours of the field's own window.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';

const read = (path) => readFileSync(new URL(`../../${path}`, import.meta.url), 'utf8');

const window_ = [...read('src/field/palette.h').matchAll(/^ {4}\{([\d.]+), ([\d.]+), ([\d.]+)\},$/gm)]
  .map((row) => row.slice(1).map((level) => Math.round(level * 255).toString(16).padStart(2, '0')).join(''));

test('the window has five team colours', () => assert.equal(window_.length, 5));

test('the three-dimensional page has them', () => {
  const row = read('web/src/watch/models.js').match(/TEAM_COLORS = \[(.*)\]/)[1];
  assert.deepEqual(row.split(', ').map((color) => color.replace('0x', '')), window_);
});

test('the flat view has them', () => {
  const row = read('web/src/common/flat-view.js').match(/TEAMS = \[(.*)\]/)[1];
  assert.deepEqual(row.split(', ').map((color) => color.replace(/['#]/g, '')), window_);
});

test('the list of turtles has them', () => {
  const rows = [...read('web/src/styles/watch.css').matchAll(/\.team-(\d) \{ background: #([0-9a-f]{6}); \}/g)];
  assert.deepEqual(rows.map((row) => [Number(row[1]), row[2]]), window_.map((color, team) => [team, color]));
});
