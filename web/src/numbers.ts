// Numbers as people read them.

/** A number as people read it: up to six significant digits, as short as they allow. */
export function shortNumber(value: number | null | undefined): string {
  if (value === null || value === undefined || !Number.isFinite(value)) return '';
  if (value === 0) return '0';
  const size = Math.abs(value);
  if (size >= 1e-4 && size < 1e9) {
    const decimals = Math.max(0, Math.min(8, 5 - Math.floor(Math.log10(size))));
    return String(Number(value.toFixed(decimals)));
  }
  return String(Number(value.toPrecision(6)));
}

/** A number typed with a decimal comma, with a point; any other text as it is. */
export function withPoint(text: string): string {
  return /^\s*[+-]?\d*,\d*(e[+-]?\d*)?\s*$/i.test(text) ? text.replace(',', '.') : text;
}

/** A number as its edit field shows it: with the field's decimals, unless they would hide digits. */
export function fieldNumber(text: string, decimals: number): string {
  const value = text.trim() === '' ? NaN : Number(text);
  const shown = value.toFixed(decimals);
  return Number(shown) === value ? shown : text;
}

const mostDecimals = 6;
const mark = -9999; // of a missing output

/** How many decimals the numbers of a column need: six significant digits of its largest. */
export function decimalsOf(values: (number | null | undefined)[]): number {
  let largest = 0;
  let needed = 0;
  for (const value of values) {
    if (value === null || value === undefined || value === mark || !Number.isFinite(value))
      continue;
    largest = Math.max(largest, Math.abs(value));
    const [, decimals = ''] = shortNumber(value).split('.');
    needed = Math.max(needed, decimals.length);
  }
  const whole = largest < 1 ? 0 : Math.floor(Math.log10(largest));
  return Math.max(0, Math.min(needed, mostDecimals, 5 - whole));
}

/** A number of such a column; one that the column's decimals would hide is written by itself. */
export function columnNumber(value: number, decimals: number): string {
  if (value === mark) return String(mark);
  const size = Math.abs(value);
  if (size >= 1e9 || (size > 0 && size < 0.5 * 10 ** -decimals)) return shortNumber(value);
  return value.toFixed(decimals);
}
