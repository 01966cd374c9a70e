// The program that the editor shows to new users.
const PYTHON_EN = `from kelmora import *

for side in range(4):
    forward(100)
    left(90)

print("A square!")
`;
const PYTHON_DE = `from kelmora import *

for seite in range(4):
    forward(100)
    left(90)

print("Ein Quadrat!")
`;
const JAVASCRIPT_EN = `for (let side = 0; side < 4; side++) {
  forward(100);
  left(90);
}

print("A square!");
`;
const JAVASCRIPT_DE = `for (let seite = 0; seite < 4; seite++) {
  forward(100);
  left(90);
}

print("Ein Quadrat!");
`;

export const STARTERS = {
  python: { en: PYTHON_EN, de: PYTHON_DE },
  javascript: { en: JAVASCRIPT_EN, de: JAVASCRIPT_DE },
  blocks: { en: '', de: '' },
};
