// The kinds of objects beside turtles and robots. Each has a model for the scene and a shape for the flat view, which is
// drawn with a pen whose origin is the object's place and whose y looks up.
import { mesh } from '../watch/models.js';
import { oval } from './flat-shapes.js';

function makeDoughnut() {
  const T = globalThis.THREE;
  const body = new T.Group();
  body.add(mesh(new T.TorusGeometry(6.5, 3.4, 14, 30), 0xc98a45, 0, 0, 3.4));
  const icing = mesh(new T.TorusGeometry(6.5, 3.1, 14, 30), 0xf27aa8, 0, 0, 4.3, { roughness: 0.3 });
  body.add(icing);
  return { body, legs: [], shell: null };
}

export function drawDoughnut(pen) {
  pen.lineWidth = 6.5;
  for (const [colour, width] of [['#c98a45', 6.5], ['#f27aa8', 4]]) {
    pen.strokeStyle = colour;
    pen.lineWidth = width;
    pen.beginPath();
    pen.arc(0, 0, 6.6, 0, 2 * Math.PI);
    pen.stroke();
  }
}

function makeStone() {
  const T = globalThis.THREE;
  const body = new T.Group();
  const rock = mesh(new T.DodecahedronGeometry(9.5, 1), 0x8c8f94, 0, 0, 5, { flatShading: true, roughness: 1 });
  rock.scale.set(1, 0.9, 0.75);
  body.add(rock);
  return { body, legs: [], shell: null };
}

function drawStone(pen) {
  oval(pen, '#5d6a72', 0, 0, 10, 9, 0.4);
  oval(pen, '#87949c', -1.5, 2, 6.5, 5, 0.4);
}

/** Names (in records of games) and types (in the field's list of turtles) are those of src/field/kinds.h. */
export const OBJECTS = [
  { name: 'doughnut', type: 2, make: makeDoughnut, draw: drawDoughnut },
  { name: 'stone', type: 3, make: makeStone, draw: drawStone },
];

/** The object's row; undefined for turtles, robots and what is unknown here. */
export const objectOfType = (type) => OBJECTS.find((object) => object.type === type);
export const objectNamed = (name) => OBJECTS.find((object) => object.name === name);
