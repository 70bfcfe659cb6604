// One control of a dialog as a person uses it, by its kind.
import { useEffect, useId, useRef, useState } from 'preact/hooks';
import type { Control } from '../protocol';
import { pageLanguage } from '../language';
import { changed, page } from '../store';
import { ListBox } from '../widgets/list_box';
import { selectOnEntry } from '../widgets/select_on_entry';
import { fieldNumber, shortNumber, withPoint } from '../numbers';
import { methodName, word } from '../words';
import { type Label, parseLabel, plainText, translate } from './label';

/** What a view of a dialog lets its controls do. */
export interface Hands {
  dialog: number;
  type(name: string, text: string): Promise<unknown>;
  set(name: string, value: number | string): Promise<unknown>;
  attempt(name: string, text: string): Promise<unknown>; // sets; a refusal is not told
  press(name: string): void;
  ok(): void;
}

interface Props {
  control: Control;
  hands: Hands;
}

export function labelOf(raw: string): Label {
  return parseLabel(translate(raw, pageLanguage()));
}
export function nameOf(control: Control): string {
  return (
    plainText(translate(control.label, pageLanguage()))
      .replace(/ ?: *$/, '')
      .trim() || control.name
  );
}

export function Caption({ label }: { label: Label }) {
  return (
    <span>
      {label.before}
      {label.key && <u>{label.key}</u>}
      {label.after}
    </span>
  );
}

const access = (label: Label) =>
  label.key
    ? {
        'data-access': label.key.toLocaleLowerCase(),
        'aria-keyshortcuts': `Alt+${label.key.toUpperCase()}`,
      }
    : {};

// Choices whose answer is on the way, by dialog and group (of a check box: its name): they are shown
// as clicked, whatever is drawn meanwhile.
const underway = new Map<string, string>();

export function Check({ control, hands }: Props) {
  const label = labelOf(control.label);
  const isRadio = control.kind === 'radio';
  const key = `${hands.dialog}/${isRadio ? control.group : control.name}`;
  const clicked = underway.get(key);
  const held = control.value === 1;
  const shown = clicked === undefined ? held : clicked === (isRadio ? control.name : 'on');
  return (
    <label class="check">
      <input
        type={isRadio ? 'radio' : 'checkbox'}
        name={isRadio ? `radio-${hands.dialog}-${control.group}` : undefined}
        data-name={control.name}
        checked={shown}
        disabled={!control.enabled}
        {...access(label)}
        onChange={event => {
          const { checked } = event.currentTarget;
          const choice = isRadio ? control.name : checked ? 'on' : 'off';
          underway.set(key, choice);
          // What the dialog made of it counts: a refused choice goes back.
          void hands.set(control.name, checked ? 1 : 0).then(() => {
            if (underway.get(key) === choice) underway.delete(key);
            changed();
          });
        }}
      />
      <Caption label={label} />
    </label>
  );
}

/** Why the text of a numeric field would be refused; empty when it would not. */
export function complaint(control: Control): string {
  if (control.kind !== 'integer' && control.kind !== 'real') return '';
  const text = String(control.value ?? '').trim();
  const pattern =
    control.kind === 'integer' ? /^[+-]?\d+$/ : /^[+-]?(\d+\.?\d*|\.\d+)(e[+-]?\d+)?$/i;
  if (!pattern.test(text)) return word('unreadable');
  const value = Number(text);
  const { lowest, highest } = control;
  if ((lowest !== null && value < lowest) || (highest !== null && value > highest))
    return word('range', lowest ?? '', highest ?? '…');
  return '';
}

/** An edit field: sends what is typed, and shows what the server holds once it has heard it all. */
export function useDraft(held: string, send: (text: string) => Promise<unknown>) {
  const [draft, setDraft] = useState(held);
  const latest = useRef(held);
  const unheard = useRef(0);
  latest.current = held;
  useEffect(() => {
    if (unheard.current === 0) setDraft(held);
  }, [held]);
  const change = (text: string) => {
    setDraft(text);
    unheard.current += 1;
    void send(text).then(() => {
      unheard.current -= 1;
      if (unheard.current === 0) setDraft(latest.current);
    });
  };
  return [draft, change] as const;
}

/** A number is read by OK, a text at once. */
function useFieldDraft(control: Control, hands: Hands) {
  return useDraft(String(control.value ?? ''), text =>
    control.kind === 'text' ? hands.set(control.name, text) : hands.type(control.name, text),
  );
}

export function Field({ control, hands }: Props) {
  const id = useId();
  const label = labelOf(control.label);
  const [draft, change] = useFieldDraft(control, hands);
  const numeric = control.kind !== 'text';
  const wrong = control.enabled ? complaint({ ...control, value: draft }) : '';
  const range =
    control.lowest !== null || control.highest !== null
      ? word('range', control.lowest ?? '', control.highest ?? '…')
      : '';
  return (
    <div class={`field ${control.enabled ? '' : 'off'}`}>
      <label for={id}>
        <Caption label={label} />
      </label>
      <FieldInput
        id={id}
        control={control}
        draft={draft}
        change={change}
        wrong={wrong}
        title={wrong || range}
        numeric={numeric}
        shortcut={access(label)}
      />
    </div>
  );
}

/** A decimal comma becomes a point as it is typed; the caret stays. */
export function putPoint(field: HTMLInputElement): void {
  const text = withPoint(field.value);
  if (text === field.value) return;
  const caret = field.selectionStart;
  field.value = text;
  field.setSelectionRange(caret, caret);
}

function FieldInput(props: {
  id: string;
  control: Control;
  draft: string;
  change: (text: string) => void;
  wrong: string;
  title: string;
  numeric: boolean;
  shortcut: object;
}) {
  const { control, numeric } = props;
  // What is being typed stays as it is typed.
  const [typed, setTyped] = useState(false);
  const shown =
    typed || control.kind !== 'real' ? props.draft : fieldNumber(props.draft, control.decimals);
  // Arrow keys step a whole number.
  const step = (by: number) => {
    const value = Number(props.draft) + by;
    if (control.kind !== 'integer' || !Number.isInteger(value)) return false;
    if (by < 0 && control.lowest !== null && value < control.lowest) return true;
    if (by > 0 && control.highest !== null && value > control.highest) return true;
    props.change(String(value));
    return true;
  };
  return (
    <span class="entry-field">
      <input
        id={props.id}
        type="text"
        class={numeric ? 'number' : 'words'}
        inputMode={numeric ? 'decimal' : undefined}
        autocomplete="off"
        spellcheck={false}
        data-name={control.name}
        value={shown}
        title={props.title || undefined}
        aria-invalid={props.wrong ? true : undefined}
        aria-describedby={props.wrong ? `${props.id}-why` : undefined}
        disabled={!control.enabled}
        {...props.shortcut}
        onInput={event => {
          setTyped(true);
          const field = event.currentTarget;
          if (numeric) putPoint(field);
          props.change(field.value);
        }}
        onBlur={() => setTyped(false)}
        {...selectOnEntry}
        onKeyDown={event => {
          const by = { ArrowUp: 1, ArrowDown: -1 }[event.key];
          if (by && !event.altKey && step(by)) event.preventDefault();
        }}
      />
      {props.wrong && (
        <span id={`${props.id}-why`} class="complaint">
          {props.wrong}
        </span>
      )}
    </span>
  );
}

/** A field under a heading of a matrix: named by its row and column. */
export function Cell({ control, hands, name }: Props & { name: string }) {
  const id = useId();
  const [draft, change] = useFieldDraft(control, hands);
  const wrong = control.enabled ? complaint({ ...control, value: draft }) : '';
  return (
    <FieldInput
      id={id}
      control={control}
      draft={draft}
      change={change}
      wrong={wrong}
      title={wrong}
      numeric
      shortcut={{ 'aria-label': name }}
    />
  );
}

/** A text that is chosen from a list which the dialog offers. */
export function Drop({ control, hands }: Props) {
  const id = useId();
  const label = labelOf(control.label);
  const offered = control.offered ?? control.choices ?? [];
  const chosen = control.chosen?.[0] ?? (typeof control.value === 'number' ? control.value : -1);
  return (
    <div class={`field ${control.enabled ? '' : 'off'}`}>
      <label for={id}>
        <Caption label={label} />
      </label>
      <select
        id={id}
        data-name={control.name}
        disabled={!control.enabled || offered.length === 0}
        {...access(label)}
        onChange={event => choose(control, hands, new Set([event.currentTarget.selectedIndex]))}
      >
        {offered.map((text, i) => (
          <option key={i} selected={i === chosen}>
            {text}
          </option>
        ))}
      </select>
    </div>
  );
}

function choose(control: Control, hands: Hands, rows: Set<number>): void {
  if (control.kind === 'choice') {
    void hands.set(control.name, [...rows][0] ?? 0);
    return;
  }
  const numbers = [...rows].sort((a, b) => a - b).map(row => row + 1);
  void hands.set(control.name, numbers.length ? numbers.join(' ') : 'None');
}

/** The same as an open list; the axis of Y takes several. */
export function OpenList({ control, hands, rows }: Props & { rows: number }) {
  const id = useId();
  const label = labelOf(control.label);
  const kinds = control.kind === 'choice' ? kindTitles() : undefined;
  const offered = kinds ?? control.offered ?? control.choices ?? [];
  const chosen = new Set(
    control.chosen ?? (typeof control.value === 'number' ? [control.value] : []),
  );
  const multiple = control.name === 'SelectedItemsY';
  return (
    <div class={`open-list ${control.enabled ? '' : 'off'}`} data-name={control.name}>
      <span id={id} class="list-caption">
        <Caption label={label} />
      </span>
      <ListBox
        id={`list-${control.name}`}
        labelledBy={id}
        count={offered.length}
        text={row => offered[row] ?? ''}
        selected={chosen}
        multiple={multiple}
        disabled={!control.enabled}
        rows={rows}
        onSelect={picked => choose(control, hands, picked)}
        onKey={event => {
          // A single choice can be taken back.
          if (event.key !== 'Delete' || control.kind === 'choice') return false;
          choose(control, hands, new Set());
          return true;
        }}
        onActivate={control.kind === 'choice' ? () => hands.ok() : undefined}
      />
      {control.kind === 'choice' && <p class="note">{control.text}</p>}
    </div>
  );
}

function kindTitles(): string[] | undefined {
  const kinds = page.state?.kinds;
  if (!kinds) return undefined;
  const titles: string[] = [];
  for (const kind of kinds) titles[kind.position] = methodName(kind.kind);
  return titles;
}

export function Push({ control, hands, class: extra }: Props & { class?: string }) {
  const label = labelOf(control.label);
  return (
    <button
      type="button"
      class={extra}
      data-name={control.name}
      disabled={!control.enabled}
      {...access(label)}
      onClick={() => hands.press(control.name)}
    >
      {control.role === 4 && <span class="icon sheet" aria-hidden="true" />}
      {control.role === 6 && <span class="icon graph" aria-hidden="true" />}
      <Caption label={label} />
    </button>
  );
}

const longNumber = /^-?\d\.\d{6,}e[-+]\d+$/i;

/** A button that opens a choice, with what has been chosen beside it. */
export function Pick({ control, hands }: Props) {
  const chosen = String(control.value ?? '')
    .split(' ')
    .map(member => (longNumber.test(member) ? shortNumber(Number(member)) : member))
    .join(' ');
  const id = useId();
  return (
    <div class={`pick ${control.enabled ? '' : 'off'}`}>
      <Push control={control} hands={hands} />
      <output id={id} title={chosen} aria-label={nameOf(control)}>
        {chosen.split('|').every(part => part.trim() === '') ? '' : chosen}
      </output>
    </div>
  );
}

/** Several lists that are chosen in one window, each on its line. */
export function ListsPick({ control, hands, captions }: Props & { captions: string[] }) {
  const lists = String(control.value ?? '').split('|');
  return (
    <div class="variables-pick">
      <Push control={control} hands={hands} class="primary-pick" />
      <dl>
        {captions.map((caption, i) => (
          <div key={caption}>
            <dt>{translate(caption, pageLanguage()).replace(/ ?:$/, '')}</dt>
            <dd title={lists[i]?.trim()}>{lists[i]?.trim() || <span class="dim">--</span>}</dd>
          </div>
        ))}
      </dl>
    </div>
  );
}

/**
 * A text that the dialog shows; as a list its lines are a small table, the first the headings. Unless
 * all of it is data, the first column below its heading holds names, the rest words of the module.
 */
export function Note({
  control,
  rows,
  data,
}: {
  control: Control;
  rows?: number;
  data?: boolean | undefined;
}) {
  const text = String(control.value ?? '') || translate(control.label, pageLanguage());
  const lines = text.split('\n').filter(line => line !== '');
  if (rows === undefined) {
    const label = control.value !== control.label ? nameOf(control) : '';
    return (
      <p class={`note ${control.enabled ? '' : 'off'}`}>
        {label && label !== control.name && `${label} : `}
        {translate(text, pageLanguage())}
      </p>
    );
  }
  const table = lines.map((line, i) =>
    line
      .split('\t')
      .map((cell, j) => (data || (i > 0 && j === 0) ? cell : translate(cell, pageLanguage()))),
  );
  const numeric = (j: number) =>
    table.length > 1 && table.slice(1).every(cells => Number.isFinite(Number(cells[j] || NaN)))
      ? 'numeric'
      : undefined;
  return (
    <div
      class={`note-list ${control.enabled ? '' : 'off'}`}
      style={{ height: `${rows * 22 + 2}px` }}
      tabIndex={0}
      role="region"
      aria-label={control.name}
    >
      <table>
        <thead>
          <tr>
            {table[0]?.map((cell, j) => (
              <th key={j} scope="col" class={numeric(j)} title={cell}>
                {cell}
              </th>
            ))}
          </tr>
        </thead>
        <tbody>
          {table.slice(1).map((cells, i) => (
            <tr key={i}>
              {cells.map((cell, j) => (
                <td key={j} class={numeric(j)} title={cell}>
                  {cell}
                </td>
              ))}
            </tr>
          ))}
        </tbody>
      </table>
    </div>
  );
}
