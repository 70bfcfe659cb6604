// Builds the page into web/dist: one script, one style sheet, the document, and the plotting library
// in two files that the page loads when the first graph asks for them. Runs without a network.
import { build } from 'esbuild';
import { copyFile, mkdir, rm } from 'node:fs/promises';

const out = new URL('dist/', import.meta.url);
await rm(out, { recursive: true, force: true });
await mkdir(out, { recursive: true });

await build({
  absWorkingDir: new URL('.', import.meta.url).pathname,
  entryPoints: { app: 'src/main.tsx' },
  outdir: 'dist',
  bundle: true,
  minify: true,
  target: 'es2022',
  format: 'esm',
  jsx: 'automatic',
  jsxImportSource: 'preact',
  legalComments: 'eof',
  logLevel: 'warning',
});

const files = {
  'src/index.html': 'index.html',
  'src/icon.svg': 'icon.svg',
  'node_modules/plotly.js-cartesian-dist-min/plotly-cartesian.min.js': 'plotly-flat.js',
  'node_modules/plotly.js-gl3d-dist-min/plotly-gl3d.min.js': 'plotly-space.js',
};
for (const [from, to] of Object.entries(files))
  await copyFile(new URL(from, import.meta.url), new URL(to, out));
