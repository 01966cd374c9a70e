// The programs kept in this browser. A list of {id, title, language, text, changed}, the newest change first.
import { randomName, store } from '../common/dom.js';

const MOST = 60;
export const ENDINGS = { python: 'py', javascript: 'js', blocks: 'blocks.json' };

const isProgram = (item) => item && typeof item.id === 'string' && typeof item.text === 'string' && item.language in ENDINGS;

export function listPrograms() {
  const kept = store.get('programs', []);
  return Array.isArray(kept) ? kept.filter(isProgram).sort((a, b) => (b.changed || 0) - (a.changed || 0)) : [];
}

/** Stores a program; false when the browser has no room for it. */
export function keepProgram(program) {
  const others = listPrograms().filter((other) => other.id !== program.id);
  return store.set('programs', [{ ...program, changed: Date.now() }, ...others].slice(0, MOST));
}

export function dropProgram(id) {
  store.set('programs', listPrograms().filter((program) => program.id !== id));
}

export function newProgram(language, title, text) {
  return { id: randomName(), language, title, text, changed: Date.now() };
}

/** The name of the file that a program is saved as: letters, digits, dashes of its title. */
export function fileName(program) {
  const plain = program.title.normalize('NFC').replace(/[^\p{L}\p{N}_-]+/gu, '-').replace(/^-+|-+$/g, '').slice(0, 40);
  return `${plain || 'program'}.${ENDINGS[program.language]}`;
}

/** Language and title of a file that was opened. */
export function fromFile(name, text) {
  const language = /\.m?js$/i.test(name) ? 'javascript' : /\.json$/i.test(name) ? 'blocks' : 'python';
  return newProgram(language, name.replace(/(\.blocks)?\.[^.]*$/, '').slice(0, 80) || 'program', text.replace(/\r\n?/g, '\n'));
}
