// The windows that a dialog opens, each with the mouse and the keys, and what they then say.
import assert from 'node:assert/strict';
import { after, test } from 'node:test';
import type { Page } from 'playwright-core';
import { lookFaults } from './look';
import {
  closeBrowser,
  control,
  examples,
  onWorkbench,
  picture,
  pickVariables,
  sheetRows,
  shownDocument,
  startMethod,
  tab,
} from './workbench';

after(closeBrowser);

const cars = `${examples}/cars93.csv`;

async function looksWell(page: Page, name: string): Promise<void> {
  await picture(page, name);
  assert.deepEqual(await lookFaults(page, name, '.modal'), []);
}

test('penalties: a click on a red cell edits it, elsewhere the hint says which can be', () =>
  onWorkbench(cars, async ({ page }) => {
    await startMethod(page, 'svm');
    await control(page, 'Variables').click();
    await pickVariables(page, [[], ['Origin'], ['Price', 'Horsepower']]);
    await tab(page, 'Apprentissage');
    await control(page, 'UsePenalty').check();
    await control(page, 'OK').click();
    const cells = page.locator('.cell-table input');
    await page.waitForSelector('.cell-table input:focus');
    assert.equal(await page.evaluate(() => getSelection()?.toString()), '1', 'selected on entry');
    const rows = await page.locator('.cell-table tbody tr').allInnerTexts();
    assert.deepEqual(
      rows.map(row => row.split('\t')[0]),
      ['USA', 'non-USA'],
    );
    const hint = page.locator('.modal .note');
    await page.locator('.cell-table td', { hasText: 'non-USA' }).click();
    await page.waitForSelector('.modal .note:has-text("Seules les cellules en rouge")');
    assert.equal(await page.locator('.notice').count(), 0, 'the hint alone says it');
    await cells.nth(1).click();
    await page.waitForSelector('.modal .note:has-text("Cliquez sur une cellule")');
    await looksWell(page, 'penalties');

    // what is no penalty is marked, and a refused OK goes back to it
    await page.keyboard.type('viel');
    await page.waitForSelector('.cell-table input[aria-invalid]');
    await page.locator('.modal [data-name="OK"]').click();
    await page.waitForSelector('.modal.message');
    await page.keyboard.press('Enter');
    await page.waitForSelector('.cell-table input[aria-invalid]:focus');
    await page.keyboard.type('2.5');
    await page.keyboard.press('ArrowUp');
    await page.keyboard.type('0.5');
    await page.keyboard.press('Enter'); // down a row
    await page.keyboard.press('Enter'); // from the last one: OK
    await page.waitForSelector('.dialog.results');
    await tab(page, 'Pénalité');
    await control(page, 'ClassPenalty').click();
    const sheet = await shownDocument(page, 'Penalty for imbalanced data, Origin');
    const penalties = (await sheetRows(sheet)).map(row => row.at(-1));
    assert.deepEqual(penalties, ['0.5', '2.5']);

    // the next OK begins with them
    await control(page, 'Cancel').click();
    await page.waitForSelector('.dialog.specification');
    await control(page, 'OK').click();
    await page.waitForSelector('.cell-table input');
    assert.equal(await cells.nth(1).inputValue(), '2.5');
    assert.equal(
      await hint.innerText(),
      'Cliquez sur une cellule de pénalité en surbrillance pour la modifier',
    );
  }));
