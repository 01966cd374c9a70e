// Polls the field. One loop per address: the next request is sent when the last was answered or timed out, so that a
// slow field is never flooded; after failures the pause grows up to a second, and a hidden tab polls once a second.

export const PATIENCE = 4000; // ms until a request is abandoned
export const SLOW = 1000; // ms between questions of a hidden tab, and the longest pause after failures
export const LOST_AFTER = 2000; // ms without any good answer until the field counts as lost

/** The pause after an answer: `every` ms, longer after failures in a row and for a hidden tab. */
export function pauseAfter(every, failures, hidden) {
  const stretched = failures > 0 ? Math.min(every * 2 ** Math.min(failures, 10), Math.max(SLOW, every)) : every;
  return hidden ? Math.max(stretched, SLOW) : stretched;
}

/** One request. @returns the text, or null without a good answer in time */
export async function ask(world, path) {
  const abort = new AbortController();
  const timer = world.setTimeout(() => abort.abort(), PATIENCE);
  try {
    const answer = await world.fetch(path, { cache: 'no-store', signal: abort.signal });
    return answer.ok ? await answer.text() : null;
  } catch {
    return null;
  } finally {
    world.clearTimeout(timer);
  }
}

/**
 * Polls for ever. `use` gets each answer's text and says whether it made sense.
 * @param world  fetch, setTimeout, clearTimeout, hidden(): the browser, or a test's stand-in
 * @returns a function that ends the loop
 */
export function poll(world, path, every, use) {
  let stopped = false;
  let failures = 0;
  const turn = async () => {
    const text = await ask(world, path);
    if (stopped) return;
    failures = text !== null && use(text) ? 0 : failures + 1;
    world.setTimeout(turn, pauseAfter(every, failures, world.hidden()));
  };
  turn();
  return () => { stopped = true; };
}
