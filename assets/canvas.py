"""Drawing surface of the artwork generators: shapes are laid down by cairo several times too large and averaged down at
the end, so that colours mix as light does. Also writes PNG files, of an exact length if one is given."""
import io
import math

import cairo
import numpy as np
from PIL import Image, ImageDraw
from PIL.PngImagePlugin import PngInfo


class Canvas:
    """A transparent picture of w x h pixels; all coordinates are in pixels, y downwards, fractions allowed."""

    def __init__(self, w, h, scale=8):
        self.w, self.h, self.scale = w, h, scale
        self.rgb = np.zeros((h * scale, w * scale, 3))
        self.alpha = np.zeros((h * scale, w * scale))
        ys, xs = np.mgrid[0:h * scale, 0:w * scale]
        self.x, self.y = (xs + 0.5) / scale, (ys + 0.5) / scale

    # -- masks: arrays of 0..1, one entry per fine pixel ------------------------------------------------------------
    def mask(self, draw):
        """The mask of what `draw` paints into a cairo context whose units are pixels."""
        surface = cairo.ImageSurface(cairo.FORMAT_A8, self.w * self.scale, self.h * self.scale)
        context = cairo.Context(surface)
        context.scale(self.scale, self.scale)
        context.set_fill_rule(cairo.FILL_RULE_EVEN_ODD)
        draw(context)
        surface.flush()
        rows = np.frombuffer(surface.get_data(), np.uint8).reshape(surface.get_height(), surface.get_stride())
        return rows[:, :surface.get_width()] / 255

    def polygon(self, points):
        def draw(context):
            for x, y in points:
                context.line_to(x, y)
            context.fill()
        return self.mask(draw)

    def disc(self, cx, cy, r):
        return self.oval(cx, cy, r, r)

    def oval(self, cx, cy, rx, ry, degrees=0.0):
        def draw(context):
            context.translate(cx, cy)
            context.rotate(math.radians(degrees))
            context.scale(rx, ry)
            context.arc(0, 0, 1, 0, 2 * math.pi)
            context.fill()
        return self.mask(draw)

    def reach(self, cx, cy, rx, ry, degrees=0.0):
        """How far out of the oval's centre a pixel lies: 0 there, 1 on the rim."""
        c, s = math.cos(math.radians(degrees)), math.sin(math.radians(degrees))
        dx, dy = self.x - cx, self.y - cy
        return np.hypot((dx * c + dy * s) / rx, (-dx * s + dy * c) / ry)

    def box(self, x0, y0, x1, y1, radius=0.0):
        def draw(context):
            quarter = math.pi / 2
            for k, (x, y) in enumerate(((x1 - radius, y1 - radius), (x0 + radius, y1 - radius),
                                        (x0 + radius, y0 + radius), (x1 - radius, y0 + radius))):
                context.arc(x, y, radius, k * quarter, (k + 1) * quarter)
            context.fill()
        return self.mask(draw)

    def line(self, points, width):
        """A polyline with round joints and ends."""
        def draw(context):
            for x, y in points:
                context.line_to(x, y)
            context.set_line_width(width)
            context.set_line_cap(cairo.LINE_CAP_ROUND)
            context.set_line_join(cairo.LINE_JOIN_ROUND)
            context.stroke()
        return self.mask(draw)

    def text(self, cx, cy, words, font):
        """Words whose ink is centred on a point; the font's size is in fine pixels."""
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
def encoded(pixels, comment=None):
    """The shortest PNG file that Pillow makes of 8-bit RGB or RGBA."""
    notes = PngInfo()
    if comment is not None:
        notes.add_text('Comment', comment)
    best = None
    for strategy in (Image.DEFAULT_STRATEGY, Image.FILTERED):
        file = io.BytesIO()
        Image.fromarray(pixels).save(file, 'PNG', optimize=True, compress_level=9, compress_type=strategy, pnginfo=notes)
        best = file.getvalue() if best is None or len(file.getvalue()) < len(best) else best
    return best


def save_png(path, pixels, length=None):
    """8-bit RGB or RGBA. With a length the file is filled up to exactly that many bytes by a comment.
    Returns False, and writes nothing, when the picture alone is longer."""
    file = encoded(pixels)
    if length is not None and len(file) != length:
        words = length - len(encoded(pixels, ''))
        if words < 0:
            return False
        file = encoded(pixels, ('Kelmora viewer icon. ' * (words // 20 + 1))[:words])
    with open(path, 'wb') as f:
        f.write(file)
    return True


def save_png_fitting(path, pixels, length):
    """Like save_png, with as many colours as the length allows; returns how many, "all" without a limit."""
    if save_png(path, pixels, length):
        return 'all'
    picture = Image.fromarray(pixels)
    for colours in (256, 192, 128, 96, 80, 64, 56, 48, 40, 32, 28, 24, 20, 16, 14, 12, 10, 9, 8, 7, 6, 5, 4):
        if colours == 8:  # too few for soft edges
            hard = pixels.copy()
            hard[..., 3] = np.where(pixels[..., 3] < 128, 0, 255)
            picture = Image.fromarray(np.where(hard[..., 3:] == 0, 0, hard).astype(np.uint8))
        fewer = np.asarray(picture.quantize(colours, Image.Quantize.FASTOCTREE, dither=Image.Dither.NONE).convert('RGBA'))
        fewer = np.where(fewer[..., 3:] == 0, 0, fewer).astype(np.uint8)
        if save_png(path, fewer, length):
            return colours
    raise SystemExit(f'{path}: too much detail for {length} bytes')
