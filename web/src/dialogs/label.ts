// Labels as the module writes them: "&" stands before the access key, "&&" for the sign itself.
import { english } from './english';

export interface Label {
  before: string;
  key: string; // the letter that is underlined; empty: none
  after: string;
}

export type Language = 'fr' | 'en';

export function parseLabel(raw: string): Label {
  const parts = raw.split('&&').map(part => {
    const at = part.indexOf('&');
    return at < 0 || at + 1 >= part.length
      ? [part]
      : [part.slice(0, at), part.charAt(at + 1), part.slice(at + 2)];
  });
  const label: Label = { before: '', key: '', after: '' };
  parts.forEach((part, i) => {
    const add = (text: string) => (label.key ? (label.after += text) : (label.before += text));
    if (i > 0) add('&');
    add(part[0] ?? '');
    if (part.length === 1) return;
    if (label.key) {
      add(part.slice(1).join(''));
    } else {
      label.key = part[1] ?? '';
      label.after = part[2] ?? '';
    }
  });
  return label;
}

export function plainText(raw: string): string {
  const { before, key, after } = parseLabel(raw);
  return before + key + after;
}

/** A label of the module in the language of the page; without a translation it stays as it is. */
export function translate(raw: string, language: Language): string {
  return language === 'en' ? (english[raw.trim()] ?? raw) : raw;
}
