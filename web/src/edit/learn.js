// Examples and lessons in the page's language: fetched on first use, read beside the editor, opened with one press.
import { el } from '../common/dom.js';
import { language as pageLanguage, t } from '../common/texts.js';
import { makePanel } from './help.js';
import { newProgram } from './programs.js';

// A text with `code`, **strong** and *stressed* words as nodes; no HTML is parsed.
function inline(text) {
  return text.split(/(`[^`]+`|\*\*[^*]+\*\*|\*[^*\s][^*]*\*)/).filter(Boolean).map((part) => {
    if (part.startsWith('`')) return el('code', { text: part.slice(1, -1) });
    if (part.startsWith('**')) return el('strong', { text: part.slice(2, -2) });
    if (/^\*.+\*$/.test(part)) return el('em', { text: part.slice(1, -1) });
    return document.createTextNode(part);
  });
}

/** @param open  opens a program in the editor */
export function makeLearn({ button, open }) {
  const list = el('div', { class: 'learn' });
  let told = null;

  const opener = (title, language, text) => el('button', { type: 'button', text: t('learn.open'),
    on: { click: () => open(newProgram(language, title, text)) } });

  function showLesson(lesson) {
    const back = el('button', { type: 'button', class: 'plain', text: `← ${t('learn.all')}`, on: { click: showAll } });
    const parts = lesson.parts.map((part) => {
      if (part.kind === 'head') return el('h3', {}, ...inline(part.text));
      if (part.kind === 'item') return el('p', { class: 'item' }, ...inline(part.text));
      if (part.kind === 'code') {
        return el('div', { class: 'lesson-code' }, el('pre', { tabIndex: 0 }, el('code', { text: part.text })),
          part.language === 'python' ? opener(lesson.title, 'python', part.text) : null);
      }
      if (part.kind === 'picture') return el('img', { src: new URL(part.file, import.meta.url).href, alt: part.text, loading: 'lazy' });
      return el('p', {}, ...inline(part.text));
    });
    list.replaceChildren(back, el('h2', { text: lesson.title, lang: lesson.language, tabIndex: -1 }),
      el('div', { class: 'learn', lang: lesson.language }, ...parts));
    list.querySelector('h2').focus();
    list.parentElement.scrollTop = 0;
  }

  function showAll() {
    const section = (title, items) => (items.length === 0 ? [] : [el('h3', { text: title }), el('ul', { class: 'program-list' }, ...items)]);
    const examples = told.examples.map((example) => el('li', {}, el('button', { type: 'button', class: 'plain grow left',
      on: { click: () => open(newProgram(example.language, example.title, example.text)) } },
    el('span', { text: example.title }), el('span', { class: 'muted small', text: t(`language.${example.language}`) }))));
    const lessons = told.lessons.map((lesson) => el('li', {}, el('button', { type: 'button', class: 'plain grow left', text: lesson.title,
      lang: lesson.language, on: { click: () => showLesson(lesson) } })));
    list.replaceChildren(...section(t('learn.lessons'), lessons), ...section(t('learn.examples'), examples));
    if (!list.firstChild) list.append(el('p', { class: 'muted', text: t('learn.none') }));
  }

  async function load() {
    if (told) return;
    list.replaceChildren(el('p', { class: 'muted', text: t('learn.loading') }));
    try {
      told = await (await fetch(new URL(`./learn.${pageLanguage()}.json`, import.meta.url))).json();
      showAll();
    } catch {
      list.replaceChildren(el('p', { class: 'alert', text: t('learn.failed') }));
    }
  }
  return makePanel({ button, title: t('learn'), content: [list], opened: load });
}
