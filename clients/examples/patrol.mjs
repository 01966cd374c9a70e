// A patrol: walks round a square, looks ahead, and goes round whatever stands in the way.
import { connect } from "kelmora";

const visitor = await connect();
await visitor.name("visitor");
await visitor.teleport(0, -120);

const guard = await connect();
await guard.name("guard");
await guard.teleport(-120, -120);
await guard.setheading(0);
await guard.pencolor("skyblue");
await guard.pensize(2);

/** A bend round the thing ahead: out, past it and back to the old line. */
async function goRound() {
  await guard.left(90);
  await guard.forward(30);
  await guard.write("    Make way!");
  await guard.right(90);
  for (let step = 0; step < 40; step++) await guard.forward(2);
  await guard.right(90);
  await guard.forward(30);
  await guard.left(90);
}

for (let round = 0; round < 2; round++) {
  for (let side = 0; side < 4; side++) {
    let walked = 0;
    while (walked < 240) {
      const { what } = await guard.finder(20); // looks 20 ahead
      if (what === "nothing") {
        await guard.forward(4);
        walked += 4;
      } else {
        console.log(`There is a ${what} in my way`);
        await goRound();
        walked += 80;
      }
    }
    await guard.left(90);
  }
}
