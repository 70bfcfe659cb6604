// A dialog drawn from the module's table and its layout: tabs of one size, so that nothing moves
// when another is shown; groups, lines, access keys; Enter is OK, Escape is Cancel; a refused field
// gets the focus.
import { useEffect, useLayoutEffect, useRef, useState } from 'preact/hooks';
import type { ComponentChildren } from 'preact';
import type { CallResult, Control, Dialog } from '../protocol';
import { pageLanguage } from '../language';
import { attempt, call, clearNotice } from '../store';
import { isOwnEnter } from '../widgets/modal';
import { type Word, word } from '../words';
import { accessKeys } from './access_keys';
import { CellTable } from './cell_table';
import {
  Caption,
  Cell,
  Check,
  complaint,
  Drop,
  Field,
  type Hands,
  labelOf,
  ListsPick,
  Note,
  OpenList,
  Pick,
  Push,
} from './controls';
import { plainText, translate } from './label';
import { type Layout, layouts, type Part } from './layouts';
import { MenuButton } from '../widgets/menu_button';

interface Props {
  analysis: number;
  dialog: Dialog;
  busy: boolean;
  modal?: boolean;
  heading?: ComponentChildren;
  above?: ComponentChildren; // above the controls
}

// Buttons of the host that the table names without a label.
const hostButtons: [string, Word][] = [
  ['Open', 'open'],
  ['SelectionConditions', 'select'],
  ['CaseWeights', 'weight'],
];
const noLayout: Layout = { mainParts: [], tabs: {} };

export function layoutOf(dialog: Dialog): Layout {
  if (dialog.name) return layouts[dialog.name] ?? noLayout;
  return dialog.controls.some(control => control.name === 'Inactive')
    ? (layouts.SampleIdentifier as Layout)
    : noLayout;
}

/** The names of the controls that parts show. */
export function namesIn(parts: Part[]): string[] {
  return parts.flatMap(part => {
    if (typeof part === 'string') return [part];
    if ('line' in part) return namesIn(part.line);
    if ('columns' in part) return part.columns.flatMap(namesIn);
    if ('group' in part) return namesIn(part.parts);
    if ('under' in part) return [part.under, ...namesIn(part.parts)];
    if ('matrix' in part) return part.rows.flatMap(row => row.cells);
    if ('list' in part) return [part.list];
    if ('cells' in part) return [part.cells, part.edit, part.hint];
    if ('lists' in part) return [part.lists];
    return 'buttons' in part ? part.buttons : [];
  });
}

/** The parts of a tab (or, for '', those without one), with what the layout forgot at the end. */
export function partsOf(dialog: Dialog, layout: Layout, tab: string): Part[] {
  const parts = tab === '' ? layout.mainParts : (layout.tabs[tab] ?? []);
  const placed = new Set([
    ...namesIn(layout.mainParts),
    ...Object.values(layout.tabs).flatMap(namesIn),
    ...(layout.hidden ?? []),
    ...(layout.menu ? [layout.menu.button, ...layout.menu.entries] : []),
  ]);
  const forgotten = dialog.controls
    .filter(control => control.tab === tab && !placed.has(control.name))
    .map(control => control.name);
  return [...parts, ...forgotten];
}

/** The tab that shows a control; undefined: none does, or it stands outside the tabs. */
function tabOf(dialog: Dialog, layout: Layout, name: string): string | undefined {
  return dialog.tabs.find(tab => namesIn(partsOf(dialog, layout, tab)).includes(name));
}

export function DialogView({ analysis, dialog, busy, modal = false, heading, above }: Props) {
  const layout = layoutOf(dialog);
  const root = useRef<HTMLDivElement>(null);
  // In the order of the layout; a tab that it does not know comes last.
  const known = Object.keys(layout.tabs);
  const tabs = [
    ...known.filter(tab => dialog.tabs.includes(tab)),
    ...dialog.tabs.filter(tab => !known.includes(tab)),
  ].filter(tab =>
    namesIn(partsOf(dialog, layout, tab)).some(
      name => dialog.controls.find(control => control.name === name)?.visible,
    ),
  );
  const [tab, putTab] = useState(tabs[0] ?? '');
  const setTab = (name: string) => {
    putTab(name);
    if (name !== tab) void call(analysis, dialog.dialog, { do: 'tab', name });
  };
  const current = tabs.includes(tab) ? tab : (tabs[0] ?? '');
  const [focus, setFocus] = useState<{ name: string } | null>(null);

  const focusOn = (name: string) => {
    const home = tabOf(dialog, layout, name);
    if (home !== undefined) setTab(home);
    setFocus({ name });
  };
  useEffect(() => {
    const first = layout.focus ?? dialog.controls.find(control => control.enabled)?.name ?? '';
    setTab(tabs[0] ?? '');
    focusOn(first);
  }, [dialog.dialog]);
  useLayoutEffect(() => {
    if (!focus) return undefined;
    // A window above keeps the focus until it has closed.
    const highest = [...document.querySelectorAll('dialog[open]')].at(-1);
    if (highest && !highest.contains(root.current)) {
      const frame = requestAnimationFrame(() => setFocus({ ...focus }));
      return () => cancelAnimationFrame(frame);
    }
    const holder = root.current?.querySelector<HTMLElement>(`[data-name="${focus.name}"]`);
    const element =
      holder?.querySelector<HTMLElement>('[aria-invalid]') ??
      holder?.querySelector<HTMLElement>('[role=listbox], input') ??
      holder;
    element?.focus();
    if (element instanceof HTMLInputElement && element.type === 'text') element.select();
    setFocus(null);
    return undefined;
  }, [focus, current]);

  const after = (result: CallResult) => {
    if (result.ok) return;
    const isEmpty = (name: string) => !dialog.controls.find(c => c.name === name)?.value;
    const refused =
      result.control ||
      firstWrong(dialog, layout, tabs) ||
      (layout.refused?.find(isEmpty) ?? layout.refused?.at(-1));
    if (!refused) return;
    focusOn(refused);
    // The field itself says what it takes.
    const field = dialog.controls.find(c => c.name === refused);
    if (field && complaint(field)) clearNotice();
  };
  const hands: Hands = {
    dialog: dialog.dialog,
    type: (name, text) => call(analysis, dialog.dialog, { do: 'type', name, text }),
    set: (name, value) => call(analysis, dialog.dialog, { do: 'set', name, value }),
    attempt: (name, text) => attempt(analysis, dialog.dialog, { do: 'set', name, value: text }),
    press: name => void call(analysis, dialog.dialog, { do: 'press', name }).then(after),
    ok: () => void call(analysis, dialog.dialog, { do: 'ok' }).then(after),
  };
  const cancel = () => void call(analysis, dialog.dialog, { do: 'cancel' });
  const hasOK = dialog.level !== 'results';

  /** Access keys: what the open tab shows goes first. */
  const reachByKey = (event: KeyboardEvent): boolean => {
    const dialogRoot = root.current;
    if (!dialogRoot || !event.altKey || event.defaultPrevented) return false;
    const inTab = dialogRoot.querySelector<HTMLElement>('.tab-panel:not([hidden])');
    return (inTab !== null && accessKeys(event, inTab)) || accessKeys(event, dialogRoot);
  };
  // They work wherever the focus is, as long as no window stands above.
  useEffect(() => {
    if (modal) return undefined;
    const listen = (event: KeyboardEvent) => {
      if (!document.querySelector('dialog[open]')) reachByKey(event);
    };
    document.addEventListener('keydown', listen);
    return () => document.removeEventListener('keydown', listen);
  }, [modal]);

  const onKeyDown = (event: KeyboardEvent) => {
    if (!root.current || event.defaultPrevented) return;
    if (modal && reachByKey(event)) return;
    if (event.ctrlKey && (event.key === 'PageDown' || event.key === 'PageUp')) {
      const by = event.key === 'PageDown' ? 1 : tabs.length - 1;
      const next = tabs[(tabs.indexOf(current) + by) % tabs.length] ?? current;
      setTab(next);
      // what had the focus is hidden now
      root.current.querySelector<HTMLElement>(`[role=tab][data-tab="${next}"]`)?.focus();
      event.preventDefault();
    } else if (event.key === 'Escape') {
      event.preventDefault();
      cancel();
    } else if (event.key === 'Enter' && hasOK && !event.isComposing && !isOwnEnter(event.target)) {
      event.preventDefault();
      hands.ok();
    }
  };

  const main = partsOf(dialog, layout, '');
  const draw = (parts: Part[], where: string) => (
    <Parts parts={parts} dialog={dialog} hands={hands} where={where} />
  );
  const mainParts = main.length > 0 && <div class="main-parts">{draw(main, 'main')}</div>;
  const menu = layout.menu && (
    <MenuButton
      button={dialog.controls.find(control => control.name === layout.menu?.button)}
      entries={dialog.controls.filter(control => layout.menu?.entries.includes(control.name))}
      hands={hands}
    />
  );
  return (
    <div
      ref={root}
      tabIndex={-1} // a click on an empty place leaves the keys with the dialog
      class={`dialog ${modal ? '' : dialog.level}`}
      role={modal ? undefined : 'form'}
      aria-label={modal ? undefined : titleOf(dialog)}
      aria-busy={busy}
      data-dialog={dialog.name}
      onKeyDown={onKeyDown}
    >
      {!modal && (
        <header>
          <h1>{titleOf(dialog)}</h1>
          {heading}
        </header>
      )}
      {above}
      {layout.main === 'above' && mainParts}
      {tabs.length > 0 && (
        <>
          <Tabs tabs={tabs} current={current} onSelect={setTab} />
          <div class="tab-panels">
            {tabs.map((name, i) => (
              <div
                key={name}
                id={`panel-${i}`}
                class="tab-panel"
                role="tabpanel"
                aria-labelledby={`tab-${i}`}
                hidden={name !== current}
              >
                {draw(partsOf(dialog, layout, name), name)}
              </div>
            ))}
          </div>
        </>
      )}
      {layout.main !== 'above' && mainParts}
      <footer>
        {menu}
        {hostButtons.map(([name, text]) => {
          const control = dialog.controls.find(c => c.name === name);
          return (
            control && (
              <button key={name} type="button" data-name={name} onClick={() => hands.press(name)}>
                {word(text)}
              </button>
            )
          );
        })}
        <span class="spring" />
        {hasOK && (
          <button type="button" class="default" data-name="OK" onClick={hands.ok}>
            {word('ok')}
          </button>
        )}
        <button type="button" data-name="Cancel" onClick={cancel}>
          {hasOK ? word('cancel') : word('back')}
        </button>
      </footer>
    </div>
  );
}

export function titleOf(dialog: Dialog): string {
  return translate(dialog.title, pageLanguage()).trim();
}

/** The first field, in the order of the tabs, whose text would be refused. */
function firstWrong(dialog: Dialog, layout: Layout, tabs: string[]): string {
  for (const tab of [...tabs, ''])
    for (const name of namesIn(partsOf(dialog, layout, tab))) {
      const control = dialog.controls.find(c => c.name === name);
      if (control?.enabled && control.visible && complaint(control)) return name;
    }
  return '';
}

function Tabs(props: { tabs: string[]; current: string; onSelect: (tab: string) => void }) {
  const { tabs, current } = props;
  const row = useRef<HTMLDivElement>(null);
  const go = (tab: string | undefined) => {
    if (tab === undefined) return;
    props.onSelect(tab);
    row.current?.querySelectorAll<HTMLElement>('[role=tab]')[tabs.indexOf(tab)]?.focus();
  };
  const onKeyDown = (event: KeyboardEvent) => {
    const at = tabs.indexOf(current);
    const to = {
      ArrowRight: tabs[(at + 1) % tabs.length],
      ArrowLeft: tabs[(at + tabs.length - 1) % tabs.length],
      Home: tabs[0],
      End: tabs[tabs.length - 1],
    }[event.key];
    if (to === undefined) return;
    event.preventDefault();
    go(to);
  };
  return (
    <div ref={row} class="tabs" role="tablist" onKeyDown={onKeyDown}>
      {tabs.map((tab, i) => (
        <button
          key={tab}
          id={`tab-${i}`}
          type="button"
          role="tab"
          data-tab={tab}
          aria-selected={tab === current}
          aria-controls={`panel-${i}`}
          tabIndex={tab === current ? 0 : -1}
          onClick={() => go(tab)}
        >
          {translate(tab, pageLanguage())}
        </button>
      ))}
    </div>
  );
}

interface PartsProps {
  parts: Part[];
  dialog: Dialog;
  hands: Hands;
  where: string;
}

function Parts({ parts, dialog, hands, where }: PartsProps) {
  return (
    <>
      {parts.map((part, i) => (
        <OnePart
          key={typeof part === 'string' ? part : i}
          part={part}
          dialog={dialog}
          hands={hands}
          where={where}
        />
      ))}
    </>
  );
}

function OnePart({ part, dialog, hands, where }: Omit<PartsProps, 'parts'> & { part: Part }) {
  const find = (name: string): Control | undefined =>
    dialog.controls.find(control => control.name === name && control.visible);
  const inner = (parts: Part[]) => (
    <Parts parts={parts} dialog={dialog} hands={hands} where={where} />
  );
  // A frame around controls that are all hidden is hidden, too.
  if (typeof part !== 'string' && !('text' in part) && !namesIn([part]).some(find)) return null;

  if (typeof part === 'string') {
    const control = find(part);
    return control ? <OneControl control={control} hands={hands} /> : null;
  }
  if ('line' in part) return <div class="line">{inner(part.line)}</div>;
  if ('columns' in part)
    return (
      <div class="columns">
        {part.columns.map((parts, i) => (
          <div key={i}>{inner(parts)}</div>
        ))}
      </div>
    );
  if ('group' in part)
    return (
      <fieldset>
        {part.group && <legend>{plainText(translate(part.group, pageLanguage()))}</legend>}
        {inner(part.parts)}
      </fieldset>
    );
  if ('under' in part)
    return (
      <div class="under">
        {inner([part.under])}
        <div>{inner(part.parts)}</div>
      </div>
    );
  if ('text' in part) return <p class="caption">{translate(part.text, pageLanguage())}</p>;
  if ('buttons' in part)
    return (
      <div class="buttons">
        {part.buttons
          .map(find)
          .map(control => control && <Push key={control.name} control={control} hands={hands} />)}
      </div>
    );
  if ('lists' in part) {
    const control = find(part.lists);
    return control ? <ListsPick control={control} hands={hands} captions={part.captions} /> : null;
  }
  if ('list' in part) {
    const control = find(part.list);
    if (!control) return null;
    return control.kind === 'note' ? (
      <Note control={control} rows={part.rows ?? 6} data={part.data} />
    ) : (
      <OpenList control={control} hands={hands} rows={part.rows ?? 6} />
    );
  }
  if ('cells' in part) {
    const control = find(part.cells);
    return control ? (
      <CellTable
        table={control}
        edit={part.edit}
        hint={find(part.hint)}
        hands={hands}
        rows={part.rows}
      />
    ) : null;
  }
  return (
    <table class="matrix">
      <thead>
        <tr>
          <td />
          {part.matrix.map(heading => (
            <th key={heading} scope="col">
              {translate(heading, pageLanguage())}
            </th>
          ))}
        </tr>
      </thead>
      <tbody>
        {part.rows.map(row => (
          <tr key={row.label}>
            <th scope="row">
              <Caption label={labelOf(row.label)} />
            </th>
            {row.cells.map((name, i) => {
              const control = find(name);
              const heading = translate(part.matrix[i] ?? '', pageLanguage());
              return (
                <td key={name}>
                  {control && (
                    <Cell
                      control={control}
                      hands={hands}
                      name={`${plainText(translate(row.label, pageLanguage()))} ${heading}`}
                    />
                  )}
                </td>
              );
            })}
          </tr>
        ))}
      </tbody>
    </table>
  );
}

function OneControl({ control, hands }: { control: Control; hands: Hands }) {
  switch (control.kind) {
    case 'check':
    case 'radio':
      return <Check control={control} hands={hands} />;
    case 'note':
      return <Note control={control} />;
    case 'pick':
      return <Pick control={control} hands={hands} />;
    case 'button':
    case 'action':
      return <Push control={control} hands={hands} />;
    case 'choice':
      return <Drop control={control} hands={hands} />;
    default:
      return control.offered ? (
        <Drop control={control} hands={hands} />
      ) : (
        <Field control={control} hands={hands} />
      );
  }
}
