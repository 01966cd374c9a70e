// The help: all words, searched as one types.
import { el } from '../common/dom.js';
import { language as pageLanguage, t } from '../common/texts.js';
import { GROUPS, findWords, inJavaScript } from './words.js';

const nameOf = (word) => /^[a-z_]+/i.exec(word)[0];

/** What the editor offers while one types. */
export function completions() {
  const of = (row) => (pageLanguage() === 'de' ? row[3] : row[2]);
  return GROUPS.flatMap(([, , , rows]) => rows).filter((row) => /^\w+\(/.test(row[0])).flatMap((row) => {
    const plain = { label: nameOf(row[0]), detail: row[0].slice(nameOf(row[0]).length), info: of(row), type: 'function' };
    const camel = inJavaScript(plain.label);
    return camel === plain.label ? [plain] : [plain, { ...plain, label: camel }];
  });
}

/** A panel at the side that opens and closes with its button; shared by help and lessons. */
export function makePanel({ button, title, content, opened = () => {} }) {
  const close = el('button', { type: 'button', class: 'plain', text: t('close') });
  const element = el('aside', { class: 'panel', hidden: true, 'aria-label': title },
    el('div', { class: 'row' }, el('h2', { class: 'grow', text: title }), close), ...content);
  let opener = null; // what had the focus
  const toggle = (show = element.hidden) => {
    if (show) {
      if (!element.contains(document.activeElement)) opener = document.activeElement?.closest('.panel') ? button : document.activeElement;
      for (const other of document.querySelectorAll('.panel')) if (other !== element) other.dispatchEvent(new Event('give-way'));
    }
    element.hidden = !show;
    button.setAttribute('aria-expanded', String(show));
    if (show) {
      close.focus();
      opened();
    } else {
      (opener?.isConnected && opener !== document.body && opener.getClientRects().length > 0 ? opener : button).focus();
    }
  };
  // What has the focus can be seen: a panel that covers it gives way.
  document.addEventListener('focusin', ({ target }) => {
    if (element.hidden || element.contains(target)) return;
    const { left, top, width, height } = target.getBoundingClientRect();
    if (element.contains(document.elementFromPoint(left + width / 2, top + height / 2))) element.dispatchEvent(new Event('give-way'));
  });
  element.addEventListener('give-way', () => {
    element.hidden = true;
    button.setAttribute('aria-expanded', 'false');
  });
  addEventListener('keydown', (event) => {
    if (event.key === 'Escape' && !event.defaultPrevented && !element.hidden && !document.querySelector('dialog[open]') &&
      !event.target.closest?.('.cm-editor')) toggle(false);
  });
  close.addEventListener('click', () => toggle(false));
  button.addEventListener('click', () => toggle());
  return { element, toggle };
}

export function makeHelp({ button, insert, language }) {
  const search = el('input', { type: 'search', 'aria-label': t('help.search'), placeholder: t('help.search') });
  const list = el('div', { class: 'help-list', role: 'region', 'aria-label': t('help.found') });
  const count = el('p', { class: 'only-read', role: 'status' }); // the list itself would be read out whole
  function fill() {
    const german = pageLanguage() === 'de';
    const script = language() === 'javascript';
    const found = findWords(search.value, pageLanguage());
    const parts = [];
    for (const [group, en, de] of GROUPS) {
      const rows = found.filter((one) => one.group === group);
      if (rows.length === 0) continue;
      parts.push(el('h3', { text: german ? de : en }));
      parts.push(el('dl', {}, ...rows.flatMap(({ row }) => {
        const word = script ? inJavaScript(row[0]) : row[0];
        return [
          el('dt', {}, el('button', { type: 'button', class: 'link mono', text: word, title: t('help.insert'),
            on: { click: () => insert(word) } }),
          row[1] ? el('span', { class: 'muted small', text: ` ${row[1].split(' ').join(', ')}` }) : null),
          el('dd', { text: german ? row[3] : row[2] }),
        ];
      })));
    }
    list.replaceChildren(...(parts.length > 0 ? parts : [el('p', { class: 'muted', text: t('help.nothing') })]));
  }
  search.addEventListener('input', () => {
    fill();
    const words = list.querySelectorAll('dt').length;
    count.textContent = words > 0 ? t('help.count', words) : t('help.nothing');
  });
  const keys = el('details', {}, el('summary', { text: t('help.keys') }), el('p', { class: 'small', text: t('help.keys.text') }),
    el('p', { class: 'small', text: t('help.keys.blocks') }));
  return makePanel({ button, title: t('help'), content: [search, count, keys, list], opened: () => {
    fill();
    search.focus();
  } });
}
