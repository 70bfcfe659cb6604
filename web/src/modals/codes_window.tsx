// The codes of up to eight categorical variables: one column of check marks for each.
import { useEffect, useState } from 'preact/hooks';
import { get } from '../api';
import type { Coded, RequestOf, VariableDetail } from '../protocol';
import { say } from '../store';
import { ListBox } from '../widgets/list_box';
import { Modal } from '../widgets/modal';
import { shortNumber } from '../numbers';
import { caption, word } from '../words';
import type { Answer } from './answer';

interface Props {
  request: RequestOf<'codes'>;
  file: number;
  answer: Answer;
}

/** What each variable offers: its labels, else the values that its cases have. */
export function CodesWindow({ request, file, answer }: Props) {
  const [offered, setOffered] = useState<Coded[][] | null>(null);
  useEffect(() => {
    const of = async (variable: Props['request']['variables'][number]): Promise<Coded[]> => {
      if (variable.offered.length > 0) return variable.offered;
      const found = await get<VariableDetail>(`files/${file}/variables/${variable.number}`);
      const cases = (found.categories ?? []).map(([code, text]): Coded => [code, text]);
      const known = new Set(cases.map(([code]) => code));
      const more = variable.codes.filter(code => !known.has(code));
      return [...cases, ...more.map((code): Coded => [code, ''])];
    };
    Promise.all(request.variables.map(of)).then(setOffered, say);
  }, []);
  return offered && <CodeLists request={request} answer={answer} offered={offered} />;
}

function CodeLists(props: { request: Props['request']; answer: Answer; offered: Coded[][] }) {
  const { request, answer, offered } = props;
  // Without a choice every code counts, and so all are marked.
  const [chosen, setChosen] = useState(() =>
    request.variables.map(
      ({ codes }, i) =>
        new Set(
          (offered[i] ?? []).flatMap(([code], row) =>
            codes.length === 0 || codes.includes(code) ? [row] : [],
          ),
        ),
    ),
  );
  const [reason, setReason] = useState('');
  const choose = (at: number, rows: Set<number>) =>
    setChosen(old => old.map((set, i) => (i === at ? rows : set)));
  const accept = async () => {
    const empty = chosen.findIndex((rows, i) => rows.size === 0 && offered[i]?.length !== 0);
    if (empty >= 0) {
      setReason(`${request.variables[empty]?.name}: ${word('noCode')}`);
      document.getElementById(`codes-${empty}`)?.focus();
      return;
    }
    const codes = request.variables.map((variable, i) => {
      const all = offered[i] ?? [];
      const rows = [...(chosen[i] ?? [])].sort((a, b) => a - b);
      // one that was open and still has all of its codes stays open
      if (variable.codes.length === 0 && rows.length === all.length) return null;
      return rows.flatMap(row => all[row]?.[0] ?? []);
    });
    setReason(await answer({ codes }));
  };
  return (
    <Modal
      title={caption(request.title)}
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
          const codes = offered[i] ?? [];
          const all = new Set(codes.map((_, row) => row));
          return (
            <div key={variable.number} class="code-list">
              <span id={`codes-${i}-caption`} class="list-caption">
                {variable.name}
              </span>
              <div class="code-box">
                <ListBox
                  id={`codes-${i}`}
                  labelledBy={`codes-${i}-caption`}
                  count={codes.length}
                  rows={9}
                  takesFocus={i === 0}
                  text={row => codes[row]?.[1] || shortNumber(codes[row]?.[0])}
                  render={row => {
                    const [code, text] = codes[row] ?? [0, ''];
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
                  toggles
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
                  {rows.size} / {codes.length}
                </span>
              </div>
            </div>
          );
        })}
      </div>
    </Modal>
  );
}
