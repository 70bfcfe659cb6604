// A spreadsheet of the workbook in a grid; its rows come by windows, ordered by the server.
import { useCallback, useEffect, useMemo, useReducer, useRef, useState } from 'preact/hooks';
import { get } from '../api';
import type { DocumentInfo, Sheet, SheetCell } from '../protocol';
import { say } from '../store';
import { copyTable, type Table } from '../widgets/copy_table';
import { Grid, type GridColumn, type Range } from '../widgets/grid';
import { columnNumber, decimalsOf } from '../numbers';
import { columnCount, lineCount, word } from '../words';

const block = 200; // rows fetched at a time
const mostShownAtOnce = 2000; // rows copied per request
type Sort = { column: number; descending: boolean };

interface Props {
  analysis: number;
  info: DocumentInfo;
}

/** A cell as it is shown; copied cells keep all their digits. */
function cellText(cell: SheetCell | undefined, decimals: number): string {
  if (!cell) return '';
  const text = cell.text || (cell.value === null ? '' : columnNumber(cell.value, decimals));
  return cell.marked ? `✗ ${text}` : text;
}
const fullText = (cell: SheetCell | undefined) => cell?.text || String(cell?.value ?? '');

const sampled = 60; // rows that decide how a column looks

function decimals(sheet: Sheet): number[] {
  return sheet.columns.map(({ format }, c) => {
    if (format === 'count') return 0;
    if (format === 'fixed6') return 6;
    const cells = sheet.rows.slice(0, sampled).map(row => row.cells[c]);
    return decimalsOf(cells.map(cell => (cell?.text ? null : cell?.value)));
  });
}

/** Widths that fit the headings and the first rows. */
function widths(sheet: Sheet, places: number[]): { head: number; columns: number[] } {
  const letter = 7.7;
  const fit = (texts: string[], least: number, most: number) =>
    Math.max(least, Math.min(most, Math.max(...texts.map(t => t.length), 0) * letter + 18));
  const sample = sheet.rows.slice(0, sampled);
  return {
    head: fit(
      [...sheet.rowTitle.map(title => `${title}  `), ...sample.map(row => row.name)],
      56,
      280,
    ),
    columns: sheet.columns.map((column, c) =>
      fit(
        [
          `${column.first}  `,
          column.second,
          ...sample.map(row => cellText(row.cells[c], places[c] ?? 0)),
        ],
        60,
        260,
      ),
    ),
  };
}

export function SheetView({ analysis, info }: Props) {
  const path = `analyses/${analysis}/documents/${info.document}`;
  const [sheet, setSheet] = useState<Sheet | null>(null);
  const [sort, setSort] = useState<Sort | undefined>();
  const [shownSort, setShownSort] = useState<Sort | undefined>(); // of the rows that are here
  const [copied, setCopied] = useState(false);
  const [, redraw] = useReducer<number, void>(n => n + 1, 0);
  const blocks = useRef(new Map<number, Sheet['rows'] | null>()); // null: on its way

  const fetchRows = (first: number, count: number, by = sort) => {
    const order = by ? `&sort=${by.column + 1}&descending=${by.descending ? 1 : 0}` : '';
    return get<Sheet>(`${path}?first=${first}&count=${count}${order}`);
  };
  useEffect(() => {
    let current = true;
    fetchRows(0, block).then(first => {
      if (!current) return;
      blocks.current = new Map([[0, first.rows]]);
      setSheet(first);
      setShownSort(sort);
    }, say);
    return () => void (current = false);
  }, [path, info.revision, sort]);

  const onView = useCallback(
    (range: Range) => {
      for (let b = Math.floor(range.top / block); b <= Math.floor(range.bottom / block); ++b) {
        const held = blocks.current;
        if (held.has(b)) continue;
        held.set(b, null);
        fetchRows(b * block, block).then(part => {
          held.set(b, part.rows);
          redraw();
        }, say);
      }
    },
    [path, info.revision, sort],
  );
  const places = useMemo(
    () => (sheet ? decimals(sheet) : []),
    [path, info.revision, sheet === null],
  );
  const wide = useMemo(
    () => (sheet ? widths(sheet, places) : null),
    [path, info.revision, sheet === null],
  );
  const columns = useMemo<GridColumn[]>(
    () =>
      sheet?.columns.map((column, c) => ({
        first: column.first,
        second: column.second,
        width: wide?.columns[c] ?? 80,
        numeric: sheet.rows.some(row => row.cells[c]?.value !== null && !row.cells[c]?.text),
      })) ?? [],
    [sheet, wide],
  );
  if (!sheet || !wide) return <p class="loading">…</p>;

  const row = (r: number) => blocks.current.get(Math.floor(r / block))?.[r % block];
  const table = async (range: Range): Promise<Table> => {
    const picked = sheet.columns.slice(range.left, range.right + 1);
    const headings = [[sheet.rowTitle[0] ?? '', ...picked.map(c => c.first)]];
    if (sheet.rowTitle[1] || picked.some(c => c.second))
      headings.push([sheet.rowTitle[1] ?? '', ...picked.map(c => c.second)]);
    const rows: Table['rows'] = [];
    while (rows.length < range.bottom - range.top + 1) {
      const first = range.top + rows.length;
      const part = await fetchRows(first, Math.min(mostShownAtOnce, range.bottom - first + 1));
      if (part.rows.length === 0) break;
      for (const { name, cells } of part.rows)
        rows.push({
          name,
          cells: picked.map((_, i) => fullText(cells[range.left + i])),
        });
    }
    return { headings, rows };
  };
  const everything = () =>
    table({ top: 0, left: 0, bottom: sheet.rowCount - 1, right: sheet.columns.length - 1 });

  return (
    <section class="document sheet" aria-label={sheet.title}>
      <header>
        <div class="document-title">
          <h2>{sheet.title}</h2>
          {sheet.header.map((line, i) => (
            <p key={i}>{line}</p>
          ))}
        </div>
        <div class="document-buttons">
          <button
            type="button"
            title={word('copyHint')}
            onClick={() =>
              void copyTable(everything(), true).then(() => {
                setCopied(true);
                setTimeout(() => setCopied(false), 1500);
              }, say)
            }
          >
            {copied ? word('copied') : word('copy')}
          </button>
          <a class="button" href={`/api/${path}/export?format=csv`} download>
            CSV
          </a>
          <a class="button" href={`/api/${path}/export?format=xlsx`} download>
            XLSX
          </a>
        </div>
      </header>
      <Grid
        label={sheet.title}
        rows={sheet.rowCount}
        columns={columns}
        rowTitle={sheet.rowTitle}
        rowHeadWidth={wide.head}
        rowName={r => row(r)?.name}
        cell={(r, c) => {
          const cell = row(r)?.cells[c];
          if (!cell) return undefined;
          return {
            text: cellText(cell, places[c] ?? 0),
            marked: cell.marked ?? false,
            title: fullText(cell),
          };
        }}
        onView={onView}
        sort={shownSort}
        onSort={column =>
          setSort(old =>
            old?.column !== column
              ? { column, descending: false }
              : old.descending
                ? undefined
                : { column, descending: true },
          )
        }
        table={table}
      />
      <p class="document-size">
        {lineCount(sheet.rowCount)} × {columnCount(sheet.columns.length)}
      </p>
    </section>
  );
}
