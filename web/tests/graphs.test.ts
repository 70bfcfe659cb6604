// Graphs in a real browser: pointing, zooming, the legend, turning, exports, texts from the data.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { after, test } from 'node:test';
import { isDeepStrictEqual } from 'node:util';
import type { Locator, Page } from 'playwright-core';
import { axeFaults } from './look';
import {
  becomes,
  closeBrowser,
  control,
  examples,
  onWorkbench,
  picture,
  pickVariables,
  press,
  settled,
  startMethod,
  tab,
} from './workbench';

after(closeBrowser);

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

/** x and y on the tab of graphs. */
async function chosenAxes(page: Page): Promise<void> {
  await tab(page, 'Tracés');
  await item(page, 'SelectedItemX', 'x');
  await item(page, 'SelectedItemsY', 'y');
}

const axisRange = (plot: Locator, axis: 'xaxis' | 'yaxis') =>
  plot.evaluate((element, name) => {
    type Drawn = { _fullLayout: Record<string, { range: [number, number] }> };
    return [...((element as unknown as Drawn)._fullLayout[name]?.range ?? [])];
  }, axis);

/** A downloaded picture as the browser reads it: its size and how many colours it has. */
const readPng = (page: Page, bytes: Buffer) =>
  page.evaluate(async text => {
    const data = Uint8Array.from(atob(text), sign => sign.charCodeAt(0));
    const image = await createImageBitmap(new Blob([data], { type: 'image/png' }));
    const canvas = new OffscreenCanvas(image.width, image.height);
    const context = canvas.getContext('2d') as OffscreenCanvasRenderingContext2D;
    context.drawImage(image, 0, 0);
    const pixels = new Uint32Array(
      context.getImageData(0, 0, image.width, image.height).data.buffer,
    );
    return { width: image.width, height: image.height, colours: new Set(pixels).size };
  }, bytes.toString('base64'));

/** What the graph says about a place, as soon as it passes, while the mouse moves about there. */
async function saidAt(
  page: Page,
  place: () => Promise<{ x: number; y: number }>,
  passes: (text: string) => boolean,
): Promise<string> {
  let step = 0;
  return settled(async () => {
    const { x, y } = await place();
    // one movement may come while the graph is drawn again, which takes the words away
    await page.mouse.move(x - (step++ % 2), y);
    const texts = await page.locator('.beside .plot .hovertext').allTextContents();
    return texts.find(passes) ?? texts[0] ?? '';
  }, passes);
}

/** The middle of a mark as it lies now. */
async function middle(mark: Locator): Promise<{ x: number; y: number }> {
  const box = await mark.boundingBox();
  return box ? { x: box.x + box.width / 2, y: box.y + box.height / 2 } : { x: 0, y: 0 };
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
      await chosenAxes(page);
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
        const point = plot.locator('.scatterlayer .trace').first().locator('.point').nth(index);
        const i = (shown.x[index] ?? 0) - 1;
        const name = nameOf(i);
        const [x, y] = [i + 1, i % 2 ? 100 - i : 2 * i];
        const said = await saidAt(
          page,
          () => middle(point),
          text => text.includes(name),
        );
        assert.ok(said.includes(name) && said.endsWith(`${x} ; ${y}`), said);
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
      const share = async () => {
        const shown = await axisRange(plot, 'xaxis');
        return (shown[1]! - shown[0]!) / (before[1]! - before[0]!);
      };
      const within = await settled(share, value => Math.abs(value - 0.2) < 0.02);
      assert.ok(Math.abs(within - 0.2) < 0.02, `a fifth is shown: ${within}`);
      await page.mouse.dblclick(area.x + area.width * 0.5, area.y + area.height * 0.5);
      await becomes(() => axisRange(plot, 'xaxis'), before);

      // the legend
      const visible = () => plot.locator('.scatterlayer .trace .point:visible').count();
      const all = await visible();
      await plot.locator('.legendtoggle').first().click();
      await becomes(visible, all / 2, 'one of two series is left');
      await page.waitForTimeout(400); // two quick clicks are a double click, which does more
      await plot.locator('.legendtoggle').first().click();
      await becomes(visible, all);

      // and by the keyboard
      await plot.locator('.legendtoggle[aria-checked=true]').nth(1).focus();
      await page.keyboard.press('Space');
      await plot.locator('.legendtoggle[aria-checked=false]').waitFor();
      await becomes(visible, all / 2);
      await page.keyboard.press('Enter');
      await plot.locator('.legendtoggle[aria-checked=true]').nth(1).waitFor();
      await becomes(visible, all);
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
      assert.ok((await settled(share, value => value < 0.7)) < 0.7);

      // the exports
      const svg = (await exported(page, 'SVG')).toString();
      const drawn = await page.evaluate(text => {
        const parsed = new DOMParser().parseFromString(text, 'image/svg+xml');
        const texts = [...parsed.querySelectorAll('text')].map(one => one.textContent?.trim());
        const fault = parsed.querySelector('parsererror')?.textContent ?? '';
        return { fault, texts, marks: parsed.querySelectorAll('circle').length };
      }, svg);
      assert.equal(drawn.fault, '');
      for (const text of ['Nuage de Points en 2D', 'x', 'y', 'z'])
        assert.ok(
          drawn.texts.some(one => one === text || one?.startsWith(`${text} `)),
          `${text} stands in it`,
        );
      assert.ok(drawn.marks >= all / 2, `${drawn.marks} marks`);
      assert.ok(!svg.includes('<script'));
      const png = await readPng(page, await exported(page, 'PNG'));
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
      await chosenAxes(page);
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
      type Point = Awaited<ReturnType<typeof eye>>;
      /** The eye once it rests where it passes. */
      const rested = (passes: (eye: Point) => boolean) => {
        let last: Point | undefined;
        return settled(eye, now => {
          const rests = isDeepStrictEqual(now, last);
          last = now;
          return rests && passes(now);
        });
      };
      const before = await rested(() => true);
      await picture(page, 'graph-surface');
      const area = await plot.boundingBox();
      assert.ok(area);
      await page.mouse.move(area.x + area.width * 0.5, area.y + area.height * 0.5);
      await page.mouse.down();
      await page.mouse.move(area.x + area.width * 0.7, area.y + area.height * 0.5, { steps: 8 });
      await page.mouse.up();
      const angle = (e: Point) => Math.atan2(e.y, e.x);
      const turnedFrom = (e: Point) => (now: Point) => Math.abs(angle(now) - angle(e)) > 0.2;
      const after = await rested(turnedFrom(before));
      await picture(page, 'graph-surface-turned');
      assert.ok(turnedFrom(before)(after), 'it has turned about its axis');
      const far = (e: Point) => Math.hypot(e.x, e.y, e.z);
      assert.ok(Math.abs(far(after) / far(before) - 1) < 0.01, 'as far away as before');

      // the arrows turn it back
      await plot.focus();
      for (let i = 0; i < 3; ++i) await page.keyboard.press('ArrowLeft');
      const back = await rested(turnedFrom(after));
      const turn = angle(back) - angle(after);
      assert.ok(
        Math.abs(Math.atan2(Math.sin(turn), Math.cos(turn)) + Math.PI / 8) < 0.01,
        `${turn}`,
      );
      assert.ok(Math.abs(far(back) / far(after) - 1) < 0.01);

      const png = await readPng(page, await exported(page, 'PNG'));
      assert.ok(png.colours > 20, `${png.colours} colours`);
    },
    table,
  ));

/** What a mark of the graph says, other than the mark before, when the mouse is on its middle. */
const pointedAt = (page: Page, mark: Locator, before: string) =>
  saidAt(
    page,
    () => middle(mark),
    text => text !== '' && text !== before,
  );

test('curves and histograms say their values', () =>
  onWorkbench(`${examples}/pima.csv`, async ({ page }) => {
    await startMethod(page, 'nb');
    await control(page, 'Variables').click();
    await pickVariables(page, [['type'], ['glu', 'age']]);
    await control(page, 'OK').click();
    await page.waitForSelector('.dialog.results');
    await tab(page, 'Tracés');
    await item(page, 'SelectedItemX', 'glu');
    await press(page, 'PlotHistogramsOfX');
    const bars = page.locator('.beside .plot[data-drawn=histogram] .barlayer .point');
    await bars.first().waitFor();
    const counts = await page.locator('.beside .plot').evaluate(element => {
      type Drawn = { data: { y: number[] }[] };
      return [...((element as unknown as Drawn).data[0]?.y ?? [])];
    });
    assert.equal(
      counts.reduce((sum, count) => sum + count, 0),
      133, // a quarter of the 532 cases
      'every test case is in a bar',
    );
    let text = '';
    for (const [i, count] of counts.entries()) {
      if (count === 0) continue; // a line, which says nothing
      text = await pointedAt(page, bars.nth(i), text);
      assert.ok(text.endsWith(`: ${count}`), `bar ${i} of ${count} cases says ${text}`);
    }

    await tab(page, 'Distrib. a posteriori');
    await press(page, 'PosteriorPlot');
    const plot = page.locator('.beside .plot[data-drawn=line]');
    await plot.locator('.scatterlayer .trace').first().waitFor();
    // the first curve, where its sixth point is
    const sixth = () =>
      plot.evaluate(element => {
        type Axis = { l2p(value: number): number; _offset: number };
        type Drawn = {
          data: { x: number[]; y: number[]; name: string }[];
          _fullLayout: { xaxis: Axis; yaxis: Axis };
        };
        const { data, _fullLayout: layout } = element as unknown as Drawn;
        const [first] = data;
        if (!first) throw new Error('there is no curve');
        const box = element.getBoundingClientRect();
        return {
          x: box.left + layout.xaxis._offset + layout.xaxis.l2p(first.x[5] ?? 0),
          y: box.top + layout.yaxis._offset + layout.yaxis.l2p(first.y[5] ?? 0),
          curve: { x: first.x, y: first.y, name: first.name },
        };
      });
    const { curve } = await sixth();
    const shown = await saidAt(page, sixth, text => text.startsWith(curve.name));
    assert.ok(shown.startsWith(curve.name), shown);
    const [x, y] = shown.slice(curve.name.length).split(' ; ').map(Number);
    // the points lie closer than the mouse can tell: it says one of them, near that place
    const at = curve.x.findIndex(value => Math.abs(value - (x ?? NaN)) < 1e-3 * value);
    assert.ok(at >= 0 && at < 10, `${shown} is the point ${at}`);
    assert.ok(Math.abs((curve.y[at] ?? NaN) - (y ?? NaN)) < 1e-3, shown);
  }));
