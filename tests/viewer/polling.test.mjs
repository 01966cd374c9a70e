import assert from 'node:assert/strict';
import test from 'node:test';
import { PATIENCE, SLOW, ask, pauseAfter, poll } from '../../web/src/watch/polling.js';

// A fake clock and fetch, advanced by the test.
function makeWorld(answer) {
  const timers = [];
  return {
    asked: 0,
    timers,
    isHidden: false,
    hidden() { return this.isHidden; },
    setTimeout(run, pause) { const timer = { run, pause }; timers.push(timer); return timer; },
    clearTimeout(timer) { const i = timers.indexOf(timer); if (i >= 0) timers.splice(i, 1); },
    fetch(path, options) { this.asked++; return answer(path, options); },
  };
}

const good = (text) => Promise.resolve({ ok: true, text: () => Promise.resolve(text) });

// Lets all pending promises settle.
async function settle() {
  for (let i = 0; i < 20; ++i) await Promise.resolve();
}

test('pause grows with failures up to a second and for a hidden tab', () => {
  assert.equal(pauseAfter(60, 0, false), 60);
  assert.equal(pauseAfter(60, 1, false), 120);
  assert.equal(pauseAfter(60, 100, false), SLOW);
  assert.equal(pauseAfter(60, 0, true), SLOW);
  assert.equal(pauseAfter(3000, 5, false), 3000);
});

test('good answer is passed on, anything else is null', async () => {
  assert.equal(await ask(makeWorld(() => good('x')), '/turtle'), 'x');
  assert.equal(await ask(makeWorld(() => Promise.resolve({ ok: false })), '/turtle'), null);
  assert.equal(await ask(makeWorld(() => Promise.reject(new Error('gone'))), '/turtle'), null);
  assert.equal(await ask(makeWorld(() => Promise.resolve({ ok: true, text: () => Promise.reject(new Error('cut')) })), '/'), null);
});

test('request without an answer is given up', async () => {
  const world = makeWorld((path, { signal }) => new Promise((resolve, reject) => {
    signal.addEventListener('abort', () => reject(new Error('aborted')));
  }));
  const asking = ask(world, '/turtle');
  assert.equal(world.timers[0].pause, PATIENCE);
  world.timers[0].run();
  assert.equal(await asking, null);
});

test('next request waits for the answer, backs off after nonsense and recovers', async () => {
  let text = 'nonsense';
  const world = makeWorld(() => good(text));
  const heard = [];
  poll(world, '/turtle', 60, (answer) => { heard.push(answer); return answer === 'fine'; });
  const pauses = [];
  for (const next of ['nonsense', 'fine', 'fine']) {
    await settle();
    assert.equal(world.timers.length, 1, 'one question at a time');
    pauses.push(world.timers[0].pause);
    text = next;
    world.timers.shift().run();
  }
  await settle();
  pauses.push(world.timers[0].pause);
  assert.deepEqual(pauses, [120, 240, 60, 60]);
  assert.deepEqual(heard, ['nonsense', 'nonsense', 'fine', 'fine']);
});

test('stopped loop sends no more requests', async () => {
  const world = makeWorld(() => good('x'));
  const stop = poll(world, '/turtle', 60, () => true);
  stop();
  await settle();
  assert.equal(world.asked, 1);
  assert.equal(world.timers.length, 0);
});
