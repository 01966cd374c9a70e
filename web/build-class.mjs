// Builds the pages of a class into dist/class/: five pages, and under v/ what they load, gzipped, each folder named after
// what is in it, so that a browser may keep it for ever. usage: node build-class.mjs
//   v/CODE/    scripts, styles, the Python package: changes with our sources
//   v/PYTHON/  Python itself and the picture of its memory: changes with its version only
import { build } from 'esbuild';
import { createHash } from 'node:crypto';
import { existsSync, mkdirSync, readFileSync, readdirSync, renameSync, rmSync, statSync, writeFileSync } from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { gzipSync } from 'node:zlib';
import { learnFiles } from './build-learn.mjs';
import { pythonParts } from './build-python.mjs';

const here = path.dirname(fileURLToPath(import.meta.url));
const out = path.join(here, 'dist', 'class');
const fresh = path.join(here, 'dist', 'class.new');
rmSync(fresh, { recursive: true, force: true });
mkdirSync(fresh, { recursive: true });

/** Name of a folder for these files: letters of a hash over their names and bytes. */
function versionOf(files) {
  const hash = createHash('sha256');
  for (const [name, bytes] of [...files].sort(([a], [b]) => (a < b ? -1 : 1))) hash.update(`${name}\0${bytes.length}\0`).update(bytes);
  return hash.digest('hex').slice(0, 12);
}

function writeFolder(version, files) {
  for (const [name, bytes] of files) {
    const file = path.join(fresh, 'v', version, `${name}.gz`);
    mkdirSync(path.dirname(file), { recursive: true });
    writeFileSync(file, gzipSync(bytes, { level: 9 }));
  }
}

// Python: kept from the last build when its inputs are the same, because the picture of its memory takes seconds.
const python = await pythonParts(path.join(here, 'node_modules', 'pyodide'), path.join(here, 'dist', 'python-cache'));
writeFolder(python.version, python.files);

const pages = ['join', 'edit', 'watch', 'board', 'desk'];
const bundle = await build({
  entryPoints: [
    ...pages.map((page) => ({ in: path.join(here, 'src', page, page === 'watch' ? 'class-main.js' : 'main.js'), out: page })),
    { in: path.join(here, 'src', 'edit', 'python-worker.js'), out: 'python-worker' },
    { in: path.join(here, 'src', 'edit', 'js-worker.js'), out: 'js-worker' },
    { in: path.join(here, 'src', 'styles', 'all.css'), out: 'style' },
  ],
  bundle: true,
  splitting: true,
  format: 'esm',
  minify: true,
  target: 'es2020',
  legalComments: 'linked',
  chunkNames: 'part-[hash]',
  outdir: '/out',
  write: false,
  logLevel: 'warning',
  loader: { '.svg': 'text' },
  define: { PYTHON_FOLDER: JSON.stringify(`../${python.version}/`), SNAPSHOT: JSON.stringify(python.snapshot) },
});
const code = new Map(bundle.outputFiles.map((file) => [path.relative('/out', file.path), Buffer.from(file.contents)]));
addFolder(code, 'media/', path.join(here, 'node_modules', 'blockly', 'media'), /\.(svg|png|cur|gif)$/);
for (const [name, bytes] of learnFiles(path.join(here, '..'))) code.set(name, bytes);
code.set('kelmora.zip', python.archive);

function addFolder(files, prefix, folder, pattern) {
  if (!existsSync(folder)) return;
  for (const name of readdirSync(folder)) {
    const file = path.join(folder, name);
    if (statSync(file).isFile() && pattern.test(name)) files.set(prefix + name, readFileSync(file));
  }
}

const version = versionOf(code);
writeFolder(version, code);
const frame = readFileSync(path.join(here, 'pages', 'class.html'), 'utf8').replaceAll('{{v}}', `v/${version}`);
for (const page of pages) {
  const file = path.join(fresh, `${page === 'join' ? 'index' : page}.html`);
  const text = frame.replaceAll('{{page}}', page);
  writeFileSync(file, text);
  writeFileSync(`${file}.gz`, gzipSync(text, { level: 9 }));
}
// Moved into place as a whole: a server that runs meanwhile never sees a partial build.
const old = path.join(here, 'dist', 'class.old');
rmSync(old, { recursive: true, force: true });
if (existsSync(out)) renameSync(out, old);
renameSync(fresh, out);
rmSync(old, { recursive: true, force: true });

const size = (files, wanted) => files.filter(([name]) => wanted(name)).reduce((sum, [, bytes]) => sum + gzipSync(bytes).length, 0);
const megabytes = (bytes) => (bytes / 1e6).toFixed(2);
console.log(`web-build: Python ${megabytes(size([...python.files], () => true))} MB, pages ${megabytes(
  size([...code], (name) => /\.(js|css|json)$/.test(name)))} MB, gzipped`);
