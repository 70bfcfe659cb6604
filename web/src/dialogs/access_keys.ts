// Alt and a letter reach the control whose label underlines it: a field gets the focus, a button is
// pressed, a choice is made. With several, each press goes on to the next.

export function accessKeys(event: KeyboardEvent, root: HTMLElement): boolean {
  if (!event.altKey || event.ctrlKey || event.metaKey || event.key.length !== 1) return false;
  const key = event.key.toLocaleLowerCase();
  const found = [...root.querySelectorAll<HTMLElement>('[data-access]')].filter(
    element => element.dataset.access === key && isReachable(element),
  );
  if (found.length === 0) return false;
  event.preventDefault();
  const at = found.indexOf(document.activeElement as HTMLElement);
  const next = found[(at + 1) % found.length] as HTMLElement;
  next.focus();
  if (next instanceof HTMLInputElement && !isBox(next)) next.select();
  else if (found.length === 1 && (next instanceof HTMLButtonElement || isBox(next))) next.click();
  return true;
}

function isBox(element: HTMLElement): boolean {
  return element instanceof HTMLInputElement && ['checkbox', 'radio'].includes(element.type);
}

function isReachable(element: HTMLElement): boolean {
  const disabled = (element as HTMLInputElement).disabled ?? false;
  return (
    !disabled &&
    element.getAttribute('aria-disabled') !== 'true' &&
    element.checkVisibility({ visibilityProperty: true })
  );
}
