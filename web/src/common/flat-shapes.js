// Turtles and their labels from straight above, drawn with a canvas's pen whose origin is their place and whose y looks up.

export function oval(pen, fill, x, y, rx, ry, turn = 0) {
  pen.fillStyle = fill;
  pen.beginPath();
  pen.ellipse(x, y, rx, ry, turn, 0, 2 * Math.PI);
  pen.fill();
}

/** @param heading  degrees;  @param shell  its colour;  @param ink  colour of a spot on its back, or null */
export function drawTurtle(pen, heading, shell, ink) {
  pen.save();
  pen.rotate((heading * Math.PI) / 180);
  for (const [x, y, turn] of [[6, 7, 0.6], [6, -7, -0.6], [-6, 7, -0.6], [-6, -7, 0.6]]) oval(pen, '#8fc46a', x, y, 3.4, 2.4, turn + Math.PI / 2);
  oval(pen, '#8fc46a', 11, 0, 3.6, 3);
  oval(pen, '#2b5d2a', 0, 0, 9.4, 7.8);
  oval(pen, shell, 0, 0, 8.4, 6.8);
  pen.strokeStyle = 'rgba(0, 30, 10, .35)';
  pen.lineWidth = 0.9;
  pen.beginPath();
  for (const [x, y] of [[3.6, 2.6], [3.6, -2.6], [-3.6, 2.6], [-3.6, -2.6]]) {
    pen.moveTo(x, y);
    pen.lineTo(x * 1.7, y * 2.1);
  }
  pen.rect(-3.6, -2.6, 7.2, 5.2);
  pen.stroke();
  if (ink) oval(pen, ink, 0, 0, 3.4, 2.4);
  oval(pen, '#101c22', 12.6, 1.4, 0.7, 0.7);
  oval(pen, '#101c22', 12.6, -1.4, 0.7, 0.7);
  pen.restore();
}

export function drawLabel(pen, text, fill = '#ffffff') {
  pen.save();
  pen.scale(1, -1);
  pen.font = 'bold 13px sans-serif';
  pen.textAlign = 'center';
  pen.lineJoin = 'round';
  pen.strokeStyle = '#00182c';
  pen.lineWidth = 3.5;
  pen.strokeText(text, 0, -15);
  pen.fillStyle = fill;
  pen.fillText(text, 0, -15);
  pen.restore();
}
