// What is known of one variable: names, type, labels, counts, and the shape of its values.
import { useId, useState } from 'preact/hooks';
import type { FileInfo, Variable, VariableDetail } from '../protocol';
import { ListBox } from '../widgets/list_box';
import { shortNumber } from '../numbers';
import { counted, type Word, word } from '../words';
import { useDetail } from './variables';
import { VariableIcon } from './variable_icon';

interface Props {
  file: FileInfo;
  variable: Variable;
  variables: Variable[];
  onSelect: (column: number) => void;
}

const mostCategories = 12;
const fact = (value: number | null | undefined) => shortNumber(value) || '–';

export function VariablePanel({ file, variable, variables, onSelect }: Props) {
  const detail = useDetail(file, variable.number);
  const [search, setSearch] = useState('');
  const id = useId();
  const wanted = search.trim().toLocaleLowerCase();
  const found = variables.filter(v => v.name.toLocaleLowerCase().includes(wanted));
  const at = found.findIndex(v => v.number === variable.number);
  const facts: [Word, string][] = [
    [
      'type',
      `${word(variable.type)}, ${word(variable.categorical ? 'categorical' : 'continuous')}`,
    ],
    ['missingCode', shortNumber(variable.missingCode)],
    ['valid', detail ? counted(detail.valid) : '…'],
    ['missingCount', detail ? counted(detail.missing) : '…'],
  ];
  if (!variable.categorical)
    facts.push(
      ['minimum', fact(detail?.minimum)],
      ['maximum', fact(detail?.maximum)],
      ['mean', fact(detail?.mean)],
      ['deviation', fact(detail?.deviation)],
    );
  return (
    <aside class="variable-panel" aria-label={word('details')}>
      <label for={id} class="off-screen">
        {word('search')}
      </label>
      <input
        id={id}
        type="search"
        placeholder={word('search')}
        value={search}
        onInput={event => setSearch(event.currentTarget.value)}
      />
      <ListBox
        id="variable-list"
        label={word('variables')}
        count={found.length}
        rows={7}
        text={row => found[row]?.name ?? ''}
        render={row =>
          found[row] && (
            <span class="variable-row">
              <VariableIcon variable={found[row]} />
              <span class="variable-name">{found[row].name}</span>
              <span class="dim">{found[row].longName}</span>
            </span>
          )
        }
        selected={new Set(at >= 0 ? [at] : [])}
        onSelect={rows => {
          const picked = found[[...rows][0] ?? -1];
          if (picked) onSelect(picked.number - 1);
        }}
      />
      <h2>
        <VariableIcon variable={variable} /> {variable.name}
      </h2>
      {variable.longName && <p class="long-name">{variable.longName}</p>}
      <dl class="facts">
        {facts.map(([key, value]) => (
          <div key={key}>
            <dt>{word(key)}</dt>
            <dd>{value}</dd>
          </div>
        ))}
      </dl>
      {detail && <Shape detail={detail} />}
    </aside>
  );
}

function Shape({ detail }: { detail: VariableDetail }) {
  if (detail.categories) {
    const most = Math.max(1, ...detail.categories.map(([, , count]) => count));
    const shown = detail.categories.slice(0, mostCategories);
    const rest = detail.categories.length - shown.length;
    return (
      <table class="categories">
        <tbody>
          {shown.map(([code, text, count]) => (
            <tr key={code}>
              <th scope="row" title={`${text} (${shortNumber(code)})`}>
                {text || shortNumber(code)}
              </th>
              <td class="bar-cell">
                <svg viewBox="0 0 100 10" preserveAspectRatio="none" aria-hidden="true">
                  <rect width={(100 * count) / most} height="10" />
                </svg>
              </td>
              <td class="numeric">{counted(count)}</td>
            </tr>
          ))}
          {rest > 0 && (
            <tr>
              <th scope="row">
                … {rest} {word('others')}
              </th>
            </tr>
          )}
        </tbody>
      </table>
    );
  }
  const { edges, counts } = detail.histogram ?? { edges: [], counts: [] };
  if (counts.length === 0) return null;
  const most = Math.max(1, ...counts);
  const wide = 200 / counts.length;
  return (
    <figure class="sketch">
      <svg viewBox="0 0 200 70" preserveAspectRatio="none" role="img" aria-label={detail.name}>
        {counts.map((count, i) => (
          <rect
            key={i}
            x={i * wide}
            y={70 - (68 * count) / most}
            width={Math.max(0.5, wide - 1)}
            height={(68 * count) / most}
          >
            <title>{`${shortNumber(edges[i])} – ${shortNumber(edges[i + 1])}: ${counted(count)}`}</title>
          </rect>
        ))}
      </svg>
      <figcaption>
        <span>{shortNumber(edges[0])}</span>
        <span>{shortNumber(edges[edges.length - 1])}</span>
      </figcaption>
    </figure>
  );
}
