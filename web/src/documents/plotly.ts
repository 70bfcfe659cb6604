// The plotting library: two files of the program, fetched when the first graph asks for one.

/** An element that holds a graph; the full traces and layout are the library's own. */
export interface PlotPlace extends HTMLElement {
  on(event: string, listen: () => void): void;
  _fullData: { legendgroup: string; visible: boolean | 'legendonly' }[];
  _fullLayout: { scene: { _scene: { getCamera(): { eye: Point } } } };
}
export interface Point {
  x: number;
  y: number;
  z: number;
}
export interface Plotly {
  newPlot(place: HTMLElement, traces: object[], layout: object, config: object): Promise<PlotPlace>;
  purge(place: HTMLElement): void;
  relayout(place: HTMLElement, change: object): Promise<unknown>;
  restyle(place: HTMLElement, change: object, traces: number[]): Promise<unknown>;
  Plots: { resize(place: HTMLElement): void };
}

declare global {
  interface Window {
    Plotly?: Plotly;
  }
}

const loading = new Map<string, Promise<Plotly>>();

function load(file: string): Promise<Plotly> {
  let started = loading.get(file);
  if (!started) {
    started = new Promise((resolve, reject) => {
      const script = document.createElement('script');
      script.src = file;
      script.onload = () => {
        // The other file puts its own library under the same name.
        const library = window.Plotly;
        if (library) resolve(library);
        else reject(new Error(file));
      };
      script.onerror = () => reject(new Error(file));
      document.head.append(script);
    });
    started.catch(() => loading.delete(file));
    loading.set(file, started);
  }
  return started;
}

export const flatPlots = () => load('plotly-flat.js');
export const spacePlots = () => load('plotly-space.js');
