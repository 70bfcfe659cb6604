// Windows that take values: one number per row, the input form, and which outputs to save.
import type { ComponentChildren } from 'preact';
import { useState } from 'preact/hooks';
import { useVariables } from '../data/variables';
import { withPoint } from '../numbers';
import type { RequestOf } from '../protocol';
import { ListBox } from '../widgets/list_box';
import { selectOnEntry } from '../widgets/select_on_entry';
import { Modal } from '../widgets/modal';
import { caption, word } from '../words';
import type { Answer } from './answer';

const readBytes = 8; // of a cell of the input form
const bytes = (text: string) => new TextEncoder().encode(text).length;

interface EntryProps {
  title: string;
  hint?: string;
  rowTitle: string;
  column: string;
  rows: string[];
  cells: string[];
  numeric: boolean;
  choices?: (row: number) => string[]; // texts that a cell may hold; without: a number
  send: (cells: string[]) => Promise<string>;
  cancel: () => void;
}

/** A table with one column to fill. Enter goes down a row, and from the last one is OK. */
function EntryWindow(props: EntryProps) {
  const [cells, setCells] = useState(props.cells);
  const [reason, setReason] = useState('');
  const accept = async () => setReason(await props.send(cells));
  const change = (row: number, text: string) =>
    setCells(old => old.map((cell, i) => (i === row ? text : cell)));
  const move = (event: KeyboardEvent, row: number) => {
    const by = { ArrowDown: 1, ArrowUp: -1, Enter: 1 }[event.key];
    const next = by && document.getElementById(`entry-${row + by}`);
    if (!next) return;
    event.preventDefault();
    event.stopPropagation();
    next.focus();
  };
  return (
    <Modal
      title={caption(props.title)}
      class="entry"
      onEnter={() => void accept()}
      onEscape={props.cancel}
      buttons={<OkCancel reason={reason} accept={() => void accept()} cancel={props.cancel} />}
    >
      {props.hint && <p class="hint">{caption(props.hint)}</p>}
      <div class="entry-scroll">
        <table>
          <thead>
            <tr>
              <th scope="col">{caption(props.rowTitle)}</th>
              <th scope="col">{caption(props.column)}</th>
            </tr>
          </thead>
          <tbody>
            {props.rows.map((name, row) => (
              <tr key={row}>
                <th scope="row" title={name.trim()}>
                  {name.trim()}
                </th>
                <td>
                  <input
                    id={`entry-${row}`}
                    type="text"
                    class={props.numeric ? 'number' : undefined}
                    aria-label={name.trim()}
                    data-focus={row === 0 || undefined}
                    autocomplete="off"
                    placeholder={props.choices?.(row).join(', ')}
                    title={props.choices?.(row).join('\n')}
                    maxlength={props.choices?.(row).length === 0 ? readBytes : undefined}
                    value={cells[row]}
                    onInput={event => change(row, event.currentTarget.value)}
                    {...selectOnEntry}
                    onKeyDown={event => move(event, row)}
                  />
                </td>
              </tr>
            ))}
          </tbody>
        </table>
      </div>
    </Modal>
  );
}

function OkCancel(props: { reason: ComponentChildren; accept: () => void; cancel: () => void }) {
  return (
    <>
      <span class="warning" role="alert">
        {props.reason}
      </span>
      <button type="button" class="default" onClick={props.accept}>
        {word('ok')}
      </button>
      <button type="button" onClick={props.cancel}>
        {word('cancel')}
      </button>
    </>
  );
}

export function ValuesWindow(props: { request: RequestOf<'values'>; answer: Answer }) {
  const { request, answer } = props;
  const send = async (cells: string[]) => {
    const values = cells.map(cell => (cell.trim() === '' ? NaN : Number(withPoint(cell))));
    const wrong = values.findIndex(value => !Number.isFinite(value));
    if (wrong >= 0) {
      document.getElementById(`entry-${wrong}`)?.focus();
      return `${(request.rows[wrong] ?? '').trim()}: ${word('unreadable')}`;
    }
    return answer({ values });
  };
  return (
    <EntryWindow
      title={request.title}
      rowTitle=""
      column={request.title}
      rows={request.rows}
      cells={request.values.map(String)}
      numeric
      send={send}
      cancel={() => void answer({ cancel: true })}
    />
  );
}

export function FormWindow(props: { request: RequestOf<'form'>; file: number; answer: Answer }) {
  const { request, answer } = props;
  const variables = useVariables(props.file);
  const labels = (row: number) =>
    variables.find(variable => variable.name === request.rows[row]?.trim())?.labels ?? [];
  /** A label that is too long to be read goes by its code; a number may have a decimal comma. */
  const entry = (cell: string, row: number) => {
    const wanted = cell.trim().toLowerCase();
    const label = labels(row).find(([, text]) => text.toLowerCase() === wanted);
    if (!label) return withPoint(cell);
    return bytes(label[1]) > readBytes ? String(label[0]) : cell;
  };
  return (
    <EntryWindow
      title={request.title}
      hint={request.hint}
      rowTitle={request.rowTitle}
      column={request.column}
      rows={request.rows}
      cells={request.cells}
      numeric={false}
      choices={row => labels(row).map(([, text]) => text)}
      send={cells => answer({ cells: cells.map(entry) })}
      cancel={() => void answer({ cancel: true })}
    />
  );
}

export function OutputsWindow(props: { request: RequestOf<'outputs'>; answer: Answer }) {
  const { request, answer } = props;
  const [picked, setPicked] = useState(new Set(request.picked));
  const [reason, setReason] = useState('');
  const accept = async () => setReason(await answer({ picked: [...picked].sort((a, b) => a - b) }));
  return (
    <Modal
      title={request.title}
      class="outputs"
      onEnter={() => void accept()}
      onEscape={() => void answer({ cancel: true })}
      buttons={
        <OkCancel
          reason={reason}
          accept={() => void accept()}
          cancel={() => void answer({ cancel: true })}
        />
      }
    >
      <p id="outputs-prompt">{request.prompt}</p>
      <ListBox
        id="outputs"
        labelledBy="outputs-prompt"
        count={request.offered.length}
        rows={10}
        takesFocus
        text={row => request.offered[row] ?? ''}
        selected={picked}
        multiple
        onSelect={setPicked}
      />
      <div class="small-buttons">
        <button
          type="button"
          onClick={() => setPicked(new Set(request.offered.map((_, row) => row)))}
        >
          {word('all')}
        </button>
        <span class="dim">
          {picked.size} / {request.offered.length}
        </span>
      </div>
    </Modal>
  );
}
