// The page for joining: class code and name, or back to an earlier session.
import { join } from '../common/api.js';
import { el, focusIsFree, setUsable, store } from '../common/dom.js';
import { logoMark, pageButtons, setUpPage } from '../common/page.js';
import { Session } from '../common/session.js';
import { refusal, t } from '../common/texts.js';

setUpPage('join.title');
const given = new URLSearchParams(location.hash.slice(1)).get('code') || '';
const codeInput = el('input', { id: 'code', type: 'text', class: 'mono code', autocomplete: 'off', autocapitalize: 'characters',
  spellcheck: false, required: true, maxLength: 40, 'aria-describedby': 'code-hint', value: given.slice(0, 40) });
const nameInput = el('input', { id: 'name', type: 'text', autocomplete: 'off', maxLength: 24, required: true, spellcheck: false,
  value: store.get('name', '') });
const button = el('button', { type: 'submit', class: 'main', text: t('join') });
const trouble = el('p', { class: 'alert', role: 'alert', hidden: true });
const form = el('form', { class: 'stack' },
  el('div', { class: 'stack tight' }, el('label', { for: 'code', text: t('code') }), codeInput,
    el('p', { id: 'code-hint', class: 'small muted', text: t('join.code.hint') })),
  el('div', { class: 'stack tight' }, el('label', { for: 'name', text: t('name') }), nameInput),
  trouble, button);
const again = el('div', { class: 'stack', hidden: true });

document.body.append(
  el('header', { class: 'bar' }, logoMark(), el('span', { class: 'grow' }), ...pageButtons()),
  el('main', { class: 'join' },
    el('div', { class: 'card stack' },
      el('h1', { text: t('join.title') }),
      el('p', { class: 'muted', text: t('join.text') }),
      again, form,
      el('p', { class: 'row small' }, el('a', { href: '/edit', text: t('join.practice') }), el('span', { class: 'grow' }),
        el('a', { href: '/watch', text: t('join.watch') })))));

/** Shows how long is still to wait, second by second. */
async function countDown(error) {
  for (let left = Math.min(Math.ceil(error.told?.retry_s || 1), 3600); left > 0; --left) {
    trouble.textContent = refusal({ ...error, word: 'slow', told: { retry_s: left } });
    await new Promise((done) => setTimeout(done, 1000));
    trouble.setAttribute('aria-live', 'off'); // it was read out once
  }
  trouble.hidden = true;
  trouble.removeAttribute('aria-live');
}

form.addEventListener('submit', async (event) => {
  event.preventDefault();
  if (button.disabled) return;
  trouble.hidden = true;
  for (const input of [codeInput, nameInput]) input.removeAttribute('aria-invalid');
  setUsable(button, false);
  button.textContent = t('join.busy');
  try {
    const state = await join(codeInput.value, nameInput.value.trim());
    store.set('name', state.name);
    await preloader.then(({ endPreload }) => endPreload()).catch(() => {});
    location.assign('/edit');
  } catch (error) {
    trouble.textContent = refusal(error);
    trouble.hidden = false;
    if (error.word === 'slow') await countDown(error);
    setUsable(button, true);
    button.textContent = t('join');
    const wrong = error.word === 'name' ? nameInput : codeInput;
    if (error.word === 'name' || error.word === 'code') wrong.setAttribute('aria-invalid', 'true');
    wrong.focus();
  }
});

let shown = null; // the name under which one can go on
// Those who have joined already can go on; the sign of life also keeps the seat while this page is open.
const session = new Session((state) => {
  const inForm = form.contains(document.activeElement);
  form.hidden = Boolean(state);
  again.hidden = !state;
  if (!state || state.name === shown) {
    shown = state ? shown : null;
    return;
  }
  shown = state.name;
  again.replaceChildren(
    el('p', {}, el('strong', { text: t('join.again', state.name) })),
    el('a', { class: 'button main-link', href: '/edit', text: t('join.go') }),
    el('button', { type: 'button', text: t('join.leave'), on: { click: async () => {
      await session.leave();
      codeInput.focus();
    } } }));
  if (inForm) again.querySelector('a').focus();
});
session.start();
queueMicrotask(() => {
  if (!focusIsFree()) return;
  if (codeInput.value && !nameInput.value) nameInput.focus();
  else if (!codeInput.value) codeInput.focus();
  else button.focus();
});

// Preloads the editor while the name is typed.
const preloader = import('./preload.js');
preloader.then(({ preload }) => preload()).catch(() => {});
