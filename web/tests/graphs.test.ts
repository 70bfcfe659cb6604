// Graphs in a real browser: pointing, zooming, the legend, turning, exports, texts from the data.
import assert from 'node:assert/strict';
import { inflateSync } from 'node:zlib';
import { readFileSync } from 'node:fs';
import { after, test } from 'node:test';
import type { Locator, Page } from 'playwright-core';
import { axeFaults } from './look';
import {
  closeBrowser,
  control,
  onWorkbench,
  picture,
  pickVariables,
  startMethod,
  tab,
} from './workbench';

after(closeBrowser);

const press = (page: Page, name: string) => page.locator(`[data-name="${name}"]:enabled`).click();
const item = (page: Page, list: string, text: string) =>
  page.locator(`#list-${list} [role=option]`, { hasText: text }).first().click();

const nameOf = (i: number) => `<script>document.title="no"</script> & <b>${i}</b>`;
/** Two groups of cases on straight lines, whose names look like markup. */
const table = (() => {
  const lines = ['who,group,x,y,z'];
  for (let i = 0; i < 60; ++i) {
    const who = `"${nameOf(i).replaceAll('"', '""')}"`;
    lines.push(
      `${who},${i % 2 ? 'b<i>' : 'a'},${i + 1},${i % 2 ? 100 - i : 2 * i},${(i * 7) % 11}`,
    );
  }
  return lines.join('\n') + '\n';
})();

async function trained(page: Page): Promise<void> {
  await page.click('button:has-text("Noms…")');
  await page.locator('.modal select').selectOption({ label: 'who' });
  await page.keyboard.press('Enter');
  await page.waitForSelector('.grid-row :text("& <b>0</b>")');
  await startMethod(page, 'knn');
  await control(page, 'Variables').click();
  await pickVariables(page, [[], ['group'], ['x', 'y', 'z']]);
  await tab(page, 'Prototypes');
  await control(page, 'SizeOfPrototypeSample').fill('30');
  await control(page, 'OK').click();
  await page.waitForSelector('.dialog.results');
}

const axisRange = (plot: Locator, axis: 'xaxis' | 'yaxis') =>
  plot.evaluate((element, name) => {
    type Drawn = { _fullLayout: Record<string, { range: [number, number] }> };
    return [...((element as unknown as Drawn)._fullLayout[name]?.range ?? [])];
  }, axis);

/** The picture of a download: the colours of a PNG's pixels and its size. */
function readPng(bytes: Buffer): { width: number; height: number; colours: number } {
  assert.equal(bytes.subarray(1, 4).toString(), 'PNG');
  const parts: Buffer[] = [];
  for (let at = 8; at < bytes.length; ) {
    const length = bytes.readUInt32BE(at);
    const kind = bytes.subarray(at + 4, at + 8).toString();
    if (kind === 'IDAT') parts.push(bytes.subarray(at + 8, at + 8 + length));
    at += 12 + length;
  }
  const pixels = inflateSync(Buffer.concat(parts));
  const colours = new Set<number>();
  for (let i = 0; i + 4 <= pixels.length; i += 4) colours.add(pixels.readUInt32BE(i));
  return { width: bytes.readUInt32BE(16), height: bytes.readUInt32BE(20), colours: colours.size };
}

async function exported(page: Page, format: string): Promise<Buffer> {
  const [download] = await Promise.all([
    page.waitForEvent('download'),
    page.locator('.document.graph .document-buttons a', { hasText: format }).click(),
  ]);
  assert.match(download.suggestedFilename(), RegExp(`\\.${format.toLowerCase()}$`));
  return readFileSync(await download.path());
}

test('a scatterplot is pointed at, zoomed, and exported; its legend hides a series', () =>
  onWorkbench(
    'points.csv',
    async ({ page }) => {
      await trained(page);
      await tab(page, 'Tracés');
      await item(page, 'SelectedItemX', 'x');
      await item(page, 'SelectedItemsY', 'y');
      await page
        .locator('#list-SelectedItemsY [role=option]')
        .nth(2)
        .click({ modifiers: ['Control'] });
      await control(page, 'IncludeCaseNames').check();
      await press(page, 'Plot2DGraphOfXAndY');
      const plot = page.locator('.beside .plot[data-drawn=scatter]');
      await plot.locator('.point').first().waitFor();

      // each point of the first series shows its own case and values
      const shown = await plot.evaluate(element => {
        type Drawn = { data: { text: string[]; x: number[] }[] };
        const first = (element as unknown as Drawn).data[0];
        return { text: first?.text ?? [], x: first?.x ?? [] };
      });
      for (const index of [0, shown.text.length - 1]) {
        const box = await plot
          .locator('.scatterlayer .trace')
          .first()
          .locator('.point')
          .nth(index)
          .boundingBox();
        assert.ok(box);
        await page.mouse.move(box.x + box.width / 2 - 1, box.y + box.height / 2);
        await page.mouse.move(box.x + box.width / 2, box.y + box.height / 2);
        const i = (shown.x[index] ?? 0) - 1;
        const name = nameOf(i);
        const [x, y] = [i + 1, i % 2 ? 100 - i : 2 * i];
        const hover = plot.locator('.hovertext', { hasText: name });
        await hover.waitFor();
        assert.ok((await hover.textContent())?.endsWith(`${x} ; ${y}`));
      }
      assert.notEqual(await page.title(), 'no');
      await picture(page, 'graph-scatter');

      // a box drawn with the mouse zooms, a double click goes back
      const before = await axisRange(plot, 'xaxis');
      const area = await plot.locator('.nsewdrag').boundingBox();
      assert.ok(area);
      await page.mouse.move(area.x + area.width * 0.4, area.y + area.height * 0.3);
      await page.mouse.down();
      await page.mouse.move(area.x + area.width * 0.6, area.y + area.height * 0.7, { steps: 5 });
      await page.mouse.up();
      const within = await axisRange(plot, 'xaxis');
      const share = (within[1]! - within[0]!) / (before[1]! - before[0]!);
      assert.ok(Math.abs(share - 0.2) < 0.02, `a fifth is shown: ${share}`);
      await page.mouse.dblclick(area.x + area.width * 0.5, area.y + area.height * 0.5);
      await page.waitForTimeout(500);
      assert.deepEqual(await axisRange(plot, 'xaxis'), before);

      // the legend
      const visible = () => plot.locator('.scatterlayer .trace .point:visible').count();
      const all = await visible();
      await plot.locator('.legendtoggle').first().click();
      await page.waitForTimeout(600);
      assert.equal(await visible(), all / 2, 'one of two series is left');
      await plot.locator('.legendtoggle').first().click();
      await page.waitForTimeout(600);
      assert.equal(await visible(), all);

      // and by the keyboard
      await plot.locator('.legendtoggle[aria-checked=true]').nth(1).focus();
      await page.keyboard.press('Space');
      await plot.locator('.legendtoggle[aria-checked=false]').waitFor();
      assert.equal(await visible(), all / 2);
      await page.keyboard.press('Enter');
      await plot.locator('.legendtoggle[aria-checked=true]').nth(1).waitFor();
      assert.equal(await visible(), all);
      assert.deepEqual(await axeFaults(page, '.document.graph'), []);

      // nothing of the tools sends data anywhere
      const tools = plot.locator('.modebar-btn');
      const titles = await tools.evaluateAll(all => all.map(one => one.getAttribute('data-title')));
      assert.deepEqual(titles, [
        'Agrandir un rectangle',
        'Déplacer',
        'Agrandir',
        'Réduire',
        'Échelle automatique',
        'Rétablir les axes',
      ]);
      await tools.nth(2).focus();
      await page.keyboard.press('Enter');
      await page.waitForTimeout(500);
      const nearer = await axisRange(plot, 'xaxis');
      assert.ok(nearer[1]! - nearer[0]! < 0.7 * (before[1]! - before[0]!));

      // the exports
      const svg = (await exported(page, 'SVG')).toString();
      const fault = await page.evaluate(
        text =>
          new DOMParser().parseFromString(text, 'image/svg+xml').querySelector('parsererror')
            ?.textContent,
        svg,
      );
      assert.equal(fault, undefined);
      assert.ok(!svg.includes('<script'));
      const png = readPng(await exported(page, 'PNG'));
      assert.ok(png.width >= 600 && png.height >= 400, `${png.width} x ${png.height}`);
      assert.ok(png.colours > 5, `${png.colours} colours`);
    },
    table,
  ));

test('a surface turns by the mouse and by the arrows', () =>
  onWorkbench(
    'points.csv',
    async ({ page }) => {
      await trained(page);
      await tab(page, 'Tracés');
      await item(page, 'SelectedItemX', 'x');
      await item(page, 'SelectedItemsY', 'y');
      await item(page, 'SelectedItemZ', 'z');
      await press(page, 'Plot3DGraphOfXYZ');
      const plot = page.locator('.beside .plot[data-drawn=surface]');
      await plot.locator('canvas').first().waitFor({ timeout: 30_000 });
      const eye = () =>
        plot.evaluate(element => {
          type Scene = { getCamera(): { eye: { x: number; y: number; z: number } } };
          type Drawn = { _fullLayout: { scene: { _scene: Scene } } };
          return (element as unknown as Drawn)._fullLayout.scene._scene.getCamera().eye;
        });
      await page.waitForTimeout(1000);
      await picture(page, 'graph-surface');
      const before = await eye();
      const area = await plot.boundingBox();
      assert.ok(area);
      await page.mouse.move(area.x + area.width * 0.5, area.y + area.height * 0.5);
      await page.mouse.down();
      await page.mouse.move(area.x + area.width * 0.7, area.y + area.height * 0.5, { steps: 8 });
      await page.mouse.up();
      await page.waitForTimeout(1000);
      const after = await eye();
      await picture(page, 'graph-surface-turned');
      const angle = (e: { x: number; y: number }) => Math.atan2(e.y, e.x);
      assert.ok(Math.abs(angle(after) - angle(before)) > 0.2, 'it has turned about its axis');
      const far = (e: { x: number; y: number; z: number }) => Math.hypot(e.x, e.y, e.z);
      assert.ok(Math.abs(far(after) / far(before) - 1) < 0.01, 'as far away as before');

      // the arrows turn it back
      await plot.focus();
      for (let i = 0; i < 3; ++i) await page.keyboard.press('ArrowLeft');
      await page.waitForTimeout(500);
      const back = await eye();
      const turn = angle(back) - angle(after);
      assert.ok(
        Math.abs(Math.atan2(Math.sin(turn), Math.cos(turn)) + Math.PI / 8) < 0.01,
        `${turn}`,
      );
      assert.ok(Math.abs(far(back) / far(after) - 1) < 0.01);

      const png = readPng(await exported(page, 'PNG'));
      assert.ok(png.colours > 20, `${png.colours} colours`);
    },
    table,
  ));
