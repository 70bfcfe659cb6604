// Opening a data file: one of the folders that the person named, or a file from the computer.
import { useEffect, useId, useRef, useState } from 'preact/hooks';
import { get, post, Refusal, upload } from '../api';
import type { Entry, FileInfo } from '../protocol';
import { usePage } from '../store';
import { ListBox } from '../widgets/list_box';
import { Modal } from '../widgets/modal';
import { fileSize, word } from '../words';
import { Readings, stopReading } from './readings';

interface Place {
  folder: number;
  path: string;
}
const noOptions = { delimiter: '', decimal: '', encoding: '' };

/** Uploads a file and opens it. */
export async function openUploaded(file: File, options: object = {}): Promise<FileInfo> {
  const { upload: id } = await upload(file);
  return post<FileInfo>('files', { upload: id, options });
}

export function OpenWindow(props: { opened: (file: FileInfo) => void; cancel: () => void }) {
  const { state } = usePage();
  const folders = state?.folders ?? [];
  const [place, setPlace] = useState<Place>({ folder: folders[0]?.folder ?? 0, path: '' });
  const [entries, setEntries] = useState<Entry[]>([]);
  const [chosen, setChosen] = useState(0);
  const [options, setOptions] = useState(noOptions);
  const [reason, setReason] = useState('');
  const [busy, setBusy] = useState(false);
  const picker = useRef<HTMLInputElement>(null);
  const folderId = useId();

  useEffect(() => {
    let current = true;
    get<{ entries: Entry[] }>(
      `list?folder=${place.folder}&path=${encodeURIComponent(place.path)}`,
    ).then(
      list => {
        if (!current) return;
        const up: Entry = { name: '..', directory: true, size: 0, modified: 0 };
        setEntries(place.path ? [up, ...list.entries] : list.entries);
        setChosen(0);
      },
      (error: unknown) =>
        current && setReason(String(error instanceof Error ? error.message : error)),
    );
    return () => void (current = false);
  }, [place.folder, place.path]);

  const join = (name: string) => (place.path ? `${place.path}/${name}` : name);
  const attempt = async (open: () => Promise<FileInfo>) => {
    setBusy(true);
    setReason('');
    try {
      props.opened(await open());
    } catch (error) {
      // one that the person stopped needs no reason
      const stopped = error instanceof Refusal && error.status === 409;
      setReason(stopped ? '' : error instanceof Error ? error.message : String(error));
      setBusy(false);
    }
  };
  const activate = (row: number) => {
    const entry = entries[row];
    if (!entry || busy) return;
    if (entry.name === '..')
      setPlace({ ...place, path: place.path.split('/').slice(0, -1).join('/') });
    else if (entry.directory) setPlace({ ...place, path: join(entry.name) });
    else
      void attempt(() =>
        post<FileInfo>('files', { folder: place.folder, path: join(entry.name), options }),
      );
  };
  /** While a file is read: stops that, and the window stays for another choice. */
  const cancel = () => {
    const reading = state?.readings.at(-1);
    if (busy && reading) stopReading(reading);
    else props.cancel();
  };
  const option = (name: keyof typeof noOptions, label: string, values: [string, string][]) => (
    <label>
      {label}
      <select onChange={event => setOptions({ ...options, [name]: event.currentTarget.value })}>
        <option value="">{word('automatic')}</option>
        {values.map(([value, text]) => (
          <option key={value} value={value}>
            {text}
          </option>
        ))}
      </select>
    </label>
  );

  return (
    <Modal
      title={word('openData')}
      class="open-window"
      onEnter={() => activate(chosen)}
      onEscape={cancel}
      buttons={
        <>
          <button type="button" disabled={busy} onClick={() => picker.current?.click()}>
            {word('upload')}
          </button>
          <input
            ref={picker}
            type="file"
            class="off-screen"
            tabIndex={-1}
            aria-label={word('upload')}
            onChange={event => {
              const file = event.currentTarget.files?.[0];
              if (file) void attempt(() => openUploaded(file, options));
            }}
          />
          <span class="spring" />
          <button
            type="button"
            class="default"
            disabled={busy || entries.length === 0}
            onClick={() => activate(chosen)}
          >
            {word('ok')}
          </button>
          <button type="button" onClick={cancel}>
            {word('cancel')}
          </button>
        </>
      }
    >
      <div class="form-grid">
        <label for={folderId}>{word('folder')}</label>
        <select
          id={folderId}
          onChange={event => setPlace({ folder: Number(event.currentTarget.value), path: '' })}
        >
          {folders.map(f => (
            <option key={f.folder} value={f.folder} selected={f.folder === place.folder}>
              {f.path}
              {f.folder === place.folder && place.path ? `/${place.path}` : ''}
            </option>
          ))}
        </select>
      </div>
      <ListBox
        id="open-list"
        label={word('openData')}
        count={entries.length}
        rows={12}
        takesFocus
        text={row => entries[row]?.name ?? ''}
        render={row => {
          const entry = entries[row];
          return (
            entry && (
              <span class="file-row">
                <span class={`icon ${entry.directory ? 'folder' : 'file'}`} aria-hidden="true" />
                <span class="one-line" title={entry.name}>
                  {entry.name === '..' ? word('parent') : entry.name}
                </span>
                <span class="dim">{entry.directory ? '' : fileSize(entry.size)}</span>
              </span>
            )
          );
        }}
        selected={new Set([chosen])}
        onSelect={rows => setChosen([...rows][0] ?? 0)}
        onActivate={activate}
      />
      <fieldset class="inline-options">
        <legend>{word('optionsOfText')}</legend>
        {option('delimiter', word('delimiter'), [
          [',', ','],
          [';', ';'],
          ['\t', 'Tab'],
          ['|', '|'],
        ])}
        {option('decimal', word('decimal'), [
          ['.', '.'],
          [',', ','],
        ])}
        {option('encoding', word('encoding'), [
          ['utf-8', 'UTF-8'],
          ['windows-1252', 'Windows-1252'],
          ['latin-1', 'Latin-1'],
        ])}
      </fieldset>
      {busy && <Readings />}
      <p class="warning" role="alert">
        {reason}
      </p>
    </Modal>
  );
}
