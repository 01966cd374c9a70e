// Bundles the two classic scripts of the viewer page into dist/kelmora/script/, the paths that the page asks for, and the
// replay page with its script beside them.
import { build } from 'esbuild';
import { copyFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';
import path from 'node:path';

const here = path.dirname(fileURLToPath(import.meta.url));
const out = path.join(here, 'dist', 'kelmora', 'script');
const common = { bundle: true, format: 'iife', minify: true, target: 'es2018', legalComments: 'eof', logLevel: 'warning' };

await build({ ...common, entryPoints: [path.join(here, 'src', 'watch', 'main.js')], outfile: path.join(out, 'kelmora.js') });
await build({
  ...common,
  entryPoints: [path.join(here, 'node_modules', 'three', 'build', 'three.module.js')],
  globalName: 'THREE',
  outfile: path.join(out, 'three.min.js'),
});
await build({ ...common, entryPoints: [path.join(here, 'src', 'replay', 'main.js')], outfile: path.join(out, 'replay.js') });
copyFileSync(path.join(here, 'pages', 'replay.html'), path.join(here, 'dist', 'kelmora', 'replay.html'));
