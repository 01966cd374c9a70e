import assert from 'node:assert/strict';
import test from 'node:test';
import { RULES, advise, editDistance, nearest } from '../../web/src/edit/advice.js';

// [kind, CPython's message, the line it concerns, a word of the English advice]
const MISTAKES = [
  ['SyntaxError', "expected ':'", 'for i in range(3)', 'colon'],
  ['SyntaxError', 'invalid syntax', 'while x < 3', 'colon'],
  ['IndentationError', "expected an indented block after 'for' statement on line 1", 'forward(3)', 'four blanks'],
  ['IndentationError', 'unexpected indent', '  forward(3)', 'too far to the right'],
  ['IndentationError', 'unindent does not match any outer indentation level', '  forward(3)', 'same column'],
  ['TabError', 'inconsistent use of tabs and spaces in indentation', '\tforward(3)', 'Tabs'],
  ['SyntaxError', 'unterminated string literal (detected at line 1)', 'print("hello)', 'quotation mark'],
  ['SyntaxError', "'(' was never closed", 'print("hello"', 'never closed'],
  ['SyntaxError', "unmatched ')'", 'print("hello"))', 'too many'],
  ['SyntaxError', "Missing parentheses in call to 'print'. Did you mean print(...)?", 'print "hello"', 'round brackets'],
  ['SyntaxError', "invalid syntax. Maybe you meant '==' or ':=' instead of '='?", 'if x = 3:', '=='],
  ['SyntaxError', "cannot assign to literal here. Maybe you meant '==' instead of '='?", '3 = x', '=='],
  ['SyntaxError', 'cannot assign to function call', 'f() = x', 'Left of'],
  ['SyntaxError', 'invalid decimal literal', '2nd = 3', 'digit'],
  ['SyntaxError', 'leading zeros in decimal integer literals are not permitted', 'x = 07', 'without zeros'],
  ['SyntaxError', 'invalid character \'“\' (U+201C)', 'print(“hi”)', 'word processor'],
  ['SyntaxError', "invalid character '×' (U+00D7)", 'x = 3 × 4', '×'],
  ['SyntaxError', 'invalid syntax. Perhaps you forgot a comma?', 'goto(3 4)', 'comma'],
  ['SyntaxError', 'invalid syntax', 'else if x > 3:', 'elif'],
  ['SyntaxError', 'invalid syntax', 'count++', '++'],
  ['SyntaxError', "'return' outside function", 'return 3', 'function'],
  ['SyntaxError', "'break' outside loop", 'break', 'loop'],
  ['NameError', "name 'Print' is not defined", 'Print(3)', 'Capital letters'],
  ['NameError', "name 'true' is not defined", 'x = true', 'True'],
  ['NameError', "name 'random' is not defined", 'random.randint(1, 6)', 'import random'],
  ['NameError', "name 'randint' is not defined", 'randint(1, 6)', 'from random import randint'],
  ['NameError', "name 'forward' is not defined", 'forward(3)', 'from kelmora import'],
  ['NameError', "name 'foward' is not defined", 'foward(3)', 'Did you mean forward'],
  ['NameError', "name 'banana' is not defined", 'print(banana)', 'quotation marks'],
  ['UnboundLocalError', "cannot access local variable 'n' where it is not associated with a value", 'n = n + 1', 'global'],
  ['ModuleNotFoundError', "No module named 'tutle'", 'import tutle', 'tutle'],
  ['ImportError', "cannot import name 'sleeep' from 'time'", 'from time import sleeep', 'sleeep'],
  ['AttributeError', "'Turtle' object has no attribute 'foward'. Did you mean: 'forward'?", 't.foward(3)', 'forward'],
  ['AttributeError', "'NoneType' object has no attribute 'append'", 'x.append(3)', 'None'],
  ['AttributeError', "module 'math' has no attribute 'squareroot'", 'math.squareroot(3)', 'squareroot'],
  ['TypeError', 'can only concatenate str (not "int") to str', 'print("a" + 3)', 'str(number)'],
  ['TypeError', "unsupported operand type(s) for +: 'int' and 'str'", 'print(3 + "a")', 'str(number)'],
  ['TypeError', "'<' not supported between instances of 'str' and 'int'", 'if x < 3:', 'int('],
  ['TypeError', "unsupported operand type(s) for *: 'NoneType' and 'int'", 'f() * 3', 'None'],
  ['TypeError', "'str' object cannot be interpreted as an integer", 'range("3")', 'int('],
  ['TypeError', "'float' object cannot be interpreted as an integer", 'range(3.0)', 'whole number'],
  ['TypeError', "forward() missing 1 required positional argument: 'd'", 'forward()', 'missing'],
  ['TypeError', 'f() takes 1 positional argument but 2 were given', 'f(1, 2)', 'too many values'],
  ['TypeError', "'int' object is not callable", '3(4)', 'operator missing'],
  ['TypeError', "'int' object is not subscriptable", '3[4]', 'Square brackets'],
  ['TypeError', "'int' object is not iterable", 'for i in 10:', 'range'],
  ['ValueError', "invalid literal for int() with base 10: 'ten'", 'int("ten")', 'no number'],
  ['IndexError', 'list index out of range', 'a[5]', 'counting begins at 0'],
  ['KeyError', "'x'", 'd["x"]', 'key'],
  ['ZeroDivisionError', 'division by zero', '1 / 0', 'zero'],
  ['RecursionError', 'maximum recursion depth exceeded', 'f()', 'calls itself'],
];

test('each common mistake gets its advice, in both languages', () => {
  assert.ok(MISTAKES.length >= 30);
  for (const [kind, message, source, word] of MISTAKES) {
    const error = { kind, message, source, line: 1, language: 'python' };
    const english = advise(error, 'en');
    assert.ok(english && english.includes(word), `${kind}: ${message} is advised: ${english}`);
    const german = advise(error, 'de');
    assert.ok(german && german !== english, `${kind}: ${message} has German advice`);
  }
});

test('an error that no rule matches gets no advice', () => {
  assert.equal(advise({ kind: 'MemoryError', message: '', source: 'x', line: 1, language: 'python' }, 'en'), null);
  assert.equal(advise({ kind: 'Error', message: 'x', source: '', line: null, language: 'javascript' }, 'en'), null);
});

test('JavaScript has its own advice', () => {
  assert.match(advise({ kind: 'ReferenceError', message: 'forwrd is not defined', source: 'forwrd(3)', line: 1, language: 'javascript' }, 'en'), /forward/);
  assert.match(advise({ kind: 'TypeError', message: 'Assignment to constant variable.', source: 'x = 3', line: 1, language: 'javascript' }, 'en'), /let/);
});

test('errors without a line or with a missing line still get advice', () => {
  for (const rule of RULES) {
    for (const kind of rule.kinds) {
      advise({ kind, message: '', source: '', line: null, language: rule.language }, 'en');
      advise({ kind, message: undefined, source: undefined, line: 99, language: rule.language }, 'de');
    }
  }
});

test('distance between words counts inserted, omitted, replaced and swapped letters', () => {
  assert.equal(editDistance('', 'abc'), 3);
  assert.equal(editDistance('forward', 'foward'), 1);
  assert.equal(editDistance('left', 'felt'), 2);
  assert.equal(editDistance('form', 'from'), 1);
  assert.equal(nearest('xyz', ['forward', 'left']), null);
  assert.equal(nearest('lft', ['forward', 'left']), 'left');
});
