// Preloads the first program's files into the browser's cache while the reader fills in the form.
const python = new URL(PYTHON_FOLDER, import.meta.url).href; // replaced by the build
const NAMES = [...SNAPSHOT.pieces.filter(Boolean), 'pyodide.asm.wasm', 'pyodide.asm.mjs', 'pyodide.mjs', 'python_stdlib.zip', 'pyodide-lock.json'];

export async function preload() {
  for (const name of NAMES) {
    const answer = await fetch(python + name, { priority: 'low' });
    await answer.arrayBuffer(); // only complete answers are cached
  }
}
