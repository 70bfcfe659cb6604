// Every tab of every dialog, in both languages and schemes: it fits, and axe finds no fault.
import assert from 'node:assert/strict';
import { after, test } from 'node:test';
import type { Page } from 'playwright-core';
import { axeFaults, lookFaults } from './look';
import {
  becomes,
  closeBrowser,
  control,
  examples,
  onWorkbench,
  openPage,
  pickVariables,
  press,
  sheetRows,
  shownDocument,
  startMethod,
  tab,
  Workbench,
} from './workbench';

after(closeBrowser);

const measures = ['Price', 'MPG.city', 'Horsepower', 'Weight'];
const methods = [
  { kind: 'knn', lists: [[], ['Type'], measures, ['DriveTrain', 'Origin']] },
  { kind: 'nb', lists: [['Type'], measures, ['DriveTrain', 'Origin']] },
  { kind: 'svm', lists: [[], ['Type'], measures, ['DriveTrain', 'Origin']] },
];

/** Texts beside controls that are French on the English page: those with accents. */
const french = (page: Page) =>
  page
    .locator('.dialog :is(label, button, legend, .caption, .note)')
    .filter({ hasText: /[àâçéèêîôùû]/ })
    .allInnerTexts();

/** Documents whose names the tree does not show to their ends, where many differ. */
const cutNames = (page: Page) =>
  page
    .locator('.level-3 .tree-text')
    .evaluateAll(texts =>
      texts
        .filter(e => e.scrollWidth > e.clientWidth || e.scrollHeight > e.clientHeight)
        .map(e => e.textContent ?? ''),
    );

async function tabFaults(page: Page, what: string): Promise<string[]> {
  const faults: string[] = [];
  for (const one of await page.locator('.dialog [role=tab]').all()) {
    await one.click();
    const name = await one.getAttribute('data-tab');
    faults.push(...(await lookFaults(page, `${what} ${name}`, '.dialog')));
    if (what.includes('-en')) faults.push(...(await french(page)));
  }
  return faults;
}

test('long names and labels leave room for what stands beside them', async () => {
  const name = 'une_variable_dont_le_nom_ne_tient_dans_aucune_colonne_ni_aucune_liste';
  const label = 'un libellé de catégorie dont la longueur dépasse tout ce qui est prévu';
  const rows = Array.from(
    { length: 200 },
    (_, i) => `,${i % 17},${i % 3 ? label : 'b'},c${i % 50}`,
  );
  const body = async ({ page }: { page: Page }) => {
    await page.waitForSelector('.variable-panel .facts');
    await becomes(() => page.locator('.facts dd').nth(4).innerText(), '–', 'no minimum');
    const faults = await lookFaults(page, 'data');
    await startMethod(page, 'nb');
    await control(page, 'Variables').click();
    await pickVariables(page, [['classe'], ['une_variable'], ['lettre']]);
    await page.waitForSelector('.variables-pick dd:has-text("classe")');
    faults.push(...(await tabFaults(page, 'settings')));
    const kinds = page.locator('.note-list:visible th', { hasText: 'Distribution' });
    await tab(page, 'Distributions');
    const list = await page.locator('.note-list:visible').boundingBox();
    const column = await kinds.boundingBox();
    assert.ok(
      list && column && column.x + 40 < list.x + list.width,
      'the distribution is in sight',
    );
    await control(page, 'OK').click();
    await page.waitForSelector('.dialog.results');
    faults.push(...(await tabFaults(page, 'results')));
    await tab(page, 'Distrib. a posteriori');
    await press(page, 'PosteriorPlot');
    await page.waitForSelector('.plot[data-drawn=line] .legendtext');
    const height = (selector: string) =>
      page.locator(selector).evaluate(element => element.getBoundingClientRect().height);
    assert.ok((await height('.plot .nsewdrag')) > 0.5 * (await height('.plot')), '50 classes');
    await tab(page, 'Prévisions perso.');
    await press(page, 'CustomPredictions');
    await page.waitForSelector('.modal.entry input:focus');
    faults.push(...(await lookFaults(page, 'entry', '.modal')));
    const field = await page.locator('.modal.entry input').first().boundingBox();
    assert.ok(field && field.width > 120, 'there is room to type');
    await page.keyboard.press('Escape');
    await startMethod(page, 'svm');
    await control(page, 'Variables').click();
    await pickVariables(page, [[], ['classe'], ['une_variable']]);
    await tab(page, 'Apprentissage');
    await control(page, 'UsePenalty').check();
    await control(page, 'OK').click();
    await page.waitForSelector('.cell-table input:focus');
    faults.push(...(await lookFaults(page, 'penalties', '.modal')));
    const table = await page.locator('.cell-table').boundingBox();
    assert.ok(table && table.height > 400, '50 classes have the height of the page');
    assert.deepEqual(faults, []);
  };
  const file =
    'Un_fichier_dont_le_nom_est_plus_long_que_la_page_n’en_a_la_place_à_côté_du_reste.csv';
  await onWorkbench(file, body, `vide${name.slice(3)},${name},lettre,classe\n${rows.join('\n')}\n`);
});

for (const language of ['fr', 'en'])
  test(`every tab of every dialog fits and has no fault that axe knows (${language})`, async () => {
    const workbench = await Workbench.start(`${examples}/cars93.csv`);
    const { page } = await openPage(workbench, { dark: language === 'en' });
    const faults: string[] = [];
    try {
      await page.click(`.segments label:has-text("${language.toUpperCase()}")`);
      await page.waitForSelector('.grid-cell:has-text("Acura")');
      faults.push(...(await axeFaults(page)));
      for (const { kind, lists } of methods) {
        const what = `${kind}-${language}`;
        await startMethod(page, kind);
        await control(page, 'Variables').click();
        await page.waitForSelector('#picker-source [role=option]');
        faults.push(...(await lookFaults(page, `${what} picker`, '.modal')));
        await pickVariables(page, lists);
        await page.waitForSelector('.variables-pick dd:has-text("Weight")');
        if (kind === 'svm') await tab(page, 'Apprentissage');
        if (kind === 'svm') await control(page, 'UsePenalty').check();
        faults.push(...(await tabFaults(page, what)));
        await control(page, 'OK').click();
        if (kind === 'svm') {
          await page.waitForSelector('.cell-table input:focus');
          faults.push(...(await lookFaults(page, `${what} penalties`, '.modal')));
          await page.locator('.modal [data-name="OK"]').click();
        }
        await page.waitForSelector('.dialog.results');
        await control(page, 'DescriptiveStat').click();
        await sheetRows(await shownDocument(page, 'Matrice de confusion'));
        faults.push(...(await lookFaults(page, `${what} results`)));
        faults.push(...(await cutNames(page)));
        faults.push(...(await tabFaults(page, `${what}-results`)));
        await control(page, 'CodeGenerator').click();
        await page.waitForSelector('[role=menu]');
        faults.push(...(await lookFaults(page, `${what} menu`, '.dialog')));
        await page.keyboard.press('Escape');
      }
      assert.deepEqual(faults, []);
    } finally {
      await page.context().close();
      await workbench.stop();
    }
  });
