// What the benchmarks of the workbench share: the program that they measure, and how times are shown.
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { createInterface } from 'node:readline';

/// Starts the workbench in a folder; gives its address, and what ends it.
export async function startWorkbench(program, cwd, ...files) {
  const child = spawn(program, ['workbench', ...files, '--no-open', '--port', '0'], {
    cwd,
    stdio: ['ignore', 'pipe', 'inherit'],
  });
  const ended = once(child, 'exit');
  const [address] = await Promise.race([once(createInterface({ input: child.stdout }), 'line'), ended]);
  if (typeof address !== 'string') throw new Error(`the program ended with ${address}`);
  const stop = async () => {
    child.kill('SIGINT');
    await ended;
  };
  return { address, stop };
}

const quantile = (times, share) =>
  [...times].sort((a, b) => a - b)[Math.min(times.length - 1, Math.floor(share * times.length))];

export const show = (what, times) =>
  console.log(
    `${what}: median ${quantile(times, 0.5).toFixed(1)} ms, 95 of 100 within ` +
      `${quantile(times, 0.95).toFixed(1)} ms, largest ${Math.max(...times).toFixed(1)} ms`,
  );
