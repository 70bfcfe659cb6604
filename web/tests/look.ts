// What the look of the page must hold: nothing cut off, no scroll bars on dialogs, nothing axe knows.
import { readFileSync } from 'node:fs';
import type { Page } from 'playwright-core';

const axe = readFileSync('node_modules/axe-core/axe.min.js', 'utf8');

/** Faults that axe finds in the page, or below an element. */
export async function axeFaults(page: Page, within?: string): Promise<string[]> {
  // Through the debugger: the page's policy lets no other script in.
  if (!(await page.evaluate(() => 'axe' in window))) await page.evaluate(axe);
  return page.evaluate(async root => {
    type Axe = { run(context: unknown): Promise<{ violations: object[] }> };
    const { violations } = await (window as unknown as { axe: Axe }).axe.run(root ?? document);
    return violations.map(v => {
      const { id, nodes } = v as { id: string; nodes: { html: string }[] };
      return `${id}: ${nodes[0]?.html}`;
    });
  }, within);
}

/** What is cut off or scrolls in the dialog that stands; lists and tables of data may scroll. */
export function misfits(page: Page): Promise<string[]> {
  return page.evaluate(() => {
    const open = [...document.querySelectorAll<HTMLElement>('dialog[open]')].at(-1);
    const place = document.querySelector<HTMLElement>('.dialog-place, .data-view');
    const root = open ?? place;
    if (!root) return ['no dialog'];
    const found: string[] = [];
    const name = (e: Element) => `${e.className || e.tagName}: ${e.textContent?.slice(0, 60)}`;
    const box = root.getBoundingClientRect();
    if (box.bottom > innerHeight || box.right > innerWidth) found.push(`outside: ${name(root)}`);
    const mayScroll =
      '.list-box, .note-list, .entry-scroll, .summary, .chips, .code-lists, .grid, select, ' +
      '.variable-panel';
    const mayHide =
      'output, dd, .off-screen, .list-box *, .tree *, td, th, select, option, .one-line';
    for (const element of [root, ...root.querySelectorAll<HTMLElement>('*')]) {
      if (!element.checkVisibility({ visibilityProperty: true })) continue;
      const { overflowX, overflowY } = getComputedStyle(element);
      const tall = element.scrollHeight > element.clientHeight + 1;
      const wide = element.scrollWidth > element.clientWidth + 1;
      const scrolls = (tall && overflowY === 'auto') || (wide && overflowX === 'auto');
      if (scrolls && !element.matches(mayScroll)) found.push(`scrolls: ${name(element)}`);
      // a text that its line or field does not hold
      const isText = element.matches('button, label, .check, legend, p, h1, h2');
      if (isText && wide && element.clientWidth > 0 && !element.matches(mayHide))
        found.push(`cut off: ${name(element)}`);
      // what nobody can scroll to
      const isInside = element.getBoundingClientRect().right <= box.right + 1;
      if (!isInside && !element.closest('.note-list, .code-lists, .summary, .grid, .off-screen'))
        found.push(`leaves its place: ${name(element)}`);
    }
    // fields that lie over the label before them
    for (const label of root.querySelectorAll<HTMLElement>('.field > label, .check > span')) {
      if (!label.checkVisibility({ visibilityProperty: true })) continue;
      const text = document.createRange();
      text.selectNodeContents(label);
      const right = text.getBoundingClientRect().right;
      const next = (label.closest('.check') ?? label).nextElementSibling;
      const start = next?.getBoundingClientRect();
      const beside = start && start.top < text.getBoundingClientRect().bottom;
      if (beside && start.left > label.getBoundingClientRect().left && right > start.left + 1)
        found.push(`overlapped: ${label.textContent}`);
    }
    return found;
  });
}

/** All faults of the look, each with what was looked at. */
export async function lookFaults(page: Page, what: string, within?: string): Promise<string[]> {
  const faults = [...(await misfits(page)), ...(await axeFaults(page, within))];
  return faults.map(fault => `${what}: ${fault}`);
}
