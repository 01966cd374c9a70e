// A spiral: every line is a little longer than the one before, and its colour changes on the way.
import { connect } from "kelmora";

const turtle = await connect();
await turtle.teleport(0, 0);
await turtle.setheading(0);
await turtle.pensize(2);
for (let step = 0; step < 90; step++) {
  // Three numbers from 0 to 1: how much red, green and blue is in the colour.
  const part = step / 90;
  await turtle.pencolor(1 - part, 0.3 + 0.5 * part, 1);
  await turtle.forward(5 + 4 * step);
  await turtle.left(91);
}
