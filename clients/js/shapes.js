// Areas as pieces that the field can fill, and the packets that paint them.
//
// In the mode for filled shapes the field fills, a frame at a time, the polygon of a turtle's latest points: six of them
// once the turtle has made five painted steps, and fewer before. So a shape is cut into convex pieces of six corners at
// most, and each piece is a packet of six jumps.

const CORNERS = 6; // of the largest polygon that the field fills
const THIN = 1e-9; // a slice lower than this shows nothing

const rounded = (number, digits) => Number(number.toFixed(digits)) + 0;
const distance = (a, b) => Math.hypot(a.x - b.x, a.y - b.y);
export const jumpTo = ({ x, y }) => `j ${rounded(x, 6)} ${rounded(y, 6)}`;
export const paintOf = (color) => `k ${color.map((part) => rounded(part, 8)).join(" ")}`;

/** Corners of a polygon that passes for a disc. */
export function disc(middle, diameter) {
  const count = 4 * Math.max(3, Math.min(12, Math.round(diameter / 5)));
  return Array.from({ length: count }, (_, k) => {
    const turn = (2 * Math.PI * (k + 0.5)) / count;
    return { x: middle.x + (diameter / 2) * Math.cos(turn), y: middle.y + (diameter / 2) * Math.sin(turn) };
  });
}

/** The sides of the shape that are not level, each from its lower to its upper end. */
function edgesOf(points) {
  return points.flatMap((a, k) => {
    const b = points[(k + 1) % points.length];
    if (Math.abs(a.y - b.y) <= THIN) return [];
    const [low, high] = a.y < b.y ? [a, b] : [b, a];
    const slope = (high.x - low.x) / (high.y - low.y);
    return [{ x: low.x, y: low.y, top: high.y, slope, at: (y) => (y >= high.y ? high.x : low.x + (y - low.y) * slope) }];
  });
}

/** Heights of all ends and crossings: between two of them no sides meet. */
function levelsOf(edges) {
  const levels = edges.flatMap((edge) => [edge.y, edge.top]);
  const sorted = [...edges].sort((a, b) => a.y - b.y);
  sorted.forEach((first, i) => {
    for (let j = i + 1; j < sorted.length && sorted[j].y < first.top; j++) {
      const second = sorted[j];
      if (first.slope === second.slope) continue;
      const y = (second.x - second.y * second.slope - first.x + first.y * first.slope) / (first.slope - second.slope);
      if (second.y < y && y < Math.min(first.top, second.top)) levels.push(y);
    }
  });
  levels.sort((a, b) => a - b);
  const result = [];
  for (const level of levels) if (result.length === 0 || level - result.at(-1) > THIN) result.push(level);
  return result;
}

/** The corners around, each once. */
function outline(left, right) {
  const corners = [];
  for (const corner of [...right, ...[...left].reverse()]) {
    if (corners.length === 0 || distance(corner, corners.at(-1)) > 1e-7) corners.push(corner);
  }
  if (corners.length > 1 && distance(corners[0], corners.at(-1)) <= 1e-7) corners.pop();
  return corners;
}

/** A convex piece that grows upward: its left and its right side, from the bottom up. */
class Slab {
  constructor(left, right, low, high) {
    this.edges = [left, right];
    this.sides = [left, right].map((edge) => [{ x: edge.at(low), y: low }, { x: edge.at(high), y: high }]);
  }

  /** Takes in what lies above between two sides, if it joins on and the whole stays convex and small enough. */
  grow(left, right, high) {
    const grown = [];
    for (const [k, next] of [left, right].entries()) {
      const side = this.sides[k];
      const corner = side.at(-1);
      const before = side.at(-2);
      const end = { x: next.at(high), y: high };
      if (this.edges[k] === next) {
        grown.push([...side.slice(0, -1), end]);
        continue;
      }
      if (Math.abs(next.at(corner.y) - corner.x) > 1e-6) return false;
      const bend = (corner.x - before.x) * (end.y - corner.y) - (end.x - corner.x) * (corner.y - before.y);
      if (bend * (k === 0 ? 1 : -1) > 0) return false;
      grown.push([...side, end]);
    }
    if (outline(...grown).length > CORNERS) return false;
    this.sides = grown;
    this.edges = [left, right];
    return true;
  }
}

/** The area that a closed line surrounds, as convex pieces; what it surrounds twice is outside again. */
export function piecesOf(points) {
  const edges = edgesOf(points);
  const levels = levelsOf(edges);
  const done = [];
  let growing = [];
  for (let k = 0; k + 1 < levels.length; k++) {
    const [low, high] = [levels[k], levels[k + 1]];
    const middle = (low + high) / 2;
    const here = edges.filter((edge) => edge.y <= low + THIN && edge.top >= high - THIN).sort((a, b) => a.at(middle) - b.at(middle));
    const slabs = [];
    for (let i = 0; i + 1 < here.length; i += 2) {
      const found = growing.findIndex((slab) => slab.grow(here[i], here[i + 1], high));
      slabs.push(found < 0 ? new Slab(here[i], here[i + 1], low, high) : growing.splice(found, 1)[0]);
    }
    done.push(...growing);
    growing = slabs;
  }
  return [...done, ...growing].map((slab) => outline(...slab.sides)).filter((piece) => piece.length > 2);
}

/** Packets that fill the pieces, the smaller ones first; the pen is then down and in the mode for filled shapes. */
export function fillPackets(pieces, color) {
  const packets = [];
  let painted = 0;
  for (const piece of [...pieces].sort((a, b) => a.length - b.length)) {
    const start = jumpTo(piece[0]);
    if (painted === 0) {
      // `p d` drops older points and colours; the next step is the first of the polygon.
      packets.push(["p u", start, paintOf(color), "l s", "p d", start]);
      painted = 1;
    }
    while (Math.min(painted + 1, CORNERS - 1) + 1 < piece.length) {
      packets.push([start]);
      painted++;
    }
    packets.push([...Array(CORNERS - piece.length).fill(piece[0]), ...piece].map(jumpTo));
    painted++;
  }
  return packets;
}

const sameInk = (a, b) => a.width === b.width && a.way === b.way && a.color.every((part, k) => part === b.color[k]);
const samePlace = (a, b) => a.x === b.x && a.y === b.y;

/** Packets that paint the strokes again; the pen is then down. */
export function strokePackets(strokes) {
  let last = null;
  return strokes.map((stroke) => {
    const packet = [jumpTo(stroke.end)];
    if (!last || !sameInk(stroke, last) || !samePlace(stroke.start, last.end)) {
      packet.unshift("p u", jumpTo(stroke.start), stroke.way, paintOf(stroke.color), `w ${stroke.width}`, "p d");
    }
    last = stroke;
    return packet;
  });
}

/** The strokes with those that go on in the same direction joined, and without those that lead nowhere. */
export function straightened(strokes) {
  const result = [];
  for (const stroke of strokes) {
    if (samePlace(stroke.start, stroke.end) && (stroke.way === "l" || stroke.way === "l b")) continue;
    const last = result.at(-1);
    if (last && stroke.way === "l" && sameInk(stroke, last) && samePlace(stroke.start, last.end)) {
      const [ax, ay] = [last.end.x - last.start.x, last.end.y - last.start.y];
      const [bx, by] = [stroke.end.x - stroke.start.x, stroke.end.y - stroke.start.y];
      const lengths = Math.hypot(ax, ay) * Math.hypot(bx, by);
      if (Math.abs(ax * by - ay * bx) <= 1e-5 * lengths && ax * bx + ay * by > 0) {
        result[result.length - 1] = { ...stroke, start: last.start };
        continue;
      }
    }
    result.push(stroke);
  }
  return result;
}
