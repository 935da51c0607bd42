// The page: reads the scene, keeps what is chosen, and updates maps, panel and address.
import { drawControls } from './controls.js';
import { readLink, writeLink } from './link.js';
import { Maps } from './maps.js';
import { show, throttle } from './parts.js';
import { fillQuality } from './quality.js';
import { getJson, lookQuery, stopped } from './server.js';
import { drawSpectrum } from './spectrum.js';

const $ = (id) => document.getElementById(id);
const layerNames = { pan: 'pan', upsampled: 'upsampled', sharpened: 'sharpened' };

const trouble = {
  show(text) { $('trouble').textContent = text; $('trouble').hidden = false; },
  clear() { $('trouble').hidden = true; },
};

/** The user's choices; what is undefined is fitted. */
function firstView(scene) {
  const view = { mode: 'swipe', left: 'upsampled', right: 'sharpened', swipe: 50, method: scene.method, sampling: scene.sampling, bands: scene.shown, stretch: 2 };
  Object.assign(view, readLink(location.hash));
  if (!['swipe', 'beside'].includes(view.mode)) view.mode = 'swipe';
  for (const side of ['left', 'right']) if (!layerNames[view[side]]) view[side] = 'sharpened';
  if (!scene.methods.some((method) => method.keyword === view.method)) view.method = scene.method;
  return view;
}

function describe(scene) {
  document.title = `${scene.title} - pansharp view`;
  $('title').textContent = scene.title;
  $('summary').textContent = `${scene.columns} x ${scene.rows} pixels, ${scene.bands.length} bands of ${scene.bits} bits, ratio ${show(scene.ratio[0])}`;
}

class Page {
  constructor(scene) {
    this.scene = scene;
    this.view = firstView(scene);
    describe(scene);
    this.maps = new Maps(scene, { leftMap: $('left-map'), rightMap: $('right-map'), divider: $('divider') }, (url) => this.explain(url));
    this.parameters = {};
    this.controls = drawControls(scene, this.view, { change: () => this.change(), chooseMethod: (method) => this.chooseMethod(method), fitted: () => this.takeFitted() });
    this.showTiles = throttle(() => this.maps.show(this.view, this.view.left, this.view.right), 120);
    this.tellLater = throttle(() => this.tell(), 200);
    this.sampleLater = throttle((at) => this.sample(at), 80);
  }

  async start() {
    this.maps.setMode(this.view.mode);
    if (this.view.at?.length === 3) this.maps.setAt(this.view.at);
    else this.maps.fit();
    this.listen();
    drawSpectrum($('spectrum'));
    this.change();
    await this.fetchParameters();
  }

  /** Updates everything that depends on the choices. */
  change() {
    const { left, right, mode } = this.view;
    this.maps.setMode(mode);
    this.maps.setSwipe(this.view.swipe);
    $('left-name').textContent = this.nameOf(left);
    $('right-name').textContent = this.nameOf(right);
    this.showTiles();
    this.controls.refresh(this.parameters);
    this.tellLater();
  }

  nameOf(layer) { return layer === 'sharpened' ? this.view.method : layerNames[layer]; }

  async chooseMethod(method) {
    Object.assign(this.view, { method, weights: undefined, gains: undefined, mtf: undefined });
    this.change();
    await this.fetchParameters();
  }
  async takeFitted() { await this.chooseMethod(this.view.method); }

  /** The values that the server fitted, as a start for the sliders. */
  async fetchParameters() {
    const { method } = this.view;
    this.parameters = {};
    this.controls.refresh({}, true); // the numbers of another method do not apply to this one
    try {
      const found = await getJson(`parameters.json?${lookQuery(this.view)}`);
      if (method !== this.view.method) return; // another one was chosen meanwhile
      this.parameters = found;
      trouble.clear();
    } catch (error) {
      this.parameters = {};
      trouble.show(error.message);
    }
    this.controls.refresh(this.parameters, true);
  }

  /** Updates the address, the command and the download for the window. */
  async tell() {
    const number = this.tells = (this.tells ?? 0) + 1;
    history.replaceState(null, '', writeLink({ ...this.view, at: this.maps.getAt() }));
    const query = lookQuery(this.view);
    query.set('window', this.maps.getWindow().join(','));
    const download = lookQuery(this.view, this.view.right === 'upsampled' ? 'upsampled' : 'sharpened');
    download.set('window', query.get('window'));
    $('download').href = `window.tif?${download}`;
    try {
      const told = await getJson(`command.json?${query}`);
      if (number !== this.tells) return; // another window was requested meanwhile
      $('command').textContent = told.command;
      $('command').dataset.window = query.get('window');
      $('take-note').textContent = told.is_window ? '' : 'Pan has no position, so a part cannot be named: the command writes the whole scene.';
    } catch (error) {
      if (number !== this.tells) return;
      $('command').textContent = '';
      trouble.show(error.message);
    }
    this.drawScale();
  }

  drawScale() {
    const { map } = this.scene, pixel = map.transform ? Math.hypot(map.transform[1], map.transform[4]) : 1;
    const metres = map.metres > 0 ? pixel * map.metres : 0, unit = metres > 0 ? metres : 1;
    const whole = 110 * this.maps.view.getResolution() * unit, power = 10 ** Math.floor(Math.log10(whole));
    const length = [5, 2, 1].map((step) => step * power).find((step) => step <= whole);
    $('scale').querySelector('i').style.width = `${length / unit / this.maps.view.getResolution()}px`;
    const text = metres > 0 ? (length >= 1000 ? `${show(length / 1000)} km` : `${show(length)} m`) : `${show(length)} pixels`;
    const zoom = 1 / this.maps.view.getResolution();
    $('scale').querySelector('b').textContent = `${text}, ${zoom >= 1 ? `${show(zoom, 1)} : 1` : `1 : ${show(1 / zoom, 1)}`}`;
    $('scale').setAttribute('aria-label', `Scale: ${text}`);
  }

  async sample([x, y]) {
    const inside = x >= 0 && y >= 0 && x < this.scene.columns && y < this.scene.rows;
    if (!inside) { $('position').textContent = ''; return drawSpectrum($('spectrum')); }
    const { transform: t, name } = this.scene.map;
    const place = t ? `${show(t[0] + x * t[1] + y * t[2], t[1] < 0.01 ? 6 : 1)}, ${show(t[3] + x * t[4] + y * t[5], t[1] < 0.01 ? 6 : 1)}  ${name}` : '';
    const column = Math.floor(x), row = Math.floor(y);
    $('position').textContent = `column ${column}, row ${row}   ${place}`;
    this.sampling?.abort();
    this.sampling = new AbortController();
    const query = lookQuery(this.view);
    // All bands, unless the method only fuses some.
    const fused = this.scene.methods.find((method) => method.keyword === this.view.method).fused_bands;
    const bands = fused > 0 ? this.view.bands : this.scene.bands.map((band) => band.number);
    query.set('bands', bands.join(','));
    query.set('x', column);
    query.set('y', row);
    try {
      const names = bands.map((number) => this.scene.bands[number - 1].name || String(number));
      drawSpectrum($('spectrum'), await getJson(`sample.json?${query}`, this.sampling.signal), names);
    } catch (error) {
      if (error.name !== 'AbortError') trouble.show(error.message);
    }
  }

  /** Shows why a tile is missing. */
  async explain(url) {
    try {
      await getJson(url ?? 'scene.json');
    } catch (error) {
      if (!(error instanceof SyntaxError)) trouble.show(error.message); // a tile is not JSON: it arrived this time
    }
  }

  listen() {
    this.maps.view.on('change', () => this.tellLater());
    window.addEventListener('resize', () => this.tellLater());
    for (const map of [this.maps.leftMap, this.maps.rightMap]) {
      map.on('pointermove', (event) => event.dragging || this.sampleLater([event.coordinate[0], -event.coordinate[1]]));
      map.on('loadend', () => document.body.toggleAttribute('data-loaded', true));
      map.on('loadstart', () => document.body.toggleAttribute('data-loaded', false));
    }
    this.listenToDivider();
    const actions = { 'zoom-in': () => this.maps.zoomBy(1), 'zoom-out': () => this.maps.zoomBy(-1), 'zoom-one': () => this.maps.view.setResolution(1), 'zoom-all': () => this.maps.fit() };
    for (const button of document.querySelectorAll('#zoom button')) button.addEventListener('click', () => actions[button.dataset.do]());
    document.addEventListener('keydown', (event) => this.press(event, actions));
    $('compare').addEventListener('click', () => this.compare());
    $('copy-command').addEventListener('click', () => this.copy($('command').textContent, 'The command is copied.'));
    $('copy-link').addEventListener('click', () => this.copy(location.href, 'The link is copied.'));
    setInterval(() => this.look(), 5000);
  }

  async compare() {
    try {
      await fillQuality($('quality'), (entry) => {
        this.view.sampling = entry.resampling;
        this.chooseMethod(entry.method).then(() => {
          if (entry.weights === 'equal') { this.view.weights = this.scene.bands.map(() => 1 / this.scene.bands.length); this.change(); }
        });
      });
    } catch (error) { trouble.show(error.message); }
  }

  /** Checks that the server still runs and serves the same scene. */
  async look() {
    try {
      const now = await getJson('scene.json');
      if (now.version !== this.scene.version) trouble.show('pansharp was started again; reload this page.');
      else if ($('trouble').textContent === stopped) { trouble.clear(); this.change(); }
    } catch (error) { trouble.show(error.message); }
  }

  async copy(text, said) {
    try {
      await navigator.clipboard.writeText(text);
      $('take-note').textContent = said;
    } catch { $('take-note').textContent = 'The browser does not let the page copy. Select the text and copy it.'; }
  }

  moveSwipe(percent) {
    this.view.swipe = Math.min(100, Math.max(0, percent));
    this.maps.setSwipe(this.view.swipe);
    this.tellLater();
  }

  listenToDivider() {
    const divider = $('divider'), stage = $('maps');
    divider.addEventListener('pointerdown', (event) => divider.setPointerCapture(event.pointerId));
    divider.addEventListener('pointermove', (event) => {
      if (!divider.hasPointerCapture(event.pointerId)) return;
      const { left, width } = stage.getBoundingClientRect();
      this.moveSwipe(100 * (event.clientX - left) / width);
    });
    divider.addEventListener('keydown', (event) => {
      const step = { ArrowLeft: -2, ArrowRight: 2, Home: -100, End: 100 }[event.key];
      if (step) { this.moveSwipe(this.view.swipe + step); event.preventDefault(); }
    });
  }

  press(event, actions) {
    if (event.ctrlKey || event.altKey || event.metaKey || ['SELECT', 'INPUT', 'TEXTAREA'].includes(event.target.tagName)) return;
    const { view } = this, methods = this.controls.methods();
    const keys = {
      0: actions['zoom-all'], 1: actions['zoom-one'],
      ',': () => this.moveSwipe(view.swipe - 2), '.': () => this.moveSwipe(view.swipe + 2),
      s: () => { view.mode = view.mode === 'swipe' ? 'beside' : 'swipe'; this.change(); },
      x: () => { [view.left, view.right] = [view.right, view.left]; this.change(); },
      m: () => this.chooseMethod(methods[(methods.indexOf(view.method) + 1) % methods.length]),
    };
    if (keys[event.key]) { keys[event.key](); event.preventDefault(); }
  }
}

try {
  const page = new Page(await getJson('scene.json'));
  await page.start();
} catch (error) {
  trouble.show(error.message);
  throw error;
}
