// The words of the help, of completion, and of the JavaScript worker's check: one row each,
// [word as in Python with its arguments, other names, what it does (English), (German), words to find it by].
export const GROUPS = [
  ['move', 'Move', 'Bewegen', [
    ['forward(d)', 'fd', 'Go d steps forward; draws when the pen is down. False when something is in the way.', 'd Schritte vorwärts gehen; zeichnet, wenn der Stift unten ist. False, wenn etwas im Weg ist.', 'go walk step gehen laufen'],
    ['back(d)', 'bk backward', 'Go d steps backward.', 'd Schritte rückwärts gehen.', 'zurück'],
    ['left(a)', 'lt', 'Turn left by a degrees.', 'Um a Grad nach links drehen.', 'turn drehen'],
    ['right(a)', 'rt', 'Turn right by a degrees.', 'Um a Grad nach rechts drehen.', 'turn drehen'],
    ['goto(x, y)', 'setpos setposition', 'Go straight to the place x, y; the middle of the field is 0, 0.', 'Gerade zum Ort x, y gehen; die Feldmitte ist 0, 0.', 'jump springen ort place'],
    ['shift(dx, dy)', '', 'Go dx to the right and dy up from here.', 'Von hier dx nach rechts und dy nach oben gehen.', 'verschieben'],
    ['setx(x)', '', 'Go to x, at the same height.', 'Zu x gehen, auf gleicher Höhe.', ''],
    ['sety(y)', '', 'Go to y, straight up or down.', 'Zu y gehen, gerade hinauf oder hinunter.', ''],
    ['setheading(a)', 'seth', 'Look in direction a: 0 is right, 90 is up.', 'In Richtung a schauen: 0 ist rechts, 90 ist oben.', 'direction richtung'],
    ['home()', '', 'Walk to the middle of the field and look right.', 'In die Feldmitte gehen und nach rechts schauen.', 'mitte center'],
    ['circle(r)', '', 'Walk a circle with radius r; circle(r, 180) is half of it, circle(r, 360, 6) a hexagon.', 'Einen Kreis mit Radius r gehen; circle(r, 180) ist die Hälfte, circle(r, 360, 6) ein Sechseck.', 'kreis bogen arc'],
    ['teleport(x, y)', '', 'Go to x, y without drawing.', 'Zu x, y gehen, ohne zu zeichnen.', 'springen'],
  ]],
  ['pen', 'Draw', 'Zeichnen', [
    ['penup()', 'pu up', 'Lift the pen: moving draws nothing.', 'Stift heben: Bewegen zeichnet nichts.', 'stift'],
    ['pendown()', 'pd down', 'Put the pen down: moving draws.', 'Stift senken: Bewegen zeichnet.', 'stift'],
    ['pencolor(c)', '', 'Colour of the pen: "red", "#ff8800", or three numbers from 0 to 1.', 'Farbe des Stifts: "red", "#ff8800" oder drei Zahlen von 0 bis 1.', 'colour color farbe rgb'],
    ['color(pen, fill)', '', 'Colours of the pen and of filled areas.', 'Farben des Stifts und der gefüllten Flächen.', 'colour farbe'],
    ['fillcolor(c)', '', 'Colour of filled areas.', 'Farbe der gefüllten Flächen.', 'colour farbe fläche'],
    ['begin_fill()', '', 'Begin an area; end_fill() fills it.', 'Eine Fläche beginnen; end_fill() füllt sie.', 'fill füllen fläche area'],
    ['end_fill()', '', 'Fill the area that was walked round since begin_fill().', 'Die seit begin_fill() umrundete Fläche füllen.', 'fill füllen fläche area'],
    ['pensize(w)', 'width', 'Width of the lines.', 'Breite der Linien.', 'dick thick line linie'],
    ['dot(size)', '', 'A round dot where the turtle is.', 'Ein runder Punkt, wo die Schildkröte ist.', 'punkt point'],
    ['write(text)', '', 'Write a text beside the turtle.', 'Einen Text neben die Schildkröte schreiben.', 'text say schreiben'],
    ['brush()', '', 'Draw with a brush, as in calligraphy; lines() goes back.', 'Mit dem Pinsel zeichnen; lines() schaltet zurück.', 'pinsel'],
    ['lines()', '', 'Draw plain lines again.', 'Wieder einfache Linien zeichnen.', 'linien'],
    ['bgcolor(c)', '', 'Colour of the ground; wipes the painting of everybody.', 'Farbe des Bodens; wischt alles Gemalte weg.', 'background hintergrund'],
    ['clear()', '', 'Wipe the painting, everybody\'s too: the teacher may have switched it off.', 'Alles Gemalte wegwischen, auch das der anderen: Die Lehrkraft kann es abgeschaltet haben.', 'löschen wischen'],
  ]],
  ['ask', 'Ask', 'Fragen', [
    ['position()', 'pos', 'Where the turtle is: (x, y).', 'Wo die Schildkröte ist: (x, y).', 'ort place'],
    ['xcor()', '', 'How far to the right it is.', 'Wie weit rechts sie ist.', ''],
    ['ycor()', '', 'How far up it is.', 'Wie weit oben sie ist.', ''],
    ['heading()', '', 'Where it looks, in degrees.', 'Wohin sie schaut, in Grad.', 'direction richtung'],
    ['distance(x, y)', '', 'How far it is to x, y.', 'Wie weit es bis x, y ist.', 'entfernung'],
    ['towards(x, y)', '', 'In which direction x, y lies.', 'In welcher Richtung x, y liegt.', 'richtung'],
    ['sonar()', '', 'Three times True or False: is something near at the left, in front, at the right?', 'Dreimal True oder False: Ist links, vorn, rechts etwas nahe?', 'wall wand maze labyrinth near'],
    ['finder()', '', 'What lies straight ahead, and of which team: ("wall", 0).', 'Was geradeaus liegt, und von welchem Team: ("wall", 0).', 'see sehen ahead'],
    ['radar()', '', 'Bearing and team of the nearest turtle; radar(2) of the second.', 'Richtung und Team der nächsten Schildkröte; radar(2) der zweiten.', 'see sehen nearest'],
    ['score()', '', 'Your score.', 'Deine Punkte.', 'points punkte'],
    ['alive()', '', 'True while the turtle lives.', 'True, solange die Schildkröte lebt.', 'lebt'],
    ['clock()', '', 'The field\'s clock: counts up about 125 times a second.', 'Die Uhr des Feldes: zählt etwa 125-mal je Sekunde.', 'time zeit'],
    ['coins()', '', 'How many coins you carry.', 'Wie viele Münzen du trägst.', 'münzen money'],
    ['events()', '', 'What happened since you last asked: "hit", "turtle", "wall", "coin", ...', 'Was seit der letzten Frage geschah: "hit", "turtle", "wall", "coin", ...', 'ereignisse'],
  ]],
  ['play', 'Play', 'Spielen', [
    ['name(text)', '', 'Give the turtle a name.', 'Der Schildkröte einen Namen geben.', 'heißen'],
    ['team(n)', '', 'Join team 1, 2, 3 or 4; team() tells yours.', 'Team 1, 2, 3 oder 4 beitreten; team() nennt deins.', ''],
    ['broadcast(text)', '', 'Send a message to your team.', 'Dem Team eine Nachricht senden.', 'nachricht message send'],
    ['message()', '', 'The team\'s last message and when it was sent.', 'Die letzte Nachricht des Teams und wann sie kam.', 'nachricht'],
    ['pick()', '', 'Pick up a coin that lies here.', 'Eine Münze aufheben, die hier liegt.', 'coin münze take'],
    ['drop()', '', 'Put a coin down.', 'Eine Münze hinlegen.', 'coin münze'],
    ['fire()', '', 'Fire a beam in battle.', 'Im Kampf einen Strahl schießen.', 'shoot schießen battle kampf'],
    ['battle()', '', 'Begin a battle; battle(False) ends it.', 'Einen Kampf beginnen; battle(False) beendet ihn.', 'kampf fight'],
    ['doughnut()', '', 'Make a doughnut as an obstacle.', 'Einen Doughnut als Hindernis machen.', 'hindernis'],
    ['card(n, x, y)', '', 'Put playing card n (1 to 53) at x, y.', 'Spielkarte n (1 bis 53) an x, y legen.', 'karten'],
    ['on_hit(f)', '', 'Call the function f whenever the turtle is hit; also on_wall, on_turtle, on_coin, on_message.', 'Die Funktion f aufrufen, wenn die Schildkröte getroffen wird; auch on_wall, on_turtle, on_coin, on_message.', 'event ereignis'],
  ]],
  ['language', 'The language', 'Die Sprache', [
    ['print(...)', '', 'Show texts and numbers in the output.', 'Texte und Zahlen in der Ausgabe zeigen.', 'output ausgabe zeigen'],
    ['input(question)', '', 'Ask the person at the keyboard; gives a text. For a number: int(input("How many? ")).', 'Den Menschen an der Tastatur fragen; gibt einen Text. Für eine Zahl: int(input("Wie viele? ")).', 'ask question eingabe frage'],
    ['sleep(s)', '', 'Wait s seconds (from time import sleep).', 's Sekunden warten (from time import sleep).', 'wait warten pause time'],
    ['for i in range(n):', '', 'Repeat the indented lines n times.', 'Die eingerückten Zeilen n-mal wiederholen.', 'loop repeat schleife wiederholen'],
    ['while condition:', '', 'Repeat as long as the condition holds.', 'Wiederholen, solange die Bedingung gilt.', 'loop repeat schleife wiederholen'],
    ['if condition:', '', 'Do the indented lines only if the condition holds; else: otherwise.', 'Die eingerückten Zeilen nur tun, wenn die Bedingung gilt; else: sonst.', 'wenn sonst decide else'],
    ['def name():', '', 'Give several lines a name; name() then does them.', 'Mehreren Zeilen einen Namen geben; name() tut sie dann.', 'function funktion'],
    ['randint(a, b)', '', 'A random number from a to b (from random import randint).', 'Eine Zufallszahl von a bis b (from random import randint).', 'random zufall würfel dice'],
  ]],
];

/** A word of the help as JavaScript writes it. */
export function inJavaScript(word) {
  const known = { 'for i in range(n):': 'for (let i = 0; i < n; i++) { }', 'while condition:': 'while (condition) { }',
    'if condition:': 'if (condition) { }', 'def name():': 'function name() { }', 'randint(a, b)': 'randint(a, b)' };
  return known[word] || word.replace(/_([a-z])/g, (_, letter) => letter.toUpperCase());
}

const plain = (text) => text.toLowerCase().normalize('NFD').replace(/[\u0300-\u036f]/g, '');

/** The rows in which every word of `question` occurs; the best first: those whose own name begins with it. */
export function findWords(question, language) {
  const wanted = plain(question).split(/\s+/).filter(Boolean);
  const found = [];
  for (const [group, ...rest] of GROUPS) {
    for (const row of rest[2]) {
      const [word, others, en, de, more] = row;
      const text = plain([word, others, language === 'de' ? de : en, more].join(' '));
      if (!wanted.every((part) => text.includes(part))) continue;
      const names = plain(`${word} ${others}`).split(' ');
      const rank = wanted.length === 0 ? 0 : wanted.every((part) => names.some((name) => name.startsWith(part))) ? 0 : 1;
      found.push({ group, row, rank });
    }
  }
  return found.sort((a, b) => a.rank - b.rank);
}
