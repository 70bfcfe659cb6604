// Colours for generated code, line by line: enough of each language for the texts that are produced.

export type CodeLanguage = 'c' | 'qvb' | 'xml';
export type CodeKind = '' | 'word' | 'text' | 'number' | 'note';

export function languageOf(text: string): CodeLanguage | null {
  if (/^\s*<\?xml/.test(text)) return 'xml';
  if (/^\s*#include|^\s*(int|void|double|static)\s/m.test(text)) return 'c';
  if (/^\s*('|Option |Sub |Dim |Function )/m.test(text)) return 'qvb';
  return null;
}

const number = String.raw`\b\d[\d.]*(?:[eE][-+]?\d+)?`;
// Alternatives in the order: note, text, word, number.
const patterns: Record<CodeLanguage, RegExp> = {
  c: new RegExp(
    String.raw`(\/\/.*|\/\*.*?(?:\*\/|$))|("(?:[^"\\]|\\.)*"|'(?:[^'\\]|\\.)*')|(^\s*#\w+|\b(?:int|void|double|float|char|bool|static|const|return|if|else|for|while|do|switch|case|break|continue|struct|sizeof|true|false|extern)\b)|(${number})`,
    'g',
  ),
  qvb: new RegExp(
    String.raw`('.*)|("(?:[^"]|"")*")|(\b(?:Sub|End|Dim|As|If|Then|Else|ElseIf|For|To|Next|Each|In|While|Wend|Do|Loop|Until|Function|Return|Set|New|Nothing|True|False|And|Or|Not|Mod|Exit|Option|Base|Explicit|Const|ByVal|ByRef|Integer|Long|Double|String|Boolean|Variant|Object|With|ReDim|Step|Call|Public|Private)\b)|(${number})`,
    'gi',
  ),
  xml: new RegExp(
    String.raw`(<!--.*?(?:-->|$))|("[^"]*")|(<[?\/]?[\w:]+|[?\/]?>)|(${number})`,
    'g',
  ),
};
const kinds: CodeKind[] = ['note', 'text', 'word', 'number'];

/** The line in pieces; together they are the line. */
export function highlight(line: string, language: CodeLanguage): [CodeKind, string][] {
  const pieces: [CodeKind, string][] = [];
  let end = 0;
  for (const match of line.matchAll(patterns[language])) {
    if (match.index > end) pieces.push(['', line.slice(end, match.index)]);
    const at = match.slice(1).findIndex(group => group !== undefined);
    pieces.push([kinds[at] ?? '', match[0]]);
    end = match.index + match[0].length;
  }
  if (end < line.length) pieces.push(['', line.slice(end)]);
  return pieces;
}
