// A text of the workbook: generated code with its words coloured, or the results text. A copy button
// takes the whole text.
import { useState } from 'preact/hooks';
import { say } from '../store';
import { lineCount, word } from '../words';
import { highlight, languageOf } from './highlight';

const mostLines = 4000; // shown at once; the rest on demand

interface Props {
  title: string;
  text: string;
  exports: { label: string; href: string }[];
  isResults?: boolean;
}

export function CopyButton({ text }: { text: string }) {
  const [copied, setCopied] = useState(false);
  const copy = async () => {
    await navigator.clipboard.writeText(text);
    setCopied(true);
    setTimeout(() => setCopied(false), 1500);
  };
  return (
    <button type="button" onClick={() => void copy().catch(say)}>
      {copied ? word('copied') : word('copy')}
    </button>
  );
}

export function TextView({ title, text, exports, isResults = false }: Props) {
  const [whole, setWhole] = useState(false);
  const lines = text.split('\n');
  const shown = whole ? lines : lines.slice(0, mostLines);
  const language = isResults ? null : languageOf(text);
  return (
    <section class={`document text ${isResults ? 'results-text' : ''}`} aria-label={title}>
      <header>
        <div class="document-title">
          <h2>{title}</h2>
        </div>
        <div class="document-buttons">
          <CopyButton text={text} />
          {exports.map(({ label, href }) => (
            <a key={label} class="button" href={href} download>
              {label}
            </a>
          ))}
        </div>
      </header>
      <pre tabIndex={0}>
        {shown.map((line, i) => (
          <span key={i}>
            {language
              ? highlight(line, language).map(([kind, part], j) =>
                  kind ? (
                    <span key={j} class={`code-${kind}`}>
                      {part}
                    </span>
                  ) : (
                    part
                  ),
                )
              : line}
            {'\n'}
          </span>
        ))}
      </pre>
      {!whole && lines.length > mostLines && (
        <button type="button" class="more" onClick={() => setWhole(true)}>
          … {lineCount(lines.length - mostLines)}
        </button>
      )}
    </section>
  );
}
