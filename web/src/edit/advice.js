// One sentence of advice for common mistakes. Pure: an error in, a sentence out. Rules are tried in order; the first
// match wins. Texts are beside their rule, in each language of the page.

const CAPITAL = { Print: 'print', Input: 'input', For: 'for', While: 'while', If: 'if', Else: 'else', Def: 'def', Import: 'import',
  Range: 'range', True_: 'True', From: 'from', Return: 'return' };
const TURTLE_WORDS = new Set(['forward', 'fd', 'back', 'bk', 'backward', 'left', 'lt', 'right', 'rt', 'goto', 'setpos', 'setx', 'sety',
  'setheading', 'home', 'penup', 'pu', 'up', 'pendown', 'pd', 'down', 'pensize', 'width', 'pencolor', 'fillcolor', 'color', 'begin_fill',
  'end_fill', 'dot', 'circle', 'write', 'position', 'pos', 'xcor', 'ycor', 'heading', 'distance', 'towards', 'clear', 'reset', 'bgcolor',
  'speed', 'brush', 'fire', 'finder', 'sonar', 'radar', 'score', 'pick', 'drop', 'battle', 'Turtle']);
const MODULES = { randint: 'random', choice: 'random', randrange: 'random', shuffle: 'random', uniform: 'random', sleep: 'time', sqrt: 'math',
  sin: 'math', cos: 'math', pi: 'math' };
const MODULE_NAMES = new Set(['random', 'time', 'math', 'turtle', 'kelmora', 'json', 'datetime', 'string', 'itertools', 'sys', 'os', 're']);

/** The text of line `number` (from 1) of the program, without an obvious comment. */
function lineOf(error) {
  const text = (error.source || '').split('\n')[(error.line || 0) - 1] ?? '';
  return /['"]/.test(text) ? text : text.replace(/#.*$/, '');
}

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
  let least = word.length <= 3 ? 2 : word.length <= 6 ? 3 : 4; // strictly less than this
  for (const candidate of known) {
    const steps = editDistance(word.toLowerCase(), candidate.toLowerCase());
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

// Each text gets what its test matched: usually the groups of a pattern.
export const RULES = [
  /* how a program is written */
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
  python('SyntaxError', says(/Maybe you meant '==' /), () => 'To compare two values write two equals signs: ==. One alone stores a value.',
    () => 'Zum Vergleichen schreibt man zwei Gleichheitszeichen: ==. Eines allein speichert einen Wert.'),
  python('SyntaxError', line(/^\s*(?:if|elif|while)\b[^=!<>]*[^=!<>]=[^=]/), () => 'To compare two values write two equals signs: ==. One alone stores a value.',
    () => 'Zum Vergleichen schreibt man zwei Gleichheitszeichen: ==. Eines allein speichert einen Wert.'),
  python('SyntaxError', says(/cannot assign to/), () => 'Left of "=" stands the name that shall keep the value: age = 12, not 12 = age.',
    () => 'Links vom "=" steht der Name, der den Wert behalten soll: alter = 12, nicht 12 = alter.'),
  python('SyntaxError', says(/invalid decimal literal|invalid digit/), () => 'A name may not begin with a digit, and a number may hold no letters.',
    () => 'Ein Name darf nicht mit einer Ziffer beginnen, und eine Zahl darf keine Buchstaben enthalten.'),
  python('SyntaxError', says(/leading zeros/), () => 'Write numbers without zeros at the front: 7, not 07.',
    () => 'Schreibe Zahlen ohne Nullen am Anfang: 7, nicht 07.'),
  python('SyntaxError', says(/invalid character '([„“”‚‘’«»])'/), () => 'These are quotation marks of a word processor: type plain ones, " or \'.',
    () => 'Das sind Anführungszeichen aus einer Textverarbeitung: Tippe einfache, " oder \'.'),
  python('SyntaxError', says(/invalid character '(.)'/u), ([, letter]) => `The character "${letter}" has no meaning in Python outside of a text.`,
    ([, letter]) => `Das Zeichen "${letter}" hat in Python außerhalb eines Textes keine Bedeutung.`),
  python('SyntaxError', says(/forgot a comma/), () => 'There is probably a comma missing between two values.',
    () => 'Wahrscheinlich fehlt zwischen zwei Werten ein Komma.'),
  python('SyntaxError', line(/\belse\s+if\b/), () => 'In Python "else if" is one word: elif.', () => 'In Python ist "else if" ein Wort: elif.'),
  python('SyntaxError', line(/\+\+|--\s*$/), () => 'Python has no ++: write count = count + 1 or count += 1.',
    () => 'Python kennt kein ++: Schreibe zahl = zahl + 1 oder zahl += 1.'),
  python('SyntaxError', says(/'(return|break|continue)'.*outside|'(break|continue)' not properly in loop/), (found) => `"${found[1] || found[2]}" works only inside ${found[1] === 'return' ? 'a function (def)' : 'a loop'}: check how far the line is indented.`,
    (found) => `"${found[1] || found[2]}" geht nur in ${found[1] === 'return' ? 'einer Funktion (def)' : 'einer Schleife'}: Prüfe, wie weit die Zeile eingerückt ist.`),
  python('SyntaxError', line(/[,;]?\s*\d+,\d+\s*$/), () => 'Decimal numbers have a point, not a comma: 1.5.', () => 'Kommazahlen schreibt man mit Punkt: 1.5.'),

  /* names */
  python('NameError', (error) => {
    const found = /name '(\w+)' is not defined/.exec(error.message || '');
    const meant = found && (CAPITAL[found[1]] || { true: 'True', false: 'False', none: 'None', null: 'None' }[found[1]]);
    return meant ? [found[1], meant] : null;
  }, ([name, meant]) => `Capital letters count: write ${meant}, not ${name}.`, ([name, meant]) => `Groß- und Kleinschreibung zählt: Schreibe ${meant}, nicht ${name}.`),
  python('NameError', (error) => {
    const found = /name '(\w+)' is not defined/.exec(error.message || '');
    if (!found) return null;
    if (MODULE_NAMES.has(found[1])) return [found[1], `import ${found[1]}`];
    return MODULES[found[1]] ? [found[1], `from ${MODULES[found[1]]} import ${found[1]}`] : null;
  }, ([name, text]) => `To use ${name}, write at the very top: ${text}`, ([name, text]) => `Um ${name} zu verwenden, schreibe ganz oben: ${text}`),
  python('NameError', (error) => {
    const found = /name '(\w+)' is not defined/.exec(error.message || '');
    return found && TURTLE_WORDS.has(found[1]) ? [found[1]] : null;
  }, ([name]) => `Write "from kelmora import *" at the very top, or kelmora.${name}(...).`, ([name]) => `Schreibe ganz oben "from kelmora import *", oder kelmora.${name}(...).`),
  python('NameError', (error) => {
    const found = /name '(\w+)' is not defined/.exec(error.message || '');
    if (!found) return null;
    const known = [...wordsOf(error.source), ...TURTLE_WORDS, 'print', 'input', 'range', 'len', 'True', 'False', 'None', 'int', 'float', 'str'];
    const meant = nearest(found[1], known.filter((word) => word !== found[1]));
    return meant ? [found[1], meant] : null;
  }, ([name, meant]) => `Did you mean ${meant} instead of ${name}? Names must be written the same way everywhere.`,
  ([name, meant]) => `Meinst du ${meant} statt ${name}? Namen müssen überall gleich geschrieben sein.`),
  python('NameError', says(/name '(\w+)' is not defined/), ([, name]) => `Nothing is called ${name} yet: give it a value first (${name} = ...), or put it in quotation marks if it is a text.`,
    ([, name]) => `Noch heißt nichts ${name}: Gib ihm zuerst einen Wert (${name} = ...), oder setze es in Anführungszeichen, wenn es ein Text ist.`),
  python('UnboundLocalError', () => true, () => 'Inside the function this name has no value yet: hand it over in the brackets, or write "global name" first.',
    () => 'In der Funktion hat dieser Name noch keinen Wert: Übergib ihn in den Klammern, oder schreibe zuerst "global name".'),
  python('ModuleNotFoundError', says(/No module named '([\w.]+)'/), ([, name]) => `There is no module called ${name} here: check its spelling; in the class you have Python's own modules and kelmora.`,
    ([, name]) => `Ein Modul ${name} gibt es hier nicht: Prüfe die Schreibweise; in der Klasse gibt es Pythons eigene Module und kelmora.`),
  python('ImportError', says(/cannot import name '(\w+)' from '([\w.]+)'/), ([, name, module]) => `${module} has nothing called ${name}: check its spelling.`,
    ([, name, module]) => `In ${module} gibt es nichts, das ${name} heißt: Prüfe die Schreibweise.`),
  python('AttributeError', says(/Did you mean: '(\w+)'/), ([, meant]) => `Did you mean ${meant}?`, ([, meant]) => `Meinst du ${meant}?`),
  python('AttributeError', says(/'NoneType' object has no attribute/), () => 'What stands before the point is None, so nothing was stored there: many functions do something but give nothing back.',
    () => 'Was vor dem Punkt steht, ist None, also wurde dort nichts gespeichert: Viele Funktionen tun etwas, geben aber nichts zurück.'),
  python('AttributeError', says(/'(\w+)' object has no attribute '(\w+)'/), ([, kind, name]) => `A ${kind} has nothing called ${name}: check its spelling in the help.`,
    ([, kind, name]) => `Ein ${kind} hat nichts, das ${name} heißt: Prüfe die Schreibweise in der Hilfe.`),
  python('AttributeError', says(/module '([\w.]+)' has no attribute '(\w+)'/), ([, module, name]) => `${module} has nothing called ${name}: check its spelling in the help.`,
    ([, module, name]) => `${module} hat nichts, das ${name} heißt: Prüfe die Schreibweise in der Hilfe.`),

  /* values */
  python('TypeError', says(/can only concatenate str|must be str, not|unsupported operand type\(s\) for \+: '(?:int|float)' and 'str'/),
    () => 'A text and a number cannot be joined with +: use str(number), or a comma in print.',
    () => 'Text und Zahl lassen sich nicht mit + verbinden: Nimm str(zahl), oder in print ein Komma.'),
  python('TypeError', says(/unsupported operand|not supported between instances/), (found, error) => (/NoneType/.test(error.message)
    ? 'One of the two values is None: something was never stored, or a function gave nothing back.'
    : 'These two values do not go together; what comes from input() is a text: turn it into a number with int(...).'),
  (found, error) => (/NoneType/.test(error.message)
    ? 'Einer der beiden Werte ist None: Etwas wurde nie gespeichert, oder eine Funktion gab nichts zurück.'
    : 'Diese beiden Werte passen nicht zusammen; was von input() kommt, ist ein Text: Mache mit int(...) eine Zahl daraus.')),
  python('TypeError', says(/'str' object cannot be interpreted as an integer/), () => 'Here a number is needed, not a text; turn what comes from input() into one with int(...).',
    () => 'Hier wird eine Zahl gebraucht, kein Text; mache mit int(...) eine aus dem, was von input() kommt.'),
  python('TypeError', says(/'float' object cannot be interpreted as an integer/), () => 'Here a whole number is needed: use int(...), or // to divide.',
    () => 'Hier wird eine ganze Zahl gebraucht: Nimm int(...), oder // zum Teilen.'),
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
  python('IndexError', () => true, () => 'The list is shorter than that: counting begins at 0, so the last of 5 is number 4.',
    () => 'So lang ist die Liste nicht: Gezählt wird ab 0, das letzte von 5 ist also Nummer 4.'),
  python('KeyError', () => true, () => 'The dictionary has no such key: check its spelling, or ask with "in" first.',
    () => 'Das Wörterbuch hat diesen Schlüssel nicht: Prüfe die Schreibweise, oder frage zuerst mit "in".'),
  python('ZeroDivisionError', () => true, () => 'Nothing can be divided by zero: check the value before you divide.',
    () => 'Durch null kann man nicht teilen: Prüfe den Wert, bevor du teilst.'),
  python('RecursionError', () => true, () => 'A function calls itself without end: it needs an "if" at which it stops.',
    () => 'Eine Funktion ruft sich ohne Ende selbst auf: Sie braucht ein "if", bei dem sie aufhört.'),

  /* the field */
  python(['NotANumber'], () => true, () => 'The turtle needs a number here; what comes from input() is a text: int(input(...)).',
    () => 'Die Schildkröte braucht hier eine Zahl; was von input() kommt, ist ein Text: int(input(...)).'),
  python(['Blocked'], () => true, () => 'Something stands in the way: turn first, or go round it.', () => 'Etwas steht im Weg: Drehe dich zuerst, oder gehe außen herum.'),
  python(['Forbidden', 'ClassError'], says(/forbidden|allow/i), () => 'Your teacher has switched this command off for the class.',
    () => 'Diesen Befehl hat deine Lehrkraft für die Klasse abgeschaltet.'),

  /* JavaScript */
  javascript('ReferenceError', (error) => {
    const found = /(\w+) is not defined/.exec(error.message || '') || /find variable: (\w+)/.exec(error.message || '');
    if (!found) return null;
    const meant = nearest(found[1], [...wordsOf(error.source), 'turtle', 'forward', 'print', 'input', 'sleep', 'console', 'Math'].filter((word) => word !== found[1]));
    return meant ? [found[1], meant] : null;
  }, ([name, meant]) => `Did you mean ${meant} instead of ${name}? Capital letters count.`, ([name, meant]) => `Meinst du ${meant} statt ${name}? Groß- und Kleinschreibung zählt.`),
  javascript('ReferenceError', says(/(\w+) is not defined/), ([, name]) => `Nothing is called ${name} yet: make it with let ${name} = ...`, ([, name]) => `Noch heißt nichts ${name}: Lege es mit let ${name} = ... an.`),
  javascript('TypeError', says(/is not a function/), () => 'What stands before the round brackets is no function: check its spelling in the help.',
    () => 'Was vor den runden Klammern steht, ist keine Funktion: Prüfe die Schreibweise in der Hilfe.'),
  javascript('TypeError', says(/[Aa]ssignment to constant|invalid assignment to const/), () => 'A const keeps its first value: use let for what changes.',
    () => 'Ein const behält seinen ersten Wert: Nimm let für das, was sich ändert.'),
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
