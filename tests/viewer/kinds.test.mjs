// The pages know every kind of objects by the name and type that the field gives it.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';
import { OBJECTS, objectNamed, objectOfType } from '../../web/src/common/kinds.js';
import { TURTLE_TYPE } from '../../web/src/watch/protocol.js';

const table = readFileSync(new URL('../../src/field/kinds.h', import.meta.url), 'utf8');
const kinds = [...table.matchAll(/\.name = "(\w+)",[^}]*?\.object = (true|false),[^}]*?\.json_type = (\d+)\}/g)]
  .map(([, name, object, type]) => ({ name, object: object === 'true', type: Number(type) }));

test('every row of the field\'s table is read', () => {
  assert.equal(kinds.length, Number(table.match(/kind_info_t, (\d+)>/)[1]));
});

test('objects have the names and types of the field', () => {
  const told = kinds.filter((kind) => kind.object).map(({ name, type }) => ({ name, type }));
  assert.deepEqual(OBJECTS.map(({ name, type }) => ({ name, type })), told);
});

test('all others are turtles', () => {
  for (const { name, object, type } of kinds) if (!object) assert.equal(type, TURTLE_TYPE, name);
});

test('every object can be drawn, and nothing else is one', () => {
  for (const { name, type, make, draw } of OBJECTS) {
    assert.equal(typeof make, 'function');
    assert.equal(typeof draw, 'function');
    assert.equal(objectOfType(type), objectNamed(name));
  }
  assert.equal(objectOfType(TURTLE_TYPE), undefined);
  for (const name of ['turtle', 'robot', 'constructor', '__proto__']) assert.equal(objectNamed(name), undefined);
});
