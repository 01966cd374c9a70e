// The pages know every kind of objects by the name and type that the field gives it.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';
import { OBJECTS, objectNamed, objectOfType } from '../../web/src/common/kinds.js';
import { TURTLE_TYPE } from '../../web/src/watch/protocol.js';

const table = readFileSync(new URL('../../src/field/kinds.h', import.meta.url), 'utf8');
const objects = [...table.matchAll(/\.name = "(\w+)",[^}]*\.object = true,[^}]*\.json_type = (\d+)\}/g)]
  .map(([, name, type]) => ({ name, type: Number(type) }));

test('every object of the field\'s table is read', () => {
  assert.equal(objects.length, [...table.matchAll(/\.object = true/g)].length);
  assert.ok(objects.length > 0);
});

test('objects have the names and types of the field', () => {
  assert.deepEqual(OBJECTS.map(({ name, type }) => ({ name, type })), objects);
});

test('all others are turtles', () => {
  assert.equal(Number(table.match(/int json_type = (\d+);/)[1]), TURTLE_TYPE);
  assert.equal([...table.matchAll(/\.json_type = /g)].length, objects.length);
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
