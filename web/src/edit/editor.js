// The text editor: CodeMirror, with the running line and the line of an error marked.
import { basicSetup } from 'codemirror';
import { autocompletion } from '@codemirror/autocomplete';
import { indentWithTab } from '@codemirror/commands';
import { javascript, javascriptLanguage } from '@codemirror/lang-javascript';
import { python, pythonLanguage } from '@codemirror/lang-python';
import { HighlightStyle, ensureSyntaxTree, indentUnit, syntaxHighlighting } from '@codemirror/language';
import { Compartment, EditorState, StateEffect, StateField } from '@codemirror/state';
import { Decoration, EditorView, keymap } from '@codemirror/view';
import { tags } from '@lezer/highlight';
import { language as pageLanguage, t, textsUnder } from '../common/texts.js';

const PARSE_TIME = 5000; // ms, on a machine that is very busy
const setMarks = StateEffect.define(); // {kind: 'run' | 'error', line, column, end} or null

function decorationsFor(state, mark) {
  if (!mark || !(mark.line >= 1) || mark.line > state.doc.lines) return Decoration.none;
  const line = state.doc.line(mark.line);
  const made = [Decoration.line({ class: `cm-${mark.kind}-line` }).range(line.from)];
  const from = Math.min(line.from + (mark.column ?? 0), line.to);
  const to = Math.min(line.from + (mark.end ?? mark.column ?? 0), line.to);
  if (mark.kind === 'error' && to > from) made.push(Decoration.mark({ class: 'cm-error-part' }).range(from, to));
  return Decoration.set(made);
}

const marks = StateField.define({
  create: () => Decoration.none,
  update(found, transaction) {
    for (const effect of transaction.effects) {
      if (effect.is(setMarks)) return decorationsFor(transaction.state, effect.value);
    }
    return transaction.docChanged ? Decoration.none : found;
  },
  provide: (field) => EditorView.decorations.from(field),
});

const look = EditorView.theme({
  '&': { height: '100%', backgroundColor: 'var(--surface)', color: 'var(--ink)', fontSize: 'var(--code-size, 1rem)' },
  '&.cm-focused': { outline: 'none' },
  // The focus, above the line numbers.
  '&.cm-focused::after': { content: '""', position: 'absolute', inset: '0', border: '2px solid var(--focus)', pointerEvents: 'none', zIndex: '250' },
  '.cm-scroller': { fontFamily: 'var(--mono)', lineHeight: '1.55' },
  '.cm-content': { caretColor: 'var(--ink)', paddingBottom: '3rem' },
  '.cm-cursor': { borderLeftColor: 'var(--ink)' },
  '.cm-gutters': { backgroundColor: 'var(--raised)', color: 'var(--muted)', borderRight: '1px solid var(--line)' },
  '.cm-activeLine': { backgroundColor: 'var(--active-line)' },
  '.cm-activeLineGutter': { backgroundColor: 'var(--accent-soft)', color: 'var(--ink)' },
  '&.cm-focused > .cm-scroller > .cm-selectionLayer .cm-selectionBackground, .cm-selectionBackground': {
    backgroundColor: 'var(--selection)' },
  '.cm-matchingBracket': { backgroundColor: 'var(--accent-soft)', outline: '1px solid var(--accent)' },
  '.cm-tooltip': { backgroundColor: 'var(--surface)', border: '1px solid var(--line)', color: 'var(--ink)' },
  '.cm-bare .cm-completionDetail': { display: 'none' },
  '.cm-panels': { backgroundColor: 'var(--raised)', color: 'var(--ink)', borderColor: 'var(--line)' },
  '.cm-panel.cm-search, .cm-dialog': { padding: '.5rem 2.8rem .5rem .6rem', display: 'flex', flexWrap: 'wrap', gap: '.4rem', alignItems: 'center', fontSize: '.9rem' },
  '.cm-panel.cm-search input, .cm-panel.cm-search button, .cm-panel.cm-search label, .cm-dialog label': { margin: '0', fontSize: '.9rem' },
  '.cm-panel.cm-search br': { display: 'none' },
  '.cm-panel.cm-search .cm-textfield': { flex: '1 1 9rem' },
  '.cm-panels .cm-textfield, .cm-panels .cm-button': {
    minHeight: '2.2rem', padding: '.2rem .6rem', color: 'inherit', background: 'var(--surface)', border: '1px solid var(--edge)', borderRadius: '.4rem' },
  '.cm-panel.cm-search label': { display: 'inline-flex', alignItems: 'center', gap: '.35rem', fontWeight: '400' },
  '.cm-panel.cm-search input[type=checkbox]': { minHeight: '0', width: '1.2rem', height: '1.2rem', margin: '0' },
  '.cm-panels button[name=close], .cm-dialog .cm-dialog-close': { position: 'absolute', top: '.35rem', right: '.4rem', width: '2.2rem', minHeight: '2.2rem', padding: '0', fontSize: '1.2rem' },
  '.cm-run-line': { backgroundColor: 'var(--mark)' },
  '.cm-error-line': { backgroundColor: 'var(--danger-soft)' },
  '.cm-error-part': { textDecoration: 'underline wavy var(--danger)', textUnderlineOffset: '.2em' },
});

const colours = HighlightStyle.define([
  { tag: [tags.keyword, tags.operatorKeyword, tags.controlKeyword, tags.definitionKeyword], color: 'var(--code-keyword)', fontWeight: '600' },
  { tag: [tags.string, tags.special(tags.string)], color: 'var(--code-string)' },
  { tag: [tags.number, tags.bool, tags.null], color: 'var(--code-number)' },
  { tag: tags.comment, color: 'var(--code-comment)', fontStyle: 'italic' },
  { tag: [tags.function(tags.variableName), tags.function(tags.propertyName)], color: 'var(--code-function)' },
  { tag: [tags.className, tags.definition(tags.function(tags.variableName))], color: 'var(--code-function)', fontWeight: '600' },
  { tag: tags.invalid, color: 'var(--danger)' },
]);

const LANGUAGES = { python: python(), javascript: javascript(), blocks: python() };

/**
 * @param options  {parent, label, words: [{label, detail, info}], changed(text), keys: [{key, run}]}
 */
export function makeEditor({ parent, label, words, changed, keys }) {
  const language = new Compartment();
  const locked = new Compartment();
  const complete = (context) => {
    const word = context.matchBefore(/[A-Za-z_]\w*/);
    if (!word || (word.from === word.to && !context.explicit)) return null;
    return { from: word.from, options: words, validFor: /^\w*$/ };
  };
  const extensions = (chosen) => [
    keymap.of(keys),
    basicSetup,
    keymap.of([indentWithTab]),
    indentUnit.of('    '),
    EditorState.tabSize.of(4),
    EditorView.lineWrapping,
    EditorState.phrases.of(textsUnder('phrase.')),
    EditorView.contentAttributes.of({ 'aria-label': label, 'aria-description': t('edit.leave'), tabindex: '0', spellcheck: 'false', autocapitalize: 'off', autocorrect: 'off' }),
    look,
    syntaxHighlighting(colours),
    marks,
    autocompletion({ icons: false, optionClass: ({ info }) => (!info && pageLanguage() !== 'en' ? 'cm-bare' : '') }), // CodeMirror explains its own in English
    pythonLanguage.data.of({ autocomplete: complete }),
    javascriptLanguage.data.of({ autocomplete: complete }),
    language.of(LANGUAGES[chosen] || LANGUAGES.python),
    locked.of(EditorState.readOnly.of(chosen === 'blocks')),
    EditorView.updateListener.of((update) => {
      if (update.docChanged) changed(update.state.doc.toString());
    }),
  ];
  const view = new EditorView({ parent, state: EditorState.create({ doc: '', extensions: extensions('python') }) });
  return {
    view,
    text: () => view.state.doc.toString(),
    /** Replaces program and history; `changed` is not told. */
    open(text, chosen) {
      view.setState(EditorState.create({ doc: text, extensions: extensions(chosen) }));
    },
    /** Replaces the text as an edit. */
    replace(text) {
      if (text === view.state.doc.toString()) return;
      view.dispatch({ changes: { from: 0, to: view.state.doc.length, insert: text } });
    },
    insert(text) {
      view.dispatch(view.state.replaceSelection(text), { scrollIntoView: true });
      view.focus();
    },
    mark(mark) {
      const effects = [setMarks.of(mark)];
      if (mark && mark.line >= 1 && mark.line <= view.state.doc.lines) {
        effects.push(EditorView.scrollIntoView(view.state.doc.line(mark.line).from, { y: 'nearest', yMargin: 40 }));
      }
      view.dispatch({ effects });
    },
    goTo(number) {
      if (!(number >= 1) || number > view.state.doc.lines) return;
      const line = view.state.doc.line(number);
      view.dispatch({ selection: { anchor: line.from }, effects: EditorView.scrollIntoView(line.from, { y: 'center' }) });
      view.focus();
    },
    /** {line} (from 1) of the first place that the editor cannot read as its language; {} when there is none. */
    firstFault() {
      const { state } = view;
      let at = null;
      ensureSyntaxTree(state, state.doc.length, PARSE_TIME)?.iterate({ enter: (node) => {
        if (node.type.isError && (at === null || node.from < at)) at = node.from;
        return at === null;
      } });
      if (at === null) return {};
      // What is missing is missed where the next thing begins; it belongs to the end of what was written before.
      const line = state.doc.lineAt(state.doc.sliceString(0, at).trimEnd().length || at);
      return { line: line.number };
    },
    focus: () => view.focus(),
  };
}
