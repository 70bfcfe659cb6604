// The variables of the open files, fetched once per state of a file.
import { useEffect, useState } from 'preact/hooks';
import { get } from '../api';
import type { FileInfo, Variable, VariableDetail } from '../protocol';
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

/** The description of a variable, fetched when it becomes current. */
export function useDetail(file: FileInfo, number: number): VariableDetail | null {
  const [detail, setDetail] = useState<VariableDetail | null>(null);
  useEffect(() => {
    const controller = new AbortController();
    get<VariableDetail>(`files/${file.file}/variables/${number}`, controller.signal).then(
      setDetail,
      (error: unknown) => {
        if (!controller.signal.aborted) say(error);
      },
    );
    return () => controller.abort();
  }, [file.file, file.revision, number]);
  return detail?.number === number ? detail : null;
}
