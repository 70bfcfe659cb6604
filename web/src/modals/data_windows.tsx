// The cases of a file that count: selection condition and weights, with how many cases pass.
import type { ComponentChildren } from 'preact';
import { useEffect, useId, useRef, useState } from 'preact/hooks';
import { post, Refusal } from '../api';
import { useVariables } from '../data/variables';
import { VariableIcon } from '../data/variable_icon';
import { findFile } from '../store';
import { Modal } from '../widgets/modal';
import { shortNumber } from '../numbers';
import { counted, word } from '../words';

interface Count {
  cases: number;
  selected: number;
  weightSum: number;
}
const pause = 250; // milliseconds of quiet before a condition is tried

/** What a change would give, tried as it is typed. */
function useCount(file: number, settings: object): { count: Count | null; wrong: string } {
  const [state, setState] = useState<{ count: Count | null; wrong: string }>({
    count: null,
    wrong: '',
  });
  const asked = JSON.stringify(settings);
  useEffect(() => {
    let current = true;
    const timer = setTimeout(() => {
      post<Count>(`files/${file}/check`, JSON.parse(asked)).then(
        count => current && setState({ count, wrong: '' }),
        (error: unknown) =>
          current &&
          setState({
            count: null,
            wrong: error instanceof Refusal ? error.message : String(error),
          }),
      );
    }, pause);
    return () => {
      current = false;
      clearTimeout(timer);
    };
  }, [file, asked]);
  return state;
}

function Window(props: {
  title: string;
  wrong: string;
  accept: () => Promise<string>;
  cancel: () => void;
  children: ComponentChildren;
}) {
  const [reason, setReason] = useState('');
  const accept = () => void props.accept().then(setReason);
  return (
    <Modal
      title={props.title}
      class="data-window"
      onEnter={accept}
      onEscape={props.cancel}
      buttons={
        <>
          <button type="button" class="default" disabled={props.wrong !== ''} onClick={accept}>
            {word('ok')}
          </button>
          <button type="button" onClick={props.cancel}>
            {word('cancel')}
          </button>
        </>
      }
    >
      {props.children}
      <p class="warning" role="alert">
        {props.wrong || reason}
      </p>
    </Modal>
  );
}

export function SelectionWindow(props: {
  file: number;
  select: string;
  accept: (select: string) => Promise<string>;
  cancel: () => void;
}) {
  const [select, setSelect] = useState(props.select);
  const { count, wrong } = useCount(props.file, { select });
  const variables = useVariables(props.file);
  const field = useRef<HTMLInputElement>(null);
  const id = useId();
  const example = variables.find(v => !v.categorical)?.name ?? 'age';
  const insert = (name: string) => {
    const input = field.current;
    if (!input) return;
    const quoted = /^[A-Za-z_]\w*$/.test(name) ? name : `"${name.replaceAll('"', '""')}"`;
    input.setRangeText(quoted, input.selectionStart ?? 0, input.selectionEnd ?? 0, 'end');
    setSelect(input.value);
    input.focus();
  };
  return (
    <Window
      title={word('selection')}
      wrong={wrong}
      accept={() => props.accept(select)}
      cancel={props.cancel}
    >
      <label for={id}>
        {word('selectionPrompt')}
        <code>{/^\w+$/.test(example) ? example : `"${example}"`} &gt; 0</code>
      </label>
      <input
        ref={field}
        id={id}
        type="text"
        class="wide code"
        data-focus
        autocomplete="off"
        spellcheck={false}
        value={select}
        aria-invalid={wrong ? true : undefined}
        onInput={event => setSelect(event.currentTarget.value)}
      />
      <div class="chips" role="group" aria-label={word('variables')}>
        {variables.slice(0, 60).map(v => (
          <button key={v.number} type="button" class="chip" onClick={() => insert(v.name)}>
            <VariableIcon variable={v} />
            {v.name}
          </button>
        ))}
      </div>
      <p class="count" role="status">
        {count && word('kept', counted(count.selected), counted(count.cases))}
      </p>
    </Window>
  );
}

/** One of the variables, or none (0). */
function VariableChoice(props: {
  label: string;
  none: string;
  variables: readonly { number: number; name: string }[];
  chosen: number;
  choose: (number: number) => void;
}) {
  const id = useId();
  return (
    <div class="form-grid">
      <label for={id}>{props.label}</label>
      <select
        id={id}
        data-focus
        onChange={event => props.choose(Number(event.currentTarget.value))}
      >
        <option value={0} selected={props.chosen === 0}>
          {props.none}
        </option>
        {props.variables.map(v => (
          <option key={v.number} value={v.number} selected={v.number === props.chosen}>
            {v.name}
          </option>
        ))}
      </select>
    </div>
  );
}

export function WeightWindow(props: {
  file: number;
  weight: number;
  accept: (weight: number) => Promise<string>;
  cancel: () => void;
}) {
  const [weight, setWeight] = useState(props.weight);
  const { count, wrong } = useCount(props.file, { weight });
  const variables = useVariables(props.file).filter(v => v.type === 'number');
  return (
    <Window
      title={word('weights')}
      wrong={wrong}
      accept={() => props.accept(weight)}
      cancel={props.cancel}
    >
      <VariableChoice
        label={word('weightPrompt')}
        none={word('noWeight')}
        variables={variables}
        chosen={weight}
        choose={setWeight}
      />
      <p class="count" role="status">
        {count &&
          `${word('kept', counted(count.selected), counted(findFile(props.file)?.cases ?? 0))} · ${word('weightSum', shortNumber(count.weightSum))}`}
      </p>
    </Window>
  );
}

/** What cases are called in tables and graphs. */
export function CaseNamesWindow(props: {
  file: number;
  caseNames: number;
  accept: (caseNames: number) => Promise<string>;
  cancel: () => void;
}) {
  const [chosen, choose] = useState(props.caseNames);
  return (
    <Window
      title={word('caseNamesTitle')}
      wrong=""
      accept={() => props.accept(chosen)}
      cancel={props.cancel}
    >
      <VariableChoice
        label={word('caseNamesPrompt')}
        none={word('noCaseNames')}
        variables={useVariables(props.file)}
        chosen={chosen}
        choose={choose}
      />
    </Window>
  );
}
