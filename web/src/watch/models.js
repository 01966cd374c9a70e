// Models of turtles, beams, walls. THREE is a global that exists only once the page has loaded, so nothing uses it
// before a function is called. Field units, z up, a turtle looks along +x.

const THREE = () => globalThis.THREE;

// The team colours of the field's own window.
export const TEAM_COLORS = [0x33ff1a, 0xb34dff, 0x80e6e6, 0x1a1aff, 0xcce600];

/** One solid of a model, at (x, y, z) of it. */
export function mesh(geometry, color, x, y, z, extra = {}) {
  const T = THREE();
  const made = new T.Mesh(geometry, new T.MeshStandardMaterial({ color, roughness: 0.7, ...extra }));
  made.position.set(x, y, z);
  return made;
}

/** A turtle: `body` is turned and moved as a whole, `legs` swing, `skin` shows team and flashes. */
export function makeTurtle() {
  const T = THREE();
  const body = new T.Group();
  const ball = new T.SphereGeometry(1, 20, 14);
  // Few flat faces look like the plates of a shell.
  const shell = mesh(new T.SphereGeometry(1, 9, 5, 0, Math.PI * 2, 0, Math.PI / 2), 0x33ff1a, 0, 0, 2.5,
    { flatShading: true, roughness: 0.6 });
  shell.rotation.x = Math.PI / 2; // the half sphere's top looks up
  shell.scale.set(9, 6.5, 7.5);
  const belly = mesh(ball, 0xd8c48a, 0, 0, 2.6);
  belly.scale.set(9, 7.5, 1.6);
  const rim = mesh(new T.TorusGeometry(1, 0.12, 8, 32), 0x5a4a2a, 0, 0, 2.7);
  rim.scale.set(8.8, 7.4, 6);
  body.add(shell, belly, rim);
  const skinColor = 0x8fc46a;
  const head = mesh(ball, skinColor, 11, 0, 5);
  head.scale.set(3.4, 2.8, 2.8);
  body.add(head);
  for (const side of [-1, 1]) {
    const eye = mesh(ball, 0x101010, 13.3, side * 1.6, 6.2);
    eye.scale.setScalar(0.7);
    body.add(eye);
  }
  const tail = mesh(new T.ConeGeometry(1.2, 5, 10), skinColor, -10.5, 0, 2.5);
  tail.rotation.z = Math.PI / 2;
  body.add(tail);
  const legs = [];
  for (const [x, y] of [[5.5, 5.5], [5.5, -5.5], [-5.5, 5.5], [-5.5, -5.5]]) {
    const hip = new T.Group();
    hip.position.set(x, y, 2.5);
    const leg = mesh(ball, skinColor, 0, Math.sign(y) * 2, -0.6);
    leg.scale.set(2, 3, 1.6);
    hip.add(leg);
    body.add(hip);
    legs.push(hip);
  }
  return { body, legs, shell };
}

/** A ball of light: a beam in flight, or an explosion. A beam has a halo, so that it is visible from afar. */
export function makeGlow(color, halo = false) {
  const T = THREE();
  const ball = (opacity) => new T.Mesh(new T.SphereGeometry(1, 18, 12),
    new T.MeshBasicMaterial({ color, opacity, transparent: true, depthWrite: false }));
  const glow = ball(1);
  glow.visible = false;
  if (halo) {
    const around = ball(0.3);
    around.scale.setScalar(2.2);
    glow.add(around);
  }
  return glow;
}

const WALL_HEIGHT = 16;
const WALL_WIDTH = 3;
const COURSE = 8; // height of a course of stones, field units

// A texture of two courses of stones of uneven lightness, which repeats seamlessly.
function stoneTexture() {
  const T = THREE();
  const canvas = document.createElement('canvas');
  canvas.width = 256;
  canvas.height = 128;
  const pen = canvas.getContext('2d');
  pen.fillStyle = '#4f4a43';
  pen.fillRect(0, 0, 256, 128);
  const shades = [0, 14, -12, 8, -6, 18, -16, 4];
  for (let i = 0; i < 8; ++i) {
    const lower = i >= 4;
    const shade = shades[i];
    pen.fillStyle = `rgb(${158 + shade}, ${150 + shade}, ${139 + shade})`;
    const x = (i % 4) * 64 + (lower ? 32 : 0);
    for (const from of [x, x - 256]) pen.fillRect(from + 2, lower ? 66 : 2, 60, 60); // the last one goes on at the left
  }
  const texture = new T.CanvasTexture(canvas);
  texture.colorSpace = T.SRGBColorSpace;
  texture.wrapS = texture.wrapT = T.RepeatWrapping;
  texture.anisotropy = 4;
  return texture;
}

/** All walls as one mesh: a box along each wall, with stones of one size whatever its length. */
export function makeWalls(list) {
  const T = THREE();
  const position = [];
  const normal = [];
  const uv = [];
  const index = [];
  const place = new T.Object3D();
  for (const wall of list) {
    const length = Math.hypot(wall.x2 - wall.x1, wall.y2 - wall.y1) + WALL_WIDTH;
    const box = new T.BoxGeometry(length, WALL_WIDTH, WALL_HEIGHT);
    // Faces stand in the order +x -x +y -y +z -z with four corners each.
    const sides = [[WALL_HEIGHT, WALL_WIDTH], [length, WALL_HEIGHT], [length, WALL_WIDTH]];
    const first = position.length / 3;
    for (let corner = 0; corner < 24; ++corner) {
      const [across, up] = sides[corner >> 3];
      uv.push((box.attributes.uv.getX(corner) * across) / (4 * COURSE), (box.attributes.uv.getY(corner) * up) / (2 * COURSE));
    }
    place.position.set((wall.x1 + wall.x2) / 2, (wall.y1 + wall.y2) / 2, WALL_HEIGHT / 2);
    place.rotation.z = Math.atan2(wall.y2 - wall.y1, wall.x2 - wall.x1);
    place.updateMatrix();
    box.applyMatrix4(place.matrix);
    position.push(...box.attributes.position.array);
    normal.push(...box.attributes.normal.array);
    for (const corner of box.index.array) index.push(first + corner);
    box.dispose();
  }
  const geometry = new T.BufferGeometry();
  geometry.setAttribute('position', new T.Float32BufferAttribute(position, 3));
  geometry.setAttribute('normal', new T.Float32BufferAttribute(normal, 3));
  geometry.setAttribute('uv', new T.Float32BufferAttribute(uv, 2));
  geometry.setIndex(index);
  const walls = new T.Mesh(geometry, new T.MeshStandardMaterial({ map: stoneTexture(), roughness: 1 }));
  walls.frustumCulled = false;
  return walls;
}

/** Many copies of one shape, as many as `count`. */
export function makeMany(geometry, color, count, extra = {}) {
  const T = THREE();
  const material = new T.MeshStandardMaterial({ color, roughness: 0.8, ...extra });
  return new T.InstancedMesh(geometry, material, Math.max(count, 1));
}

/** A label that always faces the viewer, of one size near and far; setLabel gives it its text, sizeLabel its size. */
export function makeLabel() {
  const T = THREE();
  const canvas = document.createElement('canvas');
  canvas.width = 512;
  canvas.height = 96;
  const texture = new T.CanvasTexture(canvas);
  texture.colorSpace = T.SRGBColorSpace;
  const label = new T.Sprite(new T.SpriteMaterial({ map: texture, transparent: true, depthTest: false,
    sizeAttenuation: false }));
  label.center.set(0.5, -0.2);
  label.userData = { canvas, text: null, share: 0 }; // share of the label's width that its text takes
  return label;
}

/** @param height  pixels, in a picture of `room` with a vertical angle of `degrees` */
export function sizeLabel(label, height, room, degrees) {
  const { canvas } = label.userData;
  const size = (height / room.height) * 2 * Math.tan((degrees * Math.PI) / 360);
  label.scale.set((size * canvas.width) / canvas.height, size, 1);
}

/** Moves a label aside where it would cross the window's edge or the score panel. */
export function keepInside(label, eye, room) {
  const wide = label.scale.x / (Math.tan((eye.fov * Math.PI) / 360) * eye.aspect); // the window is 2 wide
  const half = (label.userData.share * wide) / 2;
  const { x } = label.position.clone().project(eye);
  const most = 1 - (2 * room.right) / room.width - half;
  label.center.x = 0.5 - (Math.max(Math.min(x, most), half - 1) - x) / wide;
}

/** Redraws the text when it has changed. Text on a canvas is never parsed as HTML. */
export function setLabel(label, text) {
  const { canvas } = label.userData;
  if (label.userData.text === text) return;
  label.userData.text = text;
  const pen = canvas.getContext('2d');
  pen.clearRect(0, 0, canvas.width, canvas.height);
  pen.font = 'bold 56px sans-serif';
  pen.textAlign = 'center';
  pen.textBaseline = 'middle';
  pen.lineWidth = 10;
  pen.lineJoin = 'round';
  pen.strokeStyle = '#00182c';
  pen.fillStyle = '#ffffff';
  label.userData.share = Math.min(1, (pen.measureText(text).width + 20) / canvas.width);
  pen.strokeText(text, canvas.width / 2, canvas.height / 2, canvas.width - 20);
  pen.fillText(text, canvas.width / 2, canvas.height / 2, canvas.width - 20);
  label.material.map.needsUpdate = true;
}

/** Frees the graphics resources of an object and everything below it. */
export function dispose(object) {
  object.traverse((part) => {
    if (part.geometry) part.geometry.dispose();
    if (part.material) {
      if (part.material.map) part.material.map.dispose();
      part.material.dispose();
    }
  });
}
