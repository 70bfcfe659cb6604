// A table of the module with one column of cells that can be edited: a click on such a cell selects
// its text, a click elsewhere lets the hint say which cells are meant.
import { useRef } from 'preact/hooks';
import type { Control } from '../protocol';
import { pageLanguage } from '../language';
import { selectOnEntry } from '../widgets/select_on_entry';
import { type Hands, putPoint, useDraft } from './controls';
import { translate } from './label';
import { word } from '../words';

interface Props {
  table: Control; // a line of headings, then the rows; tabs between the cells
  edit: string; // the control that takes row, column and text of a cell
  hint: Control | undefined;
  hands: Hands;
  rows: number;
}

const readable = /^[+]?(\d+\.?\d*|\.\d+)(e[+-]?\d+)?$/i;

export function CellTable({ table, edit, hint, hands, rows }: Props) {
  const [headings = [], ...lines] = String(table.value ?? '')
    .split('\n')
    .map(line => line.split('\t'));
  const last = headings.length - 1;
  const root = useRef<HTMLDivElement>(null);
  const tell = (row: number, column: number, text: string) =>
    hands.attempt(edit, `${row + 1} ${column + 1} ${text}`);
  const move = (event: KeyboardEvent, row: number) => {
    const by = { ArrowDown: 1, ArrowUp: -1, Enter: 1 }[event.key];
    const next = by && root.current?.querySelectorAll('input')[row + by];
    if (!next) return;
    event.preventDefault();
    event.stopPropagation();
    next.focus();
  };
  return (
    <div ref={root} data-name={table.name}>
      <div class="note-list cell-table" style={{ maxHeight: `${rows * 27 + 2}px` }}>
        <table>
          <thead>
            <tr>
              {headings.map((cell, column) => (
                <th key={cell} scope="col" class={column > 0 ? 'numeric' : undefined}>
                  {translate(cell, pageLanguage())}
                </th>
              ))}
            </tr>
          </thead>
          <tbody>
            {lines.map((cells, row) => (
              <tr key={row}>
                {cells.slice(0, last).map((cell, column) => (
                  <td
                    key={column}
                    class={column > 0 ? 'numeric' : undefined}
                    onClick={() => void tell(row, column, '')}
                  >
                    {cell}
                  </td>
                ))}
                <td>
                  <CellInput
                    label={`${translate(headings[last] ?? '', pageLanguage())} ${cells[0]}`}
                    held={cells[last] ?? ''}
                    change={text => tell(row, last, text)}
                    onKeyDown={event => move(event, row)}
                  />
                </td>
              </tr>
            ))}
          </tbody>
        </table>
      </div>
      <p class="note" role="status">
        {hint && translate(String(hint.value ?? ''), pageLanguage())}
      </p>
    </div>
  );
}

function CellInput(props: {
  label: string;
  held: string;
  change: (text: string) => Promise<unknown>;
  onKeyDown: (event: KeyboardEvent) => void;
}) {
  const [draft, change] = useDraft(props.held, props.change);
  const isWrong = !readable.test(draft.trim());
  return (
    <input
      type="text"
      class="number"
      inputMode="decimal"
      autocomplete="off"
      aria-label={props.label}
      aria-invalid={isWrong || undefined}
      title={isWrong ? word('unreadable') : undefined}
      value={draft}
      onInput={event => {
        putPoint(event.currentTarget);
        change(event.currentTarget.value);
      }}
      onKeyDown={props.onKeyDown}
      onMouseUp={selectOnEntry.onMouseUp}
      onFocus={event => {
        selectOnEntry.onFocus(event);
        change(draft); // the hint is about this cell again
      }}
    />
  );
}
