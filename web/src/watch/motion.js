// Interpolation between two polls. Pure: each track keeps the last samples of one slot and is read slightly in the
// past, so that there is nearly always a sample on either side.

export const DELAY = 130; // ms behind the newest sample: two polls and a little
export const JUMP = 60; // field units between two samples beyond which a turtle has jumped and is not moved smoothly
const KEPT = 8; // samples

/** Heading between two, the short way round; degrees. */
export function mixHeading(from, to, share) {
  const turn = ((((to - from) % 360) + 540) % 360) - 180;
  return from + turn * share;
}

export function newTrack() {
  return { samples: [] };
}

/** Adds a sample at `time` (ms). A slot that was freed or given to another kind starts a new track. */
export function addSample(track, time, turtle) {
  const last = track.samples[track.samples.length - 1];
  if (last && (last.alive !== turtle.alive || last.type !== turtle.type)) track.samples.length = 0;
  const { x, y, head, bx, by, firing, alive, type } = turtle;
  track.samples.push({ time, x, y, head, bx, by, firing, alive, type });
  if (track.samples.length > KEPT) track.samples.shift();
}

/** Place, heading and beam at `time`; the newest ones when it is later than them; null without samples. */
export function placeAt(track, time) {
  const { samples } = track;
  if (samples.length === 0) return null;
  let after = samples.findIndex((sample) => sample.time > time);
  if (after < 0) after = samples.length - 1;
  const b = samples[after];
  const a = after > 0 ? samples[after - 1] : b;
  const span = b.time - a.time;
  const share = span > 0 ? Math.min(Math.max((time - a.time) / span, 0), 1) : 1;
  const from = Math.hypot(b.x - a.x, b.y - a.y) > JUMP ? b : a;
  const beam = a.firing && b.firing ? a : b;
  return {
    x: from.x + (b.x - from.x) * share,
    y: from.y + (b.y - from.y) * share,
    head: mixHeading(from.head, b.head, share),
    bx: beam.bx + (b.bx - beam.bx) * share,
    by: beam.by + (b.by - beam.by) * share,
  };
}
