// A coin collector: lets the bank throw coins on the field and walks along all of it to pick them up.
import { connect } from "kelmora";

const turtle = await connect();
const COINS = 40;
for (let number = 0; number < COINS; number++) await turtle.throwCoin();

// This is called whenever a coin has come within reach (20 units). There may be more than one.
const grab = async () => {
  while ((await turtle.coinsNear()) > 0) await turtle.pick();
};
turtle.onCoin(grab);

await turtle.pencolor("seagreen");
await turtle.teleport(-240, -238);
await turtle.setheading(0);
// Rows of 34, not of 40: the field tells of a coin one step after it has come within reach.
let way = 10;
for (let row = 0; row < 15; row++) {
  for (let step = 0; step < 48; step++) await turtle.forward(way);
  if (row < 14) {
    await turtle.sety((await turtle.ycor()) + 34);
    await grab(); // at the edge the next step may leave a coin behind
  }
  way = -way;
}
console.log("I have", await turtle.coins(), "coins");
