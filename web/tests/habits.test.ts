// What a person may change their mind about: a choice of variables, a file that is being read, the
// data below open results; and the macro, switched off and on and done on another file.
import assert from 'node:assert/strict';
import { readFileSync, writeFileSync } from 'node:fs';
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
  openPage,
  picture,
  pickVariables,
  settled,
  sheetRows,
  shownDocument,
  startMethod,
  tab,
} from './workbench';

after(closeBrowser);

const iris = `${examples}/iris.csv`;
const flower = ['Sepal.Length', 'Petal.Length'];

async function openFile(page: Page, name: string): Promise<void> {
  await page.click('header button:has-text("Ouvrir")');
  await page.locator('.open-window [role=option]', { hasText: name }).dblclick();
}

test('a choice of variables is taken back with all that it reset', () =>
  onWorkbench(iris, async ({ page }) => {
    await startMethod(page, 'svm');
    await control(page, 'Variables').click();
    await pickVariables(page, [[], ['Species'], flower]);
    await tab(page, 'Noyau');
    await control(page, 'Gam').fill('0.125');
    await tab(page, 'Base');
    await control(page, 'Variables').click();
    await page.locator('#picker-source [role=option]', { hasText: 'Petal.Width' }).click();
    await page.keyboard.press('Alt+3');
    await page.keyboard.press('Enter');
    await page.waitForSelector('.variables-pick dd:has-text("Petal.Width")');
    await tab(page, 'Noyau');
    const gamma = () => control(page, 'Gam').inputValue();
    await settled(gamma, value => value !== '0.125');
    assert.notEqual(await gamma(), '0.125', 'set by the new choice');
    await page.click('button:has-text("Choix précédent")');
    await becomes(gamma, '0.125');
    await tab(page, 'Base');
    const lists = async () =>
      (await page.locator('.variables-pick dd').allInnerTexts()).slice(1, 3);
    await becomes(lists, ['Species', flower.join(' ')]);
  }));

test('a macro is switched off and on, and done on another file', () =>
  onWorkbench(iris, async ({ page, workbench }) => {
    const lines = readFileSync(iris, 'utf8').trim().split('\n');
    writeFileSync(join(workbench.folder, 'fewer.csv'), lines.slice(0, 121).join('\n'));
    await startMethod(page, 'knn');
    await control(page, 'Variables').click();
    await pickVariables(page, [[], ['Species'], flower]);
    await tab(page, 'Prototypes');
    await control(page, 'UseFirstNCases').check();
    await page.locator('[data-name="NValue"]:enabled').fill('110');
    await control(page, 'OK').click();
    await page.waitForSelector('.dialog.results');
    await page.locator('[role=treeitem]', { hasText: 'Macro' }).click();
    await page.waitForSelector('.macro pre:has-text("NValue = 110")');
    assert.deepEqual(await lookFaults(page, 'macro'), []);
    await picture(page, 'macro');
    await page.locator('[data-macro=record]').uncheck();
    await control(page, 'Model').click();
    await shownDocument(page, 'KNN'); // takes the macro's place
    await page.locator('[role=treeitem]', { hasText: 'Macro' }).click();
    await page.locator('[data-macro=record]').check();
    await control(page, 'DescriptiveStat').click();
    await shownDocument(page, 'Matrice de confusion');
    await page.locator('[role=treeitem]', { hasText: 'Macro' }).click();
    await page.waitForSelector('.macro pre:has-text("DescriptiveStat")');
    const macro = await page.locator('.macro pre').innerText();
    assert.ok(!/^\s*\.Model$/m.test(macro), 'made while recording was off');

    await page.locator('[data-macro=rerun]').click();
    await page.waitForSelector('.file-choice [role=listbox]:focus');
    await picture(page, 'rerun');
    await page.locator('.file-choice button', { hasText: 'Ouvrir' }).click();
    await page.locator('.open-window [role=option]', { hasText: 'fewer.csv' }).dblclick();
    const counts = await sheetRows(await shownDocument(page, 'Matrice de confusion'));
    const tested = counts.flatMap(row => row.slice(1).map(Number)).reduce((sum, n) => sum + n, 0);
    assert.equal(tested, 10, 'of 120 cases the first 110 are prototypes');
    await becomes(() => page.locator('[role=treeitem].level-1').count(), 2);
    const notes = () => page.locator('[role=treeitem].level-2 .tree-note').allInnerTexts();
    await becomes(notes, ['n° 1', 'n° 2'], 'two of one method are told apart');
    await page.setViewportSize({ width: 1280, height: 240 });
    await control(page, 'Model').click();
    const isInSight = async () => {
      const row = await page.locator('[role=treeitem][aria-selected=true]').boundingBox();
      return row !== null && row.y >= 36 && row.y + row.height <= 240;
    };
    await becomes(isInSight, true, 'the tree follows what is shown');
  }));

test('closing an analysis asks when documents would be lost; the keys stay in the tree', () =>
  onWorkbench(iris, async ({ page }) => {
    await startMethod(page, 'nb');
    await page.locator('[data-row=a1]').focus();
    await page.keyboard.press('Delete'); // nothing to lose
    await page.waitForSelector('[data-row=a1]', { state: 'detached' });
    await page.waitForSelector('[role=treeitem]:focus');
    await startMethod(page, 'nb');
    await control(page, 'Variables').click();
    await pickVariables(page, [['Species'], flower]);
    // another tab by keys: what is hidden keeps no focus, and Enter is still OK
    await page.locator('.dialog.specification [data-name="Variables"]').focus();
    await page.keyboard.press('Control+PageDown');
    await page.waitForSelector('[data-tab="Echantillonnage"]:focus');
    await page.keyboard.press('Enter');
    await page.waitForSelector('.dialog.results');
    await control(page, 'DescriptiveStat').click();
    await shownDocument(page, 'Matrice de confusion');
    await page.locator('[data-row=a2]').focus();
    await page.keyboard.press('Delete');
    await page.waitForSelector('.modal:has-text("seront perdus")');
    await page.keyboard.press('Escape');
    await page.waitForSelector('[data-row=a2]:focus');
    await page.keyboard.press('Delete');
    await page.waitForSelector('.modal');
    await page.keyboard.press('Enter');
    await page.waitForSelector('[data-row=a2]', { state: 'detached' });
    await page.waitForSelector('[role=treeitem]:focus');
  }));

test('the reading of a large file shows how far it is, and stops when asked', () =>
  onWorkbench(iris, async ({ page, workbench }) => {
    const row = Array.from({ length: 40 }, (_, i) => `${i}.${i * 7919}`).join(',') + '\n';
    const names = Array.from({ length: 40 }, (_, i) => `x${i}`).join(',') + '\n';
    writeFileSync(join(workbench.folder, 'large.csv'), names + row.repeat(500_000));
    await openFile(page, 'large.csv');
    await page.waitForSelector('.open-window .reading:has-text("large.csv")');
    await page.keyboard.press('Escape');
    await page.waitForSelector('.reading', { state: 'detached' });
    await page.waitForSelector('.open-window button.default:enabled');
    assert.equal(await page.locator('[role=treeitem].level-1').count(), 1);
    await page.locator('.open-window [role=option]', { hasText: 'iris.csv' }).click();
    await page.keyboard.press('Escape');
    await page.waitForSelector('.open-window', { state: 'detached' });
  }));

test('another condition below open results asks, and leads back to the settings', () =>
  onWorkbench(iris, async ({ page }) => {
    await startMethod(page, 'nb');
    await control(page, 'Variables').click();
    await pickVariables(page, [['Species'], flower]);
    await control(page, 'OK').click();
    await page.waitForSelector('.dialog.results');
    await page.locator('[role=treeitem]', { hasText: 'iris.csv' }).click();
    await page.click('button:has-text("Sélection…")');
    await page.waitForSelector('.data-window input:focus');
    await page.keyboard.type('Petal.Length > nothing');
    await page.waitForSelector('.data-window .warning:has-text("il n’y a pas de variable")');
    await page.locator('.data-window input').fill('"Petal.Length" > 2');
    await page.waitForSelector('.data-window .count:has-text("100")');
    await page.keyboard.press('Enter');
    await page.waitForSelector('.data-window', { state: 'detached' });
    await page.locator('[role=treeitem]', { hasText: 'Bayésiens' }).click();
    await control(page, 'DescriptiveStat').click();
    await page.waitForSelector('.modal.message button:nth-of-type(2)');
    await page.keyboard.press('Enter');
    await page.waitForSelector('.dialog.specification');
    await page.waitForSelector('.variables-pick dd:has-text("Species")');
  }));

test('nothing moves while a dialog is drawn again; a closed browser opens where it was', () =>
  onWorkbench(iris, async ({ page, workbench }) => {
    await startMethod(page, 'svm');
    await control(page, 'Variables').click();
    await pickVariables(page, [[], ['Species'], flower]);
    const places = () =>
      page.locator('.dialog [data-name], .dialog button').evaluateAll(controls =>
        controls.map(each => {
          const { x, y, width, height } = each.getBoundingClientRect();
          return [(each as HTMLElement).dataset.name ?? each.textContent, x, y, width, height];
        }),
      );
    // The search enables its grid; another kernel other parameters.
    await tab(page, 'Sélection du modèle');
    let before = await places();
    await control(page, 'ApplyCrossV').check();
    await page.waitForSelector('[data-name="MaximumC"]:enabled');
    assert.deepEqual(await places(), before);
    await control(page, 'MaximumC').fill('7');
    await page.keyboard.press('Tab');
    await tab(page, 'Noyau');
    before = await places();
    await control(page, 'PolyKernel').check();
    await page.waitForSelector('[data-name="Degree"]:enabled');
    assert.deepEqual(await places(), before);

    await page.goto('about:blank');
    const again = await openPage(workbench);
    await again.page.waitForSelector('.frame');
    await again.page.waitForSelector('.dialog');
    await tab(again.page, 'Sélection du modèle');
    await becomes(() => control(again.page, 'MaximumC').inputValue(), '7.000');
    await again.page.context().close();
  }));
