// The class server's interface for pages. Refusals become ApiError with the server's word.
const TOKEN = 'kelmora-token';
const PATIENCE = 15000; // ms

export class ApiError extends Error {
  /** @param word  the server's word, or 'offline' when it does not answer */
  constructor(status, word, told = {}) {
    super(told.message || word);
    this.status = status;
    this.word = word;
    this.told = told;
  }
}

export function token() {
  try {
    return localStorage.getItem(TOKEN) || '';
  } catch {
    return '';
  }
}

export function setToken(text) {
  try {
    if (text) localStorage.setItem(TOKEN, text);
    else localStorage.removeItem(TOKEN);
  } catch { /* without storage the session ends with the page */ }
}

async function send(method, path, { body, json, keepalive } = {}) {
  const headers = {};
  const mine = token();
  if (mine) headers['Kelmora-Token'] = mine;
  if (method !== 'GET') headers.Kelmora = '1';
  if (json !== undefined) {
    headers['Content-Type'] = 'application/json';
    body = JSON.stringify(json);
  } else if (body !== undefined) headers['Content-Type'] = 'text/plain; charset=utf-8';
  const abort = new AbortController();
  const timer = setTimeout(() => abort.abort(), PATIENCE);
  try {
    const answer = await fetch(path, { method, headers, body, keepalive, cache: 'no-store', signal: abort.signal });
    const text = await answer.text();
    if (answer.ok) return text;
    let told = {};
    try {
      told = JSON.parse(text);
    } catch { /* no server of ours */ }
    throw new ApiError(answer.status, told.error || 'bad', told);
  } catch (error) {
    throw error instanceof ApiError ? error : new ApiError(0, 'offline');
  } finally {
    clearTimeout(timer);
  }
}

const read = (text) => {
  try {
    return text === '' ? null : JSON.parse(text);
  } catch {
    return null;
  }
};

export const getJson = async (path) => read(await send('GET', path));
export const postJson = async (path, json = {}, options = {}) => read(await send('POST', path, { json, ...options }));
export const putJson = async (path, json) => read(await send('PUT', path, { json }));
export const postText = (path, body, options = {}) => send('POST', path, { body, ...options });

export async function join(code, name) {
  const state = await postJson('/api/join', { code, name });
  setToken(state.token);
  return state;
}
