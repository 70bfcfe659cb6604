// The language of the page, which outlives a reload; documents keep their own.
import type { Language } from './dialogs/label';

const key = 'language';
let chosen: Language = localStorage.getItem(key) === 'en' ? 'en' : 'fr';

export const pageLanguage = (): Language => chosen;

/** Views drawn before keep the other language until they are drawn again. */
export function choosePageLanguage(language: Language): void {
  chosen = language;
  localStorage.setItem(key, language);
  document.documentElement.lang = language;
}
