// A program in the address's fragment: JSON, deflated where the browser can, as base64url. Pure but for the streams.

const VERSION = '1'; // deflated; '0': plain
export const LANGUAGES = ['python', 'javascript', 'blocks'];
const MOST = 200000; // letters of a fragment that is read, bytes of what is in it
export const SHARED_MOST = 64000; // letters of a program; in UTF-8 and JSON they stay below MOST

function toBase64(bytes) {
  let text = '';
  for (let i = 0; i < bytes.length; i += 8192) text += String.fromCharCode(...bytes.subarray(i, i + 8192));
  return btoa(text).replaceAll('+', '-').replaceAll('/', '_').replace(/=+$/, '');
}

function fromBase64(text) {
  const plain = atob(text.replaceAll('-', '+').replaceAll('_', '/'));
  return Uint8Array.from(plain, (letter) => letter.charCodeAt(0));
}

async function through(bytes, stream, most) {
  const reader = new Blob([bytes]).stream().pipeThrough(stream).getReader();
  const parts = [];
  let length = 0;
  for (;;) {
    const { done, value } = await reader.read();
    if (done) break;
    length += value.length;
    if (length > most) throw new Error('too long');
    parts.push(value);
  }
  return new Uint8Array(await new Blob(parts).arrayBuffer());
}

/** @param program  {language, title, text}  @returns the fragment, without '#' */
export async function toFragment(program) {
  const bytes = new TextEncoder().encode(JSON.stringify([program.language, program.title, program.text]));
  if (typeof CompressionStream === 'undefined') return `p=0${toBase64(bytes)}`;
  return `p=${VERSION}${toBase64(await through(bytes, new CompressionStream('deflate'), MOST))}`;
}

/** The program in a fragment, or null when there is none or it is malformed. */
export async function fromFragment(fragment) {
  const found = /^#?p=([01])([A-Za-z0-9_-]+)$/.exec(fragment);
  if (!found || fragment.length > MOST) return null;
  try {
    let bytes = fromBase64(found[2]);
    if (found[1] === VERSION) bytes = await through(bytes, new DecompressionStream('deflate'), MOST);
    const told = JSON.parse(new TextDecoder('utf-8', { fatal: true }).decode(bytes));
    if (!Array.isArray(told) || told.length !== 3 || !told.every((part) => typeof part === 'string')) return null;
    const [language, title, text] = told;
    return LANGUAGES.includes(language) ? { language, title: title.slice(0, 80), text } : null;
  } catch {
    return null;
  }
}
