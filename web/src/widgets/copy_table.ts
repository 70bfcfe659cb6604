// A table on the clipboard: as text with tabs, and as HTML for spreadsheet programs.

export interface Table {
  headings: string[][]; // lines of headings, each with the corner first
  rows: { name: string; cells: string[] }[];
}

const escapes: Record<string, string> = { '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;' };
export function escapeHtml(text: string): string {
  return text.replace(/[&<>"]/g, sign => escapes[sign] ?? sign);
}

const oneLine = (text: string) => text.replace(/[\t\r\n]+/g, ' ');

export function asText(table: Table, withHeadings: boolean): string {
  const lines = table.rows.map(row =>
    (withHeadings ? [row.name, ...row.cells] : row.cells).map(oneLine).join('\t'),
  );
  if (withHeadings) lines.unshift(...table.headings.map(line => line.map(oneLine).join('\t')));
  return lines.join('\n');
}

export function asHtml(table: Table, withHeadings: boolean): string {
  const row = (cells: string[], tag: string) =>
    `<tr>${cells.map(cell => `<${tag}>${escapeHtml(cell)}</${tag}>`).join('')}</tr>`;
  const head = withHeadings ? table.headings.map(line => row(line, 'th')).join('') : '';
  const body = table.rows.map(r =>
    withHeadings
      ? `<tr><th>${escapeHtml(r.name)}</th>${row(r.cells, 'td').slice('<tr>'.length)}`
      : row(r.cells, 'td'),
  );
  return `<table>${head}${body.join('')}</table>`;
}

/** Copies a table that may still be on its way; the browser waits for it. */
export async function copyTable(table: Promise<Table>, withHeadings: boolean): Promise<void> {
  const blob = async (type: string, write: typeof asText) =>
    new Blob([write(await table, withHeadings)], { type });
  await navigator.clipboard.write([
    new ClipboardItem({
      'text/plain': blob('text/plain', asText),
      'text/html': blob('text/html', asHtml),
    }),
  ]);
}
