import assert from 'node:assert/strict';
import test from 'node:test';
import { JUMP, addSample, mixHeading, newTrack, placeAt } from '../../web/src/watch/motion.js';

const at = (x, more = {}) => ({ x, y: 0, head: 0, bx: 0, by: 0, firing: false, alive: true, type: 1, ...more });
const near = (a, b) => assert.ok(Math.abs(a - b) < 1e-9, `${a} is not ${b}`);

test('half way between two samples lies half way between their places', () => {
  const track = newTrack();
  addSample(track, 100, at(0));
  addSample(track, 200, at(10, { head: 90 }));
  near(placeAt(track, 150).x, 5);
  near(placeAt(track, 150).head, 45);
  near(placeAt(track, 50).x, 0);
  near(placeAt(track, 900).x, 10); // nothing newer: it stays where it was seen last
});

test('track without samples has no place', () => {
  assert.equal(placeAt(newTrack(), 0), null);
});

test('jump is not drawn as a walk', () => {
  const track = newTrack();
  addSample(track, 0, at(0));
  addSample(track, 100, at(JUMP + 1));
  near(placeAt(track, 10).x, JUMP + 1);
});

test('slot given to another kind starts afresh', () => {
  const track = newTrack();
  addSample(track, 0, at(0));
  addSample(track, 100, at(10, { type: 2 }));
  near(placeAt(track, 50).x, 10);
  assert.equal(track.samples.length, 1);
});

test('old samples are forgotten', () => {
  const track = newTrack();
  for (let i = 0; i < 1000; ++i) addSample(track, i, at(i % 5));
  assert.ok(track.samples.length < 20);
});

test('heading turns the short way', () => {
  near(mixHeading(350, 10, 0.5), 360);
  near(mixHeading(10, -10, 0.5), 0);
  near(mixHeading(0, 720, 0.5), 0);
  near(mixHeading(0, -90, 1), -90);
});

test('new beam does not fly from the old one', () => {
  const track = newTrack();
  addSample(track, 0, at(0, { bx: 200 }));
  addSample(track, 100, at(0, { bx: 10, firing: true }));
  near(placeAt(track, 50).bx, 10);
  addSample(track, 200, at(0, { bx: 20, firing: true }));
  near(placeAt(track, 150).bx, 15);
});
