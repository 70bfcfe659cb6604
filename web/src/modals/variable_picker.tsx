// The variables of an analysis: those of the file on the left, the lists to fill on the right. A
// variable moves by double click, by dragging, by the buttons or by keys.
import { useEffect, useId, useMemo, useRef, useState } from 'preact/hooks';
import type { RequestOf, Variable } from '../protocol';
import { useVariables } from '../data/variables';
import { VariableIcon } from '../data/variable_icon';
import { ListBox } from '../widgets/list_box';
import { Modal } from '../widgets/modal';
import { caption, word } from '../words';
import type { Answer } from './answer';
import { inTwoRoles, withAdded, withRemoved } from './variable_lists';

interface Props {
  request: RequestOf<'variables'>;
  file: number;
  answer: Answer;
}

const dragType = 'application/x-variables';

export function VariablePicker({ request, file, answer }: Props) {
  const all = useVariables(file);
  const { offered } = request;
  const variables = useMemo(
    () => (offered.length > 0 ? all.filter(v => offered.includes(v.number)) : all),
    [all, offered],
  );
  const [lists, setLists] = useState(request.lists);
  const [active, setActive] = useState(0);
  const [search, setSearch] = useState('');
  const [chosen, setChosen] = useState<Set<number>>(new Set());
  const searchId = useId();

  const found = useMemo(() => {
    const wanted = search.trim().toLocaleLowerCase();
    return variables.filter(
      v =>
        wanted === '' ||
        v.name.toLocaleLowerCase().includes(wanted) ||
        v.longName.toLocaleLowerCase().includes(wanted),
    );
  }, [variables, search]);
  useEffect(() => setChosen(new Set(found.length ? [0] : [])), [found]);

  const byNumber = useMemo(() => new Map(variables.map(v => [v.number, v])), [variables]);
  const roles = (number: number) =>
    lists.flatMap((list, i) => (list.includes(number) ? [i + 1] : []));
  const picked = () => [...chosen].sort((a, b) => a - b).flatMap(row => found[row]?.number ?? []);
  const add = (list: number, numbers = picked()) => {
    setActive(list);
    if (request.single) setLists([numbers.slice(0, 1)]);
    else setLists(old => withAdded(old, list, numbers));
  };
  const remove = (list: number, numbers: number[]) =>
    setLists(old => withRemoved(old, list, numbers));
  const twice = inTwoRoles(lists).map(number => byNumber.get(number)?.name ?? '');

  const accept = () => {
    // One variable: what is selected counts, so a choice is one click and Enter.
    const single = request.single ? [lists[0]?.length ? lists[0] : picked().slice(0, 1)] : lists;
    answer({ lists: single });
  };
  return (
    <Modal
      title={caption(request.title) || word('variables')}
      class="picker"
      onEnter={accept}
      onEscape={() => answer({ cancel: true })}
      buttons={
        <>
          <span class={`warning ${twice.length ? '' : 'none'}`} role="status">
            {twice.length > 0 && `⚠ ${word('twoRoles', twice.join(', '))}`}
          </span>
          <button type="button" class="default" onClick={accept}>
            {word('ok')}
          </button>
          <button type="button" onClick={() => answer({ cancel: true })}>
            {word('cancel')}
          </button>
        </>
      }
    >
      {request.prompt && <p>{caption(request.prompt)}</p>}
      <div
        class="picker-lists"
        onKeyDown={event => {
          const list = Number(event.key) - 1;
          if (!event.altKey || !(list >= 0 && list < lists.length)) return;
          event.preventDefault();
          add(list);
        }}
      >
        <div class="picker-source">
          <label for={searchId} class="list-caption">
            {word('available')}
          </label>
          <input
            id={searchId}
            type="search"
            placeholder={word('search')}
            value={search}
            onInput={event => setSearch(event.currentTarget.value)}
            onKeyDown={event => {
              if (event.key !== 'ArrowDown') return;
              event.preventDefault();
              document.getElementById('picker-source')?.focus();
            }}
          />
          <div class="source-list">
            <ListBox
              id="picker-source"
              label={word('available')}
              count={found.length}
              text={row => found[row]?.name ?? ''}
              render={row => (
                <VariableRow variable={found[row]} roles={roles(found[row]?.number ?? 0)} />
              )}
              selected={chosen}
              multiple={!request.single}
              takesFocus
              onSelect={setChosen}
              onActivate={row => add(active, [found[row]?.number ?? 0])}
              onKey={event => {
                if (event.key !== 'ArrowRight') return false;
                add(active);
                return true;
              }}
              onDragStart={event =>
                event.dataTransfer?.setData(dragType, JSON.stringify({ numbers: picked() }))
              }
            />
          </div>
        </div>
        <div class="picker-targets">
          {lists.map((numbers, i) => (
            <Target
              key={i}
              list={i}
              caption={caption(request.captions[i] ?? '')}
              numbers={numbers}
              byNumber={byNumber}
              active={i === active}
              twice={inTwoRoles(lists)}
              canAdd={chosen.size > 0}
              onActive={() => setActive(i)}
              onAdd={() => add(i)}
              onRemove={removed => remove(i, removed)}
              onDrop={(dropped, from) => {
                if (from !== undefined && from !== i) remove(from, dropped);
                add(i, dropped);
              }}
            />
          ))}
        </div>
      </div>
      {!request.single && <p class="hint">{word('pickerHint')}</p>}
    </Modal>
  );
}

function VariableRow({ variable, roles }: { variable: Variable | undefined; roles: number[] }) {
  if (!variable) return null;
  return (
    <span class="variable-row" title={variable.longName || undefined}>
      <VariableIcon variable={variable} />
      <span class="variable-name">{variable.name}</span>
      {variable.longName && <span class="dim">{variable.longName}</span>}
      {roles.length > 0 && <span class="roles">{roles.join(' ')}</span>}
    </span>
  );
}

interface TargetProps {
  list: number;
  caption: string;
  numbers: number[];
  byNumber: Map<number, Variable>;
  active: boolean;
  twice: number[];
  canAdd: boolean;
  onActive: () => void;
  onAdd: () => void;
  onRemove: (numbers: number[]) => void;
  onDrop: (numbers: number[], from: number | undefined) => void;
}

function Target(props: TargetProps) {
  const { list, caption, numbers } = props;
  const [chosen, setChosen] = useState<Set<number>>(new Set());
  const [over, setOver] = useState(false);
  const depth = useRef(0);
  const id = `target-${list}`;
  const picked = () => [...chosen].flatMap(row => numbers[row] ?? []);
  const removePicked = () => {
    props.onRemove(picked());
    setChosen(new Set());
  };
  return (
    <div
      class={`target ${props.active ? 'active' : ''} ${over ? 'over' : ''}`}
      onFocusIn={props.onActive}
      onDragEnter={() => {
        depth.current += 1;
        setOver(true);
      }}
      onDragLeave={() => {
        depth.current -= 1;
        if (depth.current === 0) setOver(false);
      }}
      onDragOver={event => event.preventDefault()}
      onDrop={event => {
        event.preventDefault();
        depth.current = 0;
        setOver(false);
        const text = event.dataTransfer?.getData(dragType);
        if (!text) return;
        const { numbers: dropped, from } = JSON.parse(text) as { numbers: number[]; from?: number };
        props.onDrop(dropped, from);
      }}
    >
      <div class="target-buttons">
        <button
          type="button"
          aria-label={`${word('add')}: ${caption}`}
          title={`${word('add')} (Alt+${list + 1})`}
          disabled={!props.canAdd}
          onClick={props.onAdd}
        >
          ▶
        </button>
        <button
          type="button"
          aria-label={`${word('remove')}: ${caption}`}
          title={word('remove')}
          disabled={picked().length === 0}
          onClick={removePicked}
        >
          ◀
        </button>
      </div>
      <div class="target-list">
        <span id={`${id}-caption`} class="list-caption">
          <b>{list + 1}</b> {caption}
        </span>
        <ListBox
          id={id}
          labelledBy={`${id}-caption`}
          count={numbers.length}
          text={row => props.byNumber.get(numbers[row] ?? 0)?.name ?? ''}
          render={row => {
            const variable = props.byNumber.get(numbers[row] ?? 0);
            return (
              <span class="variable-row">
                {variable && <VariableIcon variable={variable} />}
                <span class="variable-name">{variable?.name}</span>
                {props.twice.includes(numbers[row] ?? 0) && <span class="roles">⚠</span>}
              </span>
            );
          }}
          selected={chosen}
          multiple
          onSelect={setChosen}
          onActivate={row => props.onRemove([numbers[row] ?? 0])}
          onKey={event => {
            if (!['Delete', 'Backspace', 'ArrowLeft'].includes(event.key)) return false;
            removePicked();
            return true;
          }}
          onDragStart={event =>
            event.dataTransfer?.setData(dragType, JSON.stringify({ numbers: picked(), from: list }))
          }
        />
      </div>
    </div>
  );
}
