// Two images of the scene, one over the other or side by side, in the scene's own grid: x is the column of pan, y the
// negative row.
import OlMap from 'ol/Map.js';
import View from 'ol/View.js';
import { defaults as defaultControls } from 'ol/control/defaults.js';
import TileLayer from 'ol/layer/Tile.js';
import Projection from 'ol/proj/Projection.js';
import { getRenderPixel } from 'ol/render.js';
import TileImage from 'ol/source/TileImage.js';
import TileGrid from 'ol/tilegrid/TileGrid.js';
import { lookQuery } from './server.js';

export class Maps {
  constructor(scene, elements, onTrouble) {
    this.scene = scene;
    this.elements = elements;
    this.extent = [0, -scene.rows, scene.columns, 0];
    this.projection = new Projection({ code: 'scene', units: 'pixels', extent: this.extent });
    const resolutions = Array.from({ length: scene.most_zoom + 1 }, (_, z) => 2 ** (scene.most_zoom - z));
    this.grid = new TileGrid({ extent: this.extent, origin: [0, 0], resolutions, tileSize: scene.tile_size });
    this.view = new View({
      projection: this.projection, extent: this.extent, constrainOnlyCenter: true, showFullExtent: true, smoothExtentConstraint: false,
      minResolution: 1 / 16, maxResolution: 2 ** (scene.most_zoom + 1), center: [scene.columns / 2, -scene.rows / 2], resolution: 1,
    });
    this.left = this.makeLayer(onTrouble);
    this.right = this.makeLayer(onTrouble);
    this.alone = this.makeLayer(onTrouble); // the right image in a map of its own
    this.swipe = 50;
    this.leftMap = this.makeMap(elements.leftMap, [this.right, this.left]);
    this.rightMap = this.makeMap(elements.rightMap, [this.alone]);
    this.left.on('prerender', (event) => this.clip(event));
    this.left.on('postrender', (event) => event.context.restore());
  }

  makeLayer(onTrouble) {
    const source = new TileImage({
      projection: this.projection, tileGrid: this.grid, interpolate: false, transition: 0, wrapX: false, tileUrlFunction: () => undefined,
    });
    source.on('tileloaderror', (event) => onTrouble(event.tile.src_ ?? event.tile.key));
    return new TileLayer({ source, extent: this.extent, cacheSize: 256 });
  }

  makeMap(target, layers) {
    return new OlMap({ target, layers, view: this.view, controls: defaultControls({ zoom: false, rotate: false, attribution: false }) });
  }

  /** Clips the left image at the divider. */
  clip(event) {
    const context = event.context, [width, height] = this.leftMap.getSize();
    context.save();
    if (this.mode !== 'swipe') return;
    const end = width * this.swipe / 100;
    const corners = [[0, 0], [end, 0], [end, height], [0, height]].map((corner) => getRenderPixel(event, corner));
    context.beginPath();
    corners.forEach(([x, y], at) => (at === 0 ? context.moveTo(x, y) : context.lineTo(x, y)));
    context.closePath();
    context.clip();
  }

  setMode(mode) {
    this.mode = mode;
    const beside = mode === 'beside';
    this.elements.rightMap.hidden = !beside;
    this.elements.divider.hidden = beside;
    this.right.setVisible(!beside);
    this.leftMap.updateSize();
    this.rightMap.updateSize();
    this.leftMap.render();
  }

  setSwipe(percent) {
    this.swipe = Math.min(100, Math.max(0, percent));
    this.elements.divider.style.left = `${this.swipe}%`;
    this.elements.divider.setAttribute('aria-valuenow', Math.round(this.swipe));
    this.leftMap.render();
  }

  /** Shows a look; images that have not changed are not requested again. */
  show(look, left, right) {
    const set = (layer, shown) => {
      const query = lookQuery(look, shown);
      query.set('v', this.scene.version);
      const ending = this.scene.may_lack_data ? 'png' : 'jpg', text = query.toString();
      const source = layer.getSource();
      if (source.getKey() === text) return;
      source.setTileUrlFunction(([z, x, y]) => `tiles/${z}/${x}/${y}.${ending}?${text}`, text);
    };
    set(this.left, left);
    set(this.right, right);
    set(this.alone, right);
  }

  fit() { this.view.fit(this.extent, { size: this.leftMap.getSize(), padding: [20, 20, 50, 20] }); }
  setAt([column, row, resolution]) {
    this.view.setCenter([column, -row]);
    this.view.setResolution(resolution);
  }
  getAt() {
    const [x, y] = this.view.getCenter();
    return [Math.round(x * 10) / 10, Math.round(-y * 10) / 10, Number(this.view.getResolution().toPrecision(5))];
  }
  zoomBy(step) { this.view.animate({ zoom: this.view.getZoom() + step, duration: 150 }); }

  /** The visible pan pixels, as LEFT,TOP,RIGHT,BOTTOM. */
  getWindow() {
    const map = this.leftMap, size = map.getSize();
    if (!size) return [0, 0, this.scene.columns, this.scene.rows];
    const [left, bottom, right, top] = this.view.calculateExtent(size);
    const clip = (value, most) => Math.min(most, Math.max(0, value));
    const column = clip(Math.floor(left), this.scene.columns - 1), row = clip(Math.floor(-top), this.scene.rows - 1);
    return [column, row, Math.max(column + 1, clip(Math.ceil(right), this.scene.columns)),
      Math.max(row + 1, clip(Math.ceil(-bottom), this.scene.rows))];
  }
}
