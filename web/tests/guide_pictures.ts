// The pictures of the user guide: every tab of every dialog, the windows and each kind of document,
// made by walking through one analysis of each method.
import { mkdirSync, readdirSync, readFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import type { Page } from 'playwright-core';
import {
  acceptMessages,
  closeBrowser,
  control,
  examples,
  openPage,
  pickVariables,
  press,
  sheetRows,
  shownDocument,
  startMethod,
  tab,
  Workbench,
} from './workbench';

const folder = process.env.QRVML_GUIDE_PICTURES ?? '../docs/guide/pictures';

const guide = '../docs/guide/en';
const english = readdirSync(guide)
  .map(name => readFileSync(join(guide, name), 'utf8'))
  .join();

type Language = 'fr' | 'en';
type Shoot = (name: string, selector?: string) => Promise<void>;
interface Stop {
  page: Page;
  /** A part of the page, once for each language. */
  own: Shoot;
  /** A document, which has one language. */
  shared: Shoot;
  /** Every tab of the dialog that stands. */
  tabs: (prefix: string) => Promise<void>;
}

async function walk(file: string, language: Language, body: (on: Stop) => Promise<void>) {
  // A folder of one name, since the pictures show it.
  const place = join(tmpdir(), 'analyses');
  const workbench = await Workbench.start(`${examples}/${file}`, undefined, place);
  const { page } = await openPage(workbench);
  const shoot = async (path: string, selector: string) => {
    await page.mouse.move(0, 0);
    await page.evaluate(() => (document.activeElement as HTMLElement | null)?.blur());
    await page.waitForTimeout(150);
    const place = join(folder, path);
    mkdirSync(join(place, '..'), { recursive: true });
    await page.locator(selector).last().screenshot({ path: place });
  };
  // In French every tab; in English what the guide shows.
  const own: Shoot = async (name, selector = '.dialog') => {
    const path = `${language}/${name}.png`;
    if (language === 'fr' || english.includes(path)) await shoot(path, selector);
  };
  const shared: Shoot = async (name, selector = '.beside') => {
    if (language === 'fr') await shoot(`${name}.png`, selector);
  };
  const tabs = async (prefix: string) => {
    for (const [i, one] of (await page.locator('.dialog [role=tab]').all()).entries()) {
      await one.click();
      await own(`${prefix}-${i + 1}`);
    }
  };
  try {
    await page.click(`.segments label:has-text("${language.toUpperCase()}")`);
    await page.waitForSelector('.grid-cell');
    await body({ page, own, shared, tabs });
  } finally {
    await page.context().close();
    await workbench.stop();
  }
}

const plotItem = (page: Page, list: string, text: string) =>
  page.locator(`#list-${list} [role=option]`, { hasText: text }).first().click();
async function typeCells(page: Page, values: string[]): Promise<void> {
  await page.waitForSelector('.modal.entry input:focus');
  for (const value of values) {
    await page.keyboard.type(value);
    await page.keyboard.press('Enter');
  }
  await page.waitForSelector('.modal.entry', { state: 'detached' });
}
async function code(page: Page, kind: string): Promise<void> {
  await control(page, 'CodeGenerator').click();
  await page.locator(`[data-name="${kind}"]`).click();
  await page.locator('.document.text .code-word').first().waitFor();
}

const neighbours = async ({ page, own, shared, tabs }: Stop) => {
  await page.waitForSelector('.sketch, .categories');
  await page.setViewportSize({ width: 1080, height: 500 });
  await own('data', '.frame');
  await page.setViewportSize({ width: 1280, height: 720 });
  await startMethod(page, 'knn');
  await control(page, 'Variables').click();
  await page.waitForSelector('#picker-source [role=option]');
  await own('picker', '.modal');
  const inputs = ['Sepal.Length', 'Sepal.Width', 'Petal.Length', 'Petal.Width'];
  await pickVariables(page, [[], ['Species'], inputs]);
  await tab(page, 'Prototypes');
  await control(page, 'SeedForRandomSampling').fill('7');
  await tab(page, 'Options');
  await control(page, 'KNearestNeighbors').fill('3');
  await tab(page, 'Sélection du modèle');
  await control(page, 'ApplyCrossV').check();
  await page.locator('[data-name="CrossVSeed"]:enabled').fill('7');
  await tabs('knn');
  await control(page, 'OK').click();
  await page.waitForSelector('.dialog.results');
  await press(page, 'CrossVPlot');
  await page.waitForSelector('.plot[data-drawn=line] .scatterlayer');
  await shared('knn-search');
  await control(page, 'IncludeInputs').check();
  await press(page, 'PrintPredictions');
  await sheetRows(await shownDocument(page, 'Prévisions et résidus'));
  await shared('knn-predictions');
  await tab(page, 'Prévisions perso.');
  await press(page, 'CustomPredictions');
  await page.waitForSelector('.modal.entry input');
  await own('custom', '.modal');
  await page.locator('.modal.entry input').first().focus();
  await typeCells(page, ['4.9', '3', '1.4', '0.2']);
  await tab(page, 'Tracés');
  await plotItem(page, 'SelectedItemX', 'Petal.Length');
  await plotItem(page, 'SelectedItemsY', 'Petal.Width');
  await plotItem(page, 'SelectedItemZ', 'Sepal.Width');
  await tabs('knn-results');
  await tab(page, 'Tracés');
  await press(page, 'Plot2DGraphOfXAndY');
  await page.waitForSelector('.plot[data-drawn=scatter] .point');
  await shared('scatter');
  await press(page, 'Plot3DGraphOfXYZ');
  await page.waitForSelector('.plot[data-drawn=surface] canvas', { timeout: 30_000 });
  await page.waitForTimeout(1500);
  await shared('surface');
  await code(page, 'CodeGeneratorCLang');
  await shared('knn-code');
  await page.locator('[role=treeitem]', { hasText: 'Macro' }).click();
  await page.locator('[data-macro=rerun]').waitFor();
  await own('macro', '.beside');
};

const naiveBayes = async ({ page, own, shared, tabs }: Stop) => {
  await startMethod(page, 'nb');
  await control(page, 'Variables').click();
  const inputs = ['npreg', 'glu', 'bp', 'skin', 'bmi', 'ped', 'age'];
  await pickVariables(page, [['type'], inputs]);
  await tab(page, 'Echantillonnage');
  await control(page, 'SeedForRandomSampling').fill('7');
  await tabs('nb');
  await tab(page, 'Distributions');
  await press(page, 'InputDistributions');
  await page.waitForSelector('.modal');
  await own('nb-distributions', '.modal');
  await page.keyboard.press('Escape');
  await control(page, 'OK').click();
  await page.waitForSelector('.dialog.results');
  await press(page, 'DescriptiveStat');
  await sheetRows(await shownDocument(page, 'Matrice de confusion'));
  await shared('nb-confusion');
  await press(page, 'Histograms');
  await page.waitForSelector('.plot[data-drawn=histogram]');
  await tab(page, 'Distrib. a posteriori');
  const glu = await page.locator('[data-name="InputForPosteriorPlot"] option').allInnerTexts();
  await control(page, 'InputForPosteriorPlot').selectOption({ index: glu.indexOf('glu') });
  await page.waitForFunction(
    () =>
      document.querySelector<HTMLInputElement>('[data-name="MaximumRange"]')?.value === '199.000',
  );
  await tabs('nb-results');
  await tab(page, 'Distrib. a posteriori');
  await press(page, 'PosteriorPlot');
  await page.waitForSelector('.plot[data-drawn=line] .legendtext');
  await shared('nb-posterior');
  await code(page, 'CodeGeneratorPMML');
  await shared('nb-code');
};

const supportVectors = async ({ page, own, shared, tabs }: Stop) => {
  await startMethod(page, 'svm');
  await control(page, 'Variables').click();
  const inputs = ['RI', 'Na', 'Mg', 'Al', 'Si', 'K', 'Ca', 'Ba', 'Fe'];
  await pickVariables(page, [[], ['type'], inputs]);
  await tab(page, 'Echantillonnage');
  await control(page, 'SeedForRandomSampling').fill('7');
  await tab(page, 'Sélection du modèle');
  await control(page, 'ApplyCrossV').check();
  await page.locator('[data-name="CrossVSeed"]:enabled').fill('7');
  await tab(page, 'Apprentissage');
  await control(page, 'ScaleInputs').check();
  await control(page, 'UsePenalty').check();
  await tabs('svm');
  await control(page, 'OK').click();
  await page.waitForSelector('.cell-table input:focus');
  await own('svm-penalties', '.modal');
  await page.locator('.modal [data-name="OK"]').click();
  await page.waitForSelector('.dialog.results', { timeout: 60_000 });
  await press(page, 'Model');
  await page.locator('[role=treeitem]', { hasText: 'coefficients and support' }).click();
  await sheetRows(await shownDocument(page, 'SVM model specifications (coefficients'));
  await shared('svm-model');
  await tabs('svm-results');
  await tab(page, 'Base');
  await press(page, 'SavePredictionsAndResiduals');
  await page.waitForSelector('.modal.outputs');
  await own('outputs', '.modal');
  await page.locator('.modal.outputs [role=listbox]').focus();
  await page.keyboard.press('Control+a');
  await page.keyboard.press('Enter');
  await page.waitForSelector('.modal.file-name input');
  await own('file-name', '.modal');
  await page.locator('.modal.file-name input').fill('fgl_predicted.csv');
  await page.keyboard.press('Enter');
  await acceptMessages(page);
  await code(page, 'CodeGeneratorQVB');
  await shared('svm-code');
};

for (const language of ['fr', 'en'] as const) {
  await walk('iris.csv', language, neighbours);
  await walk('pima.csv', language, naiveBayes);
  await walk('fgl.csv', language, supportVectors);
}
await closeBrowser();
