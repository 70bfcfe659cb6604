// Times of the workbench's page in a real browser: first paint, control changes, jumps in a large
// file. Needs the built page and program, and the packages of web/ (scripts/build-web --check).
//   node bench/page.mjs PROGRAM LARGE_FILE
import { createRequire } from 'node:module';

import { show, startWorkbench } from './workbench_program.mjs';

const { chromium } = createRequire(new URL('../web/package.json', import.meta.url))(
  'playwright-core',
);
const [program, file] = process.argv.slice(2);
const { address, stop } = await startWorkbench(program, undefined, file);
const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
  args: ['--no-sandbox'],
});
const page = await browser.newPage({ viewport: { width: 1280, height: 720 } });

await page.goto(address);
await page.waitForSelector('.grid-cell');
const paints = [];
for (let i = 0; i < 10; ++i) {
  await page.reload();
  await page.waitForSelector('.grid-cell');
  paints.push(
    await page.evaluate(
      () => performance.getEntriesByName('first-contentful-paint')[0]?.startTime ?? NaN,
    ),
  );
}
show('first paint', paints);

// A jump is over when the row asked for is drawn with its values.
const cases = await page.locator('.grid').getAttribute('aria-rowcount');
const jumps = await page.evaluate(
  async rows => {
    const field = document.querySelector('.jump input');
    const times = [];
    for (let i = 0; i < 100; ++i) {
      const row = 1 + Math.floor((rows - 1) * ((i * 0.618033988749895) % 1));
      const start = performance.now();
      field.value = String(row);
      field.dispatchEvent(new KeyboardEvent('keydown', { key: 'Enter', bubbles: true }));
      for (;;) {
        await new Promise(requestAnimationFrame);
        const drawn = document.querySelector(`[aria-rowindex="${row + 1}"] .grid-cell`);
        if (drawn && drawn.textContent !== '…') break;
      }
      times.push(performance.now() - start);
    }
    return times;
  },
  Number(cases) - 1,
);
show(`jump in ${Number(cases) - 1} cases`, jumps);

// A change is answered when what depends on it has changed on the page.
await page.click('[data-kind="knn"]');
await page.waitForSelector('[data-name="ApplyCrossV"]', { state: 'attached' });
const changes = await page.evaluate(async () => {
  const box = document.querySelector('[data-name="ApplyCrossV"]');
  const follower = document.querySelector('[data-name="VValue"]');
  const times = [];
  for (let i = 0; i < 200; ++i) {
    const wanted = !follower.disabled;
    const start = performance.now();
    box.click();
    while (follower.disabled !== wanted) await new Promise(resolve => setTimeout(resolve));
    times.push(performance.now() - start);
    await new Promise(resolve => setTimeout(resolve, 5));
  }
  return times;
});
show('200 control changes', changes);

await browser.close();
await stop();
