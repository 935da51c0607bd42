// Small building blocks of the page.

/** Makes an element with properties and children. */
export function make(name, properties = {}, ...children) {
  const element = document.createElement(name);
  for (const [key, value] of Object.entries(properties))
    key.includes('-') || key === 'role' || key === 'for' ? element.setAttribute(key, value) : (element[key] = value);
  element.append(...children);
  return element;
}

export function fillSelect(select, entries, value) {
  select.replaceChildren(...entries.map(([key, text]) => make('option', { value: key, textContent: text })));
  select.value = value;
}

/** A number with as many digits as are useful to read. */
export const show = (value, digits = 3) => Number(value).toLocaleString('en', { maximumFractionDigits: digits, useGrouping: false });

/** Limits how often a function is called; the last call is never dropped. */
export function throttle(call, milliseconds) {
  let timer = 0, last = 0;
  return (...values) => {
    clearTimeout(timer);
    const run = () => { last = performance.now(); call(...values); };
    const wait = last + milliseconds - performance.now();
    if (wait <= 0) run(); else timer = setTimeout(run, wait);
  };
}

/** A slider with its name and value. */
export function makeSlider(name, value, { min, max, step }, onInput) {
  const output = make('output', { textContent: show(value) });
  const input = make('input', { type: 'range', min, max, step, value, 'aria-label': name });
  input.addEventListener('input', () => {
    const moved = Number(Number(input.value).toPrecision(4)); // the precision of a hand
    output.textContent = show(moved);
    onInput(moved);
  });
  return make('label', { className: 'slider' }, make('span', { textContent: name, title: name }), input, output);
}
