// A list of rows with one or several selected: arrows, Home, End, pages, Shift and Ctrl, type-ahead,
// double click. Only the rows in view are in the document, so a list may have thousands.
import type { ComponentChildren } from 'preact';
import { useEffect, useLayoutEffect, useRef, useState } from 'preact/hooks';

export interface ListBoxProps {
  id: string;
  label?: string;
  labelledBy?: string;
  count: number;
  text: (row: number) => string; // for type-ahead and for screen readers
  render?: (row: number) => ComponentChildren;
  selected: ReadonlySet<number>;
  onSelect: (rows: Set<number>) => void;
  onActivate?: (row: number) => void; // double click, or Enter when `enterActivates`
  enterActivates?: boolean;
  onKey?: (event: KeyboardEvent) => boolean; // true: handled
  multiple?: boolean;
  toggles?: boolean; // several, each switched by a click or a blank, as check boxes are
  disabled?: boolean;
  takesFocus?: boolean; // when its window opens
  rows?: number; // height in rows; otherwise the box fills its place
  onDragStart?: (event: DragEvent) => void;
}

export const rowHeight = 22;
const typeAheadPause = 800; // milliseconds

export function ListBox(props: ListBoxProps) {
  const { id, count, text, selected, multiple = false, disabled = false } = props;
  const box = useRef<HTMLDivElement>(null);
  const [top, setTop] = useState(0);
  const [height, setHeight] = useState((props.rows ?? 12) * rowHeight);
  const first = selected.size > 0 ? Math.min(...selected) : 0;
  const [cursor, setCursor] = useState(first);
  const anchor = useRef(first);
  const typed = useRef({ text: '', at: 0 });
  const at = Math.max(0, Math.min(cursor, count - 1));

  useLayoutEffect(() => {
    const element = box.current;
    if (!element) return;
    const measure = () => setHeight(element.clientHeight);
    measure();
    const observer = new ResizeObserver(measure);
    observer.observe(element);
    return () => observer.disconnect();
  }, []);

  const reveal = (row: number) => {
    const element = box.current;
    if (!element) return;
    const y = row * rowHeight;
    if (y < element.scrollTop) element.scrollTop = y;
    else if (y + rowHeight > element.scrollTop + element.clientHeight)
      element.scrollTop = y + rowHeight - element.clientHeight;
  };
  // A single choice that changed elsewhere comes into view.
  useEffect(() => {
    if (multiple || selected.size === 0) return;
    setCursor(first);
    reveal(first);
  }, [first, selected.size]);

  const moveTo = (row: number) => {
    setCursor(row);
    reveal(row);
  };
  const choose = (
    row: number,
    event: { shiftKey: boolean; ctrlKey: boolean; metaKey: boolean },
  ) => {
    if (row < 0 || row >= count || disabled) return;
    moveTo(row);
    if (multiple && event.shiftKey) {
      const [low, high] = [Math.min(anchor.current, row), Math.max(anchor.current, row)];
      const range = Array.from({ length: high - low + 1 }, (_, i) => low + i);
      props.onSelect(new Set(props.toggles ? [...selected, ...range] : range));
      return;
    }
    anchor.current = row;
    if (multiple && (props.toggles || event.ctrlKey || event.metaKey)) {
      const next = new Set(selected);
      if (!next.delete(row)) next.add(row);
      props.onSelect(next);
    } else {
      props.onSelect(new Set([row]));
    }
  };

  const typeAhead = (key: string) => {
    const now = performance.now();
    const before = now - typed.current.at < typeAheadPause ? typed.current.text : '';
    const wanted = (before + key).toLocaleLowerCase();
    typed.current = { text: wanted, at: now };
    const start = before ? at : at + 1;
    for (let i = 0; i < count; ++i) {
      const row = (start + i) % count;
      if (!text(row).toLocaleLowerCase().startsWith(wanted)) continue;
      if (props.toggles) moveTo(row);
      else choose(row, { shiftKey: false, ctrlKey: false, metaKey: false });
      return;
    }
  };

  const onKeyDown = (event: KeyboardEvent) => {
    if (event.altKey || disabled) return;
    if (props.onKey?.(event)) {
      event.preventDefault();
      event.stopPropagation();
      return;
    }
    const page = Math.max(1, Math.floor(height / rowHeight) - 1);
    const moves: Record<string, number> = {
      ArrowDown: Math.min(at + 1, count - 1),
      ArrowUp: Math.max(at - 1, 0),
      Home: 0,
      End: count - 1,
      PageDown: Math.min(at + page, count - 1),
      PageUp: Math.max(at - page, 0),
    };
    const move = moves[event.key];
    if (move !== undefined) {
      const isOnlyMove = props.toggles || event.ctrlKey || event.metaKey;
      if (multiple && isOnlyMove && !event.shiftKey) {
        moveTo(move);
      } else {
        choose(move, { shiftKey: event.shiftKey, ctrlKey: false, metaKey: false });
      }
    } else if (event.key === ' ' && performance.now() - typed.current.at > typeAheadPause) {
      choose(at, { shiftKey: false, ctrlKey: multiple, metaKey: false });
    } else if (multiple && event.key === 'a' && (event.ctrlKey || event.metaKey)) {
      props.onSelect(new Set(Array.from({ length: count }, (_, i) => i)));
    } else if (event.key === 'Enter' && props.enterActivates && count > 0) {
      props.onActivate?.(at);
    } else if (event.key.length === 1 && !event.ctrlKey && !event.metaKey) {
      typeAhead(event.key);
    } else {
      return;
    }
    event.preventDefault();
    event.stopPropagation();
  };

  const from = Math.max(0, Math.floor(top / rowHeight) - 2);
  const to = Math.min(count, Math.ceil((top + height) / rowHeight) + 2);
  const shown = Array.from({ length: Math.max(0, to - from) }, (_, i) => from + i);
  // The row under the cursor stays in the document, so that it can be named as the active one.
  if (count > 0 && (at < from || at >= to)) shown.push(at);

  return (
    <div
      ref={box}
      id={id}
      class={`list-box ${props.toggles ? 'toggles' : ''}`}
      role="listbox"
      tabIndex={disabled ? -1 : 0}
      data-focus={props.takesFocus || undefined}
      aria-label={props.label}
      aria-labelledby={props.labelledBy}
      aria-multiselectable={multiple || undefined}
      aria-disabled={disabled || undefined}
      aria-activedescendant={count > 0 ? `${id}-${at}` : undefined}
      style={props.rows ? { height: `${props.rows * rowHeight + 2}px` } : undefined}
      onScroll={event => setTop(event.currentTarget.scrollTop)}
      onKeyDown={onKeyDown}
    >
      <div role="presentation" class="list-space" style={{ height: `${count * rowHeight}px` }}>
        {shown.map(row => (
          <div
            key={row}
            id={`${id}-${row}`}
            role="option"
            aria-selected={selected.has(row)}
            aria-setsize={count}
            title={props.render ? undefined : text(row)}
            aria-posinset={row + 1}
            class={row === at ? 'at' : undefined}
            style={{ top: `${row * rowHeight}px` }}
            draggable={props.onDragStart !== undefined}
            onMouseDown={event => {
              if (event.button !== 0) return;
              // A press on a selected row may begin a drag of all of them.
              if (props.onDragStart && selected.has(row) && !event.ctrlKey && !event.shiftKey)
                setCursor(row);
              else choose(row, event);
            }}
            onClick={event => {
              if (props.onDragStart && !event.ctrlKey && !event.shiftKey && !event.metaKey)
                choose(row, event);
            }}
            onDblClick={() => !disabled && props.onActivate?.(row)}
            onDragStart={props.onDragStart}
          >
            {props.render ? props.render(row) : text(row)}
          </div>
        ))}
      </div>
    </div>
  );
}
