// A graph that can be pointed at, zoomed and, in space, turned; exported as SVG and PNG.
import { useEffect, useRef, useState } from 'preact/hooks';
import type { Graph } from '../protocol';
import { pageLanguage } from '../language';
import { say } from '../store';
import { word } from '../words';
import { legendByKeys, toolTexts, turnByKeys } from './graph_keys';
import { drawingOf } from './graph_traces';
import { flatPlots, spacePlots } from './plotly';

interface Props {
  graph: Graph;
  path: string;
}

const isDark = window.matchMedia('(prefers-color-scheme: dark)');

export function GraphView({ graph, path }: Props) {
  const place = useRef<HTMLDivElement>(null);
  const [dark, setDark] = useState(isDark.matches);
  const inSpace = graph.type === 'surface';

  useEffect(() => {
    const listen = () => setDark(isDark.matches);
    isDark.addEventListener('change', listen);
    return () => isDark.removeEventListener('change', listen);
  }, []);
  useEffect(() => {
    const element = place.current;
    if (!element) return;
    let stop = () => {};
    let gone = false;
    (inSpace ? spacePlots() : flatPlots())
      .then(async plotly => {
        if (gone) return;
        let size = { width: element.clientWidth, height: element.clientHeight };
        const colour = (name: string) => getComputedStyle(element).getPropertyValue(name).trim();
        const { traces, layout } = drawingOf(graph, {
          text: colour('--text'),
          grid: colour('--line'),
          background: colour('--panel'),
          dark,
          aspect: size.width / Math.max(1, size.height),
          font: getComputedStyle(element).fontFamily,
        });
        const drawn = await plotly.newPlot(
          element,
          traces,
          { ...layout, autosize: true },
          {
            displaylogo: false,
            responsive: false,
            scrollZoom: true,
            doubleClick: 'reset+autosize',
            // what is drawn stays on this machine
            plotlyServerURL: '',
            modeBarButtonsToRemove: ['toImage', 'sendChartToCloud', 'lasso2d', 'select2d'],
            locale: pageLanguage(),
            locales: { fr: { dictionary: toolTexts } },
          },
        );
        legendByKeys(plotly, drawn);
        element.dataset.drawn = graph.type;
        const observer = new ResizeObserver(() => {
          const { clientWidth: width, clientHeight: height } = element;
          // it is called once at the start as well, and drawing anew takes away what is pointed at
          if (width === 0 || (width === size.width && height === size.height)) return;
          size = { width, height };
          plotly.Plots.resize(element);
        });
        observer.observe(element);
        stop = () => {
          observer.disconnect();
          plotly.purge(element);
        };
        if (gone) stop();
      })
      .catch(say);
    return () => {
      gone = true;
      delete element.dataset.drawn;
      stop();
    };
  }, [graph, dark, pageLanguage()]);

  const points = graph.series.reduce((sum, series) => sum + series.x.length, 0);
  const name = graph.title.replaceAll('\n', ' ');
  return (
    <section class="document graph" aria-label={name}>
      <header>
        <div class="document-title">
          <h2>{name}</h2>
        </div>
        <div class="document-buttons">
          {['svg', 'png'].map(format => (
            <a key={format} class="button" href={`/api/${path}/export?format=${format}`} download>
              {format.toUpperCase()}
            </a>
          ))}
        </div>
      </header>
      <div
        ref={place}
        class="plot"
        role="group"
        tabIndex={inSpace ? 0 : undefined}
        title={inSpace ? word('turnHint') : undefined}
        onKeyDown={event => inSpace && turnByKeys(event)}
        aria-label={`${name}; ${graph.axes.map(a => a.title).join(', ')}${points ? `; ${points} ${word('points')}` : ''}`}
      />
    </section>
  );
}
