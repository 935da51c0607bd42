// Joins the modules and styles of the page into page.js and page.css beside index.html: node build.js FOLDER
import { build } from 'esbuild';
import { copyFile, mkdir } from 'node:fs/promises';
import path from 'node:path';

const folder = process.argv[2];
await mkdir(folder, { recursive: true });
await build({
  entryPoints: [{ in: 'main.js', out: 'page' }, { in: 'page.css', out: 'page' }],
  outdir: folder, bundle: true, minify: true, format: 'esm', target: 'es2022', legalComments: 'none', logLevel: 'warning',
});
await copyFile('index.html', path.join(folder, 'index.html'));
