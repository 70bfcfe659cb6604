// The tree beside everything: open files, their analyses, and what each has produced.
import { remove } from './api';
import { titleOf } from './dialogs/dialog_view';
import type { Analysis, DocumentInfo, FileInfo } from './protocol';
import { type Page, page, say, show, showBeside } from './store';
import { counted, methodName, word } from './words';

interface Row {
  key: string;
  level: number;
  icon: string;
  text: string;
  note?: string;
  current: boolean;
  open: () => void;
  close?: () => void;
}

function stateOf(analysis: Analysis): string {
  if (analysis.state === 'failed') return word('failed');
  if (analysis.state === 'ended') return word('ended');
  if (analysis.requests.length > 0) return word('waiting');
  if (analysis.progress) return `${word('running')}…`;
  return '';
}

function documentRow(analysis: Analysis, info: DocumentInfo, isShown: boolean): Row {
  const id = analysis.analysis;
  return {
    key: `d${id}/${info.document}`,
    level: 3,
    icon:
      info.kind === 'graph'
        ? info.type === 'surface'
          ? 'space'
          : 'graph'
        : info.kind === 'spreadsheet'
          ? 'sheet'
          : 'text',
    text: info.kind === 'results' ? word('inResults') : info.title.replaceAll('\n', ' ').trim(),
    current: isShown && page.beside[id] === info.document,
    open: () => {
      show({ view: 'analysis', analysis: id });
      showBeside(id, info.document);
    },
  };
}

function rowsOf({ state, shown }: Page): Row[] {
  const rows: Row[] = [];
  const addAnalysis = (analysis: Analysis) => {
    const id = analysis.analysis;
    const isShown = shown.view === 'analysis' && shown.analysis === id;
    rows.push({
      key: `a${id}`,
      level: 2,
      icon: 'analysis',
      text:
        (analysis.kind && methodName(analysis.kind)) ||
        (analysis.dialog ? titleOf(analysis.dialog) : '—'),
      note: stateOf(analysis),
      current: isShown && analysis.documents.length === 0 && page.beside[id] === undefined,
      open: () => show({ view: 'analysis', analysis: id }),
      close: () => void remove(`analyses/${id}`).catch(say),
    });
    rows.push(...analysis.documents.map(info => documentRow(analysis, info, isShown)));
    rows.push({
      key: `m${id}`,
      level: 3,
      icon: 'macro',
      text: word('macro'),
      note: analysis.macro.lines > 0 ? `${analysis.macro.lines} ${word('rows')}` : '',
      current: isShown && page.beside[id] === 'macro',
      open: () => {
        show({ view: 'analysis', analysis: id });
        showBeside(id, 'macro');
      },
    });
  };
  const addFile = (file: FileInfo) => {
    const used = state?.analyses.filter(a => a.file === file.file) ?? [];
    rows.push({
      key: `f${file.file}`,
      level: 1,
      icon: 'data',
      text: file.name,
      note: `${counted(file.cases)} × ${counted(file.variables)}`,
      current: shown.view === 'data' && shown.file === file.file,
      open: () => show({ view: 'data', file: file.file }),
      ...(used.length === 0 ? { close: () => void remove(`files/${file.file}`).catch(say) } : {}),
    });
    used.forEach(addAnalysis);
  };
  state?.files.forEach(addFile);
  return rows;
}

export function WorkbookTree() {
  const rows = rowsOf(page);
  const at = Math.max(
    0,
    rows.findIndex(row => row.current),
  );
  const onKeyDown = (event: KeyboardEvent) => {
    const tree = event.currentTarget as HTMLElement;
    const items = [...tree.querySelectorAll<HTMLElement>('[role=treeitem]')];
    const focused = items.indexOf(document.activeElement as HTMLElement);
    const to = {
      ArrowDown: focused + 1,
      ArrowUp: focused - 1,
      Home: 0,
      End: items.length - 1,
    }[event.key];
    if (to !== undefined) items[Math.max(0, Math.min(items.length - 1, to))]?.focus();
    else if (event.key === 'Enter' || event.key === ' ') rows[focused]?.open();
    else if (event.key === 'Delete') rows[focused]?.close?.();
    else if (event.key.length === 1 && !event.ctrlKey && !event.altKey) {
      const wanted = event.key.toLocaleLowerCase();
      const next = rows.findIndex(
        (row, i) => i > focused && row.text.toLocaleLowerCase().startsWith(wanted),
      );
      items[next]?.focus();
    } else return;
    event.preventDefault();
  };
  return (
    <div class="tree" role="tree" aria-label={word('tree')} onKeyDown={onKeyDown}>
      {rows.map((row, i) => (
        <div
          key={row.key}
          role="treeitem"
          aria-level={row.level}
          aria-selected={row.current}
          tabIndex={i === at ? 0 : -1}
          class={`tree-row level-${row.level}`}
          data-row={row.key}
          onClick={row.open}
        >
          <span class={`icon ${row.icon}`} aria-hidden="true" />
          <span class="tree-text" title={row.text}>
            {row.text}
          </span>
          {row.note && <span class="tree-note">{row.note}</span>}
          {row.close && (
            <button
              type="button"
              class="close"
              tabIndex={-1}
              aria-label={`${word('close')} ${row.text}`}
              title={word('close')}
              onClick={event => {
                event.stopPropagation();
                row.close?.();
              }}
            >
              ×
            </button>
          )}
        </div>
      ))}
    </div>
  );
}
