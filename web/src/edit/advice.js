// One sentence of advice for common mistakes. Pure: an error in, a sentence out. Rules are tried in order; the first
// match wins. Texts are beside their rule, in each language of the page.

const CAPITAL = { Print: 'print', Input: 'input', For: 'for', While: 'while', If: 'if', Else: 'else', Def: 'def', Import: 'import',
  Range: 'range', True_: 'True', From: 'from', Return: 'return' };
const TURTLE_WORDS = new Set(['forward', 'fd', 'back', 'bk', 'backward', 'left', 'lt', 'right', 'rt', 'goto', 'setpos', 'setx', 'sety',
  'setheading', 'home', 'penup', 'pu', 'up', 'pendown', 'pd', 'down', 'pensize', 'width', 'pencolor', 'fillcolor', 'color', 'begin_fill',
  'end_fill', 'dot', 'circle', 'write', 'position', 'pos', 'xcor', 'ycor', 'heading', 'distance', 'towards', 'clear', 'reset', 'bgcolor',
  'speed', 'brush', 'fire', 'finder', 'sonar', 'radar', 'score', 'pick', 'drop', 'battle', 'Turtle']);
const TURTLE_LIST = [...TURTLE_WORDS];
const COLOURS = new Set(['red', 'green', 'blue', 'yellow', 'orange', 'purple', 'pink', 'black', 'white', 'brown', 'gray', 'grey', 'cyan', 'magenta',
  'violet', 'gold', 'silver', 'turquoise', 'lime', 'navy', 'skyblue', 'darkgreen', 'lightblue', 'lightgreen', 'darkblue']);
const OWN_WORDS = 'and|as|assert|break|class|continue|def|del|elif|else|except|finally|for|from|global|if|import|in|is|lambda|not|or|pass|raise|return|try|while|with|yield';
const isOwn = (word) => new RegExp(`^(?:${OWN_WORDS})$`).test(word);
const BUILT_IN = ['print', 'input', 'range', 'len', 'int', 'float', 'str', 'list', 'sum', 'max', 'min', 'abs', 'round', 'sorted'];
const THINGS = { en: { str: 'text', int: 'number', float: 'number', list: 'list', dict: 'dictionary', tuple: 'group of values', bool: 'True or False' },
  de: { str: 'Text', int: 'Zahl', float: 'Zahl', list: 'Liste', dict: 'Wörterbuch', tuple: 'Gruppe von Werten', bool: 'True oder False' } };
// Python's words as they might be said in other languages, and the words of other programming languages for print.
const SAID = { if: /^(?:wenn|falls|si|se|если|als|jeśli)$/, else: /^(?:sonst|sinon|sino|senão|altrimenti|иначе|anders)$/,
  while: /^(?:solange|mientras|enquanto|finché|пока|zolang|tantque)$/, for: /^(?:für|fuer|pour|para|per|для|voor|dla)$/ };
const PRINTS = new Set(['console', 'System', 'cout', 'printf', 'println', 'puts', 'Console']);
const LOOK_ALIKE = { '–': '-', '—': '-', '−': '-', '‐': '-', '。': '.', '、': ',', '·': '*', '×': '*', '÷': '/', '≤': '<=', '≥': '>=', '≠': '!=' };
const lookAlike = (letter) => LOOK_ALIKE[letter] || (/^[!-~]$/.test(letter.normalize('NFKC')) ? letter.normalize('NFKC') : null);
const MODULES = { randint: 'random', choice: 'random', randrange: 'random', shuffle: 'random', uniform: 'random', sleep: 'time', sqrt: 'math',
  sin: 'math', cos: 'math', pi: 'math' };
const MODULE_NAMES = new Set(['random', 'time', 'math', 'turtle', 'kelmora', 'json', 'datetime', 'string', 'itertools', 'sys', 'os', 're']);

const NOT_IN_BROWSERS = new Set(['tkinter', 'webbrowser', 'multiprocessing', 'ctypes', 'curses', 'readline', 'ensurepip', 'venv', 'idlelib', 'smtplib',
  'ftplib', 'imaplib', 'poplib', 'socketserver', 'xmlrpc', 'wsgiref', 'tarfile', 'msvcrt', 'winsound', 'winreg', 'mailbox', 'pty', 'fcntl', 'resource',
  'termios', 'syslog', 'lzma', 'pickletools', 'grp', 'pwd', 'dbm', 'turtledemo']);
const EXTRA_PACKAGES = new Set(['numpy', 'matplotlib', 'pandas', 'pygame', 'pgzero', 'pgzrun', 'requests', 'PIL', 'scipy', 'sympy', 'cv2', 'keyboard',
  'colorama', 'termcolor', 'pyautogui', 'flask', 'bs4', 'sklearn', 'tensorflow', 'seaborn', 'playsound', 'arcade', 'customtkinter', 'rich', 'pynput',
  'microbit', 'ColabTurtle', 'guizero', 'graphics', 'easygui', 'networkx', 'pyttsx3', 'serial', 'gturtle']);

/** The text of line `number` (from 1) of the program, without an obvious comment. */
function lineOf(error) {
  const text = (error.source || '').split('\n')[(error.line || 0) - 1] ?? '';
  return /['"]/.test(text) ? text : text.replace(/#.*$/, '');
}

/** The same line without a comment and without what stands in quotation marks, closed or not. */
const codeOf = (error) => lineOf(error).replace(/"[^"]*(?:"|$)|'[^']*(?:'|$)/g, '""').replace(/#.*$/, '');

/** Edit distance between two words: inserted, omitted, replaced or swapped letters. */
export function editDistance(a, b) {
  let [before, row] = [[], Array.from({ length: b.length + 1 }, (_, j) => j)];
  for (let i = 1; i <= a.length; ++i) {
    const next = [i];
    for (let j = 1; j <= b.length; ++j) {
      next[j] = Math.min(row[j] + 1, next[j - 1] + 1, row[j - 1] + (a[i - 1] === b[j - 1] ? 0 : 1));
      if (i > 1 && j > 1 && a[i - 1] === b[j - 2] && a[i - 2] === b[j - 1]) next[j] = Math.min(next[j], before[j - 2] + 1);
    }
    [before, row] = [row, next];
  }
  return row[b.length];
}

/** The known word nearest to `word`, when near enough; else null. */
export function nearest(word, known) {
  let best = null;
  let least = word.length <= 2 ? 1 : word.length <= 3 ? 2 : word.length <= 6 ? 3 : 4; // strictly less than this
  for (const candidate of known) {
    const steps = editDistance(word.toLowerCase(), candidate.toLowerCase());
    if (word.length <= 4 && steps > 1 && word[0] !== candidate[0]) continue;
    if (steps < least && candidate !== word) {
      least = steps;
      best = candidate;
    }
  }
  return best;
}

function wordsOf(source) {
  return new Set(((source || '').match(/[\p{L}_][\p{L}\p{N}_]*/gu) || []).filter((word) => word.length > 1));
}

const python = (kinds, test, en, de) => ({ kinds: new Set([kinds].flat()), test, texts: { en, de }, language: 'python' });
const javascript = (kinds, test, en, de) => ({ ...python(kinds, test, en, de), language: 'javascript' });
const says = (pattern) => (error) => pattern.exec(error.message || '');
const line = (pattern) => (error) => pattern.exec(lineOf(error));
const code = (pattern) => (error) => pattern.exec(codeOf(error));
const either = (...tests) => (error) => tests.reduce((found, test) => found || test(error), null);
/** The word of a NameError; null for other errors. */
const unknownName = (error) => /name '([\p{L}_][\p{L}\p{N}_]*)' is not defined/u.exec(error.message || '')?.[1] ?? null;

const OTHER_CASE = { ...CAPITAL, true: 'True', false: 'False', none: 'None', null: 'None' };

// Each text gets what its test matched: usually the groups of a pattern.
export const RULES = [
  /* how a program is written: first what one line shows, whatever Python says about it */
  python('SyntaxError', (error) => {
    const letter = /invalid character '(.)'/u.exec(error.message || '')?.[1];
    const plain = letter && lookAlike(letter);
    return plain ? [letter, plain] : null;
  }, ([letter, plain]) => `The character "${letter}" only looks like the right one: type ${plain} on an English keyboard.`,
  ([letter, plain]) => `Das Zeichen "${letter}" sieht nur so aus wie das richtige: Tippe ${plain}.`),
  python('SyntaxError', (error) => {
    const word = /^\s*(\p{L}+)(?![\p{L}\p{N}_]).*:\s*$/u.exec(codeOf(error))?.[1];
    const meant = word && Object.keys(SAID).find((own) => SAID[own].test(word.toLowerCase()));
    return meant ? [word, meant] : null;
  }, ([word, meant]) => `Python's own words are English: ${meant}, not ${word}.`, ([word, meant]) => `Pythons eigene Wörter sind englisch: ${meant}, nicht ${word}.`),
  python('SyntaxError', code(/\b(?:and|or)\s*[<>=!]/), () => 'After "and" and "or" stands a whole comparison again: x > 5 and x < 20.',
    () => 'Nach "and" und "or" steht wieder ein ganzer Vergleich: x > 5 and x < 20.'),
  python('SyntaxError', code(/<>/), () => 'Not equal is written != in Python.', () => 'Ungleich schreibt man in Python !=.'),
  python('SyntaxError', says(/expected 'except' or 'finally'/), () => 'A "try:" needs an "except:" below it, beginning in the same column, before anything else begins there.',
    () => 'Ein "try:" braucht darunter ein "except:" in derselben Spalte, bevor dort etwas anderes beginnt.'),
  python('SyntaxError', code(/\b(?:else\s+if|elseif|elsif)\b/), () => 'In Python "else if" is one word: elif.', () => 'In Python ist "else if" ein Wort: elif.'),
  python('SyntaxError', code(/^\s*else\s+[^:\s]/), () => 'After "else" stands only a colon; with a condition it is called elif.',
    () => 'Nach "else" steht nur ein Doppelpunkt; mit Bedingung heißt es elif.'),
  python('SyntaxError', (error) => {
    const found = new RegExp(`^\\s*(${OWN_WORDS})\\b`, 'i').exec(lineOf(error));
    return found && found[1] !== found[1].toLowerCase() ? found : null;
  }, ([, word]) => `Capital letters count: write ${word.toLowerCase()}, not ${word}.`, ([, word]) => `Groß- und Kleinschreibung zählt: Schreibe ${word.toLowerCase()}, nicht ${word}.`),
  python('SyntaxError', code(/^\s*(?:\/\/|\/\*)/), () => 'A remark begins with # in Python.', () => 'Eine Bemerkung beginnt in Python mit #.'),
  python('SyntaxError', code(/^\s*\}?\s*(?:for|while|if|elif|else|def|class|function|repeat)\b.*\{\s*$/i), () => 'Python has no braces here: end the line with a colon ":" and move the lines below to the right.',
    () => 'Python braucht hier keine geschweiften Klammern: Beende die Zeile mit einem Doppelpunkt ":" und rücke die Zeilen darunter ein.'),
  python('SyntaxError', code(/=<|=>|=!/), () => 'In comparisons the equals sign comes last: <=, >= and !=.', () => 'In Vergleichen steht das Gleichheitszeichen hinten: <=, >= und !=.'),
  python('SyntaxError', code(/&&|\|\||!(?!=)/), () => 'Python writes these as words: and, or, not.', () => 'Python schreibt das mit Wörtern: and, or, not.'),
  python('SyntaxError', code(new RegExp(`^\\s*(${OWN_WORDS})\\s*=[^=]`)), ([, word]) => `"${word}" is one of Python's own words: take another name.`,
    ([, word]) => `"${word}" ist ein Wort von Python selbst: Nimm einen anderen Namen.`),
  python('SyntaxError', code(/^\s*(?:for\s+\w+\s*=|for\s+\w+\s+range|for\b.*\brange\s+\w|for\s*\(|(?:repeat|loop|wiederhole)\b)/i), () => 'A loop that counts looks like this: for i in range(10):',
    () => 'Eine Schleife, die zählt, sieht so aus: for i in range(10):'),
  python('SyntaxError', code(/\bthen\b/), () => 'Python has no "then": a colon ":" ends the line.', () => 'Python kennt kein "then": Ein Doppelpunkt ":" beendet die Zeile.'),
  python('SyntaxError', code(/^\s*(?:var|let|const|int|float|str|string)\s+(\w+)\s*=/), ([, name]) => `A new name needs no word before it: ${name} = ...`,
    ([, name]) => `Vor einem neuen Namen steht kein Wort: ${name} = ...`),
  python('SyntaxError', code(/^\s*(?:function|func|fun|void|sub)\s+(\w+)/), ([, name]) => `In Python a function begins with def: def ${name}():`,
    ([, name]) => `In Python beginnt eine Funktion mit def: def ${name}():`),
  python('SyntaxError', either(says(/expected '\('/), code(/^\s*def\s+\w+\s*:/)), () => 'After a function\'s name stand round brackets and a colon: def name():',
    () => 'Nach dem Namen einer Funktion stehen runde Klammern und ein Doppelpunkt: def name():'),
  python('SyntaxError', code(/\([^)]*;/), () => 'Values are separated by commas, not by semicolons.', () => 'Werte trennt man mit Kommas, nicht mit Strichpunkten.'),
  python('SyntaxError', line(/^(?=[^"]*$).*'[^']*\p{L}'\p{L}.*'/u), () => 'The apostrophe ends this text too early: put texts with an apostrophe into "double" quotation marks.',
    () => 'Der Apostroph beendet diesen Text zu früh: Setze Texte mit Apostroph in "doppelte" Anführungszeichen.'),
  python('SyntaxError', (error) => {
    const text = codeOf(error);
    return /invalid syntax/.test(error.message || '') && (text.match(/\(/g) || []).length > (text.match(/\)/g) || []).length ? ['('] : null;
  }, () => 'The bracket "(" is never closed: count opening and closing brackets.', () => 'Die Klammer "(" wird nie geschlossen: Zähle die öffnenden und die schließenden Klammern.'),
  python('SyntaxError', (error) => {
    const word = /^\s*(\p{L}+)(?![\p{L}\p{N}_]).*:\s*$/u.exec(codeOf(error))?.[1];
    if (!word || isOwn(word) || /^(?:match|case)$/.test(word) || TURTLE_WORDS.has(word) || BUILT_IN.includes(word)) return null;
    const meant = nearest(word, ['if', 'elif', 'else', 'for', 'while', 'def', 'class', 'try', 'except', 'with']);
    return meant ? [word, meant] : null;
  }, ([word, meant]) => `Did you mean ${meant} instead of ${word}?`, ([word, meant]) => `Meinst du ${meant} statt ${word}?`),
  python('SyntaxError', (error) => (/^(?!\s*(?:if|elif|else|for|while|def|class|try|except|finally|with|match|case)\b).*:\s*$/.test(codeOf(error)) ? [] : null),
    () => 'Only lines that begin with if, for, while, def or else end with a colon ":": take it away here.',
    () => 'Nur Zeilen, die mit if, for, while, def oder else beginnen, enden mit einem Doppelpunkt ":": Nimm ihn hier weg.'),
  python('SyntaxError', (error) => {
    const found = /^\s*(\p{L}\w*)\s+(-?\d[\d.]*|"[^"]*"|'[^']*')\s*$/u.exec(lineOf(error));
    return found && found[1] !== 'print' && !isOwn(found[1]) ? found : null;
  }, ([, name, value]) => `What belongs to ${name} stands in round brackets: ${name}(${value}).`, ([, name, value]) => `Was zu ${name} gehört, steht in runden Klammern: ${name}(${value}).`),
  python('SyntaxError', (error) => {
    const found = /^\s*(\p{L}\w*)\s+(\p{L}\w*)\s*=[^=]/u.exec(codeOf(error));
    return found && !isOwn(found[1]) && !isOwn(found[2]) ? found : null;
  }, ([, a, b]) => `A name holds no blanks: write ${a}_${b}.`, ([, a, b]) => `Ein Name enthält keine Leerzeichen: Schreibe ${a}_${b}.`),
  python('SyntaxError', code(/^\s*(\p{L}\w*)-(\p{L}\w*)\s*=[^=]/u), ([, a, b]) => `A name holds no minus sign: write ${a}_${b}.`, ([, a, b]) => `Ein Name enthält kein Minuszeichen: Schreibe ${a}_${b}.`),
  python('SyntaxError', code(/^\s*\p{L}\w*\s*=\s*[\w."]+\s+\p{L}\w*\s*=[^=]/u), () => 'Each statement begins on a line of its own.', () => 'Jede Anweisung beginnt in einer eigenen Zeile.'),
  python('SyntaxError', says(/f-string/), () => 'In a text that begins with f" each "{" needs its "}".', () => 'In einem Text, der mit f" beginnt, braucht jedes "{" sein "}".'),
  python('SyntaxError', says(/non-printable/), () => 'An invisible character is in this line, perhaps from copying: delete the line and type it anew.',
    () => 'In dieser Zeile steckt ein unsichtbares Zeichen, vielleicht vom Kopieren: Lösche die Zeile und tippe sie neu.'),

  /* how a program is written: by what Python says */
  python('SyntaxError', says(/expected ':'/), () => 'Lines that begin with if, for, while, def or else end with a colon ":".',
    () => 'Zeilen, die mit if, for, while, def oder else beginnen, enden mit einem Doppelpunkt ":".'),
  python('SyntaxError', line(/^\s*(?:for|while|if|elif|else|def|class)\b[^:]*$/),
    () => 'Lines that begin with if, for, while, def or else end with a colon ":".',
    () => 'Zeilen, die mit if, for, while, def oder else beginnen, enden mit einem Doppelpunkt ":".'),
  python('IndentationError', says(/expected an indented block/), () => 'The lines below a colon ":" must be moved to the right by four blanks (the Tab key).',
    () => 'Die Zeilen nach einem Doppelpunkt ":" müssen um vier Leerzeichen eingerückt sein (Tabulatortaste).'),
  python('IndentationError', says(/unexpected indent/), () => 'This line begins too far to the right: take away the blanks at its beginning.',
    () => 'Diese Zeile beginnt zu weit rechts: Entferne die Leerzeichen an ihrem Anfang.'),
  python('IndentationError', says(/unindent does not match/), () => 'Lines that belong together must begin in the same column: compare the blanks with the lines above.',
    () => 'Zeilen, die zusammengehören, müssen in derselben Spalte beginnen: Vergleiche die Leerzeichen mit den Zeilen darüber.'),
  python('TabError', () => true, () => 'Tabs and blanks are mixed here: use four blanks everywhere.',
    () => 'Hier sind Tabulatoren und Leerzeichen gemischt: Nimm überall vier Leerzeichen.'),
  python('SyntaxError', says(/unterminated (?:triple-quoted )?(?:f-)?string/), () => 'A text needs a quotation mark at its end, the same as at its beginning.',
    () => 'Ein Text braucht am Ende dasselbe Anführungszeichen wie am Anfang.'),
  python('SyntaxError', says(/'([([{])' was never closed/), ([, open]) => `The bracket "${open}" is never closed: count opening and closing brackets.`,
    ([, open]) => `Die Klammer "${open}" wird nie geschlossen: Zähle die öffnenden und die schließenden Klammern.`),
  python('SyntaxError', says(/unmatched '([)\]}])'/), ([, close]) => `There is a "${close}" too many, or an opening bracket is missing before it.`,
    ([, close]) => `Hier steht ein "${close}" zu viel, oder davor fehlt die öffnende Klammer.`),
  python('SyntaxError', says(/Missing parentheses in call to '(\w+)'/), ([, name]) => `What ${name} shall show stands in round brackets: ${name}("Hello").`,
    ([, name]) => `Was ${name} zeigen soll, steht in runden Klammern: ${name}("Hallo").`),
  python('SyntaxError', (error) => (/cannot assign to/.test(error.message || '') && !/^\s*(?:if|elif|while)\b/.test(lineOf(error)) ? [] : null),
    () => 'Left of "=" stands the name that shall keep the value: age = 12, not 12 = age; to compare, write ==.',
    () => 'Links vom "=" steht der Name, der den Wert behalten soll: alter = 12, nicht 12 = alter; zum Vergleichen schreibt man ==.'),
  python('SyntaxError', says(/Maybe you meant '==' |cannot assign to/), () => 'To compare two values write two equals signs: ==. One alone stores a value.',
    () => 'Zum Vergleichen schreibt man zwei Gleichheitszeichen: ==. Eines allein speichert einen Wert.'),
  python('SyntaxError', line(/^\s*(?:if|elif|while)\b[^=!<>]*[^=!<>]=[^=]/), () => 'To compare two values write two equals signs: ==. One alone stores a value.',
    () => 'Zum Vergleichen schreibt man zwei Gleichheitszeichen: ==. Eines allein speichert einen Wert.'),
  python('SyntaxError', says(/invalid decimal literal|invalid digit/), () => 'A name may not begin with a digit; between a number and a name stands a sign: 2 * x.',
    () => 'Ein Name darf nicht mit einer Ziffer beginnen; zwischen Zahl und Name steht ein Zeichen: 2 * x.'),
  python('SyntaxError', says(/leading zeros/), () => 'Write numbers without zeros at the front: 7, not 07.',
    () => 'Schreibe Zahlen ohne Nullen am Anfang: 7, nicht 07.'),
  python('SyntaxError', says(/invalid character '([„“”‚‘’«»´`′])'/), () => 'These are quotation marks of a word processor: type plain ones, " or \'.',
    () => 'Das sind Anführungszeichen aus einer Textverarbeitung: Tippe einfache, " oder \'.'),
  python('SyntaxError', says(/invalid character '(.)'/u), ([, letter]) => `The character "${letter}" has no meaning in Python outside of a text.`,
    ([, letter]) => `Das Zeichen "${letter}" hat in Python außerhalb eines Textes keine Bedeutung.`),
  python('SyntaxError', says(/forgot a comma/), () => 'There is probably a comma missing between two values, or quotation marks around a text.',
    () => 'Wahrscheinlich fehlt zwischen zwei Werten ein Komma, oder um einen Text fehlen die Anführungszeichen.'),
  python('SyntaxError', line(/\+\+|--\s*$/), () => 'Python has no ++: write count = count + 1 or count += 1.',
    () => 'Python kennt kein ++: Schreibe zahl = zahl + 1 oder zahl += 1.'),
  python('SyntaxError', says(/'(return|break|continue)'.*outside|'(break|continue)' not properly in loop/), (found) => `"${found[1] || found[2]}" works only inside ${found[1] === 'return' ? 'a function (def)' : 'a loop'}: check how far the line is indented.`,
    (found) => `"${found[1] || found[2]}" geht nur in ${found[1] === 'return' ? 'einer Funktion (def)' : 'einer Schleife'}: Prüfe, wie weit die Zeile eingerückt ist.`),
  python('SyntaxError', code(/^\s*(else|elif|except|finally)\b/), ([, word]) => `"${word}" needs ${/^el/.test(word) ? '"if"' : '"try"'} above it, beginning in the same column, and nothing between that begins there.`,
    ([, word]) => `"${word}" braucht darüber ${/^el/.test(word) ? '"if"' : '"try"'} in derselben Spalte, und dazwischen darf dort nichts anderes beginnen.`),
  python('SyntaxError', line(/[,;]?\s*\d+,\d+\s*$/), () => 'Decimal numbers have a point, not a comma: 1.5.', () => 'Kommazahlen schreibt man mit Punkt: 1.5.'),

  /* names */
  python('NameError', (error) => {
    const name = unknownName(error);
    return name && /[\u0370-\u04ff]/.test(name) && /[a-z]/i.test(name) ? [name] : null;
  }, ([name]) => `${name} holds a letter of another alphabet that only looks alike: type the word anew.`,
  ([name]) => `In ${name} steckt ein Buchstabe aus einem anderen Alphabet, der nur so aussieht: Tippe das Wort neu.`),
  python('NameError', (error) => {
    const name = unknownName(error);
    return name && new RegExp(`^\\s*${name}\\s*==[^=]*$`, 'u').test(codeOf(error)) ? [name] : null;
  }, ([name]) => `To store a value write one equals sign: ${name} = ...; two of them compare.`,
  ([name]) => `Zum Speichern schreibt man ein Gleichheitszeichen: ${name} = ...; zwei vergleichen.`),
  python('NameError', (error) => (PRINTS.has(unknownName(error)) ? [] : null), () => 'In Python print shows something: print("Hello").',
    () => 'In Python zeigt print etwas an: print("Hallo").'),
  python('NameError', (error) => (unknownName(error) === 'raw_input' ? [] : null), () => 'In Python 3 this is called input(...).',
    () => 'In Python 3 heißt das input(...).'),
  python('NameError', (error) => {
    const name = unknownName(error);
    if (MODULE_NAMES.has(name)) return [name, `import ${name}`];
    return Object.hasOwn(MODULES, name) ? [name, `from ${MODULES[name]} import ${name}`] : null;
  }, ([name, text]) => `To use ${name}, write at the very top: ${text}`, ([name, text]) => `Um ${name} zu verwenden, schreibe ganz oben: ${text}`),
  python('NameError', (error) => {
    const name = unknownName(error);
    const meant = name && ((Object.hasOwn(OTHER_CASE, name) && OTHER_CASE[name])
      || [...TURTLE_LIST, ...BUILT_IN].find((word) => word !== name && word.toLowerCase() === name.toLowerCase()));
    return meant ? [name, meant] : null;
  }, ([name, meant]) => `Capital letters count: write ${meant}, not ${name}.`, ([name, meant]) => `Groß- und Kleinschreibung zählt: Schreibe ${meant}, nicht ${name}.`),
  python('NameError', (error) => (TURTLE_WORDS.has(unknownName(error)) ? [unknownName(error)] : null),
    ([name]) => `Write "from kelmora import *" at the very top, or kelmora.${name}(...).`, ([name]) => `Schreibe ganz oben "from kelmora import *", oder kelmora.${name}(...).`),
  python('NameError', (error) => (COLOURS.has(unknownName(error)) ? [unknownName(error)] : null),
    ([name]) => `A colour is a text: put it in quotation marks, "${name}".`, ([name]) => `Eine Farbe ist ein Text: Setze sie in Anführungszeichen, "${name}".`),
  python('NameError', (error) => {
    const name = unknownName(error);
    const below = (error.source || '').split('\n').slice(error.line || 0).some((text) => new RegExp(`^\\s*(?:def\\s+${name}\\b|${name}\\s*=(?!=))`).test(text));
    return /^\w+$/.test(name || '') && below ? [name] : null;
  }, ([name]) => `${name} is made only further down: put that above this line.`, ([name]) => `${name} entsteht erst weiter unten: Setze das über diese Zeile.`),
  python('NameError', (error) => {
    const name = unknownName(error);
    const meant = name && nearest(name, [...wordsOf(error.source), ...TURTLE_LIST, ...BUILT_IN, 'True', 'False', 'None'].filter((word) => word !== name));
    return meant ? [name, meant] : null;
  }, ([name, meant]) => `Did you mean ${meant} instead of ${name}? Names must be written the same way everywhere.`,
  ([name, meant]) => `Meinst du ${meant} statt ${name}? Namen müssen überall gleich geschrieben sein.`),
  python('NameError', (error) => (unknownName(error) ? [unknownName(error)] : null), ([name]) => `Nothing is called ${name} yet: give it a value first (${name} = ...), or put it in quotation marks if it is a text.`,
    ([name]) => `Noch heißt nichts ${name}: Gib ihm zuerst einen Wert (${name} = ...), oder setze es in Anführungszeichen, wenn es ein Text ist.`),
  python('UnboundLocalError', says(/variable '(\w+)'/), ([, name]) => `Inside the function ${name} has no value yet: hand it over in the brackets, or write "global ${name}" as the function's first line.`,
    ([, name]) => `In der Funktion hat ${name} noch keinen Wert: Übergib es in den Klammern, oder schreibe als erste Zeile der Funktion "global ${name}".`),
  python('UnboundLocalError', () => true, () => 'Inside the function this name has no value yet: hand it over in the brackets, or write "global name" first.',
    () => 'In der Funktion hat dieser Name noch keinen Wert: Übergib ihn in den Klammern, oder schreibe zuerst "global name".'),
  python('ModuleNotFoundError', (error) => {
    const name = /No module named '(\w+)/.exec(error.message || '')?.[1];
    return NOT_IN_BROWSERS.has(name) ? [name] : null;
  }, ([name]) => `${name} needs windows, files or a network of its own, which a program in a browser does not have.`,
  ([name]) => `${name} braucht eigene Fenster, Dateien oder ein Netz, und die hat ein Programm im Browser nicht.`),
  python('ModuleNotFoundError', (error) => {
    const name = /No module named '(\w+)/.exec(error.message || '')?.[1];
    return EXTRA_PACKAGES.has(name) ? [name] : null;
  }, ([name]) => `${name} is no part of Python but an extra package, which the class does not have: use Python's own modules and kelmora.`,
  ([name]) => `${name} gehört nicht zu Python, sondern ist ein zusätzliches Paket, das die Klasse nicht hat: Nimm Pythons eigene Module und kelmora.`),
  python('ModuleNotFoundError', (error) => {
    const name = /No module named '([\w.]+)'/.exec(error.message || '')?.[1];
    const meant = name && nearest(name, MODULE_NAMES);
    return meant ? [name, meant] : null;
  }, ([name, meant]) => `There is no module called ${name}: did you mean ${meant}?`, ([name, meant]) => `Ein Modul ${name} gibt es nicht: Meinst du ${meant}?`),
  python('ModuleNotFoundError', says(/No module named '([\w.]+)'/), ([, name]) => `There is no module called ${name} here: check its spelling; in the class you have Python's own modules and kelmora.`,
    ([, name]) => `Ein Modul ${name} gibt es hier nicht: Prüfe die Schreibweise; in der Klasse gibt es Pythons eigene Module und kelmora.`),
  python('ImportError', says(/cannot import name '(\w+)'.*Did you mean: '(\w+)'/), ([, name, meant]) => `Did you mean ${meant} instead of ${name}?`, ([, name, meant]) => `Meinst du ${meant} statt ${name}?`),
  python('ImportError', says(/cannot import name '(\w+)' from '([\w.]+)'/), ([, name, module]) => `${module} has nothing called ${name}: check its spelling.`,
    ([, name, module]) => `In ${module} gibt es nichts, das ${name} heißt: Prüfe die Schreibweise.`),
  python('AttributeError', says(/'(?:list|str|dict|tuple|set|range)' object has no attribute '(?:length|size|len|Length|Count)'/), () => 'How many there are tells len: len(things).',
    () => 'Wie viele es sind, sagt len: len(dinge).'),
  python('AttributeError', says(/'list' object has no attribute '(?:add|push|push_back|append_all)'/), () => 'A list grows with append: things.append(3).',
    () => 'Eine Liste wächst mit append: dinge.append(3).'),
  python('AttributeError', says(/'dict' object has no attribute '(\w+)'/), ([, key]) => `What stands under a key of a dictionary is fetched with square brackets: ["${key}"].`,
    ([, key]) => `Was unter einem Schlüssel steht, holt man mit eckigen Klammern: ["${key}"].`),
  python('AttributeError', (error) => {
    const name = /(\w+)\s*\.\s*\w+/.exec(codeOf(error))?.[1];
    return MODULE_NAMES.has(name) && /' object has no attribute/.test(error.message || '') && new RegExp(`^\\s*${name}\\s*=(?!=)`, 'm').test(error.source || '') ? [name] : null;
  }, ([name]) => `In another line ${name} got a value of its own: take a different name there.`, ([name]) => `In einer anderen Zeile hat ${name} einen eigenen Wert bekommen: Nimm dort einen anderen Namen.`),
  python('AttributeError', says(/Did you mean: '(\w+)'/), ([, meant]) => `Did you mean ${meant}?`, ([, meant]) => `Meinst du ${meant}?`),
  python('AttributeError', says(/'NoneType' object has no attribute/), () => 'What stands before the point is None, so nothing was stored there: many functions do something but give nothing back.',
    () => 'Was vor dem Punkt steht, ist None, also wurde dort nichts gespeichert: Viele Funktionen tun etwas, geben aber nichts zurück.'),
  python('AttributeError', (error) => {
    const found = /'(\w+)' object has no attribute '(\w+)'/.exec(error.message || '');
    return found && new RegExp(`^\\s*class\\s+${found[1]}\\b`, 'm').test(error.source || '') ? found : null;
  }, ([, kind, name]) => `A ${kind} has nothing called ${name} yet: store it in the object, self.${name} = ..., or check its spelling.`,
  ([, kind, name]) => `${kind} hat noch nichts, das ${name} heißt: Speichere es im Objekt, self.${name} = ..., oder prüfe die Schreibweise.`),
  python('AttributeError', says(/'(\w+)' object has no attribute '(\w+)'/), ([, kind, name]) => `${name} does not belong to what stands before the point (${THINGS.en[kind] || kind}): check its spelling in the help.`,
    ([, kind, name]) => `${name} gehört nicht zu dem, was vor dem Punkt steht (${THINGS.de[kind] || kind}): Prüfe die Schreibweise in der Hilfe.`),
  python('AttributeError', says(/module '([\w.]+)' has no attribute '(\w+)'/), ([, module, name]) => `${module} has nothing called ${name}: check its spelling in the help.`,
    ([, module, name]) => `${module} hat nichts, das ${name} heißt: Prüfe die Schreibweise in der Hilfe.`),

  /* values */
  python('TypeError', says(/'(str|tuple)' object does not support item (?:assignment|deletion)/), ([, kind]) => (kind === 'str'
    ? 'The letters of a text cannot be changed one by one: put a new text together.' : 'A group in round brackets cannot be changed: write a list, in square brackets.'),
  ([, kind]) => (kind === 'str' ? 'Die Buchstaben eines Textes lassen sich nicht einzeln ändern: Setze einen neuen Text zusammen.'
    : 'Eine Gruppe in runden Klammern lässt sich nicht ändern: Schreibe eine Liste, in eckigen Klammern.')),
  python('TypeError', says(/\btuple\b/), () => 'A comma makes a group of several values: decimal numbers have a point, 1.5 and not 1,5.',
    () => 'Ein Komma macht daraus mehrere Werte: Kommazahlen schreibt man mit Punkt, 1.5 und nicht 1,5.'),
  python(['TypeError', 'ValueError'], says(/unpack/), () => 'On the left of "=" there must be as many names as values on the right.',
    () => 'Links vom "=" müssen so viele Namen stehen wie rechts Werte.'),
  python('TypeError', says(/indices must be integers/), () => 'In square brackets stands a whole number: [0] is the first; int(...) makes one.',
    () => 'In eckigen Klammern steht eine ganze Zahl: [0] ist das erste; int(...) macht eine daraus.'),
  python('TypeError', says(/can't multiply sequence/), () => 'A text can be repeated a whole number of times only; to compute, make a number of each text first: int(...).',
    () => 'Ein Text lässt sich nur eine ganze Zahl mal wiederholen; zum Rechnen mache aus jedem Text zuerst eine Zahl: int(...).'),
  python('TypeError', says(/(?:not ['"]|instances of .*'|type\(s\) for .*')(?:function|method|builtin_function_or_method)['"]/), () => 'The round brackets after the name of a function are missing, as in input().',
    () => 'Nach dem Namen einer Funktion fehlen die runden Klammern, wie bei input().'),
  python('TypeError', says(/has no len\(\)/), () => 'len counts the letters of a text or the things in a list, and this is neither.',
    () => 'len zählt die Buchstaben eines Textes oder die Dinge in einer Liste, und das hier ist keins von beiden.'),
  python('TypeError', says(/is not a container/), () => 'After "in" stands a list, a text or range(...).', () => 'Nach "in" steht eine Liste, ein Text oder range(...).'),
  python('TypeError', says(/\w+\.\w+\(\) takes 0 positional/), () => 'A function inside a class needs "self" first in its brackets: def name(self):',
    () => 'Eine Funktion in einer Klasse braucht "self" als Erstes in ihren Klammern: def name(self):'),
  python('TypeError', says(/'(?:function|method|builtin_function_or_method)' object is not subscriptable/), () => 'A function is used with round brackets, not with square ones: forward(50).',
    () => 'Eine Funktion verwendet man mit runden Klammern, nicht mit eckigen: forward(50).'),
  python('TypeError', (error) => {
    if (!/object is not callable/.test(error.message || '')) return null;
    const called = [...lineOf(error).matchAll(/(\w+)\s*\(/g)].map(([, name]) => name);
    const lost = called.find((name) => (BUILT_IN.includes(name) || TURTLE_WORDS.has(name)) && new RegExp(`^\\s*${name}\\s*=(?!=)`, 'm').test(error.source || ''));
    return lost ? [lost] : null;
  }, ([name]) => `In another line ${name} got a value of its own: take a different name there.`, ([name]) => `In einer anderen Zeile hat ${name} einen eigenen Wert bekommen: Nimm dort einen anderen Namen.`),
  python('TypeError', says(/can only concatenate str|must be str, not|unsupported operand type\(s\) for \+: '(?:int|float)' and 'str'/),
    () => 'A text and a number cannot be joined with +: use str(number), or a comma in print.',
    () => 'Text und Zahl lassen sich nicht mit + verbinden: Nimm str(zahl), oder in print ein Komma.'),
  python('TypeError', says(/unsupported operand|not supported between instances/), (found, error) => (/NoneType/.test(error.message)
    ? 'One of the two values is None: something was never stored, or a function gave nothing back.'
    : 'These two values do not go together; what comes from input() is a text: turn it into a number with int(...).'),
  (found, error) => (/NoneType/.test(error.message)
    ? 'Einer der beiden Werte ist None: Etwas wurde nie gespeichert, oder eine Funktion gab nichts zurück.'
    : 'Diese beiden Werte passen nicht zusammen; was von input() kommt, ist ein Text: Mache mit int(...) eine Zahl daraus.')),
  python('TypeError', says(/'str' object cannot be interpreted as|doesn't define __round__|must be real number, not str|bad operand type|number of seconds/), () => 'Here a number is needed, not a text; turn what comes from input() into one with int(...).',
    () => 'Hier wird eine Zahl gebraucht, kein Text; mache mit int(...) eine aus dem, was von input() kommt.'),
  python('TypeError', says(/'float' object cannot be interpreted as an integer/), () => 'Here a whole number is needed: use int(...), or // to divide.',
    () => 'Hier wird eine ganze Zahl gebraucht: Nimm int(...), oder // zum Teilen.'),
  python('TypeError', says(/'NoneType' object is not (?:subscriptable|iterable|callable)/), () => 'This value is None: many functions do something but give nothing back, as a.sort() does.',
    () => 'Dieser Wert ist None: Viele Funktionen tun etwas, geben aber nichts zurück, wie a.sort().'),
  python('TypeError', says(/(\w+)\(\) takes no arguments/), ([, name]) => `${name} takes values only when its class has a function __init__, with two underscores on each side.`,
    ([, name]) => `${name} nimmt nur Werte, wenn die Klasse eine Funktion __init__ hat, mit zwei Unterstrichen auf jeder Seite.`),
  python('TypeError', says(/missing \d+ required positional argument/), () => 'A value is missing in the round brackets of the call.',
    () => 'In den runden Klammern des Aufrufs fehlt ein Wert.'),
  python('TypeError', says(/takes (?:from )?\d+.* positional arguments? but|takes no arguments/), () => 'There are too many values in the round brackets of the call.',
    () => 'In den runden Klammern des Aufrufs stehen zu viele Werte.'),
  python('TypeError', says(/'(\w+)' object is not callable/), () => 'Round brackets mean "do it", but this is a value: is an operator missing before them, or did a variable take a function\'s name?',
    () => 'Runde Klammern bedeuten "tu es", aber das hier ist ein Wert: Fehlt davor ein Rechenzeichen, oder heißt eine Variable wie eine Funktion?'),
  python('TypeError', says(/object is not subscriptable/), () => 'Square brackets pick from a list or a text, and this is neither.',
    () => 'Eckige Klammern wählen aus einer Liste oder einem Text aus, und das hier ist keins von beiden.'),
  python('TypeError', says(/'(?:int|float)' object is not iterable/), () => 'To repeat so many times write range(...): for i in range(10):',
    () => 'Um so oft zu wiederholen, schreibe range(...): for i in range(10):'),
  python('ValueError', says(/invalid literal for int\(\)|could not convert string to float/), () => 'This text is no number: ask for one, and type digits only (with a point, not a comma, in decimals).',
    () => 'Dieser Text ist keine Zahl: Frage nach einer, und tippe nur Ziffern (Kommazahlen mit Punkt).'),
  python('ValueError', says(/not in list/), () => 'The list does not hold this value: ask with "in" first.', () => 'Die Liste enthält diesen Wert nicht: Frage zuerst mit "in".'),
  python('ValueError', says(/empty range/), () => 'The smaller number comes first: randint(1, 6).', () => 'Die kleinere Zahl kommt zuerst: randint(1, 6).'),
  python(['ValueError', 'IndexError'], says(/is empty|empty sequence|from (?:an )?empty/), () => 'There is nothing in it: ask first how many there are, with len(...).',
    () => 'Es ist nichts darin: Frage zuerst mit len(...), wie viele es sind.'),
  python('IndexError', says(/Replacement index/), () => 'There are more {} in the text than values in the brackets.', () => 'Im Text stehen mehr {} als Werte in den Klammern.'),
  python('ValueError', says(/nonnegative|domain/), () => 'This cannot be computed with this number, as there is no root of a negative number.',
    () => 'Mit dieser Zahl lässt sich das nicht rechnen, wie die Wurzel einer negativen Zahl.'),
  python('FileNotFoundError', () => true, () => 'There is no such file here: a program in the browser has no files but those that it has written itself.',
    () => 'So eine Datei gibt es hier nicht: Ein Programm im Browser findet nur Dateien, die es selbst geschrieben hat.'),
  python('RuntimeError', says(/can't start new thread/), () => 'A program in the browser has no threads: call the function itself, without a thread.',
    () => 'Ein Programm im Browser hat keine Threads: Rufe die Funktion selbst auf, ohne Thread.'),
  python('RuntimeError', says(/everybody has one turtle/), () => 'On the field you have one turtle: for several press "Practice" above the picture, then Run.',
    () => 'Auf dem Feld hast du eine Schildkröte: Für mehrere drücke "Üben" über dem Bild, dann Start.'),
  python('OSError', says(/does not support processes/), () => 'A program in the browser cannot start other programs.',
    () => 'Ein Programm im Browser kann keine anderen Programme starten.'),
  python('URLError', () => true, () => 'A program in the browser reaches no other computers.', () => 'Ein Programm im Browser erreicht keine anderen Computer.'),
  python('OverflowError', () => true, () => 'This number is far too large.', () => 'Diese Zahl ist viel zu groß.'),
  python('IndexError', says(/string/), () => 'The text is shorter than that: counting begins at 0, so the last of 5 letters is number 4.',
    () => 'So lang ist der Text nicht: Gezählt wird ab 0, der letzte von 5 Buchstaben ist also Nummer 4.'),
  python('IndexError', () => true, () => 'The list is shorter than that: counting begins at 0, so the last of 5 is number 4.',
    () => 'So lang ist die Liste nicht: Gezählt wird ab 0, das letzte von 5 ist also Nummer 4.'),
  python('KeyError', () => true, () => 'The dictionary has no such key: check its spelling, or ask with "in" first.',
    () => 'Das Wörterbuch hat diesen Schlüssel nicht: Prüfe die Schreibweise, oder frage zuerst mit "in".'),
  python('ZeroDivisionError', () => true, () => 'Nothing can be divided by zero: check the value before you divide.',
    () => 'Durch null kann man nicht teilen: Prüfe den Wert, bevor du teilst.'),
  python('RecursionError', () => true, () => 'A function calls itself without end, or too often: it needs an "if" at which it stops.',
    () => 'Eine Funktion ruft sich ohne Ende oder zu oft selbst auf: Sie braucht ein "if", bei dem sie aufhört.'),

  /* the field */
  python(['NotANumber'], says(/not None/), () => 'A value is missing in the round brackets, or it is None: many functions do something but give nothing back.',
    () => 'In den runden Klammern fehlt ein Wert, oder er ist None: Viele Funktionen tun etwas, geben aber nichts zurück.'),
  python(['BadValue'], says(/parts of a colour go from 0 to 1 /), () => 'For colours with numbers up to 255 write colormode(255) first.',
    () => 'Für Farben mit Zahlen bis 255 schreibe zuerst colormode(255).'),
  python(['BadValue'], says(/^(?!.*parts of a colour).*colour/), () => 'Colours have English names in quotation marks, such as "red", "blue" or "green", or are written like "#ff8800".',
    () => 'Farben haben englische Namen in Anführungszeichen, etwa "red", "blue" oder "green", oder man schreibt sie wie "#ff8800".'),
  python(['NotANumber'], () => true, () => 'The turtle needs a number here; what comes from input() is a text: int(input(...)).',
    () => 'Die Schildkröte braucht hier eine Zahl; was von input() kommt, ist ein Text: int(input(...)).'),
  python(['Blocked'], () => true, () => 'Something stands in the way: turn first, or go round it.', () => 'Etwas steht im Weg: Drehe dich zuerst, oder gehe außen herum.'),
  python(['Forbidden', 'ClassError'], says(/forbidden|allow/i), () => 'Your teacher has switched this command off for the class.',
    () => 'Diesen Befehl hat deine Lehrkraft für die Klasse abgeschaltet.'),

  /* JavaScript */
  javascript('ReferenceError', (error) => {
    const found = /\b(None|True|False|begin_fill|end_fill|on_hit|on_wall|on_turtle|on_coin|on_message|elif|def)\b/.exec(error.message || '');
    return found ? [found[1], { None: 'null', elif: 'else if', def: 'function' }[found[1]] || found[1].replace(/^[TF]/, (letter) => letter.toLowerCase()).replace(/_(\w)/g, (_, letter) => letter.toUpperCase())] : null;
  }, ([name, meant]) => `In JavaScript ${name} is written ${meant}.`, ([name, meant]) => `In JavaScript schreibt man ${meant} statt ${name}.`),
  javascript('ReferenceError', says(/\b(require|document|window|process|confirm|module|localStorage|fetch|XMLHttpRequest)\b/), ([, name]) => `${name} is not here: a program shows with print(...), asks with input(...), and moves the turtle.`,
    ([, name]) => `${name} gibt es hier nicht: Ein Programm zeigt mit print(...), fragt mit input(...) und bewegt die Schildkröte.`),
  javascript('ReferenceError', says(/\b(?:Turtle|kelmora)\b/), () => 'Your turtle is there already: forward(50), or turtle.forward(50).',
    () => 'Deine Schildkröte ist schon da: forward(50), oder turtle.forward(50).'),
  javascript(['RangeError', 'InternalError'], says(/call stack|recursion/), () => 'A function calls itself without end, or too often: it needs an "if" at which it stops.',
    () => 'Eine Funktion ruft sich ohne Ende oder zu oft selbst auf: Sie braucht ein "if", bei dem sie aufhört.'),
  javascript('ReferenceError', (error) => {
    const found = /(\w+) is not defined/.exec(error.message || '') || /find variable: (\w+)/.exec(error.message || '');
    if (!found) return null;
    const meant = nearest(found[1], [...wordsOf(error.source), ...TURTLE_LIST, 'turtle', 'print', 'input', 'sleep', 'randint', 'console', 'Math'].filter((word) => word !== found[1]));
    return meant ? [found[1], meant] : null;
  }, ([name, meant]) => `Did you mean ${meant} instead of ${name}? Capital letters count.`, ([name, meant]) => `Meinst du ${meant} statt ${name}? Groß- und Kleinschreibung zählt.`),
  javascript('ReferenceError', says(/(\w+) is not defined/), ([, name]) => `Nothing is called ${name} yet: make it with let ${name} = ...`, ([, name]) => `Noch heißt nichts ${name}: Lege es mit let ${name} = ... an.`),
  javascript('TypeError', says(/is not a function/), () => 'What stands before the round brackets is no function: check its spelling in the help.',
    () => 'Was vor den runden Klammern steht, ist keine Funktion: Prüfe die Schreibweise in der Hilfe.'),
  javascript('TypeError', says(/[Aa]ssignment to constant|invalid assignment to const/), () => 'A const keeps its first value: use let for what changes.',
    () => 'Ein const behält seinen ersten Wert: Nimm let für das, was sich ändert.'),
  javascript('TypeError', says(/(?:undefined|null)\b/), () => 'What stands before the point or the square bracket has no value yet.',
    () => 'Was vor dem Punkt oder der eckigen Klammer steht, hat noch keinen Wert.'),
  javascript('NotANumber', () => true, () => 'The turtle needs a number here; what comes from input() is a text: Number(input("...")).',
    () => 'Die Schildkröte braucht hier eine Zahl; was von input() kommt, ist ein Text: Number(input("...")).'),
  javascript('BadValue', says(/parts of a colour go from 0 to 1,/), () => 'For colours with numbers up to 255 write colormode(255) first.',
    () => 'Für Farben mit Zahlen bis 255 schreibe zuerst colormode(255).'),
  javascript('BadValue', says(/colou?r/), () => 'Colours have English names in quotation marks, such as "red", "blue" or "green", or are written like "#ff8800".',
    () => 'Farben haben englische Namen in Anführungszeichen, etwa "red", "blue" oder "green", oder man schreibt sie wie "#ff8800".'),
  javascript('SyntaxError', code(/^\s*(?:(?:for|while|if|elif)\b\s*[^(\s].*|else|def\b.*):\s*$/), () => 'This is Python; in JavaScript the condition stands in round brackets and the lines in braces: while (x < 3) { ... }',
    () => 'Das ist Python; in JavaScript steht die Bedingung in runden Klammern, und die Zeilen stehen in geschweiften: while (x < 3) { ... }'),
  javascript('SyntaxError', says(/already been declared|redeclaration|[Cc]annot declare|duplicate/), () => 'This name exists already: leave out the second "let".',
    () => 'Diesen Namen gibt es schon: Lass das zweite "let" weg.'),
  javascript('SyntaxError', says(/left-hand side|Left hand side/), () => 'To compare two values write ===; left of a single "=" stands a name.', () => 'Zum Vergleichen schreibt man ===; links von einem einzelnen "=" steht ein Name.'),
  javascript('SyntaxError', () => true, () => 'Check brackets, braces, quotation marks and commas around this place.',
    () => 'Prüfe an dieser Stelle Klammern, geschweifte Klammern, Anführungszeichen und Kommas.'),

  python('SyntaxError', says(/invalid syntax/), () => 'Python does not understand this line: look for a missing bracket, quotation mark or comma here or in the line above.',
    () => 'Python versteht diese Zeile nicht: Suche hier oder in der Zeile darüber nach einer fehlenden Klammer, einem Anführungszeichen oder einem Komma.'),
];

/**
 * @param error     {kind, message, line, source, language, bases}
 * @param language  'en' or 'de'
 * @returns a sentence, or null when there is no advice for it
 */
export function advise(error, language) {
  for (const rule of RULES) {
    if (rule.language !== (error.language || 'python') || !rule.kinds.has(error.kind)) continue;
    const found = rule.test(error);
    if (found) return (rule.texts[language] || rule.texts.en)(found, error);
  }
  return null;
}
