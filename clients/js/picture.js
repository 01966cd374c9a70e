// A painter for practice fields that keeps what is painted, and writes it as SVG.
const SIDE = 512;

const short = (value) => String(Number(value.toFixed(2)));
/** A field's place in the picture, whose y grows downward. */
const place = (x, y) => `${short(x + SIDE / 2)},${short(SIDE / 2 - y)}`;
const hexadecimal = (color) =>
  `#${color.map((part) => Math.round(255 * Math.min(1, Math.max(0, part))).toString(16).padStart(2, "0")).join("")}`;
const escaped = (text) => text.replace(/[&<>"']/g, (letter) => `&#${letter.charCodeAt(0)};`);
// Characters that XML allows and that are visible.
const visible = (text) => text.replace(/[^ -~\u00a1-\ud7ff\ue000-\ufdcf\ufdf0-\ufffd]/g, "");

/** A picture that grows piece by piece. Places are in field units, colours three numbers from 0 to 1. */
export class Picture {
  #pieces = []; // complete, in their order
  #polyline = []; // the latest one, whose corners still come: its start, then corner by corner
  #ground = [0, 0, 0];
  #turtles = new Map();
  #coins = new Map();
  #cards = new Map();
  #lineEnd = ""; // end and look of the latest line, which the next may go on from

  wipe(color) {
    this.#pieces = [];
    this.#polyline = [];
    this.#ground = color;
    this.#lineEnd = "";
  }

  line(x0, y0, x1, y1, width, color0, color1) {
    if (x0 === x1 && y0 === y1) return; // shows nothing
    const look = `${width} ${hexadecimal(color1)}`;
    if (this.#lineEnd !== `${x0} ${y0} ${look}`) {
      this.#finishLine();
      this.#polyline.push(`<polyline fill="none" stroke="${hexadecimal(color1)}" stroke-width="${short(width)}" points="${place(x0, y0)}`);
    }
    this.#polyline.push(place(x1, y1));
    this.#lineEnd = `${x1} ${y1} ${look}`;
  }

  /** The latest polyline is complete. */
  #finishLine() {
    this.#pieces.push(...this.#latestLine());
    this.#polyline = [];
  }

  /** The latest polyline, if there is one; put together here only, as with each corner it would take ever longer. */
  #latestLine() {
    return this.#polyline.length > 0 ? [`${this.#polyline.join(" ")}"/>`] : [];
  }

  polygon(points, colors) {
    const corners = points.map(({ x, y }) => place(x, y));
    if (new Set(corners).size < 3) return;
    this.#add(`<polygon shape-rendering="crispEdges" fill="${hexadecimal(colors.at(-1))}" points="${corners.join(" ")}"/>`);
  }

  point(x, y, size, color) {
    const [left, top] = place(x - size / 2, y + size / 2).split(",");
    this.#add(`<rect x="${left}" y="${top}" width="${short(size)}" height="${short(size)}" fill="${hexadecimal(color)}"/>`);
  }

  text(x, y, text, color) {
    const [left, low] = place(x, y).split(",");
    this.#add(`<text x="${left}" y="${low}" font-family="sans-serif" font-size="12" fill="${hexadecimal(color)}">` +
      `${escaped(visible(text))}</text>`);
  }

  turtle(number, x, y, heading, color, name) {
    this.#turtles.set(number, { x, y, heading, color, name });
  }

  gone(number) {
    this.#turtles.delete(number);
  }

  coin(number, x, y, shown) {
    this.#coins.delete(number);
    if (shown) this.#coins.set(number, { x, y });
  }

  card(number, x, y, shown) {
    this.#cards.delete(number);
    if (shown) this.#cards.set(number, { x, y });
  }

  #add(piece) {
    this.#finishLine();
    this.#pieces.push(piece);
    this.#lineEnd = "";
  }

  /** The whole picture. */
  svg() {
    const at = ({ x, y }, body) => `<g transform="translate(${place(x, y)})">${body}</g>`;
    const coins = [...this.#coins.values()].map((coin) => at(coin, '<circle r="8" fill="#d4af37"/>'));
    const cards = [...this.#cards].map(([number, card]) =>
      at(card, `<rect y="-104" width="75" height="104" rx="5" fill="#fff" stroke="#000"/><text x="8" y="-84" font-size="16">${number}</text>`));
    const turtles = [...this.#turtles.values()].map((turtle) => at(turtle, body(turtle)));
    return `<svg xmlns="http://www.w3.org/2000/svg" width="${SIDE}" height="${SIDE}" viewBox="0 0 ${SIDE} ${SIDE}">\n` +
      `<rect width="100%" height="100%" fill="${hexadecimal(this.#ground)}"/>\n` +
      `${[...this.#pieces, ...this.#latestLine(), ...coins, ...cards, ...turtles].join("\n")}\n</svg>\n`;
  }
}

/** A doughnut, or a turtle's shell with head and feet. */
function body({ heading, color, name }) {
  if (name === "doughnut") return '<circle r="7" fill="none" stroke="#c98a4b" stroke-width="6"/>';
  const feet = [0.8, 2.3, 4, 5.5].map((turn) =>
    `<circle cx="${short(7 * Math.cos(turn))}" cy="${short(7 * Math.sin(turn))}" r="2.5"/>`).join("");
  const fill = hexadecimal(color);
  const label = name ? `<text x="12" y="-8" font-size="10" fill="${fill}">${escaped(visible(name))}</text>` : "";
  return `<g fill="${fill}" transform="rotate(${short(-heading % 360)})"><circle cx="10" r="3.5"/>${feet}` +
    `<ellipse rx="8.5" ry="6.5" stroke="#053"/></g>${label}`;
}
