// A field for one turtle inside the JavaScript worker: understands the protocol as far as it concerns a single turtle,
// and records what to paint in the same form as the Python package's practice field.

const PACE = 1 / 60; // seconds between two steps that move or paint, so that one can watch
const TEXT_MOST = 127;

const readNumber = (word) => {
  const found = /^[+-]?(?:\d+\.?\d*|\.\d+)(?:e[+-]?\d+)?/i.exec(word || '');
  const value = found ? Number(found[0]) : 0;
  return Number.isFinite(value) ? value : 0;
};
const six = (value) => value.toFixed(6);
const unit = (value) => Math.min(Math.max(value, 0), 1);

function readHex(text) {
  const bytes = (text.match(/[0-9a-fA-F]{2}/g) || []).slice(0, TEXT_MOST).map((pair) => parseInt(pair, 16));
  return String.fromCharCode(...bytes);
}

export class PracticeField {
  /** @param paint  gets a list of acts;  @param sleep  waits so many seconds */
  constructor(paint, sleep) {
    this.paint = paint;
    this.sleep = sleep;
    this.clock = 0;
    this.acts = [];
    this.restart();
    this.name = '';
    this.team = 0;
    this.show();
    this.flush();
  }

  restart() {
    Object.assign(this, { x: 0, y: 0, heading: 0, down: false, color: [1, 0, 0], width: 1, mode: 'lines', corners: [] });
  }

  show() {
    this.acts.push(['turtle', 0, this.x, this.y, this.heading, this.color, this.name]);
  }

  flush() {
    if (this.acts.length > 0) this.paint(this.acts);
    this.acts = [];
  }

  /** Carries out lines, each ended by a line feed; returns as many answers. */
  exchange(lines) {
    const answers = [];
    let paced = false;
    for (const line of lines.split(/[\n;]/)) {
      const words = line.trim().split(/\s+/);
      if (words[0] === '') continue;
      const told = this.carryOut(words, line);
      paced ||= told.paced === true;
      answers.push(`${told.values ? `${told.values} ` : ''}${told.ok === false ? 'ERR' : 'OK'} @ ${this.clock} 0\n`);
    }
    if (paced) {
      this.clock += 1;
      this.show();
      this.flush();
      this.sleep(PACE);
    }
    return answers.join('');
  }

  go(x, y) {
    const [x0, y0] = [this.x, this.y];
    [this.x, this.y] = [x, y];
    if (this.down) {
      if (this.mode === 'polygons') {
        this.corners = [...this.corners, [x, y]].slice(-6);
        if (this.corners.length > 2) this.acts.push(['polygon', this.corners, this.corners.map(() => this.color)]);
      } else if (this.mode === 'points') this.acts.push(['point', x, y, this.width, this.color]);
      else this.acts.push(['line', x0, y0, x, y, this.width, this.color, this.color]);
    }
    return { paced: true };
  }

  carryOut([word, a = '', b = '', c = ''], line) {
    const [p, q, r] = [a, b, c].map(readNumber);
    const along = (d) => {
      const angle = (this.heading * Math.PI) / 180;
      return this.go(this.x + d * Math.cos(angle), this.y + d * Math.sin(angle));
    };
    switch (word[0].toLowerCase()) {
      case 'f': return along(p);
      case 'b': return along(-p);
      case 'j': return this.go(p, q);
      case 'g': return this.go(this.x + p, this.y + q);
      case 'c':
        if (/^[af]/i.test(a)) this.acts.push(['wipe', [0, 0, 0]]);
        else if (/^h/i.test(a)) [this.x, this.y, this.heading] = [0, 0, 0];
        else this.restart();
        return along(p);
      case 't': {
        const directions = { e: 0, n: 90, w: 180, s: 270 };
        const letter = a[0]?.toLowerCase();
        if (letter === 'l') this.heading += q;
        else if (letter === 'r') this.heading -= q;
        else if (letter in directions) this.heading = directions[letter];
        else return { ok: false, paced: true };
        return { paced: true };
      }
      case 'p':
        if (/^[d+]/i.test(a)) {
          this.down = true;
          this.corners = [[this.x, this.y]];
        } else if (/^[u-]/i.test(a)) this.down = false;
        return { paced: true };
      case 'l':
        this.mode = /^[s+]/i.test(a) ? 'polygons' : /^p/i.test(a) ? 'points' : 'lines';
        return { paced: true };
      case 'w':
        this.width = Math.max(p, 0);
        return {};
      case 'k':
        this.color = [p, q, r].map(unit);
        return {};
      case 'h':
        this.acts.push(['wipe', [p, q, r].map(unit)]);
        return { paced: true };
      case 's':
        this.acts.push(['text', this.x + 12, this.y, readHex(line.trim().slice(1)), this.color]);
        return { paced: true };
      case 'n':
        this.name = readHex(line.trim().slice(1));
        return {};
      case 'i':
        this.team = p;
        return {};
      case 'q': return this.answer(a[0]?.toLowerCase());
      case 'o': return { ok: false, paced: true };
      case 'd': case 'e': case 'u': case 'x': case 'y': case 'z': case 'r': case '!': case '.': return {};
      default: return { ok: false };
    }
  }

  answer(letter) {
    switch (letter) {
      case 'p': return { values: `${six(this.x)} ${six(this.y)}` };
      case 'd': return { values: six(this.heading) };
      case 'm': return { values: String(this.team) };
      case 'f': return { values: '0 0' };
      case 'w': return { values: '0 0 0' };
      case 'a': return { values: '1' };
      case 's': case 'o': case 'c': return { values: '0' };
      case 't': return { values: String(this.clock) };
      case 'n': return { values: '1' };
      case 'b': return { values: '0 ' };
      default: return { ok: false };
    }
  }
}
