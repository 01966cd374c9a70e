// Carries lines over TCP in Node, and over a WebSocket in browsers. The library needs only send(lines), receive(),
// close() and the text `where` of a connection, so a program can easily give its own.

/** Base of all errors; what goes wrong, in plain words. */
export class KelmoraError extends Error {
  constructor(message, options) {
    super(message, options);
    this.name = new.target.name;
  }
}
/** Nothing listens at that address, there is no such machine, or it does not answer. */
export class NoField extends KelmoraError {}
/** An argument is out of its range; nothing was sent. */
export class BadValue extends KelmoraError {}

// Errors that a transport's send() and receive() may throw; the library turns them into its own.
/** The field has hung up. */
export class HungUp extends Error {}
/** Nothing came in time. */
export class Silence extends Error {}
/** A line that never ends. */
export class TooLong extends Error {}

export const LONGEST_LINE = 1024; // bytes; the field's answers have at most 511
const MOST_LINES = 4096; // waiting to be received; a packet has 1000 at most

/** Lines out of pieces of text, and whoever waits for one. A subclass feeds it and sends. */
class LineBuffer {
  #lines = []; // complete, not handed out yet
  #next = 0; // the first of them
  #rest = ""; // of a line that is not complete
  #ending = null; // the error that ended the connection
  #waiting = null; // {resolve, reject, timer} of receive()
  #timeout;

  constructor(where, timeout) {
    this.where = where;
    this.#timeout = timeout;
  }

  /** The next line; rejects when none comes within the time-out, however many pieces of it do. */
  receive() {
    if (this.#next < this.#lines.length) {
      const line = this.#lines[this.#next++];
      if (this.#next === this.#lines.length) {
        this.#lines.length = 0;
        this.#next = 0;
      }
      return Promise.resolve(line);
    }
    if (this.#ending) return Promise.reject(this.#ending);
    return new Promise((resolve, reject) => {
      const timer = setTimeout(() => this.#settle((waiting) => waiting.reject(new Silence("no answer"))), this.#timeout);
      this.#waiting = { resolve, reject, timer };
      this.awake(true);
    });
  }

  /** Whether the program has to stay alive for this connection: only while somebody waits for an answer. */
  awake() {}

  #settle(how) {
    const waiting = this.#waiting;
    if (!waiting) return;
    this.#waiting = null;
    clearTimeout(waiting.timer);
    this.awake(false);
    how(waiting);
  }

  feed(text) {
    if (this.#ending) return;
    const pieces = (this.#rest + text).split("\n");
    this.#rest = pieces.pop();
    if (pieces.some((piece) => piece.length > LONGEST_LINE) || this.#rest.length > LONGEST_LINE) {
      this.end(new TooLong("a line of more than 1024 bytes"));
      this.close();
      return;
    }
    for (const piece of pieces) this.#lines.push(piece);
    if (this.#waiting && this.#next < this.#lines.length) {
      const line = this.#lines[this.#next++];
      this.#settle((waiting) => waiting.resolve(line));
    }
    if (this.#lines.length - this.#next > MOST_LINES) {
      this.end(new TooLong("answers that nobody asked for"));
      this.close();
    }
  }

  /** No more lines: who waits, and who asks later, gets the error. */
  end(error) {
    this.#ending ??= error;
    this.#settle((waiting) => waiting.reject(this.#ending));
  }

  /** Whether more has come than was received: asked before a packet goes out, when no answer is due. */
  get hasMore() {
    return this.#next < this.#lines.length || this.#rest !== "";
  }

  get ended() {
    return this.#ending;
  }
}

/** A connection over TCP; Node only. */
export class TcpTransport extends LineBuffer {
  #socket;

  constructor(socket, where, timeout) {
    super(where, timeout);
    this.#socket = socket;
    socket.setNoDelay(true);
    socket.setEncoding("latin1");
    socket.on("data", (text) => this.feed(text));
    socket.on("end", () => this.end(new HungUp("it hung up")));
    socket.on("error", (error) => this.end(new HungUp(error.message)));
    socket.on("close", () => this.end(new HungUp("it hung up")));
    socket.unref();
  }

  /** Connects; rejects with NoField. */
  static async connect(host, port, connectTimeout, timeout) {
    if (!globalThis.process?.versions?.node) throw new BadValue("There is no TCP in a browser: give a socket to connect().");
    const name = "node:net"; // not for bundlers to follow
    const net = await import(name);
    const where = `${host}:${port}`;
    // A private field admits 127.0.0.1 and no other name of this machine.
    const socket = net.connect({ host: host === "localhost" ? "127.0.0.1" : host, port });
    await new Promise((resolve, reject) => {
      const fail = (why) => {
        socket.destroy();
        reject(new NoField(`No field answers at ${where} (${why}). Is it running? Is the address right?`));
      };
      const timer = setTimeout(() => fail("no answer"), connectTimeout);
      socket.once("error", (error) => {
        clearTimeout(timer);
        fail(error.code ?? error.message);
      });
      socket.once("connect", () => {
        clearTimeout(timer);
        resolve();
      });
    });
    socket.removeAllListeners("error");
    return new TcpTransport(socket, where, timeout);
  }

  awake(needed) {
    if (needed) this.#socket.ref();
    else this.#socket.unref();
  }

  send(lines) {
    if (this.ended) throw this.ended;
    this.#socket.write(lines, "latin1");
  }

  close() {
    this.end(new HungUp("the program has hung up"));
    this.#socket.destroy();
  }
}

/** A connection over a WebSocket whose messages carry the same lines, as text or as bytes. */
export class WebSocketTransport extends LineBuffer {
  #socket;

  constructor(socket, timeout) {
    super(socket.url || "the WebSocket", timeout);
    this.#socket = socket;
    socket.binaryType = "arraybuffer";
    socket.addEventListener("message", (event) => {
      const { data } = event;
      this.feed(typeof data === "string" ? data : new TextDecoder("latin1").decode(data));
    });
    socket.addEventListener("error", () => this.end(new HungUp("the WebSocket failed")));
    socket.addEventListener("close", () => this.end(new HungUp("it hung up")));
  }

  /** Waits until the socket is open; rejects with NoField. */
  static async connect(socketOrUrl, connectTimeout, timeout) {
    let socket = socketOrUrl;
    if (typeof socketOrUrl === "string" || socketOrUrl instanceof URL) {
      if (typeof WebSocket === "undefined") throw new BadValue("There are no WebSockets here: give one, or host and port");
      socket = new WebSocket(socketOrUrl);
    }
    const transport = new WebSocketTransport(socket, timeout);
    if (socket.readyState === 1) return transport;
    await new Promise((resolve, reject) => {
      const fail = () => {
        clearTimeout(timer);
        transport.close();
        reject(new NoField(`No field answers at ${transport.where}. Is it running? Is the address right?`));
      };
      const timer = setTimeout(fail, connectTimeout);
      socket.addEventListener("open", () => {
        clearTimeout(timer);
        resolve();
      });
      socket.addEventListener("error", fail);
      socket.addEventListener("close", fail);
    });
    return transport;
  }

  send(lines) {
    if (this.ended) throw this.ended;
    this.#socket.send(lines);
  }

  close() {
    this.end(new HungUp("the program has hung up"));
    this.#socket.close();
  }
}

/** The address asked for, else that of KELMORA_HOST and KELMORA_PORT, else localhost and 2222. */
export function addressOf({ host, port } = {}) {
  const environment = globalThis.process?.env ?? {};
  const text = String(port ?? (environment.KELMORA_PORT?.trim() || 2222));
  const number = /^\d{1,5}$/.test(text) ? Number(text) : 0;
  if (number < 1 || number > 65535) {
    throw new BadValue(`"${text}" is no port: a port is a number from 1 to 65535, the field's is 2222`);
  }
  return { host: host || environment.KELMORA_HOST?.trim() || "localhost", port: number };
}
