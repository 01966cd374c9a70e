// Small helpers around the document. All text goes in as text, never as HTML.

/**
 * Makes an element. Keys of `props`: `class`, `text`, `on` (object of listeners), `data` (object), attributes that are
 * no properties (those with a dash, `role`, `for`), else properties of the element.
 */
export function el(name, props = {}, ...children) {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(props)) {
    if (value === undefined || value === null) continue;
    if (key === 'class') made.className = value;
    else if (key === 'text') made.textContent = value;
    else if (key === 'on') for (const [type, listener] of Object.entries(value)) made.addEventListener(type, listener);
    else if (key === 'data') Object.assign(made.dataset, value);
    else if (key.includes('-') || key === 'role' || key === 'for' || !(key in made)) made.setAttribute(key, value);
    else made[key] = value;
  }
  made.append(...children.filter((child) => child !== null && child !== undefined));
  return made;
}

export const byId = (id) => document.getElementById(id);

/** Offers `text` to the reader as a file named `name`. */
export function download(name, data, type = 'text/plain;charset=utf-8') {
  const url = URL.createObjectURL(data instanceof Blob ? data : new Blob([data], { type }));
  const link = el('a', { href: url, download: name });
  document.body.append(link);
  link.click();
  link.remove();
  setTimeout(() => URL.revokeObjectURL(url), 10000);
}

/** The text of a file's bytes: UTF-8, or else what older editors under Windows write. */
export function textOf(bytes) {
  try {
    return new TextDecoder('utf-8', { fatal: true }).decode(bytes);
  } catch {
    return new TextDecoder('windows-1252').decode(bytes);
  }
}

/** Lets the reader choose a file; calls `use(text, name)` with its content. */
export function openFile(accept, use) {
  const input = el('input', { type: 'file', accept, hidden: true });
  input.addEventListener('change', async () => {
    const [file] = input.files;
    input.remove();
    if (file) use(textOf(await file.arrayBuffer()), file.name);
  });
  document.body.append(input);
  input.click();
}

/** Copies text; over plain http the clipboard API is missing, so the old command is used. @returns whether it worked */
export function copyText(text) {
  const active = document.activeElement;
  const area = el('textarea', { value: text, readOnly: true, class: 'only-read' });
  (document.querySelector('dialog[open]') || document.body).append(area);
  area.select();
  let done = false;
  try {
    done = document.execCommand('copy');
  } catch { /* left to the reader's own keys */ }
  area.remove();
  if (active instanceof HTMLElement) active.focus();
  return done;
}

/** Whether nothing has the focus. */
export const focusIsFree = () => document.activeElement === null || document.activeElement === document.body;

let left = null; // what had the focus when it was disabled

/**
 * Lets a button or input be used or not. A disabled control loses the focus, and a keyboard's user with it: `heir` gets it,
 * or else the control itself when it may be used again, if nothing has the focus then.
 */
export function setUsable(control, usable, heir = null) {
  const had = control === document.activeElement;
  control.disabled = !usable;
  if (had && !usable) {
    control.blur(); // not every browser does that itself
    if (heir && !heir.disabled) heir.focus({ preventScroll: true });
    else left = control;
  } else if (usable && control === left && focusIsFree()) {
    left = null;
    const hasKeys = !(control.matches('input') && matchMedia('(pointer: coarse)').matches); // else the keyboard on the screen opens
    if (hasKeys) control.focus({ preventScroll: true });
  }
}

/** A random name for a tab or a run: `crypto.randomUUID` is absent over plain http. */
export function randomName() {
  return [...crypto.getRandomValues(new Uint8Array(12))].map((byte) => byte.toString(16).padStart(2, '0')).join('');
}

/** localStorage that may be full, forbidden or hold nonsense. */
export const store = {
  get(key, otherwise = null) {
    try {
      const text = localStorage.getItem(`kelmora.${key}`);
      return text === null ? otherwise : JSON.parse(text);
    } catch {
      return otherwise;
    }
  },
  set(key, value) {
    try {
      if (value === null || value === undefined) localStorage.removeItem(`kelmora.${key}`);
      else localStorage.setItem(`kelmora.${key}`, JSON.stringify(value));
      return true;
    } catch {
      return false;
    }
  },
};
