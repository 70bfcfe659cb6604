// What the plotting library does by the mouse alone, by keys: the legend, and turning in space.
import type { Plotly, PlotPlace, Point } from './plotly';

/** The tools of graphs in French; the library has them in English. */
export const toolTexts = {
  Zoom: 'Agrandir un rectangle',
  Pan: 'Déplacer',
  'Zoom in': 'Agrandir',
  'Zoom out': 'Réduire',
  Autoscale: 'Échelle automatique',
  'Reset axes': 'Rétablir les axes',
  'Orbital rotation': 'Tourner en tous sens',
  'Turntable rotation': 'Tourner autour de l’axe vertical',
  'Reset camera to default': 'Rétablir la vue',
  'Reset camera to last save': 'Rétablir la dernière vue',
  'Double-click to zoom back out': 'Double clic : tout montrer',
};

/** Makes each entry of the legend a check box: Space or Enter hides its series or shows it again. */
export function legendByKeys(plotly: Plotly, place: PlotPlace): void {
  const prepare = (): void => {
    place.querySelectorAll<SVGGElement>('.legend .traces').forEach(entry => {
      const toggle = entry.querySelector<SVGElement>('.legendtoggle');
      const name = entry.querySelector('.legendtext')?.textContent ?? '';
      // the entry's opacity is how the library shows that its series is hidden
      const shown = entry.style.opacity !== '0.5';
      toggle?.setAttribute('tabindex', '0');
      toggle?.setAttribute('role', 'checkbox');
      toggle?.setAttribute('aria-label', name);
      toggle?.setAttribute('aria-checked', String(shown));
      if (toggle) toggle.onkeydown = event => press(event);
    });
  };
  const press = (event: KeyboardEvent): void => {
    if (event.key !== ' ' && event.key !== 'Enter') return;
    event.preventDefault();
    const toggles = [...place.querySelectorAll<SVGElement>('.legendtoggle')];
    const at = toggles.indexOf(event.currentTarget as SVGElement);
    const group = [...new Set(place._fullData.map(trace => trace.legendgroup))][at];
    const traces = place._fullData.flatMap((trace, i) => (trace.legendgroup === group ? [i] : []));
    const shown = place._fullData[traces[0] ?? 0]?.visible === true;
    void plotly
      .restyle(place, { visible: shown ? 'legendonly' : true }, traces)
      .then(() => place.querySelectorAll<SVGElement>('.legendtoggle')[at]?.focus());
  };
  place.on('plotly_afterplot', prepare);
  prepare();
}

const step = Math.PI / 24;
const lowest = 0.1; // from the vertical axis, where left and right have no meaning

/** The arrows turn a graph in space, + and - bring it nearer or farther. */
export function turned(eye: Point, key: string): Point | null {
  const far = Math.hypot(eye.x, eye.y, eye.z);
  let around = Math.atan2(eye.y, eye.x);
  let down = Math.acos(eye.z / far);
  let distance = far;
  if (key === 'ArrowLeft') around -= step;
  else if (key === 'ArrowRight') around += step;
  else if (key === 'ArrowUp') down = Math.max(lowest, down - step);
  else if (key === 'ArrowDown') down = Math.min(Math.PI - lowest, down + step);
  else if (key === '+') distance /= 1.1;
  else if (key === '-') distance *= 1.1;
  else return null;
  return {
    x: distance * Math.sin(down) * Math.cos(around),
    y: distance * Math.sin(down) * Math.sin(around),
    z: distance * Math.cos(down),
  };
}

export function turnByKeys(event: KeyboardEvent): void {
  const place = event.currentTarget as PlotPlace;
  if (event.target !== place || !window.Plotly) return;
  const eye = turned(place._fullLayout.scene._scene.getCamera().eye, event.key);
  if (!eye) return;
  event.preventDefault();
  void window.Plotly.relayout(place, { 'scene.camera.eye': eye });
}
