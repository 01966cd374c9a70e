// A signature: the brush swells where the turtle turns and ends each stroke in a point.
import { connect } from "kelmora";

// Every stroke is a list of points. The brush makes a curve of them.
const STROKES = [
  // A
  [[-190, -60], [-178, -20], [-160, 30], [-142, 75], [-130, 100], [-122, 70], [-115, 30], [-108, -10], [-98, -50], [-80, -62]],
  [[-168, 8], [-150, 14], [-130, 14], [-108, 18], [-92, 26]],
  // n
  [[-70, 20], [-62, 0], [-62, -30], [-64, -58], [-58, -25], [-44, 5], [-26, 18], [-12, 5], [-10, -30], [-4, -58], [14, -52]],
  // n
  [[24, 20], [32, 0], [32, -30], [30, -58], [36, -25], [50, 5], [68, 18], [82, 5], [84, -30], [90, -58], [112, -50], [140, -20]],
  // a line below
  [[-200, -110], [-150, -98], [-90, -96], [-20, -104], [50, -112], [120, -106], [180, -90], [205, -70]],
];

const turtle = await connect();
await turtle.penup();
await turtle.pencolor(0.1, 0.3, 0.6); // a dark colour: the brush paints much brighter than the pen
await turtle.pensize(12);
await turtle.brush();
for (const [first, ...rest] of STROKES) {
  await turtle.goto(first);
  await turtle.pendown();
  for (const point of rest) await turtle.goto(point);
  await turtle.penup();
}
await turtle.goto(-210, -170);
