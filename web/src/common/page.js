// Shared by all class pages: language, colours, and the bar at the top.
import logo from './logo.svg';
import { el, store } from './dom.js';
import { LANGUAGES, chooseLanguage, language, t } from './texts.js';

const LOOKS = ['light', 'dark'];

function systemLook() {
  return matchMedia('(prefers-color-scheme: dark)').matches ? 'dark' : 'light';
}

/** 'light' or 'dark', as it is now. */
export function look() {
  return document.documentElement.dataset.look || 'light';
}

/** Sets language and colours as chosen earlier, or by the browser's settings; follows the system's light or dark mode.
*/
export function setUpPage(titleKey) {
  chooseLanguage(store.get('language') || navigator.language);
  document.documentElement.lang = language();
  document.title = titleKey ? `${t(titleKey)} – Kelmora` : 'Kelmora';
  const show = () => {
    const chosen = store.get('look');
    document.documentElement.dataset.look = LOOKS.includes(chosen) ? chosen : systemLook();
    document.dispatchEvent(new Event('look'));
  };
  show();
  matchMedia('(prefers-color-scheme: dark)').addEventListener?.('change', show);
  addEventListener('storage', show);
}

/** Notes which control is to have the focus after the page was loaded again. */
export function keepFocus(name) {
  try {
    sessionStorage.setItem('kelmora.focus', name);
  } catch { /* without storage the focus begins at the top */ }
}

/** Gives `control` the focus as soon as it is in the page, if it was noted under this name. */
export function giveFocus(name, control) {
  try {
    if (sessionStorage.getItem('kelmora.focus') !== name) return;
    sessionStorage.removeItem('kelmora.focus');
  } catch {
    return;
  }
  queueMicrotask(() => control.focus());
  // The page is not yet as wide as it will be.
  addEventListener('load', () => setTimeout(() => control.scrollIntoView({ block: 'nearest', inline: 'center' })), { once: true });
}

function switchLook() {
  store.set('look', look() === 'dark' ? 'light' : 'dark');
  document.documentElement.dataset.look = store.get('look') || (look() === 'dark' ? 'light' : 'dark');
  document.dispatchEvent(new Event('look'));
}

export function logoMark() {
  const mark = el('span', { class: 'logo' });
  mark.innerHTML = logo; // our own drawing, built in
  mark.append(el('span', { text: 'Kelmora' }));
  return mark;
}

/** Buttons that switch to the next language and between light and dark. */
export function pageButtons() {
  const next = LANGUAGES[(LANGUAGES.findIndex(([code]) => code === language()) + 1) % LANGUAGES.length];
  const lookName = () => t(look() === 'dark' ? 'page.light' : 'page.dark');
  const lookSign = () => (look() === 'dark' ? '☀' : '☾');
  const lookButton = el('button', { type: 'button', class: 'plain square', text: lookSign(), title: lookName(),
    'aria-label': lookName() });
  lookButton.addEventListener('click', () => {
    switchLook();
    lookButton.textContent = lookSign();
    lookButton.title = lookName();
    lookButton.setAttribute('aria-label', lookName());
  });
  const languageButton = el('button', { type: 'button', class: 'plain', text: next[1], lang: next[0], on: { click: () => {
    store.set('language', next[0]);
    keepFocus('language');
    location.reload();
  } } });
  giveFocus('language', languageButton);
  return [languageButton, lookButton];
}
