// Whole journeys of an analyst in a real browser on the real program.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { after, test } from 'node:test';
import { isDeepStrictEqual } from 'node:util';
import type { Page } from 'playwright-core';
import {
  acceptMessages,
  becomes,
  closeBrowser,
  control,
  examples,
  onWorkbench,
  picture,
  pickVariables,
  settled,
  sheetRows,
  shownDocument,
  startMethod,
  tab,
  type Workbench,
} from './workbench';

after(closeBrowser);

const irisLists = [[], ['Species'], ['Sepal.Length', 'Sepal.Width', 'Petal.Length', 'Petal.Width']];

/** Saves every output beside the data; what the file cannot hold is told and accepted. */
async function savePredictions(page: Page, workbench: Workbench): Promise<void> {
  await control(page, 'SavePredictionsAndResiduals').click();
  await page.waitForSelector('.modal.outputs');
  await page.keyboard.press('Control+a');
  await page.keyboard.press('Enter');
  // the open file is not written over without a question
  await page.locator('.modal.file-name input').fill('iris.csv');
  await page.keyboard.press('Enter');
  await page.waitForSelector('.modal.file-name button.danger');
  // nor is a format guessed
  await page.locator('.modal.file-name input').fill('saved.doc');
  await page.keyboard.press('Enter');
  await page.waitForSelector('.modal.file-name .warning:has-text(".parquet")');
  await page.locator('.modal.file-name input').fill('saved.csv');
  await page.keyboard.press('Enter');
  await acceptMessages(page);
  await page.waitForSelector('.notice.news:has-text("saved.csv")');
  const saved = readFileSync(join(workbench.folder, 'saved.csv'), 'utf8').trim().split('\n');
  assert.equal(saved.length, 151);
}

test('nearest neighbours: from the file to saved predictions and deployment code', () =>
  onWorkbench(`${examples}/iris.csv`, async ({ page, workbench }) => {
    // the data
    await page.waitForSelector('.grid-cell:has-text("setosa")');
    await becomes(() => page.locator('.grid-cell').first().textContent(), '5.1');
    await picture(page, 'data');

    // the settings
    await startMethod(page, 'knn');
    await page.waitForFunction(
      () => (document.activeElement as HTMLElement).dataset.name === 'Variables',
    );
    await page.keyboard.press('Enter');
    await page.waitForSelector('.picker #picker-source [role=option]');
    await picture(page, 'picker');
    await pickVariables(page, irisLists);
    await page.waitForSelector('.variables-pick dd:has-text("Petal.Width")');
    await picture(page, 'knn-base');
    await tab(page, 'Prototypes');
    await control(page, 'SizeOfPrototypeSample').fill('60');
    await control(page, 'SeedForRandomSampling').fill('7');
    await picture(page, 'knn-prototypes');
    await tab(page, 'Options');
    await control(page, 'KNearestNeighbors').fill('3');
    await control(page, 'CityBlock').check();
    await picture(page, 'knn-options');
    await tab(page, 'Sélection du modèle');
    assert.ok(await control(page, 'VValue').isDisabled());
    await control(page, 'ApplyCrossV').check();
    await page.waitForSelector('[data-name="VValue"]:enabled');
    await picture(page, 'knn-selection');
    await control(page, 'ApplyCrossV').uncheck();
    await page.waitForSelector('[data-name="VValue"]:disabled');
    await control(page, 'OK').click();

    // the results
    await page.waitForSelector('.dialog.results');
    const summary = await page.locator('.summary').textContent();
    assert.match(summary ?? '', /No\. of nearest neighbors = 3[\s\S]*City-&?block/);
    await control(page, 'DescriptiveStat').click();
    const confusion = await shownDocument(page, 'Matrice de confusion');
    const counts = (await sheetRows(confusion)).flatMap(row => row.slice(1).map(Number));
    assert.equal(counts.length, 9);
    const tested = counts.reduce((sum, count) => sum + count, 0);
    assert.ok(tested > 30 && tested < 90, `${tested} of 150 cases were tested`);
    await control(page, 'IncludeInputs').check();
    await control(page, 'PrintPredictions').click();
    const predictions = await shownDocument(page, 'Prévisions et résidus');
    assert.match(
      (await predictions.locator('.document-size').textContent()) ?? '',
      RegExp(`^${tested} `),
    );
    await picture(page, 'knn-predictions');

    // sorted by a column, copied with its headings
    await predictions.locator('.grid-head', { hasText: 'Petal.Length' }).click();
    await page.waitForSelector('.grid-head[aria-sort=ascending]');
    const lengths = async () => (await sheetRows(predictions)).map(row => Number(row[3]));
    const sorted = (values: number[]) => [...values].sort((a, b) => a - b);
    const shown = await settled(lengths, values => isDeepStrictEqual(values, sorted(values)));
    assert.deepEqual(shown, sorted(shown));
    await predictions.locator('.grid-cell').first().click();
    await page.keyboard.press('Control+a');
    await page.keyboard.press('Control+c');
    // the rows come from the program
    const clipboard = () => page.evaluate(() => navigator.clipboard.readText());
    const copied = (await settled(clipboard, text => text.includes('\t'))).split('\n');
    assert.equal(copied.length, tested + 2, 'two lines of headings and every case');
    assert.match(copied[0] ?? '', /^Obs\.\tSepal\.Length\t/);

    // a graph
    await tab(page, 'Tracés');
    await page.locator('#list-SelectedItemX [role=option]', { hasText: 'Petal.Length' }).click();
    await page.locator('#list-SelectedItemsY [role=option]', { hasText: 'Petal.Width' }).click();
    await page.locator('[data-name="Plot2DGraphOfXAndY"]:enabled').click();
    await page.waitForSelector('.plot[data-drawn=scatter] .point');
    await becomes(() => page.locator('.plot .point').count(), tested);
    await picture(page, 'knn-scatter');
    await page.locator('#list-SelectedItemZ [role=option]', { hasText: 'Sepal.Width' }).click();
    await page.locator('[data-name="Plot3DGraphOfXYZ"]:enabled').click();
    await page.waitForSelector('.plot[data-drawn=surface] canvas', { timeout: 30_000 });
    await picture(page, 'knn-surface');

    // a typed case: the second flower of the file, which is a setosa
    await tab(page, 'Prévisions perso.');
    await control(page, 'CustomPredictions').click();
    await page.waitForSelector('.modal.entry input:focus');
    for (const value of ['4.9', '3', '1.4', '0.2']) {
      await page.keyboard.type(value);
      await page.keyboard.press('Enter');
    }
    await page.waitForSelector('.modal.entry', { state: 'detached' });
    await page.locator('[data-name="PrintCustomPredictions"]:enabled').click();
    const custom = await shownDocument(page, 'Prévisions perso.');
    assert.equal((await sheetRows(custom)).at(-1)?.[1], 'setosa');

    // saved beside the data, and as a program
    await tab(page, 'Base');
    await savePredictions(page, workbench);
    await control(page, 'CodeGenerator').click();
    await page.waitForSelector('[role=menuitem]:focus');
    await page.keyboard.press('Enter');
    const code = page.locator('.document.text pre');
    await code.locator('.code-word').first().waitFor();
    assert.match((await code.textContent()) ?? '', /#include <math\.h>/);
    await picture(page, 'knn-code');

    // back: everything is as it was left
    await control(page, 'Cancel').click();
    await page.waitForSelector('.dialog.specification');
    await tab(page, 'Options');
    await becomes(() => control(page, 'KNearestNeighbors').inputValue(), '3');
  }));

test('naive Bayes: custom priors, posteriors, saved predictions and deployment code', () =>
  onWorkbench(`${examples}/iris.csv`, async ({ page, workbench }) => {
    await startMethod(page, 'nb');
    await control(page, 'Variables').click();
    await pickVariables(page, [['Species'], ['Petal.Length', 'Petal.Width']]);
    await page.waitForSelector('.variables-pick dd:has-text("Petal.Width")');
    await becomes(
      () => page.locator('.variables-pick dl > div').allInnerTexts(),
      [
        'Dépendantes catégorielles\nSpecies',
        'Indépendantes continues\nPetal.Length Petal.Width',
        'Indépendantes catégorielles\n--',
      ],
    );
    const group = (caption: string) => page.locator(`fieldset:has(> legend:text-is("${caption}"))`);
    assert.equal(
      await group('Sélectionnez les variables').locator('[data-name=Variables]').count(),
      1,
    );
    await tab(page, 'Echantillonnage');
    await control(page, 'ApplySampling').uncheck();
    await page.waitForSelector('[data-name="SizeOfTrainingSample"]:disabled');
    // of the variables only the continuous inputs have a distribution to choose
    await tab(page, 'Distributions');
    await control(page, 'InputDistributions').click();
    await pickVariables(page, [[], [], ['Width']]);
    await page.waitForSelector('.note-list:visible td:text-is("Gamma")');
    await picture(page, 'nb-distributions');
    await control(page, 'OK').click();
    await page.waitForSelector('.dialog.results');
    assert.ok(await control(page, 'TestSubset').isDisabled(), 'nothing was set aside for a test');
    assert.equal(await group('Inclure').locator('input[type=checkbox]').count(), 5);

    // priors that do not add up to 1 are rescaled: 0.2, 0.2, 0.4 become 0.25, 0.25, 0.5
    await tab(page, 'Probas a priori');
    await control(page, 'UseCustomPrior').check();
    await page.locator('[data-name="Priors.Select"]:enabled').click();
    await page.waitForSelector('.modal.entry input:focus');
    for (const value of ['0.2', '0.2', '0.4']) {
      await page.keyboard.type(value);
      await page.keyboard.press('Enter');
    }
    await page.waitForSelector('.note-list td:text-is("0.25")');
    const priors = page.locator('.note-list:visible td:nth-child(2)');
    await becomes(() => priors.allTextContents(), ['0.25', '0.25', '0.5']);
    await picture(page, 'nb-priors');

    // the posterior of a class falls from sure to none along its input
    await tab(page, 'Distrib. a posteriori');
    await picture(page, 'nb-posterior-tab');
    await control(page, 'PosteriorPlot').click();
    await page.waitForSelector('.plot[data-drawn=line] .legendtext');
    await becomes(() => page.locator('.plot .scatterlayer .trace').count(), 3);
    await picture(page, 'nb-posterior');
    await control(page, 'PosteriorSpreadsheet').click();
    const posteriors = await shownDocument(page, 'Species posterior class distributions');
    assert.match((await posteriors.locator('.document-size').textContent()) ?? '', /^200 /);
    for (const row of await sheetRows(posteriors)) {
      const sum = row.slice(2).reduce((total, cell) => total + Number(cell), 0);
      assert.ok(Math.abs(sum - 1) < 1e-3, `posteriors of a row add up to ${sum}`);
    }

    await tab(page, 'Base');
    await control(page, 'DescriptiveStat').click();
    const confusion = await shownDocument(page, 'Matrice de confusion');
    const counts = (await sheetRows(confusion)).flatMap(row => row.slice(1).map(Number));
    assert.equal(
      counts.reduce((sum, count) => sum + count, 0),
      150,
    );
    await savePredictions(page, workbench);
    await control(page, 'CodeGenerator').click();
    await page.locator('[data-name="CodeGeneratorPMML"]').click();
    const code = page.locator('.document.text pre');
    await code.locator('.code-word').first().waitFor();
    assert.match((await code.textContent()) ?? '', /<NaiveBayesModel/);
  }));

test('support vectors: kernel, search grid, model, saved predictions and deployment code', () =>
  onWorkbench(`${examples}/iris.csv`, async ({ page, workbench }) => {
    await startMethod(page, 'svm');
    await control(page, 'Variables').click();
    await pickVariables(page, irisLists);
    await tab(page, 'SVM');
    assert.ok(await control(page, 'RegressionType1').isDisabled(), 'the dependent is categorical');
    await control(page, 'ClassType2').check();
    await page.waitForSelector('[data-name="CParameter"]:disabled');
    await page.waitForSelector('[data-name="NuParameter"]:enabled');
    await control(page, 'ClassType1').check();
    await page.waitForSelector('[data-name="CParameter"]:enabled');
    const capacity = control(page, 'CParameter');
    await becomes(() => capacity.inputValue(), '10.000');
    await capacity.click();
    await page.keyboard.type('12.5', { delay: 30 });
    await page.waitForTimeout(300); // the server has heard it
    assert.equal(await capacity.inputValue(), '12.5', 'as it is typed');
    await capacity.blur();
    await becomes(() => capacity.inputValue(), '12.500');
    await capacity.fill('10');
    await picture(page, 'svm-type');
    await tab(page, 'Noyau');
    const gamma = async () => Number(await control(page, 'Gam').inputValue());
    await becomes(gamma, 0.25, '1 / number of inputs');
    await control(page, 'PolyKernel').check();
    await page.waitForSelector('[data-name="Degree"]:enabled');
    await control(page, 'RBFKernel').check();
    await page.waitForSelector('[data-name="Degree"]:disabled');
    await picture(page, 'svm-kernel');
    await tab(page, 'Sélection du modèle');
    await control(page, 'ApplyCrossV').check();
    await page.waitForSelector('[data-name="MinimumC"]:enabled');
    assert.ok(await control(page, 'MinimumNu').isDisabled());
    await picture(page, 'svm-search');
    await control(page, 'ApplyCrossV').uncheck();
    await tab(page, 'Apprentissage');
    await picture(page, 'svm-training');
    await control(page, 'MaxNoOfIterations').fill('2');
    await control(page, 'OK').click();
    await page.waitForSelector('.dialog.results');
    await page.waitForSelector(
      '.notice:has-text("l’apprentissage s’est arrêté à la limite d’itérations")',
    );
    await page.waitForSelector('.summary:has-text("No. of SVs")');
    await control(page, 'Model').click();
    await page.locator('[role=treeitem]', { hasText: 'coefficients and support' }).click();
    const vectors = await shownDocument(page, 'SVM model specifications (coefficients');
    const count = /No\. of SVs = (\d+)/.exec((await page.locator('.summary').textContent()) ?? '');
    assert.equal(
      (await vectors.locator('.document-size').textContent())?.split(' ')[0],
      count?.[1],
    );
    await picture(page, 'svm-model');
    await savePredictions(page, workbench);
    await control(page, 'CodeGenerator').click();
    await page.locator('[data-name="CodeGeneratorQVB"]').click();
    await page.locator('.document.text .code-word').first().waitFor();
  }));

test('a refused option says why and gets the focus, its number selected', () =>
  onWorkbench(`${examples}/iris.csv`, async ({ page }) => {
    await startMethod(page, 'knn');
    await control(page, 'Variables').click();
    await pickVariables(page, irisLists);
    await tab(page, 'Options');
    await control(page, 'KNearestNeighbors').fill('9999');
    await tab(page, 'Base');
    await control(page, 'OK').click();
    const message = page.locator('.modal.message');
    await message.waitFor();
    assert.match(
      (await message.textContent()) ?? '',
      /Number of nearest neighbors for the specified analysis must lay in the range 1-\d+\./,
    );
    await picture(page, 'message');
    await page.keyboard.press('Enter');
    await page.waitForFunction(() => {
      const field = document.activeElement as HTMLInputElement;
      return (
        field.dataset.name === 'KNearestNeighbors' &&
        field.selectionStart === 0 &&
        field.selectionEnd === 4
      );
    });
  }));

test('a training that is cancelled leaves the settings; a reload loses nothing', async () => {
  let state = 1;
  const draw = () => ((state = (state * 48271) % 2147483647) / 2147483647).toFixed(4);
  const columns = Array.from({ length: 12 }, (_, i) => `x${i}`);
  const rows = Array.from({ length: 30000 }, () => columns.map(draw).join(','));
  const text = [columns.join(','), ...rows].join('\n');
  const body = async ({ page }: { page: Page }) => {
    await startMethod(page, 'knn');
    await control(page, 'Variables').click();
    await pickVariables(page, [['x0'], [], ['x3', 'x4', 'x5', 'x6', 'x7', 'x8', 'x9']]);
    await tab(page, 'Sélection du modèle');
    await control(page, 'ApplyCrossV').check();
    await page.waitForSelector('[data-name="MaximumK"]:enabled');
    await control(page, 'MaximumK').fill('2000');
    await control(page, 'OK').click();
    await page.waitForSelector('.modal.progress');
    await picture(page, 'progress');
    await page.reload();
    await page.waitForSelector('.modal.progress');
    await page.keyboard.press('Escape');
    await page.waitForSelector('.modal.progress', { state: 'detached' });
    assert.equal(await page.locator('.modal').count(), 0, 'no message');
    await tab(page, 'Sélection du modèle');
    await becomes(() => control(page, 'MaximumK').inputValue(), '2000');

    // a question that stands open survives, too
    await tab(page, 'Base');
    await control(page, 'Variables').click();
    await page.waitForSelector('.picker');
    await page.reload();
    await page.waitForSelector('.picker #target-0 [role=option]:has-text("x0")');
    await page.keyboard.press('Escape');
    await page.waitForSelector('.picker', { state: 'detached' });
  };
  await onWorkbench('noise.csv', body, text);
});

test('a journey by keys alone, seen by a second tab', () =>
  onWorkbench(`${examples}/mtcars.csv`, async ({ page, workbench }) => {
    const other = await page.context().newPage();
    const key = (...keys: string[]) =>
      keys.reduce((before, k) => before.then(() => page.keyboard.press(k)), Promise.resolve());
    await other.goto(workbench.address);
    await page.locator('[data-kind="knn"]').focus();
    await key('Enter');
    await page.waitForSelector('.dialog.specification');
    await page.waitForSelector('[data-name="Variables"]:focus');
    await key('Alt+v');
    await page.waitForSelector('#picker-source:focus [role=option]');
    await page.keyboard.type('mpg'); // type-ahead in the list
    await key('Alt+1');
    await page.waitForTimeout(900); // a new word for the type-ahead
    await page.keyboard.type('disp');
    await key('Shift+ArrowDown', 'Alt+3', 'Enter');
    await page.waitForSelector('.variables-pick dd:has-text("disp hp")');
    await key('Control+PageDown');
    await page.waitForSelector('[role=tab][aria-selected=true]:has-text("Prototypes")');
    await key('Alt+r'); // Taille éch. du prototype
    await page.keyboard.type('50');
    await key('Enter');
    await page.waitForSelector('.dialog.results');
    await key('Alt+d');
    await shownDocument(page, 'Synthèse de la régression');
    await other.waitForSelector('[role=treeitem]:has-text("Synthèse de la régression")');
    await key('Escape');
    await page.waitForSelector('.dialog.specification');
    await key('Escape');
    await page.waitForSelector('.dialog.startup');
    await key('Escape');
    await page.waitForSelector('.dialog', { state: 'detached' });
  }));

test('text from data is never markup', async () => {
  const name = '<script>document.title="broken"</script>';
  const rows = Array.from({ length: 40 }, (_, i) => `${i % 7},${i % 5},<b>${i % 2}</b>`);
  const text = [`${name},y,<i>class</i>`, ...rows].join('\n');
  const body = async ({ page }: { page: Page }) => {
    await page.waitForSelector('.grid-head:has-text("<script>")');
    await startMethod(page, 'knn');
    await control(page, 'Variables').click();
    await pickVariables(page, [[], ['<i>class</i>'], ['<script>', 'y']]);
    await control(page, 'OK').click();
    await page.waitForSelector('.dialog.results');
    await control(page, 'DescriptiveStat').click();
    const sheet = await shownDocument(page, 'Matrice de confusion');
    assert.equal((await sheetRows(sheet))[0]?.[0], '<b>0</b>');
    await tab(page, 'Tracés');
    await page.locator('#list-SelectedItemX [role=option]', { hasText: '<script>' }).click();
    await page.locator('[data-name="PlotHistogramsOfX"]:enabled').click();
    await page.waitForSelector('.plot[data-drawn=histogram]');
    await becomes(() => page.locator('.plot .xtitle').textContent(), name);
    assert.notEqual(await page.title(), 'broken');
    assert.equal(await page.locator('main b:text-is("0"), main i:text-is("class")').count(), 0);
  };
  await onWorkbench('odd.csv', body, text);
});
