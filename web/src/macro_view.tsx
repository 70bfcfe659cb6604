// The macro of an analysis as it grows: recording on or off, and the same on another file.
import { useEffect, useState } from 'preact/hooks';
import { getText } from './api';
import { OpenWindow } from './data/open_window';
import { TextView } from './documents/text_view';
import type { Analysis, FileInfo } from './protocol';
import { page, postInTurn, say, show } from './store';
import { ListBox } from './widgets/list_box';
import { Modal } from './widgets/modal';
import { counted, word } from './words';

export function MacroView({ analysis }: { analysis: Analysis }) {
  const [text, setText] = useState('');
  const [asking, setAsking] = useState(false);
  const { lines, recording } = analysis.macro;
  const path = `analyses/${analysis.analysis}/macro`;
  useEffect(() => {
    let current = true;
    getText(path).then(t => current && setText(t), say);
    return () => void (current = false);
  }, [path, lines]);
  const run = (file: FileInfo) => {
    setAsking(false);
    void postInTurn<Analysis>(analysis, 'rerun', { file: file.file }).then(
      again => again && show({ view: 'analysis', analysis: again.analysis }),
    );
  };
  return (
    <div class="macro">
      <div class="macro-tools">
        <label class="check">
          <input
            type="checkbox"
            data-macro="record"
            checked={recording}
            onChange={event =>
              void postInTurn(analysis, 'record', { recording: event.currentTarget.checked })
            }
          />
          <span>{word('record')}</span>
        </label>
        <span class="spring" />
        <button
          type="button"
          data-macro="rerun"
          disabled={lines === 0}
          onClick={() => setAsking(true)}
        >
          {word('rerun')}
        </button>
      </div>
      {text === '' ? (
        <p class="empty">{word('macroEmpty')}</p>
      ) : (
        <TextView
          title={word('macro')}
          text={text}
          exports={[{ label: 'QVB', href: `/api/${path}` }]}
        />
      )}
      {asking && <FileChoice own={analysis.file} accept={run} cancel={() => setAsking(false)} />}
    </div>
  );
}

/** One of the open files, or another one that is opened for it. */
function FileChoice(props: { own: number; accept: (file: FileInfo) => void; cancel: () => void }) {
  const files = page.state?.files ?? [];
  const other = files.findIndex(file => file.file !== props.own);
  const [chosen, setChosen] = useState(Math.max(0, other));
  const [opening, setOpening] = useState(false);
  const accept = () => {
    const file = files[chosen];
    if (file) props.accept(file);
  };
  if (opening) return <OpenWindow opened={props.accept} cancel={() => setOpening(false)} />;
  return (
    <Modal
      title={word('rerunTitle')}
      class="file-choice"
      onEnter={accept}
      onEscape={props.cancel}
      buttons={
        <>
          <button type="button" onClick={() => setOpening(true)}>
            {word('open')}
          </button>
          <span class="spring" />
          <button type="button" class="default" onClick={accept}>
            {word('ok')}
          </button>
          <button type="button" onClick={props.cancel}>
            {word('cancel')}
          </button>
        </>
      }
    >
      <ListBox
        id="file-choice"
        label={word('rerunTitle')}
        count={files.length}
        rows={8}
        takesFocus
        text={row => files[row]?.name ?? ''}
        render={row => (
          <span class="file-row">
            <span class="icon data" aria-hidden="true" />
            <span class="one-line">{files[row]?.name}</span>
            <span class="dim">
              {counted(files[row]?.cases ?? 0)} × {counted(files[row]?.variables ?? 0)}
            </span>
          </span>
        )}
        selected={new Set([chosen])}
        onSelect={rows => setChosen([...rows][0] ?? 0)}
        onActivate={accept}
      />
    </Modal>
  );
}
