import assert from 'node:assert/strict';
import test from 'node:test';
import { cameraPath, parseCamera, parseCoins, parseTurtles, parseWalls } from '../../web/src/watch/protocol.js';
import { listText, turtleText } from './records.mjs';

test('ordinary turtle list is read', () => {
  const [a, b] = parseTurtles(listText({ name: 'ann', x: '1.500000', team: 2 }, { alive: false }));
  assert.equal(a.name, 'ann');
  assert.deepEqual([a.tid, a.x, a.team, a.alive], [0, 1.5, 2, true]);
  assert.deepEqual([b.tid, b.alive], [1, false]);
});

test('empty list is no error', () => {
  assert.deepEqual(parseTurtles('[]'), []);
  assert.deepEqual(parseWalls('[]'), []);
  assert.deepEqual(parseCoins('[]'), []);
});

test('nonsense is distinguished from an empty list', () => {
  for (const text of ['', '{', '<html>', 'null', '7', '{"a":1}', '[1,2]', '[null]']) assert.equal(parseTurtles(text), null, text);
  for (const text of ['', '[', '{}', 'null']) {
    assert.equal(parseWalls(text), null, text);
    assert.equal(parseCoins(text), null, text);
  }
});

test('name with quotes, angle brackets, backslashes or line feeds spoils only the JSON, not the list', () => {
  for (const name of ['a"b', '"', '"}, {"', '<img src=x onerror="alert(1)">', 'back\\', 'two\nlines', '","x":1,"name":"y"]']) {
    const turtles = parseTurtles(listText({ name: 'first', score: 1 }, { name, score: 2, x: '30.000000' }, { score: 3 }));
    assert.equal(turtles.length, 3, name);
    assert.deepEqual(turtles.map((t) => t.score), [1, 2, 3], name);
    assert.equal(turtles[1].x, 30, name);
  }
  assert.equal(parseTurtles(listText({ name: 'a"b<c>' }))[0].name, 'a"b<c>');
});

test('name that contains JSON is still only a text', () => {
  const [turtle] = parseTurtles(listText({ name: '","name":{"a":1},"q":"' }));
  assert.equal(typeof turtle.name, 'string');
  assert.equal(turtle.alive, true);
});

test('numbers that are not finite hide the turtle and nothing else', () => {
  const [a, b, c] = parseTurtles(listText({ x: 'nan' }, { y: '-inf' }, { bx: '-nan', head: 'inf' }));
  assert.deepEqual([a.alive, b.alive, c.alive], [false, false, true]);
  assert.deepEqual([c.bx, c.head], [0, 0]);
});

test('walls and coins without finite numbers are left out', () => {
  assert.equal(parseWalls('[{"x1":1,"y1":2,"x2":3,"y2":4,"nx":0,"ny":1},{"x1":1}]').length, 1);
  assert.deepEqual(parseCoins('[{"x":1,"y":2,"ord":5},{"x":3,"y":4,"ord":0},{"x":3}]').map((c) => c.ord), [0, 5]);
});

test('camera needs all six numbers', () => {
  assert.equal(parseCamera('{"x0":1.0,"y0":2.0,"z0":10.0,"x1":101.0,"y1":2.0,"z1":10.0}').x1, 101);
  for (const text of ['', '{}', '[]', 'null', '{"x0":1}', '1,2']) assert.equal(parseCamera(text), null, text);
});

test('page path names the camera by its first segment', () => {
  assert.equal(cameraPath('/'), '/camera');
  assert.equal(cameraPath('//'), '/camera');
  assert.equal(cameraPath('/ann'), '/ann/camera');
  assert.equal(cameraPath('/$3/x'), '/$3/camera');
});

test('records helper writes valid JSON for plain names', () => {
  assert.equal(JSON.parse(turtleText(4)).tid, 4);
});
