// A real browser on the replay page: reads one order a line from standard input and answers in JSON.
import { browser, faultsOf, serve } from '../browser/driver.mjs';

const page = await browser.newPage({ viewport: { width: 900, height: 700 } });
const errors = [];
page.on('console', (message) => { if (message.type() === 'error') errors.push(message.text()); });
page.on('pageerror', (error) => errors.push(String(error)));
page.setDefaultTimeout(100000);

const loaded = () => page.waitForFunction(() => globalThis.kelmoraReplay && globalThis.kelmoraReplay.loadedIn !== null);
const orders = {
  async open({ url }) {
    await page.goto(url);
    await loaded();
  },
  async choose({ url, file }) {
    await page.goto(url);
    await page.setInputFiles('#file', file);
    await loaded();
  },
  async refused({ url, file }) {
    await page.goto(url);
    await page.setInputFiles('#file', file);
    await page.waitForFunction(() => document.getElementById('said').textContent !== '');
    return page.textContent('#said');
  },
  async said({ url }) {
    await page.goto(url);
    await page.waitForFunction(() => document.getElementById('said').textContent !== '');
    return page.textContent('#said');
  },
  pause: () => page.evaluate(() => globalThis.kelmoraReplay.setPlaying(false)),
  async seek({ tick }) {
    await page.evaluate((to) => { globalThis.kelmoraReplay.setPlaying(false); globalThis.kelmoraReplay.seek(to); }, tick);
    await page.waitForFunction((to) => globalThis.kelmoraReplay.shown && globalThis.kelmoraReplay.shown.tick === to, tick);
  },
  async speed({ speed }) { await page.selectOption('#speed', speed); },
  // Presses play; returns the ticks shown at the start and a while later.
  async watch({ until }) {
    const from = await page.evaluate(() => globalThis.kelmoraReplay.shown.tick);
    await page.click('#play');
    await page.waitForFunction((to) => globalThis.kelmoraReplay.shown.tick >= to, until);
    return from;
  },
  look: () => page.evaluate(() => ({
    ...globalThis.kelmoraReplay.state(), shown: globalThis.kelmoraReplay.shown, loadedIn: globalThis.kelmoraReplay.loadedIn,
    marks: document.querySelectorAll('#marks i').length, time: document.getElementById('time').textContent,
    board: [...document.querySelectorAll('#board tr')].map((row) => [...row.cells].map((cell) => cell.textContent)),
    bodies: [...globalThis.kelmoraReplay.scene.actors].map(([slot, actor]) => [slot, actor.body.position.x, actor.body.position.y]),
    requests: performance.getEntriesByType('resource').map((entry) => entry.name),
  })),
  faults: () => faultsOf(page),
  async keys({ at, keys }) {
    await page.focus(at);
    for (const key of keys) await page.keyboard.press(key);
    return page.evaluate(() => [globalThis.kelmoraReplay.state(), document.activeElement.id || document.activeElement.tagName]);
  },
  errors: async () => errors.splice(0),
  shot: ({ file }) => page.screenshot({ path: file }).then(() => true),
};

await serve(orders);
