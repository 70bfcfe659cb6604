// The files that are being read, each with its progress and a way to stop it.
import { post } from '../api';
import type { Reading } from '../protocol';
import { say, usePage } from '../store';
import { word } from '../words';

export function stopReading({ reading }: Reading): void {
  void post(`readings/${reading}/cancel`).catch(say);
}

export function Readings() {
  const readings = usePage().state?.readings ?? [];
  return (
    <>
      {readings.map(one => (
        <div key={one.reading} class="reading" role="status">
          <span class="reading-name">{word('readingFile', one.name)}</span>
          <progress
            max={100}
            {...(one.percent === null ? {} : { value: one.percent })}
            aria-label={word('readingFile', one.name)}
          />
          <span class="reading-percent">{one.percent === null ? '' : `${one.percent} %`}</span>
          <button type="button" onClick={() => stopReading(one)}>
            {word('cancel')}
          </button>
        </div>
      ))}
    </>
  );
}
