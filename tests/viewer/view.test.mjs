import assert from 'node:assert/strict';
import test from 'node:test';
import { drag, fieldOfView, isOverview, newOrbit, pose, roomIn, wheel } from '../../web/src/watch/view.js';

const near = (a, b) => assert.ok(Math.abs(a - b) < 1e-9 * Math.max(1, Math.abs(b)), `${a} is not ${b}`);

const OVERVIEW = { x0: 0, y0: 0, z0: 450, x1: 0, y1: 0, z1: 0 };
const WIDE = roomIn(1280, 720, 300);
const TALL = roomIn(400, 800, 300);
const TAN_30 = Math.tan(Math.PI / 6); // half of the overview's angle

test('overview looks straight down with +y upwards', () => {
  const view = pose(OVERVIEW, newOrbit(), WIDE);
  view.eye.forEach((v, i) => near(v, [0, 0, 272 / TAN_30][i])); // half of what is shown fills half the height
  near(view.up[1], 1);
  assert.ok(isOverview(OVERVIEW));
});

test('score panel takes a column of a wide window and the foot of a tall one', () => {
  assert.deepEqual(WIDE, { width: 1280, height: 720, right: 300, foot: 0 });
  assert.deepEqual(TALL, { width: 400, height: 800, right: 0, foot: 304 });
  assert.equal(roomIn(500, 400, 300).right, 250); // never more than half
});

test('tall picture is taken from farther away', () => {
  // Half of what is shown fills half the width: 400 of 800 pixels, so half the tangent of 30 degrees.
  near(pose(OVERVIEW, newOrbit(), TALL).eye[2], 272 / (TAN_30 / 2));
  near(pose({ ...OVERVIEW, z0: 2000 }, newOrbit(), TALL).eye[2], 2000); // never nearer than the field's camera
});

// A place of the field as seen in the room: -1 to 1 from left to right and from bottom to top.
function inRoom(view, place, room) {
  const minus = (a, b) => a.map((v, i) => v - b[i]);
  const dot = (a, b) => a.reduce((sum, v, i) => sum + v * b[i], 0);
  const cross = (a, b) => [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]];
  const unit = (a) => a.map((v) => v / Math.hypot(...a));
  const ahead = unit(minus(view.target, view.eye));
  const to = minus(place, view.eye);
  const pixels = room.height / 2 / TAN_30 / dot(to, ahead); // of one unit aside
  return [(dot(to, unit(cross(ahead, view.up))) * pixels * 2) / (room.width - room.right),
    (dot(to, view.up) * pixels * 2) / (room.height - room.foot)];
}

// The corners of what is shown, and of the walls' tops.
const CORNERS = [[1, 1], [1, -1], [-1, 1], [-1, -1]].flatMap(([x, y]) => [[272 * x, 272 * y, 0], [258 * x, 258 * y, 16]]);

test('whole field fits beside the score panel however the overview is turned', () => {
  for (const room of [WIDE, TALL, roomIn(1000, 700, 340), roomIn(844, 390, 260)]) {
    for (let turn = 0; turn < 360; turn += 30) {
      for (const up of [0, 60, 150, 400]) {
        const orbit = newOrbit();
        drag(orbit, turn, -up);
        const view = pose(OVERVIEW, orbit, room);
        const seen = CORNERS.map((corner) => inRoom(view, corner, room));
        for (const at of seen.flat()) assert.ok(Math.abs(at) < 1 + 1e-9, `${seen} for ${turn} ${up}`);
      }
    }
  }
});

test('tilted field stands in the middle of its room and fills it one way', () => {
  for (const room of [WIDE, TALL, roomIn(700, 699, 0)]) {
    for (const [turn, up] of [[0, 60], [0, 150], [60, 150], [200, 230]]) {
      const orbit = newOrbit();
      drag(orbit, turn, -up);
      const view = pose({ ...OVERVIEW, z0: 1 }, orbit, room); // as near as the whole field fits
      const seen = CORNERS.map((corner) => inRoom(view, corner, room));
      const [left, foot] = [0, 1].map((axis) => Math.min(...seen.map((at) => at[axis])));
      const [right, top] = [0, 1].map((axis) => Math.max(...seen.map((at) => at[axis])));
      assert.ok(Math.abs(left + right) < 1e-6 && Math.abs(foot + top) < 1e-6, `${left} ${right} ${foot} ${top}`);
      assert.ok(Math.max(right, top) > 0.999, `${right} ${top}`);
    }
  }
});

test('eyes see 50 degrees from side to side in a narrow window', () => {
  const eyes = { x0: 1, y0: 2, z0: 10, x1: 101, y1: 2, z1: 10 };
  assert.equal(fieldOfView(OVERVIEW, TALL), 60);
  assert.equal(fieldOfView(eyes, WIDE), 60);
  // Twice as tall as wide: the tangent of half the vertical angle is twice that of 25 degrees.
  near(Math.tan((fieldOfView(eyes, TALL) * Math.PI) / 360), 2 * Math.tan((25 * Math.PI) / 180));
  assert.equal(fieldOfView(eyes, roomIn(10, 4000, 300)), 100);
});

test('drag and wheel keep the overview within its limits', () => {
  const orbit = newOrbit();
  drag(orbit, 50, -1e6);
  assert.ok(orbit.tilt < Math.PI / 2);
  const distance = ({ eye, target }) => Math.hypot(...eye.map((v, i) => v - target[i]));
  const before = distance(pose(OVERVIEW, orbit, WIDE));
  wheel(orbit, 1e9);
  const view = pose(OVERVIEW, orbit, WIDE);
  assert.ok(view.eye[2] > 0);
  near(distance(view), before * 2.5);
  near(Math.hypot(...view.up), 1);
  drag(orbit, 0, 1e6);
  assert.equal(orbit.tilt, 0);
  wheel(orbit, -1e9);
  near(orbit.zoom, 0.2);
});

test("turtle's eyes are not moved by a drag", () => {
  const orbit = newOrbit();
  drag(orbit, 100, -100);
  const eyes = { x0: 1, y0: 2, z0: 10, x1: 101, y1: 2, z1: 10 };
  assert.deepEqual(pose(eyes, orbit, WIDE), { eye: [1, 2, 10], target: [101, 2, 10], up: [0, 0, 1] });
});
