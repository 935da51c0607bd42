// The values of the pixel under the pointer in both images, as a small chart.
import { make, show } from './parts.js';

const colours = { upsampled: 'var(--second)', sharpened: 'var(--accent)' };
const svg = (name, attributes) => {
  const element = document.createElementNS('http://www.w3.org/2000/svg', name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  return element;
};

export function drawSpectrum(target, sample, bandNames) {
  if (!sample) {
    target.replaceChildren(make('p', { className: 'note', textContent: 'Move the pointer over the image to see the values of a pixel.' }));
    return;
  }
  if (!sample.upsampled && !sample.sharpened) {
    target.replaceChildren(make('p', { className: 'note', textContent: `Column ${sample.x}, row ${sample.y}: no data.` }));
    return;
  }
  const width = 304, height = 118, left = 8, right = 8, top = 12, bottom = 18;
  const all = [...(sample.upsampled ?? []), ...(sample.sharpened ?? [])];
  const most = Math.max(...all, 1), least = Math.min(...all, most - 1), count = Math.max(sample.upsampled?.length ?? 0, 2);
  const x = (band) => left + (width - left - right) * (count === 1 ? 0.5 : band / (count - 1));
  const y = (value) => top + (height - top - bottom) * (1 - (value - least) / (most - least));
  const chart = svg('svg', { viewBox: `0 0 ${width} ${height}`, role: 'img' });
  const said = [];
  chart.append(svg('line', { x1: left, x2: width - right, y1: height - bottom, y2: height - bottom, stroke: 'var(--line)' }));
  for (const layer of ['upsampled', 'sharpened']) {
    const values = sample[layer];
    if (!values) continue;
    said.push(`${layer} ${values.join(', ')}`);
    chart.append(svg('polyline', { points: values.map((value, band) => `${x(band)},${y(value)}`).join(' '), fill: 'none', stroke: colours[layer], 'stroke-width': 2, 'stroke-linejoin': 'round' }));
    values.forEach((value, band) => chart.append(svg('circle', { cx: x(band), cy: y(value), r: 3, fill: colours[layer] })));
  }
  if (count <= 12)
    (sample.upsampled ?? []).forEach((_, band) => {
      const label = svg('text', { x: x(band), y: height - 4, 'text-anchor': band === 0 ? 'start' : band === count - 1 ? 'end' : 'middle', 'font-size': 11, fill: 'var(--quiet)' });
      label.textContent = bandNames[band] ?? band + 1;
      chart.append(label);
    });
  chart.setAttribute('aria-label', `Column ${sample.x}, row ${sample.y}: ${said.join('; ')}`);
  const entry = (layer) => {
    const mark = make('i');
    mark.style.background = colours[layer];
    return make('span', {}, mark, `${layer} ${(sample[layer] ?? []).slice(0, 8).map((value) => show(value, 0)).join(' ')}`);
  };
  const legend = make('div', { className: 'legend' }, entry('upsampled'), entry('sharpened'));
  legend.style.flexWrap = 'wrap';
  target.replaceChildren(chart, legend, make('p', { className: 'note', textContent: `Column ${sample.x}, row ${sample.y}; pan ${sample.pan ? sample.pan[0] : 'no data'}` }));
}
