// The windows that a dialog opens, each with the mouse and the keys, and what they then say.
import assert from 'node:assert/strict';
import { existsSync } from 'node:fs';
import { join } from 'node:path';
import { after, test } from 'node:test';
import type { Page } from 'playwright-core';
import { lookFaults } from './look';
import {
  becomes,
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

    // a click on nothing leaves the keys with the window
    await page.locator('.modal h2').click();
    await page.keyboard.press('Escape');
    await page.waitForSelector('.modal', { state: 'detached' });
    await page.locator('.dialog h1').click();
    await page.keyboard.press('Enter');
    await page.waitForSelector('.cell-table input:focus');
    await cells.nth(1).click();

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

    // the list beside the option has them, and the next OK begins with them
    await control(page, 'Cancel').click();
    await page.waitForSelector('.dialog.specification');
    await tab(page, 'Apprentissage');
    await becomes(() => control(page, 'PenaltyList').inputValue(), '0.5 2.5 ');
    await control(page, 'OK').click();
    await page.waitForSelector('.cell-table input');
    await becomes(() => cells.nth(1).inputValue(), '2.5');
    await becomes(
      () => hint.innerText(),
      'Cliquez sur une cellule de pénalité en surbrillance pour la modifier',
    );
  }));

test('codes and the sample: marks switch one by one, a label is a code', () =>
  onWorkbench(cars, async ({ page }) => {
    await startMethod(page, 'knn');
    await control(page, 'Variables').click();
    await pickVariables(page, [[], ['Type'], ['RPM'], ['DriveTrain', 'Passengers']]);

    // Without a choice all are marked; numbers without labels offer what the cases have.
    await control(page, 'PredictorCodes').click();
    await page.waitForSelector('.code-box');
    await looksWell(page, 'codes');
    const marks = (list: number) => page.locator(`#codes-${list} [aria-selected=true]`);
    const rows = (list: number) => page.locator(`#codes-${list} [role=option]`);
    await becomes(() => marks(0).count(), 3);
    await becomes(
      () => rows(1).locator('span:nth-child(2)').allInnerTexts(),
      [...['2', '4', '5', '6', '7', '8']],
    );
    await rows(0).nth(1).click(); // Front
    const marked = async () =>
      (await marks(0).allInnerTexts()).map(text => text.replace(/\W+/g, ' ').trim());
    await becomes(marked, ['4WD 1', 'Rear 3']);
    await page.keyboard.press('ArrowDown');
    await page.keyboard.press('Space'); // Rear
    await becomes(() => marks(0).count(), 1);
    await page.keyboard.press('ArrowUp');
    await page.keyboard.press('ArrowUp');
    await page.keyboard.press('Space'); // 4WD: none is left
    await page.keyboard.press('Enter');
    await page.waitForSelector('.modal .warning:has-text("DriveTrain")');
    await page.waitForSelector('#codes-0:focus');
    await rows(0).nth(1).click();
    await rows(0).nth(2).click();
    await page.keyboard.press('Enter');
    await page.waitForSelector('output:has-text("2 3 | *")');

    // the sample: its window says what it is for, and a new variable brings its first code
    await tab(page, 'Prototypes');
    await control(page, 'UseSubsetvariable').check();
    await page.locator('[data-name="Sample"]:enabled').click();
    await page.waitForSelector('.modal [data-name="Variable"]:focus');
    await page.keyboard.press('Enter');
    await page.waitForSelector('#picker-source:focus [role=option]');
    await page.locator('.picker input[type=search]').fill('Origin');
    await page.locator('#picker-source [role=option]').first().dblclick();
    await page.keyboard.press('Enter');
    const code = page.locator('.modal [data-name="Code"]');
    await page.waitForFunction(
      () =>
        document.querySelector<HTMLInputElement>('.modal [data-name="Code"]')?.value === 'USA' ||
        document.querySelector<HTMLInputElement>('.modal [data-name="Code"]')?.value === 'non-USA',
    );
    await looksWell(page, 'sample');
    assert.match((await page.locator('.modal .note').innerText()) ?? '', /de façon unique/);
    await code.fill('Mars');
    await page.keyboard.press('Enter');
    await page.waitForSelector('.modal.message:has-text("Code de l\'échantillon incorrect")');
    await page.keyboard.press('Enter');
    await page.waitForSelector('.modal [data-name="Code"]:focus');
    await page.keyboard.type('non-USA');
    await page.keyboard.press('Enter');
    await page.waitForSelector('.modal', { state: 'detached' });
    await control(page, 'OK').click();
    await page.waitForSelector('.dialog.results');
    assert.equal(await page.locator('.notice').count(), 0, 'what was told before is gone');
    await control(page, 'DescriptiveStat').click();
    const counts = await sheetRows(await shownDocument(page, 'Matrice de confusion'));
    const tested = counts.flatMap(row => row.slice(1).map(Number)).reduce((sum, n) => sum + n, 0);
    assert.equal(
      tested,
      32,
      'of 43 American cars without four-wheel drive 11 are Large, as no other is',
    );
  }));

test('a file is uploaded by its button or by dropping it, and a defective one says why', () =>
  onWorkbench(cars, async ({ page, workbench }) => {
    const text = 'a;b\n' + Array.from({ length: 30 }, (_, i) => `${i};${i % 3},5`).join('\n');
    await page.click('header button:has-text("Ouvrir")');
    await page.waitForSelector('.open-window [role=option]');
    assert.match(await page.locator('.open-window [role=option] .dim').innerText(), /^\d+,\d ko$/);
    await looksWell(page, 'open');
    const choosing = page.waitForEvent('filechooser');
    await page.locator('.open-window button', { hasText: 'Depuis cet ordinateur' }).click();
    const upload = (name: string, content: string) => ({
      name,
      mimeType: 'text/csv',
      buffer: Buffer.from(content),
    });
    await (await choosing).setFiles(upload('broken.csv', 'a,b\n1,2,3,4\n"'));
    await page.waitForSelector('.open-window .warning:not(:empty)');
    const again = page.waitForEvent('filechooser');
    await page.locator('.open-window button', { hasText: 'Depuis cet ordinateur' }).click();
    await (await again).setFiles(upload('sent.csv', text));
    await page.waitForSelector('.tree [role=treeitem]:has-text("sent.csv")');
    await page.waitForSelector('.grid-cell:has-text("2.5")');

    // dropped onto the page, with its markup as text
    const name = '<script>document.title="broken".csv';
    const data = await page.evaluateHandle(
      ([file, content]) => {
        const transfer = new DataTransfer();
        transfer.items.add(new File([content ?? ''], file ?? '', { type: 'text/csv' }));
        return transfer;
      },
      [name, text],
    );
    await page.dispatchEvent('.frame', 'drop', { dataTransfer: data });
    const row = page.locator('.tree [role=treeitem]', { hasText: '<script>' });
    await row.waitFor();
    assert.notEqual(await page.title(), 'broken');
    assert.ok(
      !existsSync(join(workbench.folder, 'sent.csv')),
      'beside the data nothing is written',
    );
  }));

test('variables are dragged into lists, back and between them; two roles are told', () =>
  onWorkbench(cars, async ({ page }) => {
    await startMethod(page, 'knn');
    await control(page, 'Variables').click();
    const source = (name: string) =>
      page.locator('#picker-source [role=option]', { hasText: name }).first();
    const target = (list: number) => page.locator(`#target-${list}`);
    const names = (list: number) => target(list).locator('.variable-name').allInnerTexts();
    await page.waitForSelector('#picker-source [role=option]');
    await source('Horsepower').click();
    await page.locator('#picker-source [role=option]', { hasText: 'Rev.per.mile' }).click({
      modifiers: ['Shift'],
    });
    await source('RPM').dragTo(target(2)); // all three that are selected
    await becomes(() => names(2), ['Horsepower', 'RPM', 'Rev.per.mile']);
    await target(2).locator('[role=option]', { hasText: 'RPM' }).dragTo(target(0));
    await becomes(() => names(0), ['RPM']);
    await becomes(() => names(2), ['Horsepower', 'Rev.per.mile']);
    await target(2).locator('[role=option]').first().dblclick();
    await becomes(() => names(2), ['Rev.per.mile']);
    await source('RPM').dragTo(target(2));
    await page.waitForSelector('.picker [role=status]:has-text("RPM")');
    await looksWell(page, 'picker-two-roles');
    await target(2).locator('[role=option]', { hasText: 'RPM' }).click();
    await page.keyboard.press('Delete');
    await page.keyboard.press('Enter');
    await page.waitForSelector('.variables-pick dd:has-text("Rev.per.mile")');
  }));

test('a decimal comma is read, and a refused field says what it takes', () =>
  onWorkbench(cars, async ({ page }) => {
    await startMethod(page, 'svm');
    await control(page, 'Variables').click();
    await pickVariables(page, [[], ['Type'], ['EngineSize', 'Horsepower'], ['AirBags']]);
    await tab(page, 'SVM');
    const capacity = control(page, 'CParameter');
    await capacity.fill('');
    await capacity.pressSequentially('2,55');
    await becomes(() => capacity.inputValue(), '2.55');
    await page.keyboard.press('ArrowLeft');
    await page.keyboard.press('Backspace');
    await page.keyboard.type('7');
    await becomes(() => capacity.inputValue(), '2.75', 'the caret stays where it was');
    await capacity.fill('-1');
    await page.keyboard.press('Enter');
    await page.waitForSelector('.modal.message');
    await page.keyboard.press('Enter');
    await page.waitForSelector('[data-name="CParameter"]:focus');
    assert.match(await page.locator('.complaint:visible').innerText(), /^de .* à /);
    assert.equal(await page.locator('.notice').count(), 0, 'the field alone says it');
    await page.keyboard.type('3');
    await page.keyboard.press('Enter');
    await page.waitForSelector('.dialog.results');

    // a typed case: a label in any letters, also one that is longer than a cell is read
    await tab(page, 'Prévisions perso.');
    await control(page, 'CustomPredictions').click();
    await page.waitForSelector('#entry-0:focus');
    await page.waitForSelector('#entry-2[placeholder*="Driver & Passenger"]');
    for (const text of ['3,5', '200', 'driver & passenger']) {
      await page.keyboard.type(text);
      await page.keyboard.press('Enter');
    }
    await page.waitForSelector('.modal', { state: 'detached' });
    await becomes(() => page.locator('output:visible').innerText(), '3.5 200 "Driver & Passenger"');
  }));

test('a jump beyond the last case goes to it; names stand beside the numbers of the cases', () =>
  onWorkbench(cars, async ({ page }) => {
    await page.waitForSelector('.grid-cell:has-text("Acura")');
    await page.click('.data-view button:has-text("Noms…")');
    await page.locator('.data-window select').selectOption('Make');
    await page.keyboard.press('Enter');
    await page.waitForSelector('.grid-name:has-text("Acura Integra")');
    const jump = page.locator('.jump input');
    await jump.fill('900');
    await page.keyboard.press('Enter');
    await becomes(() => jump.inputValue(), '93');
    await page.waitForSelector('.grid-row:has(.grid-cell.at) .grid-name:has-text("93 Volvo 850")');
    // another variable is looked at in the same case
    await page.locator('#variable-list [role=option]', { hasText: 'Price' }).first().click();
    await page.waitForSelector('.grid-row:has(.grid-cell.at) .grid-name:has-text("93 Volvo 850")');
    await page.waitForSelector('.grid-cell.at:has-text("24.8")');
  }));

test('in English the words of lists are English, names of the data stay as they are', () =>
  onWorkbench(
    'noms.csv',
    async ({ page }) => {
      await startMethod(page, 'nb');
      await page.click('.segments label:has-text("EN")');
      await control(page, 'Variables').click();
      await pickVariables(page, [['genre'], ['Classe', 'Normale'], ['Continu']]);
      const list = page.locator('.note-list:visible');
      const cells = (kind: string) => list.locator(kind).allTextContents();
      await tab(page, 'Distributions');
      await becomes(() => cells('th'), ['Independent', 'Type', 'Distribution']);
      await becomes(
        () => cells('td'),
        [
          ['Classe', 'Continuous', 'Normal'],
          ['Normale', 'Continuous', 'Normal'],
          ['Continu', 'Categorical', 'Discrete'],
        ].flat(),
      );
      await control(page, 'OK').click();
      await page.waitForSelector('.dialog.results');
      await tab(page, 'Distrib. a posteriori');
      await becomes(() => cells('th'), ['Classe', 'Normale', 'Continu']);
      await becomes(async () => (await cells('td'))[2], 'Normale');
    },
    `genre,Classe,Normale,Continu\n${Array.from(
      { length: 40 },
      (_, i) => `${i % 2 ? 'a' : 'b'},${i % 7},${i % 5},${i % 3 ? 'Normale' : 'Poisson'}\n`,
    ).join('')}`,
  ));
