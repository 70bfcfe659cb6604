// The shapes that the server sends and takes; docs/workbench-protocol.md says what they mean.

export interface FileInfo {
  file: number;
  name: string;
  folder: number; // -1: uploaded
  path: string;
  cases: number;
  variables: number;
  select: string;
  selected: number;
  weight: number; // variable number; 0: none
  caseNames: number;
  notes: string[];
  revision: number;
}

export type ControlKind =
  | 'check'
  | 'radio'
  | 'integer'
  | 'real'
  | 'text'
  | 'choice'
  | 'pick'
  | 'button'
  | 'action'
  | 'note';

export interface ControlState {
  name: string;
  value?: number | string | null;
  enabled: boolean;
  visible: boolean;
  text?: string;
  offered?: string[];
  chosen?: number[];
}

export interface Control extends ControlState {
  kind: ControlKind;
  label: string;
  tab: string;
  group: number;
  lowest: number | null;
  highest: number | null;
  decimals: number;
  automated: boolean;
  identifier: number;
  role: number;
  choices?: string[];
}

export interface Dialog {
  dialog: number;
  name: string;
  title: string;
  template: number;
  step: number;
  level: 'startup' | 'specification' | 'results' | 'modal';
  tabs: string[];
  controls: Control[];
}

export interface Message {
  number: number;
  text: string;
  step: string;
  note: boolean; // waits for nobody
}

export interface Progress {
  title: string;
  lines: string[];
  pass: string;
  percent: number | null;
  training: boolean;
}

export type Coded = [number, string];
export type CodeCount = [number, string, number];

export type Request = { request: number } & (
  | { kind: 'message'; number: number; text: string; buttons: ('ok' | 'cancel')[] }
  | {
      kind: 'variables';
      title: string;
      captions: string[];
      lists: number[][];
      offered: number[]; // none: all variables
      single: boolean;
      prompt: string;
    }
  | {
      kind: 'codes';
      title: string;
      lowest: number;
      highest: number;
      variables: {
        number: number;
        name: string;
        codes: number[];
        offered: Coded[];
        minimum: number;
        maximum: number;
      }[];
    }
  | { kind: 'values'; title: string; rows: string[]; values: number[] }
  | {
      kind: 'form';
      title: string;
      hint: string;
      rowTitle: string;
      column: string;
      rows: string[];
      cells: string[];
    }
  | { kind: 'outputs'; title: string; prompt: string; offered: string[]; picked: number[] }
  | { kind: 'fileName'; suggested: string }
  | { kind: 'selection'; select: string; file: number }
  | { kind: 'weight'; weight: number; file: number }
  | { kind: 'dataFile'; file: number }
  | { kind: 'dialog'; dialog: Dialog }
);
export type RequestOf<K extends Request['kind']> = Extract<Request, { kind: K }>;

export interface DocumentInfo {
  document: number;
  kind: 'results' | 'spreadsheet' | 'graph' | 'text';
  title: string;
  type?: string;
  rows?: number;
  columns?: number;
  revision: number;
}

export interface Analysis {
  analysis: number;
  file: number;
  kind: string;
  step: number;
  state: 'open' | 'ended' | 'failed';
  reason: string;
  busy: boolean;
  call: number;
  dialog: Dialog | null;
  requests: Request[];
  progress: Progress | null;
  documents: DocumentInfo[];
  messages: Message[];
  macro: { lines: number; recording: boolean };
  canUndo: boolean;
}

export interface CallResult {
  analysis: number;
  call: number;
  done: boolean;
  ok: boolean;
  failed?: number;
  control?: string;
  error?: string;
  controls?: ControlState[];
}

export type Call =
  | { do: 'type'; name: string; text: string }
  | { do: 'set'; name: string; value: number | string }
  | { do: 'press'; name: string }
  | { do: 'tab'; name: string } // the person looks at that tab
  | { do: 'ok' }
  | { do: 'cancel' };

/** A file that is being read; percent null: not known. */
export interface Reading {
  reading: number;
  name: string;
  percent: number | null;
}

export interface State {
  event: number;
  version: string;
  folders: { folder: number; path: string }[];
  limits: { analyses: number; upload: number };
  kinds: { kind: string; position: number; title: string }[];
  files: FileInfo[];
  readings: Reading[];
  analyses: Analysis[];
}

export interface Entry {
  name: string;
  directory: boolean;
  size: number;
  modified: number;
}

export interface Variable {
  number: number;
  name: string;
  longName: string;
  type: 'number' | 'text' | 'date' | 'time' | 'dateTime';
  missingCode: number;
  labels: Coded[];
  labelCount: number;
  categorical: boolean;
}

export interface VariableDetail extends Variable {
  valid: number;
  missing: number;
  minimum: number | null;
  maximum: number | null;
  mean: number | null;
  deviation: number | null;
  histogram?: { edges: number[]; counts: number[] };
  categories?: CodeCount[];
}

export type DataCell = number | Coded | null;
export interface DataRows {
  first: number;
  from: number;
  rows: { case: number; name: string; selected: boolean; cells: DataCell[] }[];
}

export interface SheetCell {
  value: number | null;
  text?: string;
  marked?: boolean;
}
export interface Sheet {
  kind: 'spreadsheet';
  title: string;
  header: string[];
  rowTitle: string[];
  columns: { first: string; second: string; format: string }[];
  rows: { name: string; cells: SheetCell[] }[];
  rowCount: number;
}

export interface GraphAxis {
  title: string;
  min: number;
  max: number;
  step: number;
}
export interface GraphSeries {
  name: string;
  x: (number | null)[];
  y: (number | null)[];
  z?: (number | null)[];
  labels?: string[];
}
export interface Graph {
  kind: 'graph';
  type: 'histogram' | 'scatter' | 'line' | 'surface';
  title: string;
  axes: GraphAxis[];
  fit?: boolean;
  series: GraphSeries[];
  edges?: number[];
  counts?: number[];
  edgeLabels?: { value: number; text: string }[];
}

export type AnyDocument =
  | Sheet
  | Graph
  | { kind: 'results'; lines: string[] }
  | { kind: 'text'; title: string; mode: number; text: string };
