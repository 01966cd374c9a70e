// The workers' link to the class server, with a server that only exists here.
import assert from 'node:assert/strict';
import test from 'node:test';
import { makeHost } from '../../web/src/edit/host.js';

const GONE = { gone: true }; // no answer comes
const AGAIN = { status: 202, text: '{"again":true}' };

/** A host in run 7 whose requests are answered by `answers` in turn; `now` is its clock. */
function hostWith(answers) {
  const world = { asked: [], posted: [], now: 0 };
  globalThis.XMLHttpRequest = class {
    open(method, path) {
      this.path = path;
    }

    setRequestHeader() {}

    send() {
      world.asked.push([this.path, this.timeout]);
      const answer = answers.shift();
      assert.ok(answer, 'a request too many');
      world.now += answer.took ?? 1;
      if (answer.gone) throw new Error('no answer');
      Object.assign(this, { status: answer.status ?? 200, responseText: answer.text });
    }
  };
  globalThis.performance = { now: () => world.now };
  world.host = makeHost((message) => world.posted.push(message));
  world.host.begin({ token: 'x', run: 7, speed: 0 });
  /** Lets so much time pass that the host asks again. */
  world.later = () => {
    world.now += 150;
    return world.host.isStopped();
  };
  return world;
}

test('a program that runs asks for Stop ten times a second, and hears of the speed', () => {
  const world = hostWith([{ text: '0' }, { text: '8' }, { text: '2' }]);
  assert.equal(world.host.isStopped(), false);
  assert.equal(world.asked.length, 0, 'it has just begun');
  assert.equal(world.later(), false);
  assert.equal(world.host.isStopped(), false);
  assert.equal(world.asked.length, 1);
  assert.equal(world.later(), false);
  assert.equal(world.host.speed(), 5);
  assert.equal(world.later(), true);
  assert.equal(world.later(), true);
  assert.deepEqual(world.asked.map(([path]) => path), Array(3).fill('/api/run/stop?run=7&wait=0'));
  assert.deepEqual(world.posted, []);
});

test('a pause holds the program as long as it lasts, and the page hears of it', () => {
  const world = hostWith([AGAIN, { ...AGAIN, took: 25000 }, { ...AGAIN, took: 25000 }, { text: '4', took: 9000 }, { text: '4' }]);
  assert.equal(world.later(), false);
  assert.deepEqual(world.asked.map(([path]) => path), ['/api/run/stop?run=7&wait=0', ...Array(3).fill('/api/run/stop?run=7')]);
  assert.ok(world.asked.slice(1).every(([, patience]) => patience > 25000), 'it waits longer than the server holds a request');
  assert.deepEqual(world.posted, [{ kind: 'held', held: true }, { kind: 'held', held: false }]);
  assert.equal(world.host.speed(), 1);
  assert.equal(world.host.isStopped(), false);
  assert.equal(world.asked.length, 4);
  assert.equal(world.later(), false);
  assert.equal(world.asked.length, 5);
});

test('Stop, and removal, end the wait of a paused program', () => {
  for (const end of [{ text: '2' }, { status: 401, text: '{"error":"token"}' }]) {
    const world = hostWith([AGAIN, { ...end, took: 3000 }]);
    assert.equal(world.later(), true);
    assert.deepEqual(world.posted, [{ kind: 'held', held: true }]); // the end of the run tells the rest
  }
});

test('output comes before the wait', () => {
  const world = hostWith([AGAIN, { text: '0', took: 3000 }]);
  world.host.out('half a line', false);
  world.later();
  assert.deepEqual(world.posted.map((message) => message.kind), ['out', 'held', 'held']);
});

test('a paused program waits through a network that fails, but not for ever', () => {
  const world = hostWith([AGAIN, { ...GONE, took: 1000 }, { ...GONE, took: 30000 }, { text: '0', took: 20000 }]);
  assert.equal(world.later(), false);
  assert.equal(world.asked.length, 4);
  const away = hostWith([AGAIN, { ...GONE, took: 30000 }, { ...GONE, took: 30000 }]);
  assert.equal(away.later(), false);
  assert.equal(away.asked.length, 3);
  assert.deepEqual(away.posted.at(-1), { kind: 'held', held: false });
});

test('a program that runs waits for no network', () => {
  const world = hostWith([{ ...GONE, took: 4000 }, { text: '0' }]);
  assert.equal(world.later(), false);
  assert.ok(world.asked[0][1] <= 4000);
  assert.equal(world.later(), false);
  assert.deepEqual(world.posted, []);
});

test('commands that a pause holds are sent again, with the same number', () => {
  const world = hostWith([{ ...AGAIN, took: 25000 }, AGAIN, { text: '0', took: 3000 }, { text: 'OK @ 1 0\n' }]);
  assert.equal(world.host.lines('f 10\n'), 'OK @ 1 0\n');
  assert.deepEqual(world.asked.map(([path]) => path), ['/api/run/lines?run=7&n=1', '/api/run/stop?run=7&wait=0', '/api/run/stop?run=7', '/api/run/lines?run=7&n=1']);
});
