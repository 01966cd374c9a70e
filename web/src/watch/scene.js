// Turns the field's last answers into a scene and draws it at the screen's rate. THREE is used only after the page has
// loaded. Field coordinates are the scene's own, z up.
import { DELAY, addSample, newTrack, placeAt } from './motion.js';
import { TURTLE_TYPE } from './protocol.js';
import { shortTitle } from './scores.js';
import { makeCards, makePaintedFloor } from './painting.js';
import { FIELD_OF_VIEW, fieldOfView, isOverview, pose, roomIn } from './view.js';
import { TEAM_COLORS, dispose, keepInside, makeGlow, makeLabel, makeMany, makeTurtle, makeWalls, setLabel, sizeLabel }
  from './models.js';
import { objectOfType } from '../common/kinds.js';

const FIELD_SIDE = 512; // field units
const DYING_FRAMES = 50;
const BURST_FRAMES = 25;
const FLASH_TIME = 400; // ms that a hit or a collision shows
const LABEL_SHARE = 0.042; // of the window's shorter side
const LABEL_LEAST = 20; // pixels
const STRIDE = 0.35; // radians of leg swing per field unit walked

/**
 * @param panelWidth  function that tells how many pixels the score panel takes at the right of a wide window
 * @param size        function that tells width and height of the picture in pixels; the window's without it
 * @param plain       true: the whole picture is the field's, there is no panel
 */
export function makeScene(document, orbit, panelWidth, { size = null, plain = false } = {}) {
  const T = globalThis.THREE;
  const renderer = new T.WebGLRenderer({ antialias: true });
  const scene = new T.Scene();
  scene.background = new T.Color(0x002040);
  const eye = new T.PerspectiveCamera(FIELD_OF_VIEW, 1, 1, 4000);
  scene.add(new T.HemisphereLight(0xffffff, 0x405060, 1.6));
  const sun = new T.DirectionalLight(0xfff2dd, 2.2);
  sun.position.set(-200, -150, 400);
  scene.add(sun);
  const floor = new T.Mesh(new T.PlaneGeometry(FIELD_SIDE, FIELD_SIDE),
    new T.MeshStandardMaterial({ color: 0x17384f, roughness: 1 }));
  const lines = new T.GridHelper(FIELD_SIDE, 16, 0x3d6d8c, 0x234c68);
  lines.rotation.x = Math.PI / 2;
  lines.position.z = 0.3;
  const painted = makePaintedFloor();
  scene.add(floor, lines, painted.plane);
  const ring = new T.Mesh(new T.RingGeometry(15, 18, 40), new T.MeshBasicMaterial({ color: 0xffe060 }));
  ring.visible = false;
  const arrow = new T.Mesh(new T.ConeGeometry(5, 11, 20), new T.MeshBasicMaterial({ color: 0xffe060 }));
  arrow.rotation.x = -Math.PI / 2; // its tip looks down
  arrow.visible = false;
  scene.add(ring, arrow);

  const actors = new Map(); // by slot
  let camera = { x0: 0, y0: 0, z0: 450, x1: 0, y1: 0, z1: 0 };
  let looking = newTrack(); // a turtle's view, so that it moves as smoothly as the turtle
  let room = roomIn(1, 1, 0);
  let walls = null;
  let coins = null;
  let wallCount = 0;
  let cards = null;
  let own = null; // name of the turtle to mark
  let changed = true; // something other than turtles must be redrawn

  function makeActor(type) {
    const made = (objectOfType(type)?.make || makeTurtle)();
    const actor = { type, ...made, track: newTrack(), label: null, walked: 0, last: null, flash: -Infinity,
      flashColor: 0, seen: {}, turtle: null, beam: null, burst: null };
    if (type === TURTLE_TYPE) {
      actor.label = makeLabel();
      actor.beam = makeGlow(0xfff27a, true);
      actor.burst = makeGlow(0xff7a1a);
      scene.add(actor.label, actor.beam, actor.burst);
    }
    scene.add(actor.body);
    return actor;
  }

  function removeActor(slot) {
    const actor = actors.get(slot);
    for (const part of [actor.body, actor.label, actor.beam, actor.burst]) {
      if (!part) continue;
      scene.remove(part);
      dispose(part);
    }
    actors.delete(slot);
  }

  // A flash begins when a condition appears, not while it lasts.
  function noteFlashes(actor, turtle, now) {
    for (const [key, color] of [['got_hit', 0xff2020], ['collide', 0xffc040], ['detected', 0x40e0ff],
      ['got_msg', 0xffffff]]) {
      if (turtle[key] && !actor.seen[key]) {
        actor.flash = now;
        actor.flashColor = color;
      }
      actor.seen[key] = turtle[key];
    }
  }

  function setTurtles(turtles, now) {
    for (const slot of [...actors.keys()]) {
      const turtle = turtles[slot];
      if (!turtle || !turtle.alive || turtle.type !== actors.get(slot).type) removeActor(slot);
    }
    for (const turtle of turtles) {
      if (!turtle.alive) continue;
      if (!actors.has(turtle.tid)) actors.set(turtle.tid, makeActor(turtle.type));
      const actor = actors.get(turtle.tid);
      actor.turtle = turtle;
      addSample(actor.track, now, turtle);
      noteFlashes(actor, turtle, now);
      if (actor.label) setLabel(actor.label, `${shortTitle(turtle)}  ${turtle.score}`);
    }
  }

  function replace(old, made) {
    if (old) {
      scene.remove(old);
      dispose(old);
    }
    scene.add(made);
    return made;
  }

  function setWalls(list) {
    wallCount = list.length;
    walls = replace(walls, makeWalls(list));
    changed = true;
  }

  // Coins come oldest first; each lies a little higher than the ones before it.
  function setCoins(list) {
    const disc = new T.CylinderGeometry(6, 6, 1.2, 24);
    disc.rotateX(Math.PI / 2);
    const made = makeMany(disc, 0xf0b429, list.length, { emissive: 0x6a4a00, roughness: 0.4 });
    const place = new T.Object3D();
    list.forEach((coin, i) => {
      place.position.set(coin.x, coin.y, 0.8 + i * 0.02);
      place.updateMatrix();
      made.setMatrixAt(i, place.matrix);
    });
    made.count = list.length;
    made.frustumCulled = false;
    coins = replace(coins, made);
    changed = true;
  }

  function setPainting(image) {
    painted.show(image);
    lines.visible = false; // the painting replaces the floor
    changed = true;
  }

  function setCards(told, sheet) {
    if (cards) {
      scene.remove(cards);
      dispose(cards);
    }
    cards = told.cards.length > 0 ? makeCards(told, sheet) : null;
    if (cards) scene.add(cards);
    changed = true;
  }

  // A ring around the reader's own turtle and an arrow above it.
  function drawOwn(now) {
    let found = null;
    if (own !== null) for (const actor of actors.values()) if (actor.type === TURTLE_TYPE && actor.turtle.name === own) found = actor;
    ring.visible = Boolean(found);
    arrow.visible = Boolean(found);
    if (!found) return;
    ring.position.set(found.body.position.x, found.body.position.y, 0.8);
    arrow.position.set(found.body.position.x, found.body.position.y, 42 + 3 * Math.sin(now / 300));
  }

  function drawActor(actor, now) {
    const { turtle } = actor;
    const at = placeAt(actor.track, now - DELAY);
    if (!at) return;
    actor.body.position.set(at.x, at.y, 0);
    actor.body.rotation.z = (at.head * Math.PI) / 180;
    if (actor.last) actor.walked += Math.hypot(at.x - actor.last.x, at.y - actor.last.y);
    actor.last = at;
    actor.legs.forEach((leg, i) => {
      leg.rotation.z = Math.sin(actor.walked * STRIDE + (i === 0 || i === 3 ? 0 : Math.PI)) * 0.6;
    });
    if (!actor.shell) return;
    actor.shell.material.color.setHex(TEAM_COLORS[turtle.team] || TEAM_COLORS[0]);
    const glow = Math.max(0, 1 - (now - actor.flash) / FLASH_TIME);
    actor.shell.material.emissive.setHex(actor.flashColor);
    actor.shell.material.emissiveIntensity = glow;
    actor.body.scale.setScalar(1 + 0.15 * glow);
    // Dying turtles turn on their backs.
    const gone = turtle.ttl > 0 ? Math.min(1, (DYING_FRAMES - turtle.ttl) / DYING_FRAMES + 0.2) : 0;
    actor.body.rotation.x = gone * Math.PI;
    actor.body.position.z = gone * 9;
    actor.label.position.set(at.x, at.y, 16);
    actor.beam.visible = turtle.firing;
    actor.beam.position.set(at.bx, at.by, 6);
    actor.beam.scale.setScalar(3.5);
    actor.burst.visible = !turtle.firing && turtle.bttf > 0;
    const spread = Math.min(Math.max((BURST_FRAMES - turtle.bttf) / BURST_FRAMES, 0), 1);
    actor.burst.position.set(turtle.bx, turtle.by, 6);
    actor.burst.scale.setScalar(3 + 12 * spread);
    actor.burst.material.opacity = 1 - spread;
  }

  function setCamera(next, now) {
    if (isOverview(next) !== isOverview(camera)) looking = newTrack();
    camera = next;
    const head = (Math.atan2(next.y1 - next.y0, next.x1 - next.x0) * 180) / Math.PI;
    addSample(looking, now, { x: next.x0, y: next.y0, head, bx: 0, by: 0, firing: false, alive: true, type: 0 });
  }

  // The camera at this moment, between the field's last two answers.
  function cameraAt(now) {
    const at = isOverview(camera) ? null : placeAt(looking, now - DELAY);
    if (!at) return camera;
    const angle = (at.head * Math.PI) / 180;
    const sight = Math.hypot(camera.x1 - camera.x0, camera.y1 - camera.y0);
    return { ...camera, x0: at.x, y0: at.y, x1: at.x + sight * Math.cos(angle), y1: at.y + sight * Math.sin(angle) };
  }

  function draw(now) {
    const [width, height] = size ? size() : [document.documentElement.clientWidth || 1, globalThis.innerHeight || 1];
    if (room.width !== width || room.height !== height) {
      renderer.setPixelRatio(Math.min(globalThis.devicePixelRatio || 1, 2));
      renderer.setSize(width, height);
      room = plain ? { width, height, right: 0, foot: 0 } : roomIn(width, height, panelWidth());
      eye.aspect = width / height;
      eye.setViewOffset(width, height, room.right / 2, room.foot / 2, width, height);
    }
    const from = cameraAt(now);
    eye.fov = fieldOfView(from, room);
    eye.updateProjectionMatrix();
    const labelHeight = Math.max(LABEL_LEAST, LABEL_SHARE * Math.min(room.width, room.height));
    for (const actor of actors.values()) {
      drawActor(actor, now);
      // Seen from inside, the own body would hide everything else.
      const inside = !isOverview(from) && Math.hypot(from.x0 - actor.body.position.x, from.y0 - actor.body.position.y) < 8;
      actor.body.visible = !inside;
      if (!actor.label) continue;
      actor.label.visible = !inside;
      sizeLabel(actor.label, labelHeight, room, eye.fov);
    }
    drawOwn(now);
    const view = pose(from, orbit, room);
    eye.position.set(...view.eye);
    eye.up.set(...view.up);
    eye.lookAt(...view.target);
    eye.updateMatrixWorld();
    if (isOverview(from)) for (const actor of actors.values()) if (actor.label) keepInside(actor.label, eye, room);
    renderer.render(scene, eye);
  }

  const counts = () => ({ walls: wallCount, coins: coins ? coins.count : 0, painted: painted.plane.visible,
    cards: cards ? cards.geometry.index.count / 6 : 0 });
  /** Reports once that painting, cards, walls or coins have changed since the last call. */
  const takeChanged = () => {
    const was = changed;
    changed = false;
    return was;
  };
  return { canvas: renderer.domElement, eye, actors, setTurtles, setWalls, setCoins, setCamera, setPainting, setCards,
    setOwn: (name) => { own = name; changed = true; }, takeChanged, draw, counts };
}
