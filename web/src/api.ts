// Requests to the server. A refusal becomes an Error whose text is for the person.

export class Refusal extends Error {
  constructor(
    readonly status: number,
    text: string,
  ) {
    super(text);
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
  throw new Refusal(response.status, reason || `${response.status} ${response.statusText}`);
}

export async function get<T>(path: string, signal?: AbortSignal): Promise<T> {
  return read<T>(await fetch(`/api/${path}`, { signal: signal ?? null }));
}

export async function post<T>(path: string, body: unknown = {}): Promise<T> {
  return read<T>(
    await fetch(`/api/${path}`, {
      method: 'POST',
      headers: { 'Content-Type': 'application/json' },
      body: JSON.stringify(body),
    }),
  );
}

export async function remove(path: string): Promise<void> {
  await read(await fetch(`/api/${path}`, { method: 'DELETE' }));
}

export async function upload(file: File): Promise<{ upload: string; name: string; size: number }> {
  return read(
    await fetch(`/api/uploads?name=${encodeURIComponent(file.name)}`, {
      method: 'POST',
      body: file,
    }),
  );
}

export async function getText(path: string): Promise<string> {
  const response = await fetch(`/api/${path}`);
  if (!response.ok) return read<string>(response);
  return response.text();
}
