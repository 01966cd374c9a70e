// Random access to a record: unpacks the needed member and caches the states of the last few.
import { objectNamed } from '../common/kinds.js';
import { copyState, linesOf, membersOf, newState, takeLine, turtlesIn, unpack } from './record.js';

const KEPT = 4; // members whose states are kept

/** @param bytes  Uint8Array  @returns the player; throws when the bytes are no record of a game */
export async function openRecord(bytes) {
  const members = membersOf(bytes);
  const texts = new Map(); // lines by member
  const built = new Map(); // states by member
  const linesIn = async (k) => {
    if (!texts.has(k)) texts.set(k, linesOf(await unpack(bytes.subarray(members[k].start, members[k].end))));
    return texts.get(k);
  };
  const first = members.length > 0 ? await linesIn(0) : [];
  const head = first[0];
  if (!head || head.kelmora_record !== 1) throw new Error('This is no record of a game.');
  const lastLines = await linesIn(members.length - 1);
  const last = lastLines[lastLines.length - 1] || { t: members.length > 1 ? members[members.length - 2].tick : 0 };
  const end = last.end && Array.isArray(last.end.programs) ? { ...last.end, programs: last.end.programs.filter((p) => p && typeof p === 'object') } : null;
  const lastTick = Number.isFinite(last.t) ? last.t : 0;

  // The state that a member begins with: the full state at the end of the one before.
  async function startOf(k) {
    const state = newState(head);
    if (k === 0) return state;
    const lines = await linesIn(k - 1);
    const full = [...lines].reverse().find((line) => line.full);
    if (full) takeLine(state, full);
    return state;
  }

  // All states of a member, with what each line did to the painting.
  async function build(k) {
    if (built.has(k)) return built.get(k);
    const state = await startOf(k);
    const frames = [{ state: copyState(state), wipe: null, pieces: [] }];
    for (const line of await linesIn(k)) {
      if (!('t' in line)) continue;
      const done = takeLine(state, line);
      frames.push({ state: copyState(state), ...done });
    }
    built.set(k, frames);
    for (const old of built.keys()) {
      if (built.size <= KEPT) break;
      if (old !== k) {
        built.delete(old);
        if (old !== 0 && old !== members.length - 1) texts.delete(old);
      }
    }
    return frames;
  }

  /** Which member holds the moment. */
  const memberAt = (tick) => {
    const k = members.findIndex((member) => member.tick !== null && member.tick >= tick);
    return k < 0 ? members.length - 1 : k;
  };

  /** Deaths, as ticks with names: from the results if they list them, else as found by `scan`. */
  const deaths = end ? end.programs.filter((p) => Number.isFinite(p.death)).map((p) => ({ tick: p.death, name: p.name })) : [];

  /** Scans the whole record in the background for deaths, when the results do not list them. */
  async function scan(found) {
    if (end) return;
    for (let k = 0; k < members.length; ++k) {
      const names = new Map();
      for (const line of linesOf(await unpack(bytes.subarray(members[k].start, members[k].end)))) {
        for (const [slot, told] of [...turtlesIn(line.new), ...turtlesIn(line.full && line.full.turtles)]) if (!objectNamed(told.kind)) names.set(slot, told.name);
        for (const [slot, told] of turtlesIn(line.set)) {
          if (told.dying > 0 && names.has(slot)) deaths.push({ tick: line.t, name: names.get(slot) });
        }
      }
      found();
    }
  }

  return { head, end, lastTick, members, build, memberAt, deaths, scan };
}
