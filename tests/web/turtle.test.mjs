// The JavaScript worker's turtle words, on the practice field and with hand-written answers.
import assert from 'node:assert/strict';
import test from 'node:test';
import { PracticeField } from '../../web/src/edit/js-practice.js';
import { colour, makeWords, readAnswer, triangles } from '../../web/src/edit/js-turtle.js';

function practising() {
  const acts = [];
  const sent = [];
  const field = new PracticeField((more) => acts.push(...more), () => {});
  const made = makeWords((lines) => {
    sent.push(lines);
    return field.exchange(lines);
  }, () => {});
  sent.length = 0;
  return { ...made.words, acts, sent, field };
}
const near = (a, b) => assert.ok(Math.abs(a - b) < 1e-5, `${a} is not ${b}`);

test('a square ends where it began, and is painted as four lines', () => {
  const turtle = practising();
  for (let side = 0; side < 4; side++) {
    assert.equal(turtle.forward(100), true);
    turtle.left(90);
  }
  const [x, y] = turtle.position();
  near(x, 0);
  near(y, 0);
  near(turtle.heading(), 0);
  assert.equal(turtle.acts.filter(([act]) => act === 'line').length, 4);
});

test('lines go over the wire as the other libraries send them', () => {
  const turtle = practising();
  turtle.forward(50);
  turtle.right(12.5);
  turtle.penup();
  turtle.setheading(90);
  turtle.write('Hi');
  turtle.name('é');
  assert.deepEqual(turtle.sent, ['f 50\n', 't r 12.5\n', 'p u\n', 't n\n', 's 4869\n', 'n c3a9\n']);
});

test('after a new colour the pen is lowered again before the next line, once', () => {
  const turtle = practising();
  turtle.pencolor('blue');
  turtle.sent.length = 0;
  turtle.forward(10);
  turtle.forward(10);
  assert.deepEqual(turtle.sent, ['p d\nf 10\n', 'f 10\n']);
});

test('NaN is refused before anything is sent', () => {
  const turtle = practising();
  for (const bad of [NaN, Infinity, '10', undefined, null]) assert.throws(() => turtle.forward(bad), { name: 'NotANumber' });
  assert.throws(() => turtle.pencolor('no colour'), { name: 'BadValue' });
  assert.throws(() => turtle.team(5), { name: 'BadValue' });
  assert.throws(() => turtle.broadcast('a;b'), { name: 'BadValue' });
  assert.deepEqual(turtle.sent, []);
});

test('text cannot inject a command', () => {
  const turtle = practising();
  turtle.name('x\nc a');
  turtle.ask('q p\nc a;c f');
  for (const lines of turtle.sent) assert.equal(lines.match(/\n/g).length, 1, JSON.stringify(lines));
  assert.ok(!turtle.sent.join('').includes(';'));
});

test('places are records, as in the library, and pairs', () => {
  const turtle = practising();
  turtle.penup();
  assert.equal(turtle.goto({ x: 30, y: 40 }), true);
  const place = turtle.position();
  assert.deepEqual(Object.keys(place), ['x', 'y']);
  assert.equal(JSON.stringify(place), '{"x":30,"y":40}');
  assert.deepEqual([...place], [30, 40]);
  assert.equal(place[1], 40);
  near(turtle.distance({ x: 0, y: 0 }), 50);
  near(turtle.distance([30, 0]), 40);
  near(turtle.distance(turtle), 0);
  near(turtle.towards({ x: 30, y: 80 }), 90);
  assert.throws(() => turtle.goto({ x: 1 }), { name: 'NotANumber' });
  assert.equal(turtle.blockedBy(), null);
});

test('numbers of colours go up to 1 or 255, and no further', () => {
  const turtle = practising();
  assert.throws(() => turtle.pencolor(255, 128, 0), { name: 'BadValue' });
  turtle.colormode(255);
  turtle.pencolor(255, 51, 0);
  assert.deepEqual(turtle.pencolor(), [255, 51, 0]);
  turtle.colormode(1);
  assert.deepEqual(turtle.pencolor(), [1, 0.2, 0]);
  assert.throws(() => turtle.colormode(2), { name: 'BadValue' });
});

test('home walks back and looks east', () => {
  const turtle = practising();
  turtle.goto(30, -40);
  turtle.left(33);
  assert.equal(turtle.home(), true);
  const [x, y] = turtle.position();
  near(x, 0);
  near(y, 0);
  near(turtle.heading(), 0);
});

test('a filled area is painted as triangles that cover it', () => {
  const turtle = practising();
  turtle.fillcolor('gold');
  turtle.beginFill();
  for (let side = 0; side < 4; side++) {
    turtle.forward(40);
    turtle.left(90);
  }
  turtle.acts.length = 0;
  turtle.endFill();
  const last = turtle.acts.filter(([act]) => act === 'polygon');
  assert.ok(last.length >= 2);
  for (const [, , colours] of last) assert.deepEqual(colours[0].map((part) => Math.round(part * 255)), [255, 215, 0]);
  assert.equal(turtle.isdown(), true);
  near(turtle.position()[0], 0);
});

test('polygons are cut into triangles of the same area, whichever way round and convex or not', () => {
  const area = (points) => Math.abs(points.reduce((sum, [x, y], i) => {
    const [nx, ny] = points[(i + 1) % points.length];
    return sum + x * ny - nx * y;
  }, 0)) / 2;
  for (const polygon of [[[0, 0], [4, 0], [4, 4], [0, 4]], [[0, 4], [4, 4], [4, 0], [0, 0]], [[0, 0], [6, 0], [3, 2], [6, 6], [0, 6], [2, 3]]]) {
    near(triangles(polygon).reduce((sum, triangle) => sum + area(triangle), 0), area(polygon));
  }
  assert.deepEqual(triangles([[0, 0], [1, 1]]), []);
});

test('answers are read from their end, and malformed ones are errors', () => {
  assert.deepEqual(readAnswer('10.0 -4.5 OK @ 15 3'), { values: '10.0 -4.5', ok: true, clock: 15, events: 3 });
  assert.deepEqual(readAnswer('ERR @ 7 0'), { values: '', ok: false, clock: 7, events: 0 });
  assert.equal(readAnswer('5 mail @ home OK @ 9 0').values, '5 mail @ home');
  for (const bad of ['', 'OK', 'OK @ x y', 'hello @ 3 4']) assert.throws(() => readAnswer(bad), { name: 'BadAnswer' });
});

test('events are reported once, and listeners are called', () => {
  const heard = [];
  const answers = ['OK @ 1 0\nOK @ 1 0\n', 'ERR @ 2 16\n', 'OK @ 3 0\n', 'OK @ 4 0\n', 'OK @ 5 0\n'];
  const { words } = makeWords(() => answers.shift(), () => {});
  words.onWall(() => heard.push('wall'));
  assert.equal(words.forward(10), false);
  assert.deepEqual(heard, ['wall']);
  assert.deepEqual(words.events(), ['wall']);
  assert.deepEqual(words.events(), []);
});

test('strict makes a blocked step an error that names the obstacle', () => {
  const answers = ['OK @ 1 0\nOK @ 1 0\n', 'ERR @ 2 8\n'];
  const { words } = makeWords(() => answers.shift(), () => {});
  words.strict();
  assert.throws(() => words.forward(10), { name: 'Blocked', message: /stone/ });
});

test('colours have names, codes and numbers', () => {
  assert.deepEqual(colour('red'), [1, 0, 0]);
  assert.deepEqual(colour('#0f0'), [0, 1, 0]);
  assert.deepEqual(colour('#0000ff'), [0, 0, 1]);
  assert.deepEqual(colour(0.5, 0, 2), [0.5, 0, 1]);
  assert.deepEqual(colour([0, 1, 0]), [0, 1, 0]);
});
