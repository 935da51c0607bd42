// The view as the part of the address after "#", so that a link restores it.

const numbers = (text) => text.split(',').map(Number);

export function readLink(hash) {
  const link = new URLSearchParams(hash.replace(/^#/, ''));
  const view = {};
  for (const name of ['mode', 'left', 'right', 'method', 'sampling']) if (link.has(name)) view[name] = link.get(name);
  for (const name of ['stretch', 'swipe', 'mtf']) if (link.has(name)) view[name] = Number(link.get(name));
  for (const name of ['bands', 'weights', 'at']) if (link.has(name)) view[name] = numbers(link.get(name));
  if (link.has('gains')) view.gains = link.get('gains').split(',').map((pair) => pair.split(':').map(Number));
  const bad = Object.values(view).flat(2).some((value) => typeof value === 'number' && !Number.isFinite(value));
  return bad ? {} : view;
}

export function writeLink(view) {
  const link = new URLSearchParams();
  for (const [name, value] of Object.entries(view))
    if (value !== undefined && value !== null)
      link.set(name, name === 'gains' ? value.map((pair) => pair.join(':')).join(',') : String(value));
  return '#' + link.toString().replaceAll('%2C', ',').replaceAll('%3A', ':');
}
