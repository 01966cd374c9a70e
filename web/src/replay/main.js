// The replay page: loads a record, shows any moment of it in three dimensions with the painting, and plays it.
import { chooseLanguage, language, t } from '../common/texts.js';
import { makeScene } from '../watch/scene.js';
import { rank, title } from '../watch/scores.js';
import { drag, newOrbit, wheel } from '../watch/view.js';
import { DELAY } from '../watch/motion.js';
import { openRecord } from './player.js';
import { TICK_MS, turtlesBetween } from './record.js';

const BOARD_WIDTH = 200; // pixels kept free for the board at the right
const CANVAS_SIDE = 1024; // pixels of the painting, two for a field unit
const KEY_STEP = 24; // pixels of a drag equal to one arrow key
const TURNS = { ArrowLeft: [-KEY_STEP, 0], ArrowRight: [KEY_STEP, 0], ArrowUp: [0, -KEY_STEP], ArrowDown: [0, KEY_STEP] };
const BEFORE = 60; // ticks before a death from which it is shown
const byId = (id) => document.getElementById(id);

const orbit = newOrbit();
let scene = null;
let player = null;
let tick = 0;
let playing = false;
let sliding = false; // the timeline is under a finger
let shownBoard = '';
let shownCoins = '';
let busy = null; // what is being built

/** Says what is wrong; with records that is told in English. */
function tell(text, inLanguage) {
  Object.assign(byId('said'), { textContent: text, lang: inLanguage });
}

// ---- painting

const canvas = document.createElement('canvas');
canvas.width = canvas.height = CANVAS_SIDE;
const paint = canvas.getContext('2d');
const painting = { until: -1, member: -1, frame: 0, touched: false };

function wipe(color) {
  paint.setTransform(1, 0, 0, 1, 0, 0);
  paint.fillStyle = `#${color}`;
  paint.fillRect(0, 0, CANVAS_SIDE, CANVAS_SIDE);
  // Texture rows start at the bottom, so y runs up as on the field.
  paint.setTransform(CANVAS_SIDE / 512, 0, 0, CANVAS_SIDE / 512, CANVAS_SIDE / 2, CANVAS_SIDE / 2);
  paint.lineCap = 'round';
}

function draw([color, width, x1, y1, x2, y2]) {
  paint.strokeStyle = `#${color}`;
  paint.lineWidth = Math.min(Math.max(width, 0.5), 64);
  paint.beginPath();
  paint.moveTo(x1, y1);
  paint.lineTo(x2, y2);
  paint.stroke();
}

// Brings the painting to the member's frame: continues from its present state, or restarts at the last wipe.
async function paintTo(member, frame) {
  const { state } = (await player.build(member))[frame];
  const forward = painting.member >= 0 && (painting.member < member || (painting.member === member && painting.frame <= frame)) &&
    painting.until >= state.wiped;
  if (!forward) {
    // From the member in which the canvas was wiped last; without anything painted since, from here.
    const from = state.pieces > 0 ? player.memberAt(state.wiped) : member;
    wipe(state.ground);
    Object.assign(painting, { member: from, frame: -1, touched: true });
  }
  while (painting.member < member || (painting.member === member && painting.frame < frame)) {
    const frames = await player.build(painting.member);
    const last = painting.member < member ? frames.length - 1 : frame;
    for (let k = painting.frame + 1; k <= last; ++k) {
      if (frames[k].wipe !== null) wipe(frames[k].wipe);
      if (frames[k].state.tick < state.wiped) continue;
      frames[k].pieces.forEach(draw);
      painting.touched = painting.touched || frames[k].pieces.length > 0 || frames[k].wipe !== null;
    }
    if (painting.member === member) painting.frame = last;
    else Object.assign(painting, { member: painting.member + 1, frame: 0 });
  }
  painting.until = state.tick;
  if (painting.touched) {
    scene.setPainting(canvas);
    painting.touched = false;
  }
}

// ---- current state

const clock = (ticks) => {
  const seconds = Math.floor((ticks * TICK_MS) / 1000);
  return `${Math.floor(seconds / 60)}:${String(seconds % 60).padStart(2, '0')}`;
};

function showBoard(turtles) {
  const atEnd = player.end && tick >= player.lastTick;
  const rows = atEnd
    ? [...player.end.programs].sort((a, b) => a.place - b.place || a.seat - b.seat)
      .map((p) => [p.place, p.name || `#${p.seat}`, p.score, p.death === null ? '' : t('replay.dead')])
    : rank(turtles).map(({ place, turtle }) => [place, title(turtle), turtle.score, turtle.ttl > 0 ? t('replay.dying') : '']);
  const text = JSON.stringify(rows);
  if (text === shownBoard) return;
  shownBoard = text;
  byId('board').replaceChildren(...rows.map((row) => {
    const line = document.createElement('tr');
    line.append(...row.map((cell, i) => Object.assign(document.createElement(i === 1 ? 'th' : 'td'), { textContent: cell })));
    line.cells[1].scope = 'row';
    return line;
  }));
  byId('scores').hidden = rows.length === 0;
}

function showMarks() {
  const marks = byId('marks');
  marks.replaceChildren(...player.deaths.map((death) => {
    const mark = document.createElement('i');
    mark.style.left = `${(100 * death.tick) / Math.max(1, player.lastTick)}%`;
    mark.title = t('replay.dies', death.name || t('replay.somebody'), clock(death.tick));
    mark.addEventListener('click', () => seek(death.tick - BEFORE));
    return mark;
  }));
  byId('next').hidden = player.deaths.length === 0;
}

/** Shows the next death, or after the last one the first. */
function toNextDeath() {
  const times = player.deaths.map((death) => Math.max(0, death.tick - BEFORE)).sort((a, b) => a - b);
  seek(times.find((time) => time > tick + 1) ?? times[0]);
}

async function showMoment() {
  const at = tick;
  const member = player.memberAt(at);
  const frames = await player.build(member);
  let k = frames.findIndex((frame) => frame.state.tick > at);
  if (k < 0) k = frames.length;
  const before = frames[Math.max(0, k - 1)];
  const after = frames[Math.min(k, frames.length - 1)];
  await paintTo(member, Math.max(0, k - 1));
  const turtles = turtlesBetween(before.state, after.state, at);
  const now = performance.now();
  scene.setTurtles(turtles, now);
  const coins = [...before.state.coins.values()].map((coin, ord) => ({ ...coin, ord }));
  const told = JSON.stringify(coins);
  if (told !== shownCoins) scene.setCoins(coins);
  shownCoins = told;
  showBoard(turtles);
  const time = `${clock(at)} / ${clock(player.lastTick)}`;
  if (byId('time').textContent !== time) {
    byId('time').textContent = time;
    byId('line').setAttribute('aria-valuetext', time);
  }
  byId('tick').textContent = t('replay.tick', Math.round(at));
  if (!sliding) byId('line').value = String(at);
  globalThis.kelmoraReplay.shown = { tick: at, turtles };
}

function refresh() {
  if (busy) return;
  busy = showMoment().catch((error) => { tell(String(error.message || error), 'en'); }).finally(() => { busy = null; });
}

function setPlaying(on) {
  if (on && player && tick >= player.lastTick) tick = 0;
  playing = on;
  byId('play').textContent = playing ? '❚❚' : '▶';
  byId('play').setAttribute('aria-label', t(playing ? 'replay.pause' : 'replay.play'));
}

function seek(to) {
  if (!player) return;
  tick = Math.min(Math.max(to, 0), player.lastTick);
  byId('line').value = String(tick);
}

async function load(bytes, name) {
  const began = performance.now();
  tell('', language());
  setPlaying(false);
  try {
    player = await openRecord(bytes);
  } catch (error) {
    player = null;
    tell(String(error.message || error), 'en');
    return;
  }
  document.title = name ? `${name} - Kelmora` : `Kelmora: ${t('replay.title')}`;
  scene.setWalls((player.head.walls || []).map(([x1, y1, x2, y2, nx, ny]) => ({ x1, y1, x2, y2, nx, ny })));
  tick = 0;
  shownBoard = shownCoins = '';
  Object.assign(painting, { until: -1, member: -1, frame: 0, touched: false });
  byId('line').max = String(player.lastTick);
  byId('drop').hidden = true;
  byId('bar').hidden = false;
  await showMoment();
  showMarks();
  globalThis.kelmoraReplay.loadedIn = performance.now() - began;
  player.scan(showMarks);
  setPlaying(true);
}

async function fetchRecord(url) {
  try {
    const answer = await fetch(url);
    if (!answer.ok) throw new Error(`${answer.status} ${answer.statusText}`);
    await load(new Uint8Array(await answer.arrayBuffer()), url.split('/').pop());
  } catch (error) {
    tell(t('replay.failed', url, error.message), language());
  }
}

function embedded() {
  const text = byId('record') && byId('record').textContent.trim();
  return text ? Uint8Array.from(atob(text), (letter) => letter.charCodeAt(0)) : null;
}

function listen() {
  byId('play').addEventListener('click', () => setPlaying(!playing));
  byId('line').addEventListener('input', (event) => seek(Number(event.target.value)));
  byId('line').addEventListener('pointerdown', () => { sliding = true; });
  for (const type of ['change', 'pointerup', 'pointercancel', 'blur']) byId('line').addEventListener(type, () => { sliding = false; });
  byId('next').addEventListener('click', toNextDeath);
  byId('file').addEventListener('change', async (event) => {
    const [file] = event.target.files;
    if (file) load(new Uint8Array(await file.arrayBuffer()), file.name);
  });
  addEventListener('dragover', (event) => event.preventDefault());
  addEventListener('drop', async (event) => {
    event.preventDefault();
    const [file] = event.dataTransfer.files;
    if (file) load(new Uint8Array(await file.arrayBuffer()), file.name);
  });
  addEventListener('keydown', (event) => {
    if (event.defaultPrevented || event.target.matches?.('select, #file, #next') || event.ctrlKey || event.altKey || event.metaKey) return;
    if (event.key === ' ') setPlaying(!playing);
    else if (event.key === 'ArrowLeft') seek(tick - 625); // five seconds
    else if (event.key === 'ArrowRight') seek(tick + 625);
    else return;
    event.preventDefault();
  });
}

function setTexts() {
  chooseLanguage(navigator.language);
  document.documentElement.lang = language();
  document.title = `Kelmora: ${t('replay.title')}`;
  for (const [id, key] of [['title', 'replay.title'], ['drop-here', 'replay.drop'], ['choose', 'replay.choose']]) byId(id).textContent = t(key);
  for (const [id, key] of [['scores', 'watch.scores'], ['speed', 'speed'], ['line', 'replay.line'], ['next', 'replay.next'], ['play', 'replay.play']]) {
    byId(id).setAttribute('aria-label', t(key));
  }
}

function start() {
  setTexts();
  // The field has the room that the board and the bar leave.
  scene = makeScene(document, orbit, () => BOARD_WIDTH,
    { size: () => [document.documentElement.clientWidth || 1, Math.max(1, innerHeight - byId('bar').offsetHeight)] });
  document.querySelector('main').prepend(scene.canvas);
  Object.assign(scene.canvas, { tabIndex: 0 });
  scene.canvas.setAttribute('role', 'img');
  scene.canvas.setAttribute('aria-label', t('field.picture'));
  scene.canvas.addEventListener('keydown', (event) => {
    if (TURNS[event.key]) drag(orbit, ...TURNS[event.key]);
    else if (event.key === '+') wheel(orbit, -120);
    else if (event.key === '-') wheel(orbit, 120);
    else return;
    event.preventDefault();
  });
  scene.canvas.addEventListener('pointerdown', (event) => scene.canvas.setPointerCapture(event.pointerId));
  scene.canvas.addEventListener('pointermove', (event) => {
    if (scene.canvas.hasPointerCapture(event.pointerId)) drag(orbit, event.movementX, event.movementY);
  });
  scene.canvas.addEventListener('wheel', (event) => {
    wheel(orbit, event.deltaY);
    event.preventDefault();
  }, { passive: false });
  globalThis.kelmoraReplay = { seek, setPlaying, scene, load, shown: null, loadedIn: null,
    state: () => ({ tick, playing, player: player && { lastTick: player.lastTick, deaths: player.deaths, end: player.end } }) };
  listen();
  let before = performance.now();
  const frame = () => {
    const now = performance.now();
    if (player) {
      if (playing) {
        tick = Math.min(tick + ((now - before) / TICK_MS) * Number(byId('speed').value), player.lastTick);
        if (tick >= player.lastTick) setPlaying(false);
      }
      refresh();
    }
    before = now;
    scene.draw(now + DELAY); // each sample is for this very moment
    requestAnimationFrame(frame);
  };
  requestAnimationFrame(frame);
  const inside = embedded();
  const wanted = new URLSearchParams(location.search).get('record');
  if (inside) load(inside, '');
  else if (wanted) fetchRecord(wanted);
}

start();
