// A team that talks: three turtles search for a treasure. Who finds it tells the others, and all of them come.
import { connect } from "kelmora";

const random = (from, to) => from + Math.floor(Math.random() * (to - from + 1));

// The treasure: ten coins in one place.
const pirate = await connect();
await pirate.borrow();
await pirate.teleport(random(-200, 200), random(40, 200));
for (let number = 0; number < 10; number++) await pirate.drop();
await pirate.teleport(246, -246);

// The team. Each begins on the lower edge and searches a third of the field.
const team = [];
for (const [number, color] of ["gold", "skyblue", "orchid"].entries()) {
  const member = await connect();
  await member.team(2);
  await member.teleport(-240 + 165 * number, -230);
  await member.setheading(90);
  await member.pencolor(color);
  team.push(member);
}

/** One step up or down, and to the right at the end of a lane. */
async function search(member) {
  await member.forward(10);
  const y = await member.ycor();
  if (Math.abs(y) > 235) {
    await member.setheading(0);
    await member.forward(33);
    await member.setheading(y > 0 ? 270 : 90);
    await member.forward(20);
  }
}

// Everybody searches, all of them at the same time, until one has a coin within reach.
let finder;
while (!finder) {
  await Promise.all(team.map(search));
  for (const member of team) if ((await member.coinsNear()) > 0) finder ??= member;
}
const { x, y } = await finder.position();
await finder.broadcast(`treasure at ${x.toFixed(0)} ${y.toFixed(0)}`);

// The others read the board and come, each as far as there is room.
for (const member of team) {
  if (member === finder) continue;
  const { text } = await member.message();
  console.log("A member reads:", text);
  const [treasureX, treasureY] = text.split(" ").slice(2).map(Number);
  await member.setheading(await member.towards(treasureX, treasureY));
  while ((await member.distance(treasureX, treasureY)) > 30 && (await member.forward(5)));
}

while ((await finder.coinsNear()) > 0) await finder.pick();
await finder.write(`       ${await finder.coins()} coins!`);
console.log("We have", await finder.coins(), "coins");
