// Every tab of every dialog, in both languages and schemes: it fits, and axe finds no fault.
import assert from 'node:assert/strict';
import { after, test } from 'node:test';
import type { Page } from 'playwright-core';
import { axeFaults, lookFaults } from './look';
import {
  closeBrowser,
  control,
  examples,
  openPage,
  pickVariables,
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

async function tabFaults(page: Page, what: string): Promise<string[]> {
  const faults: string[] = [];
  for (const one of await page.locator('.dialog [role=tab]').all()) {
    await one.click();
    const name = await one.getAttribute('data-tab');
    faults.push(...(await lookFaults(page, `${what} ${name}`, '.dialog')));
  }
  return faults;
}

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
        faults.push(...(await tabFaults(page, `${what}-results`)));
      }
      assert.deepEqual(faults, []);
    } finally {
      await page.context().close();
      await workbench.stop();
    }
  });
