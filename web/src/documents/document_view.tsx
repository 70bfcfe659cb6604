// One document of the workbook, by its kind.
import { useEffect, useState } from 'preact/hooks';
import { get } from '../api';
import type { AnyDocument, DocumentInfo } from '../protocol';
import { say } from '../store';
import { word } from '../words';
import { GraphView } from './graph_view';
import { SheetView } from './sheet_view';
import { TextView } from './text_view';

interface Props {
  analysis: number;
  info: DocumentInfo;
}

export function DocumentView({ analysis, info }: Props) {
  const path = `analyses/${analysis}/documents/${info.document}`;
  const [held, setHeld] = useState<{ path: string; revision: number; document: AnyDocument }>();
  useEffect(() => {
    if (info.kind === 'spreadsheet') return;
    let current = true;
    get<AnyDocument>(path).then(
      document => current && setHeld({ path, revision: info.revision, document }),
      say,
    );
    return () => void (current = false);
  }, [path, info.revision, info.kind]);

  if (info.kind === 'spreadsheet') return <SheetView key={path} analysis={analysis} info={info} />;
  if (!held || held.path !== path) return <p class="loading">…</p>;
  const exports = [{ label: 'TXT', href: `/api/${path}/export?format=txt` }];
  const { document } = held;
  if (document.kind === 'graph') return <GraphView key={path} graph={document} path={path} />;
  if (document.kind === 'results')
    return (
      <TextView
        title={word('inResults')}
        text={document.lines.join('\n')}
        exports={exports}
        isResults
      />
    );
  if (document.kind === 'text')
    return <TextView key={path} title={document.title} text={document.text} exports={exports} />;
  return null;
}
