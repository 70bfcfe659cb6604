// A button that opens a short menu: arrows, Enter and letters inside, Escape closes it.
import { useEffect, useRef, useState } from 'preact/hooks';
import { Caption, type Hands, labelOf } from '../dialogs/controls';
import { plainText } from '../dialogs/label';
import type { Control } from '../protocol';

interface Props {
  button: Control | undefined;
  entries: Control[];
  hands: Hands;
}

export function MenuButton({ button, entries, hands }: Props) {
  const [open, setOpen] = useState(false);
  const root = useRef<HTMLDivElement>(null);
  useEffect(() => {
    if (!open) return;
    root.current?.querySelector<HTMLElement>('[role=menuitem]:not(:disabled)')?.focus();
    const outside = (event: MouseEvent) => {
      if (!root.current?.contains(event.target as Node)) setOpen(false);
    };
    document.addEventListener('mousedown', outside);
    return () => document.removeEventListener('mousedown', outside);
  }, [open]);
  if (!button?.visible) return null;

  const close = () => {
    setOpen(false);
    root.current?.querySelector<HTMLElement>('button')?.focus();
  };
  const onKeyDown = (event: KeyboardEvent) => {
    if (!open) return;
    const items = [...(root.current?.querySelectorAll<HTMLElement>('[role=menuitem]') ?? [])];
    const at = items.indexOf(document.activeElement as HTMLElement);
    const letter = event.key.toLocaleLowerCase();
    if (event.key === 'Escape') close();
    else if (event.key === 'ArrowDown') items[(at + 1) % items.length]?.focus();
    else if (event.key === 'ArrowUp') items[(at + items.length - 1) % items.length]?.focus();
    else if (event.key === 'Tab') return setOpen(false);
    else if (letter.length === 1 && letter !== ' ')
      items.find(item => item.textContent?.toLocaleLowerCase().startsWith(letter))?.focus();
    else return;
    event.preventDefault();
    event.stopPropagation();
  };
  const label = labelOf(button.label);
  return (
    <div ref={root} class="menu-button" onKeyDown={onKeyDown}>
      <button
        type="button"
        data-name={button.name}
        data-access={label.key.toLocaleLowerCase()}
        aria-haspopup="menu"
        aria-expanded={open}
        disabled={!button.enabled}
        onClick={() => setOpen(!open)}
      >
        <Caption label={label} />
        <span class="arrow" aria-hidden="true" />
      </button>
      {open && (
        <div role="menu" aria-label={plainText(button.label)}>
          {entries.map(entry => (
            <button
              key={entry.name}
              type="button"
              role="menuitem"
              data-name={entry.name}
              disabled={!entry.enabled}
              onClick={() => {
                close();
                hands.press(entry.name);
              }}
            >
              <Caption label={labelOf(entry.label)} />
            </button>
          ))}
        </div>
      )}
    </div>
  );
}
