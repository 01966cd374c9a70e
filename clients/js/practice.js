// A field inside the program, for trying out and for tests. It takes the protocol's lines and answers them by a field's
// rules, one frame for each packet that moves or paints. Paintings go to a painter; without one they are kept and can be
// saved as a picture. Brush strokes are plain lines here, and there are no stones and no maze.
import { BadValue, HungUp } from "./transport.js";
import { Picture } from "./picture.js";

const EDGE = 256; // half the field's side
const RADIUS = 10; // of a turtle, against the edge
const ABREAST = 20; // the least distance of two centres
const ROOM = 30; // turtles, robots, doughnuts and zombies together
const PLACES = 10; // programs at a time
const BANK = 300; // coins at the start
const TRACK = 7; // points that a turtle's track keeps
const REACH = 20; // of a hand for a coin
const BEAM_STEP = 2;
const BEAM_REACH = 10;
const DYING = 50; // frames
const BLAST = 25;
const ROBOT_STEP = 0.15;
const COMMAND = 511; // characters of a line that count
const TEXT = 127; // bytes of a text
const BOARD = 128;
const EVENT = { hit: 1, turtle: 2, doughnut: 4, wall: 16, coin: 32, found: 64, seen: 128, message: 256 };
const ALL_EVENTS = 0x1ff;
const CODES = { turtle: 1, robot: 1, doughnut: 2 };
const SHELLS = [[0.2, 1, 0.1], [0.7, 0.3, 1], [0.5, 0.9, 0.9], [0.1, 0.1, 1], [0.8, 0.9, 0]];
const RED = [1, 0, 0];
const BEARINGS = { e: 0, n: 90, w: 180, s: -90 };
const WAYS = { s: "polygons", "+": "polygons", b: "brush", p: "points" };
const PACED = new Set("fbcgjtplhs");

const toRadians = (degrees) => (degrees * Math.PI) / 180;
const limited = (value, most) => Math.min(most, Math.max(-most, value));
const letter = (word) => word.slice(0, 1).toLowerCase();
const six = (value) => value.toFixed(6);

/** The number that a word begins with, 0 when there is none. */
function leadingNumber(word) {
  const found = /^[+-]?(?:\d+\.?\d*|\.\d+)(?:e[+-]?\d+)?/i.exec(word);
  const value = found ? Number(found[0]) : 0;
  return Number.isFinite(value) ? value : 0;
}

const leadingWhole = (word) => Math.trunc(leadingNumber(word));

/** The text of pairs of hexadecimal digits, 127 bytes at most. */
function decoded(digits) {
  const pairs = digits.replace(/[^0-9a-f]/gi, "").match(/../g) ?? [];
  return new TextDecoder().decode(Uint8Array.from(pairs.slice(0, TEXT).map((pair) => parseInt(pair, 16)).filter(Boolean)));
}

/** Chance that a seed repeats: numbers from 0 up to 1. The generator is mulberry32. */
function chanceOf(seed) {
  if (seed === undefined || seed === null) return Math.random;
  if (!Number.isFinite(seed)) throw new BadValue(`A seed is a finite number, not ${String(seed)}.`);
  let state = seed >>> 0;
  return () => {
    state = (state + 0x6d2b79f5) >>> 0;
    let mixed = Math.imul(state ^ (state >>> 15), state | 1);
    mixed = (mixed + Math.imul(mixed ^ (mixed >>> 7), mixed | 61)) ^ mixed;
    return ((mixed ^ (mixed >>> 14)) >>> 0) / 4294967296;
  };
}

/** A turtle, a robot or a doughnut. */
class Being {
  constructor(number, kind) {
    Object.assign(this, { number, kind, zombie: false, mask: ALL_EVENTS });
    this.reset(0, 0, 0);
  }

  /** A fresh start at this place. */
  reset(x, y, heading) {
    Object.assign(this, {
      x, y, heading, color: RED, width: 1, way: "lines", down: false, fresh: false, painted: 0, message: "", name: "",
      score: 100, team: 0, coins: 0, doughnuts: 0, range: 20, events: 0, told: 0, nearCoin: false, beam: null, blast: 0,
      dying: 0, alive: true,
    });
    this.fillTrack();
  }

  /** The newest point of the track stands first; it is only complete when a frame paints. */
  fillTrack() {
    this.track = Array.from({ length: TRACK }, () => ({ x: this.x, y: this.y, color: this.color, width: this.width }));
  }

  keepPen() {
    this.track[0] = { x: this.x, y: this.y, color: this.color, width: this.width };
  }

  moveTo(x, y) {
    this.keepPen();
    this.track = [{ x, y, color: this.color, width: this.width }, ...this.track.slice(0, -1)];
    Object.assign(this, { x, y, fresh: true });
  }

  goHome() {
    Object.assign(this, { x: 0, y: 0, heading: 0 });
    this.track = this.track.map((point) => ({ ...point, x: 0, y: 0 }));
  }

  penDown() {
    Object.assign(this, { down: true, painted: 0 });
    this.fillTrack();
  }

  /** Paints the newest piece of the track, and the text that waits. */
  paint(painter) {
    this.keepPen();
    if (this.down && this.fresh) {
      this.fresh = false;
      this.painted += 1;
      this.paintPiece(painter);
    }
    if (this.message) painter.text?.(this.x, this.y, this.message, this.color);
    this.message = "";
  }

  paintPiece(painter) {
    const [end, start, before] = this.track;
    const width = Math.max(1, start.width);
    if (this.way === "polygons") {
      const count = Math.min(this.painted, 5) + 1;
      const corners = this.track.slice(0, count).map(({ x, y }) => ({ x, y })).reverse();
      const colors = this.track.slice(1, count + 1).map(({ color }) => color).reverse();
      if (this.painted > 1) painter.polygon?.(corners, colors);
    } else if (this.way === "points") painter.point?.(end.x, end.y, width, start.color);
    else painter.line?.(start.x, start.y, end.x, end.y, width, before.color, start.color);
  }
}

const apart = (a, b) => Math.hypot(a.x - b.x, a.y - b.y);

/** One turtle's connection to a practice field. */
class PracticeTransport {
  #field;
  #being;
  #answers = [];

  constructor(field, being) {
    this.where = "the practice field";
    this.#field = field;
    this.#being = being;
  }

  send(lines) {
    if (!this.#being?.alive) throw new HungUp("it hung up");
    this.#answers.push(...this.#field.packet(this.#being, lines));
  }

  async receive() {
    if (this.#answers.length === 0) throw new HungUp("it hung up");
    await this.#field.rest();
    return this.#answers.shift();
  }

  close() {
    if (this.#being) this.#being.zombie = true;
    this.#being = null;
  }
}

/** A field without a window. Made by practice(). */
export class PracticeField {
  #shown = new Map();
  #paced = false;
  #due = 0; // seconds that its frames have taken and nobody has waited for

  constructor({ painter = new Picture(), pace = 0, seed } = {}) {
    Object.assign(this, { painter, pace, clock: 0, battle: false, stock: BANK, ground: [0, 0, 0] });
    this.chance = chanceOf(seed);
    this.beings = [];
    this.coins = [];
    this.cards = new Map(); // number: {x, y, shown}
    this.boards = Array.from({ length: 5 }, () => ({ clock: 0, text: "" }));
  }

  /** The connection of a new turtle; one that hangs up at once when the field is full. */
  transport() {
    const programs = this.beings.filter((being) => being.kind === "turtle" && !being.zombie);
    const full = programs.length >= PLACES;
    const being = full ? null : this.add("turtle", this.beings.length === 0 ? { x: 0, y: 0 } : null);
    this.#show();
    return new PracticeTransport(this, being);
  }

  /** The picture, as SVG; only without a painter of your own. */
  svg() {
    this.#show();
    return this.painter.svg();
  }

  /** Writes the picture to a file, as SVG: Node only, and only without a painter of your own. */
  async save(path) {
    if (!/\.svg$/i.test(String(path))) {
      throw new BadValue(`A practice field saves pictures as SVG: give a name that ends in .svg, not ${String(path)}.`);
    }
    const name = "node:fs/promises"; // not for bundlers to follow
    const files = await import(name);
    await files.writeFile(path, this.svg());
  }

  /** Waits for the frames that have passed, when a frame takes time. */
  async rest() {
    const seconds = this.#due;
    this.#due = 0;
    if (seconds > 0) await new Promise((resolve) => setTimeout(resolve, seconds * 1000));
  }

  // Lines

  /** Carries out the commands of a packet, draws a frame if one of them asks for that, and gives the answers. */
  packet(being, lines) {
    this.#paced = false;
    const answers = [];
    for (const raw of lines.split(/[\n;]/)) {
      const line = raw.replace(/[^ -~]/g, "").slice(0, COMMAND).trim();
      if (line === "" || !being.alive) continue;
      const { values, ok } = this.#carryOut(being, line);
      const events = being.events & being.mask;
      being.events = 0;
      answers.push(`${values ? `${values} ` : ""}${ok ? "OK" : "ERR"} @ ${this.clock} ${events}`);
    }
    if (this.#paced) this.frame();
    return answers;
  }

  #carryOut(being, line) {
    const [first, ...others] = line.split(/ +/);
    const words = [...others, "", "", "", ""].slice(0, 4);
    const kind = letter(first);
    if (kind === "q") return this.#question(being, words);
    const command = COMMANDS[kind];
    if (!command) return { values: "", ok: false };
    if (PACED.has(kind)) this.#paced = true;
    const rest = line.slice(first.length).trimStart();
    return { values: "", ok: command(this, being, words, rest) !== false };
  }

  #question(being, words) {
    const answer = QUESTIONS[letter(words[0])]?.(this, being, words);
    if (answer === undefined) return { values: "", ok: false };
    return typeof answer === "string" ? { values: answer, ok: true } : answer;
  }

  needFrame() {
    this.#paced = true;
  }

  // Frames

  /** Everything moves on by one frame, and what is new is painted. */
  frame() {
    this.clock += 1;
    this.#noticeCoins();
    for (const being of this.beings) being.paint(this.painter);
    for (const being of [...this.beings]) {
      this.#flyBeam(being);
      this.#die(being);
      if (being.kind === "robot") this.#wander(being);
    }
    this.#show();
    this.painter.frame?.();
    this.#due += this.pace;
  }

  /** Tells the painter who stands where, as far as that has changed. */
  #show() {
    for (const being of this.beings) {
      const name = being.name || (being.kind === "turtle" ? "" : being.kind);
      const pose = [being.x, being.y, being.heading, SHELLS[being.team % SHELLS.length], name];
      const text = JSON.stringify(pose);
      if (this.#shown.get(being.number) === text) continue;
      this.#shown.set(being.number, text);
      this.painter.turtle?.(being.number, ...pose);
    }
    for (const number of [...this.#shown.keys()]) {
      if (this.beings.some((being) => being.number === number)) continue;
      this.#shown.delete(number);
      this.painter.gone?.(number);
    }
  }

  /** A new being, at a free place when none is given; null when there is no room. */
  add(kind, place = null) {
    if (this.beings.length >= ROOM) return null;
    let at = place;
    let heading = 0;
    for (let tries = 0; at === null && tries < 20; tries++) {
      const free = { x: (this.chance() - 0.5) * 491, y: (this.chance() - 0.5) * 491 };
      if (this.beings.some((other) => apart(free, other) < ABREAST)) continue;
      at = free;
      heading = (this.chance() - 0.5) * 180;
    }
    if (at === null) return null;
    let number = 0;
    while (this.beings.some((other) => other.number === number)) number += 1;
    const being = new Being(number, kind);
    being.reset(at.x, at.y, heading);
    this.beings.push(being);
    return being;
  }

  // Motion

  /** Who is met on a step: the code of its kind (0 nobody), the free way until then, and who it is. */
  ahead(being, heading, step) {
    const sign = step < 0 ? -1 : 1;
    const [dx, dy] = [sign * Math.cos(toRadians(heading)), sign * Math.sin(toRadians(heading))];
    let [best, aside, met] = [Infinity, 0, null];
    for (const other of this.beings) {
      if (other === being) continue;
      const along = Math.max(0, (other.x - being.x) * dx + (other.y - being.y) * dy);
      const gap = Math.hypot(being.x + along * dx - other.x, being.y + along * dy - other.y);
      if (gap <= ABREAST && along < best) [best, aside, met] = [along, gap, other];
    }
    if (met) {
      const free = best - Math.sqrt(Math.max(0, ABREAST ** 2 - aside ** 2));
      if (free <= 0 || free <= Math.abs(step)) return { code: CODES[met.kind], free, met };
    }
    return { code: 0, free: Math.abs(step), met: null };
  }

  /** The free way to the field's edge; infinite when it leads away from all of them. */
  toEdge(being, heading) {
    const ways = [[being.x, Math.cos(toRadians(heading))], [being.y, Math.sin(toRadians(heading))]]
      .filter(([, direction]) => Math.abs(direction) > 1e-12)
      .map(([place, direction]) => ((direction > 0 ? EDGE - RADIUS : RADIUS - EDGE) - place) / direction);
    return Math.min(Infinity, ...ways);
  }

  walk(being, distance) {
    if (being.zombie || being.kind === "doughnut") return false;
    if (this.battle && being.score < 1) return false;
    const length = this.battle ? limited(distance, 2) : distance;
    const { code } = this.ahead(being, being.heading, length);
    if (code) {
      const event = code === 1 ? EVENT.turtle : EVENT.doughnut;
      being.events |= event & ~being.told;
      being.told |= event;
      return false;
    }
    being.told &= EVENT.wall;
    if (this.battle && Math.abs(length) > this.toEdge(being, being.heading + (length < 0 ? 180 : 0))) {
      being.events |= EVENT.wall & ~being.told;
      being.told |= EVENT.wall;
      return false;
    }
    being.told = 0;
    being.moveTo(being.x + length * Math.cos(toRadians(being.heading)), being.y + length * Math.sin(toRadians(being.heading)));
    return true;
  }

  jump(being, x, y) {
    const crowded = this.beings.some((other) => other !== being && apart(other, being) < ABREAST);
    if (this.battle || being.zombie || crowded) return false;
    being.moveTo(x, y);
    return true;
  }

  turn(being, degrees) {
    if (this.battle && being.score < 1) return false;
    const angle = this.battle ? limited(degrees, 3) : degrees;
    if (angle) being.told = 0;
    being.heading += angle;
    return true;
  }

  // Senses

  finder(being) {
    const { code, free, met } = this.ahead(being, being.heading, being.range);
    if (this.battle && this.toEdge(being, being.heading) <= (met ? free : being.range)) return "4 0";
    if (met) met.events |= EVENT.found;
    return `${code} ${met ? met.team : 0}`;
  }

  sonar(being) {
    return [45, 0, -45].map((aside) => {
      const heading = being.heading + aside;
      return Number(this.ahead(being, heading, 20).code !== 0 || this.toEdge(being, heading) < 10);
    }).join(" ");
  }

  radar(being, rank) {
    const noise = (this.chance() - 0.5) * 40;
    const seen = this.beings.filter((other) => other !== being).sort((a, b) => apart(a, being) - apart(b, being))[rank];
    if (!seen) return { values: `${six(noise)} 0`, ok: false };
    seen.events |= EVENT.seen;
    const bearing = (Math.atan2(seen.y - being.y, seen.x - being.x) * 180) / Math.PI - being.heading;
    const turn = ((((bearing + 180) % 360) + 360) % 360) - 180;
    return `${six(turn + noise)} ${seen.team}`;
  }

  // Coins and cards

  /** Coins within reach, the nearest first. */
  coinsNear(being) {
    return this.coins.filter((coin) => apart(coin, being) <= REACH).sort((a, b) => apart(a, being) - apart(b, being));
  }

  #noticeCoins() {
    for (const being of this.beings) {
      const near = being.kind === "turtle" && this.coinsNear(being).length > 0;
      if (near && !being.nearCoin) being.events |= EVENT.coin;
      being.nearCoin = near;
    }
  }

  layCoin(x, y) {
    const coin = { number: 1 + Math.max(-1, ...this.coins.map(({ number }) => number)), x, y };
    this.coins.push(coin);
    this.painter.coin?.(coin.number, x, y, true);
  }

  throwCoin() {
    if (this.stock < 1) return false;
    this.stock -= 1;
    this.layCoin((this.chance() - 0.5) * 492, (this.chance() - 0.5) * 492);
    return true;
  }

  pickCoin(being) {
    const [coin] = this.coinsNear(being);
    if (!coin) return;
    this.coins.splice(this.coins.indexOf(coin), 1);
    being.coins += 1;
    this.painter.coin?.(coin.number, coin.x, coin.y, false);
  }

  layCard(number, x, y, shown) {
    this.cards.set(number, { x, y, shown });
    this.painter.card?.(number, x, y, shown);
  }

  wipe() {
    this.painter.wipe?.(this.ground);
  }

  // Battle

  /** A frame of a beam's flight, and what it hits. */
  #flyBeam(being) {
    being.blast = Math.max(0, being.blast - 1);
    if (!being.beam) return;
    const { heading } = being.beam;
    const beam = {
      x: being.beam.x + BEAM_STEP * Math.cos(toRadians(heading)),
      y: being.beam.y + BEAM_STEP * Math.sin(toRadians(heading)),
      heading,
    };
    being.beam = beam;
    if (Math.max(Math.abs(beam.x), Math.abs(beam.y)) > EDGE - 5) Object.assign(being, { beam: null, blast: BLAST });
    const victim = this.beings.find((other) => other !== being && !other.dying && apart(other, beam) < BEAM_REACH);
    if (!victim) return;
    being.beam = null;
    this.#hit(being, victim);
  }

  #hit(shooter, victim) {
    if (victim.kind === "doughnut") {
      if (apart(victim, shooter) < 40) shooter.score += 11;
      victim.dying = DYING;
      return;
    }
    shooter.score += 11;
    victim.score -= 30;
    victim.events |= EVENT.hit;
    if (victim.score < 0) Object.assign(victim, { score: 0, dying: DYING });
    else shooter.blast = BLAST;
  }

  #die(being) {
    if (!being.dying) return;
    being.dying -= 1;
    if (being.dying) return;
    being.alive = false;
    this.beings.splice(this.beings.indexOf(being), 1);
  }

  /** A robot's step. */
  #wander(being) {
    const atEdge = this.battle && this.toEdge(being, being.heading) < ROBOT_STEP;
    if (atEdge || Math.max(Math.abs(being.x), Math.abs(being.y)) > EDGE - RADIUS) being.heading += (this.chance() - 0.5) * 100;
    else if (!this.walk(being, ROBOT_STEP)) this.turn(being, 180 + (this.chance() - 0.5) * 10);
    if (this.chance() < 0.002 && being.score > 0 && !being.beam && !being.blast) {
      being.beam = { x: being.x, y: being.y, heading: being.heading };
      being.score -= 1;
    }
  }
}

const colorOf = (words) => words.slice(0, 3).map((word) => Math.min(1, Math.max(0, leadingNumber(word))));

// Each takes the field, the turtle, the words after the first and the rest of the line; false means ERR.
const COMMANDS = {
  f: (field, being, [far]) => field.walk(being, leadingNumber(far)),
  b: (field, being, [far]) => field.walk(being, -leadingNumber(far)),
  c: (field, being, [what]) => {
    const kind = letter(what);
    if (kind === "a") field.beings = field.beings.filter((other) => !other.zombie);
    if (kind === "a" || kind === "f") field.wipe();
    else if (!field.battle && !being.zombie) {
      if (kind === "h") being.goHome();
      else being.reset(0, 0, 0);
    }
    return field.walk(being, leadingNumber(what));
  },
  g: (field, being, [dx, dy]) => field.jump(being, being.x + leadingNumber(dx), being.y + leadingNumber(dy)),
  j: (field, being, [x, y]) => field.jump(being, leadingNumber(x), leadingNumber(y)),
  t: (field, being, [way, angle]) => {
    const kind = letter(way);
    if (kind === "l" || kind === "r") return field.turn(being, (kind === "l" ? 1 : -1) * leadingNumber(angle));
    if (!(kind in BEARINGS)) return false;
    if (!field.battle) being.heading = BEARINGS[kind];
    return true;
  },
  p: (field, being, [way]) => {
    const kind = letter(way);
    if (kind === "d" || kind === "+") being.penDown();
    else if (kind === "u" || kind === "-") being.down = false;
  },
  l: (field, being, [way]) => {
    being.way = WAYS[letter(way)] ?? "lines";
  },
  w: (field, being, [width]) => {
    being.width = leadingNumber(width);
  },
  k: (field, being, words) => {
    being.color = colorOf(words);
  },
  h: (field, being, words) => {
    field.ground = colorOf(words);
    field.wipe();
  },
  s: (field, being, words, rest) => {
    being.message = decoded(rest);
  },
  n: (field, being, words, rest) => {
    being.name = decoded(rest);
  },
  u: (field, being, words, rest) => {
    field.boards[being.team] = { clock: field.clock, text: rest.slice(0, BOARD) };
    for (const other of field.beings) if (other !== being && other.team === being.team) other.events |= EVENT.message;
  },
  i: (field, being, [number]) => {
    const team = leadingWhole(number);
    if (team >= 1 && team <= 4) being.team = team;
  },
  e: (field, being, [range]) => {
    being.range = leadingNumber(range);
  },
  o: (field, being, [what]) => {
    const kind = letter(what);
    if (kind === "b") {
      if (field.stock <= 9) return false;
      field.stock -= 10;
      being.coins += 10;
      return true;
    }
    field.needFrame();
    if (kind === "x") return field.throwCoin();
    if (kind !== "s" && kind !== "+") return field.pickCoin(being);
    if (being.coins < 1) return false;
    being.coins -= 1;
    field.layCoin(being.x, being.y);
    return true;
  },
  d: (field, being) => {
    if (being.doughnuts > 9 || !field.add("doughnut")) return false;
    being.doughnuts += 1;
    return true;
  },
  x: (field, being) => {
    if (being.score < 1) return false;
    if (!being.beam && being.blast === 0) {
      being.beam = { x: being.x, y: being.y, heading: being.heading };
      being.score -= 1;
    }
    return true;
  },
  y: (field, being, [sign, sum]) => {
    const bits = leadingWhole(sum) & ALL_EVENTS;
    if (sign[0] === "+") being.mask |= bits;
    else if (sign[0] === "-") {
      being.mask &= ~bits;
      being.events &= ~bits;
    }
  },
  z: (field, being, [card, x, y]) => {
    const number = leadingWhole(card);
    if (number === 0) {
      for (const [shown, lying] of field.cards) if (lying.shown) field.layCard(shown, lying.x, lying.y, false);
    } else if (number >= 1 && number <= 53) field.layCard(number, leadingNumber(x), leadingNumber(y), true);
    else if (number >= -53 && number <= -1) {
      const lying = field.cards.get(-number) ?? { x: 0, y: 0 };
      field.layCard(-number, lying.x, lying.y, false);
    }
  },
  r: (field) => field.add("robot") !== null,
  "!": (field, being, [what]) => {
    field.battle = !["u", "-"].includes(letter(what));
    field.wipe();
  },
  ".": () => true,
};

// Each returns the values of its answer, or an object if the status may be ERR.
const QUESTIONS = {
  p: (field, being) => `${six(being.x)} ${six(being.y)}`,
  d: (field, being) => six(being.heading),
  m: (field, being) => String(being.team),
  f: (field, being) => field.finder(being),
  r: (field, being, [, rank]) => {
    const k = rank === "" ? 0 : "12345".indexOf(rank[0]);
    return k < 0 ? { values: "", ok: false } : field.radar(being, k);
  },
  w: (field, being) => field.sonar(being),
  a: (field, being) => String(Number(being.alive)),
  s: (field, being) => String(being.score),
  t: (field) => String(field.clock),
  n: (field) => String(field.beings.length),
  c: (field, being) => String(field.coinsNear(being).length),
  o: (field, being) => String(being.coins),
  b: (field, being) => `${field.boards[being.team].clock} ${field.boards[being.team].text}`,
  z: (field, being, [, what, card]) => {
    const [kind, number] = [letter(what), leadingWhole(card)];
    if ((kind !== "s" && kind !== "p") || number === 0) return "";
    const { x, y, shown } = field.cards.get(number) ?? { x: 0, y: 0, shown: false };
    return { values: kind === "s" ? String(Number(shown)) : `${six(x)} ${six(y)}`, ok: number >= 1 && number <= 52 };
  },
};
