// Camera positions. Pure. Field coordinates throughout, z up.

export const FIELD_OF_VIEW = 60; // degrees, vertical
const EYES_ACROSS = 50; // degrees that a turtle sees from side to side at least
const FIELD_OF_VIEW_MOST = 100;
const HALF_SHOWN = 272; // field units: half the field, its wall, and the label of a turtle at its upper edge
const HALF_WALLS = 258; // to the walls' outer faces
const WALL_TOP = 16;
const PANEL_FOOT = 0.38; // share of a tall window's height that belongs to the score panel
const TILT_MOST = 1.45; // radians from straight above
const ZOOM_LEAST = 0.2;
const ZOOM_MOST = 2.5;
const RADIANS_PER_PIXEL = 0.006;

const clamp = (value, least, most) => Math.min(Math.max(value, least), most);

export function newOrbit() {
  return { turn: 0, tilt: 0, zoom: 1 };
}

/** A drag by (dx, dy) pixels turns and tilts the overview; upwards tilts it away from straight above. */
export function drag(orbit, dx, dy) {
  orbit.turn -= dx * RADIANS_PER_PIXEL;
  orbit.tilt = clamp(orbit.tilt - dy * RADIANS_PER_PIXEL, 0, TILT_MOST);
}

/** A wheel step of `delta` pixels brings the overview nearer (negative) or farther. */
export function wheel(orbit, delta) {
  orbit.zoom = clamp(orbit.zoom * Math.exp(delta * 0.001), ZOOM_LEAST, ZOOM_MOST);
}

/** True for the camera straight above its target, which the orbit may move; false for a turtle's eyes. */
export function isOverview(camera) {
  return camera.x0 === camera.x1 && camera.y0 === camera.y1;
}

/**
 * The window and the margins that its score panel takes: a column at the right, or the foot of a window that is taller
 * than wide; pixels. The picture's centre belongs in the middle of what remains.
 */
export function roomIn(width, height, panelWidth) {
  const tall = height >= width;
  return { width, height, right: tall ? 0 : Math.min(panelWidth, width / 2), foot: tall ? height * PANEL_FOOT : 0 };
}

const tangent = (degrees) => Math.tan((degrees * Math.PI) / 360); // of half an angle

/** The picture's vertical angle, degrees. The overview's is fixed; a turtle's view is widened in a narrow room. */
export function fieldOfView(camera, room) {
  if (isOverview(camera)) return FIELD_OF_VIEW;
  const wanted = (Math.atan((tangent(EYES_ACROSS) * room.height) / (room.width - room.right)) * 360) / Math.PI;
  return clamp(wanted, FIELD_OF_VIEW, FIELD_OF_VIEW_MOST);
}

const dot = (a, b) => a[0] * b[0] + a[1] * b[1] + a[2] * b[2];

// The least distance from which all points fit into a picture along one of its axes, and how far the middle has to move
// along that axis for it. A point lies at `at` along the axis and `near` towards the eye; half the picture spans `half`
// at distance 1. So at - shift <= (distance - near) * half, and the same for shift - at: the extremes decide.
function fitAlong(axis, back, points, half) {
  const ahead = Math.max(...points.map((point) => dot(point, axis) + dot(point, back) * half));
  const behind = Math.max(...points.map((point) => -dot(point, axis) + dot(point, back) * half));
  return { distance: (ahead + behind) / (2 * half), shift: (ahead - behind) / 2 };
}

// The shift along an axis that leaves equal room on both sides when seen from `distance`, at least the least one.
function shiftAlong(axis, back, points, distance) {
  let [least, most] = [1e-3, 1e3]; // of half a picture that the points just fill: the smaller, the farther away
  for (let i = 0; i < 40; ++i) {
    const half = Math.sqrt(least * most);
    if (fitAlong(axis, back, points, half).distance > distance) least = half;
    else most = half;
  }
  return fitAlong(axis, back, points, least).shift;
}

/**
 * Eye, target and up vector for a camera, an orbit and a room. At zoom 1 the overview holds the whole field, in the middle
 * of the room however it is tilted.
 */
export function pose(camera, orbit, room) {
  const target = [camera.x1, camera.y1, camera.z1];
  if (!isOverview(camera)) return { eye: [camera.x0, camera.y0, camera.z0], target, up: [0, 0, 1] };
  const [sin, cos] = [Math.sin(orbit.turn), Math.cos(orbit.turn)];
  const [sinTilt, cosTilt] = [Math.sin(orbit.tilt), Math.cos(orbit.tilt)];
  const back = [sinTilt * sin, -sinTilt * cos, cosTilt];
  const up = [-sin * cosTilt, cos * cosTilt, sinTilt];
  const right = [cos, sin, 0];
  const corners = [[1, 1], [1, -1], [-1, 1], [-1, -1]].flatMap(([x, y]) => [
    [x * HALF_SHOWN - target[0], y * HALF_SHOWN - target[1], -target[2]],
    [x * HALF_WALLS - target[0], y * HALF_WALLS - target[1], WALL_TOP - target[2]],
  ]);
  const perPixel = tangent(FIELD_OF_VIEW) / room.height;
  const across = fitAlong(right, back, corners, perPixel * (room.width - room.right)).distance;
  const along = fitAlong(up, back, corners, perPixel * (room.height - room.foot)).distance;
  const distance = Math.max(Math.abs(camera.z0 - camera.z1), across, along);
  const sideways = shiftAlong(right, back, corners, distance);
  const upwards = shiftAlong(up, back, corners, distance);
  const middle = target.map((at, i) => at + right[i] * sideways + up[i] * upwards);
  return { eye: middle.map((at, i) => at + back[i] * distance * orbit.zoom), target: middle, up };
}
