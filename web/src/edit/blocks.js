// The block editor: Blockly with the turtle's words; the Python it generates is shown beside it. Loaded on first use.
import * as Blockly from 'blockly/core';
import 'blockly/blocks';
import * as English from 'blockly/msg/en';
import * as German from 'blockly/msg/de';
import { Order, pythonGenerator } from 'blockly/python';
import { language as pageLanguage } from '../common/texts.js';
import { look } from '../common/page.js';
import { GERMAN } from './blocks-german.js';

const MOVE = 160; // hues
const DRAW = 20;
const ASK = 60;
const TALK = 290;

// [type, hue, English, German, arguments, Python]; `%1` in a text is an argument: [name, kind, preset].
const WORDS = [
  ['forward', MOVE, 'go forward %1', 'gehe vorwärts %1', [['D', 'Number', 50]], 'forward($D)'],
  ['back', MOVE, 'go back %1', 'gehe zurück %1', [['D', 'Number', 50]], 'back($D)'],
  ['left', MOVE, 'turn left by %1 °', 'drehe links um %1 °', [['A', 'Number', 90]], 'left($A)'],
  ['right', MOVE, 'turn right by %1 °', 'drehe rechts um %1 °', [['A', 'Number', 90]], 'right($A)'],
  ['goto', MOVE, 'go to x %1 y %2', 'gehe zu x %1 y %2', [['X', 'Number', 0], ['Y', 'Number', 0]], 'goto($X, $Y)'],
  ['setheading', MOVE, 'look in direction %1 °', 'schaue in Richtung %1 °', [['A', 'Number', 0]], 'setheading($A)'],
  ['home', MOVE, 'go home', 'gehe zur Mitte', [], 'home()'],
  ['circle', MOVE, 'walk a circle with radius %1', 'gehe einen Kreis mit Radius %1', [['R', 'Number', 40]], 'circle($R)'],
  ['penup', DRAW, 'pen up', 'Stift hoch', [], 'penup()'],
  ['pendown', DRAW, 'pen down', 'Stift runter', [], 'pendown()'],
  ['pensize', DRAW, 'pen width %1', 'Stiftbreite %1', [['W', 'Number', 3]], 'pensize($W)'],
  ['begin_fill', DRAW, 'begin area', 'Fläche beginnen', [], 'begin_fill()'],
  ['end_fill', DRAW, 'fill area', 'Fläche füllen', [], 'end_fill()'],
  ['write', DRAW, 'write %1', 'schreibe %1', [['TEXT', null, 'Hello']], 'write($TEXT)'],
  ['fire', TALK, 'fire', 'schieße', [], 'fire()'],
  ['pick', TALK, 'pick up a coin', 'hebe eine Münze auf', [], 'pick()'],
];
const COLOURS = ['red', 'orange', 'yellow', 'lime', 'green', 'cyan', 'deepskyblue', 'blue', 'purple', 'magenta', 'pink', 'brown', 'white', 'gray', 'black'];
const COLOURS_DE = ['rot', 'orange', 'gelb', 'hellgrün', 'grün', 'türkis', 'himmelblau', 'blau', 'lila', 'magenta', 'rosa', 'braun', 'weiß', 'grau', 'schwarz'];
const ASKED = [['xcor()', 'x', 'x'], ['ycor()', 'y', 'y'], ['heading()', 'direction', 'Richtung'], ['score()', 'score', 'Punkte'], ['coins()', 'coins', 'Münzen'], ['clock()', 'clock', 'Uhr']];
const NEAR = [['0', 'at the left', 'links'], ['1', 'in front', 'vorn'], ['2', 'at the right', 'rechts']];

let defined = false;

function argument([name, kind, preset]) {
  return { type: 'input_value', name, ...(kind ? { check: kind } : {}), preset };
}

function define(german) {
  if (defined) return;
  defined = true;
  Blockly.setLocale(german ? { ...German, ...GERMAN } : English);
  // Ctrl-Enter runs the program, here as everywhere; the menu has Shift-F10 and its own key, too.
  const { registry } = Blockly.ShortcutRegistry;
  const { CTRL_CMD, ENTER } = Blockly.utils.KeyCodes;
  registry.removeKeyMapping(registry.createSerializedKey(ENTER, [CTRL_CMD]), Blockly.ShortcutItems.names.MENU);
  const statement = (type, colour, message, args) => ({ type: `k_${type}`, message0: message, args0: args, inputsInline: true,
    previousStatement: null, nextStatement: null, colour });
  const options = (list) => list.map(([value, en, de]) => [german ? de : en, value]);
  Blockly.common.defineBlocksWithJsonArray([
    ...WORDS.map(([type, hue, en, de, args]) => statement(type, hue, german ? de : en, args.map(argument))),
    statement('pencolor', DRAW, german ? 'Stiftfarbe %1' : 'pen colour %1',
      [{ type: 'field_dropdown', name: 'C', options: COLOURS.map((colour, i) => [german ? COLOURS_DE[i] : colour, colour]) }]),
    statement('fillcolor', DRAW, german ? 'Flächenfarbe %1' : 'area colour %1',
      [{ type: 'field_dropdown', name: 'C', options: COLOURS.map((colour, i) => [german ? COLOURS_DE[i] : colour, colour]) }]),
    statement('sleep', TALK, german ? 'warte %1 Sekunden' : 'wait %1 seconds', [argument(['S', 'Number', 1])]),
    { type: 'k_ask', message0: german ? 'meine %1' : 'my %1', args0: [{ type: 'field_dropdown', name: 'WHAT', options: options(ASKED) }], output: 'Number', colour: ASK },
    { type: 'k_near', message0: german ? 'etwas ist nahe %1' : 'something is near %1', args0: [{ type: 'field_dropdown', name: 'WHERE', options: options(NEAR) }], output: 'Boolean', colour: ASK },
    { type: 'k_input', message0: german ? 'frage %1 nach einer Zahl' : 'ask %1 for a number', args0: [argument(['TEXT', null, 'How many?'])], inputsInline: true, output: 'Number', colour: TALK },
  ]);
  const own = pythonGenerator.forBlock;
  const value = (block, generator, name) => generator.valueToCode(block, name, Order.NONE) || '0';
  for (const [type, , , , args, python] of WORDS) {
    own[`k_${type}`] = (block, generator) => `${args.reduce((text, [name]) => text.replace(`$${name}`, value(block, generator, name)), python)}\n`;
  }
  own.k_pencolor = (block) => `pencolor("${block.getFieldValue('C')}")\n`;
  own.k_fillcolor = (block) => `fillcolor("${block.getFieldValue('C')}")\n`;
  own.k_sleep = (block, generator) => {
    generator.definitions_.import_sleep = 'from time import sleep';
    return `sleep(${value(block, generator, 'S')})\n`;
  };
  own.k_ask = (block) => [block.getFieldValue('WHAT'), Order.FUNCTION_CALL];
  own.k_near = (block) => [`sonar()[${block.getFieldValue('WHERE')}]`, Order.MEMBER];
  own.k_input = (block, generator) => [`float(input(${value(block, generator, 'TEXT')}))`, Order.FUNCTION_CALL];
  pythonGenerator.INDENT = '    ';
  // The turtle's words must not become names of variables.
  pythonGenerator.addReservedWords(`${WORDS.map(([type]) => type).join(',')},pencolor,fillcolor,sleep,xcor,ycor,heading,score,coins,clock,sonar`);
}

const number = (value) => ({ shadow: { type: 'math_number', fields: { NUM: value } } });
const letters = (value) => ({ shadow: { type: 'text', fields: { TEXT: value } } });

function toolbox(german) {
  const of = (hue) => WORDS.filter((row) => row[1] === hue).map(([type, , , , args]) => ({ kind: 'block', type: `k_${type}`,
    inputs: Object.fromEntries(args.map(([name, kind, preset]) => [name, kind === 'Number' ? number(preset) : letters(german ? 'Hallo' : preset)])) }));
  const plain = (type, inputs) => ({ kind: 'block', type, ...(inputs ? { inputs } : {}) });
  const category = (en, de, colour, contents) => ({ kind: 'category', name: german ? de : en, colour, contents });
  return { kind: 'categoryToolbox', contents: [
    category('Move', 'Bewegen', MOVE, of(MOVE)),
    category('Draw', 'Zeichnen', DRAW, [plain('k_pencolor'), plain('k_fillcolor'), ...of(DRAW)]),
    category('Repeat', 'Wiederholen', 120, [plain('controls_repeat_ext', { TIMES: number(4) }), plain('controls_whileUntil'),
      plain('controls_for', { FROM: number(1), TO: number(10), BY: number(1) }), plain('controls_flow_statements')]),
    category('Decide', 'Entscheiden', 210, [plain('controls_if'), plain('controls_ifelse'), plain('logic_compare', { A: number(1), B: number(1) }),
      plain('logic_operation'), plain('logic_negate'), plain('logic_boolean')]),
    category('Ask', 'Fragen', ASK, [plain('k_ask'), plain('k_near')]),
    category('Numbers', 'Zahlen', 230, [plain('math_number'), plain('math_arithmetic', { A: number(1), B: number(1) }),
      plain('math_random_int', { FROM: number(1), TO: number(6) }), plain('math_modulo', { DIVIDEND: number(7), DIVISOR: number(2) })]),
    category('Talk', 'Reden', TALK, [plain('text_print', { TEXT: letters(german ? 'Hallo' : 'Hello') }), plain('text'), plain('text_join'),
      plain('k_input', { TEXT: letters(german ? 'Wie viele?' : 'How many?') }), plain('k_sleep', { S: number(1) }), ...of(TALK)]),
    { kind: 'category', name: german ? 'Variablen' : 'Variables', colour: 330, custom: 'VARIABLE' },
    { kind: 'category', name: german ? 'Eigene Wörter' : 'Own words', colour: 290, custom: 'PROCEDURE' },
  ] };
}

// The first program: a square.
const FIRST = { blocks: { languageVersion: 0, blocks: [{ type: 'controls_repeat_ext', x: 30, y: 30, inputs: { TIMES: number(4),
  DO: { block: { type: 'k_forward', inputs: { D: number(100) }, next: { block: { type: 'k_left', inputs: { A: number(90) } } } } } } }] } };

/**
 * @param changed  gets the blocks as text, and the Python that they mean, whenever one of them changes
 * @returns {open(text): shows the blocks of a text, or of a first program when it is empty or, answered by false, holds none}
 */
export function makeBlocks(parent, changed) {
  const german = pageLanguage() === 'de';
  define(german);
  const dark = Blockly.Theme.defineTheme('kelmora-dark', { name: 'kelmora-dark', base: Blockly.Themes.Classic, componentStyles: {
    workspaceBackgroundColour: '#132431', toolboxBackgroundColour: '#1a2f3f', toolboxForegroundColour: '#e6eff5',
    flyoutBackgroundColour: '#1a2f3f', flyoutForegroundColour: '#e6eff5', scrollbarColour: '#4a677b', insertionMarkerColour: '#fff' } });
  const light = Blockly.Theme.defineTheme('kelmora-light', { name: 'kelmora-light', base: Blockly.Themes.Classic, componentStyles: {
    workspaceBackgroundColour: '#ffffff', toolboxBackgroundColour: '#f6f9fb', toolboxForegroundColour: '#10283a',
    flyoutBackgroundColour: '#eef3f7', flyoutForegroundColour: '#10283a', scrollbarColour: '#cbd8e2' } });
  const theme = () => (look() === 'dark' ? dark : light);
  const workspace = Blockly.inject(parent, { toolbox: toolbox(german), media: new URL('./media/', import.meta.url).href, trashcan: true,
    theme: theme(), renderer: 'zelos', zoom: { controls: true, startScale: 0.8 }, move: { scrollbars: true, drag: true, wheel: true }, sounds: false });
  document.addEventListener('look', () => workspace.setTheme(theme()));
  new ResizeObserver(() => Blockly.svgResize(workspace)).observe(parent);
  const tell = () => {
    const code = pythonGenerator.workspaceToCode(workspace);
    changed(JSON.stringify(Blockly.serialization.workspaces.save(workspace)), `from kelmora import *\n\n${code}`);
  };
  workspace.addChangeListener((event) => { if (!event.isUiEvent && !workspace.isDragging()) tell(); });
  return {
    open(text) {
      let good = true;
      try {
        const state = text ? JSON.parse(text) : FIRST;
        if (typeof state !== 'object' || !Array.isArray(state?.blocks?.blocks ?? [])) throw new TypeError('no blocks');
        if (state.blocks === undefined && Object.keys(state).length > 0) throw new TypeError('no blocks');
        Blockly.serialization.workspaces.load(state, workspace);
      } catch {
        good = false;
        Blockly.serialization.workspaces.load(FIRST, workspace);
      }
      tell();
      return good;
    },
    workspace,
  };
}
