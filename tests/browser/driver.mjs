// Drives Chromium for the page tests: reads one order a line from standard input and answers each with a line on
// standard output, both in JSON. driver.py is the other end.
import { readFileSync } from 'node:fs';
import { createInterface } from 'node:readline';
import { createRequire } from 'node:module';
const fromWeb = createRequire(new URL('../../web/package.json', import.meta.url));
const { chromium } = fromWeb('playwright-core');
const axe = readFileSync(fromWeb.resolve('axe-core/axe.min.js'), 'utf8');

export const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM || '/usr/bin/chromium',
  args: ['--no-sandbox', '--disable-quic', '--no-first-run', '--disable-background-networking',
    '--disable-component-update', '--disable-sync'],
});

/** What a page breaks of the rules for accessible pages: one text for each kind of fault. Parts of two libraries are left out. */
export async function faultsOf(page) {
  if (!await page.evaluate('Boolean(globalThis.axe)')) await page.evaluate(axe);
  const { violations } = await page.evaluate(() => globalThis.axe.run({ exclude: [
    '.blocklyComputeCanvas', // Blockly measures texts with it; nobody sees it, and it is no part of the page's regions
    '.cm-tooltip-autocomplete', // CodeMirror's list is scrolled by the arrow keys, while the program keeps the focus
  ] }, { resultTypes: ['violations'], rules: { 'target-size': { enabled: true } } }));
  return violations.map(({ id, help, nodes }) => `${id}: ${help}: ${nodes.map(({ target, any, all, none }) =>
    `${target} (${[...any, ...all, ...none].map(({ message }) => message).join(', ')})`).join('; ')}`);
}

/** Carries out orders by name until standard input ends, then closes the browser. */
export async function serve(orders) {
  for await (const line of createInterface({ input: process.stdin })) {
    const { order, number, ...given } = JSON.parse(line);
    let answer;
    try {
      answer = { number, result: (await orders[order](given)) ?? null };
    } catch (error) {
      answer = { number, failed: String(error) };
    }
    process.stdout.write(`${JSON.stringify(answer)}\n`);
  }
  await browser.close();
}
