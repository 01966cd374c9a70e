// The practice canvas: the painting of a program without a field, on a square as large as the field.
import { el } from '../common/dom.js';
import { drawLabel, drawTurtle } from '../common/flat-shapes.js';
import { drawDoughnut } from '../common/kinds.js';
import { t } from '../common/texts.js';

const SIDE = 512; // field units, -256..256 both ways, y up
const SHARP = 2; // pixels of the painting for one field unit
const SHELL = '#33ff1a';

const part = (value) => Math.round(255 * Math.min(Math.max(Number(value) || 0, 0), 1));
const css = (color) => `rgb(${part(color?.[0])},${part(color?.[1])},${part(color?.[2])})`;

export function makePractice() {
  const canvas = el('canvas', { width: SIDE * SHARP, height: SIDE * SHARP, role: 'img', 'aria-label': t('practice.canvas') });
  const paper = el('canvas', { width: SIDE * SHARP, height: SIDE * SHARP });
  const pen = paper.getContext('2d');
  const shown = canvas.getContext('2d');
  const turtles = new Map();
  const coins = new Map();
  const cards = new Map();
  let waiting = false;
  for (const context of [pen, shown]) context.setTransform(SHARP, 0, 0, -SHARP, SIDE * SHARP / 2, SIDE * SHARP / 2);

  const acts = {
    wipe(color) {
      pen.fillStyle = css(color);
      pen.fillRect(-SIDE / 2, -SIDE / 2, SIDE, SIDE);
    },
    line(x0, y0, x1, y1, width, color0, color1) {
      const blend = pen.createLinearGradient(x0, y0, x1, y1);
      blend.addColorStop(0, css(color0));
      blend.addColorStop(1, css(color1 || color0));
      pen.strokeStyle = String(color0) === String(color1 || color0) ? css(color0) : blend;
      pen.lineWidth = Math.max(width, 0.75);
      pen.lineCap = 'round';
      pen.beginPath();
      pen.moveTo(x0, y0);
      pen.lineTo(x1, y1);
      pen.stroke();
    },
    polygon(points, colors) {
      if (points.length < 2) return;
      pen.fillStyle = css(colors[colors.length - 1]);
      pen.beginPath();
      points.forEach(([x, y], i) => (i === 0 ? pen.moveTo(x, y) : pen.lineTo(x, y)));
      pen.closePath();
      pen.fill();
      // Neighbouring pieces of one area must leave no seam.
      pen.strokeStyle = pen.fillStyle;
      pen.lineWidth = 0.6;
      pen.stroke();
    },
    point(x, y, size, color) {
      pen.fillStyle = css(color);
      pen.beginPath();
      pen.arc(x, y, Math.max(size, 0.75) / 2, 0, 2 * Math.PI);
      pen.fill();
    },
    text(x, y, text, color) {
      pen.save();
      pen.translate(x, y);
      pen.scale(1, -1);
      pen.fillStyle = css(color);
      pen.font = '12px sans-serif';
      pen.fillText(text, 0, 0);
      pen.restore();
    },
    turtle(number, x, y, heading, color, name) {
      turtles.set(number, { x, y, heading, color, name });
    },
    gone: (number) => turtles.delete(number),
    coin: (number, x, y, there) => (there ? coins.set(number, { x, y }) : coins.delete(number)),
    card: (number, x, y, there) => (there ? cards.set(number, { x, y, number }) : cards.delete(number)),
  };

  function drawOne({ x, y, heading, color, name }) {
    shown.save();
    shown.translate(x, y);
    if (name === 'doughnut') drawDoughnut(shown);
    else {
      drawTurtle(shown, heading, SHELL, css(color));
      if (name && turtles.size > 1) drawLabel(shown, name);
    }
    shown.restore();
  }

  function draw() {
    waiting = false;
    shown.save();
    shown.setTransform(1, 0, 0, 1, 0, 0);
    shown.drawImage(paper, 0, 0);
    shown.restore();
    for (const { x, y } of coins.values()) {
      shown.fillStyle = '#f0b429';
      shown.beginPath();
      shown.arc(x, y, 6, 0, 2 * Math.PI);
      shown.fill();
    }
    for (const { x, y, number } of cards.values()) {
      shown.fillStyle = '#fff';
      shown.fillRect(x, y, 75, 104);
      shown.save();
      shown.translate(x + 8, y + 84);
      shown.scale(1, -1);
      shown.fillStyle = '#103050';
      shown.font = 'bold 18px sans-serif';
      shown.fillText(String(number), 0, 0);
      shown.restore();
    }
    for (const turtle of turtles.values()) drawOne(turtle);
  }

  function soon() {
    if (waiting) return;
    waiting = true;
    requestAnimationFrame(draw);
  }

  acts.wipe([0, 0, 0]);
  soon();
  return {
    canvas,
    /** Executes what the worker's painter recorded: a JSON list of [act, arguments...]. */
    carryOut(text) {
      for (const [act, ...given] of JSON.parse(text)) if (Object.hasOwn(acts, act)) acts[act](...given);
      soon();
    },
    reset() {
      turtles.clear();
      coins.clear();
      cards.clear();
      acts.wipe([0, 0, 0]);
      soon();
    },
  };
}
