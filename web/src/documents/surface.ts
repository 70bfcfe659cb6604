// A surface through scattered points in space: at each node of a grid the plane that fits the points
// best, near points weighing more (locally weighted linear fit: Cleveland & Devlin 1988; weights
// 1 / (d^2 + e^2)^2: Shepard 1968). The same surface as that of exported pictures.

export interface Surface {
  x: number[];
  y: number[];
  z: number[][]; // z[row of y][column of x]
}

interface Point {
  x: number;
  y: number;
  z: number;
  weight: number;
}

const raster = 64;
const smoothing = 0.3; // of the usual distance of n points, 1 / sqrt(n)
const ridge = 1e-9; // of the spread: keeps a plane through points on a line
const leastSpread = 1e-12;

function planeAt(points: Point[], x: number, y: number, closeness: number): number {
  const weights = points.map(p => {
    const near = (p.x - x) ** 2 + (p.y - y) ** 2 + closeness;
    return p.weight / (near * near);
  });
  const weigh = (value: (p: Point) => number) =>
    points.reduce((sum, p, i) => sum + (weights[i] ?? 0) * value(p), 0);
  const all = weigh(() => 1);
  const mx = weigh(p => p.x - x) / all;
  const my = weigh(p => p.y - y) / all;
  const mz = weigh(p => p.z) / all;
  let [xx, xy, yy, xz, yz] = [0, 0, 0, 0, 0];
  points.forEach((p, i) => {
    const w = (weights[i] ?? 0) / all;
    const [cx, cy, cz] = [p.x - x - mx, p.y - y - my, p.z - mz];
    xx += w * cx * cx;
    xy += w * cx * cy;
    yy += w * cy * cy;
    xz += w * cx * cz;
    yz += w * cy * cz;
  });
  const spread = ridge * (xx + yy) + leastSpread;
  xx += spread;
  yy += spread;
  const determinant = xx * yy - xy * xy;
  return mz - ((xz * yy - yz * xy) / determinant) * mx - ((yz * xx - xz * xy) / determinant) * my;
}

/** null: fewer than one point with three coordinates. */
export function fitSurface(
  xs: (number | null)[],
  ys: (number | null)[],
  zs: (number | null)[],
  nodes = 33,
): Surface | null {
  const raw: { x: number; y: number; z: number }[] = [];
  xs.forEach((x, i) => {
    const [y, z] = [ys[i] ?? null, zs[i] ?? null];
    if (x !== null && y !== null && z !== null) raw.push({ x, y, z });
  });
  if (raw.length === 0) return null;
  const range = (of: (p: { x: number; y: number; z: number }) => number) => {
    let [low, high] = [Infinity, -Infinity];
    for (const p of raw) {
      low = Math.min(low, of(p));
      high = Math.max(high, of(p));
    }
    return high > low ? ([low, high] as const) : ([low - 0.5, low + 0.5] as const);
  };
  const [x0, x1] = range(p => p.x);
  const [y0, y1] = range(p => p.y);
  const [z0, z1] = range(p => p.z);

  const cells = new Map<number, Point>();
  const cellOf = (position: number) => Math.min(raster - 1, Math.floor(position * raster));
  for (const p of raw) {
    const [x, y] = [(p.x - x0) / (x1 - x0), (p.y - y0) / (y1 - y0)];
    const key = cellOf(y) * raster + cellOf(x);
    const cell = cells.get(key) ?? { x: 0, y: 0, z: 0, weight: 0 };
    cell.weight += 1;
    cell.x += (x - cell.x) / cell.weight;
    cell.y += (y - cell.y) / cell.weight;
    cell.z += (p.z - cell.z) / cell.weight;
    cells.set(key, cell);
  }
  const points = [...cells.values()];
  const between = 1 / (nodes - 1);
  const near = Math.max(between / 2, smoothing / Math.sqrt(points.length)) ** 2;
  const steps = Array.from({ length: nodes }, (_, i) => i * between);
  return {
    x: steps.map(s => x0 + s * (x1 - x0)),
    y: steps.map(s => y0 + s * (y1 - y0)),
    z: steps.map(y => steps.map(x => Math.max(z0, Math.min(z1, planeAt(points, x, y, near))))),
  };
}
