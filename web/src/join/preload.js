// Preloads the first program's files into the browser's cache while the reader fills in the form.
const python = new URL(PYTHON_FOLDER, import.meta.url).href; // replaced by the build
const NAMES = [...SNAPSHOT.pieces.filter(Boolean), 'pyodide.asm.wasm', 'pyodide.asm.mjs', 'pyodide.mjs', 'python_stdlib.zip', 'pyodide-lock.json'];

const PATIENCE = 1000; // ms

let loading = Promise.resolve(); // the file that is on its way
let isLeaving = false;

export async function preload() {
  for (const name of NAMES) {
    if (isLeaving) return;
    loading = fetch(python + name, { priority: 'low' }).then((answer) => answer.arrayBuffer()); // only complete answers are cached
    await loading;
  }
}

/** Ends the preloading before the page is left: resolves when the file on its way is there, which would else be loaded again. */
export function endPreload() {
  isLeaving = true;
  return Promise.race([loading.catch(() => {}), new Promise((done) => { setTimeout(done, PATIENCE); })]);
}
