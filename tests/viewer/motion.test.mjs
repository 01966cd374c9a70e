import assert from 'node:assert/strict';
import test from 'node:test';
import { JUMP, addSample, mixHeading, newTrack, placeAt } from '../../viewer/src/motion.js';
import { drag, isOverview, newOrbit, pose, wheel } from '../../viewer/src/view.js';

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

const OVERVIEW = { x0: 0, y0: 0, z0: 450, x1: 0, y1: 0, z1: 0 };

test('overview looks straight down with +y upwards', () => {
  const view = pose(OVERVIEW, newOrbit(), 2);
  view.eye.forEach((v, i) => near(v, [0, 0, 450][i]));
  near(view.up[1], 1);
  assert.ok(isOverview(OVERVIEW));
});

test('tall picture is taken from farther away', () => {
  near(pose(OVERVIEW, newOrbit(), 0.5).eye[2], 900);
});

test('drag and wheel keep the overview within its limits', () => {
  const orbit = newOrbit();
  drag(orbit, 50, -1e6);
  wheel(orbit, 1e9);
  assert.ok(orbit.tilt < Math.PI / 2);
  const view = pose(OVERVIEW, orbit, 1);
  assert.ok(view.eye[2] > 0);
  near(Math.hypot(...view.eye), 450 * orbit.zoom);
  near(Math.hypot(...view.up), 1);
  drag(orbit, 0, 1e6);
  assert.equal(orbit.tilt, 0);
  wheel(orbit, -1e9);
  assert.ok(orbit.zoom > 0);
});

test("turtle's eyes are not moved by a drag", () => {
  const orbit = newOrbit();
  drag(orbit, 100, -100);
  const eyes = { x0: 1, y0: 2, z0: 10, x1: 101, y1: 2, z1: 10 };
  assert.deepEqual(pose(eyes, orbit, 1), { eye: [1, 2, 10], target: [101, 2, 10], up: [0, 0, 1] });
});
