// Requests to the server. A refusal becomes an Error whose text is for the person.

import { hostText, word } from './words';

export class Refusal extends Error {
  constructor(
    readonly status: number,
    text: string,
  ) {
    super(text);
  }
}

/** A request; that nobody answers is said in a person's words. */
async function send(path: string, options: RequestInit = {}): Promise<Response> {
  try {
    return await fetch(`/api/${path}`, options);
  } catch (error) {
    if (options.signal?.aborted) throw error;
    throw new Refusal(0, word('unreachable'));
  }
}

async function read<T>(response: Response): Promise<T> {
  const text = await response.text();
  if (response.ok) return (text ? JSON.parse(text) : {}) as T;
  let reason = text;
  try {
    reason = (JSON.parse(text) as { error?: string }).error ?? text;
  } catch {
    // not JSON: the text itself says it
  }
  throw new Refusal(
    response.status,
    hostText(reason) || `${response.status} ${response.statusText}`,
  );
}

export async function get<T>(path: string, signal?: AbortSignal): Promise<T> {
  return read<T>(await send(path, { signal: signal ?? null }));
}

export async function post<T>(path: string, body: unknown = {}): Promise<T> {
  return read<T>(
    await send(path, {
      method: 'POST',
      headers: { 'Content-Type': 'application/json' },
      body: JSON.stringify(body),
    }),
  );
}

export async function remove(path: string): Promise<void> {
  await read(await send(path, { method: 'DELETE' }));
}

export async function upload(file: File): Promise<{ upload: string; name: string; size: number }> {
  return read(
    await send(`uploads?name=${encodeURIComponent(file.name)}`, {
      method: 'POST',
      body: file,
    }),
  );
}

export async function getText(path: string): Promise<string> {
  const response = await send(path);
  if (!response.ok) return read<string>(response);
  return response.text();
}
