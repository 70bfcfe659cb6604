// The page: its frame, and what the main area shows.
import './style.css';
import { render } from 'preact';
import { useState } from 'preact/hooks';
import { AnalysisView } from './analysis_view';
import { post } from './api';
import { DataView } from './data/data_view';
import { openUploaded, OpenWindow } from './data/open_window';
import { Readings } from './data/readings';
import type { Analysis, FileInfo } from './protocol';
import { pageLanguage } from './language';
import {
  clearNotice,
  connect,
  findAnalysis,
  findFile,
  page,
  say,
  setLanguage,
  show,
  usePage,
} from './store';
import { methodName, word } from './words';
import { WorkbookTree } from './workbook_tree';

function currentFile(): FileInfo | undefined {
  const { shown, state } = page;
  if (shown.view === 'data') return findFile(shown.file);
  if (shown.view === 'analysis') return findFile(findAnalysis(shown.analysis)?.file ?? 0);
  return state?.files[0];
}

function App() {
  const { state, connected, shown, notice, news } = usePage();
  const [opening, setOpening] = useState(false);
  if (!state) return <p class="empty">{notice || '…'}</p>;
  const opened = (file: FileInfo) => {
    setOpening(false);
    show({ view: 'data', file: file.file });
  };
  const file = currentFile();
  const start = (kind: string) => {
    if (file)
      post<Analysis>('analyses', { file: file.file, kind }).then(
        analysis => show({ view: 'analysis', analysis: analysis.analysis }),
        say,
      );
  };
  const analysis = shown.view === 'analysis' ? findAnalysis(shown.analysis) : undefined;
  const shownFile = shown.view === 'data' ? findFile(shown.file) : undefined;
  return (
    <div
      class="frame"
      onDragOver={event => {
        if (event.dataTransfer?.types.includes('Files')) event.preventDefault();
      }}
      onDrop={event => {
        const dropped = event.dataTransfer?.files[0];
        if (!dropped) return;
        event.preventDefault();
        openUploaded(dropped).then(opened, say);
      }}
    >
      <header class="top">
        <button type="button" onClick={() => setOpening(true)}>
          <span class="icon folder" aria-hidden="true" /> {word('open')}
        </button>
        <span class="divider" />
        <span class="top-caption" id="methods">
          {word('newAnalysis')}
        </span>
        <div class="methods" role="group" aria-labelledby="methods">
          {state.kinds.map(({ kind }) => (
            <button
              key={kind}
              type="button"
              data-kind={kind}
              disabled={!file || state.analyses.length >= state.limits.analyses}
              title={state.analyses.length >= state.limits.analyses ? word('noRoom') : undefined}
              onClick={() => start(kind)}
            >
              {methodName(kind)}
            </button>
          ))}
        </div>
        <span class="spring" />
        {!connected && (
          <span class="warning" role="status">
            ⚠ {word('lost')}
          </span>
        )}
        <div class="segments" role="radiogroup" aria-label={word('language')}>
          {(['fr', 'en'] as const).map(one => (
            <label key={one}>
              <input
                type="radio"
                name="language"
                checked={pageLanguage() === one}
                onChange={() => setLanguage(one)}
              />
              <span>{one.toUpperCase()}</span>
            </label>
          ))}
        </div>
      </header>
      <nav class="side" aria-label={word('tree')}>
        <WorkbookTree />
      </nav>
      <main>
        {analysis ? (
          <AnalysisView key={analysis.analysis} analysis={analysis} />
        ) : shownFile ? (
          <DataView key={shownFile.file} file={shownFile} />
        ) : (
          <div class="start">
            <h1>qrvml</h1>
            <p>{word('start')}</p>
            <button type="button" class="default" onClick={() => setOpening(true)}>
              {word('open')}
            </button>
            <p class="hint">{word('startHint')}</p>
          </div>
        )}
      </main>
      {(notice || news) && (
        <div class={`notice ${notice ? '' : 'news'}`} role={notice ? 'alert' : 'status'}>
          <span>{notice || news}</span>
          <button type="button" class="close" aria-label={word('close')} onClick={clearNotice}>
            ×
          </button>
        </div>
      )}
      <div class="readings">{!opening && <Readings />}</div>
      {opening && <OpenWindow opened={opened} cancel={() => setOpening(false)} />}
    </div>
  );
}

// The token has become a cookie; it need not stand in the address or its history.
if (new URLSearchParams(location.search).has('token'))
  history.replaceState(null, '', `/${location.hash}`);
document.documentElement.lang = pageLanguage();
const root = document.getElementById('app');
if (root) render(<App />, root);
void connect();
