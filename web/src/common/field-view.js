// One field of the class in three dimensions, inside any element: followed while it is visible, with one turtle marked.
import { cameraPath, parseCamera, parseCoins, parseTurtles, parseWalls } from '../watch/protocol.js';
import { followPainting } from '../watch/painting.js';
import { LOST_AFTER, poll } from '../watch/polling.js';
import { makeScene } from '../watch/scene.js';
import { drag, newOrbit, wheel } from '../watch/view.js';
import { el } from './dom.js';
import { makeFlatScene } from './flat-view.js';
import { t } from './texts.js';

const KEY_STEP = 24; // pixels of a drag equal to one arrow key
const KEYS = { ArrowLeft: [-KEY_STEP, 0], ArrowRight: [KEY_STEP, 0], ArrowUp: [0, -KEY_STEP], ArrowDown: [0, KEY_STEP] };

function letMove(canvas, orbit, changed) {
  let fingers = new Map();
  let apart = 0;
  const spread = () => {
    const [a, b] = [...fingers.values()];
    return Math.hypot(a.x - b.x, a.y - b.y);
  };
  canvas.addEventListener('pointerdown', (event) => {
    canvas.setPointerCapture(event.pointerId);
    fingers.set(event.pointerId, { x: event.clientX, y: event.clientY });
    if (fingers.size === 2) apart = spread();
  });
  canvas.addEventListener('pointermove', (event) => {
    const before = fingers.get(event.pointerId);
    if (!before) return;
    fingers.set(event.pointerId, { x: event.clientX, y: event.clientY });
    if (fingers.size === 1) drag(orbit, event.clientX - before.x, event.clientY - before.y);
    else if (fingers.size === 2) {
      wheel(orbit, (apart - spread()) * 4);
      apart = spread();
    }
    changed();
  });
  for (const type of ['pointerup', 'pointercancel']) canvas.addEventListener(type, (event) => fingers.delete(event.pointerId));
  canvas.addEventListener('wheel', (event) => {
    wheel(orbit, event.deltaY);
    event.preventDefault();
    changed();
  }, { passive: false });
  canvas.addEventListener('keydown', (event) => {
    if (KEYS[event.key]) drag(orbit, ...KEYS[event.key]);
    else if (event.key === '+') wheel(orbit, -120);
    else if (event.key === '-') wheel(orbit, 120);
    else return;
    event.preventDefault();
    changed();
  });
}

/** False when three dimensions are missing or drawn in software. */
export function drawsSolids() {
  try {
    const gl = document.createElement('canvas').getContext('webgl2');
    const told = gl?.getExtension('WEBGL_debug_renderer_info');
    const name = gl ? gl.getParameter(told ? told.UNMASKED_RENDERER_WEBGL : gl.RENDERER) : 'software';
    gl?.getExtension('WEBGL_lose_context')?.loseContext();
    return !/software|swiftshader|llvmpipe|softpipe|basic render/i.test(name);
  } catch {
    return false;
  }
}

/**
 * @param options  {field: number of the field, turtle: whose eyes to look through or '', every: ms between questions,
 *                  onTurtles(turtles), flat: true or false, else what the machine draws well}
 * @returns {element, setOwn(name), setField(number), ready: promise, end()}
 */
export function makeFieldView({ field = 0, turtle = '', every = 80, flat = undefined, onTurtles = () => {} } = {}) {
  const lost = el('p', { class: 'field-lost', hidden: true, text: t('field.lost') });
  const element = el('div', { class: 'field field-view' }, el('div', { role: 'status' }, lost));
  const orbit = newOrbit();
  let scene = null;
  let own = null;
  let ends = [];
  let number = field;
  let heard = performance.now();
  let moved = true;
  let over = false;
  const world = {
    fetch: (...request) => fetch(...request),
    setTimeout: (...request) => setTimeout(...request),
    clearTimeout: (timer) => clearTimeout(timer),
    hidden: () => document.hidden || element.offsetParent === null,
  };

  function follow() {
    ends.forEach((end) => end());
    const base = `/field/${number}`;
    const listen = (path, pause, parse, use) => {
      let before = null;
      ends.push(poll(world, base + path, pause, (text) => {
        const found = parse(text);
        if (!found) return false;
        heard = performance.now();
        use(found, text !== before);
        before = text;
        return true;
      }));
    };
    ends = [];
    listen('/turtle', every, parseTurtles, (turtles, changed) => {
      scene.setTurtles(turtles, performance.now());
      if (changed) moved = true;
      onTurtles(turtles);
    });
    if (turtle) listen(cameraPath(`/${turtle}`), every, parseCamera, (camera) => { scene.setCamera(camera, performance.now()); moved = true; });
    listen('/coin', 700, parseCoins, (coins, changed) => { if (changed) scene.setCoins(coins); });
    listen('/wall', 3000, parseWalls, (walls, changed) => { if (changed) scene.setWalls(walls); });
    ends.push(followPainting(world, `${base}/`, scene));
  }

  const size = () => [element.clientWidth || 1, element.clientHeight || 1];
  async function makePicture() {
    // A turtle's eyes see in three dimensions only, however slowly.
    if (flat ?? (!turtle && !drawsSolids())) return makeFlatScene(size);
    globalThis.THREE ||= await import('three');
    return makeScene(document, orbit, () => 0, { plain: true, size });
  }
  const ready = makePicture().then((made) => {
    if (over) return;
    scene = made;
    scene.setOwn(own);
    scene.canvas.setAttribute('role', 'img');
    scene.canvas.setAttribute('aria-label', t(scene.flat ? 'field.flat' : 'field.picture'));
    element.prepend(scene.canvas);
    if (!scene.flat) {
      scene.canvas.tabIndex = 0;
      letMove(scene.canvas, orbit, () => { moved = true; });
    }
    follow();
    new ResizeObserver(() => { moved = true; }).observe(element);
    let drawUntil = 0;
    let drawn = 0;
    const frame = (now) => {
      if (over) return;
      requestAnimationFrame(frame);
      if (element.offsetParent === null || now - drawn < 30) return;
      lost.hidden = performance.now() - heard < 2 * LOST_AFTER;
      // Turtles keep gliding briefly after an update; then nothing is drawn until something changes.
      if (scene.takeChanged() || moved) drawUntil = now + 700;
      moved = false;
      if (now > drawUntil) return;
      drawn = now;
      scene.draw(performance.now());
    };
    requestAnimationFrame(frame);
  }).catch((error) => {
    console.warn('The field cannot be shown:', error);
    lost.textContent = t('field.nogl');
    lost.hidden = false;
  });

  return {
    element,
    ready,
    setOwn(name) {
      if (name === own) return;
      own = name;
      scene?.setOwn(name);
    },
    setField(next) {
      if (next === number) return;
      number = next;
      if (scene) follow();
    },
    field: () => number,
    end() {
      over = true;
      ends.forEach((end) => end());
      element.remove();
    },
    get scene() {
      return scene;
    },
  };
}
