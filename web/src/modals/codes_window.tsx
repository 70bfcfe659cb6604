// The codes of up to eight categorical variables: one column of check marks for each.
import { useState } from 'preact/hooks';
import type { RequestOf } from '../protocol';
import { ListBox } from '../widgets/list_box';
import { Modal } from '../widgets/modal';
import { shortNumber } from '../numbers';
import { word } from '../words';
import type { Answer } from './requests';

export function CodesWindow(props: { request: RequestOf<'codes'>; answer: Answer }) {
  const { request, answer } = props;
  const [chosen, setChosen] = useState(() =>
    request.variables.map(
      v => new Set(v.offered.flatMap(([code], i) => (v.codes.includes(code) ? [i] : []))),
    ),
  );
  const [reason, setReason] = useState('');
  const choose = (at: number, rows: Set<number>) =>
    setChosen(old => old.map((set, i) => (i === at ? rows : set)));
  const accept = async () => {
    const codes = request.variables.map((v, i) => {
      const rows = [...(chosen[i] ?? [])].sort((a, b) => a - b);
      return rows.flatMap(row => v.offered[row]?.[0] ?? []);
    });
    setReason(await answer({ codes }));
  };
  return (
    <Modal
      title={request.title}
      class="codes"
      onEnter={() => void accept()}
      onEscape={() => void answer({ cancel: true })}
      buttons={
        <>
          <span class="warning" role="alert">
            {reason}
          </span>
          <button type="button" class="default" onClick={() => void accept()}>
            {word('ok')}
          </button>
          <button type="button" onClick={() => void answer({ cancel: true })}>
            {word('cancel')}
          </button>
        </>
      }
    >
      <div class="code-lists">
        {request.variables.map((variable, i) => {
          const rows = chosen[i] ?? new Set<number>();
          const all = new Set(variable.offered.map((_, row) => row));
          return (
            <div key={variable.number} class="code-list">
              <span id={`codes-${i}-caption`} class="list-caption">
                {variable.name}
              </span>
              <div class="code-box">
                <ListBox
                  id={`codes-${i}`}
                  labelledBy={`codes-${i}-caption`}
                  count={variable.offered.length}
                  rows={9}
                  takesFocus={i === 0}
                  text={row =>
                    variable.offered[row]?.[1] || shortNumber(variable.offered[row]?.[0])
                  }
                  render={row => {
                    const [code, text] = variable.offered[row] ?? [0, ''];
                    return (
                      <span class="code-row">
                        <span class="mark" aria-hidden="true">
                          {rows.has(row) ? '☑' : '☐'}
                        </span>
                        <span>{text || shortNumber(code)}</span>
                        {text !== '' && text !== String(code) && (
                          <span class="dim">{shortNumber(code)}</span>
                        )}
                      </span>
                    );
                  }}
                  selected={rows}
                  multiple
                  onSelect={picked => choose(i, picked)}
                />
              </div>
              <div class="small-buttons">
                <button type="button" onClick={() => choose(i, all)}>
                  {word('all')}
                </button>
                <button type="button" onClick={() => choose(i, new Set())}>
                  {word('none')}
                </button>
                <span class="dim">
                  {rows.size} / {variable.offered.length}
                </span>
              </div>
            </div>
          );
        })}
      </div>
    </Modal>
  );
}
