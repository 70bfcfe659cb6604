// What the page knows: the server's state, kept current by its events, and what this tab shows.
// The server is the only owner of an analysis; nothing here outlives a reload.
import { useLayoutEffect, useReducer } from 'preact/hooks';
import { get, post, Refusal, remove } from './api';
import type { Language } from './dialogs/label';
import { choosePageLanguage } from './language';
import type {
  Analysis,
  Call,
  CallResult,
  ControlState,
  Dialog,
  FileInfo,
  Reading,
  State,
} from './protocol';
import { hostText, word } from './words';

/** What the main area shows. */
export type Shown =
  | { view: 'start' }
  | { view: 'data'; file: number }
  | { view: 'analysis'; analysis: number };
/** What stands beside an analysis' dialog. */
export type Beside = number | 'macro';

export interface Page {
  state: State | null;
  connected: boolean;
  shown: Shown;
  beside: Record<number, Beside>; // per analysis: a document, or its macro
  notice: string; // a failure that no message box of the module has said, or its notes
  news: string; // what has been done out of sight
}

type Listener = () => void;
const listeners = new Set<Listener>();

export const page: Page = {
  state: null,
  connected: true,
  shown: { view: 'start' },
  beside: {},
  notice: '',
  news: '',
};

let scheduled = false;
/** Tells the views that something has changed; several changes of one turn are drawn once. */
export function changed(): void {
  if (scheduled) return;
  scheduled = true;
  queueMicrotask(() => {
    scheduled = false;
    for (const listener of [...listeners]) listener();
  });
}

export function usePage(): Page {
  const [, redraw] = useReducer<number, void>(n => n + 1, 0);
  useLayoutEffect(() => {
    const listener = () => redraw();
    listeners.add(listener);
    redraw(); // what has changed since this view was drawn
    return () => void listeners.delete(listener);
  }, []);
  return page;
}

export function show(shown: Shown): void {
  page.shown = shown;
  history.replaceState(
    null,
    '',
    shown.view === 'start'
      ? '#'
      : `#${shown.view}=${'file' in shown ? shown.file : shown.analysis}`,
  );
  changed();
}

export function showBeside(analysis: number, beside: Beside): void {
  page.beside[analysis] = beside;
  changed();
}

export function setLanguage(language: Language): void {
  choosePageLanguage(language);
  changed();
}

export function say(error: unknown): void {
  page.notice = error instanceof Error ? error.message : String(error);
  changed();
}
const newsTime = 8000; // milliseconds
/** Says for a while what has been done out of sight. */
function tell(text: string): void {
  page.news = text;
  changed();
  setTimeout(() => {
    if (page.news !== text) return;
    page.news = '';
    changed();
  }, newsTime);
}
export function clearNotice(): void {
  page.notice = '';
  page.news = '';
  changed();
}

export function findFile(file: number): FileInfo | undefined {
  return page.state?.files.find(f => f.file === file);
}
export function findAnalysis(analysis: number): Analysis | undefined {
  return page.state?.analyses.find(a => a.analysis === analysis);
}

// --- keeping in step ------------------------------------------------------------------------------

function put<T>(list: T[], item: T, same: (other: T) => boolean): void {
  const at = list.findIndex(same);
  if (at < 0) list.push(item);
  else list[at] = item;
}

function takeControls(dialog: Dialog | null, controls: ControlState[]): void {
  if (!dialog) return;
  for (const state of controls) {
    const at = dialog.controls.findIndex(c => c.name === state.name);
    const control = dialog.controls[at];
    if (control) dialog.controls[at] = { ...control, ...state };
  }
}

/** The dialog of that number: the one that stands, or a modal one above it. */
function dialogOf(analysis: Analysis | undefined, number: number): Dialog | null {
  if (!analysis) return null;
  if (analysis.dialog?.dialog === number) return analysis.dialog;
  for (const request of analysis.requests)
    if (request.kind === 'dialog' && request.dialog.dialog === number) return request.dialog;
  return null;
}

// Calls that go on after their reply, and results that came before it.
const waiting = new Map<string, (result: CallResult) => void>();
const arrived = new Map<string, CallResult>();
const keptResults = 20;
const callKey = (result: { analysis: number; call: number }) => `${result.analysis}/${result.call}`;

/** What each event does to the state. */
const handlers: Record<string, (state: State, data: any) => void> = {
  file: (state, data: FileInfo) => put(state.files, data, f => f.file === data.file),
  fileClosed: (state, data) => (state.files = state.files.filter(f => f.file !== data.file)),
  analysis: (state, data: Analysis) => {
    put(state.analyses, data, a => a.analysis === data.analysis);
    // One that the person left without a result needs no farewell.
    if (data.state === 'ended' && data.documents.length === 0)
      void remove(`analyses/${data.analysis}`).catch(() => {});
  },
  analysisClosed: (state, data) => {
    const gone = state.analyses.find(a => a.analysis === data.analysis);
    state.analyses = state.analyses.filter(a => a.analysis !== data.analysis);
    if (page.shown.view === 'analysis' && page.shown.analysis === data.analysis)
      show(gone ? { view: 'data', file: gone.file } : { view: 'start' });
  },
  controls: (_, data) =>
    takeControls(dialogOf(findAnalysis(data.analysis), data.dialog), data.controls),
  busy: (_, data) => assign(data.analysis, { busy: data.busy, call: data.call }),
  requests: (_, data) => assign(data.analysis, { requests: data.requests }),
  progress: (_, data) => assign(data.analysis, { progress: data.progress }),
  document: (_, data) => {
    const analysis = findAnalysis(data.analysis);
    if (!analysis) return;
    put(analysis.documents, data.document, d => d.document === data.document.document);
    if (data.document.kind !== 'results') page.beside[data.analysis] = data.document.document;
  },
  message: (_, data) => {
    findAnalysis(data.analysis)?.messages.push(data.message);
    // Those of one call together: the next one clears them.
    if (data.message.note) page.notice = `${page.notice} ${hostText(data.message.text)}`.trim();
  },
  macro: (_, data) =>
    assign(data.analysis, { macro: { lines: data.lines, recording: data.recording } }),
  undo: (_, data) => assign(data.analysis, { canUndo: data.canUndo }),
  reading: (state, data: Reading) => put(state.readings, data, r => r.reading === data.reading),
  readingEnded: (state, data) =>
    (state.readings = state.readings.filter(r => r.reading !== data.reading)),
  done: (_, data: CallResult) => {
    const key = callKey(data);
    const resolve = waiting.get(key);
    if (resolve) {
      waiting.delete(key);
      resolve(data);
      return;
    }
    arrived.set(key, data);
    for (const old of arrived.keys()) if (arrived.size > keptResults) arrived.delete(old);
  },
};

function assign(analysis: number, fields: Partial<Analysis>): void {
  const found = findAnalysis(analysis);
  if (found) Object.assign(found, fields);
}

let source: EventSource | null = null;

export async function connect(): Promise<void> {
  source?.close();
  // The ends of calls that a lost connection kept from this tab: the state has what they did.
  for (const resolve of waiting.values()) resolve(nothingDone);
  waiting.clear();
  try {
    page.state = await get<State>('state');
  } catch (error) {
    page.connected = false;
    say(error);
    return;
  }
  // What this tab showed before a reload, else the newest of what is open.
  const [, view, id] = /^#(data|analysis)=(\d+)$/.exec(location.hash) ?? [];
  const number = Number(id);
  const open = page.state.analyses.filter(a => a.state === 'open').at(-1);
  if (view === 'analysis' && findAnalysis(number)) page.shown = { view, analysis: number };
  else if (view === 'data' && findFile(number)) page.shown = { view, file: number };
  else if (open) page.shown = { view: 'analysis', analysis: open.analysis };
  else if (page.state.files[0]) page.shown = { view: 'data', file: page.state.files[0].file };

  source = new EventSource(`/api/events?after=${page.state.event}`);
  source.onopen = () => {
    page.connected = true;
    changed();
  };
  source.onerror = () => {
    page.connected = false;
    changed();
  };
  source.addEventListener('reset', () => void connect());
  for (const [type, handle] of Object.entries(handlers))
    source.addEventListener(type, event => {
      if (!page.state) return;
      handle(page.state, JSON.parse((event as MessageEvent<string>).data));
      changed();
    });
  changed();
}

// --- calls ----------------------------------------------------------------------------------------

const nothingDone: CallResult = {
  analysis: 0,
  call: 0,
  done: true,
  ok: false,
  error: '',
  control: '',
};
const queues = new Map<string, Promise<unknown>>();
const saving = new Map<number, string>(); // the file that a call of the analysis is writing

/** The person has named the file that the running call of an analysis writes. */
export function willSave(analysis: number, path: string): void {
  saving.set(analysis, path);
}

/**
 * Makes calls of a dialog, in the order in which they were asked for. Resolves when they are done,
 * also when that takes a training or an answer; the result says what failed.
 */
export async function call(
  analysis: number,
  dialog: number,
  ...calls: Call[]
): Promise<CallResult> {
  if (page.notice || page.news) clearNotice(); // what it was about has been seen
  const result = await attempt(analysis, dialog, ...calls);
  if (!result.ok && result.error) say(new Error(hostText(result.error)));
  const saved = saving.get(analysis);
  saving.delete(analysis);
  if (result.ok && saved) {
    tell(word('saved', saved));
  }
  return result;
}

/** Posts what concerns an analysis as a whole, after the calls of its dialog that were made before. */
export function postInTurn<T>(analysis: Analysis, what: string, body?: object): Promise<T | void> {
  return inTurn(analysis.analysis, analysis.dialog?.dialog ?? 0, () =>
    post<T>(`analyses/${analysis.analysis}/${what}`, body).catch(say),
  );
}

/**
 * The next call waits until the one before it is done: the server refuses it while something runs.
 * One that comes too late, because the dialog has gone, is refused then, and has nothing to say.
 * `run` never rejects.
 */
function inTurn<T>(analysis: number, dialog: number, run: () => Promise<T>): Promise<T> {
  const queue = `${analysis}/${dialog}`;
  const sent = (queues.get(queue) ?? Promise.resolve()).then(run);
  queues.set(queue, sent);
  return sent;
}

/** The same as a call, where the dialog itself shows what was refused. */
export function attempt(analysis: number, dialog: number, ...calls: Call[]): Promise<CallResult> {
  const run = async (): Promise<CallResult> => {
    try {
      const result = await post<CallResult>(`analyses/${analysis}/calls`, { dialog, calls });
      takeControls(dialogOf(findAnalysis(analysis), dialog), result.controls ?? []);
      changed();
      if (result.done) return result;
      const key = callKey(result);
      return arrived.get(key) ?? (await new Promise<CallResult>(done => waiting.set(key, done)));
    } catch (error) {
      if (!(error instanceof Refusal && error.status === 409)) say(error);
      return { ...nothingDone, analysis };
    }
  };
  return inTurn(analysis, dialog, run);
}

export async function answer(analysis: number, request: number, fields: object): Promise<void> {
  await post(`analyses/${analysis}/answers`, { request, ...fields });
}
