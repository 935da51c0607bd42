// Requests to pansharp. A failure is an Error with a message in words.

export const stopped = 'pansharp no longer answers: it was stopped or cannot be reached. Start it again and reload this page.';

/** The JSON object at a path; `signal` can abort the request. */
export async function getJson(path, signal) {
  let reply;
  try {
    reply = await fetch(path, { signal });
  } catch (error) {
    throw error.name === 'AbortError' ? error : new Error(stopped);
  }
  if (!reply.ok) throw new Error((await reply.text()).trim() || `${path}: ${reply.status}`);
  return reply.json();
}

/** The parameters of a request for a look. */
export function lookQuery(look, layer) {
  const query = new URLSearchParams();
  if (layer) query.set('layer', layer);
  query.set('sampling', look.sampling);
  query.set('bands', look.bands.join(','));
  if (look.stretch !== undefined) query.set('stretch', look.stretch);
  if (layer === 'pan' || layer === 'upsampled') {
    query.delete('method');
    return query;
  }
  query.set('method', look.method);
  if (look.weights) query.set('weights', look.weights.join(','));
  if (look.mtf !== undefined) query.set('mtf', look.mtf);
  if (look.gains) query.set('gains', look.gains.map((pair) => pair.join(':')).join(','));
  return query;
}
