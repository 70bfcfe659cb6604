// The page's own texts; those of the module come from its table.
import { plainText, translate } from './dialogs/label';
import { inFrench } from './host_texts';
import { pageLanguage } from './language';

const words = {
  open: ['Ouvrir…', 'Open…'],
  numbered: ['n° {0}', 'no. {0}'],
  openData: ['Ouvrir un fichier de données', 'Open a data file'],
  data: ['Données', 'Data'],
  analyses: ['Analyses', 'Analyses'],
  newAnalysis: ['Nouvelle analyse', 'New analysis'],
  close: ['Fermer', 'Close'],
  closeAnalysis: ['Fermer {0}', 'Close {0}'],
  closeQuestion: [
    'Les documents de cette analyse ({0}) et sa macro seront perdus. La fermer ?',
    'The documents of this analysis ({0}) and its macro will be lost. Close it?',
  ],
  cancel: ['Annuler', 'Cancel'],
  ok: ['OK', 'OK'],
  back: ['Retour', 'Back'],
  macro: ['Macro', 'Macro'],
  record: ['Enregistrer la macro', 'Record the macro'],
  rerun: ['Exécuter sur un autre fichier…', 'Run on another file…'],
  rerunTitle: ['Exécuter la macro sur un fichier', 'Run the macro on a file'],
  readingFile: ['Lecture de {0}', 'Reading {0}'],
  document: ['Document', 'Document'],
  language: ['Langue', 'Language'],
  select: ['Sélection…', 'Selection…'],
  selection: ['Conditions de sélection', 'Selection conditions'],
  selectionPrompt: ['Observations à retenir, p. ex. ', 'Cases to keep, e.g. '],
  turnHint: [
    'Tourner : glisser, ou flèches ; + et - : approcher, éloigner',
    'Turn: drag, or arrow keys; + and -: nearer, farther',
  ],
  weight: ['Poids…', 'Weights…'],
  weights: ['Pondération des observations', 'Case weights'],
  weightedBy: ['Pondération :', 'Weights:'],
  noWeight: ['(aucune)', '(none)'],
  weightPrompt: ['Variable de pondération', 'Weight variable'],
  caseNames: ['Noms…', 'Names…'],
  caseNamesTitle: ['Noms des observations', 'Case names'],
  noCaseNames: ['(leur numéro)', '(their number)'],
  caseNamesPrompt: ['Variable des noms', 'Variable with the names'],
  caseOne: ['observation', 'case'],
  cases: ['observations', 'cases'],
  variableOne: ['variable', 'variable'],
  variables: ['variables', 'variables'],
  kept: ['{0} de {1} observations retenues', '{0} of {1} cases kept'],
  weightSum: ['somme des poids : {0}', 'sum of weights: {0}'],
  labels: ['Libellés', 'Labels'],
  codes: ['Codes', 'Codes'],
  goTo: ['Aller à l’obs.', 'Go to case'],
  case: ['Obs.', 'Case'],
  missing: ['manquant', 'missing'],
  excluded: ['exclue', 'excluded'],
  valid: ['Valides', 'Valid'],
  missingCount: ['Manquantes', 'Missing'],
  minimum: ['Minimum', 'Minimum'],
  maximum: ['Maximum', 'Maximum'],
  mean: ['Moyenne', 'Mean'],
  deviation: ['Écart-type', 'Std. deviation'],
  missingCode: ['Code de VM', 'Missing code'],
  type: ['Type', 'Type'],
  number: ['nombre', 'number'],
  text: ['texte', 'text'],
  date: ['date', 'date'],
  time: ['heure', 'time'],
  dateTime: ['date et heure', 'date and time'],
  continuous: ['continue', 'continuous'],
  categorical: ['catégorielle', 'categorical'],
  search: ['Rechercher', 'Search'],
  available: ['Variables disponibles', 'Available variables'],
  add: ['Ajouter', 'Add'],
  remove: ['Retirer', 'Remove'],
  twoRoles: ['Dans plusieurs listes : {0}', 'In several lists: {0}'],
  pickerHint: [
    'Double-clic, glisser ou → pour ajouter ; ← ou Suppr pour retirer ; Alt+1 à 4 : vers la liste.',
    'Double-click, drag or → to add; ← or Delete to remove; Alt+1 to 4: to that list.',
  ],
  notChosen: ['Aucune variable choisie', 'No variable chosen'],
  noCode: ['aucun code coché', 'no code is marked'],
  copy: ['Copier', 'Copy'],
  copied: ['Copié', 'Copied'],
  export: ['Exporter', 'Export'],
  rowOne: ['ligne', 'row'],
  rows: ['lignes', 'rows'],
  columns: ['colonnes', 'columns'],
  columnOne: ['colonne', 'column'],
  copyHint: [
    'Ctrl+C copie la sélection avec ses en-têtes',
    'Ctrl+C copies the selection with headings',
  ],
  sortHint: ['Trier', 'Sort'],
  undo: ['Choix précédent', 'Previous choice'],
  running: ['Calcul', 'Computing'],
  waiting: ['question', 'question'],
  ended: ['Terminée', 'Ended'],
  failed: ['Interrompue', 'Failed'],
  inResults: ['Résultats', 'Results'],
  unreachable: ['Le programme ne répond pas.', 'The program does not answer.'],
  lost: ['Connexion au programme perdue…', 'Connection to the program lost…'],
  start: ['Ouvrez un fichier de données pour commencer.', 'Open a data file to begin.'],
  startHint: [
    'Texte délimité, Parquet, Excel, SPSS, SAS, Stata. Un fichier peut aussi être déposé ici.',
    'Delimited text, Parquet, Excel, SPSS, SAS, Stata. A file can also be dropped here.',
  ],
  upload: ['Depuis cet ordinateur…', 'From this computer…'],
  folder: ['Dossier', 'Folder'],
  parent: ['(dossier parent)', '(parent folder)'],
  fileName: ['Nom du fichier', 'File name'],
  size: ['Taille', 'Size'],
  saveAs: ['Enregistrer sous', 'Save as'],
  saved: ['Fichier enregistré : {0}', 'File saved: {0}'],
  replace: ['Ce fichier existe. Le remplacer ?', 'This file exists. Replace it?'],
  replaceIt: ['Remplacer', 'Replace'],
  all: ['Tous', 'All'],
  none: ['Aucun', 'None'],
  selected: ['choisis', 'selected'],
  message: ['Message', 'Message'],
  noDocuments: [
    'Les documents produits apparaissent ici.',
    'Documents appear here as they are produced.',
  ],
  macroEmpty: [
    'La macro s’écrit ici à mesure que vous travaillez.',
    'The macro is written here as you work.',
  ],
  range: ['de {0} à {1}', '{0} to {1}'],
  unreadable: ['Nombre attendu', 'A number is expected'],
  caption: ['Message de l’analyse', 'Message of the analysis'],
  details: ['Description de la variable', 'Description of the variable'],
  others: ['autres', 'others'],
  minRange: ['min', 'min'],
  tree: ['Classeur', 'Workbook'],
  menu: ['Menu', 'Menu'],
  noRoom: [
    'Trop d’analyses sont ouvertes ; fermez-en une.',
    'Too many analyses are open; close one.',
  ],
  points: ['points', 'points'],
  optionsOfText: ['Options de lecture', 'Reading options'],
  delimiter: ['Délimiteur', 'Delimiter'],
  decimal: ['Décimale', 'Decimal sign'],
  encoding: ['Encodage', 'Encoding'],
  automatic: ['automatique', 'automatic'],
  bytes: ['{0} o', '{0} B'],
  kilobytes: ['{0} ko', '{0} kB'],
  megabytes: ['{0} Mo', '{0} MB'],
} as const satisfies Record<string, readonly [string, string]>;

export type Word = keyof typeof words;

/** A text in the language of the page, its {0}, {1}… replaced. */
export function word(key: Word, ...values: (string | number)[]): string {
  const text = words[key][pageLanguage() === 'en' ? 1 : 0];
  return text.replace(/\{(\d)\}/g, (_, i: string) => String(values[Number(i)] ?? ''));
}

/** A text of the program around the analyses, in the language of the page. */
export function hostText(text: string): string {
  return pageLanguage() === 'en' ? text : inFrench(text);
}

/** A caption of the module in the language of the page, without its access key. */
export function caption(raw: string): string {
  return plainText(translate(raw.trim(), pageLanguage()));
}

const methods: Record<string, readonly [string, string]> = {
  svm: ['Support Vector Machines', 'Support Vector Machines'],
  nb: ['Réseaux Bayésiens Naïfs', 'Naive Bayes'],
  knn: ['K Plus Proches Voisins', 'K Nearest Neighbours'],
};
export function methodName(kind: string): string {
  return methods[kind]?.[pageLanguage() === 'en' ? 1 : 0] ?? kind;
}

/** A number with its thousands apart. */
export function counted(value: number, decimals = 0): string {
  return value.toLocaleString(pageLanguage() === 'en' ? 'en-GB' : 'fr-FR', {
    minimumFractionDigits: decimals,
    maximumFractionDigits: decimals,
  });
}

export function fileSize(bytes: number): string {
  if (bytes < 1e3) return word('bytes', bytes);
  return bytes < 1e6
    ? word('kilobytes', counted(bytes / 1e3, 1))
    : word('megabytes', counted(bytes / 1e6, 1));
}

// One is singular; none is so in French alone.
const isOne = (count: number) => count === 1 || (count === 0 && pageLanguage() === 'fr');
const counting = (one: Word, many: Word) => (count: number) =>
  `${counted(count)} ${word(isOne(count) ? one : many)}`;
export const caseCount = counting('caseOne', 'cases');
export const variableCount = counting('variableOne', 'variables');
export const lineCount = counting('rowOne', 'rows');
export const columnCount = counting('columnOne', 'columns');
