// The type of a variable as a small picture with a name: by shape, not by colour.
import type { Variable } from '../protocol';
import { type Word, word } from '../words';

const shapes: Record<'continuous' | 'categorical' | 'date', string> = {
  continuous: 'M1 11h12M2.5 11V8m3 3V9m3 2V8m3 3V9M2 5.5l3-2.5 3 2 4-3.5', // a ruler and a curve
  categorical: 'M2 2.5h4v3H2zM8 2.5h4v3H8zM2 8.5h4v3H2zM8 8.5h4v3H8z', // boxes
  date: 'M2 3.5h10v8H2zM2 6.2h10M4.5 2v2.4M9.5 2v2.4', // a calendar
};

export function typeOf(variable: Variable): keyof typeof shapes {
  if (variable.categorical) return 'categorical';
  return variable.type === 'number' ? 'continuous' : 'date';
}

export function VariableIcon({ variable }: { variable: Variable }) {
  const type = typeOf(variable);
  const name: Word = type === 'date' ? variable.type : type;
  return (
    <svg class="variable-icon" viewBox="0 0 14 14" role="img" aria-label={word(name)}>
      <path d={shapes[type]} />
    </svg>
  );
}
