// Drives turtles on a Kelmora field: in Node over TCP, in browsers over a WebSocket that carries the same lines.
//
//     import { connect } from "kelmora";
//     const turtle = await connect();
//     for (let i = 0; i < 4; i++) {
//       await turtle.forward(50);
//       await turtle.left(90);
//     }
//
// One packet is one exchange. The next packet is sent only after all answers to the one before have come. After a
// command that moves or paints, the field reads nothing until it has drawn a frame. So each packet has a frame of its
// own, and no line is lost. Words that are not awaited still run one after the other, in the order of their calls.
import { colorByName } from "./colors.js";
import { disc, fillPackets, paintOf, piecesOf, straightened, strokePackets } from "./shapes.js";
import { PracticeField } from "./practice.js";
import { addressOf, BadValue, HungUp, KelmoraError, LONGEST_LINE, NoField, Silence, TcpTransport, TooLong, WebSocketTransport } from "./transport.js";

export { BadValue, HungUp, KelmoraError, NoField, PracticeField, Silence, TooLong };

/** The field hung up before its first answer: it is private and you are not on its machine, or its places are taken. */
export class NotAdmitted extends KelmoraError {}
/** The turtle was hit, and the connection ended: its score fell below 0. */
export class Died extends KelmoraError {}
/** The connection ended, or had ended before. */
export class Lost extends KelmoraError {}
/** No answer within the time-out. */
export class NoAnswer extends KelmoraError {}
/** What came is no answer to what was sent. */
export class BadAnswer extends KelmoraError {}
/** An argument is not a finite number; nothing was sent. */
export class NotANumber extends KelmoraError {}
/** In strict mode: a step, a turn or a jump was refused; `by` says by what. */
export class Blocked extends KelmoraError {
  constructor(by) {
    const reasons = {
      jump: "somebody is too close for a jump, or it is battle.",
      something: "something is in the way, or it has no score left.",
    };
    super(`The turtle could not do that: ${reasons[by] ?? `a ${by} is in the way.`}`);
    this.by = by;
  }
}

const EVENT_NAMES = ["hit", "turtle", "doughnut", "stone", "wall", "coin", "found", "seen", "message"];
const HIT = 1;
const BLOCKING = 2 | 4 | 8 | 16; // turtle, doughnut, stone, wall
const THINGS = ["nothing", "turtle", "doughnut", "stone", "wall"];
const COMPASS = new Map([[0, "t e"], [90, "t n"], [180, "t w"], [270, "t s"]]);
const LONGEST_COMMAND = 511;
const TEXT_BYTES = 127;
const BOARD_BYTES = 128;
const LONGEST_BATCH = 1000; // lines; so many answers fit the sockets' buffers
const DEGREES = 180 / Math.PI;
const ANSWER = /^(?:(.*) )?(OK|ERR) @ (\d{1,20}) (\d{1,10})$/s; // greedy: the last " @ " counts, as values may hold one
const NUMBER = /^-?(?:\d+\.?\d*|\.\d+)(?:e[-+]?\d+)?$/i;

/** What an answer says, or null when the line is none. */
function parse(line) {
  const found = line.length > LONGEST_LINE ? null : ANSWER.exec(line);
  if (!found) return null;
  return { values: found[1] ?? "", ok: found[2] === "OK", clock: Number(found[3]), events: Number(found[4]) >>> 0 };
}

const namesOf = (events) => EVENT_NAMES.filter((_, k) => events >>> k & 1);

/** The number as it travels; throws NotANumber. */
function number(value) {
  if (typeof value === "number" && Number.isFinite(value)) return value;
  const hint = typeof value === "string" ? " A text is no number: Number(...) makes one of it." : "";
  throw new NotANumber(`A finite number is needed here, not ${shown(value)}.${hint}`);
}

function shown(value) {
  const text = typeof value === "string" ? JSON.stringify(value) : String(value);
  return text.length > 60 ? `${text.slice(0, 60)}...` : text;
}

function whole(value, least, most, word) {
  if (!Number.isInteger(value) || value < least || value > most) {
    throw new BadValue(`${word} takes a whole number from ${least} to ${most}, not ${shown(value)}.`);
  }
  return value;
}

/** A fault of an answer, found while it is read. */
class Misfit extends Error {}

function numbers(answer, count) {
  const words = answer.values.split(" ");
  if (words.length !== count || !words.every((word) => NUMBER.test(word))) throw new Misfit();
  return words.map(Number);
}

function integer(text) {
  if (!/^-?\d{1,15}$/.test(text)) throw new Misfit();
  return Number(text);
}

/** To 0 or more and below 360. */
function wrap(angle) {
  const rest = angle % 360;
  const wrapped = rest < 0 ? rest + 360 : rest;
  return wrapped < 360 ? wrapped + 0 : 0;
}

/** To more than -180 and at most 180. */
function halfTurn(angle) {
  const wrapped = wrap(angle);
  return wrapped > 180 ? wrapped - 360 : wrapped;
}

const hex = (bytes) => Array.from(bytes, (byte) => byte.toString(16).padStart(2, "0")).join("");

// What the answers to a word mean.
const readPoint = (answer) => {
  const [x, y] = numbers(answer, 2);
  return { x: x + 0, y: y + 0 };
};
const readNumber = (answer) => numbers(answer, 1)[0];
const readCount = (answer) => integer(answer.values);
const readFlag = (answer) => readNumber(answer) !== 0;
const readDone = (answer) => answer.ok;
const last = (read) => (...answers) => read(answers.at(-1));

const freshPen = (down) => ({ down, recolored: false, way: "l", color: [1, 0, 0], fill: [1, 0, 0], width: 1 });

/** One connection to the field, and the turtle that it drives. Made by connect(). */
export class Turtle {
  #transport;
  #ending = ""; // why there is no transport any more
  #last = Promise.resolve(); // the word that was called last
  #batch = null; // [{lines, read}] while a batch is being made
  #pen = freshPen(true);
  #ground = [0, 0, 0];
  #mode = 1;
  #trace = null; // {points, strokes} since beginFill()
  #strict = false;
  #admitted = false; // an answer has come
  #hit = false;
  #happened = 0; // events since events() was asked last
  #obstacle = ""; // what was in the way, since the last step or turn that was done
  #due = []; // events for the callbacks, in the order of the answers
  #callbacks = new Map();
  #delivering = false;

  constructor(transport) {
    this.#transport = transport;
    for (const name of EVENT_NAMES) {
      this[`on${name[0].toUpperCase()}${name.slice(1)}`] = (callback) => {
        if (callback === null || callback === undefined) this.#callbacks.delete(name);
        else if (typeof callback === "function") this.#callbacks.set(name, callback);
        else throw new BadValue(`A function is needed here, not ${shown(callback)}.`);
      };
    }
  }

  /** The first exchange: is the turtle admitted? Called once, by connect(). */
  async greet() {
    await this.#say([".", "p d"], () => true);
    return this;
  }

  // --------------------------------------------------------------------------------------------- exchanges

  /** One word of one packet: read(...answers) makes of the answers what the word returns. In a batch, later. */
  #say(lines, read) {
    if (this.#batch) {
      if (this.#batch.lines + lines.length > LONGEST_BATCH) throw new BadValue("At most 1000 lines in a batch.");
      this.#batch.lines += lines.length;
      this.#batch.words.push({ lines, read });
      return undefined;
    }
    return this.#word(() => this.#exchange(lines, read));
  }

  /** Runs a word after all that were called before it, then the callbacks of what has happened in it. */
  #word(run) {
    const mine = this.#last.then(run);
    this.#last = mine.catch(() => {});
    return this.#callbacks.size === 0 ? mine : this.#andDeliver(mine);
  }

  async #andDeliver(word) {
    try {
      return await word;
    } finally {
      await this.#deliver();
    }
  }

  async #exchange(lines, read) {
    if (!this.#transport) throw new Lost(`There is no connection to the field any more: ${this.#ending}.`);
    // Otherwise the next line would be taken for the answer to another command.
    if (this.#transport.hasMore) throw this.#badAnswer("an answer that nobody asked for");
    const answers = [];
    try {
      this.#transport.send(`${lines.join("\n")}\n`);
      while (answers.length < lines.length) {
        const line = await this.#transport.receive();
        const answer = parse(line);
        if (!answer) throw this.#badAnswer(line);
        this.#note(answer);
        answers.push(answer);
      }
    } catch (error) {
      throw error instanceof KelmoraError ? error : this.#broken(error);
    }
    try {
      return read(...answers);
    } catch (error) {
      throw error instanceof Misfit ? this.#badAnswer(answers.map((answer) => answer.values).join(" ")) : error;
    }
  }

  #note(answer) {
    this.#admitted = true;
    if (answer.events === 0) return;
    this.#happened |= answer.events;
    if (answer.events & HIT) this.#hit = true;
    if (this.#callbacks.size > 0) this.#due.push(answer.events);
  }

  #end(why) {
    const transport = this.#transport;
    this.#transport = null;
    this.#ending = why;
    transport?.close();
  }

  #broken(error) {
    const where = this.#transport?.where ?? "the field";
    if (error instanceof Silence) {
      this.#end("the field did not answer in time");
      return new NoAnswer("The field does not answer. Does its window still move? Is the network still there?");
    }
    if (error instanceof TooLong) return this.#badAnswer(error.message);
    this.#end(this.#ending || `it ended earlier (${error.message})`);
    if (!this.#admitted) {
      return new NotAdmitted(
        `The field at ${where} hung up at once. Either it is private, and then your program must run on its machine and ` +
        "connect to 127.0.0.1 (the key @ in its window makes it public), or its ten places are taken.",
      );
    }
    if (this.#hit) return new Died("The turtle has died: it was hit too often. Start the program again for a new one.");
    return new Lost(
      `The connection to the field has ended: ${error.message}. The field was closed, or somebody has removed all turtles.`,
    );
  }

  #badAnswer(line) {
    const where = this.#transport?.where ?? "this";
    this.#end("what came was no answer of a field");
    return new BadAnswer(`This is no answer of a field: ${shown(line)}. Is ${where} the right address?`);
  }

  async #deliver() {
    if (this.#delivering) return;
    this.#delivering = true;
    try {
      while (this.#due.length > 0) {
        for (const name of namesOf(this.#due.shift())) await this.#callbacks.get(name)?.();
      }
    } finally {
      this.#delivering = false;
    }
  }

  /** Refuses a word that needs an answer on its way while a batch is made. */
  #immediate(word) {
    if (this.#batch) throw new BadValue(`${word} needs an answer on its way and cannot be part of a batch.`);
  }

  // Makes errors in a word's arguments reject its promise, like all other errors.
  #guard(make) {
    if (this.#batch) return make();
    try {
      return make();
    } catch (error) {
      return Promise.reject(error);
    }
  }

  #do(line) {
    return this.#guard(() => this.#say([line], readDone));
  }

  // ------------------------------------------------------------------------------------------------ motion

  /** What stands before a line that moves, so that it gets its colour whole: the field blends it from the one before. */
  #colorRule() {
    if (!this.#pen.recolored || !this.#pen.down || this.#pen.way !== "l") return [];
    this.#pen.recolored = false;
    return ["p d"];
  }

  /**
   * One step or jump, sent in one packet with the lines that must come before it. Only its own answer decides. While an
   * area is being made, the packet also asks for the turtle's place. `say` sends the packet.
   */
  #step(say, line, { jump = false, first = [], after = [], painting = true, rule = undefined } = {}) {
    const lines = [...first, ...(painting ? rule ?? this.#colorRule() : []), line];
    const result = lines.length - 1;
    lines.push(...after);
    const trace = this.#trace;
    if (trace) lines.push("q p");
    const { down, color, width, way } = this.#pen;
    return say(lines, (...answers) => {
      const done = this.#moved(answers[result], jump);
      if (done && trace) {
        const end = readPoint(answers.at(-1));
        if (down && painting) trace.strokes.push({ start: trace.points.at(-1), end, color, width, way });
        trace.points.push(end);
      }
      return done;
    });
  }

  #now = (lines, read) => this.#exchange(lines, read);

  #moved(answer, jump = false) {
    if (answer.ok) {
      this.#obstacle = "";
      return true;
    }
    const told = namesOf(answer.events & BLOCKING).at(-1);
    if (told) this.#obstacle = told;
    if (this.#strict) throw new Blocked(jump && !told ? "jump" : this.#obstacle || "something");
    return false;
  }

  #move(line, jump = false) {
    return this.#step((lines, read) => this.#say(lines, read), line, { jump });
  }

  forward(distance) {
    return this.#guard(() => this.#move(`f ${number(distance)}`));
  }
  back(distance) {
    return this.#guard(() => this.#move(`b ${number(distance)}`));
  }
  left(angle) {
    return this.#guard(() => this.#say([`t l ${number(angle)}`], (answer) => this.#moved(answer)));
  }
  right(angle) {
    return this.#guard(() => this.#say([`t r ${number(angle)}`], (answer) => this.#moved(answer)));
  }
  goto(x, y) {
    return this.#guard(() => {
      const [toX, toY] = pair(x, y);
      return this.#move(`j ${number(toX)} ${number(toY)}`, true);
    });
  }
  shift(dx, dy) {
    return this.#guard(() => this.#move(`g ${number(dx)} ${number(dy)}`, true));
  }
  setx(x) {
    return this.#along("setx", x, (here) => [x, here.y]);
  }
  sety(y) {
    return this.#along("sety", y, (here) => [here.x, y]);
  }
  #along(word, given, goal) {
    return this.#guard(() => {
      number(given);
      this.#immediate(word);
      const rule = this.#colorRule();
      return this.#word(async () => {
        const [x, y] = goal(await this.#exchange(["q p"], readPoint));
        return this.#step(this.#now, `j ${x} ${y}`, { jump: true, rule });
      });
    });
  }
  setheading(angle) {
    return this.#guard(() => {
      const wanted = wrap(number(angle));
      const compass = COMPASS.get(wanted);
      // In battle mode the field answers this with the turtle's place and does nothing.
      const face = (answer) => (answer.values === "" ? this.#moved(answer) : null);
      if (compass && this.#batch) return this.#say([compass], (answer) => face(answer) ?? false);
      this.#immediate("setheading to this angle");
      return this.#word(async () => {
        const done = compass ? await this.#exchange([compass], face) : null;
        if (done !== null) return done;
        const heading = await this.#exchange(["q d"], readNumber);
        return this.#exchange([`t l ${halfTurn(wanted - heading)}`], (answer) => this.#moved(answer));
      });
    });
  }
  home() {
    return this.#guard(() => {
      this.#immediate("home");
      const rule = this.#colorRule();
      return this.#word(() => this.#walkHome(rule));
    });
  }
  async #walkHome(rule) {
    const [here, heading] = await this.#exchange(["q p", "q d"], (place, facing) => [readPoint(place), readNumber(facing)]);
    const way = Math.hypot(here.x, here.y);
    if (way > 1e-6) {
      const turn = halfTurn(Math.atan2(-here.y, -here.x) * DEGREES - heading);
      if (!(await this.#step(this.#now, `f ${way}`, { first: [`t l ${turn}`], rule }))) return false;
    }
    return this.#exchange(["t e"], (answer) => answer.values === "" && this.#moved(answer));
  }
  circle(radius, extent = 360, steps = undefined) {
    return this.#guard(() => {
      this.#immediate("circle");
      const sides = 1 + Math.trunc((Math.min(11 + Math.abs(number(radius)) / 6, 59) * Math.abs(number(extent))) / 360);
      const count = whole(steps ?? sides, 1, 100000, "circle");
      const sign = radius < 0 ? -1 : 1;
      const angle = (sign * extent) / count;
      const side = number(2 * radius * Math.sin(angle / DEGREES / 2));
      let rule = this.#colorRule();
      return this.#word(async () => {
        for (let k = 0; k < count; k++) {
          const first = [`t l ${k === 0 ? angle / 2 : angle}`];
          if (!(await this.#step(this.#now, `f ${side}`, { first, rule }))) return false;
          rule = [];
        }
        return this.#exchange([`t l ${angle / 2}`], (answer) => this.#moved(answer));
      });
    });
  }
  teleport(x, y) {
    return this.#guard(() => {
      const [toX, toY] = pair(x, y);
      const line = `j ${number(toX)} ${number(toY)}`;
      if (!this.#pen.down) return this.#move(line, true);
      this.#pen.recolored = false;
      const packets = this.#liftBrush();
      const way = { jump: true, first: ["p u"], after: ["p d"], painting: false };
      if (packets.length === 0 || this.#batch) return this.#step((lines, read) => this.#say(lines, read), line, way);
      return this.#word(async () => {
        await this.#exchange(packets[0], readDone);
        return this.#step(this.#now, line, way);
      });
    });
  }

  // --------------------------------------------------------------------------------------------------- pen

  penup() {
    this.#pen.down = false;
    return this.#do("p u");
  }
  pendown() {
    this.#pen.down = true;
    this.#pen.recolored = false;
    return this.#do("p d");
  }
  isdown() {
    return this.#pen.down;
  }
  pensize(width = undefined) {
    if (width === undefined) return this.#pen.width;
    return this.#guard(() => {
      if (number(width) <= 0) throw new BadValue("A pen is wider than 0.");
      this.#pen.width = width;
      return this.#say([`w ${width}`], readDone);
    });
  }
  #color(parts) {
    const given = parts.length === 1 && Array.isArray(parts[0]) ? parts[0] : parts;
    if (given.length === 1 && typeof given[0] === "string") {
      const color = colorByName(given[0]);
      if (color) return color;
      throw new BadValue(`There is no colour ${shown(given[0])}: use a name like red, or #rrggbb, or three numbers.`);
    }
    if (given.length !== 3) throw new BadValue("A colour is a name, #rrggbb, or three numbers.");
    return given.map((part) => {
      if (number(part) < 0 || part > this.#mode) {
        throw new BadValue(`The parts of a colour are numbers from 0 to ${this.#mode} (or call colormode(${this.#mode === 1 ? 255 : 1})).`);
      }
      return part / this.#mode;
    });
  }
  #inMode(color) {
    return color.map((part) => part * this.#mode);
  }
  #sendPen(color) {
    const packets = this.#liftBrush(); // a stroke has one colour
    this.#pen.color = color;
    if (packets.length > 0) return this.#packets([...packets, [paintOf(color), "p d"]]);
    this.#pen.recolored = this.#pen.down;
    return this.#say([paintOf(color)], readDone);
  }
  pencolor(...parts) {
    if (parts.length === 0) return this.#inMode(this.#pen.color);
    return this.#guard(() => this.#sendPen(this.#color(parts)));
  }
  fillcolor(...parts) {
    if (parts.length === 0) return this.#inMode(this.#pen.fill);
    this.#pen.fill = this.#color(parts);
    return undefined;
  }
  color(...parts) {
    if (parts.length === 0) return [this.pencolor(), this.fillcolor()];
    return this.#guard(() => {
      const two = parts.length === 2;
      const fill = this.#color(two ? [parts[1]] : parts);
      const pen = this.#color(two ? [parts[0]] : parts);
      this.#pen.fill = fill;
      return this.#sendPen(pen);
    });
  }
  colormode(mode = undefined) {
    if (mode === undefined) return this.#mode;
    if (mode !== 1 && mode !== 255) throw new BadValue(`colormode is 1 or 255, not ${shown(mode)}.`);
    this.#mode = mode;
    return undefined;
  }
  /** The packet that finishes a stroke of the brush, which runs behind the turtle: a frame with the pen up. */
  #liftBrush() {
    return this.#pen.down && this.#pen.way === "l b" ? [["p u"]] : [];
  }
  #way(line) {
    return this.#guard(() => {
      const packets = this.#liftBrush();
      this.#pen.way = line;
      if (this.#pen.down) this.#pen.recolored = false;
      // `p d` drops older points.
      return this.#packets([...packets, this.#pen.down ? [line, "p d"] : [line]]);
    });
  }
  /** Several packets as one word; in a batch all lines go in its packet. */
  #packets(packets) {
    if (packets.length === 1 || this.#batch) return this.#say(packets.flat(), last(readDone));
    return this.#word(async () => {
      let done = true;
      for (const packet of packets) done = await this.#exchange(packet, last(readDone));
      return done;
    });
  }
  lines() {
    return this.#way("l");
  }
  polygons() {
    return this.#way("l s");
  }
  points() {
    return this.#way("l p");
  }
  brush() {
    return this.#way("l b");
  }
  beginFill() {
    return this.#guard(() => {
      this.#immediate("beginFill");
      const trace = { points: [], strokes: [] };
      this.#trace = trace;
      return this.#word(() => this.#exchange(["q p"], (answer) => {
        trace.points.push(readPoint(answer));
      }));
    });
  }
  endFill() {
    return this.#guard(() => {
      this.#immediate("endFill");
      const trace = this.#trace;
      this.#trace = null;
      if (!trace) return Promise.resolve(true);
      const { fill } = this.#pen;
      const pen = { ...this.#pen };
      return this.#word(() => {
        const pieces = piecesOf(trace.points);
        if (pieces.length === 0) return true;
        const packets = [...fillPackets(pieces, fill), ...strokePackets(straightened(trace.strokes))];
        return this.#painted(packets, pen, trace.points.at(-1));
      });
    });
  }
  filling() {
    return this.#trace !== null;
  }
  dot(size = undefined, ...color) {
    return this.#guard(() => {
      this.#immediate("dot");
      if (typeof size === "string" || Array.isArray(size)) return this.dot(undefined, size);
      const pen = { ...this.#pen };
      const ink = color.length > 0 ? this.#color(color) : pen.color;
      const width = size === undefined ? Math.max(pen.width + 4, pen.width * 2) : number(size);
      if (width <= 0) throw new BadValue(`A dot is wider than 0, not ${shown(size)}.`);
      this.#pen.recolored = false;
      return this.#word(async () => {
        const here = await this.#exchange(["q p"], readPoint);
        // Up to this size a square looks like a disc.
        if (width > 4) return this.#painted(fillPackets(piecesOf(disc(here, width)), ink), pen, here);
        return this.#painted([["p u", "l p", paintOf(ink), `w ${width}`, "p d", "f 0"]], pen, null);
      });
    });
  }
  /** Sends the packets until something is refused, then puts turtle and pen back as they were. */
  async #painted(packets, pen, backTo) {
    const allDone = (...answers) => answers.every((answer) => answer.ok);
    let done = true;
    for (const packet of packets) {
      done = await this.#exchange(packet, allDone);
      if (!done) break;
    }
    const end = ["p u", ...(backTo ? [`j ${backTo.x} ${backTo.y}`] : []), pen.way, paintOf(pen.color), `w ${pen.width}`];
    if (pen.down) {
      end.push("p d");
      this.#pen.recolored = false;
    }
    done = (await this.#exchange(end, allDone)) && done;
    if (!done && this.#strict) throw new Blocked(backTo ? "jump" : "something");
    return done;
  }
  write(text) {
    return this.#guard(() => {
      if (!/^[ -~]{1,127}$/.test(text)) throw new BadValue("A text to write has 1 to 127 plain letters; the field has no others.");
      return this.#say([`s ${hex(new TextEncoder().encode(text))}`], readDone);
    });
  }
  bgcolor(...parts) {
    if (parts.length === 0) return this.#inMode(this.#ground);
    return this.#guard(() => {
      this.#ground = this.#color(parts);
      return this.#say([`h ${this.#ground.join(" ")}`], readDone);
    });
  }
  clear() {
    return this.#do("c f");
  }
  clearscreen() {
    return this.#do("c a");
  }
  reset() {
    return this.#guard(() => {
      this.#immediate("reset");
      this.#pen = freshPen(true);
      this.#trace = null;
      return this.#word(async () => {
        await this.#exchange(["c f", "k 1 0 0", "w 1", "l", "p u"], readDone);
        const atHome = await this.#walkHome([]);
        await this.#exchange(["p d"], readDone);
        return atHome;
      });
    });
  }
  restart() {
    this.#pen = freshPen(false);
    this.#trace = null;
    return this.#do("c");
  }

  // ------------------------------------------------------------------------------------------------ asking

  position() {
    return this.#guard(() => this.#say(["q p"], readPoint));
  }
  xcor() {
    return this.#guard(() => this.#say(["q p"], (answer) => readPoint(answer).x));
  }
  ycor() {
    return this.#guard(() => this.#say(["q p"], (answer) => readPoint(answer).y));
  }
  heading() {
    return this.#guard(() => this.#say(["q d"], (answer) => wrap(readNumber(answer))));
  }
  distance(x, y) {
    return this.#wayTo(x, y, (dx, dy) => Math.hypot(dx, dy));
  }
  towards(x, y) {
    return this.#wayTo(x, y, (dx, dy) => wrap(Math.atan2(dy, dx) * DEGREES));
  }
  #wayTo(x, y, read) {
    return this.#guard(() => {
      const readWay = (goal) => (answer) => {
        const here = readPoint(answer);
        return read(goal.x - here.x, goal.y - here.y);
      };
      if (x instanceof Turtle && y === undefined) {
        this.#immediate("The way to another turtle");
        const place = x.position(); // asked at once: so two turtles may ask for each other
        place.catch(() => {});
        return this.#word(async () => this.#exchange(["q p"], readWay(await place)));
      }
      const [toX, toY] = pair(x, y).map(number);
      return this.#say(["q p"], readWay({ x: toX, y: toY }));
    });
  }
  #count(line) {
    return this.#guard(() => this.#say([line], readCount));
  }
  score() {
    return this.#count("q s");
  }
  alive() {
    return this.#guard(() => this.#say(["q a"], readFlag));
  }
  clock() {
    return this.#count("q t");
  }
  turtles() {
    return this.#count("q n");
  }
  coins() {
    return this.#count("q o");
  }
  coinsNear() {
    return this.#count("q c");
  }
  message() {
    return this.#guard(() => this.#say(["q b"], (answer) => {
      const blank = answer.values.indexOf(" ");
      if (blank < 0) throw new Misfit();
      return { time: integer(answer.values.slice(0, blank)), text: answer.values.slice(blank + 1) };
    }));
  }
  finder(range = undefined) {
    return this.#guard(() => {
      const lines = range === undefined ? ["q f"] : [`e ${number(range)}`, "q f"];
      return this.#say(lines, last((answer) => {
        const [what, team] = numbers(answer, 2);
        if (THINGS[what] === undefined) throw new Misfit();
        return { what: THINGS[what], team };
      }));
    });
  }
  sonar() {
    return this.#guard(() => this.#say(["q w"], (answer) => {
      const [left, front, right] = numbers(answer, 3).map((flag) => flag !== 0);
      return { left, front, right };
    }));
  }
  radar(k = 1) {
    return this.#guard(() => this.#say([`q r ${whole(k, 1, 5, "radar")}`], (answer) => {
      if (!answer.ok) return null;
      const [bearing, team] = numbers(answer, 2);
      return { bearing, team };
    }));
  }
  cardShown(n) {
    return this.#guard(() => this.#say([`q z s ${whole(n, 1, 52, "cardShown")}`], readFlag));
  }
  cardPosition(n) {
    return this.#guard(() => this.#say([`q z p ${whole(n, 1, 52, "cardPosition")}`], readPoint));
  }
  ping() {
    return this.#guard(() => this.#say(["."], (answer) => answer.clock));
  }
  events() {
    return this.#guard(() => this.#say(["."], () => {
      const names = namesOf(this.#happened);
      this.#happened = 0;
      return names;
    }));
  }
  ask(line) {
    return this.#guard(() => {
      if (typeof line !== "string" || !/^[ -:<-~]*[!-:<-~][ -:<-~]*$/.test(line) || line.length > LONGEST_COMMAND) {
        throw new BadValue(`A command is one line of 1 to 511 plain characters without ";", not ${shown(line)}.`);
      }
      return this.#say([line], (answer) => answer);
    });
  }

  // ------------------------------------------------------------------------------------------------- doing

  name(text) {
    return this.#guard(() => {
      const bytes = new TextEncoder().encode(String(text));
      if (bytes.length > TEXT_BYTES || bytes.includes(0)) throw new BadValue("A name has at most 127 bytes, none of them 0.");
      return this.#say([`n ${hex(bytes)}`], readDone);
    });
  }
  team(n = undefined) {
    if (n === undefined) return this.#count("q m");
    return this.#guard(() => this.#say([`i ${whole(n, 1, 4, "team")}`], readDone));
  }
  broadcast(text) {
    return this.#guard(() => {
      if (typeof text !== "string" || !/^[!-:<-~][ -:<-~]*$/.test(text) || text.length > BOARD_BYTES) {
        throw new BadValue('A team\'s board takes 1 to 128 plain letters, no ";", and no blank in front.');
      }
      return this.#say([`u ${text}`], readDone);
    });
  }
  pick() {
    return this.#do("o");
  }
  drop() {
    return this.#do("o s");
  }
  borrow() {
    return this.#do("o b");
  }
  throwCoin() {
    return this.#do("o x");
  }
  doughnut() {
    return this.#do("d");
  }
  fire() {
    return this.#do("x");
  }
  robot() {
    return this.#do("r");
  }
  card(n, x, y) {
    return this.#guard(() => this.#say([`z ${whole(n, 1, 53, "card")} ${number(x)} ${number(y)}`], readDone));
  }
  takeCard(n) {
    return this.#guard(() => this.#say([`z -${whole(n, 1, 53, "takeCard")}`], readDone));
  }
  clearCards() {
    return this.#do("z 0");
  }
  battle(on = true) {
    return this.#do(on ? "!" : "! -");
  }

  // ------------------------------------------------------------------------------------------------ events

  #switch(sign, names) {
    return this.#guard(() => {
      let sum = 0;
      for (const name of names) {
        const k = EVENT_NAMES.indexOf(name);
        if (k < 0) throw new BadValue(`There is no event called ${shown(name)}; there are ${EVENT_NAMES.join(", ")}.`);
        sum |= 1 << k;
      }
      return this.#say([`y ${sign} ${sum}`], readDone);
    });
  }
  mute(...names) {
    return this.#switch("-", names);
  }
  unmute(...names) {
    return this.#switch("+", names);
  }

  // --------------------------------------------------------------------------------------- ways of working

  /** What stopped the last step that was refused, as in Blocked; null when the last step or turn was done. */
  blockedBy() {
    return this.#obstacle || null;
  }
  strict(on = true) {
    this.#strict = Boolean(on);
  }

  batch(words) {
    return this.#guard(() => {
      if (this.#batch) throw new BadValue("A batch is being made already: one cannot stand inside another.");
      if (typeof words !== "function") throw new BadValue("batch takes a function that calls the words.");
      const pen = { ...this.#pen };
      const ground = this.#ground;
      this.#batch = { words: [], lines: 0 };
      let made;
      try {
        if (words(this) instanceof Promise) throw new BadValue("The function of a batch awaits nothing: it is no async function.");
        made = this.#batch.words;
      } catch (error) {
        this.#pen = pen;
        this.#ground = ground;
        throw error;
      } finally {
        this.#batch = null;
      }
      if (made.length === 0) return Promise.resolve([]);
      return this.#word(() => this.#exchange(made.flatMap((word) => word.lines), (...answers) => {
        let blocked = null;
        const results = made.map(({ lines, read }) => {
          try {
            return read(...answers.splice(0, lines.length));
          } catch (error) {
            if (!(error instanceof Blocked)) throw error;
            blocked ??= error;
            return false;
          }
        });
        if (blocked) throw blocked;
        return results;
      }));
    });
  }

  /** Hangs up. The turtle stays on the field as a zombie. */
  close() {
    this.#end("the program has hung up");
  }
}

/** Two numbers, or a place as {x, y} or [x, y]. */
function pair(x, y) {
  if (y !== undefined) return [x, y];
  if (Array.isArray(x) && x.length === 2) return x;
  if (x !== null && typeof x === "object" && "x" in x && "y" in x) return [x.x, x.y];
  return [x, y];
}

const ALIASES = {
  fd: "forward", bk: "back", backward: "back", lt: "left", rt: "right", setpos: "goto", setposition: "goto",
  seth: "setheading", pu: "penup", up: "penup", pd: "pendown", down: "pendown", width: "pensize", pos: "position", bye: "close",
};
for (const [alias, word] of Object.entries(ALIASES)) {
  Object.defineProperty(Turtle.prototype, alias, { value: Turtle.prototype[word], writable: true, configurable: true });
}

let factory = null; // makes the transports of turtles that no address was given for

/**
 * From now on connect() without an address takes its transport from factory(), which may give a promise; null: the real
 * field again.
 */
export function use(maker = null) {
  if (maker !== null && typeof maker !== "function") throw new BadValue(`A function is needed here, not ${shown(maker)}.`);
  factory = maker;
}

/**
 * From now on turtles draw on a field inside this program; its svg() shows what they have drawn. Options: painter, which
 * gets what is painted piece by piece (any of the methods of Picture); pace, the seconds that a frame takes (0); seed, a
 * number that makes chance repeat itself. use(null) goes back to the real field.
 */
export function practice(options = {}) {
  const field = new PracticeField(options);
  use(() => field.transport());
  return field;
}

/**
 * Connects to a field and takes a turtle there, with its pen down. Options: host and port (else KELMORA_HOST and
 * KELMORA_PORT, else this machine's field); socket: a WebSocket or its address instead; transport: a way of your own;
 * timeout and connectTimeout in milliseconds. Rejects with NoField or NotAdmitted.
 */
export async function connect(options = {}) {
  const { timeout = 20000, connectTimeout = 5000 } = options;
  let transport = options.transport;
  if (!transport && factory && options.host === undefined && options.port === undefined && !options.socket) {
    transport = await factory();
  }
  if (!transport && options.socket) transport = await WebSocketTransport.connect(options.socket, connectTimeout, timeout);
  if (!transport) {
    const { host, port } = addressOf(options);
    transport = await TcpTransport.connect(host, port, connectTimeout, timeout);
  }
  return new Turtle(transport).greet();
}
