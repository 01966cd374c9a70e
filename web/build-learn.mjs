// Collects the editor's examples of the client libraries and the lessons as one JSON object for each language of the page,
// and the lessons' pictures. The lessons in other languages are in folders beside the English ones, docs/lessons/de; there
// examples.json has the texts of the examples, {English: translated}. What is not translated there is offered in English.
// Markdown becomes a list of plain parts, from which the page makes elements, never HTML from text.
import { existsSync, readFileSync, readdirSync } from 'node:fs';
import path from 'node:path';
import { LANGUAGES as PAGES } from './src/common/texts.js';

const LANGUAGES = { '.py': 'python', '.js': 'javascript', '.mjs': 'javascript' };

/** The title of an example: the first words of its first comment or doc string, else its file name. */
function titleOf(text, name) {
  const found = /^(?:#!.*\n)?\s*(?:"""|'''|#|\/\/|\/\*)\s*(.+?)(?:"""|'''|\*\/)?\s*$/m.exec(text);
  const words = found ? found[1].split(/[.:](?:\s|$)/)[0].trim() : '';
  return words && words.length <= 60 ? words : path.parse(name).name.replaceAll('_', ' ');
}

/** The parts of a lesson: {kind: 'head' | 'text' | 'item' | 'code' | 'picture', text, language?, file?}. */
export function lessonParts(markdown) {
  const parts = [];
  let code = null;
  let open = null; // the paragraph or item being continued
  for (const line of markdown.split('\n')) {
    const fence = /^\s*```\s*(\w*)/.exec(line);
    if (code) {
      if (fence) {
        parts.push({ ...code, text: code.lines.join('\n') + '\n', lines: undefined });
        code = null;
      } else code.lines.push(line);
      continue;
    }
    const head = /^#{1,6}\s+(.*)/.exec(line);
    const item = /^\s*(?:[-*]|\d+\.)\s+(.*)/.exec(line);
    const picture = /^\s*!\[([^\]]*)\]\(([^)]+)\)/.exec(line);
    if (fence) code = { kind: 'code', language: fence[1] || 'text', lines: [] };
    else if (head) parts.push({ kind: 'head', text: head[1] });
    else if (picture) parts.push({ kind: 'picture', text: picture[1], file: picture[2] });
    else if (/^\s*(<!--.*-->)?\s*$/.test(line)) { /* between paragraphs */
    } else if (item) parts.push(open = { kind: 'item', text: `${/^\s*\d/.test(line) ? line.trim().split(' ')[0] : '•'} ${item[1]}` });
    else if (open) open.text += ` ${line.trim()}`;
    else parts.push(open = { kind: 'text', text: line.trim() });
    if (fence || head || picture || line.trim() === '') open = null;
  }
  // Links do not work offline; only their text is kept.
  for (const part of parts) if (part.kind !== 'code' && part.kind !== 'picture') part.text = part.text.replace(/\[([^\]]+)\]\([^)]*\)/g, '$1');
  return parts.map(({ lines, ...part }) => part);
}

/** A program with its comments and texts in another language. @param texts  {English: translated} */
export function translated(program, texts) {
  const longestFirst = Object.keys(texts).sort((a, b) => b.length - a.length);
  return longestFirst.reduce((text, one) => text.replaceAll(one, () => texts[one]), program);
}

function examplesIn(folder, texts) {
  if (!existsSync(folder)) return [];
  return readdirSync(folder).sort().filter((name) => LANGUAGES[path.extname(name)] && !name.startsWith('_') && !/^test/.test(name)).map((name) => {
    const text = translated(readFileSync(path.join(folder, name), 'utf8'), texts);
    return { title: titleOf(text, name), language: LANGUAGES[path.extname(name)], text };
  });
}

/** One lesson. Adds its pictures to `files`. */
function lessonFrom(folder, name, files) {
  const parts = lessonParts(readFileSync(path.join(folder, name), 'utf8'));
  for (const part of parts) {
    if (part.kind !== 'picture') continue;
    const file = path.join(folder, part.file);
    part.file = `lesson/${path.basename(part.file)}`;
    if (existsSync(file)) files.set(part.file, readFileSync(file));
  }
  const head = parts.findIndex((part) => part.kind === 'head');
  const title = head >= 0 ? parts[head].text : name;
  return { title, parts: parts.filter((part, i) => i !== head && (part.kind !== 'picture' || files.has(part.file))) };
}

/** @param root  the project's folder  @returns Map of files: learn.en.json and so on, and the pictures that the lessons name */
export function learnFiles(root) {
  const files = new Map();
  const english = path.join(root, 'docs', 'lessons');
  const names = existsSync(english) ? readdirSync(english).filter((name) => /^\d.*\.md$/.test(name)).sort() : [];
  for (const [language] of PAGES) {
    const own = language === 'en' ? english : path.join(english, language);
    const lessons = names.map((name) => {
      const there = existsSync(path.join(own, name));
      return { language: there ? language : 'en', ...lessonFrom(there ? own : english, name, files) };
    });
    const table = path.join(own, 'examples.json');
    const texts = existsSync(table) ? JSON.parse(readFileSync(table, 'utf8')) : {};
    const examples = ['python', 'js', '.'].flatMap((name) => examplesIn(path.join(root, 'clients', 'examples', name), texts));
    files.set(`learn.${language}.json`, Buffer.from(JSON.stringify({ lessons, examples })));
  }
  return files;
}
