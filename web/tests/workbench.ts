// A workbench for the browser tests: the program on a copy of a data file, and a browser on it.
import assert from 'node:assert/strict';
import { type ChildProcess, spawn } from 'node:child_process';
import { copyFileSync, mkdirSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { basename, join } from 'node:path';
import { createInterface } from 'node:readline';
import { setTimeout as pause } from 'node:timers/promises';
import { isDeepStrictEqual } from 'node:util';
import { type Browser, chromium, type Locator, type Page } from 'playwright-core';

/** How long a page is waited for, in milliseconds: a busy machine takes its time. */
const patience = 15_000;
const program = process.env.QRVML ?? '../build/release/bin/qrvml';
/** Where screenshots are put, to be looked at. */
export const pictures = process.env.QRVML_PICTURES ?? '../build/pictures';
export const examples = '../examples';

let browser: Browser | undefined;

export async function closeBrowser(): Promise<void> {
  await browser?.close();
}

export class Workbench {
  private constructor(
    readonly folder: string,
    readonly address: string,
    private readonly process: ChildProcess,
  ) {}

  /** Starts the program on a copy of a file, or on a file with this text, in a folder that goes. */
  static async start(
    file: string,
    text?: string,
    folder = mkdtempSync(join(tmpdir(), 'qrvml-page-')),
  ): Promise<Workbench> {
    mkdirSync(folder, { recursive: true });
    const data = join(folder, basename(file));
    if (text === undefined) copyFileSync(file, data);
    else writeFileSync(data, text);
    const child = spawn(program, ['workbench', data, '--no-open', '--port', '0'], {
      stdio: ['ignore', 'pipe', 'inherit'],
    });
    const lines = createInterface({ input: child.stdout as NodeJS.ReadableStream });
    const address = await new Promise<string>((resolve, reject) => {
      lines.once('line', resolve);
      child.once('exit', code => reject(new Error(`the program ended with ${code}`)));
    });
    assert.match(address, /^http:\/\/127\.0\.0\.1:\d+\/\?token=\S+$/);
    return new Workbench(folder, address, child);
  }

  async stop(): Promise<void> {
    const ended = new Promise<number | null>(resolve => this.process.once('exit', resolve));
    this.process.kill('SIGINT');
    assert.equal(await ended, 0, 'Ctrl-C ends the program with 0');
    rmSync(this.folder, { recursive: true, force: true });
  }
}

/** A page on the workbench; errors of the page fail the test that asks for `errors`. */
export async function openPage(
  workbench: Workbench,
  options: { dark?: boolean } = {},
): Promise<{ page: Page; errors: string[] }> {
  browser ??= await chromium.launch({
    executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
    args: [
      '--no-sandbox',
      '--use-gl=angle',
      '--use-angle=swiftshader',
      '--enable-unsafe-swiftshader',
    ],
  });
  const context = await browser.newContext({
    viewport: { width: 1280, height: 720 },
    colorScheme: options.dark ? 'dark' : 'light',
    permissions: ['clipboard-read', 'clipboard-write'],
    reducedMotion: 'reduce',
  });
  const page = await context.newPage();
  page.setDefaultTimeout(patience);
  const errors: string[] = [];
  page.on('pageerror', error => errors.push(error.message));
  page.on('console', message => {
    // A request that the program refuses is told to the person, and noted by the browser as well.
    const isRefusal = message.text().startsWith('Failed to load resource');
    if (message.type() === 'error' && !isRefusal) errors.push(message.text());
  });
  await page.goto(workbench.address);
  await page.waitForSelector('.frame');
  return { page, errors };
}

/** A test body with a workbench and a page of its own; what it saw last is kept when it fails. */
export async function onWorkbench(
  file: string,
  body: (on: { workbench: Workbench; page: Page; errors: string[] }) => Promise<void>,
  text?: string,
): Promise<void> {
  const workbench = await Workbench.start(file, text);
  const { page, errors } = await openPage(workbench);
  try {
    await body({ workbench, page, errors });
    assert.deepEqual(errors, [], 'errors of the page');
  } catch (error) {
    await picture(page, `failed-${basename(file)}`);
    throw error;
  } finally {
    await page.context().close();
    await workbench.stop();
  }
}

/** What is read as soon as it passes; what was read last when nothing does in time. */
export async function settled<T>(
  read: () => Promise<T>,
  passes: (value: T) => boolean,
): Promise<T> {
  const end = Date.now() + patience;
  let value = await read();
  while (!passes(value) && Date.now() < end) {
    await pause(50);
    value = await read();
  }
  return value;
}

/** Asserts that what is read comes to be this: what a page shows follows what was done to it. */
export async function becomes<T>(read: () => Promise<T>, wanted: T, what?: string): Promise<void> {
  const value = await settled(read, value => isDeepStrictEqual(value, wanted));
  assert.deepEqual(value, wanted, what);
}

/** Accepts the messages that follow each other until no window is left. */
export async function acceptMessages(page: Page): Promise<void> {
  await page.waitForSelector('.modal.message');
  while ((await page.locator('.modal').count()) > 0) {
    await page.locator('.modal.message button.default').click();
    await page.waitForTimeout(150);
  }
}

export async function picture(page: Page, name: string): Promise<void> {
  mkdirSync(pictures, { recursive: true });
  await page.screenshot({ path: join(pictures, `${name}.png`) });
}

/** The control of the dialog that stands. */
export function control(page: Page, name: string): Locator {
  return page.locator(`.dialog [data-name="${name}"]`).first();
}
/** Presses a button once it can be pressed. */
export const press = (page: Page, name: string) =>
  page.locator(`[data-name="${name}"]:enabled`).click();
export async function tab(page: Page, name: string): Promise<void> {
  await page.locator(`.dialog [data-tab="${name}"]`).click();
}
export async function startMethod(page: Page, kind: string): Promise<void> {
  await page.click(`[data-kind="${kind}"]`);
  await page.waitForSelector('.dialog.specification');
}

/** Picks variables by keys: for each list the names that go into it. */
export async function pickVariables(page: Page, lists: string[][]): Promise<void> {
  await page.waitForSelector('.picker #picker-source [role=option]');
  await page.locator('#picker-source').focus();
  for (const [list, names] of lists.entries())
    for (const [i, name] of names.entries()) {
      await page.locator('.picker input[type=search]').fill(name);
      await page.locator('#picker-source [role=option]', { hasText: name }).first().click();
      await page.keyboard.press(`Alt+${list + 1}`);
      await page.waitForSelector(`#target-${list} [role=option][aria-setsize="${i + 1}"]`);
    }
  await page.locator('.picker button.default').click();
  await page.waitForSelector('.picker', { state: 'detached' });
}

/** Waits until the page shows a document whose title begins so, and gives its element. */
export async function shownDocument(page: Page, title: string): Promise<Locator> {
  const found = page.locator(`.beside .document[aria-label^="${title}"]`);
  await found.waitFor();
  return found;
}

/** The texts of the rows of a spreadsheet that is shown, with their names. */
export async function sheetRows(sheet: Locator): Promise<string[][]> {
  await sheet.locator('.grid-row .grid-cell').first().waitFor();
  return sheet
    .locator('.grid-row')
    .evaluateAll(rows =>
      rows.map(row => [...row.children].map(cell => (cell.textContent ?? '').trim())),
    );
}
