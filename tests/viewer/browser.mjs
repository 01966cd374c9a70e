// A real browser on the real page: reports the scene's objects, the score boxes and the console while turtles move.
// test_page.py runs it, starts the field and the script server, and talks to it over standard input and output.
import { browser, serve } from '../browser/driver.mjs';

const errors = [];
let page = null;

const orders = {
  async open({ path, width = 1000, height = 700 }) {
    if (page) await page.close();
    errors.length = 0; // an earlier page keeps polling after its field has ended
    page = await browser.newPage({ viewport: { width, height } });
    page.on('console', (message) => { if (message.type() === 'error') errors.push(message.text()); });
    page.on('pageerror', (error) => errors.push(String(error)));
    page.on('dialog', (dialog) => { errors.push(`dialog ${dialog.message()}`); dialog.dismiss(); });
    await page.goto(`http://localhost:2280${path}`);
  },
  // What the page shows: places of the bodies, texts of the boxes, whether the field counts as lost.
  look: () => page.evaluate(() => {
    const { scene } = globalThis.kelmora;
    return {
      bodies: [...scene.actors].map(([slot, actor]) => ({ slot, type: actor.type, shown: actor.body.visible,
        x: actor.body.position.x, y: actor.body.position.y,
        beam: actor.beam && actor.beam.visible ? actor.beam.position.toArray() : null })),
      boxes: [...document.querySelectorAll('#panel > div:not(#result)')].filter((box) => !box.hidden)
        .map((box) => ({ text: box.innerText, icon: new URL(box.querySelector('img').src).pathname })),
      result: document.getElementById('result').innerText,
      eye: scene.eye.position.toArray(),
      window: [innerWidth, innerHeight],
      counts: scene.counts(),
      lost: !document.getElementById('lost').hidden,
      images: document.querySelectorAll('img[src="x"]').length,
      overflow: document.documentElement.scrollWidth > innerWidth,
    };
  }),
  // Where a place of the field appears in the window, in pixels from its upper left corner.
  project: ({ x, y, z }) => page.evaluate((at) => {
    const { eye } = globalThis.kelmora.scene;
    const seen = new globalThis.THREE.Vector3(...at).project(eye);
    return [((seen.x + 1) / 2) * innerWidth, ((1 - seen.y) / 2) * innerHeight];
  }, [x, y, z]),
  errors: async () => errors.splice(0),
  shot: ({ file }) => page.screenshot({ path: file }).then(() => true),
  drag: async ({ dx, dy }) => {
    await page.mouse.move(300, 300);
    await page.mouse.down();
    await page.mouse.move(300 + dx, 300 + dy, { steps: 5 });
    await page.mouse.up();
  },
};

await serve(orders);
