// Writes answers like the field's: members in its order, numbers with six decimals, names unescaped.
export function turtleText(i, given = {}) {
  const t = { time: 1, type: 1, name: '', team: 0, x: '0.000000', y: '0.000000', head: '0.000000', ttl: 0,
    bx: '0.000000', by: '0.000000', bttf: 0, score: 100, ncoin: 0, alive: true, firing: false, got_hit: false,
    collide: false, detected: false, got_msg: false, ...given };
  return `{"tid":${i},"time":${t.time},"type":${t.type},"name":"${t.name}","team":${t.team},"x":${t.x},"y":${t.y},` +
    `"head":${t.head},"ttl":${t.ttl},"bx":${t.bx},"by":${t.by},"bttf":${t.bttf},"score":${t.score},` +
    `"ncoin":${t.ncoin},"alive":${t.alive},"firing":${t.firing},"got_hit":${t.got_hit},"collide":${t.collide},` +
    `"detected":${t.detected},"got_msg":${t.got_msg}}`;
}

export function listText(...turtles) {
  return `[${turtles.map((t, i) => turtleText(i, t)).join(', ')}]`;
}
