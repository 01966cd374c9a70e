// The painting on the floor and the cards on it, fetched from where the field writes them. Nothing is shown while there
// are none. Only the text functions are pure; THREE is a global of the page.

export const PAINTING_EVERY = 150; // ms
const ABSENT_EVERY = 5000; // ms, while there is none; the longest pause after a failure
const SIDE = 512; // field units, and pixels of the painting
const CARDS_MOST = 53;

/** Cards as written by the field: {sheet, width, height, cards: [{x, y, u, v}]}, lowest first; null when malformed. */
export function parseCards(text) {
  let told;
  try {
    told = JSON.parse(text);
  } catch {
    return null;
  }
  if (typeof told !== 'object' || told === null || !Array.isArray(told.cards)) return null;
  if (!/^[\w-]+\.png$/.test(told.sheet) || !(told.width > 0) || !(told.height > 0)) return null;
  const cards = told.cards.filter((card) => card && ['x', 'y', 'u', 'v'].every((key) => Number.isFinite(card[key])));
  return { sheet: told.sheet, width: told.width, height: told.height, cards: cards.slice(0, CARDS_MOST) };
}

/**
 * Fetches an address again and again; `use(answer)` gets each answer that is new, and a promise of it is awaited; false
 * says that there is nothing. The browser asks with the last answer's ETag, so what has not changed costs no transfer.
 * @returns a function that ends it
 */
export function pollChanges(world, address, every, use) {
  let stopped = false;
  let before = null;
  let failures = 0; // in a row; after each the next pause is twice as long
  const failed = () => {
    failures += 1;
    return Math.min(every * 2 ** failures, ABSENT_EVERY);
  };
  const turn = async () => {
    let pause = every;
    try {
      const answer = await world.fetch(address, { cache: 'no-cache' });
      const tag = answer.headers.get('ETag');
      if (answer.status >= 500) pause = failed();
      else if (!answer.ok) pause = ABSENT_EVERY;
      else if (tag === null || tag !== before) {
        if ((await use(answer)) === false) pause = ABSENT_EVERY;
        else before = tag;
      }
      if (!(answer.status >= 500)) failures = 0;
    } catch {
      pause = failed();
    }
    if (!stopped) world.setTimeout(turn, world.hidden() ? Math.max(pause, 1000) : pause);
  };
  turn();
  return () => { stopped = true; };
}

/** A picture as a texture whose pixels stay sharp when it is enlarged. */
function sharpTexture(image) {
  const T = globalThis.THREE;
  const texture = new T.Texture(image);
  texture.magFilter = T.NearestFilter;
  texture.minFilter = T.LinearFilter;
  texture.generateMipmaps = false;
  texture.colorSpace = T.SRGBColorSpace;
  texture.flipY = false; // pictures are decoded the right way up
  texture.needsUpdate = true;
  return texture;
}

// Texture rows start at the bottom, canvas rows at the top.
const decode = (blob, flat) => (flat ? createImageBitmap(blob)
  : createImageBitmap(blob, { imageOrientation: 'flipY', premultiplyAlpha: 'none', colorSpaceConversion: 'none' }));

/** The floor with its painting: add `plane` to the scene; `show(image)` puts a picture on it. */
export function makePaintedFloor() {
  const T = globalThis.THREE;
  const plane = new T.Mesh(new T.PlaneGeometry(SIDE, SIDE), new T.MeshBasicMaterial({ toneMapped: false }));
  plane.position.z = 0.15;
  plane.visible = false;
  return {
    plane,
    show(image) {
      const old = plane.material.map;
      plane.material.map = sharpTexture(image);
      plane.material.needsUpdate = old === null;
      plane.visible = true;
      if (old) {
        old.image.close?.();
        old.dispose();
      }
    },
  };
}

/** All cards as one mesh, a little above the floor, the top one highest. `image` is the sheet. */
export function makeCards(told, image) {
  const T = globalThis.THREE;
  const texture = sharpTexture(image);
  const { width: sheetWidth, height: sheetHeight } = texture.image;
  const places = [];
  const corners = [];
  const index = [];
  told.cards.forEach((card, i) => {
    const z = 0.4 + 0.02 * i;
    const [left, right] = [card.u / sheetWidth, (card.u + told.width) / sheetWidth];
    const [top, foot] = [1 - card.v / sheetHeight, 1 - (card.v + told.height) / sheetHeight];
    places.push(card.x, card.y, z, card.x + told.width, card.y, z, card.x + told.width, card.y + told.height, z,
      card.x, card.y + told.height, z);
    corners.push(left, foot, right, foot, right, top, left, top);
    index.push(...[0, 1, 2, 0, 2, 3].map((corner) => 4 * i + corner));
  });
  const geometry = new T.BufferGeometry();
  geometry.setAttribute('position', new T.Float32BufferAttribute(places, 3));
  geometry.setAttribute('uv', new T.Float32BufferAttribute(corners, 2));
  geometry.setIndex(index);
  const mesh = new T.Mesh(geometry, new T.MeshBasicMaterial({ map: texture, alphaTest: 0.5, toneMapped: false, side: T.DoubleSide }));
  mesh.frustumCulled = false;
  return mesh;
}

/**
 * Keeps painting and cards of a scene as the field has written them.
 * @param base  address of the folder with canvas.png, cards.json and the sheet, with a slash at its end
 */
export function followPainting(world, base, scene) {
  const sheets = new Map();
  const sheet = (name) => {
    if (!sheets.has(name)) {
      sheets.set(name, world.fetch(base + name).then(async (answer) => {
        if (!answer.ok) throw new Error(name);
        return decode(await answer.blob(), scene.flat);
      }));
      sheets.get(name).catch(() => sheets.delete(name));
    }
    return sheets.get(name);
  };
  // The field writes cards and painting together; without cards the painting is not requested.
  let painting = false;
  const ends = [
    pollChanges(world, `${base}cards.json`, 2 * PAINTING_EVERY, async (answer) => {
      const told = parseCards(await answer.text());
      if (!told) return false;
      scene.setCards(told, told.cards.length > 0 ? await sheet(told.sheet) : null);
      if (painting) return true;
      painting = true;
      ends.push(pollChanges(world, `${base}canvas.png`, PAINTING_EVERY, async (picture) => {
        scene.setPainting(await decode(await picture.blob(), scene.flat));
      }));
      return true;
    }),
  ];
  return () => ends.forEach((end) => end());
}
