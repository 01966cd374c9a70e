"""Drawing surface of the artwork generators: shapes are laid down several times too large and averaged down at the end,
so that edges are smooth. Also writes PNG files, of an exact length where one is asked for."""
import math
import struct
import zlib

import numpy as np
from PIL import Image, ImageDraw


class Canvas:
    """A transparent picture of w x h pixels; all coordinates are in pixels, y downwards, fractions allowed."""

    def __init__(self, w, h, scale=8):
        self.w, self.h, self.scale = w, h, scale
        self.rgb = np.zeros((h * scale, w * scale, 3))
        self.alpha = np.zeros((h * scale, w * scale))
        ys, xs = np.mgrid[0:h * scale, 0:w * scale]
        self.x, self.y = (xs + 0.5) / scale, (ys + 0.5) / scale

    # -- masks: arrays of 0..1, one entry per fine pixel ------------------------------------------------------------
    def polygon(self, points):
        image = Image.new('L', (self.w * self.scale, self.h * self.scale), 0)
        ImageDraw.Draw(image).polygon([(x * self.scale, y * self.scale) for x, y in points], fill=1)
        return np.asarray(image, dtype=float)

    def disc(self, cx, cy, r):
        return (np.hypot(self.x - cx, self.y - cy) <= r).astype(float)

    def oval(self, cx, cy, rx, ry, degrees=0.0):
        return (self.reach(cx, cy, rx, ry, degrees) <= 1).astype(float)

    def reach(self, cx, cy, rx, ry, degrees=0.0):
        """How far out of the oval's centre a pixel lies: 0 there, 1 on the rim."""
        c, s = math.cos(math.radians(degrees)), math.sin(math.radians(degrees))
        dx, dy = self.x - cx, self.y - cy
        return np.hypot((dx * c + dy * s) / rx, (-dx * s + dy * c) / ry)

    def box(self, x0, y0, x1, y1, radius=0.0):
        dx = np.maximum(np.maximum(x0 + radius - self.x, self.x - x1 + radius), 0)
        dy = np.maximum(np.maximum(y0 + radius - self.y, self.y - y1 + radius), 0)
        return (np.hypot(dx, dy) <= max(radius, 1e-9)).astype(float)

    def line(self, points, width):
        """A polyline with round joints and ends."""
        mask = np.zeros_like(self.alpha)
        for (x0, y0), (x1, y1) in zip(points, points[1:]):
            length2 = max((x1 - x0) ** 2 + (y1 - y0) ** 2, 1e-12)
            t = np.clip(((self.x - x0) * (x1 - x0) + (self.y - y0) * (y1 - y0)) / length2, 0, 1)
            mask = np.maximum(mask, np.hypot(self.x - x0 - t * (x1 - x0), self.y - y0 - t * (y1 - y0)) <= width / 2)
        return mask

    def text(self, cx, cy, words, font):
        """Words centred on a point by their ink; the font's size counts fine pixels."""
        image = Image.new('L', (self.w * self.scale, self.h * self.scale), 0)
        left, top, right, bottom = font.getbbox(words)
        at = (cx * self.scale - (left + right) / 2, cy * self.scale - (top + bottom) / 2)
        ImageDraw.Draw(image).text(at, words, font=font, fill=255)
        return np.asarray(image, dtype=float) / 255

    # -- painting ---------------------------------------------------------------------------------------------------
    def paint(self, mask, colour, opacity=1.0):
        """Lays a colour (three numbers 0..255, or one triple per fine pixel) over what is there."""
        a = mask * opacity
        out = a + self.alpha * (1 - a)
        safe = np.where(out > 0, out, 1)[..., None]
        colour = np.broadcast_to(np.asarray(colour, dtype=float), self.rgb.shape)
        self.rgb = (colour * a[..., None] + self.rgb * (self.alpha * (1 - a))[..., None]) / safe
        self.alpha = out

    def half_turn(self):
        other = Canvas(self.w, self.h, self.scale)
        other.rgb, other.alpha = self.rgb[::-1, ::-1].copy(), self.alpha[::-1, ::-1].copy()
        return other

    def lay(self, other, mask=None):
        """Paints another canvas of the same size over this one."""
        self.paint(other.alpha if mask is None else other.alpha * mask, other.rgb)

    def pixels(self):
        """The finished picture: 8-bit RGBA, averaged with colours weighted by their alpha; 0,0,0,0 where nothing is."""
        s = self.scale
        shape = (self.h, s, self.w, s)
        alpha = self.alpha.reshape(shape).mean(axis=(1, 3))
        rgb = (self.rgb * self.alpha[..., None]).reshape(shape + (3,)).mean(axis=(1, 3))
        rgb = rgb / np.where(alpha > 0, alpha, 1)[..., None]
        out = np.dstack([rgb, alpha * 255])
        out = np.clip(np.round(out), 0, 255).astype(np.uint8)
        out[out[..., 3] == 0] = 0
        return out


def mix(a, b, t):
    """Colour a at t = 0, b at t = 1; t may be an array."""
    t = np.asarray(t, dtype=float)[..., None]
    return np.asarray(a, dtype=float) * (1 - t) + np.asarray(b, dtype=float) * t


def smooth(a, b, x):
    t = np.clip((x - a) / (b - a), 0, 1)
    return t * t * (3 - 2 * t)


def noise(size, cells, seed):
    """Smooth random heights -1..1 on size x size pixels that continue over the edges of the square."""
    knots = np.random.RandomState(seed).uniform(-1, 1, (cells, cells))
    at = (np.arange(size) + 0.5) * cells / size
    i, f = np.floor(at).astype(int), at - np.floor(at)
    f = f * f * (3 - 2 * f)
    rows = knots[i % cells] * (1 - f)[:, None] + knots[(i + 1) % cells] * f[:, None]
    return rows[:, i % cells] * (1 - f) + rows[:, (i + 1) % cells] * f


# -- PNG ----------------------------------------------------------------------------------------------------------------
def chunk(kind, data):
    return struct.pack('>I', len(data)) + kind + data + struct.pack('>I', zlib.crc32(kind + data))


def filtered(pixels, choose):
    """Rows with PNG's filter bytes; choose is a filter number, or None for the least sum of differences per row."""
    h, w, depth = pixels.shape
    rows = pixels.reshape(h, w * depth).astype(int)
    out = bytearray()
    above = np.zeros(w * depth, dtype=int)
    for row in rows:
        left = np.concatenate([np.zeros(depth, dtype=int), row[:-depth]])
        corner = np.concatenate([np.zeros(depth, dtype=int), above[:-depth]])
        guess = left + above - corner
        pa, pb, pc = abs(guess - left), abs(guess - above), abs(guess - corner)
        paeth = np.where((pa <= pb) & (pa <= pc), left, np.where(pb <= pc, above, corner))
        tries = [(row - p) % 256 for p in (0 * row, left, above, (left + above) // 2, paeth)]
        costs = [int(np.minimum(t, 256 - t).sum()) for t in tries]
        best = choose if choose is not None else costs.index(min(costs))
        out += bytes([best]) + tries[best].astype(np.uint8).tobytes()
        above = row
    return bytes(out)


def pack(pixels):
    """The shortest of a few codings."""
    best = None
    for choose in (None, 0, 1, 2, 3, 4):
        raw = filtered(pixels, choose)
        for strategy in (zlib.Z_DEFAULT_STRATEGY, zlib.Z_FILTERED):
            coder = zlib.compressobj(9, zlib.DEFLATED, 15, 9, strategy)
            data = coder.compress(raw) + coder.flush()
            best = data if best is None or len(data) < len(best) else best
    return best


def save_png(path, pixels, length=None):
    """8-bit RGB or RGBA. With a length the file is filled up to exactly that many bytes by a comment.
    Returns False, and writes nothing, when the picture alone is longer."""
    h, w, depth = pixels.shape
    header = chunk(b'IHDR', struct.pack('>IIBBBBB', w, h, 8, 6 if depth == 4 else 2, 0, 0, 0))
    parts = [b'\x89PNG\r\n\x1a\n', header, chunk(b'IDAT', pack(pixels)), chunk(b'IEND', b'')]
    if length is not None:
        room = length - sum(map(len, parts))
        if room != 0:
            words = room - 12 - len(b'Comment\0')
            if words < 0:
                return False
            parts.insert(2, chunk(b'tEXt', b'Comment\0' + (b'Kelmora viewer icon. ' * (words // 20 + 1))[:words]))
    with open(path, 'wb') as f:
        f.write(b''.join(parts))
    return True


def save_png_fitting(path, pixels, length):
    """Like save_png, in as many shades per colour as the length allows."""
    for levels in (256, 128, 96, 64, 48, 40, 32, 28, 24, 20, 16, 14, 12, 10, 8, 7, 6, 5, 4):
        step = 255 / (levels - 1)
        fewer = np.round(np.round(pixels / step) * step).astype(np.uint8)
        fewer[fewer[..., 3] == 0] = 0
        if save_png(path, fewer, length):
            return levels
    raise SystemExit(f'{path}: too much detail for {length} bytes')
