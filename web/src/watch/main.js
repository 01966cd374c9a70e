// The page's entry: webGLStart, called when the page has loaded. Sets up the picture, the score boxes and the polling
// loops; nothing before it uses THREE, whose script comes after this one.
import { cameraPath, parseCamera, parseCoins, parseTurtles, parseWalls } from './protocol.js';
import { followPainting } from './painting.js';
import { LOST_AFTER, poll } from './polling.js';
import { makeScene } from './scene.js';
import { BOXES, fillBoxes } from './scores.js';
import { drag, newOrbit, wheel } from './view.js';

const TURTLES_EVERY = 60; // ms
const CAMERA_EVERY = 60;
const COINS_EVERY = 500;
const WALLS_EVERY = 3000;

// The field writes its painting beside the scripts, where the script server finds it.
const PAINTING = new URL('../canvas/', document.currentScript?.src || location.href).href;

const STYLE = `
html, body { height: 100%; overflow: hidden; color: #fff; font: clamp(14px, 2.6vmin, 44px)/1.3 sans-serif; }
canvas { position: fixed; left: 0; top: 0; touch-action: none; }
#panel { position: fixed; right: 0; top: 0; max-height: 100%; overflow: auto; width: min(18rem, 42vw); padding: .4rem;
  box-sizing: border-box; font-size: clamp(.5rem, calc(100vh / (2.3 * var(--rows, 1) + 4)), 1rem); }
#panel > div { display: flex; align-items: center; gap: .5em; margin: .15em 0; padding: .15em .5em;
  background: rgba(0, 24, 44, .75); border-radius: .4em; }
#panel > div[hidden] { display: none; }
#panel img { width: 1.8em; height: 1.8em; flex: none; }
#panel span { flex: 1; overflow: hidden; text-overflow: ellipsis; white-space: nowrap; }
#panel b { font-size: 1.2em; }
#panel i { color: #ffd24a; font-style: normal; white-space: nowrap; }
#result { font-weight: bold; font-size: 1.1em; overflow-wrap: anywhere; }
#lost { position: fixed; left: 0; right: 0; top: 38%; padding: .6em; text-align: center; font-size: 1.6em;
  background: #8a1c1c; }
#lost[hidden] { display: none; }
@media (orientation: portrait) {
  #panel { top: auto; bottom: 0; left: 0; width: 100%; max-height: 38%; font-size: 1rem; }
}
`;

function byId(id) {
  return document.getElementById(id) || Object.assign(document.createElement('div'), { id });
}

// Moves the page's boxes into one panel. The result box is inside the last score box and is taken out first.
function gatherBoxes() {
  const panel = Object.assign(document.createElement('div'), { id: 'panel' });
  const result = byId('result');
  const boxes = [];
  for (let i = 0; i < BOXES; ++i) boxes.push(byId(`score${i}`));
  result.remove();
  for (const box of boxes) {
    box.replaceChildren();
    box.hidden = true; // until there is a turtle for it
  }
  panel.append(result, ...boxes);
  const lost = Object.assign(document.createElement('div'), { id: 'lost', hidden: true });
  lost.textContent = 'The field does not answer. Trying again…';
  document.body.append(panel, lost);
  return { panel, boxes, result, lost };
}

function letMove(canvas, orbit) {
  canvas.addEventListener('pointerdown', (event) => canvas.setPointerCapture(event.pointerId));
  canvas.addEventListener('pointermove', (event) => {
    if (canvas.hasPointerCapture(event.pointerId)) drag(orbit, event.movementX, event.movementY);
  });
  canvas.addEventListener('wheel', (event) => {
    wheel(orbit, event.deltaY);
    event.preventDefault();
  }, { passive: false });
}

function webGLStart() {
  const style = document.createElement('style');
  style.textContent = STYLE;
  document.head.append(style);
  const { panel, boxes, result, lost } = gatherBoxes();
  const orbit = newOrbit();
  const scene = makeScene(document, orbit, () => panel.offsetWidth);
  document.body.prepend(scene.canvas);
  letMove(scene.canvas, orbit);

  const world = {
    fetch: (...request) => fetch(...request),
    setTimeout: (...request) => setTimeout(...request),
    clearTimeout: (timer) => clearTimeout(timer),
    hidden: () => document.hidden,
  };
  let heard = performance.now();
  const listen = (path, every, parse, use) => {
    let before = null;
    poll(world, path, every, (text) => {
      const found = parse(text);
      if (!found) return false;
      heard = performance.now();
      use(found, text !== before);
      before = text;
      return true;
    });
  };
  listen('/turtle', TURTLES_EVERY, parseTurtles, (turtles) => {
    scene.setTurtles(turtles, performance.now());
    panel.style.setProperty('--rows', fillBoxes(document, boxes, result, turtles));
  });
  listen(cameraPath(location.pathname), CAMERA_EVERY, parseCamera,
    (camera) => scene.setCamera(camera, performance.now()));
  listen('/coin', COINS_EVERY, parseCoins, (coins, changed) => { if (changed) scene.setCoins(coins); });
  listen('/wall', WALLS_EVERY, parseWalls, (walls, changed) => { if (changed) scene.setWalls(walls); });

  followPainting(world, PAINTING, scene);

  const frame = () => {
    const now = performance.now();
    lost.hidden = document.hidden || now - heard < LOST_AFTER;
    scene.draw(now);
    requestAnimationFrame(frame);
  };
  requestAnimationFrame(frame);
  globalThis.kelmora = { scene, orbit }; // for tests and the curious
}

globalThis.webGLStart = webGLStart;
