// A square: four times forward and left.
import { connect } from "kelmora";

const turtle = await connect();
await turtle.teleport(0, 0); // a turtle begins somewhere: to the middle, without a line
await turtle.setheading(0); // it faces east now
await turtle.pensize(3);
for (let side = 0; side < 4; side++) {
  await turtle.forward(120);
  await turtle.left(90);
}
