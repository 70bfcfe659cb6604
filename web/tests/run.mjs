// Bundles the tests of the page and runs them: node tests/run.mjs [name of a test file]...
import { spawnSync } from 'node:child_process';
import { mkdtempSync, readdirSync, rmSync } from 'node:fs';
import { join } from 'node:path';
import { build } from 'esbuild';

const folder = new URL('.', import.meta.url).pathname;
const wanted = process.argv.slice(2);
const files = readdirSync(folder).filter(
  name => name.endsWith('.test.ts') && (wanted.length === 0 || wanted.includes(name)),
);
// Beside the packages, so that those that stay outside the bundle are found.
const out = mkdtempSync(join(folder, '../node_modules/.tests-'));
try {
  await build({
    entryPoints: files.map(name => join(folder, name)),
    outdir: out,
    outExtension: { '.js': '.mjs' },
    bundle: true,
    platform: 'node',
    format: 'esm',
    packages: 'external',
    logLevel: 'warning',
  });
  const { status } = spawnSync(
    process.execPath,
    ['--test', ...files.map(name => join(out, name.replace(/\.ts$/, '.mjs')))],
    // the tests find the example files from the page's folder, wherever this was started
    { stdio: 'inherit', cwd: join(folder, '..') },
  );
  process.exitCode = status ?? 1;
} finally {
  rmSync(out, { recursive: true, force: true });
}
