// The page of "pansharp view" in a real browser: page.mjs COMMAND CHROMIUM PLAYWRIGHT FOLDER
// Screenshots are left in FOLDER.
import assert from 'node:assert/strict';
import { execFileSync, spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdir, writeFile } from 'node:fs/promises';
import path from 'node:path';
import { pathToFileURL } from 'node:url';

const [command, chromiumFile, playwright, folder] = process.argv.slice(2);
const { chromium } = await import(pathToFileURL(path.join(playwright, 'index.mjs')));

/** A raster of 8 bits with its corner at a fixed place. */
async function write(name, size, bands, pixel, sample) {
  const file = path.join(folder, name);
  await writeFile(`${file}.raw`, Uint8Array.from({ length: size * size * bands }, (_, at) =>
    sample(at % size, Math.floor(at / size) % size, Math.floor(at / size / size))));
  await writeFile(`${file}.hdr`, `ENVI\nsamples = ${size}\nlines = ${size}\nbands = ${bands}\ndata type = 1\ninterleave = bsq\nbyte order = 0\n`);
  execFileSync('gdal_translate', ['-q', '-a_srs', 'EPSG:32630', '-a_ullr', 500000, 4600000, 500000 + size * pixel, 4600000 - size * pixel, `${file}.raw`, file]);
}
const ground = (x, y, band) => 120 + 50 * Math.sin(x * 0.05 + band) * Math.cos(y * 0.04) + 40 * Math.sin(x * 0.4) * Math.cos(y * 0.33);
await mkdir(folder, { recursive: true });
await write('pan.tif', 1200, 1, 2, (x, y) => (ground(x, y, 0) + ground(x, y, 1) + ground(x, y, 2) + ground(x, y, 3)) / 4);
await write('ms.tif', 300, 4, 8, (x, y, band) => ground(4 * x + 1.5, 4 * y + 1.5, band));

const server = spawn(command, ['view', 'pan.tif', 'ms.tif'], { cwd: folder });
const address = await new Promise((tell, fail) => {
  server.stdout.once('data', (text) => tell(String(text).trim()));
  server.once('exit', () => fail(new Error('the server ended')));
});
const browser = await chromium.launch({ executablePath: chromiumFile, args: ['--no-sandbox'] });
const faults = [];
try {
  const page = await browser.newPage({ viewport: { width: 1280, height: 800 } });
  page.on('pageerror', (error) => faults.push(error.message));
  page.on('request', (request) => request.url().startsWith(address) || request.url().startsWith('data:') || faults.push(`asks for ${request.url()}`));
  await page.goto(address);
  const settled = () => page.waitForFunction(() => document.body.hasAttribute('data-loaded') && document.querySelector('#command').textContent);
  await settled();
  await page.screenshot({ path: path.join(folder, 'wide.png') });

  const spot = { x: 520, y: 200, width: 40, height: 200 };
  const look = async () => { await settled(); await page.waitForTimeout(300); return (await page.screenshot({ clip: spot })).toString('base64'); };
  /** What is shown, once it passes a test and no longer changes, however long the tiles take. */
  const seen = async (isWanted, what) => {
    for (let last = '', tries = 0; tries < 60; ++tries) {
      const now = await look();
      if (now === last && isWanted(now)) return now;
      last = now;
    }
    assert.fail(what);
  };
  const before = await seen(() => true, 'the picture comes to rest');
  await page.locator('#divider').focus();
  await page.keyboard.press('End'); // the left image everywhere
  await seen((now) => now !== before, 'the divider moves');
  await page.keyboard.press('Home');
  await seen((now) => now === before, 'and back: the right image is what it was');

  await page.selectOption('#method', 'KOVA');
  await page.locator('#sliders h3', { hasText: 'Weights' }).waitFor();
  const fitted = await seen((now) => now !== before, 'another method changes pixels');
  await page.locator('#sliders input').first().fill('0.9');
  await seen((now) => now !== fitted, 'a slider changes pixels');
  await page.waitForFunction(() => document.querySelector('#command').textContent.includes('--weights 0.9,'));

  // The copied command writes the file that the page offers for download.
  await page.locator('[data-do="zoom-in"]').click();
  const { line, href } = await (await page.waitForFunction(() => {
    const command = document.querySelector('#command'), { href } = document.querySelector('#download');
    const isOfOne = new URL(href).searchParams.get('window') === command.dataset.window;
    return command.textContent.includes('--projwin') && isOfOne && { line: command.textContent, href };
  })).jsonValue();
  const link = page.url();
  const offered = await (await fetch(href)).arrayBuffer();
  await writeFile(path.join(folder, 'offered.tif'), Buffer.from(offered));
  execFileSync('sh', ['-c', `PATH="${path.dirname(command)}:$PATH"; ${line} --overwrite --quiet`], { cwd: folder });
  const samples = (name) => execFileSync('gdal_translate', ['-q', '-of', 'ENVI', name, `${name}.raw`], { cwd: folder }) && execFileSync('md5sum', [`${name}.raw`], { cwd: folder }).toString().slice(0, 32);
  assert.equal(samples('window.tif'), samples('offered.tif'), 'the command writes the bytes that are seen');

  const other = await browser.newPage({ viewport: { width: 420, height: 800 } });
  await other.goto(link);
  await other.waitForFunction(() => document.querySelector('#command').textContent);
  assert.equal(await other.inputValue('#method'), 'KOVA', 'a link restores the view');
  await other.screenshot({ path: path.join(folder, 'narrow.png') });

  server.kill('SIGTERM');
  await once(server, 'exit');
  await page.selectOption('#method', 'Brovey');
  await page.waitForFunction(() => document.querySelector('#trouble').textContent.includes('no longer answers'), null, { timeout: 15000 });
  assert.equal(server.exitCode, 0, 'the server ends well');
  assert.deepEqual(faults, []);
} finally {
  await browser.close();
  server.kill('SIGKILL');
}
