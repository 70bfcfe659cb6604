// The name of a file to write. One that exists is replaced only after a question.
import { useId, useState } from 'preact/hooks';
import type { RequestOf } from '../protocol';
import { usePage } from '../store';
import { Modal } from '../widgets/modal';
import { word } from '../words';
import type { Answer } from './answer';

interface Props {
  request: RequestOf<'fileName'>;
  answer: Answer;
  named: (path: string) => void; // hears the name that was accepted
}

export function FileNameWindow(props: Props) {
  const { request, answer } = props;
  const folders = usePage().state?.folders ?? [];
  const [path, setPath] = useState(request.suggested);
  const [folder, setFolder] = useState(folders[0]?.folder ?? 0);
  const [reason, setReason] = useState('');
  const exists = reason === 'exists';
  const name = useId();
  const place = useId();
  const accept = async () => {
    const refused = await answer({ folder, path, overwrite: exists });
    if (refused === '') props.named(path);
    setReason(refused);
  };
  return (
    <Modal
      title={word('saveAs')}
      class="file-name"
      onEnter={() => void accept()}
      onEscape={() => void answer({ cancel: true })}
      buttons={
        <>
          <button
            type="button"
            class={exists ? 'default danger' : 'default'}
            disabled={path.trim() === ''}
            onClick={() => void accept()}
          >
            {exists ? word('replaceIt') : word('ok')}
          </button>
          <button type="button" onClick={() => void answer({ cancel: true })}>
            {word('cancel')}
          </button>
        </>
      }
    >
      <div class="form-grid">
        <label for={name}>{word('fileName')}</label>
        <input
          id={name}
          type="text"
          data-focus
          value={path}
          onInput={event => {
            setPath(event.currentTarget.value);
            setReason('');
          }}
        />
        <label for={place}>{word('folder')}</label>
        <select
          id={place}
          onChange={event => {
            setFolder(Number(event.currentTarget.value));
            setReason(''); // what exists in one folder says nothing about another
          }}
        >
          {folders.map(f => (
            <option key={f.folder} value={f.folder} selected={f.folder === folder}>
              {f.path}
            </option>
          ))}
        </select>
      </div>
      <p class="hint">.qrv .csv .sav .xlsx .parquet</p>
      <p class="warning" role="alert">
        {exists ? word('replace') : reason}
      </p>
    </Modal>
  );
}
