// Logic of the pages that needs no browser: texts, help, shared programs, lessons, painting.
import assert from 'node:assert/strict';
import { readFileSync, readdirSync } from 'node:fs';
import path from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';
import { learnFiles, lessonParts, translated } from '../../web/build-learn.mjs';
import { GERMAN } from '../../web/src/edit/blocks-german.js';
import { textOf } from '../../web/src/common/dom.js';
import { TEXTS, chooseLanguage, refusal, t, waitText } from '../../web/src/common/texts.js';
import { fromFragment, toFragment } from '../../web/src/edit/share.js';
import { overwritten, withoutSequences } from '../../web/src/edit/terminal.js';
import { GROUPS, findWords, inJavaScript } from '../../web/src/edit/words.js';
import { parseCards, pollChanges } from '../../web/src/watch/painting.js';

const SOURCES = fileURLToPath(new URL('../../web/src/', import.meta.url));
const sources = readdirSync(SOURCES, { recursive: true }).filter((name) => name.endsWith('.js'))
  .map((name) => [name, readFileSync(path.join(SOURCES, name), 'utf8')]);

test('every text has two languages and the same placeholders in both', () => {
  for (const [key, row] of Object.entries(TEXTS)) {
    assert.equal(row.length, 2, key);
    const gaps = row.map((text) => [...new Set(text.match(/\{\d\}/g) || [])].sort().join());
    assert.equal(gaps[0], gaps[1], key);
  }
});

test('every text that a page uses is in the table, and every one in it is used', () => {
  const all = sources.filter(([name]) => !name.endsWith('texts.js')).map(([, text]) => text).join('\n');
  const asked = [...all.matchAll(/\bt\('([\w.]+)'/g)].map(([, key]) => key);
  assert.ok(asked.length > 100);
  for (const key of asked) assert.ok(TEXTS[key], `no text for ${key}`);
  const begun = [...all.matchAll(/\bt\(`([\w.]+)\$\{|\btextsUnder\('([\w.]+)'/g)].map(([, key, under]) => key ?? under);
  for (const key of Object.keys(TEXTS)) {
    const used = all.includes(`'${key}'`) || begun.some((prefix) => key.startsWith(prefix)) || /^(error|wait|desk\.(do|key|rule))\./.test(key);
    assert.ok(used, `nobody asks for ${key}`);
  }
});

test('the class server\'s words for people are in the table, in its English, and no others', () => {
  const server = (name) => readFileSync(new URL(`../../class/${name}`, import.meta.url), 'utf8');
  const rows = (text, table, columns) => {
    const body = text.slice(text.indexOf(`${table} = {{`)).split('}};')[0];
    return [...body.matchAll(columns)].map(([, key, what]) => [key, what]);
  };
  const desk = server('desk.cpp');
  const told = [
    ['do', rows(desk, 'ACTIONS', /\{"(\w+)", "[^"]*", "([^"]*)"\}/g)],
    ['key', rows(desk, 'OUT_OF_REACH', /\{"(.)", "([^"]*)"\}/g)],
    ['rule', rows(server('rules.h'), 'RULES', /\{"([^"]*)", '.', "[^"]*", \w+, "([^"]*)"\}/g)],
  ];
  for (const [kind, list] of told) {
    assert.ok(list.length >= 8, kind);
    for (const [key, what] of list) assert.equal(TEXTS[`desk.${kind}.${key}`]?.[0], what, `desk.${kind}.${key}`);
    const kept = Object.keys(TEXTS).filter((key) => key.startsWith(`desk.${kind}.`));
    assert.equal(kept.length, list.length, `${kind}: ${kept}`);
  }
});

test('every refusal of the class server, and every end of a run, has a text', () => {
  const all = ['http.cpp', 'server.cpp', 'api.cpp', 'desk.cpp', 'room.cpp'].map((name) => readFileSync(new URL(`../../class/${name}`, import.meta.url), 'utf8')).join('\n');
  const words = new Set([...all.matchAll(/error_answer\(\s*\w+(?: \? \d+ : \d+)?,\s*"(\w+)"|\{"error", "(\w+)"\}|\{"error":"(\w+)"/g)].map((found) => found[1] || found[2] || found[3]));
  assert.ok(words.size >= 15, [...words].join());
  for (const word of words) assert.ok(TEXTS[`error.${word}`], word);
  const ends = [...all.matchAll(/case ending::(\w+):\s*return "(\w+)"/g)].map(([, , word]) => word);
  assert.ok(ends.length >= 9);
  for (const word of ends) assert.ok(word === 'running' || word === 'practice' || TEXTS[`end.${word}`], word);
});

test('texts follow the language, fall back to English, and fill their placeholders', () => {
  chooseLanguage('de-AT');
  assert.equal(t('run'), 'Start');
  assert.equal(t('error.line', 3), 'Zeile 3');
  chooseLanguage('fr');
  assert.equal(t('run'), 'Run');
  assert.equal(t('no such key'), 'no such key');
  assert.equal(refusal({ word: 'slow', told: { retry_s: 7 } }), 'Too many wrong codes. Wait 7 s.');
  assert.equal(refusal({ word: 'unheard', message: 'as the server says' }), 'as the server says');
  assert.equal(waitText(89), '89 s');
  assert.equal(waitText(150), '3 min');
});

test('help is found by word, in either language, whatever its accents and capitals', () => {
  const names = (question, language) => findWords(question, language).map(({ row }) => row[0]);
  assert.equal(names('forw', 'en')[0], 'forward(d)');
  assert.ok(names('colour', 'en').includes('pencolor(c)'));
  assert.ok(names('FARBE', 'de').includes('pencolor(c)'));
  assert.ok(names('zuruck', 'de').includes('back(d)'));
  assert.deepEqual(names('nothing of that kind', 'en'), []);
  assert.equal(names('', 'en').length, GROUPS.reduce((sum, group) => sum + group[3].length, 0));
  assert.equal(inJavaScript('begin_fill()'), 'beginFill()');
});

test('a program is the same after passing through an address', async () => {
  const program = { language: 'python', title: 'Zoë’s spiral', text: 'print("ü")\n'.repeat(500) };
  const fragment = await toFragment(program);
  assert.match(fragment, /^p=1[A-Za-z0-9_-]+$/);
  assert.ok(fragment.length < 400);
  assert.deepEqual(await fromFragment(`#${fragment}`), program);
});

test('a malformed address gives no program', async () => {
  for (const bad of ['', '#', '#p=', '#p=1!!!', '#p=1AAAA', '#p=0AAAA', '#p=2AAAA', `#p=0${btoa('["cobol","t","x"]')}`, `#p=0${btoa('{"a":1}')}`,
    `#p=0${btoa('["python",1,"x"]')}`, `#p=1${'A'.repeat(300000)}`]) {
    assert.equal(await fromFragment(bad), null, bad.slice(0, 40));
  }
});

test('a shared program that would unpack to a huge size is refused', async () => {
  const stream = new Blob([new Uint8Array(50_000_000)]).stream().pipeThrough(new CompressionStream('deflate'));
  const packed = Buffer.from(await new Response(stream).arrayBuffer()).toString('base64url');
  assert.ok(packed.length < 100000);
  assert.equal(await fromFragment(`#p=1${packed}`), null);
});

test('output is shown as a terminal shows it: carriage returns, colours, a wiped screen', () => {
  assert.equal(overwritten('a\n0%\r50%\r100%\n'), 'a\n100%\n');
  assert.equal(overwritten('one\r\ntwo\r\r\n'), 'one\ntwo\n');
  assert.equal(overwritten('3\r'), '3\r', 'stays until something follows');
  assert.equal(overwritten('3\rGo!'), 'Go!');
  assert.equal(overwritten('3\r\r'), '3\r');
  assert.equal(overwritten('\r\na'), '\na');
  const long = 'x'.repeat(1_000_000);
  assert.equal(overwritten(`${'\r'.repeat(1_000_000)}${long}`), long, 'in a time that grows with the text only');
  assert.deepEqual(withoutSequences('\x1b[1;31mred\x1b[0m [2J]'), { wiped: false, text: 'red [2J]' });
  assert.equal(withoutSequences('\x1b]0;title\x07a\x1b7b\x1b8c\x1b[2 qd').text, 'abcd');
  assert.deepEqual(withoutSequences('old\x1b[H\x1b[2Jnew'), { wiped: true, text: 'new' });
});

test('a file is read as UTF-8, with or without its mark, or as what Windows wrote', () => {
  assert.equal(textOf(new Uint8Array([0xef, 0xbb, 0xbf, 0xc3, 0xa9])), 'é');
  assert.equal(textOf(new Uint8Array([0x47, 0x72, 0xfc, 0xdf, 0x65])), 'Grüße');
});

test('a lesson becomes plain parts', () => {
  const parts = lessonParts('# One\n\nSome *text*\nover `two` lines with [a link](x.md).\n\n- an item\n  that goes on\n1. first\n\n<!-- a: b -->\n```python\nforward(3)\n\nleft(4)\n```\n\n![A square](pic.png)\n');
  assert.deepEqual(parts, [
    { kind: 'head', text: 'One' },
    { kind: 'text', text: 'Some *text* over `two` lines with a link.' },
    { kind: 'item', text: '• an item that goes on' },
    { kind: 'item', text: '1. first' },
    { kind: 'code', language: 'python', text: 'forward(3)\n\nleft(4)\n' },
    { kind: 'picture', text: 'A square', file: 'pic.png' },
  ]);
});

test('each language has a file of its own with all lessons and examples, and every picture is there', () => {
  const files = learnFiles(fileURLToPath(new URL('../../', import.meta.url)));
  const [english, german] = ['en', 'de'].map((language) => {
    const { lessons, examples } = JSON.parse(files.get(`learn.${language}.json`));
    assert.equal(lessons.length, 10);
    for (const lesson of lessons) {
      assert.equal(lesson.language, language, lesson.title);
      const pictures = lesson.parts.filter(({ kind }) => kind === 'picture');
      assert.ok(pictures.length > 0 && pictures.every(({ file }) => files.has(file)), lesson.title);
    }
    assert.equal(new Set([...lessons, ...examples].map(({ title, language: kind }) => `${kind} ${title}`)).size, lessons.length + examples.length);
    return { lessons, examples };
  });
  assert.deepEqual(german.examples.map(({ language }) => language), english.examples.map(({ language }) => language));
  const titles = new Set([...english.lessons, ...english.examples].map(({ title }) => title));
  assert.deepEqual([...german.lessons, ...german.examples].filter(({ title }) => titles.has(title) || /^[a-z]/.test(title)), []);
});

test('a longer text is translated before a shorter one inside it', () => {
  assert.equal(translated('# a wall\n# a wall: $& away\n', { '# a wall': '# eine Wand', '# a wall: $& away': '# $& weg' }), '# eine Wand\n# $& weg\n');
});

test('cards are read with their places, and malformed lists give none', () => {
  const good = { sheet: 'cards.png', width: 75, height: 104, cards: [{ card: 12, x: -34.5, y: 20, u: 15, v: 10 }, { x: 'a' }, null] };
  assert.equal(parseCards(JSON.stringify(good)).cards.length, 1);
  for (const bad of ['', '[]', 'null', '{}', '{"painting":false,"cards":[]}', JSON.stringify({ ...good, sheet: '../secret' }), JSON.stringify({ ...good, width: 0 })]) {
    assert.equal(parseCards(bad), null, bad);
  }
});

test('a file that has not changed is used once, a missing one is requested rarely', async () => {
  const pauses = [];
  const answers = [{ ok: true, tag: 'a' }, { ok: true, tag: 'a' }, { ok: true, tag: 'b' }, { ok: false, tag: null }];
  let used = 0;
  await new Promise((resolve) => {
    const world = {
      hidden: () => false,
      fetch: async () => {
        const { ok, tag } = answers.shift();
        return { ok, headers: { get: () => tag } };
      },
      setTimeout: (next, ms) => {
        pauses.push(ms);
        if (answers.length > 0) next();
        else resolve();
      },
    };
    pollChanges(world, 'x', 150, async () => { used += 1; });
  });
  assert.equal(used, 2);
  assert.deepEqual(pauses, [150, 150, 150, 5000]);
});

test('after a failure the next try comes soon, and later ones ever less often', async () => {
  const pauses = [];
  const fails = [false, true, true, 'busy', true, true, true, true, false, true];
  await new Promise((resolve) => {
    const world = {
      hidden: () => false,
      fetch: async () => {
        const fail = fails.shift();
        if (fail === true) throw new TypeError('no network');
        return fail ? { ok: false, status: 502, headers: { get: () => null } } : { ok: true, status: 200, headers: { get: () => 'a' } };
      },
      setTimeout: (next, ms) => {
        pauses.push(ms);
        if (fails.length > 0) next();
        else resolve();
      },
    };
    pollChanges(world, 'x', 150, async () => {});
  });
  assert.deepEqual(pauses, [150, 300, 600, 1200, 2400, 4800, 5000, 5000, 150, 300]);
});

test('what Blockly leaves in English has German in our table, with the same placeholders', () => {
  const table = readFileSync(new URL('../../web/node_modules/blockly/msg/de.js', import.meta.url), 'utf8');
  const left = new Map([...table.matchAll(/^Blockly\.Msg\["(\w+)"\] = "(.*)";.*\/\/ untranslated$/gm)].map(([, key, text]) => [key, text]));
  assert.ok(left.size > 200, `${left.size}`);
  // Of plug-ins, blocks and fields that we have not; names that are the same in German; titles of shortcuts, which no list shows.
  const not = new RegExp('BACKPACK|BITMAP|ANGLE|COLOUR|MINIMAP|SEARCH|MULTILINE|LIST|GRID|DATE$|_HELPURL$|HUE$|'
    + '^(LINUX|WINDOWS|MAC_OS|CHROME_OS|ALT_KEY|END_KEY|TAB_KEY|COMMAND_KEY|OPTION_KEY|PAUSE_KEY|INPUT_LABEL_(TEXT_(?!JOIN|PROMPT)|NUMBER_(ATAN|TO_CHECK)|MATH_CONSTRAIN).*)$|'
    + '^MATH_(TRIG|CONSTANT|ONLIST|SINGLE)|^TEXT_FROM|_SYMBOL$|^LOGIC_NULL$|^SHORTCUTS_(?!(ABORT|FINISH|START)_|CLEANUP|DELETE$|DISCONNECT|DUPLICATE)');
  for (const [key, text] of left) {
    if (not.test(key) || !/[a-z]{2}/.test(text)) continue;
    assert.ok(GERMAN[key], `${key}: ${text}`);
  }
  const gaps = (text) => (text.match(/%\d/g) || []).sort().join();
  for (const [key, text] of Object.entries(GERMAN)) assert.equal(gaps(text), gaps(left.get(key) ?? `${key} has German of its own: %9`), key);
});
