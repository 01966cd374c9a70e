// What only the JavaScript library has: WebSockets, other transports, promises that nobody awaits, callbacks.
// KELMORA_JS names the module. A scripted field answers each line as the functions here return.
import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import net from "node:net";
import { test } from "node:test";
import { pathToFileURL } from "node:url";

const { connect, BadAnswer, BadValue, Lost, NoAnswer, NoField, NotAdmitted, NotANumber, Silence } = await import(pathToFileURL(process.env.KELMORA_JS).href);

/** A field that replies answer(line) to each line and keeps the packets it received. */
async function field(t, answer = () => "OK @ 10 0") {
  const packets = [];
  const sockets = new Set();
  const server = net.createServer((socket) => {
    sockets.add(socket.setNoDelay(true));
    socket.on("error", () => {});
    socket.on("data", (data) => {
      const lines = data.toString().trimEnd().split("\n");
      packets.push(lines);
      socket.write(lines.map((line) => `${answer(line)}\n`).join(""));
    });
  });
  await new Promise((resolve) => server.listen(0, "127.0.0.1", resolve));
  t.after(() => {
    for (const socket of sockets) socket.destroy();
    server.close();
  });
  return { packets, port: server.address().port, host: "127.0.0.1" };
}

/** A WebSocket as the library sees it; passes its messages on to a field over TCP. */
class BridgedSocket extends EventTarget {
  readyState = 0;
  url = "ws://bridge";
  binaryType = "blob";
  #tcp;
  #wrap;
  constructor(port, wrap) {
    super();
    this.#wrap = wrap;
    this.#tcp = net.connect(port, "127.0.0.1", () => {
      this.readyState = 1;
      this.dispatchEvent(new Event("open"));
    });
    this.#tcp.on("error", () => this.dispatchEvent(new Event("error")));
    this.#tcp.on("close", () => this.dispatchEvent(new Event("close")));
    this.#tcp.on("data", (data) => {
      for (const byte of data) {
        const event = new Event("message");
        event.data = this.#wrap(Uint8Array.of(byte));
        this.dispatchEvent(event);
      }
    });
  }
  send(text) {
    this.#tcp.write(text);
  }
  close() {
    this.#tcp.destroy();
  }
}

for (const [name, wrap] of [["text", (bytes) => Buffer.from(bytes).toString()], ["bytes", (bytes) => bytes.buffer]]) {
  test(`a WebSocket that carries the lines as ${name}, cut anywhere`, async (t) => {
    const { port, packets } = await field(t, (line) => (line === "q p" ? "1.500000 -2.000000 OK @ 10 0" : "OK @ 10 0"));
    const turtle = await connect({ socket: new BridgedSocket(port, wrap) });
    assert.deepEqual(await turtle.position(), { x: 1.5, y: -2 });
    assert.deepEqual(packets, [[".", "p d"], ["q p"]]);
    turtle.close();
    await assert.rejects(turtle.forward(1), Lost);
  });
}

test("a WebSocket that fails", async () => {
  const server = net.createServer().listen(0, "127.0.0.1");
  await new Promise((resolve) => server.once("listening", resolve));
  const { port } = server.address();
  await new Promise((resolve) => server.close(resolve));
  await assert.rejects(connect({ socket: new BridgedSocket(port, String) }), NoField);
});

test("nobody listens, and a machine that does not exist", async () => {
  await assert.rejects(connect({ host: "127.0.0.1", port: 1 }), NoField);
  await assert.rejects(connect({ host: "no-such-machine.invalid", port: 2222 }), NoField);
  for (const port of [0, 65536, "x", 2.5, -1]) await assert.rejects(connect({ port }), BadValue);
});

test("a flood while the program does something else is cut off", async () => {
  let sent = 0;
  const ended = new Promise((resolve) => {
    const server = net.createServer((socket) => {
      const flood = () => {
        while (socket.writable && socket.write("OK @ 10 0\n".repeat(1000))) sent++;
      };
      socket.once("data", () => {
        socket.write("OK @ 10 0\nOK @ 10 0\n");
        setImmediate(flood);
      });
      socket.on("drain", flood);
      socket.on("error", () => {});
      socket.on("close", () => {
        server.close();
        resolve();
      });
    }).listen(0, "127.0.0.1", async () => {
      const turtle = await connect({ host: "127.0.0.1", port: server.address().port });
      await ended;
      await assert.rejects(turtle.forward(1), BadAnswer);
      await assert.rejects(turtle.forward(1), Lost);
    });
  });
  await ended;
  assert(sent < 20000);
});

test("a long line takes time in proportion", async () => {
  // A line of 100,000 corners, which to copy with each corner takes longer than this by far.
  const { Picture } = await import(new URL("picture.js", pathToFileURL(process.env.KELMORA_JS)).href);
  const picture = new Picture();
  const began = process.cpuUsage();
  const corner = (k) => [k % 500, Math.floor(k / 500)];
  for (let k = 0; k < 100000; k++) picture.line(...corner(k), ...corner(k + 1), 1, [1, 0, 0], [1, 0, 0]);
  const { user, system } = process.cpuUsage(began);
  assert(user + system < 5e6, `${user + system} us`); // 0.1 s on a quiet machine
  assert.deepEqual(["<polyline", ","].map((text) => picture.svg().split(text).length - 1), [1, 100001]);
  picture.line(...corner(100000), 7, 7, 1, [1, 0, 0], [1, 0, 0]);
  picture.line(7, 7, 8, 8, 1, [0, 0, 1], [0, 0, 1]);
  assert.deepEqual(["<polyline", ","].map((text) => picture.svg().split(text).length - 1), [2, 100004]);
});

test("two turtles that ask for the way to each other", async (t) => {
  const [left, right] = await Promise.all(["-3.000000 0.000000", "1.000000 3.000000"].map(async (place) =>
    connect(await field(t, (line) => (line === "q p" ? `${place} OK @ 10 0` : "OK @ 10 0")))));
  assert.deepEqual(await Promise.all([left.distance(right), right.distance(left), left.distance(left)]), [5, 5, 0]);
  assert.equal(await right.towards(left), 180 + Math.atan2(3, 4) * 180 / Math.PI);
  await assert.rejects(left.batch((turtle) => { turtle.distance(right); }), BadValue);
  left.close();
  await assert.rejects(right.distance(left), Lost);
  assert.equal(await right.distance(1, 0), 3);
});

test("a transport of one's own", async () => {
  const sent = [];
  const answers = ["OK @ 1 0", "OK @ 1 0", "7 OK @ 1 0"];
  const transport = {
    where: "a test",
    send: (lines) => sent.push(lines),
    receive: async () => {
      if (answers.length === 0) throw new Silence("nothing");
      return answers.shift();
    },
    close: () => sent.push("closed"),
  };
  const turtle = await connect({ transport });
  assert.equal(await turtle.score(), 7);
  await assert.rejects(turtle.score(), NoAnswer);
  assert.deepEqual(sent, [".\np d\n", "q s\n", "q s\n", "closed"]);
});

test("words that nobody awaits run in order, one packet each", async (t) => {
  const at = await field(t, (line) => (line.startsWith("q") ? "3.000000 4.000000 OK @ 10 0" : "OK @ 10 0"));
  const turtle = await connect(at);
  turtle.pencolor("red");
  turtle.forward(1);
  turtle.setx(5);
  assert.equal(turtle.isdown(), true);
  turtle.penup();
  assert.equal(turtle.isdown(), false);
  await turtle.left(2);
  assert.deepEqual(at.packets.slice(1), [["k 1 0 0"], ["p d", "f 1"], ["q p"], ["j 5 4"], ["p u"], ["t l 2"]]);
});

test("a word that fails leaves those after it their turn", async (t) => {
  const turtle = await connect(await field(t));
  const wrong = turtle.forward("far");
  const right = turtle.forward(1);
  await assert.rejects(wrong, NotANumber);
  assert.equal(await right, true);
});

test("a callback may use the turtle; events that this causes come after it", async (t) => {
  const at = await field(t, (line) => ({ "f 1": "ERR @ 10 8", "t l 90": "OK @ 11 32" })[line] ?? "OK @ 10 0");
  const turtle = await connect(at);
  const told = [];
  turtle.onStone(async () => {
    told.push("stone");
    await turtle.left(90);
    told.push("turned");
  });
  turtle.onCoin(() => told.push("coin"));
  assert.equal(await turtle.forward(1), false);
  assert.deepEqual(told, ["stone", "turned", "coin"]);
});

test("a callback that throws makes the word reject", async (t) => {
  const turtle = await connect(await field(t, () => "OK @ 10 1"));
  turtle.onHit(() => {
    throw new Error("mine");
  });
  await assert.rejects(turtle.ping(), /mine/);
  turtle.onHit(null);
  assert.equal(await turtle.ping(), 10);
});

test("a batch is a plain function, and leaves nothing behind when it fails", async (t) => {
  const at = await field(t);
  const turtle = await connect(at);
  await assert.rejects(turtle.batch(async () => {}), BadValue);
  await assert.rejects(turtle.batch(() => {
    turtle.penup();
    turtle.forward("far");
  }), NotANumber);
  assert.equal(turtle.isdown(), true);
  await assert.rejects(turtle.batch(() => {
    for (let k = 0; k < 1001; k++) turtle.left(1);
  }), BadValue);
  assert.deepEqual(await turtle.batch(() => {
    for (let k = 0; k < 1000; k++) turtle.left(1);
  }), Array(1000).fill(true));
  assert.equal(at.packets.flat().length, 2 + 1000);
});

test("a program ends when nothing is awaited any more", async (t) => {
  const { port } = await field(t);
  const code = `const { connect } = await import(${JSON.stringify(pathToFileURL(process.env.KELMORA_JS).href)});
    const turtle = await connect(); await turtle.forward(1); console.log("done");`;
  const child = spawn(process.execPath, ["--input-type=module", "-e", code], {
    env: { ...process.env, KELMORA_HOST: "localhost", KELMORA_PORT: String(port) }, timeout: 60000,
  });
  let printed = "";
  child.stdout.on("data", (data) => (printed += data));
  const [ended] = await new Promise((resolve) => child.once("close", (...how) => resolve(how)));
  assert.deepEqual([ended, printed], [0, "done\n"]);
});

test("an answer that never comes ends a program with an error, not in silence", async (t) => {
  const { port } = await field(t, (line) => (line === "f 1" ? "" : "OK @ 1 0"));
  const turtle = await connect({ host: "127.0.0.1", port, timeout: 2000 });
  await assert.rejects(turtle.forward(1));
});

test("turned away", async (t) => {
  const server = net.createServer((socket) => socket.destroy()).listen(0, "127.0.0.1");
  t.after(() => server.close());
  await new Promise((resolve) => server.once("listening", resolve));
  await assert.rejects(connect({ host: "127.0.0.1", port: server.address().port }), NotAdmitted);
});
