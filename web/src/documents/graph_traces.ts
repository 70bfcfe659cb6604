// A graph of the workbook as traces and axes of the plotting library. Series differ by colour, by
// mark and by dashes, so that any one of them is enough.
import type { Graph, GraphAxis, GraphSeries } from '../protocol';
import { shortNumber } from '../numbers';

import { fitSurface } from './surface';

export interface Look {
  text: string;
  grid: string;
  background: string;
  font: string;
  dark: boolean;
  aspect: number; // width by height of the place
}
export interface Drawing {
  traces: object[];
  layout: object;
}

// Okabe & Ito 2008 without the yellow, which is too pale on white.
const onLight = ['#0072B2', '#D55E00', '#009E73', '#CC79A7', '#E69F00', '#56B4E9'];
const onDark = ['#56B4E9', '#E69F00', '#2FBF94', '#E394C0', '#F0E442', '#FF8A4C'];
const coloursOf = (look: Look) => (look.dark ? onDark : onLight);
const marks = ['circle', 'triangle-up', 'square', 'diamond', 'triangle-down', 'x', 'cross'];
const spaceMarks = ['circle', 'square', 'diamond', 'cross', 'x'];
const dashes = ['solid', 'dash', 'dot', 'dashdot', 'longdash'];
const pick = <T>(list: readonly T[], i: number): T => list[i % list.length] as T;

// Text from data never becomes markup: the library reads a few tags and links in texts.
export const plain = (text: string) =>
  text.replace(/&/g, '&amp;').replace(/</g, '&lt;').replace(/>/g, '&gt;');

const mostMarks = 10;

function axisOf(axis: GraphAxis | undefined, look: Look): object {
  const common = {
    title: { text: plain(axis?.title ?? ''), standoff: 8 },
    gridcolor: look.grid,
    linecolor: look.grid,
    zeroline: false,
    automargin: true,
  };
  if (!axis || !(axis.max > axis.min)) return common;
  // Room for the marks that stand on the border.
  const room = (axis.max - axis.min) * 0.02;
  // Every step is marked where they are few; else the library finds round ones.
  const steps = axis.step > 0 ? (axis.max - axis.min) / axis.step : Infinity;
  return {
    ...common,
    range: [axis.min - room, axis.max + room],
    ...(steps <= mostMarks ? { tick0: axis.min, dtick: axis.step } : {}),
  };
}

/** The least-squares line through the points, from the first to the last x. */
export function fitLine(series: GraphSeries): { x: number[]; y: number[] } | null {
  const points: [number, number][] = [];
  series.x.forEach((x, i) => {
    const y = series.y[i] ?? null;
    if (x !== null && y !== null) points.push([x, y]);
  });
  if (points.length < 2) return null;
  const mean = (of: (p: [number, number]) => number) =>
    points.reduce((sum, p) => sum + of(p), 0) / points.length;
  const mx = mean(p => p[0]);
  const my = mean(p => p[1]);
  const sxx = mean(p => (p[0] - mx) ** 2);
  if (sxx === 0) return null;
  const slope = mean(p => (p[0] - mx) * (p[1] - my)) / sxx;
  const xs = points.map(p => p[0]);
  const ends = [xs.reduce((a, b) => Math.min(a, b)), xs.reduce((a, b) => Math.max(a, b))];
  return { x: ends, y: ends.map(x => my + slope * (x - mx)) };
}

function histogram(graph: Graph, look: Look): Drawing {
  const edges = graph.edges ?? [];
  const counts = graph.counts ?? [];
  const labels = graph.edgeLabels ?? [];
  const [ex, ey] = graph.axes;
  if (labels.length > 0) {
    // A bin of categories is named by its lower edge; an empty first one without a label is none.
    const bars = counts.flatMap((count, i) => {
      const label = labels.find(l => l.value === edges[i])?.text;
      return i === 0 && label === undefined && count === 0
        ? []
        : [{ name: label ?? shortNumber(edges[i]), count }];
    });
    return {
      traces: [
        {
          type: 'bar',
          x: bars.map(bar => plain(bar.name)),
          y: bars.map(bar => bar.count),
          marker: { color: coloursOf(look)[0] },
          hovertemplate: '%{x}: %{y}<extra></extra>',
        },
      ],
      layout: {
        xaxis: {
          ...axisOf({ title: ex?.title ?? '', min: 0, max: 0, step: 0 }, look),
          type: 'category',
        },
        yaxis: axisOf({ title: ey?.title ?? '', min: 0, max: 0, step: 0 }, look),
        bargap: 0.25,
      },
    };
  }
  const from = edges.slice(0, -1);
  return {
    traces: [
      {
        type: 'bar',
        x: from,
        y: counts,
        width: from.map((edge, i) => (edges[i + 1] ?? edge) - edge),
        offset: 0,
        marker: { color: coloursOf(look)[0], line: { color: look.background, width: 1 } },
        customdata: from.map((edge, i) => `${shortNumber(edge)} – ${shortNumber(edges[i + 1])}`),
        hovertemplate: '%{customdata}: %{y}<extra></extra>',
      },
    ],
    layout: {
      xaxis: axisOf(ex && { ...ex, min: edges[0] ?? 0, max: edges[edges.length - 1] ?? 0 }, look),
      yaxis: {
        ...axisOf({ title: ey?.title ?? '', min: 0, max: 0, step: 0 }, look),
        rangemode: 'tozero',
      },
    },
  };
}

const mostLineMarks = 60; // points of a line that are marked

function flat(graph: Graph, look: Look): Drawing {
  const isLine = graph.type === 'line';
  const named = graph.series.some(s => s.name.trim() !== '');
  const many = graph.series.some(s => s.x.length > mostLineMarks);
  const traces: object[] = [];
  graph.series.forEach((series, i) => {
    const colour = pick(coloursOf(look), i);
    traces.push({
      type: 'scatter',
      mode: isLine ? (many ? 'lines' : 'lines+markers') : 'markers',
      name: plain(series.name.trim()),
      x: series.x,
      y: series.y,
      text: series.labels?.map(plain),
      marker: { color: colour, symbol: pick(marks, i), size: isLine ? 6 : 7, opacity: 0.85 },
      line: { color: colour, dash: pick(dashes, i), width: 2 },
      hovertemplate: `${series.labels ? '<b>%{text}</b><br>' : ''}%{x} ; %{y}<extra>${named ? plain(series.name.trim()) : ''}</extra>`,
      legendgroup: String(i),
    });
    const line = graph.fit ? fitLine(series) : null;
    if (line)
      traces.push({
        type: 'scatter',
        mode: 'lines',
        ...line,
        line: { color: colour, width: 1.5, dash: pick(dashes, i) },
        hoverinfo: 'skip',
        showlegend: false,
        legendgroup: String(i),
      });
  });
  return {
    traces,
    layout: {
      xaxis: axisOf(graph.axes[0], look),
      yaxis: axisOf(graph.axes[1], look),
      showlegend: named,
      hovermode: 'closest',
    },
  };
}

function space(graph: Graph, look: Look): Drawing {
  // The height of the place decides how large the cube is; in a narrow one it is seen from farther.
  const far = Math.max(1, Math.min(1.8, 1.1 / look.aspect));
  const traces: object[] = [];
  const named = graph.series.some(s => s.name.trim() !== '');
  graph.series.forEach((series, i) => {
    const surface = fitSurface(series.x, series.y, series.z ?? []);
    if (surface)
      traces.push({
        type: 'surface',
        ...surface,
        name: plain(series.name.trim()),
        legendgroup: String(i),
        colorscale: 'Viridis',
        opacity: graph.series.length > 1 ? 0.7 : 0.92,
        showscale: i === 0,
        colorbar: { thickness: 12, len: 0.6 }, // of the Z axis, which has its title
        contours: { z: { show: true, usecolormap: true, width: 1 } },
        hovertemplate: '%{x} ; %{y} ; %{z}<extra></extra>',
      });
    traces.push({
      type: 'scatter3d',
      mode: 'markers',
      legendgroup: String(i),
      name: plain(series.name.trim()),
      x: series.x,
      y: series.y,
      z: series.z,
      text: series.labels?.map(plain),
      marker: { size: 3, color: pick(coloursOf(look), i), symbol: pick(spaceMarks, i) },
      hovertemplate: `${series.labels ? '<b>%{text}</b><br>' : ''}%{x} ; %{y} ; %{z}<extra></extra>`,
    });
  });
  const [x, y, z] = graph.axes.map(axis => ({
    title: { text: plain(axis.title) },
    gridcolor: look.grid,
    color: look.text,
  }));
  return {
    traces,
    layout: {
      scene: {
        xaxis: x,
        yaxis: y,
        zaxis: z,
        aspectmode: 'cube',
        camera: { eye: { x: 1.7 * far, y: -1.7 * far, z: 0.9 * far } },
      },
      margin: { l: 0, r: 0, t: 30, b: 0 },
      showlegend: named,
    },
  };
}

export function drawingOf(graph: Graph, look: Look): Drawing {
  const draw = { histogram, scatter: flat, line: flat, surface: space }[graph.type];
  const { traces, layout } = draw(graph, look);
  return {
    traces,
    layout: {
      font: { family: look.font, size: 12, color: look.text },
      paper_bgcolor: look.background,
      plot_bgcolor: look.background,
      margin: { l: 60, r: 20, t: 30, b: 50 },
      hoverlabel: {
        bgcolor: look.background,
        bordercolor: look.text,
        font: { color: look.text, family: look.font },
      },
      // a long one scrolls: the graph itself keeps the place
      legend: { orientation: 'h', x: 0, y: 1.01, yanchor: 'bottom', maxheight: 0.25 },
      ...layout,
    },
  };
}
