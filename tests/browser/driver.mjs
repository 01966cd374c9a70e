// Drives Chromium for the page tests: reads one order a line from standard input and answers each with a line on
// standard output, both in JSON. driver.py is the other end.
import { createInterface } from 'node:readline';
import { createRequire } from 'node:module';
const { chromium } = createRequire(new URL('../../web/package.json', import.meta.url))('playwright-core');

export const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM || '/usr/bin/chromium',
  args: ['--no-sandbox', '--disable-quic', '--no-first-run', '--disable-background-networking',
    '--disable-component-update', '--disable-sync'],
});

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
