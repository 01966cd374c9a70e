// Reads the record of a game: its members, their lines, and the field's state after each line. Pure, but for unpacking;
// docs/recording.md describes the format. Malformed parts are skipped: a truncated or damaged record plays as far as
// possible.
import { objectNamed } from '../common/kinds.js';
import { TURTLE_TYPE } from '../watch/protocol.js';

export const TICK_MS = 8;
const MEMBER_HEADER = 24;
const MEMBER_MOST = 1 << 26; // characters of a member that are read; ten programs can fill a third of it
const SEATS = 10;
const SLOTS = 30;
const LETTERS = '!#$%&\'()*+,-/0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[]^_`abcdefghijklmnopqrstuvwxyz{|}~';
const NUMBER = /^-?\d{1,9}(\.\d{1,9})?$/;
const EDGE = 246; // field units, where the hard edge of a battle stops a turtle

/** The members of a record: { start, end, tick }, `tick` being that of the full state at its end; null when it is cut off. */
export function membersOf(bytes) {
  const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
  const members = [];
  let start = 0;
  while (start + MEMBER_HEADER <= bytes.length && view.getUint32(start, true) === 0x04088b1f && view.getUint32(start + 12, true) === 0x00084d4b) {
    const length = view.getUint32(start + 16, true);
    const whole = length > MEMBER_HEADER && start + length <= bytes.length;
    members.push({ start, end: whole ? start + length : bytes.length, tick: whole ? view.getUint32(start + 20, true) : null });
    if (!whole) break;
    start += length;
  }
  return members;
}

/** The text of one member, as far as it goes. */
export async function unpack(bytes) {
  const stream = new DecompressionStream('gzip');
  const reader = stream.readable.getReader();
  const decoder = new TextDecoder();
  let unpacked = '';
  const reading = (async () => {
    try {
      for (;;) {
        const { done, value } = await reader.read();
        if (done) break;
        unpacked += decoder.decode(value, { stream: true });
        if (unpacked.length > MEMBER_MOST) await reader.cancel();
      }
    } catch {
      // The member ends here: everything before counts.
    }
  })();
  const writer = stream.writable.getWriter();
  try {
    // In small pieces: a piece's output is passed on before the next one can fail.
    for (let at = 0; at < bytes.length; at += 4096) await writer.write(bytes.subarray(at, at + 4096));
    await writer.close();
  } catch {
    // As above.
  }
  await reading;
  return unpacked;
}

/** The lines of a member, parsed; ends at the first malformed one. */
export function linesOf(member) {
  const lines = [];
  for (const line of member.split('\n')) {
    try {
      const parsed = JSON.parse(line);
      if (parsed === null || typeof parsed !== 'object') break;
      lines.push(parsed);
    } catch {
      break;
    }
  }
  return lines;
}

const list = (value) => (Array.isArray(value) ? value : []);
const entries = (value) => list(value).filter(Array.isArray);
const text = (value) => (typeof value === 'string' ? value : '');
const object = (value) => (value !== null && typeof value === 'object' ? value : {});
const number = (value, otherwise = 0) => (Number.isFinite(value) ? value : otherwise);

/** The entries of a list that tell of a turtle each: [slot, object]. */
export const turtlesIn = (value) => entries(value).map(([slot, told]) => [slot, object(told)]);

// Moves the turtle as the command would without obstacles; the record's writer relies on this prediction.
function predict(turtle, line, battle) {
  if (battle && turtle.score < 1) return;
  const step = /^([fb]) (.*)$/.exec(line);
  if (step && NUMBER.test(step[2])) {
    let length = step[1] === 'b' ? -Number(step[2]) : Number(step[2]);
    if (battle) length = Math.min(Math.max(length, -2), 2);
    const x = turtle.x + length * Math.cos((turtle.head * Math.PI) / 180);
    const y = turtle.y + length * Math.sin((turtle.head * Math.PI) / 180);
    const leaves = (from, to) => (to > EDGE && to > from) || (to < -EDGE && to < from);
    if (battle && (leaves(turtle.x, x) || leaves(turtle.y, y))) return;
    turtle.x = x;
    turtle.y = y;
    return;
  }
  const turn = /^t ([lr]) (.*)$/.exec(line);
  if (turn && NUMBER.test(turn[2])) {
    let angle = turn[1] === 'r' ? -Number(turn[2]) : Number(turn[2]);
    if (battle) angle = Math.min(Math.max(angle, -3), 3);
    turtle.head += angle;
  }
}

// Calls use(seat, text) for each program's commands of a line.
function eachCommand(commands, order, texts, use) {
  let at = 0;
  for (let place = 0; at < commands.length; ++place) {
    let seat = place % SEATS;
    if (order === 'blocks') {
      const digit = commands[at++];
      if (digit === ' ') continue;
      seat = Number(digit);
    } else if (commands[at] === '.') {
      ++at;
      continue;
    }
    if (commands[at] === '«') {
      const end = commands.indexOf('»', at);
      if (end < 0) return;
      use(seat, commands.slice(at + 1, end));
      at = end + 1;
    } else {
      const listed = texts[LETTERS.indexOf(commands[at])];
      if (listed === undefined) return;
      use(seat, listed);
      ++at;
    }
  }
}

function newTurtle(told) {
  return { kind: text(told.kind), seat: Number.isInteger(told.seat) ? told.seat : -1, name: text(told.name),
    x: number(told.x), y: number(told.y), head: number(told.head), score: number(told.score), team: number(told.team),
    coins: number(told.coins), zombie: told.zombie === true, dying: number(told.dying), dyingSince: 0 };
}

/** A reader's state of the field. `tick` is that of the last line; turtles and beams are by slot. */
export function newState(head) {
  return { tick: 0, order: head.order, battle: head.mode !== 'drawing', texts: [], turtles: new Map(), beams: new Map(),
    bursts: new Map(), coins: new Map(), pens: new Map(), ground: '000000', wiped: 0, pieces: 0 };
}

function takeFull(state, line) {
  const { full } = line;
  state.battle = full.battle === true;
  state.ground = text(full.ground);
  state.wiped = number(full.wiped);
  state.pieces = number(full.pieces);
  state.texts = [];
  const before = state.turtles;
  state.turtles = new Map();
  for (const [slot, told] of turtlesIn(full.turtles)) {
    const turtle = newTurtle(told);
    turtle.dyingSince = line.t;
    state.turtles.set(slot, turtle);
  }
  for (const slot of before.keys()) if (!state.turtles.has(slot)) state.beams.delete(slot);
  state.pens = new Map(entries(full.pens).map(([slot, color, width, x, y]) => [slot, { color, width, x, y }]));
  state.coins = new Map(entries(full.coins).map(([k, x, y]) => [k, { x, y }]));
}

function penOf(state, slot) {
  if (!state.pens.has(slot)) state.pens.set(slot, { color: 'ff0000', width: 100, x: 0, y: 0 });
  return state.pens.get(slot);
}

// The painted segments of a line in field units: [color, width, x1, y1, x2, y2].
function takePieces(state, line) {
  const pieces = [];
  for (const piece of entries(line.p)) {
    const pen = penOf(state, piece[0]);
    if (typeof piece[1] === 'string') {
      [, pen.color, pen.width] = piece;
    } else {
      const [x1, y1, x2, y2] = piece.length > 3 ? piece.slice(1) : [pen.x, pen.y, piece[1], piece[2]];
      pieces.push([pen.color, pen.width / 100, x1 / 4, y1 / 4, x2 / 4, y2 / 4]);
      pen.x = x2;
      pen.y = y2;
    }
  }
  return pieces;
}

/** Applies one line. @returns what it did to the painting: { wipe: colour or null, pieces } */
export function takeLine(state, line) {
  const tick = number(line.t);
  state.texts.push(...list(line.d).map(text));
  const bySeat = new Map();
  for (const turtle of state.turtles.values()) if (turtle.seat >= 0 && !turtle.zombie) bySeat.set(turtle.seat, turtle);
  const run = (seat, commands) => {
    const turtle = bySeat.get(seat);
    if (turtle) for (const command of commands.split(';')) predict(turtle, command, state.battle);
  };
  for (const commands of [line.c, line.a]) if (typeof commands === 'string') eachCommand(commands, state.order, state.texts, run);
  if (typeof line.wipe === 'string') {
    state.ground = line.wipe;
    state.wiped = tick;
    state.pieces = 0;
    state.pens = new Map();
  }
  const pieces = takePieces(state, line);
  state.pieces += pieces.length;
  for (const slot of list(line.gone)) state.turtles.delete(slot);
  for (const [slot, told] of turtlesIn(line.set)) {
    const turtle = state.turtles.get(slot);
    if (!turtle) continue;
    for (const [key, value] of Object.entries(told)) if (typeof value === typeof turtle[key]) turtle[key] = value;
    if ('dying' in told) turtle.dyingSince = tick;
  }
  for (const [slot, dx, dy, turned] of entries(line.m)) {
    const turtle = state.turtles.get(slot);
    if (!turtle) continue;
    turtle.x += number(dx) / 4;
    turtle.y += number(dy) / 4;
    turtle.head += number(turned);
  }
  for (const [slot, told] of turtlesIn(line.new)) {
    const turtle = newTurtle(told);
    turtle.dyingSince = tick;
    state.turtles.set(slot, turtle);
  }
  for (const [slot, x, y, head] of entries(line.b)) state.beams.set(slot, { x, y, head, since: tick });
  for (const [slot, x, y] of entries(line.hit)) {
    state.beams.delete(slot);
    state.bursts.set(slot, { x, y, since: tick });
  }
  for (const [k, x, y] of entries(line.coin)) {
    if (x === undefined) state.coins.delete(k);
    else state.coins.set(k, { x, y });
  }
  if (typeof line.battle === 'boolean') state.battle = line.battle;
  if (line.full && typeof line.full === 'object') takeFull(state, line);
  state.tick = tick;
  return { wipe: typeof line.wipe === 'string' ? line.wipe : null, pieces };
}

/** A copy that later lines do not change. */
export function copyState(state) {
  const copyAll = (map) => new Map([...map].map(([key, value]) => [key, { ...value }]));
  return { ...state, texts: [...state.texts], turtles: copyAll(state.turtles), beams: copyAll(state.beams), bursts: copyAll(state.bursts),
    coins: copyAll(state.coins), pens: copyAll(state.pens) };
}

const BEAM_STEP = 2; // field units a tick
const BURST_TICKS = 25;

const NOBODY = { time: 0, type: 1, name: '', team: 0, x: 0, y: 0, head: 0, ttl: 0, bx: 0, by: 0, bttf: 0, score: 0, ncoin: 0, alive: false,
  firing: false, got_hit: false, collide: false, detected: false, got_msg: false };

/** The turtles at a moment between two states, as the field's page describes them: by slot, free slots are not alive. */
export function turtlesBetween(before, after, tick) {
  const span = after.tick - before.tick;
  const share = span > 0 ? Math.min(Math.max((tick - before.tick) / span, 0), 1) : 1;
  const turtles = [];
  const known = share < 1 ? before.turtles : after.turtles;
  for (const [slot, turtle] of known) {
    const next = after.turtles.get(slot) || turtle;
    const smooth = Math.hypot(next.x - turtle.x, next.y - turtle.y) < 60 ? share : 0;
    const beam = (share < 1 ? before : after).beams.get(slot);
    const burst = (share < 1 ? before : after).bursts.get(slot);
    const flown = beam ? BEAM_STEP * (tick - beam.since) : 0;
    const turn = ((((next.head - turtle.head) % 360) + 540) % 360) - 180;
    turtles.push({ tid: slot, time: Math.round(tick), type: objectNamed(turtle.kind)?.type || TURTLE_TYPE, name: turtle.name, team: turtle.team,
      x: turtle.x + (next.x - turtle.x) * smooth, y: turtle.y + (next.y - turtle.y) * smooth, head: turtle.head + turn * smooth,
      ttl: turtle.dying > 0 ? Math.max(1, turtle.dying - (tick - turtle.dyingSince)) : 0,
      bx: beam ? beam.x + flown * Math.cos((beam.head * Math.PI) / 180) : burst ? burst.x : 0,
      by: beam ? beam.y + flown * Math.sin((beam.head * Math.PI) / 180) : burst ? burst.y : 0,
      bttf: burst && !beam ? Math.max(0, BURST_TICKS - (tick - burst.since)) : 0,
      score: turtle.score, ncoin: turtle.coins, alive: true, firing: Boolean(beam),
      got_hit: false, collide: false, detected: false, got_msg: false });
  }
  const slots = Math.max(0, ...turtles.map((turtle) => turtle.tid + 1));
  const bySlot = Array.from({ length: Math.min(slots, SLOTS) }, (_, tid) => ({ ...NOBODY, tid }));
  for (const turtle of turtles) if (turtle.tid in bySlot) bySlot[turtle.tid] = turtle;
  return bySlot;
}
