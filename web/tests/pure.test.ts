// The page's own arithmetic and texts, against values worked out by hand.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { readdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { english } from '../src/dialogs/english';
import { parseLabel, plainText } from '../src/dialogs/label';
import { layouts, type Part } from '../src/dialogs/layouts';
import { hostTexts, inFrench } from '../src/host_texts';
import { highlight, languageOf } from '../src/documents/highlight';
import { fitSurface } from '../src/documents/surface';
import { columnNumber, decimalsOf, fieldNumber, shortNumber, withPoint } from '../src/numbers';
import { inTwoRoles, withAdded, withRemoved } from '../src/modals/variable_lists';
import { asHtml, asText } from '../src/widgets/copy_table';

test('a label underlines the letter behind its sign, and shows a doubled sign', () => {
  const cases: [string, string, string][] = [
    ['Va&leur de V :', 'l', 'Valeur de V :'],
    ['Prévisions && résidus', '', 'Prévisions & résidus'],
    ['A && &B', 'B', 'A & B'],
    ['Traitement des V&M', 'M', 'Traitement des VM'],
    ['no key', '', 'no key'],
    ['ends with &', '', 'ends with &'],
  ];
  for (const [raw, key, text] of cases) {
    assert.equal(parseLabel(raw).key, key, raw);
    assert.equal(plainText(raw), text, raw);
  }
});

function namesOf(parts: Part[]): string[] {
  return parts.flatMap(part => {
    if (typeof part === 'string') return [part];
    const found: string[] = [];
    for (const [key, value] of Object.entries(part)) {
      if (['under', 'list', 'lists'].includes(key)) found.push(value as string);
      if (key === 'parts' || key === 'line') found.push(...namesOf(value as Part[]));
      if (key === 'columns') found.push(...(value as Part[][]).flatMap(namesOf));
      if (key === 'buttons') found.push(...(value as string[]));
      if (key === 'rows' && Array.isArray(value)) found.push(...value.flatMap(row => row.cells));
    }
    return found;
  });
}

test('every control of the table has one place in the layout of its dialog', () => {
  const program = process.env.QRVML ?? '../build/release/bin/qrvml';
  for (const [method, kind] of [
    ['knn', 'KNN'],
    ['nb', 'NB'],
    ['svm', 'SVM'],
  ] as const) {
    const run = spawnSync(program, [method, '--help-controls'], { encoding: 'utf8' });
    if (run.stderr.includes('not available in this version')) continue;
    const listed = run.stdout;
    const [specification = '', results = ''] = listed.split('Results dialog');
    for (const [text, name] of [
      [specification, `MachineLearning${kind}`],
      [results, `MachineLearningResults${kind}`],
    ] as const) {
      const rows = text
        .split('\n')
        .flatMap(line => /^ {2}([A-Z][\w.]+) {2,}/.exec(line)?.[1] ?? []);
      const controls = rows.filter(row => row !== 'Name');
      assert.ok(controls.length > 10, name);
      const layout = layouts[name];
      assert.ok(layout, name);
      const placed = [
        ...namesOf([...layout.mainParts, ...Object.values(layout.tabs).flat()]),
        ...(layout.hidden ?? []),
        ...(layout.menu ? [layout.menu.button, ...layout.menu.entries] : []),
      ];
      assert.deepEqual(
        controls.filter(control => !placed.includes(control)),
        [],
        `without a place in ${name}`,
      );
      assert.deepEqual(
        placed.filter((control, i) => placed.indexOf(control) !== i),
        [],
        `placed twice in ${name}`,
      );
    }
  }
});

test('a translation keeps an access key where the label has one', () => {
  const lost = Object.entries(english).filter(
    ([french, text]) => parseLabel(french).key !== '' && parseLabel(text).key === '',
  );
  assert.deepEqual(lost, []);
});

test('the texts of the program are put into French, part by part', () => {
  const french: [string, string][] = [
    [
      'the selection condition (a > b.c) is refused: there is no variable "b.c". Texts stand in ' +
        'single quotes, names of variables in none or in double quotes.',
      'la condition de sélection (a > b.c) est refusée : il n’y a pas de variable "b.c". Les textes ' +
        'sont entre apostrophes, les noms de variables sans rien ou entre guillemets doubles.',
    ],
    [
      'x.csv, line 3: the row has 2 fields instead of 4. Every row needs as many fields as the ' +
        'header has names; a field that holds the delimiter stands in double quotes.',
      'x.csv, ligne 3 : la ligne a 2 champs au lieu de 4. Chaque ligne a autant de champs que ' +
        'l’en-tête a de noms ; un champ qui contient le délimiteur est entre guillemets doubles.',
    ],
    [
      'warning: /d/$1.csv: a .csv file does not hold the labels of "y"',
      'attention : /d/$1.csv: un fichier .csv ne garde pas les libellés de "y"',
    ],
    [
      'note: the model predicts a.b, the first of 3 dependents, alone',
      'remarque : le modèle ne prévoit que a.b, la première des 3 variables dépendantes',
    ],
    ['Vérifiez vos variables', 'Vérifiez vos variables'],
  ];
  for (const [text, expected] of french) assert.equal(inFrench(text), expected);
});

test('every text that is put into French is one of the program', () => {
  const sources = ['../app', '../src']
    .flatMap(folder =>
      readdirSync(folder, { recursive: true, encoding: 'utf8' }).map(name => join(folder, name)),
    )
    .filter(name => /\.(cpp|h)$/.test(name))
    .map(name => readFileSync(name, 'utf8'))
    .join('\n')
    .replace(/"\s*\n\s*"/g, '')
    .replaceAll('\\"', '"');
  // the texts between names; those that the program puts together from shorter ones in turn
  const pieces = hostTexts.flatMap(([text]) =>
    text.split(/\{\d\}|, (?=line|column)|(?<=fields?)(?= )/),
  );
  const unknown = pieces.filter(
    piece => !sources.includes(piece.replace(/^["'. ]+|["'.: ]+$/g, '')),
  );
  assert.deepEqual(unknown, []);
});

test('numbers are short, and a column has the decimals that its numbers need', () => {
  const short: [number | null, string][] = [
    [0, '0'],
    [1 / 3, '0.333333'],
    [123456.789, '123457'],
    [-0.00012345678, '-0.00012346'],
    [1.5e-9, '1.5e-9'],
    [2e12, '2000000000000'],
    [null, ''],
    [NaN, ''],
  ];
  for (const [value, text] of short) assert.equal(shortNumber(value), text);
  const commas: [string, string][] = [
    ['-3,5', '-3.5'],
    [',5e-3', '.5e-3'],
    ['1,2,3', '1,2,3'],
    ['1,5 mm', '1,5 mm'],
  ];
  for (const [text, read] of commas) assert.equal(withPoint(text), read);
  const fields = { '10': '10.000', ' 0.1 ': '0.100', '0.0005': '0.0005', '1e-20': '1e-20' };
  const unread = { '': '', '0,5': '0,5', abc: 'abc' };
  for (const [typed, shown] of Object.entries({ ...fields, ...unread }))
    assert.equal(fieldNumber(typed, 3), shown);
  assert.equal(decimalsOf([5.1, 4, null, -9999]), 1);
  assert.equal(decimalsOf([1 / 3, 123.456]), 3); // six digits of the largest
  assert.equal(columnNumber(4, 1), '4.0');
  assert.equal(columnNumber(-9999, 3), '-9999');
  assert.equal(columnNumber(0.0004, 2), '0.0004'); // not 0.00
});

test('a copied table has its headings, as text and as HTML without markup from data', () => {
  const table = {
    headings: [
      ['Obs.', '<b>'],
      ['Nom', 'a\tb'],
    ],
    rows: [{ name: '1', cells: ['x & "y"'] }],
  };
  assert.equal(asText(table, true), 'Obs.\t<b>\nNom\ta b\n1\tx & "y"');
  assert.equal(asText(table, false), 'x & "y"');
  assert.equal(
    asHtml(table, true),
    '<table><tr><th>Obs.</th><th>&lt;b&gt;</th></tr><tr><th>Nom</th><th>a\tb</th></tr>' +
      '<tr><th>1</th><td>x &amp; &quot;y&quot;</td></tr></table>',
  );
});

test('a surface through points of a plane is that plane', () => {
  const places = Array.from({ length: 40 }, (_, i) => [(i * 7) % 11, (i * 5) % 13] as const);
  const plane = (x: number, y: number) => 3 + 2 * x - y;
  const surface = fitSurface(
    places.map(p => p[0]),
    places.map(p => p[1]),
    places.map(p => plane(...p)),
    5,
  );
  assert.ok(surface);
  const [low, high] = [3 - 12, 3 + 20];
  for (const [j, y] of surface.y.entries())
    for (const [i, x] of surface.x.entries()) {
      const height = Math.max(low, Math.min(high, plane(x, y)));
      const range = places.map(p => plane(...p));
      const kept = Math.max(Math.min(...range), Math.min(Math.max(...range), height));
      assert.ok(Math.abs((surface.z[j]?.[i] ?? NaN) - kept) < 1e-6, `${x} ${y}`);
    }
  assert.equal(fitSurface([1, null], [null, 2], [3, 4]), null);
});

test('coloured code is the code', () => {
  const lines: [string, string, string[]][] = [
    [
      'c',
      'double a[2] = {1.5, -2e-3}; // "no" text',
      ['double', '2', '1.5', '2e-3', '// "no" text'],
    ],
    ['qvb', `Dim s As String: s = "it's" 'note`, ['Dim', 'As', 'String', `"it's"`, `'note`]],
    ['xml', '<DataField name="a&lt;b" optype="x"/>', ['<DataField', '"a&lt;b"', '"x"', '/>']],
  ];
  for (const [language, line, coloured] of lines) {
    const pieces = highlight(line, language as 'c' | 'qvb' | 'xml');
    assert.equal(pieces.map(([, text]) => text).join(''), line);
    assert.deepEqual(
      pieces.filter(([kind]) => kind !== '').map(([, text]) => text),
      coloured,
    );
  }
  assert.equal(languageOf('<?xml version="1.0"?>'), 'xml');
  assert.equal(languageOf('Variables:'), null);
});

test('variables stand once in a list, and in two lists are noticed', () => {
  const lists = [[1, 2], [3], []];
  assert.deepEqual(withAdded(lists, 1, [2, 3, 4]), [[1, 2], [3, 2, 4], []]);
  assert.deepEqual(withRemoved(lists, 0, [2, 9]), [[1], [3], []]);
  assert.deepEqual(inTwoRoles(withAdded(lists, 1, [2])), [2]);
  assert.deepEqual(inTwoRoles(lists), []);
});

test('a call waits until the one before it is done, which may be long after its reply', async () => {
  const made: string[] = [];
  const heard = new Map<string, (event: { data: string }) => void>();
  const reply = (url: string, body?: string) => {
    if (url.endsWith('/state')) return { event: 0, files: [], analyses: [], readings: [] };
    made.push((JSON.parse(body ?? '') as { calls: { name: string }[] }).calls[0]!.name);
    return { analysis: 1, call: made.length, done: made.length > 1, ok: true };
  };
  Object.assign(globalThis, {
    localStorage: { getItem: () => null },
    location: { hash: '' },
    fetch: async (url: string, init?: { body?: string }) =>
      new Response(JSON.stringify(reply(url, init?.body))),
    EventSource: class {
      addEventListener(type: string, listener: (event: { data: string }) => void) {
        heard.set(type, listener);
      }
      close() {}
    },
  });
  const { attempt, connect } = await import('../src/store');
  await connect();
  const first = attempt(1, 5, { do: 'press', name: 'Summary' });
  const second = attempt(1, 5, { do: 'press', name: 'Model' });
  await new Promise(resolve => setTimeout(resolve, 20));
  assert.deepEqual(made, ['Summary']);
  heard.get('done')?.({ data: JSON.stringify({ analysis: 1, call: 1, done: true, ok: false }) });
  assert.equal((await first).ok, false);
  assert.equal((await second).ok, true);
  assert.deepEqual(made, ['Summary', 'Model']);

  // What a lost connection kept from this tab holds nothing up.
  made.length = 0;
  const third = attempt(1, 5, { do: 'press', name: 'Summary' });
  await new Promise(resolve => setTimeout(resolve, 20));
  await connect();
  assert.equal((await third).ok, false);
});
