// The quality table, which the server makes in the background.
import { make, show } from './parts.js';
import { getJson } from './server.js';

const delay = (milliseconds) => new Promise((done) => setTimeout(done, milliseconds));

function drawTable(target, table, onChoose) {
  const row = (entry, at) => {
    const name = entry.plain ? 'upsampling alone' : entry.method;
    const detail = [entry.resampling, entry.weights ? `${entry.weights} weights` : ''].filter(Boolean).join(', ');
    const choose = entry.plain ? make('span', { textContent: name }) : make('button', { type: 'button', textContent: name, title: 'Look at it' });
    choose.addEventListener('click', () => entry.plain || onChoose(entry));
    const first = make('td', {}, choose, make('br'), make('small', { textContent: detail }));
    const numbers = [entry.ergas, entry.sam, entry.mean_q].map((value) => make('td', { className: 'number', textContent: value === null ? '' : value.toFixed(3) }));
    const line = make('tr', {}, first, ...numbers);
    if (at === table.best) {
      line.className = 'best';
      choose.title = 'The best: the lowest ERGAS';
      first.append(make('small', { textContent: ' (best)' }));
    }
    return line;
  };
  const head = make('tr', {}, ...['', 'ERGAS', 'SAM', 'Q'].map((text) => make('th', { textContent: text, className: text ? 'number' : '', scope: 'col' })));
  target.replaceChildren(make('table', {}, make('thead', {}, head), make('tbody', {}, ...table.entries.map(row))),
    make('p', { className: 'note', textContent: 'ERGAS and SAM are 0 and Q is 1 for a perfect image. These figures are one scale down; the gain at full size is smaller.' }));
}

/** Polls until the table is there. `onChoose` gets the entry that the user wants to see. */
export async function fillQuality(target, onChoose) {
  const bar = make('progress', { max: 1, 'aria-label': 'The comparison' });
  target.replaceChildren(bar, make('p', { className: 'note', textContent: 'Comparing. You can go on using the images.' }));
  for (;;) {
    const state = await getJson('quality.json');
    if (state.state === 'done') return drawTable(target, state.table, onChoose);
    if (state.state === 'failed') return target.replaceChildren(make('p', { textContent: `No table: ${state.message}` }));
    bar.value = state.progress;
    await delay(500);
  }
}
