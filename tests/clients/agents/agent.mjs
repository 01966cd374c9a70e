// Calls the words of the JavaScript library on request from standard input and reports as JSON what they return, raise
// and call back. Requests and answers: tests/clients/agents.py. KELMORA_JS names the module.
import { createInterface } from "node:readline";
import { pathToFileURL } from "node:url";

const { connect, Turtle } = await import(pathToFileURL(process.env.KELMORA_JS).href);

const camel = (word) => word.replaceAll(/_(.)/g, (_, letter) => letter.toUpperCase());
const snake = (text) => text.replaceAll(/[A-Z]/g, (letter) => `_${letter.toLowerCase()}`).replace(/^_/, "");

// Places, sensors and answers are objects here, lists in the vectors.
const MEMBERS = [["x", "y"], ["what", "team"], ["left", "front", "right"], ["bearing", "team"], ["time", "text"],
  ["values", "ok", "clock", "events"]];
function listed(value) {
  if (Array.isArray(value)) return value.map(listed);
  if (value === null || typeof value !== "object") return value ?? null;
  const members = MEMBERS.find((names) => names.join() === Object.keys(value).join());
  return members ? members.map((name) => value[name]) : { unknown: value };
}

if (process.argv.length > 2) {
  const words = Object.getOwnPropertyNames(Turtle.prototype).filter((name) => name !== "constructor" && name !== "greet");
  console.log([...words, ...Object.keys(new Turtle({})).filter((name) => name.startsWith("on"))].map(snake).join("\n"));
  process.exit(0);
}

let turtle = null;
let called = [];
const lines = createInterface({ input: process.stdin })[Symbol.asyncIterator]();
const next = async () => (await lines.next()).value;

const argument = (text) => {
  const rest = text.slice(1);
  switch (text[0]) {
    case "n": return Number(rest);
    case "b": return rest === "1";
    case "s": return Buffer.from(rest, "hex").toString("utf8");
    case "c": return () => called.push(rest);
    case "l": return rest.split(",").map(Number);
    default: return null;
  }
};
const call = (request) => {
  const [, word, ...rest] = request.split("\t");
  return turtle[camel(word)](...rest.map(argument));
};

async function outcome(request) {
  const [what, first, second] = request.split("\t");
  if (what === "connect") {
    turtle?.close();
    turtle = await connect({ host: "127.0.0.1", port: Number(first), timeout: Number(second) });
    return null;
  }
  if (what !== "batch") return call(request);
  const requests = [];
  while (requests.length < Number(first)) requests.push(await next());
  return turtle.batch(() => {
    for (const one of requests) call(one);
  });
}

for (let request = await next(); request !== undefined; request = await next()) {
  called = [];
  const answer = {};
  try {
    answer.returns = listed(await outcome(request));
  } catch (error) {
    answer.raises = { ...error, kind: snake(error.name), text: error.message };
  }
  answer.callbacks = called;
  console.log(JSON.stringify(answer));
}
process.exit(0);
