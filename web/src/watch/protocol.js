// Parses the field's answers. Pure: text in, plain records out. Every value is checked here, once, because a turtle's
// name is written into the answers unescaped and may hold anything, quotes included.

const NUMBER = '(-?(?:nan|inf|[0-9.]+))';
const FLAG = '(true|false)';
// One turtle by the fixed order of its members; the name ends where the team follows, whatever it contains.
const TURTLE = new RegExp(
  '\\{"tid":(\\d+),"time":(\\d+),"type":(\\d+),"name":"([\\s\\S]*?)","team":(-?\\d+),' +
    `"x":${NUMBER},"y":${NUMBER},"head":${NUMBER},"ttl":(-?\\d+),"bx":${NUMBER},"by":${NUMBER},` +
    '"bttf":(-?\\d+),"score":(-?\\d+),"ncoin":(-?\\d+),' +
    `"alive":${FLAG},"firing":${FLAG},"got_hit":${FLAG},"collide":${FLAG},"detected":${FLAG},"got_msg":${FLAG}\\}`,
  'g'
);
const KEYS = ['tid', 'time', 'type', 'name', 'team', 'x', 'y', 'head', 'ttl', 'bx', 'by', 'bttf', 'score', 'ncoin',
  'alive', 'firing', 'got_hit', 'collide', 'detected', 'got_msg'];
const FLAGS = new Set(KEYS.slice(14));

export const TURTLE_TYPE = 1; // robots, too; those of objects are in common/kinds.js

const finite = (value) => (typeof value === 'number' && Number.isFinite(value) ? value : 0);

function cleanTurtle(raw, index) {
  if (typeof raw !== 'object' || raw === null) return null;
  const turtle = {};
  for (const key of KEYS) turtle[key] = FLAGS.has(key) ? raw[key] === true : finite(raw[key]);
  turtle.tid = index; // the list has every slot in order
  turtle.name = typeof raw.name === 'string' ? raw.name : '';
  // A turtle without a finite place cannot be shown.
  turtle.alive = turtle.alive && Number.isFinite(raw.x) && Number.isFinite(raw.y);
  return turtle;
}

function looseTurtles(text) {
  const found = [];
  for (const match of text.matchAll(TURTLE)) {
    const raw = {};
    KEYS.forEach((key, i) => {
      const word = match[i + 1];
      if (key === 'name') raw[key] = word;
      else raw[key] = FLAGS.has(key) ? word === 'true' : Number(word);
    });
    found.push(raw);
  }
  return found.length > 0 ? found : null;
}

function parseList(text) {
  try {
    const list = JSON.parse(text);
    return Array.isArray(list) ? list : null;
  } catch {
    return null;
  }
}

/** The turtle list; null when the answer is malformed. A list that is not valid JSON is read by its fixed order. */
export function parseTurtles(text) {
  const list = parseList(text) || looseTurtles(text);
  if (!list) return null;
  const turtles = list.map(cleanTurtle);
  return turtles.includes(null) ? null : turtles;
}

function parseRecords(text, keys) {
  const list = parseList(text);
  return list && list.filter((item) => item && keys.every((key) => Number.isFinite(item[key])));
}

/** The walls' front faces; null when the answer is malformed. */
export function parseWalls(text) {
  return parseRecords(text, ['x1', 'y1', 'x2', 'y2', 'nx', 'ny']);
}

/** The coins, oldest first; null when the answer is malformed. */
export function parseCoins(text) {
  const coins = parseRecords(text, ['x', 'y', 'ord']);
  return coins && coins.sort((a, b) => a.ord - b.ord);
}

/** Eye and target of the camera; null when the answer is malformed. */
export function parseCamera(text) {
  const cameras = parseRecords(`[${text}]`, ['x0', 'y0', 'z0', 'x1', 'y1', 'z1']);
  return cameras && cameras.length === 1 ? cameras[0] : null;
}

/** The camera that belongs to a page: its first path segment, as it stands, names a turtle. */
export function cameraPath(pathname) {
  const first = pathname.split('/').find((segment) => segment !== '');
  return first ? `/${first}/camera` : '/camera';
}
