// The tree beside everything: open files, their analyses, and what each has produced.
import { useEffect, useRef, useState } from 'preact/hooks';
import { remove } from './api';
import { titleOf } from './dialogs/dialog_view';
import type { Analysis, DocumentInfo, FileInfo } from './protocol';
import { type Page, page, say, show, showBeside } from './store';
import { Modal } from './widgets/modal';
import { counted, lineCount, methodName, word } from './words';

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

function nameOf(analysis: Analysis): string {
  return (
    (analysis.kind && methodName(analysis.kind)) ||
    (analysis.dialog ? titleOf(analysis.dialog) : '—')
  );
}

/** What tells an analysis from the others of its method; empty while there are none. */
function numberOf({ analysis: id, kind }: Analysis): string {
  const others = page.state?.analyses.some(one => one.kind === kind && one.analysis !== id);
  return others ? word('numbered', id) : '';
}

/** The rows of the tree; `close` is asked to close an analysis. */
function rowsOf({ state, shown }: Page, close: (analysis: Analysis) => void): Row[] {
  const rows: Row[] = [];
  const addAnalysis = (analysis: Analysis) => {
    const id = analysis.analysis;
    const isShown = shown.view === 'analysis' && shown.analysis === id;
    rows.push({
      key: `a${id}`,
      level: 2,
      icon: 'analysis',
      text: nameOf(analysis),
      // the name may be cut off, the note is not
      note: [numberOf(analysis), stateOf(analysis)].filter(Boolean).join(' · '),
      current: isShown && analysis.documents.length === 0 && page.beside[id] === undefined,
      open: () => show({ view: 'analysis', analysis: id }),
      close: () => close(analysis),
    });
    rows.push(...analysis.documents.map(info => documentRow(analysis, info, isShown)));
    rows.push({
      key: `m${id}`,
      level: 3,
      icon: 'macro',
      text: word('macro'),
      note: analysis.macro.lines > 0 ? lineCount(analysis.macro.lines) : '',
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

const closeAnalysis = (id: number) => void remove(`analyses/${id}`).catch(say);

/** Closing an analysis loses what it has produced, so that is asked. */
function CloseQuestion(props: { analysis: Analysis; accept: () => void; cancel: () => void }) {
  const { analysis } = props;
  return (
    <Modal
      title={word('closeAnalysis', `${nameOf(analysis)} ${numberOf(analysis)}`.trim())}
      class="message"
      role="alertdialog"
      describedBy="close-question"
      onEnter={props.accept}
      onEscape={props.cancel}
      buttons={
        <>
          <button type="button" class="default" data-focus onClick={props.accept}>
            {word('close')}
          </button>
          <button type="button" onClick={props.cancel}>
            {word('cancel')}
          </button>
        </>
      }
    >
      <div class="message-row">
        <span class="message-sign question" aria-hidden="true">
          ?
        </span>
        <p id="close-question">{word('closeQuestion', analysis.documents.length)}</p>
      </div>
    </Modal>
  );
}

export function WorkbookTree() {
  const [closing, setClosing] = useState(0); // the analysis that is asked about; 0: none
  const asked = page.state?.analyses.find(analysis => analysis.analysis === closing);
  const rows = rowsOf(page, analysis =>
    analysis.documents.length > 0
      ? setClosing(analysis.analysis)
      : closeAnalysis(analysis.analysis),
  );
  // The keys stay in the tree when the row that had them is gone.
  const tree = useRef<HTMLDivElement>(null);
  const isClosing = useRef(false);
  useEffect(() => {
    if (isClosing.current && document.activeElement === document.body)
      tree.current?.querySelector<HTMLElement>('[tabindex="0"]')?.focus();
    isClosing.current = false;
  }, [rows.length]);
  const at = Math.max(
    0,
    rows.findIndex(row => row.current),
  );
  // What is shown stays in sight.
  useEffect(() => {
    tree.current?.querySelector('[tabindex="0"]')?.scrollIntoView({ block: 'nearest' });
  }, [rows[at]?.key, rows.length]);
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
    else if (event.key === 'Delete') {
      isClosing.current = true;
      rows[focused]?.close?.();
    } else if (event.key.length === 1 && !event.ctrlKey && !event.altKey) {
      const wanted = event.key.toLocaleLowerCase();
      const next = rows.findIndex(
        (row, i) => i > focused && row.text.toLocaleLowerCase().startsWith(wanted),
      );
      items[next]?.focus();
    } else return;
    event.preventDefault();
  };
  return (
    <>
      <div ref={tree} class="tree" role="tree" aria-label={word('tree')} onKeyDown={onKeyDown}>
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
      {asked && (
        <CloseQuestion
          analysis={asked}
          accept={() => {
            setClosing(0);
            closeAnalysis(asked.analysis);
          }}
          cancel={() => setClosing(0)}
        />
      )}
    </>
  );
}
