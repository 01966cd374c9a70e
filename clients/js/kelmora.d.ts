// Types of the package kelmora, and what its words do. Distances are field units (the field is 512 wide, (0, 0) in the
// middle), angles degrees (0 is east, left turns are positive), colours parts from 0 to 1.

/** Base of all errors; its message says in plain words what went wrong and what to do. */
export class KelmoraError extends Error {}
/** Nothing listens at that address, there is no such machine, or it does not answer. */
export class NoField extends KelmoraError {}
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
/** An argument is out of its range; nothing was sent. */
export class BadValue extends KelmoraError {}
/** In strict mode: a step, a turn or a jump was refused. */
export class Blocked extends KelmoraError {
  readonly by: "turtle" | "doughnut" | "stone" | "wall" | "jump" | "something";
}

/** What a transport throws or rejects with: the field has hung up. */
export class HungUp extends Error {}
/** What a transport rejects with: nothing came in time. */
export class Silence extends Error {}
/** What a transport rejects with: a line that never ends. */
export class TooLong extends Error {}

/** Carries lines to a field and back; give your own to connect(). */
export interface Transport {
  /** Sends one packet: one or more whole lines, each with its line feed. */
  send(lines: string): void;
  /** The next line, without its line feed. */
  receive(): Promise<string>;
  /** Hangs up; calling it again does nothing. */
  close(): void;
  /** Whether more has come than was received: asked before a packet goes out, when no answer is due. */
  readonly hasMore?: boolean;
  /** Where the field is, for messages. */
  readonly where: string;
}

/** Any WebSocket, that of browsers or a package's, whose messages carry the same lines. */
export interface SocketLike {
  readonly url?: string;
  readonly readyState: number;
  binaryType: string;
  send(data: string): void;
  close(): void;
  addEventListener(type: string, listener: (event: any) => void): void;
}

export interface Options {
  /** Else KELMORA_HOST, else this machine. */
  host?: string;
  /** Else KELMORA_PORT, else 2222. */
  port?: number;
  /** A WebSocket, or its address, instead of host and port. */
  socket?: SocketLike | string | URL;
  /** A way of your own instead of both. */
  transport?: Transport;
  /** Milliseconds to wait for an answer: 20000. */
  timeout?: number;
  /** Milliseconds to wait for the connection: 5000. */
  connectTimeout?: number;
}

export interface Point {
  x: number;
  y: number;
}
export type Place = Point | [number, number];
export type Color = [number, number, number];
/** A name ("red"), "#rrggbb", "#rgb", three numbers, or an array of them. */
export type ColorArguments = [name: string] | [parts: Color] | [r: number, g: number, b: number];
export type EventName = "hit" | "turtle" | "doughnut" | "stone" | "wall" | "coin" | "found" | "seen" | "message";
export type Callback = (() => unknown) | null;

export interface Found {
  what: "nothing" | "turtle" | "doughnut" | "stone" | "wall";
  /** 0 = none. */
  team: number;
}
export interface Seen {
  /** Degrees from the heading, left is positive; off by up to 20 either way. */
  bearing: number;
  team: number;
}
export interface Sonar {
  left: boolean;
  front: boolean;
  right: boolean;
}
export interface Message {
  /** The field's clock when it was posted. */
  time: number;
  text: string;
}
export interface Answer {
  values: string;
  ok: boolean;
  clock: number;
  /** Sum of the events since the answer before. */
  events: number;
}

/** Gets what is painted on a practice field. Places are in field units, colours three numbers from 0 to 1. */
export interface Painter {
  /** The whole ground in one colour. */
  wipe?(color: Color): void;
  /** From an old end to the new one; the colour runs from the first to the second. */
  line?(x0: number, y0: number, x1: number, y1: number, width: number, color0: Color, color1: Color): void;
  /** Up to six corners, and their colours. */
  polygon?(points: Point[], colors: Color[]): void;
  point?(x: number, y: number, size: number, color: Color): void;
  text?(x: number, y: number, text: string, color: Color): void;
  /** Where a turtle now stands; a doughnut is one of that name. */
  turtle?(number: number, x: number, y: number, heading: number, color: Color, name: string): void;
  gone?(number: number): void;
  coin?(number: number, x: number, y: number, shown: boolean): void;
  card?(number: number, x: number, y: number, shown: boolean): void;
  /** A frame is complete. */
  frame?(): void;
}

export interface PracticeOptions {
  /** Else a picture is kept, for svg() and save(). */
  painter?: Painter;
  /** Seconds that a frame takes: 0. */
  pace?: number;
  /** Makes chance repeat itself. */
  seed?: number;
}

/** A field inside the program, by a field's rules: without stones and mazes, and brush strokes are plain lines. */
export class PracticeField {
  constructor(options?: PracticeOptions);
  readonly clock: number;
  /** The connection of a new turtle. */
  transport(): Transport;
  /** The picture; only without a painter of your own. */
  svg(): string;
  /** Writes the picture to a file whose name ends in .svg. Node only. */
  save(path: string): Promise<void>;
}

/** From now on turtles draw on a field inside this program; use(null) goes back to the real one. */
export function practice(options?: PracticeOptions): PracticeField;
/** From now on connect() without an address takes its transport from the function; null: the real field again. */
export function use(maker?: (() => Transport | Promise<Transport>) | null): void;

/** Connects to a field and takes a turtle there, with its pen down. Rejects with NoField or NotAdmitted. */
export function connect(options?: Options): Promise<Turtle>;

/**
 * One connection to the field, and the turtle that it drives. Words that talk to the field return promises; those that
 * are not awaited run one after the other all the same. A promise of a boolean is false when something is in the way, or
 * when the field refuses; any word may reject with Died, Lost, NoAnswer or BadAnswer, after which the connection is over.
 */
export class Turtle {
  private constructor();

  /** Goes so far forward, backward when negative: all of it, or nothing. */
  forward(distance: number): Promise<boolean>;
  fd(distance: number): Promise<boolean>;
  back(distance: number): Promise<boolean>;
  bk(distance: number): Promise<boolean>;
  backward(distance: number): Promise<boolean>;
  /** Turns. In battle mode a turn is at most 3 degrees, a step at most 2. */
  left(angle: number): Promise<boolean>;
  lt(angle: number): Promise<boolean>;
  right(angle: number): Promise<boolean>;
  rt(angle: number): Promise<boolean>;
  /** Jumps, with a line when the pen is down. Refused in battle, and while somebody is closer than 20. */
  goto(x: number, y: number): Promise<boolean>;
  goto(place: Place): Promise<boolean>;
  setpos(x: number, y: number): Promise<boolean>;
  setpos(place: Place): Promise<boolean>;
  setposition(x: number, y: number): Promise<boolean>;
  setposition(place: Place): Promise<boolean>;
  /** Jumps by (dx, dy). */
  shift(dx: number, dy: number): Promise<boolean>;
  setx(x: number): Promise<boolean>;
  sety(y: number): Promise<boolean>;
  setheading(angle: number): Promise<boolean>;
  seth(angle: number): Promise<boolean>;
  /** Walks to the middle and faces east. */
  home(): Promise<boolean>;
  /** A circle whose middle is so far to the left (right, when negative), or an arc of it, as a polygon. */
  circle(radius: number, extent?: number, steps?: number): Promise<boolean>;
  /** Jumps without drawing. */
  teleport(x: number, y: number): Promise<boolean>;
  teleport(place: Place): Promise<boolean>;

  penup(): Promise<boolean>;
  pu(): Promise<boolean>;
  up(): Promise<boolean>;
  pendown(): Promise<boolean>;
  pd(): Promise<boolean>;
  down(): Promise<boolean>;
  isdown(): boolean;
  /** Width of the pen, in pixels. */
  pensize(): number;
  pensize(width: number): Promise<boolean>;
  width(): number;
  width(width: number): Promise<boolean>;
  pencolor(): Color;
  pencolor(...color: ColorArguments): Promise<boolean>;
  /** The colour that areas are filled with. */
  fillcolor(): Color;
  fillcolor(...color: ColorArguments): void;
  color(): [pen: Color, fill: Color];
  color(...both: ColorArguments): Promise<boolean>;
  color(pen: string | Color, fill: string | Color): Promise<boolean>;
  /** What the parts of a colour go up to. */
  colormode(): 1 | 255;
  colormode(mode: 1 | 255): void;
  /** What the pen leaves: lines; a filled polygon of the latest six points; points; strokes of a brush. */
  lines(): Promise<boolean>;
  polygons(): Promise<boolean>;
  points(): Promise<boolean>;
  brush(): Promise<boolean>;
  /** From here on the way of the turtle is the edge of an area, which endFill() fills. */
  beginFill(): Promise<void>;
  endFill(): Promise<boolean>;
  filling(): boolean;
  /** Paints a disc so wide. */
  dot(size?: number, ...color: ColorArguments | []): Promise<boolean>;
  dot(color: string | Color): Promise<boolean>;
  /** Writes 1 to 127 plain letters beside the turtle. */
  write(text: string): Promise<boolean>;
  /** Colour of the ground; setting it wipes everybody's painting. */
  bgcolor(): Color;
  bgcolor(...color: ColorArguments): Promise<boolean>;
  /** Wipes everybody's painting; clearscreen takes the zombies away, too. */
  clear(): Promise<boolean>;
  clearscreen(): Promise<boolean>;
  /** Wipes the painting, walks home and takes a red pen of width 1. */
  reset(): Promise<boolean>;
  /** A fresh turtle in the middle: pen up, no name, no team. */
  restart(): Promise<boolean>;

  position(): Promise<Point>;
  pos(): Promise<Point>;
  xcor(): Promise<number>;
  ycor(): Promise<number>;
  /** 0 or more and below 360. */
  heading(): Promise<number>;
  distance(x: number, y: number): Promise<number>;
  distance(place: Place | Turtle): Promise<number>;
  /** The heading to a place, or to another turtle, 0 or more and below 360. */
  towards(x: number, y: number): Promise<number>;
  towards(place: Place | Turtle): Promise<number>;
  score(): Promise<number>;
  alive(): Promise<boolean>;
  /** Ticks of the field. */
  clock(): Promise<number>;
  /** Turtles on the field, doughnuts and zombies included. */
  turtles(): Promise<number>;
  /** Coins that the turtle carries, and coins within 20. */
  coins(): Promise<number>;
  coinsNear(): Promise<number>;
  /** The team's board. */
  message(): Promise<Message>;
  /** What is first straight ahead, within a range that stays set (20 at the start). */
  finder(range?: number): Promise<Found>;
  sonar(): Promise<Sonar>;
  /** The k-th nearest, 1 to 5; null when there are not so many. */
  radar(k?: number): Promise<Seen | null>;
  /** Cards 1 to 52. */
  cardShown(n: number): Promise<boolean>;
  cardPosition(n: number): Promise<Point>;
  /** The field's clock, and a chance to hear of events. */
  ping(): Promise<number>;
  /** What has happened since events() was asked last. */
  events(): Promise<EventName[]>;
  /** Sends any line. */
  ask(line: string): Promise<Answer>;

  /** At most 127 bytes of UTF-8. */
  name(text: string): Promise<boolean>;
  /** The team, 0 for none; or joins team 1, 2, 3 or 4. */
  team(): Promise<number>;
  team(n: number): Promise<boolean>;
  /** Posts 1 to 128 plain letters on the team's board. */
  broadcast(text: string): Promise<boolean>;
  pick(): Promise<boolean>;
  drop(): Promise<boolean>;
  /** Ten coins from the bank. */
  borrow(): Promise<boolean>;
  throwCoin(): Promise<boolean>;
  doughnut(): Promise<boolean>;
  fire(): Promise<boolean>;
  robot(): Promise<boolean>;
  /** Lays card n, 1 to 53, on top of the others. */
  card(n: number, x: number, y: number): Promise<boolean>;
  takeCard(n: number): Promise<boolean>;
  clearCards(): Promise<boolean>;
  /** Battle for everybody, or back to drawing. */
  battle(on?: boolean): Promise<boolean>;

  mute(...names: EventName[]): Promise<boolean>;
  unmute(...names: EventName[]): Promise<boolean>;
  /** The function is called once an answer has told of the event, before the word's promise is kept; null: no more. */
  onHit(callback: Callback): void;
  onTurtle(callback: Callback): void;
  onDoughnut(callback: Callback): void;
  onStone(callback: Callback): void;
  onWall(callback: Callback): void;
  onCoin(callback: Callback): void;
  onFound(callback: Callback): void;
  onSeen(callback: Callback): void;
  onMessage(callback: Callback): void;

  /** What stopped the last step that was refused; null once a step or a turn was done. */
  blockedBy(): "turtle" | "doughnut" | "stone" | "wall" | null;
  /** From now on a step, a turn or a jump that is refused rejects with Blocked. */
  strict(on?: boolean): void;
  /**
   * Runs the function, in which words send nothing and return nothing; then sends all their lines as one packet and
   * gives what they would have returned. Words that need an answer on their way throw BadValue in it.
   */
  batch(words: (turtle: Turtle) => void): Promise<unknown[]>;
  /** Hangs up. The turtle stays on the field as a zombie. */
  close(): void;
  bye(): void;
}
