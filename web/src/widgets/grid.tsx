// A table of any size: only the cells in view are in the document, the rest is asked for by windows.
// Headings of two lines stay in sight, a range of cells is selected by mouse or keys and copied with
// its headings, as text and as HTML.
import type { ComponentChildren } from 'preact';
import { useLayoutEffect, useReducer, useRef, useState } from 'preact/hooks';
import { copyTable, type Table } from './copy_table';

export interface GridColumn {
  first: string;
  second?: string;
  icon?: ComponentChildren;
  width: number;
  numeric: boolean;
}
export interface GridCell {
  text: string;
  marked?: boolean; // drawn as a warning, with a sign
  dim?: boolean;
  title?: string;
}
export interface Range {
  top: number;
  left: number;
  bottom: number;
  right: number;
}

export interface GridProps {
  label: string;
  rows: number;
  columns: GridColumn[];
  rowTitle: string[];
  rowHeadWidth: number;
  rowName: (row: number) => string | undefined;
  cell: (row: number, column: number) => GridCell | undefined; // undefined: not here yet
  onView?: (range: Range) => void; // what is in view; fetch it if it is not here
  onCurrent?: (row: number, column: number) => void;
  sort?: { column: number; descending: boolean } | undefined; // column -1: row names
  onSort?: (column: number) => void;
  table: (range: Range) => Promise<Table>; // the texts of a range, for the clipboard
  goTo?: { row?: number; column?: number; at: number } | undefined; // a new object jumps there
  markRow?: (row: number) => boolean; // rows drawn as left out
}

const rowHeight = 22;
const highestSpace = 15_000_000; // pixels; browsers lose precision above
const margin = 3; // rows beyond the view

export function Grid(props: GridProps) {
  const { rows, columns } = props;
  const box = useRef<HTMLDivElement>(null);
  const [size, setSize] = useState({ width: 800, height: 400 });
  const [scroll, setScroll] = useState({ top: 0, left: 0 });
  const [at, setAt] = useState({ row: 0, column: 0 });
  const [anchor, setAnchor] = useState({ row: 0, column: 0 });
  const [focused, setFocused] = useReducer<boolean, boolean>((_, on) => on, false);
  const dragging = useRef(false);

  const headHeight = columns.some(c => c.second) || props.rowTitle[1] ? 40 : 24;
  const lefts: number[] = [];
  let total = props.rowHeadWidth;
  for (const column of columns) {
    lefts.push(total);
    total += column.width;
  }
  const viewHeight = Math.max(rowHeight, size.height - headHeight);
  const fullHeight = rows * rowHeight;
  const space = Math.min(fullHeight, highestSpace);
  const scaled = space < fullHeight;
  const inView = Math.ceil(viewHeight / rowHeight);
  const topRow = scaled
    ? Math.round((scroll.top / Math.max(1, space - viewHeight)) * Math.max(0, rows - inView + 1))
    : Math.floor(scroll.top / rowHeight);
  const yOf = (row: number) =>
    headHeight + (scaled ? scroll.top + (row - topRow) * rowHeight : row * rowHeight);
  const firstRow = Math.max(0, topRow - margin);
  const lastRow = Math.min(rows - 1, topRow + inView + margin);
  let firstColumn = 0;
  while (
    firstColumn + 1 < columns.length &&
    (lefts[firstColumn + 1] ?? 0) < scroll.left + props.rowHeadWidth
  )
    ++firstColumn;
  let lastColumn = firstColumn;
  while (lastColumn + 1 < columns.length && (lefts[lastColumn + 1] ?? 0) < scroll.left + size.width)
    ++lastColumn;

  useLayoutEffect(() => {
    const element = box.current;
    if (!element) return;
    const measure = () => setSize({ width: element.clientWidth, height: element.clientHeight });
    measure();
    const observer = new ResizeObserver(measure);
    observer.observe(element);
    return () => observer.disconnect();
  }, []);
  // Before the page is painted, so that what is missing is asked for a frame earlier.
  useLayoutEffect(() => {
    if (rows > 0 && columns.length > 0)
      props.onView?.({ top: firstRow, bottom: lastRow, left: firstColumn, right: lastColumn });
  }, [firstRow, lastRow, firstColumn, lastColumn, rows, columns, props.onView]);

  const reveal = (row: number, column: number, centred = false) => {
    const element = box.current;
    if (!element) return;
    const topOf = (r: number) =>
      scaled
        ? (r / Math.max(1, rows - inView + 1)) * Math.max(1, space - viewHeight)
        : r * rowHeight;
    const visible = Math.max(1, Math.floor(viewHeight / rowHeight));
    if (centred) element.scrollTop = topOf(Math.max(0, row - Math.floor(visible / 2)));
    else if (row < topRow || (row === topRow && !scaled && scroll.top > topOf(row)))
      element.scrollTop = topOf(row);
    else if (row >= topRow + visible) element.scrollTop = topOf(row - visible + 1);
    const left = lefts[column] ?? 0;
    const right = left + (columns[column]?.width ?? 0);
    if (left < element.scrollLeft + props.rowHeadWidth)
      element.scrollLeft = left - props.rowHeadWidth;
    else if (right > element.scrollLeft + size.width) element.scrollLeft = right - size.width;
    // known now; the browser tells of it a frame later
    setScroll({ top: element.scrollTop, left: element.scrollLeft });
  };
  const go = (row: number, column: number, extend: boolean, show = true) => {
    const next = {
      row: Math.max(0, Math.min(rows - 1, row)),
      column: Math.max(0, Math.min(columns.length - 1, column)),
    };
    setAt(next);
    if (!extend) setAnchor(next);
    if (show) reveal(next.row, next.column);
    props.onCurrent?.(next.row, next.column);
  };
  useLayoutEffect(() => {
    if (!props.goTo) return;
    const { row = at.row, column = at.column } = props.goTo;
    go(row, column, false, false);
    reveal(row, column, props.goTo.row !== undefined);
  }, [props.goTo]);

  const range: Range = {
    top: Math.min(at.row, anchor.row),
    bottom: Math.max(at.row, anchor.row),
    left: Math.min(at.column, anchor.column),
    right: Math.max(at.column, anchor.column),
  };
  const isWide = range.top !== range.bottom || range.left !== range.right;
  const copy = () => copyTable(props.table(range), isWide);

  const onKeyDown = (event: KeyboardEvent) => {
    if (event.altKey || rows === 0) return;
    const control = event.ctrlKey || event.metaKey;
    const page = Math.max(1, Math.floor(viewHeight / rowHeight) - 1);
    const [r, c] = [at.row, at.column];
    const moves: Record<string, [number, number]> = {
      ArrowDown: [control ? rows - 1 : r + 1, c],
      ArrowUp: [control ? 0 : r - 1, c],
      ArrowRight: [r, control ? columns.length - 1 : c + 1],
      ArrowLeft: [r, control ? 0 : c - 1],
      Home: [control ? 0 : r, 0],
      End: [control ? rows - 1 : r, columns.length - 1],
      PageDown: [r + page, c],
      PageUp: [r - page, c],
    };
    const move = moves[event.key];
    const key = event.key.toLowerCase();
    if (move) go(move[0], move[1], event.shiftKey);
    else if (control && key === 'c') void copy();
    else if (!control && key === 's' && props.onSort) props.onSort(at.column);
    else if (control && key === 'a') {
      setAnchor({ row: 0, column: 0 });
      setAt({ row: rows - 1, column: columns.length - 1 });
    } else return;
    event.preventDefault();
    event.stopPropagation();
  };

  /** Which cell the mouse is over; column -1: the heading of the row. */
  const under = (event: MouseEvent) => {
    const bounds = box.current?.getBoundingClientRect();
    if (!bounds) return null;
    const x = event.clientX - bounds.left;
    const y = event.clientY - bounds.top - headHeight;
    if (y < 0) return null;
    const row = scaled
      ? topRow + Math.floor(y / rowHeight)
      : Math.floor((y + scroll.top) / rowHeight);
    if (x < props.rowHeadWidth) return { row, column: -1 };
    let column = 0;
    while (column + 1 < columns.length && (lefts[column + 1] ?? 0) <= x + scroll.left) ++column;
    return { row, column };
  };

  const cellId = (row: number, column: number) => `${props.label}-${row}-${column}`;
  const shownRows = Array.from(
    { length: Math.max(0, lastRow - firstRow + 1) },
    (_, i) => firstRow + i,
  );
  const shownColumns = Array.from(
    { length: columns.length ? lastColumn - firstColumn + 1 : 0 },
    (_, i) => firstColumn + i,
  );
  const isShown = shownRows.includes(at.row) && shownColumns.includes(at.column);

  const heading = (column: number, left: number, width: number, lines: (string | undefined)[]) => {
    const sorted = props.sort?.column === column;
    const direction = props.sort?.descending ? 'descending' : 'ascending';
    return (
      <div
        key={column}
        role="columnheader"
        aria-colindex={column + 2}
        aria-sort={sorted ? direction : undefined}
        class={`grid-head ${column < 0 ? 'corner' : columns[column]?.numeric ? 'numeric' : ''}`}
        style={{ left: `${left}px`, width: `${width}px` }}
        title={lines.filter(Boolean).join(' — ')}
        onClick={props.onSort ? () => props.onSort?.(column) : undefined}
      >
        <span class="line">
          {column >= 0 && columns[column]?.icon}
          <span>{lines[0]}</span>
          {sorted && <span class="sort">{props.sort?.descending ? '▼' : '▲'}</span>}
        </span>
        {headHeight > 24 && <span class="line second">{lines[1]}</span>}
      </div>
    );
  };

  return (
    <div
      ref={box}
      class={`grid ${props.onSort ? 'sortable' : ''} ${focused ? 'focused' : ''}`}
      role="grid"
      aria-label={props.label}
      aria-rowcount={rows + 1}
      aria-colcount={columns.length + 1}
      aria-multiselectable="true"
      aria-activedescendant={isShown ? cellId(at.row, at.column) : undefined}
      tabIndex={0}
      onFocus={() => setFocused(true)}
      onBlur={() => setFocused(false)}
      onScroll={event =>
        setScroll({ top: event.currentTarget.scrollTop, left: event.currentTarget.scrollLeft })
      }
      onKeyDown={onKeyDown}
      onMouseDown={event => {
        const cell = event.button === 0 ? under(event) : null;
        if (!cell || cell.row >= rows) return;
        dragging.current = true;
        if (cell.column < 0) {
          go(cell.row, 0, event.shiftKey, false);
          if (!event.shiftKey) setAnchor({ row: cell.row, column: 0 });
          setAt({ row: cell.row, column: columns.length - 1 });
        } else {
          go(cell.row, cell.column, event.shiftKey, false);
        }
      }}
      onMouseMove={event => {
        if (!dragging.current || !(event.buttons & 1)) return;
        const cell = under(event);
        if (cell && cell.column >= 0 && (cell.row !== at.row || cell.column !== at.column))
          go(cell.row, cell.column, true);
      }}
      onMouseUp={() => (dragging.current = false)}
    >
      <div
        role="rowgroup"
        class="grid-space"
        style={{ width: `${total}px`, height: `${space + headHeight}px` }}
      >
        <div role="row" aria-rowindex={1} class="grid-heads" style={{ height: `${headHeight}px` }}>
          {heading(-1, 0, props.rowHeadWidth, props.rowTitle)}
          {shownColumns.map(c =>
            heading(c, lefts[c] ?? 0, columns[c]?.width ?? 0, [
              columns[c]?.first,
              columns[c]?.second,
            ]),
          )}
        </div>
        {shownRows.map(row => (
          <div
            key={row}
            role="row"
            aria-rowindex={row + 2}
            class={`grid-row ${row % 2 ? 'odd' : ''} ${props.markRow?.(row) ? 'left-out' : ''}`}
            style={{ transform: `translateY(${yOf(row)}px)` }}
          >
            <div
              role="rowheader"
              aria-colindex={1}
              class="grid-name"
              style={{ width: `${props.rowHeadWidth}px` }}
              title={props.rowName(row)}
            >
              {props.rowName(row) ?? '…'}
            </div>
            {shownColumns.map(column => {
              const cell = props.cell(row, column);
              const isAt = row === at.row && column === at.column;
              const isIn =
                isWide &&
                row >= range.top &&
                row <= range.bottom &&
                column >= range.left &&
                column <= range.right;
              return (
                <div
                  key={column}
                  id={cellId(row, column)}
                  role="gridcell"
                  aria-colindex={column + 2}
                  aria-selected={isAt || isIn}
                  class={`grid-cell ${columns[column]?.numeric ? 'numeric' : ''} ${isAt ? 'at' : ''} ${isIn ? 'in' : ''} ${cell?.marked ? 'marked' : ''} ${cell?.dim ? 'dim' : ''}`}
                  style={{ left: `${lefts[column]}px`, width: `${columns[column]?.width}px` }}
                  title={cell?.title}
                >
                  {cell ? cell.text : '…'}
                </div>
              );
            })}
          </div>
        ))}
      </div>
    </div>
  );
}
