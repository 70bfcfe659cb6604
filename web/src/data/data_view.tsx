// The data file: a grid over all its cases, and the description of the variable that is current.
import { useCallback, useMemo, useReducer, useRef, useState } from 'preact/hooks';
import { get, post } from '../api';
import type { DataCell, DataRows, FileInfo } from '../protocol';
import { say } from '../store';
import { CaseNamesWindow, SelectionWindow, WeightWindow } from '../modals/data_windows';
import { Grid, type GridColumn, type Range } from '../widgets/grid';
import { selectOnEntry } from '../widgets/select_on_entry';
import type { Table } from '../widgets/copy_table';
import { columnNumber, decimalsOf, shortNumber } from '../numbers';
import { caseCount, hostText, counted, variableCount, word } from '../words';
import { VariableIcon } from './variable_icon';
import { VariablePanel } from './variable_panel';
import { useVariables } from './variables';

const blockRows = 60;
const blockColumns = 20;
const keptBlocks = 1000;
const mostCells = 10_000; // of one request
const letter = 7.7; // width of one, in pixels
const nameWidth = 120; // for case names, beside their numbers

/** Blocks of cells around what is in view; those no longer wanted are not waited for. */
class Blocks {
  private readonly held = new Map<string, DataRows | null>(); // null: on its way
  private readonly places = new Map<number, number>();
  constructor(
    private readonly file: number,
    private readonly changed: () => void,
  ) {}

  private static key(row: number, column: number): string {
    return `${Math.floor(row / blockRows)}/${Math.floor(column / blockColumns)}`;
  }
  row(row: number, column: number) {
    return this.held.get(Blocks.key(row, column))?.rows[row % blockRows];
  }
  /** The decimals of a column, as its first block needs them. */
  decimals(column: number): number {
    return this.places.get(column) ?? 0;
  }
  private look(part: DataRows): void {
    const width = part.rows[0]?.cells.length ?? 0;
    for (let i = 0; i < width; ++i) {
      const column = part.from - 1 + i;
      if (this.places.has(column)) continue;
      const cells = part.rows.map(row => row.cells[i]);
      this.places.set(column, decimalsOf(cells.map(c => (typeof c === 'number' ? c : null))));
    }
  }
  view(range: Range): void {
    const step = (from: number, to: number, by: number) => {
      const starts: number[] = [];
      for (let at = Math.floor(from / by) * by; at <= to; at += by) starts.push(at);
      return starts;
    };
    for (const row of step(range.top, range.bottom, blockRows))
      for (const column of step(range.left, range.right, blockColumns)) {
        const key = Blocks.key(row, column);
        const block = this.held.get(key);
        if (block === null) continue;
        if (block) {
          // The least recently seen go first.
          this.held.delete(key);
          this.held.set(key, block);
          continue;
        }
        this.held.set(key, null);
        get<DataRows>(
          `files/${this.file}/rows?first=${row + 1}&count=${blockRows}&from=${column + 1}&to=${column + blockColumns}`,
        ).then(
          part => {
            this.held.set(key, part);
            this.look(part);
            for (const old of this.held.keys()) {
              if (this.held.size <= keptBlocks) break;
              this.held.delete(old);
            }
            this.changed();
          },
          error => {
            this.held.delete(key);
            say(error);
          },
        );
      }
  }
}

function cellText(cell: DataCell, labels: boolean, decimals: number): string {
  if (cell === null) return '';
  if (typeof cell === 'number') return columnNumber(cell, decimals);
  return labels ? cell[1] : shortNumber(cell[0]);
}

export function DataView({ file }: { file: FileInfo }) {
  const variables = useVariables(file.file);
  const [labels, setLabels] = useState(true);
  const [current, setCurrent] = useState(0);
  const [goTo, setGoTo] = useState<{ row?: number; column?: number; at: number }>();
  const [asking, setAsking] = useState<'' | 'selection' | 'weight' | 'caseNames'>('');
  const [, redraw] = useReducer<number, void>(n => n + 1, 0);
  const blocks = useMemo(() => new Blocks(file.file, () => redraw()), [file.file, file.revision]);
  const onView = useCallback((range: Range) => blocks.view(range), [blocks]);
  const jump = useRef<HTMLInputElement>(null);

  const columns = useMemo<GridColumn[]>(
    () =>
      variables.map(variable => {
        const longest = Math.max(
          variable.name.length * 1.15 + 3,
          ...variable.labels.slice(0, 20).map(([, text]) => text.length),
        );
        return {
          first: variable.name,
          icon: <VariableIcon variable={variable} />,
          width: Math.max(64, Math.min(180, longest * letter + 16)),
          numeric: !variable.categorical,
        };
      }),
    [variables],
  );
  const settings = async (fields: object) => {
    try {
      await post<FileInfo>(`files/${file.file}/settings`, fields);
      setAsking('');
      return '';
    } catch (error) {
      return error instanceof Error ? error.message : String(error);
    }
  };
  const table = async (range: Range): Promise<Table> => {
    const picked = variables.slice(range.left, range.right + 1);
    const rows: Table['rows'] = [];
    const step = Math.max(1, Math.min(500, Math.floor(mostCells / picked.length)));
    for (let first = range.top; first <= range.bottom; first += step) {
      const count = Math.min(step, range.bottom - first + 1);
      const part = await get<DataRows>(
        `files/${file.file}/rows?first=${first + 1}&count=${count}&from=${range.left + 1}&to=${range.right + 1}`,
      );
      for (const row of part.rows)
        rows.push({
          name: row.name || String(row.case),
          cells: row.cells.map(cell =>
            typeof cell === 'number' ? String(cell) : cellText(cell, labels, 0),
          ),
        });
    }
    return { headings: [[word('case'), ...picked.map(v => v.name)]], rows };
  };
  const digits = String(file.cases).length * 8 + 20;
  const headWidth = Math.max(56, digits) + (file.caseNames ? nameWidth : 0);
  const caseName = (row: number) =>
    [row + 1, blocks.row(row, current)?.name].filter(Boolean).join(' ');
  const weightName = variables.find(v => v.number === file.weight)?.name;

  return (
    <div class="data-view">
      <header>
        <h1 class="one-line" title={file.name}>
          {file.name}
        </h1>
        <span class="dim one-line">
          {caseCount(file.cases)} × {variableCount(file.variables)}
        </span>
        <span class="spring" />
        <button type="button" onClick={() => setAsking('selection')}>
          {word('select')}
        </button>
        <button type="button" onClick={() => setAsking('weight')}>
          {word('weight')}
        </button>
        <button type="button" onClick={() => setAsking('caseNames')}>
          {word('caseNames')}
        </button>
        <div class="segments" role="radiogroup" aria-label={word('labels')}>
          {[true, false].map(on => (
            <label key={String(on)}>
              <input
                type="radio"
                name="labels"
                checked={labels === on}
                onChange={() => setLabels(on)}
              />
              <span>{word(on ? 'labels' : 'codes')}</span>
            </label>
          ))}
        </div>
        <label class="jump">
          {word('goTo')}
          <input
            ref={jump}
            type="text"
            inputMode="numeric"
            class="number"
            {...selectOnEntry}
            onKeyDown={event => {
              if (event.key !== 'Enter') return;
              const field = event.currentTarget;
              const wanted = Number(field.value);
              // beyond the ends: the nearest there is
              const row = Math.max(1, Math.min(file.cases, Math.round(wanted)));
              field.value = Number.isFinite(wanted) && field.value.trim() ? String(row) : '';
              field.select();
              if (field.value) setGoTo({ row: row - 1, at: performance.now() });
            }}
          />
        </label>
      </header>
      {(file.select || file.weight > 0 || file.notes.length > 0) && (
        <div class="data-notes">
          {file.select && (
            <span>
              <code>{file.select}</code> ·{' '}
              {word('kept', counted(file.selected), counted(file.cases))}
            </span>
          )}
          {weightName && (
            <span>
              {word('weightedBy')} <b>{weightName}</b>
            </span>
          )}
          {file.notes.map((note, i) => (
            <span key={i} class="warning">
              ⚠ {hostText(note)}
            </span>
          ))}
        </div>
      )}
      <div class="data-body">
        <Grid
          label={file.name}
          rows={file.cases}
          columns={columns}
          rowTitle={[word('case')]}
          rowHeadWidth={headWidth}
          rowName={caseName}
          cell={(row, column) => {
            const cells = blocks.row(row, column)?.cells;
            if (!cells) return undefined;
            const cell = cells[column % blockColumns] ?? null;
            if (cell === null) return { text: '·', dim: true, title: word('missing') };
            return {
              text: cellText(cell, labels, blocks.decimals(column)),
              title: typeof cell === 'number' ? String(cell) : `${cell[1]} (${cell[0]})`,
            };
          }}
          onView={onView}
          onCurrent={(_, column) => setCurrent(column)}
          goTo={goTo}
          table={table}
          markRow={row => blocks.row(row, current)?.selected === false}
        />
        {variables[current] && (
          <VariablePanel
            file={file}
            variable={variables[current]}
            variables={variables}
            onSelect={column => setGoTo({ column, at: performance.now() })}
          />
        )}
      </div>
      {asking === 'selection' && (
        <SelectionWindow
          file={file.file}
          select={file.select}
          accept={select => settings({ select })}
          cancel={() => setAsking('')}
        />
      )}
      {asking === 'weight' && (
        <WeightWindow
          file={file.file}
          weight={file.weight}
          accept={weight => settings({ weight })}
          cancel={() => setAsking('')}
        />
      )}
      {asking === 'caseNames' && (
        <CaseNamesWindow
          file={file.file}
          caseNames={file.caseNames}
          accept={caseNames => settings({ caseNames })}
          cancel={() => setAsking('')}
        />
      )}
    </div>
  );
}
