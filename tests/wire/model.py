"""An independent computation of the turtles' places from the same random numbers of the C library."""
import ctypes
import math

LIBC = ctypes.CDLL("libc.so.6")
LIBC.random.restype = ctypes.c_long
EDGE = 256.0
CELL = 32


def drand():
    return LIBC.random() / 2147483647.0


def distance_to_segment(x, y, wall):
    x1, y1, x2, y2 = wall
    dx, dy = x2 - x1, y2 - y1
    along = ((x - x1) * dx + (y - y1) * dy) / (dx * dx + dy * dy)
    along = min(1.0, max(0.0, along))
    return math.hypot(x - (x1 + along * dx), y - (y1 + along * dy))


class Model:
    def __init__(self, seed):
        LIBC.srandom(ctypes.c_uint(seed & 0xFFFFFFFF))
        self.bodies = []                    # x, y, heading of every live turtle
        self.maze_mode = False
        self.clear_walls()

    def clear_walls(self):
        self.maze_mode = False
        self.walls = [(-EDGE, EDGE, EDGE, EDGE), (-EDGE, -EDGE, EDGE, -EDGE), (-EDGE, -EDGE, -EDGE, EDGE),
                      (EDGE, -EDGE, EDGE, EDGE)]

    def kill_all(self):
        self.bodies = []

    def body_distance(self, x, y):
        return min((math.hypot(x - bx, y - by) for bx, by, _ in self.bodies), default=math.inf)

    def wall_distance(self, x, y):
        return min(distance_to_segment(x, y, wall) for wall in self.walls)

    def generate(self, free=False):
        """A new turtle (or, with free, a doughnut): x, y, heading; a single None when no place was found."""
        corner = self.maze_mode and not free
        room = 10.0 if corner else 20.0
        for attempt in range(21):
            if corner:
                x = -EDGE + drand() * 32.0
                y = -EDGE + drand() * 32.0
            else:
                x = (drand() - 0.5) * 491.0
                y = (drand() - 0.5) * 491.0
            if self.body_distance(x, y) >= room and self.wall_distance(x, y) >= room:
                if attempt == 20:
                    return (None,)
                heading = 0.0 if corner else (drand() - 0.5) * 180.0
                self.bodies.append((x, y, heading))
                return x, y, heading
        return (None,)

    def scatter_coin(self):
        drand()
        drand()

    def scatter_stone(self):
        for _ in range(10):
            x = (drand() - 0.5) * 492.0
            y = (drand() - 0.5) * 492.0
            if self.body_distance(x, y) >= 25.0 and self.wall_distance(x, y) >= 25.0:
                break
        if self.body_distance(x, y) > 20.0:
            self.bodies.append((x, y, 0.0))

    def radar(self, asker, rank):
        """Relative bearing of the rank-th nearest (0 = nearest), noise included."""
        x, y, heading = self.bodies[asker]
        others = sorted((math.hypot(bx - x, by - y), i) for i, (bx, by, _) in enumerate(self.bodies) if i != asker)
        bx, by, _ = self.bodies[others[rank][1]]
        relative = math.fmod(math.degrees(math.atan2(by - y, bx - x)) - heading, 360.0)
        relative += 360.0 if relative < -180.0 else -360.0 if relative > 180.0 else 0.0
        return relative + (drand() - 0.5) * 40.0

    def maze(self):
        """One wall from each inner vertex of a 16 x 16 grid, in a random direction; four doughnuts around the
        middle."""
        self.clear_walls()
        self.maze_mode = True
        ends = [[0] * 17 for _ in range(17)]
        ways = [(-1, 0), (1, 0), (0, 1), (0, -1)]
        for gy in range(1, 16):
            for gx in range(1, 16):
                for _ in range(6):
                    dx, dy = ways[LIBC.random() % (4 if gy == 1 else 3)]
                    if ends[gx][gy] == 0 or ends[gx + dx][gy + dy] == 0:
                        self.walls.append((-EDGE + CELL * gx, -EDGE + CELL * gy,
                                           -EDGE + CELL * (gx + dx), -EDGE + CELL * (gy + dy)))
                        ends[gx][gy] += 1
                        ends[gx + dx][gy + dy] += 1
                        break
        for x, y in ((16, 16), (-16, 16), (16, -16), (-16, -16)):
            self.bodies.append((x, y, 0.0))
