// Where the picture is taken from. Pure. Field coordinates throughout, z up.

export const FIELD_OF_VIEW = 60; // degrees, vertical: from 450 above the centre the whole field fits
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

/** Eye, target and up vector for a camera, an orbit and the shape (width / height) of the picture. */
export function pose(camera, orbit, aspect) {
  const target = [camera.x1, camera.y1, camera.z1];
  if (!isOverview(camera)) return { eye: [camera.x0, camera.y0, camera.z0], target, up: [0, 0, 1] };
  // A picture taller than wide needs more distance to hold the field's width.
  const distance = Math.abs(camera.z0 - camera.z1) * orbit.zoom * Math.max(1, 1 / aspect);
  const aside = Math.sin(orbit.tilt) * distance;
  const sin = Math.sin(orbit.turn);
  const cos = Math.cos(orbit.turn);
  return {
    eye: [target[0] + aside * sin, target[1] - aside * cos, target[2] + Math.cos(orbit.tilt) * distance],
    target,
    up: [-sin * Math.cos(orbit.tilt), cos * Math.cos(orbit.tilt), Math.sin(orbit.tilt)],
  };
}
