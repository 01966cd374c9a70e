"""A battle over real sockets: six clients and four robots, from the first aimed shot to the last turtle standing."""
import math
import time

import harness
from harness import Client, Closed, FieldTest, wait_until

RELOAD_TICKS = 60          # more than a beam's way over 60 units (30 frames) and the 25 frames of its explosion
TURN = 3.0                 # largest turn of a command in battle mode, degrees


def parts(total, most):
    """The total, cut into pieces that battle mode allows."""
    count = math.ceil(abs(total) / most - 1e-9)
    return [math.copysign(most, total)] * (count - 1) + [total - math.copysign(most, total) * (count - 1)] if count else []


class Fighter:
    def __init__(self, place):
        self.client = Client()
        self.client.do("j 3000 %d" % (3000 + 100 * place[0]))
        self.place = place

    def score(self):
        return int(self.client.ask("q s").values)

    def turn_by(self, angle):
        """Turns by any angle in one pass: one packet may hold many small turns."""
        self.client.ask_all("t l %.9f" % piece for piece in parts(angle, TURN))

    def face(self, x, y):
        own_x, own_y = self.client.position()
        heading = self.client.numbers("q d")[0]
        angle = math.degrees(math.atan2(y - own_y, x - own_x)) - heading
        self.turn_by((angle + 180.0) % 360.0 - 180.0)

    def shoot(self, ticks=RELOAD_TICKS):
        """Fires once and waits until the shot is over."""
        answer = self.client.ask("x")
        self.client.wait_ticks(ticks)
        return answer


class Battle(FieldTest):
    # Two triangles, 60 units from shooter to victim, out of each other's lines of fire.
    PLACES = [(-150, 150), (-90, 150), (150, 150), (150, 90), (-150, -150), (150, -150)]

    def setUp(self):
        self.nobody()
        self.start = self.field.mark()
        self.fighters = []
        for number, place in enumerate(self.PLACES):
            fighter = Fighter((number, 0))
            self.addCleanup(fighter.client.close)
            self.fighters.append(fighter)
        for number, (fighter, (x, y)) in enumerate(zip(self.fighters, self.PLACES)):
            fighter.client.do("j %d %d" % (x, y), "n " + ("Fighter%d" % number).encode().hex(), "i %d" % (number % 4 + 1))

    def tearDown(self):
        self.field.empty()
        with Client() as client:
            client.do("! u")

    def closing_lines(self):
        return sum(line.startswith("closing connection") for line in self.field.said(self.start))

    def test_hits_cost_thirty_and_give_eleven_and_the_fourth_kills(self):
        shooter, victim = self.fighters[0], self.fighters[1]
        shooter.client.do("!")
        shooter.face(*self.PLACES[1])
        shooter.client.do("y + 1")
        for hit in (1, 2, 3):
            self.assertEqual(shooter.shoot().status, "OK")
            told = victim.client.ask("q s")
            self.assertEqual((int(told.values), told.event), (100 - 30 * hit, harness.EVENT_HIT))
            self.assertEqual(victim.client.ask("q s").event, 0)
            self.assertEqual(shooter.score(), 100 + 10 * hit)       # a shot costs 1, a hit gives 11
        fired = shooter.client.ask("x").clock
        # 60 units less the radius 10 at 2 a frame: about 25 frames of flight, then 50 of dying.
        self.assertTrue(victim.client.wait_closed(30))
        gone = shooter.client.ask("q n")
        self.assertGreaterEqual(gone.clock - fired, 50 + 20)
        self.assertEqual(gone.values, "5")                          # removed, not a zombie
        self.assertEqual(shooter.score(), 140)
        wait_until(lambda: self.closing_lines() > 0, 10, "the line about it")
        self.assertEqual(self.closing_lines(), 1)

    def test_beam_in_flight_and_explosion_hold_the_next_shot(self):
        shooter = self.fighters[0]
        shooter.client.do("!")
        shooter.face(*self.PLACES[1])
        before = shooter.score()
        first = shooter.client.ask_all(["x", "q s", "x", "q s"])
        self.assertEqual([a.status for a in first], ["OK"] * 4)
        self.assertEqual((first[1].values, first[3].values), (str(before - 1), str(before - 1)))
        shooter.client.wait_ticks(RELOAD_TICKS)
        self.assertEqual(shooter.client.ask_all(["x", "q s"])[1].values, str(before - 1 + 11 - 1))

    def test_turtle_without_points_cannot_act_in_battle(self):
        shooter, turtle = self.fighters[0], self.fighters[1]
        shooter.client.do("!")
        shooter.face(*self.PLACES[1])
        for _ in range(3):
            shooter.shoot()
        self.assertEqual(turtle.score(), 10)
        turtle.face(self.PLACES[1][0], 256)                         # up, where only the field's edge is
        turtle.client.ask_all(["f 2"] * 42)                         # and near to it: the shots that miss are soon over
        end = time.monotonic() + harness.patience(60)
        while turtle.score() > 0:
            self.assertEqual(turtle.client.ask("x").status, "OK")
            self.assertLess(time.monotonic(), end)
        for line in ("x", "f 1", "t l 1"):
            self.assertEqual(turtle.client.ask(line).status, "ERR", line)
        self.assertEqual(turtle.client.ask("q a").values, "1")

    def test_doughnut_shot_from_near_gives_eleven_points(self):
        shooter = self.fighters[0]
        for other in self.fighters[1:]:
            other.client.do("j 3000 %d" % (3000 + 100 * other.place[0]))
        shooter.client.do("d")
        shooter.client.do("!")
        self.approach(shooter)
        before = shooter.score()
        shooter.shoot()
        self.assertEqual(shooter.score(), before - 1 + 11)
        shooter.client.wait_ticks(60)
        self.assertEqual(shooter.client.ask("q n").values, "6")

    def approach(self, hunter, seconds=240):
        """Walks towards the nearest turtle until it is in the way. The radar's noise of 20 degrees averages out."""
        end = time.monotonic() + harness.patience(seconds)
        while True:
            answers = hunter.client.ask_all(["q r 1"] * 80)
            if answers[0].status != "OK":
                return False
            bearings = [math.radians(float(answer.values.split()[0])) for answer in answers]
            hunter.turn_by(math.degrees(math.atan2(sum(map(math.sin, bearings)), sum(map(math.cos, bearings)))))
            steps = hunter.client.ask_all(["f 2"] * 12)
            if steps[-1].status == "ERR" and (hunter.client.ask("q f").values[0] in "123" or hunter.score() < 1):
                return True                                         # there, or shot down to 0: no step is possible
            self.assertLess(time.monotonic(), end, "the hunt takes too long")

    def test_battle_runs_to_its_end(self):
        first = self.fighters[0]
        answers = first.client.ask_all(["r"] * 4)
        self.assertEqual([answer.status for answer in answers], ["OK"] * 4)
        self.assertEqual(first.client.ask("q n").values, "10")
        first.client.do("!")
        # One leaves and one disconnects: both become zombies, which can be hit like others.
        self.fighters[2].client.close()
        self.fighters[3].client.abort()
        wait_until(lambda: self.closing_lines() == 2, 10, "two zombies")
        self.assertGreaterEqual(int(first.client.ask("q n").values), 9)
        # The others hunt whatever is nearest; a dead turtle is disconnected, and one without points leaves. In the end
        # one or none is left on the field.
        alive = [self.fighters[i] for i in (0, 1, 4, 5)]
        winner, end = None, time.monotonic() + harness.patience(400)
        while alive and not winner:
            self.assertLess(time.monotonic(), end, "the battle takes too long")
            for fighter in list(alive):
                try:
                    if self.approach(fighter):
                        # While its shot flies and its explosion lasts, the others act.
                        fighter.client.ask("x")
                    elif fighter.score() > 0:
                        winner = fighter
                        break
                    if fighter.score() < 1:
                        fighter.client.close()                      # without points: becomes a target
                        alive.remove(fighter)
                except Closed:
                    alive.remove(fighter)
        if winner:
            self.assertEqual(alive, [winner])
            self.assertEqual(winner.client.ask("q n").values, "1")
            self.assertGreater(winner.score(), 0)
        wait_until(lambda: self.closing_lines() == 6 - len(alive), 10, "all others to be disconnected")


if __name__ == "__main__":
    harness.main()
