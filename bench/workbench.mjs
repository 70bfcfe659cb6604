// Times of the workbench's server as a page sees them, without a browser: windows of a large file,
// its first rows, and how soon a cancelled call has ended.
//   node bench/workbench.mjs PROGRAM [CASES VARIABLES]
import { createWriteStream, mkdtempSync, rmSync } from 'node:fs';
import { once } from 'node:events';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

import { show, startWorkbench } from './workbench_program.mjs';

const [program, cases = '1000000', variables = '200'] = process.argv.slice(2);
const folder = mkdtempSync(join(tmpdir(), 'qrvml-bench-'));

let seed = 20240229;
const random = () => {
  seed = (Math.imul(seed, 1664525) + 1013904223) >>> 0;
  return seed / 2 ** 32;
};

/// Numbers of four digits, then a class of three.
async function write(name, rows, columns) {
  const out = createWriteStream(join(folder, name));
  out.write([...Array(columns).keys()].map(v => `v${v + 1}`).join() + ',class\n');
  for (let row = 0; row < rows; ) {
    let text = '';
    for (const end = Math.min(rows, row + 1000); row < end; ++row) {
      const first = random();
      text += Math.floor(first * 10000);
      for (let v = 1; v < columns; ++v) text += ',' + Math.floor(random() * 10000);
      text += ',' + 'abc'[Math.floor(3 * ((first + 0.3 * random()) % 1))] + '\n';
    }
    if (!out.write(text)) await once(out, 'drain');
  }
  await new Promise(resolve => out.end(resolve));
}

const pause = milliseconds => new Promise(resolve => setTimeout(resolve, milliseconds));

await write('large.csv', Number(cases), Number(variables) - 1);
await write('middle.csv', 30000, 10);
const { address, stop } = await startWorkbench(program, folder);
const root = new URL('/', address);
const cookie = (await fetch(address)).headers.get('set-cookie').split(';')[0];
const ask = async (method, path, body) => {
  const reply = await fetch(new URL('api/' + path, root), {
    method,
    headers: { cookie },
    body: body && JSON.stringify(body),
  });
  const text = await reply.text();
  if (!reply.ok) throw new Error(`${path}: ${text}`);
  return JSON.parse(text);
};
const analysisOf = async id =>
  (await ask('GET', 'state')).analyses.find(one => one.analysis === id);

/// Changes of settings while a file is read, then its first rows.
async function openLarge() {
  const small = await ask('POST', 'files', { folder: 0, path: 'middle.csv' });
  const start = performance.now();
  let read = false;
  const opened = ask('POST', 'files', { folder: 0, path: 'large.csv' }).finally(() => (read = true));
  const beside = [];
  while (!read) {
    const asked = performance.now();
    await ask('GET', `files/${small.file}/rows?first=1&count=50&from=1&to=10`);
    beside.push(performance.now() - asked);
    await pause(50);
  }
  const file = await opened;
  const done = performance.now();
  await ask('GET', `files/${file.file}/variables`);
  await ask('GET', `files/${file.file}/rows?first=1&count=60&from=1&to=20`);
  console.log(
    `${file.cases} x ${file.variables}: read in ${((done - start) / 1000).toFixed(1)} s, ` +
      `first rows ${(performance.now() - done).toFixed(1)} ms later`,
  );
  show('rows of another file meanwhile', beside);
  return { file, small };
}

async function jump(file) {
  const times = [];
  for (let i = 0; i < 200; ++i) {
    const first = 1 + Math.floor(random() * (file.cases - 60));
    const from = 1 + Math.floor(random() * Math.max(file.variables - 20, 1));
    const start = performance.now();
    await ask('GET', `files/${file.file}/rows?first=${first}&count=60&from=${from}&to=${from + 19}`);
    times.push(performance.now() - start);
  }
  show(`a window of 60 x 20 in ${file.cases} x ${file.variables}`, times);
  const summaries = [];
  for (let v = 1; v <= file.variables; v += 10) {
    const start = performance.now();
    await ask('GET', `files/${file.file}/variables/${v}`);
    summaries.push(performance.now() - start);
  }
  show('statistics and histogram of a variable', summaries);
}

/// From the request to the end of the call that it ends.
async function cancel(what, analysis, calls) {
  const times = [];
  let ended = 0;
  for (let i = 0; i < 10; ++i) {
    const { dialog } = await analysisOf(analysis);
    const { done } = await ask('POST', `analyses/${analysis}/calls`, { dialog: dialog.dialog, calls });
    if (done) {
      ++ended;
      break;
    }
    await pause(100 + 150 * i);
    if (!(await analysisOf(analysis)).busy) {
      ++ended;
      break;
    }
    const start = performance.now();
    await ask('POST', `analyses/${analysis}/cancel`, {});
    while ((await analysisOf(analysis)).busy) await pause(1);
    times.push(performance.now() - start);
  }
  if (times.length) show(`cancel, ${what} (${times.length})`, times);
  if (ended) console.log(`${what}: one ended before it could be cancelled`);
}

async function open(file, kind, settings) {
  const { analysis, dialog } = await ask('POST', 'analyses', { file: file.file, kind });
  const calls = settings.map(([name, value, type]) =>
    type ? { do: 'type', name, text: value } : { do: 'set', name, value },
  );
  const { error } = await ask('POST', `analyses/${analysis}/calls`, { dialog: dialog.dialog, calls });
  if (error) throw new Error(error);
  return analysis;
}

const ok = [{ do: 'ok' }];
const press = name => [{ do: 'press', name }];
const untilIdle = async id => {
  while ((await analysisOf(id)).busy) await pause(50);
};
try {
  const { file, small } = await openLarge();
  await jump(file);
  const inputs = '1-9';
  const search = await open(small, 'knn', [
    ['Variables', `| class | ${inputs} |`],
    ['ApplyCrossV', 1],
    ['VValue', '90', true],
    ['MaximumK', '400', true],
  ]);
  await cancel('search of K', search, ok);
  const neighbours = await open(file, 'knn', [['Variables', `| class | ${inputs} |`]]);
  await ask('POST', `analyses/${neighbours}/calls`, {
    dialog: (await analysisOf(neighbours)).dialog.dialog,
    calls: ok,
  });
  await untilIdle(neighbours);
  await cancel('table of nearest neighbours', neighbours, press('PrintPredictions'));
  const machine = await open(small, 'svm', [['Variables', `| class | ${inputs} |`]]);
  await cancel('training of support vectors', machine, ok);
  const grid = await open(small, 'svm', [
    ['Variables', `| class | ${inputs} |`],
    ['ApplyCrossV', 1],
  ]);
  await cancel('search of support vector parameters', grid, ok);
  const bayes = await open(file, 'nb', [
    ['Variables', `class | 1-${Math.min(file.variables - 1, 150)} |`],
  ]);
  await cancel('naive Bayes over all cases', bayes, ok);
} finally {
  await stop();
  rmSync(folder, { recursive: true });
}
