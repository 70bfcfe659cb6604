// Writes the option tables of the user guide from the program's control tables, between the marks
// <!-- options METHOD DIALOG --> and <!-- end --> of docs/guide; with --pictures its pictures, too:
//   node web/guide.mjs [PROGRAM] [--pictures]
import { buildSync } from 'esbuild';
import { execFileSync } from 'node:child_process';
import { mkdtempSync, readdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';

const here = new URL('.', import.meta.url);
const [named] = process.argv.slice(2).filter(argument => !argument.startsWith('--'));
const program = named ?? new URL('../build/release/bin/qrvml', here).pathname;

async function load(path) {
  const { outputFiles } = buildSync({
    absWorkingDir: here.pathname,
    entryPoints: [path],
    bundle: true,
    write: false,
    format: 'esm',
    platform: 'node',
  });
  const [file] = outputFiles;
  return import(`data:text/javascript;base64,${Buffer.from(file.contents).toString('base64')}`);
}
const { english } = await load('src/dialogs/english.ts');

// Labels as the help shows them: without access keys and without the colon.
const shown = label =>
  label
    .replaceAll('&&', '\0')
    .replaceAll('&', '')
    .replaceAll('\0', '&')
    .replace(/ ?: *$/, '');
const translations = new Map(Object.entries(english).map(([fr, en]) => [shown(fr), shown(en)]));
const translated = (text, language) =>
  language === 'en' ? (translations.get(text) ?? text) : text;

const columns = {
  en: ['Tab', 'Label', 'Range', 'Name in macros and on the command line'],
  fr: ['Onglet', 'Libellé', 'Étendue', 'Nom dans les macros et la ligne de commande'],
};
const rangeWords = {
  en: text => text,
  fr: text =>
    text
      .replace(' to ', ' à ')
      .replace('the number of prototypes less one', 'nombre de prototypes moins un')
      .replace('the number of prototypes', 'nombre de prototypes')
      .replace('minimum plus maximum', 'minimum plus maximum'),
};

/** The rows of one dialog: name, kind, range, tab, label. */
function controls(method, dialog) {
  const help = execFileSync(program, [method, '--help-controls'], { encoding: 'utf8' });
  const [specification, results] = help.split(/^Results dialog$/m);
  const lines = (dialog === 'results' ? results : specification).split('\n');
  const at = lines.findIndex(line => /^ {2}Name /.test(line));
  const places = ['Name', 'Kind', 'Range', 'Label'].map(word => lines[at].indexOf(word));
  return lines
    .slice(at + 1)
    .filter(line => line.trim() !== '')
    .map(line => {
      const signs = [...line];
      const [name, kind, range, rest] = places.map((from, i) =>
        signs
          .slice(from, places[i + 1])
          .join('')
          .trim(),
      );
      const labelled = rest.replace(/ ?\(outside the automation interface\)$/, '');
      const [, tab = '', label = ''] = /^(?:([^:]*): ?)?(.*)$/.exec(labelled);
      return { name, kind, range, tab, label };
    })
    .filter(row => row.label !== '' && row.kind !== 'shown text');
}

function table(method, dialog, language) {
  const rows = controls(method, dialog).map(({ name, range, tab, label }) => [
    translated(tab, language),
    translated(label, language),
    rangeWords[language](range),
    `\`${name}\``,
  ]);
  const line = cells => `| ${cells.join(' | ')} |`;
  return [
    line(columns[language]),
    line(columns[language].map(() => '---')),
    ...rows.map(line),
  ].join('\n');
}

for (const language of ['en', 'fr']) {
  const folder = new URL(`../docs/guide/${language}/`, here);
  for (const name of readdirSync(folder)) {
    const path = new URL(name, folder);
    const before = readFileSync(path, 'utf8');
    const after = before.replace(
      /(<!-- options (\w+) (\w+) -->\n)[\s\S]*?(<!-- end -->)/g,
      (_, open, method, dialog, close) => `${open}\n${table(method, dialog, language)}\n\n${close}`,
    );
    if (after !== before) writeFileSync(path, after);
  }
}

if (process.argv.includes('--pictures')) {
  // Beside the packages, so that those that stay outside the bundle are found.
  const out = mkdtempSync(new URL('node_modules/.guide-', here).pathname);
  try {
    const script = `${out}/pictures.mjs`;
    buildSync({
      absWorkingDir: here.pathname,
      entryPoints: ['tests/guide_pictures.ts'],
      outfile: script,
      bundle: true,
      platform: 'node',
      format: 'esm',
      packages: 'external',
    });
    const env = { ...process.env, QRVML: program };
    execFileSync(process.execPath, [script], { cwd: here.pathname, env, stdio: 'inherit' });
  } finally {
    rmSync(out, { recursive: true, force: true });
  }
}
