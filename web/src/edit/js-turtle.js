// The turtle's words for JavaScript programs in the page: the same words as in the client libraries, but each call waits
// for the field's answer itself. Pure: everything goes through `exchange`, lines in, lines out.

const EVENTS = { hit: 1, turtle: 2, doughnut: 4, stone: 8, wall: 16, coin: 32, found: 64, seen: 128, message: 256 };
const FINDER = ['nothing', 'turtle', 'doughnut', 'stone', 'wall'];
const COLOURS = { black: '#000000', white: '#ffffff', red: '#ff0000', green: '#008000', lime: '#00ff00', blue: '#0000ff',
  yellow: '#ffff00', orange: '#ffa500', purple: '#800080', violet: '#ee82ee', pink: '#ffc0cb', magenta: '#ff00ff', cyan: '#00ffff',
  turquoise: '#40e0d0', brown: '#a52a2a', gray: '#808080', grey: '#808080', silver: '#c0c0c0', gold: '#ffd700', navy: '#000080',
  teal: '#008080', olive: '#808000', maroon: '#800000', coral: '#ff7f50', salmon: '#fa8072', khaki: '#f0e68c', indigo: '#4b0082',
  tomato: '#ff6347', skyblue: '#87ceeb', darkgreen: '#006400', darkblue: '#00008b', darkred: '#8b0000', lightblue: '#add8e6',
  lightgreen: '#90ee90', lightgray: '#d3d3d3', lightgrey: '#d3d3d3', beige: '#f5f5dc', crimson: '#dc143c' };

export class KelmoraError extends Error {
  constructor(kind, message) {
    super(message);
    this.name = kind;
  }
}

function number(value, what) {
  if (typeof value !== 'number' || !Number.isFinite(value)) throw new KelmoraError('NotANumber', `${what} must be a number, not ${JSON.stringify(value)}`);
  return value;
}

// Plain decimals: the field does not read all forms of exponents.
const text = (value) => (Number.isInteger(value) ? String(value) : String(Number(value.toFixed(9))));
const hex = (bytes) => [...bytes].map((byte) => byte.toString(16).padStart(2, '0')).join('');
const modulo = (a, b) => ((a % b) + b) % b;
const signed = (angle) => 180 - modulo(180 - angle, 360); // in (-180, 180]

/** Three parts from 0 to 1 of a name, "#rrggbb", "#rgb", or three numbers. */
export function colour(...given) {
  const parts = Array.isArray(given[0]) ? given[0] : given;
  if (parts.length === 3) return parts.map((part) => Math.min(Math.max(number(part, 'a part of a colour'), 0), 1));
  const name = String(parts[0]).toLowerCase().replaceAll(' ', '');
  const code = COLOURS[name] || name;
  const long = /^#([0-9a-f]{3})$/.test(code) ? code.replace(/[0-9a-f]/g, '$&$&') : code;
  if (!/^#[0-9a-f]{6}$/.test(long)) throw new KelmoraError('BadValue', `no such colour: ${JSON.stringify(parts[0])}`);
  return [1, 3, 5].map((at) => parseInt(long.slice(at, at + 2), 16) / 255);
}

/** Named values that can also be taken in order: `{ x, y } = place` as well as `[x, y] = place`. */
function record(names, values) {
  const made = Object.fromEntries(names.map((name, i) => [name, values[i]]));
  values.forEach((value, i) => Object.defineProperty(made, i, { value }));
  return Object.defineProperty(made, Symbol.iterator, { value: () => values.values() });
}

/** The two numbers of a place, which is given as (x, y), [x, y], {x, y} or a turtle. */
function placeOf(x, y) {
  if (y === undefined && typeof x === 'object' && x !== null) {
    if (typeof x.position === 'function') return [...x.position()];
    [x, y] = Array.isArray(x) ? x : [x.x, x.y];
  }
  return [number(x, 'x'), number(y, 'y')];
}

/** An answer line: {values, ok, clock, events}. */
export function readAnswer(line) {
  const at = line.lastIndexOf(' @ ');
  const found = /^(.*?)(?:^| )(OK|ERR)$/s.exec(line.slice(0, Math.max(at, 0)));
  const [clock, events] = line.slice(at + 3).split(' ').map(Number);
  if (at < 0 || !found || !Number.isFinite(clock) || !Number.isFinite(events)) throw new KelmoraError('BadAnswer', `the field said: ${line.slice(0, 80)}`);
  return { values: found[1], ok: found[2] === 'OK', clock, events };
}

/**
 * @param exchange  sends lines (each ended by a line feed), returns as many answer lines
 * @param brake     called before each exchange; may wait or throw
 * @returns {words, turtle}: an object of functions by name, and one with the same as methods
 */
export function makeWords(exchange, brake) {
  let down = true;
  let width = 1;
  let pen = [1, 0, 0];
  let fill = null; // null: the pen's
  let plainLines = true;
  let colourChanged = false; // a segment blends from the previous colour, so the pen is lowered again first
  let noted = 0; // events since events() was called
  let corners = null; // of an area that is being walked round
  let strictly = false;
  let top = 1; // of the parts of colours
  let blocked = null; // by what the last step was, when the field said so
  const listeners = new Map();
  let calling = false;

  function send(...lines) {
    brake();
    const told = exchange(lines.map((line) => `${line}\n`).join('')).split('\n').filter(Boolean).map(readAnswer);
    if (told.length !== lines.length) throw new KelmoraError('BadAnswer', 'the field did not answer every command');
    const happened = told.reduce((all, answer) => all | answer.events, 0);
    noted |= happened;
    if (happened && !calling) {
      calling = true;
      try {
        for (const [name, bit] of Object.entries(EVENTS)) if (happened & bit) listeners.get(name)?.();
      } finally {
        calling = false;
      }
    }
    return told;
  }
  const one = (line) => send(line)[0];
  const numbers = (answer, count) => {
    const found = answer.values.trim().split(/\s+/).map(Number);
    if (found.length < count || !found.slice(0, count).every(Number.isFinite)) throw new KelmoraError('BadAnswer', `the field said: ${answer.values}`);
    return found.slice(0, count);
  };
  const corner = () => { if (corners) corners.push(numbers(one('q p'), 2)); };

  function move(line, jump) {
    const before = colourChanged && down && plainLines ? ['p d'] : [];
    colourChanged = false;
    const told = send(...before, line);
    const answer = told[told.length - 1];
    corner();
    blocked = answer.ok ? null : ['turtle', 'doughnut', 'stone', 'wall'].find((name) => answer.events & EVENTS[name]) ?? null;
    if (!answer.ok && strictly) throw new KelmoraError('Blocked', `blocked by ${blocked || (jump ? 'jump' : 'something')}`);
    return answer.ok;
  }

  const heading = () => modulo(numbers(one('q d'), 1)[0], 360);
  const position = () => record(['x', 'y'], numbers(one('q p'), 2));
  /** A colour as a program gives it, whose three numbers go up to 1, or to 255 after colormode(255). */
  const tint = (...given) => {
    const parts = Array.isArray(given[0]) ? given[0] : given;
    if (parts.length !== 3) return colour(...parts);
    const wrong = parts.find((part) => number(part, 'a part of a colour') < 0 || part > top);
    if (wrong !== undefined) throw new KelmoraError('BadValue', `the parts of a colour go from 0 to ${top}, not ${wrong}; colormode(255) and colormode(1) choose`);
    return colour(parts.map((part) => part / top));
  };
  const inUnits = (parts) => (top === 1 ? [...parts] : parts.map((part) => Math.round(part * top)));
  const setPen = (parts) => {
    pen = parts;
    colourChanged = true;
    one(`k ${parts.map(text).join(' ')}`);
  };
  const mode = (line, plain) => {
    plainLines = plain;
    return one(line).ok;
  };
  const words = {
    forward: (d) => move(`f ${text(number(d, 'the distance'))}`),
    back: (d) => move(`b ${text(number(d, 'the distance'))}`),
    left: (a) => one(`t l ${text(number(a, 'the angle'))}`).ok,
    right: (a) => one(`t r ${text(number(a, 'the angle'))}`).ok,
    goto: (x, y) => {
      const [to, up] = placeOf(x, y);
      return move(`j ${text(to)} ${text(up)}`, true);
    },
    shift: (dx, dy) => move(`g ${text(number(dx, 'dx'))} ${text(number(dy, 'dy'))}`, true),
    setx: (x) => words.goto(number(x, 'x'), position()[1]),
    sety: (y) => words.goto(position()[0], number(y, 'y')),
    setheading: (a) => {
      const wanted = modulo(number(a, 'the angle'), 360);
      const letter = { 0: 'e', 90: 'n', 180: 'w', 270: 's' }[wanted];
      if (letter && one(`t ${letter}`).values === '') return true;
      return one(`t l ${text(signed(wanted - heading()))}`).ok;
    },
    home: () => {
      const [x, y] = position();
      const length = Math.hypot(x, y);
      if (length > 1e-6) {
        words.left(signed((Math.atan2(-y, -x) * 180) / Math.PI - heading()));
        if (!words.forward(length)) return false;
      }
      return words.setheading(0);
    },
    teleport: (x, y) => {
      const [to, up] = placeOf(x, y);
      const line = `j ${text(to)} ${text(up)}`;
      return down ? send('p u', line, 'p d')[1].ok : one(line).ok;
    },
    circle: (radius, extent = 360, given = null) => {
      const r = number(radius, 'the radius');
      const steps = given ?? 1 + Math.floor(Math.min(11 + Math.abs(r) / 6, 59) * (Math.abs(number(extent, 'the extent')) / 360));
      let w = extent / steps;
      let l = 2 * r * Math.sin((w * Math.PI) / 360);
      if (r < 0) [l, w] = [-l, -w];
      for (let i = 0; i < steps; ++i) {
        words.left(i === 0 ? w / 2 : w);
        if (!words.forward(l)) return false;
      }
      return words.left(w / 2);
    },
    penup: () => {
      down = false;
      return one('p u').ok;
    },
    pendown: () => {
      down = true;
      colourChanged = false;
      return one('p d').ok;
    },
    isdown: () => down,
    pensize: (w) => {
      if (w === undefined) return width;
      width = number(w, 'the width');
      return one(`w ${text(width)}`).ok;
    },
    pencolor: (...c) => (c.length === 0 ? inUnits(pen) : setPen(tint(...c))),
    fillcolor: (...c) => (c.length === 0 ? inUnits(fill || pen) : void (fill = tint(...c))),
    color: (...c) => {
      if (c.length === 0) return [pen, fill || pen];
      if (c.length === 2) [pen, fill] = [tint(c[0]), tint(c[1])];
      else pen = fill = tint(...c);
      return setPen(pen);
    },
    lines: () => mode('l', true),
    polygons: () => mode('l s', false),
    points: () => mode('l p', false),
    brush: () => mode('l b', false),
    beginFill: () => { corners = [position()]; },
    endFill: () => {
      const area = corners;
      corners = null;
      if (area && area.length > 2) fillArea(area);
    },
    filling: () => corners !== null,
    dot: (size, ...c) => {
      const s = number(size ?? Math.max(width + 4, 2 * width), 'the size');
      const before = pen;
      if (c.length > 0) setPen(tint(...c));
      // In point mode a step of length 0 paints one point.
      send('l p', `w ${text(s)}`, 'p d');
      const [x, y] = position();
      send(`j ${text(x)} ${text(y)}`);
      send('l', `w ${text(width)}`, down ? 'p d' : 'p u');
      plainLines = true;
      if (c.length > 0) setPen(before);
    },
    write: (what) => {
      const letters = [...String(what)].map((letter) => letter.codePointAt(0));
      if (letters.length < 1 || letters.length > 127 || letters.some((code) => code > 255)) throw new KelmoraError('BadValue', 'write() takes 1 to 127 Latin letters');
      return one(`s ${hex(letters)}`).ok;
    },
    bgcolor: (...c) => one(`h ${tint(...c).map(text).join(' ')}`).ok,
    colormode: (most) => {
      if (most === undefined) return top;
      if (most !== 1 && most !== 255) throw new KelmoraError('BadValue', `colormode is 1 or 255, not ${most}`);
      top = most;
      return undefined;
    },
    clear: () => one('c f').ok,
    clearscreen: () => one('c a').ok,
    position, heading,
    xcor: () => position()[0],
    ycor: () => position()[1],
    distance: (x, y) => {
      const [there, above] = placeOf(x, y);
      const [from, up] = position();
      return Math.hypot(there - from, above - up);
    },
    towards: (x, y) => {
      const [there, above] = placeOf(x, y);
      const [from, up] = position();
      return modulo((Math.atan2(above - up, there - from) * 180) / Math.PI, 360);
    },
    score: () => numbers(one('q s'), 1)[0],
    alive: () => numbers(one('q a'), 1)[0] !== 0,
    clock: () => numbers(one('q t'), 1)[0],
    turtles: () => numbers(one('q n'), 1)[0],
    coins: () => numbers(one('q o'), 1)[0],
    coinsNear: () => numbers(one('q c'), 1)[0],
    finder: (range) => {
      const told = range === undefined ? send('q f') : send(`e ${text(number(range, 'the range'))}`, 'q f');
      const [what, team] = numbers(told[told.length - 1], 2);
      return record(['what', 'team'], [FINDER[what] || 'nothing', team]);
    },
    sonar: () => record(['left', 'front', 'right'], numbers(one('q w'), 3).map((value) => value !== 0)),
    radar: (k = 1) => {
      const answer = one(`q r ${text(number(k, 'the rank'))}`);
      return answer.ok ? record(['bearing', 'team'], numbers(answer, 2)) : null;
    },
    message: () => {
      const { values } = one('q b');
      const found = /^(\d+)\s?(.*)$/s.exec(values.trim());
      return record(['time', 'text'], found ? [Number(found[1]), found[2]] : [0, '']);
    },
    events: () => {
      one('.');
      const names = Object.keys(EVENTS).filter((name) => noted & EVENTS[name]);
      noted = 0;
      return names;
    },
    name: (what) => {
      const bytes = new TextEncoder().encode(String(what));
      if (bytes.length < 1 || bytes.length > 127) throw new KelmoraError('BadValue', 'a name has 1 to 127 bytes');
      return one(`n ${hex(bytes)}`).ok;
    },
    team: (n) => {
      if (n === undefined) return numbers(one('q m'), 1)[0];
      if (!(n >= 1 && n <= 4)) throw new KelmoraError('BadValue', 'teams are 1, 2, 3 and 4');
      return one(`i ${text(n)}`).ok;
    },
    broadcast: (what) => {
      const plain = String(what);
      if (!/^[!-~][ -~]{0,127}$/.test(plain) || plain.includes(';')) throw new KelmoraError('BadValue', 'a message has 1 to 128 plain letters and no ";"');
      return one(`u ${plain}`).ok;
    },
    pick: () => one('o').ok,
    drop: () => one('o s').ok,
    borrow: () => one('o b').ok,
    throwCoin: () => one('o x').ok,
    doughnut: () => one('d').ok,
    fire: () => one('x').ok,
    robot: () => one('r').ok,
    card: (n, x, y) => one(`z ${text(number(n, 'the card'))} ${text(number(x, 'x'))} ${text(number(y, 'y'))}`).ok,
    takeCard: (n) => one(`z -${text(number(n, 'the card'))}`).ok,
    clearCards: () => one('z 0').ok,
    cardShown: (n) => numbers(one(`q z s ${text(number(n, 'the card'))}`), 1)[0] !== 0,
    cardPosition: (n) => record(['x', 'y'], numbers(one(`q z p ${text(number(n, 'the card'))}`), 2)),
    battle: (on = true) => one(on ? '!' : '! -').ok,
    ping: () => one('.').clock,
    ask: (line) => one(String(line).replace(/[\n;]/g, ' ')),
    strict: (on = true) => { strictly = Boolean(on); },
    blockedBy: () => blocked,
    close: () => {}, // the turtle stays for the next run
    bye: () => {},
  };

  // Ear clipping; each triangle is painted in the field's area mode, which takes up to six corners.
  function fillArea(area) {
    const [x, y] = position();
    const was = pen;
    const lines = [];
    for (const triangle of triangles(area)) {
      lines.push('p u', `j ${text(triangle[0][0])} ${text(triangle[0][1])}`, 'l s', 'p d',
        ...triangle.slice(1).map(([cx, cy]) => `j ${text(cx)} ${text(cy)}`), 'p u', 'l');
    }
    send(`k ${(fill || pen).map(text).join(' ')}`, 'p u', 'w 1');
    for (const line of lines) send(line);
    send(`k ${was.map(text).join(' ')}`, `w ${text(width)}`, `j ${text(x)} ${text(y)}`, down ? 'p d' : 'p u');
    plainLines = true;
  }
  for (const name of Object.keys(EVENTS)) words[`on${name[0].toUpperCase()}${name.slice(1)}`] = (f) => void (f ? listeners.set(name, f) : listeners.delete(name));
  const aliases = { fd: 'forward', bk: 'back', backward: 'back', lt: 'left', rt: 'right', setpos: 'goto', setposition: 'goto', seth: 'setheading',
    pu: 'penup', up: 'penup', pd: 'pendown', down: 'pendown', width: 'pensize', pos: 'position' };
  for (const [alias, word] of Object.entries(aliases)) words[alias] = words[word];

  send('.', 'p d');
  return { words, turtle: { ...words } };
}

const cross = (o, a, b) => (a[0] - o[0]) * (b[1] - o[1]) - (a[1] - o[1]) * (b[0] - o[0]);

/** Cuts a simple polygon into triangles. One that crosses itself is cut as far as possible. */
export function triangles(polygon) {
  const points = polygon.filter((p, i) => i === 0 || Math.hypot(p[0] - polygon[i - 1][0], p[1] - polygon[i - 1][1]) > 1e-6);
  if (points.length > 1 && Math.hypot(points[0][0] - points.at(-1)[0], points[0][1] - points.at(-1)[1]) < 1e-6) points.pop();
  const twice = points.reduce((sum, p, i) => {
    const next = points[(i + 1) % points.length];
    return sum + p[0] * next[1] - next[0] * p[1];
  }, 0);
  if (twice < 0) points.reverse();
  const made = [];
  while (points.length > 3) {
    const ear = points.findIndex((p, i) => {
      const [a, b] = [points.at(i - 1), points[(i + 1) % points.length]];
      if (cross(a, p, b) <= 0) return false;
      return points.every((q) => q === a || q === p || q === b || !(cross(a, p, q) >= 0 && cross(p, b, q) >= 0 && cross(b, a, q) >= 0));
    });
    const i = ear < 0 ? 0 : ear;
    made.push([points.at(i - 1), points[i], points[(i + 1) % points.length]]);
    points.splice(i, 1);
  }
  if (points.length === 3) made.push([...points]);
  return made;
}
