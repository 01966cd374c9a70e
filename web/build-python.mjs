// The Python worker's files: pyodide's core, its standard library without modules that are useless in a browser, and a
// snapshot of the interpreter's memory after the usual imports, which reduces the start from ten seconds to one. The
// snapshot is made by this machine's node without stack switching: one made with it crashes browsers that lack it.
import { createHash } from 'node:crypto';
import { existsSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { fileURLToPath, pathToFileURL } from 'node:url';

const here = path.dirname(fileURLToPath(import.meta.url));
// The snapshot is served in pieces: who leaves a page while one is loading loses that one only.
const PIECE_BYTES = 1 << 19;
const CORE = ['pyodide.mjs', 'pyodide.asm.mjs', 'pyodide.asm.wasm', 'pyodide-lock.json'];

// Imported before the snapshot is taken: what programs and the kelmora package import.
const IMPORTS = 'ast builtins collections colorsys contextlib dataclasses datetime enum functools inspect io itertools ' +
  'json linecache math operator os random re socket string struct sys textwrap threading time traceback types typing warnings xml.sax.saxutils';

// Removed from the standard library: servers, processes, other systems' interfaces, and codecs of rare encodings, as
// pages pass UTF-8 only.
const LEFT_OUT = ['multiprocessing/', '_pyrepl/', 'wsgiref/', 'xmlrpc/', 'imaplib.py', 'smtplib.py', 'ftplib.py',
  'poplib.py', 'mailbox.py', 'ctypes/', 'pydoc_data/', 'idlelib/', 'ensurepip/', 'venv/', 'lib2to3/', 'pickletools.py',
  'socketserver.py', 'webbrowser.py', 'tarfile.py', 'pty.py', 'nturl2path.py', 'http/server.py'];

// What help(), doctest and pdb need of a folder that is left out.
const KEPT = ['__init__', 'pager', 'trace', 'types', 'utils'].map((name) => `_pyrepl/${name}.py`);

const CODECS_KEPT = '__init__ aliases ascii base64_codec big5 charmap cp1250 cp1251 cp1252 cp437 cp850 euc_kr gbk hex_codec idna ' +
  'iso8859_1 iso8859_15 iso8859_2 koi8_r latin_1 mac_roman punycode raw_unicode_escape rot_13 shift_jis unicode_escape undefined utf_16 utf_16_be utf_16_le utf_32 utf_32_be utf_32_le ' +
  'utf_7 utf_8 utf_8_sig zlib_codec';

const TRIM = `
import zipfile
def wanted(name, left_out, kept, codecs):
    if name.startswith('encodings/') and name.endswith('.py'):
        return name[10:-3] in codecs
    return name in kept or not any(name.startswith(prefix) for prefix in left_out)
def trim(source, target, left_out, kept, codecs):
    with zipfile.ZipFile(source) as old, zipfile.ZipFile(target, 'w', zipfile.ZIP_DEFLATED, compresslevel=9) as new:
        for item in sorted(old.infolist(), key=lambda item: item.filename):
            if wanted(item.filename, left_out, kept, codecs):
                plain = zipfile.ZipInfo(item.filename)
                plain.compress_type = zipfile.ZIP_DEFLATED
                plain.external_attr = item.external_attr
                new.writestr(plain, old.read(item.filename))
`;

async function makeParts(core) {
  if (typeof WebAssembly.Suspending === 'function') delete WebAssembly.Suspending;
  const { loadPyodide } = await import(pathToFileURL(path.join(core, 'pyodide.mjs')));
  const worker = await loadPyodide({ indexURL: core });
  worker.FS.writeFile('/old.zip', readFileSync(path.join(core, 'python_stdlib.zip')));
  worker.runPython(TRIM);
  worker.globals.get('trim')('/old.zip', '/new.zip', worker.toPy(LEFT_OUT), worker.toPy(KEPT), worker.toPy(CODECS_KEPT.split(' ')));
  const library = Buffer.from(worker.FS.readFile('/new.zip'));
  // The snapshot stores where each module lies in the library, so it must be made with the library it is served with.
  const file = path.join(mkdtempSync(path.join(tmpdir(), 'kelmora-')), 'python_stdlib.zip');
  writeFileSync(file, library);
  const python = await loadPyodide({ indexURL: core, stdLibURL: file, _makeSnapshot: true });
  rmSync(path.dirname(file), { recursive: true });
  python.runPython(`import ${IMPORTS.split(' ').join(', ')}`);
  return { library, snapshot: Buffer.from(python.makeMemorySnapshot()) };
}

const PACK = `
import importlib.util, marshal, zipfile
def pack(target, sources):
    with zipfile.ZipFile(target, 'w') as archive:
        for name, text in sources.items():
            header = importlib.util.MAGIC_NUMBER + bytes(12)  # no flags, and the time and size of no source
            archive.writestr(zipfile.ZipInfo(name + 'c'), header + marshal.dumps(compile(text, name, 'exec')))
`;

/**
 * The package kelmora and the runner as an archive of compiled modules, from which Python imports: compiling them in the
 * browser would take a third of its start, and again as long for every program. Kept in the cache under a hash of its sources.
 */
async function makePackage(core, cache, version) {
  const root = path.join(here, '..', 'clients', 'python', 'src', 'kelmora');
  const sources = new Map(readdirSync(root).filter((name) => name.endsWith('.py')).sort()
    .map((name) => [`kelmora/${name}`, readFileSync(path.join(root, name), 'utf8')]));
  sources.set('kelmora_runner.py', readFileSync(path.join(here, 'src', 'edit', 'runner.py'), 'utf8'));
  const hash = createHash('sha256').update(version);
  for (const [name, text] of sources) hash.update(`${name}\0${text.length}\0`).update(text);
  const kept = path.join(cache, `package-${hash.digest('hex').slice(0, 12)}.zip`);
  if (!existsSync(kept)) {
    const { loadPyodide } = await import(pathToFileURL(path.join(core, 'pyodide.mjs')));
    const python = await loadPyodide({ indexURL: core });
    python.runPython(PACK);
    python.globals.get('pack')('/package.zip', python.toPy(sources));
    for (const name of readdirSync(cache)) if (name.startsWith('package-')) rmSync(path.join(cache, name));
    writeFileSync(kept, python.FS.readFile('/package.zip'));
  }
  return readFileSync(kept);
}

/**
 * @param core   folder of the npm package pyodide
 * @param cache  folder that keeps what takes long to make
 * @returns {version, files: Map name to bytes, snapshot: {pieces: names of its files in order, null for one of zeros; size: of each; length: of all, in bytes}, archive: bytes of the package kelmora and the runner}
 */
export async function pythonParts(core, cache) {
  const hash = createHash('sha256').update(readFileSync(fileURLToPath(import.meta.url)));
  for (const name of [...CORE, 'python_stdlib.zip']) hash.update(readFileSync(path.join(core, name)));
  const version = `python-${hash.digest('hex').slice(0, 12)}`;
  const kept = path.join(cache, version);
  if (!existsSync(path.join(kept, 'snapshot.bin'))) {
    rmSync(cache, { recursive: true, force: true });
    const { library, snapshot } = await makeParts(core);
    mkdirSync(kept, { recursive: true });
    writeFileSync(path.join(kept, 'python_stdlib.zip'), library);
    writeFileSync(path.join(kept, 'snapshot.bin'), snapshot); // last: its presence marks a complete folder
  }
  const files = new Map(CORE.map((name) => [name, readFileSync(path.join(core, name))]));
  // The list of packages that could be downloaded: none.
  const lock = JSON.parse(files.get('pyodide-lock.json').toString('utf8'));
  files.set('pyodide-lock.json', Buffer.from(JSON.stringify({ ...lock, packages: {} })));
  files.set('python_stdlib.zip', readFileSync(path.join(kept, 'python_stdlib.zip')));
  const snapshot = readFileSync(path.join(kept, 'snapshot.bin'));
  // Browsers keep each piece for ever: pieces of two snapshots never bear the same name.
  const mark = createHash('sha256').update(snapshot).digest('hex').slice(0, 12);
  const pieces = [];
  for (let at = 0; at < snapshot.length; at += PIECE_BYTES) {
    const piece = snapshot.subarray(at, at + PIECE_BYTES);
    const name = `snapshot-${mark}-${String(pieces.length).padStart(2, '0')}.bin`;
    const isEmpty = piece.every((byte) => byte === 0);
    if (!isEmpty) files.set(name, piece);
    pieces.push(isEmpty ? null : name);
  }
  return { version, files, snapshot: { pieces, size: PIECE_BYTES, length: snapshot.length }, archive: await makePackage(core, cache, version) };
}
