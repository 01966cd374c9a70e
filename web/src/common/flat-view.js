// The field from straight above on a plain canvas, for machines that draw three dimensions in software at about a
// picture a second. Has the same calls as the scene in three dimensions.
import { DELAY, addSample, newTrack, placeAt } from '../watch/motion.js';
import { TURTLE_TYPE } from '../watch/protocol.js';
import { shortTitle } from '../watch/scores.js';
import { drawLabel, drawTurtle } from './flat-shapes.js';
import { objectOfType } from './kinds.js';

const SIDE = 512; // field units
const MARGIN = 4; // field units around the field
const BURST_FRAMES = 25;
const TEAMS = ['#33ff1a', '#b34dff', '#80e6e6', '#1a1aff', '#cce600'];

/** @param size  function that tells width and height of the picture in pixels */
export function makeFlatScene(size) {
  const canvas = document.createElement('canvas');
  const pen = canvas.getContext('2d', { alpha: false });
  const tracks = new Map();
  let turtles = [];
  let walls = [];
  let coins = [];
  let painting = null;
  let cards = null;
  let sheet = null;
  let own = null;
  let changed = true;

  function at(turtle, now) {
    return placeAt(tracks.get(turtle.tid), now - DELAY) || turtle;
  }

  function drawOne(turtle, now) {
    const place = at(turtle, now);
    pen.save();
    pen.translate(place.x, place.y);
    const object = objectOfType(turtle.type);
    if (object) object.draw(pen);
    else {
      pen.globalAlpha = turtle.ttl > 0 ? 0.5 : 1;
      drawTurtle(pen, place.head, TEAMS[turtle.team] || TEAMS[0], null);
      pen.globalAlpha = 1;
      if (turtle.name === own) {
        pen.strokeStyle = '#ffe060';
        pen.lineWidth = 3;
        pen.beginPath();
        pen.arc(0, 0, 17, 0, 2 * Math.PI);
        pen.stroke();
      }
      drawLabel(pen, shortTitle(turtle), turtle.name === own ? '#ffe060' : '#ffffff');
    }
    pen.restore();
    if (turtle.type !== TURTLE_TYPE || !(turtle.firing || turtle.bttf > 0)) return;
    pen.fillStyle = turtle.firing ? '#fff27a' : '#ff7a1a';
    pen.globalAlpha = turtle.firing ? 1 : Math.min(turtle.bttf / BURST_FRAMES, 1);
    pen.beginPath();
    pen.arc(turtle.bx, turtle.by, turtle.firing ? 4 : 10, 0, 2 * Math.PI);
    pen.fill();
    pen.globalAlpha = 1;
  }

  function draw(now) {
    const [width, height] = size();
    const sharp = Math.min(globalThis.devicePixelRatio || 1, 2);
    if (canvas.width !== Math.round(width * sharp) || canvas.height !== Math.round(height * sharp)) {
      canvas.width = Math.round(width * sharp);
      canvas.height = Math.round(height * sharp);
      canvas.style.width = `${width}px`;
      canvas.style.height = `${height}px`;
    }
    const scale = Math.min(canvas.width, canvas.height) / (SIDE + 2 * MARGIN);
    pen.setTransform(1, 0, 0, 1, 0, 0);
    pen.fillStyle = '#002040';
    pen.fillRect(0, 0, canvas.width, canvas.height);
    pen.setTransform(scale, 0, 0, -scale, canvas.width / 2, canvas.height / 2);
    pen.save();
    pen.scale(1, -1);
    pen.imageSmoothingEnabled = scale < 1;
    if (painting) pen.drawImage(painting, -SIDE / 2, -SIDE / 2, SIDE, SIDE);
    else {
      pen.fillStyle = '#17384f';
      pen.fillRect(-SIDE / 2, -SIDE / 2, SIDE, SIDE);
    }
    if (cards && sheet) {
      for (const card of cards.cards) {
        pen.drawImage(sheet, card.u, card.v, cards.width, cards.height, card.x, -card.y - cards.height, cards.width, cards.height);
      }
    }
    pen.restore();
    pen.strokeStyle = '#6f8fa6';
    pen.lineWidth = 3;
    pen.beginPath();
    for (const wall of walls) {
      pen.moveTo(wall.x1, wall.y1);
      pen.lineTo(wall.x2, wall.y2);
    }
    pen.stroke();
    pen.fillStyle = '#f0b429';
    pen.strokeStyle = '#8a6200';
    pen.lineWidth = 1;
    for (const coin of coins) {
      pen.beginPath();
      pen.arc(coin.x, coin.y, 6, 0, 2 * Math.PI);
      pen.fill();
      pen.stroke();
    }
    for (const turtle of turtles) if (turtle.alive && turtle.type !== TURTLE_TYPE) drawOne(turtle, now);
    for (const turtle of turtles) if (turtle.alive && turtle.type === TURTLE_TYPE) drawOne(turtle, now);
  }

  const set = (act) => (...given) => {
    act(...given);
    changed = true;
  };
  return {
    canvas,
    flat: true,
    setTurtles(list, now) {
      turtles = list;
      for (const turtle of list) {
        if (!turtle.alive) tracks.delete(turtle.tid);
        else {
          if (!tracks.has(turtle.tid)) tracks.set(turtle.tid, newTrack());
          addSample(tracks.get(turtle.tid), now, turtle);
        }
      }
    },
    setWalls: set((list) => { walls = list; }),
    setCoins: set((list) => { coins = list; }),
    setCamera() {},
    setPainting: set((image) => {
      painting?.close?.();
      painting = image;
    }),
    setCards: set((told, image) => {
      cards = told;
      sheet = image;
    }),
    setOwn: set((name) => { own = name; }),
    takeChanged() {
      const was = changed;
      changed = false;
      return was;
    },
    draw,
  };
}
