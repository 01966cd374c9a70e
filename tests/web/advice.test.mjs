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
  ['SyntaxError', 'unterminated string literal (detected at line 1)', 'print("Hello World!)', 'quotation mark'],
  ['SyntaxError', "'(' was never closed", 'print("hello"', 'never closed'],
  ['SyntaxError', 'invalid syntax', 'whlie x < 3:', 'mean while'],
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
  // What one line shows is told, whatever CPython says about it.
  ['SyntaxError', "expected ':'", 'else if x > 3:', 'elif'],
  ['SyntaxError', "expected ':'", 'else x > 3:', 'elif'],
  ['SyntaxError', 'invalid syntax', 'While x < 3:', 'write while, not While'],
  ['SyntaxError', 'invalid syntax', '// my program', 'begins with #'],
  ['SyntaxError', 'invalid syntax', 'for i in range(3) {', 'braces'],
  ['SyntaxError', 'invalid syntax', 'if x =< 3:', '<='],
  ['SyntaxError', 'invalid syntax', 'if x > 1 && x < 3:', 'and'],
  ['SyntaxError', 'invalid syntax', 'if !x:', 'not'],
  ['SyntaxError', 'invalid syntax', 'class = 3', 'own words'],
  ['SyntaxError', 'invalid syntax', 'for i = 1 to 4:', 'for i in range(10):'],
  ['SyntaxError', 'invalid syntax', 'for i in range 4:', 'for i in range(10):'],
  ['SyntaxError', 'invalid syntax', 'repeat 4:', 'for i in range(10):'],
  ['SyntaxError', 'invalid syntax', 'for i in range(4:', 'never closed'],
  ['SyntaxError', 'invalid syntax', 'if x > 2 then:', 'then'],
  ['SyntaxError', 'invalid syntax', 'let x = 3', 'x = ...'],
  ['SyntaxError', 'invalid syntax', 'function f():', 'def f():'],
  ['SyntaxError', "expected '('", 'def f:', 'def name():'],
  ['SyntaxError', 'invalid syntax', 'goto(3; 4)', 'commas'],
  ['SyntaxError', 'unterminated string literal (detected at line 1)', "print('it's')", 'apostrophe'],
  ['SyntaxError', 'invalid syntax', 'forward(50):', 'take it away'],
  ['SyntaxError', 'invalid syntax', 'forward 50', 'forward(50)'],
  ['SyntaxError', 'invalid syntax', 'my name = 3', 'my_name'],
  ['SyntaxError', "cannot assign to expression here. Maybe you meant '==' instead of '='?", 'my-name = 3', 'my_name'],
  ['SyntaxError', "cannot assign to literal here. Maybe you meant '==' instead of '='?", '3 = x', 'Left of'],
  ['SyntaxError', 'invalid syntax', 'x = 3 y = 4', 'line of its own'],
  ['SyntaxError', 'invalid decimal literal', 'y = 2x', '2 * x'],
  ['SyntaxError', "f-string: expecting '}'", 'print(f"{x")', 'each "{"'],
  ['SyntaxError', 'invalid non-printable character U+00A0', 'x = 3', 'invisible'],
  ['SyntaxError', 'invalid syntax', 'else:', 'same column'],
  ['NameError', "name 'Forward' is not defined", 'Forward(3)', 'write forward'],
  ['NameError', "name 'turtle' is not defined", 'turtle.forward(3)', 'import turtle'],
  ['NameError', "name 'red' is not defined", 'pencolor(red)', 'colour is a text'],
  ['NameError', "name 't' is not defined", 't.forward(3)', 'Nothing is called t'],
  ['NameError', "name 'f' is not defined", 'f()\ndef f():\n    pass', 'further down'],
  ['ModuleNotFoundError', "No module named 'kelmroa'", 'from kelmroa import *', 'kelmora'],
  ['ImportError', "cannot import name 'forwrd' from 'kelmora' (/lib/x.py). Did you mean: 'forward'?", 'from kelmora import forwrd', 'Did you mean forward'],
  ['AttributeError', "'str' object has no attribute 'append'", 'x.append(3)', 'text'],
  ['TypeError', 'can only concatenate tuple (not "int") to tuple', 'print(x + 1)', 'point'],
  ['TypeError', 'cannot unpack non-iterable int object', 'x, y = 3', 'as many names'],
  ['ValueError', 'too many values to unpack (expected 2, got 3)', 'x, y = 1, 2, 3', 'as many names'],
  ['TypeError', 'list indices must be integers or slices, not str', 'a["0"]', 'whole number'],
  ['TypeError', "can't multiply sequence by non-int of type 'str'", '"a" * "b"', 'int('],
  ['TypeError', "object of type 'int' has no len()", 'len(5)', 'letters'],
  ['TypeError', "'function' object is not subscriptable", 'forward[50]', 'round brackets'],
  ['TypeError', "'int' object is not callable", 'print("x")\nprint = 3', 'different name'],
  ['TypeError', 'A.f() takes 0 positional arguments but 1 was given', 'A().f()', 'self'],
  ['TypeError', "int() argument must be a string, a bytes-like object or a real number, not 'builtin_function_or_method'", 'int(input)', 'input()'],
  ['ValueError', 'list.remove(x): x not in list', 'a.remove(5)', '"in"'],
  ['FileNotFoundError', "[Errno 44] No such file or directory: 'x.txt'", 'open("x.txt")', 'no files'],
  ['IndexError', 'string index out of range', 'x[5]', 'letters'],
  ['NotANumber', 'A finite number is needed here, not None.', 'goto(3)', 'missing'],
  ['BadValue', "There is no colour 'bleu'.", 'pencolor("bleu")', '"red"'],
  ['BadValue', 'The parts of a colour go from 0 to 1 here, so 255 is too much.', 'pencolor(255, 0, 0)', 'colormode(255)'],
  ['SyntaxError', "invalid character '：' (U+FF1A)", 'for i in range(3)：', 'type : '],
  ['SyntaxError', "invalid character '（' (U+FF08)", 'print（3）', 'type ( '],
  ['SyntaxError', "invalid character '–' (U+2013)", 'x = 5 – 3', 'type - '],
  ['SyntaxError', "invalid character '´' (U+00B4)", 'print(`hi´)', 'quotation marks'],
  ['SyntaxError', 'invalid syntax', 'wenn x > 3:', 'if, not wenn'],
  ['SyntaxError', 'invalid syntax', 'если x > 3:', 'if, not если'],
  ['SyntaxError', 'invalid syntax', 'if x > 5 and < 20:', 'whole comparison'],
  ['SyntaxError', 'invalid syntax', 'if 3 <> 4:', '!='],
  ['SyntaxError', "expected 'except' or 'finally' block", 'print(x)', 'except'],
  ['NameError', "name 'рrint' is not defined", "рrint('hi')", 'another alphabet'],
  ['NameError', "name 'x' is not defined", 'x == 5', 'one equals sign'],
  ['NameError', "name 'cout' is not defined", "cout << 'hi'", 'print shows'],
  ['NameError', "name 'raw_input' is not defined", "x = raw_input('name')", 'input(...)'],
  ['AttributeError', "'list' object has no attribute 'length'", 'print(a.length)', 'len('],
  ['AttributeError', "'list' object has no attribute 'push'", 'a.push(2)', 'append'],
  ['AttributeError', "'dict' object has no attribute 'a'", 'print(d.a)', '["a"]'],
  ['AttributeError', "'int' object has no attribute 'randint'", 'random.randint(1, 6)\nrandom = 3', 'different name'],
  ['AttributeError', "'Dog' object has no attribute 'name'", 'print(d.name)\nclass Dog:\n    pass', 'self.name'],
  ['TypeError', "'str' object does not support item assignment", "s[0] = 'c'", 'new text'],
  ['TypeError', "'tuple' object does not support item assignment", 't[0] = 5', 'write a list'],
  ['TypeError', "'>' not supported between instances of 'function' and 'int'", 'if x > 5:', 'round brackets'],
  ['TypeError', 'can only concatenate str (not "builtin_function_or_method") to str', "print('a' + input)", 'round brackets'],
  ['TypeError', "'NoneType' object is not subscriptable", 'print(b[0])', 'None'],
  ['TypeError', 'Dog() takes no arguments', "Dog('Rex')", '__init__'],
  ['ValueError', 'empty range in randint(6, 1)', 'random.randint(6, 1)', 'smaller number'],
  ['ValueError', 'max() iterable argument is empty', 'max([])', 'nothing in it'],
  ['IndexError', 'pop from empty list', 'a.pop()', 'nothing in it'],
  ['IndexError', 'Replacement index 1 out of range for positional args tuple', "'{} {}'.format(1)", 'more {}'],
  // What exists natively and cannot be in a browser is no misspelling.
  ['ModuleNotFoundError', "No module named 'tkinter'", 'import tkinter', 'a program in a browser'],
  ['ModuleNotFoundError', "No module named 'tarfile'", 'import tarfile', 'a program in a browser'],
  ['ModuleNotFoundError', "No module named 'matplotlib'", 'import matplotlib.pyplot as plt', 'extra package'],
  ['RuntimeError', "can't start new thread", 't.start()', 'no threads'],
  ['OSError', '[Errno 138] emscripten does not support processes.', 'subprocess.run(["ls"])', 'other programs'],
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
  for (const [kind, message, source, word] of [
    ['SyntaxError', "Unexpected identifier 'i'", 'for i in range(3):', 'This is Python'],
    ['SyntaxError', "Identifier 'a' has already been declared", 'let a = 2;', 'second "let"'],
    ['SyntaxError', 'Invalid left-hand side in assignment', 'if (3 = x) {}', '==='],
    ['ReferenceError', 'None is not defined', 'print(None);', 'null'],
    ['ReferenceError', 'begin_fill is not defined', 'begin_fill();', 'beginFill'],
    ['TypeError', "Cannot read properties of undefined (reading 'b')", 'a.b();', 'no value yet'],
    ['ReferenceError', 'require is not defined', 'const fs = require("fs");', 'is not here'],
    ['ReferenceError', 'Turtle is not defined', 'const t = new Turtle();', 'there already'],
    ['RangeError', 'Maximum call stack size exceeded', 'f();', 'calls itself'],
    ['InternalError', 'too much recursion', 'f();', 'calls itself'],
    ['NotANumber', 'the distance must be a number, not "x"', 'forward("x");', 'Number('],
    ['BadValue', 'no such colour: "bleu"', 'pencolor("bleu");', '"red"'],
  ]) {
    const told = ['en', 'de'].map((page) => advise({ kind, message, source, line: 1, language: 'javascript' }, page));
    assert.ok(told[0]?.includes(word), `${message} is advised: ${told[0]}`);
    assert.notEqual(told[1], told[0]);
  }
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
