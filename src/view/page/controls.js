// The panel. What is chosen is stored in `view`, and `on` is called.
import { fillSelect, make, makeSlider, show } from './parts.js';

const $ = (id) => document.getElementById(id);
const layers = [['pan', 'pan'], ['upsampled', 'upsampled'], ['sharpened', 'sharpened']];
const modes = [['swipe', 'Swipe'], ['beside', 'Side by side']];

/** The choices of bands to offer, limited to the bands of the scene. */
function presetsOf(scene) {
  const three = scene.shown.length === 3, list = (bands) => `bands ${bands.join(', ')}`;
  const presets = [['shown', !three ? 'one band' : scene.shown_guessed ? list(scene.shown) : 'natural colour', scene.shown]];
  const infrared = scene.bands.find(({ part }) => part === 'nir')?.number;
  if (infrared && three && !scene.shown.includes(infrared)) presets.push(['false', 'false colour (infrared)', [infrared, scene.shown[0], scene.shown[1]]]);
  if (three && scene.shown_guessed) // the colours are unknown: offer the usual orders
    for (const bands of [[3, 2, 1], [4, 3, 2]]) if (Math.max(...bands) <= scene.bands.length) presets.push([String(bands), list(bands), bands]);
  for (const { number, name } of scene.bands.slice(0, 16)) presets.push([`band${number}`, `band ${number}${name ? ` (${name})` : ''}`, [number]]);
  if (scene.bands.length >= 3) presets.push(['own', 'own choice', null]);
  return presets;
}

export function drawControls(scene, view, on) {
  const bandName = (number) => `${number}${scene.bands[number - 1]?.name ? ` ${scene.bands[number - 1].name}` : ''}`;
  const presets = presetsOf(scene);
  const usable = scene.methods.filter((method) => method.least_bands <= scene.bands.length);

  for (const [mode, text] of modes) {
    const button = make('button', { type: 'button', role: 'radio', textContent: text });
    button.addEventListener('click', () => { view.mode = mode; on.change(); });
    button.dataset.mode = mode;
    $('mode').append(button);
  }
  for (const side of ['left', 'right']) {
    fillSelect($(side), layers, view[side]);
    $(side).addEventListener('change', () => { view[side] = $(side).value; on.change(); });
  }
  fillSelect($('method'), usable.map(({ keyword }) => [keyword, keyword]), view.method);
  $('method').addEventListener('change', () => on.chooseMethod($('method').value));
  $('sampling').addEventListener('change', () => { view.sampling = $('sampling').value; on.change(); });
  fillSelect($('colours'), presets.map(([key, text]) => [key, text]), 'shown');
  $('colours').addEventListener('change', () => {
    const [key, , bands] = presets.find((preset) => preset[0] === $('colours').value);
    if (bands) view.bands = bands;
    else if (view.bands.length < 3) view.bands = [1, 2, 3];
    $('bands').hidden = key !== 'own';
    on.change();
  });
  for (const [at, text] of ['Red', 'Green', 'Blue'].entries()) {
    const select = make('select');
    fillSelect(select, scene.bands.map(({ number }) => [String(number), bandName(number)]), String(view.bands[at] ?? 1));
    select.addEventListener('change', () => {
      const bands = [...view.bands], number = Number(select.value), other = bands.indexOf(number);
      if (other >= 0) bands[other] = bands[at]; // no band stands twice
      bands[at] = number;
      view.bands = bands;
      on.change();
    });
    $('bands').append(make('label', { textContent: text }, select));
  }
  $('stretch').addEventListener('input', () => { view.stretch = Number($('stretch').value); on.change(); });
  $('fitted').addEventListener('click', () => on.fitted());

  /** A slider for each of `values`; they show the fitted values until one is moved. */
  const sliders = (title, values, names, range, set) => {
    const numbers = [...values];
    return [make('h3', { textContent: title }), ...numbers.map((value, at) => makeSlider(names[at], value, range, (moved) => {
      numbers[at] = moved;
      set([...numbers]);
      on.change();
    }))];
  };

  const fillSliders = (found) => {
    const names = scene.bands.map(({ number, name }) => name || `band ${number}`), parts = [];
    if (found.weights) parts.push(...sliders('Weights of the bands in the simulated pan', view.weights ?? found.weights, names, { min: Math.min(0, ...found.weights), max: Math.max(1, ...found.weights.map((weight) => 2 * weight)), step: 'any' }, (weights) => { view.weights = weights; }));
    if (found.mtf !== undefined) {
      const mtf = view.mtf ?? found.mtf;
      parts.push(...sliders('Modulation transfer of the bands', [mtf], ['transfer'], { min: 0.05, max: 0.9, step: 0.005 }, ([moved]) => { view.mtf = moved; view.gains ??= found.gains; }));
    }
    if (found.gains) {
      const gains = view.gains ?? found.gains, most = Math.max(2, ...gains.flat());
      const set = (of) => (moved) => { view.gains = (view.gains ?? gains).map((pair, at) => (of === 0 ? [moved[at], pair[1]] : [pair[0], moved[at]])); view.mtf ??= found.mtf; };
      const range = { min: 0, max: most, step: 'any' };
      parts.push(...sliders("Gain: share of pan's detail that each band takes", gains.map((pair) => pair[0]), names, range, set(0)));
      parts.push(...sliders('Ratio gain: further share, by the band ratio', gains.map((pair) => pair[1]), names, range, set(1)));
    }
    $('sliders').replaceChildren(...parts);
  };

  return {
    methods: () => usable.map(({ keyword }) => keyword),
    /** `found` is the server's reply about the look; sliders are rebuilt if it has changed. */
    refresh(found, isNew) {
      for (const button of $('mode').children) button.setAttribute('aria-checked', button.dataset.mode === view.mode);
      for (const name of ['left', 'right', 'method', 'sampling', 'stretch']) $(name).value = view[name];
      $('stretch-value').textContent = `${show(view.stretch, 1)} %`;
      $('method-summary').textContent = scene.methods.find(({ keyword }) => keyword === view.method)?.summary ?? '';
      const preset = presets.find(([, , bands]) => bands && String(bands) === String(view.bands));
      if ($('bands').hidden) $('colours').value = preset?.[0] ?? 'own';
      if ($('colours').value === 'own') $('bands').hidden = false;
      [...$('bands').querySelectorAll('select')].forEach((select, at) => { select.value = String(view.bands[at] ?? 1); });
      $('fitted').hidden = view.weights === undefined && view.gains === undefined && view.mtf === undefined;
      if (isNew) fillSliders(found);
    },
  };
}
