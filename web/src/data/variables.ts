// The variables of the open files, fetched once per state of a file.
import { useEffect, useState } from 'preact/hooks';
import { get } from '../api';
import type { Variable } from '../protocol';
import { findFile, say } from '../store';

const cache = new Map<string, Promise<Variable[]>>();

export function fetchVariables(file: number): Promise<Variable[]> {
  const key = `${file}/${findFile(file)?.revision ?? 0}`;
  let found = cache.get(key);
  if (!found) {
    found = get<{ variables: Variable[] }>(`files/${file}/variables`).then(r => r.variables);
    found.catch(() => cache.delete(key));
    cache.set(key, found);
  }
  return found;
}

export function useVariables(file: number): Variable[] {
  const [variables, setVariables] = useState<Variable[]>([]);
  const revision = findFile(file)?.revision;
  useEffect(() => {
    let current = true;
    fetchVariables(file).then(list => current && setVariables(list), say);
    return () => void (current = false);
  }, [file, revision]);
  return variables;
}
