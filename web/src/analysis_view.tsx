// One analysis: its dialog on the left, what it has produced on the right; above them whatever it
// asks, and the progress of what it does.
import type { ComponentChildren } from 'preact';
import { useEffect, useState } from 'preact/hooks';
import { get, post } from './api';
import { DialogView } from './dialogs/dialog_view';
import { DocumentView } from './documents/document_view';
import { MacroView } from './macro_view';
import { Requests } from './modals/requests';
import type { Analysis } from './protocol';
import { findFile, page, say, postInTurn } from './store';
import { Modal } from './widgets/modal';
import { caption, hostText, word } from './words';

const progressDelay = 250; // milliseconds

export function AnalysisView({ analysis }: { analysis: Analysis }) {
  const id = analysis.analysis;
  // The results text stands above the dialog; beside it, what was produced last.
  const last = analysis.documents.filter(d => d.kind !== 'results').at(-1);
  const beside = page.beside[id] ?? last?.document;
  const results = analysis.documents.find(d => d.kind === 'results');
  const shown = analysis.documents.find(d => d.document === beside);
  return (
    <div class="analysis">
      <div class="dialog-place">
        {analysis.dialog ? (
          <DialogView
            key={analysis.dialog.dialog}
            analysis={id}
            dialog={analysis.dialog}
            busy={analysis.busy}
            heading={<FileLine analysis={analysis} />}
            above={
              analysis.dialog.level === 'results' &&
              results && <Summary analysis={id} revision={results.revision} />
            }
          />
        ) : (
          <div class="ended">
            <h1>{word(analysis.state === 'failed' ? 'failed' : 'ended')}</h1>
            <p>{hostText(analysis.reason)}</p>
          </div>
        )}
      </div>
      <div class="beside">
        {beside === 'macro' ? (
          <MacroView analysis={analysis} />
        ) : shown ? (
          <DocumentView key={`${id}/${shown.document}`} analysis={id} info={shown} />
        ) : (
          <p class="empty">{word('noDocuments')}</p>
        )}
      </div>
      <Requests analysis={analysis} />
      {analysis.progress && analysis.requests.length === 0 && (
        <After delay={progressDelay}>
          <ProgressWindow analysis={analysis} />
        </After>
      )}
    </div>
  );
}

function Summary({ analysis, revision }: { analysis: number; revision: number }) {
  const [lines, setLines] = useState<string[]>([]);
  useEffect(() => {
    let current = true;
    get<{ lines: string[] }>(`analyses/${analysis}/documents/0`).then(
      document => current && setLines(document.lines),
      say,
    );
    return () => void (current = false);
  }, [analysis, revision]);
  return (
    <pre class="summary" tabIndex={0}>
      {lines.join('\n')}
    </pre>
  );
}

function FileLine({ analysis }: { analysis: Analysis }) {
  const file = findFile(analysis.file);
  return (
    <>
      <span class="dim one-line" title={file?.name}>
        {file?.name}
      </span>
      <span class="spring" />
      {analysis.canUndo && (
        <button type="button" class="quiet" onClick={() => void postInTurn(analysis, 'undo')}>
          ↶ {word('undo')}
        </button>
      )}
    </>
  );
}

/** Shows its content once it has stood for a while: what is quickly over does not flash. */
function After({ delay, children }: { delay: number; children: ComponentChildren }) {
  const [over, setOver] = useState(false);
  useEffect(() => {
    const timer = setTimeout(() => setOver(true), delay);
    return () => clearTimeout(timer);
  }, []);
  return over ? <>{children}</> : null;
}

function ProgressWindow({ analysis }: { analysis: Analysis }) {
  const { title, lines, pass, percent, training } = analysis.progress ?? {
    title: '',
    lines: [],
    pass: '',
    percent: null,
    training: false,
  };
  const [stopping, setStopping] = useState(false);
  const cancel = () => {
    setStopping(true);
    void post(`analyses/${analysis.analysis}/cancel`).catch(say);
  };
  return (
    <Modal
      title={title ? caption(title) : word('running')}
      class="progress"
      onEscape={cancel}
      buttons={
        <button type="button" data-focus disabled={stopping} onClick={cancel}>
          {word('cancel')}
        </button>
      }
    >
      <progress
        max={100}
        {...(percent === null ? {} : { value: percent })}
        aria-label={title ? caption(title) : word('running')}
      />
      <div class="progress-lines" aria-live="polite">
        <p>{pass || lines[0] || ' '}</p>
        {training && <p>{(pass ? lines[0] : lines[1]) || ' '}</p>}
      </div>
    </Modal>
  );
}
