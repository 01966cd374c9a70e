// Drives Chromium for browsers.py over standard input and output: one order a line, one answer a line, both JSON.
import { browser, faultsOf, serve } from '../browser/driver.mjs';

let context = null;
const tabs = new Map();
let tab = null;
let errors = [];
let asked = new Set();

const orders = {
  // A fresh profile: nothing of an earlier user remains.
  async fresh({ width = 1280, height = 800, locale = 'en-US', look = 'light' }) {
    if (context) await context.close();
    tabs.clear();
    errors = [];
    asked = new Set();
    context = await browser.newContext({ viewport: { width, height }, locale, colorScheme: look });
    context.on('request', (request) => asked.add(new URL(request.url()).origin));
  },
  async tab({ name }) {
    if (!tabs.has(name)) {
      const page = await context.newPage();
      page.on('pageerror', (error) => errors.push(String(error)));
      tabs.set(name, page);
    }
    tab = tabs.get(name);
    await tab.bringToFront();
  },
  open: async ({ url }) => { await tab.goto(url); },
  run: ({ script }) => tab.evaluate(`(async () => {${script}})()`),
  key: async ({ keys }) => { for (const key of keys) await tab.keyboard.press(key); },
  type: async ({ text }) => { await tab.keyboard.type(text); },
  size: ({ width, height }) => tab.setViewportSize({ width, height }),
  shot: ({ file }) => tab.screenshot({ path: file }).then(() => true),
  // Light or dark, as soon as the page has it; without transitions, whose colours belong to neither.
  async look({ look }) {
    await tab.emulateMedia({ colorScheme: look, reducedMotion: 'reduce' });
    await tab.waitForFunction((wanted) => document.documentElement.dataset.look === wanted, look);
  },
  faults: () => faultsOf(tab),
  errors: async () => errors.splice(0),
  asked: async () => [...asked],
};

await serve(orders);
