"""A student whose tablet sleeps: after a minute the seat is free and the turtle parked; later the student is
recognised."""
import unittest

from classroom import Classroom, Field, time, wait_until


class Away(unittest.TestCase):
    def test_a_seat_is_free_after_a_minute_and_its_turtle_out_of_sight(self):
        with Field(), Classroom() as room:
            ann, bob, cleo = room.gather("Ann", "Bob", "Cleo")
            for heading, someone in ((0, ann), (120, bob), (240, cleo)):
                someone.begin_in_the_middle()
                if someone is ann:
                    began = time.monotonic()
                someone.do("p d", "t l %d" % heading, "f 60")  # Ann's last words
            ann.close()  # the tab has gone

            def names():
                bob.post("/api/beat", {})  # this page is alive
                cleo.get("/api/run/stop?run=%d" % cleo.run)  # here only the program is
                return sorted(t["name"] for t in bob.get("/field/0/turtle").json)
            wait_until(lambda: names() == ["Ann", "Bob", "Cleo"], what="the three turtles")
            wait_until(lambda: names() == ["Bob", "Cleo"], 90, "Ann's turtle to go", 1)
            self.assertGreater(time.monotonic() - began, 55)
            seen = {s["name"]: s["state"] for s in room.desk()["sessions"]}
            self.assertEqual(seen, {"Ann": "away", "Bob": "seated", "Cleo": "seated"})
            again = room.browser()
            again.token = ann.token
            state = again.get("/api/me").json
            self.assertEqual((state["name"], state["state"]), ("Ann", "seated"))
            self.assertEqual(again.get("/api/run/stop?run=%d" % ann.run).text, "2")
            wait_until(lambda: names() == ["Ann", "Bob", "Cleo"], 20, "Ann's turtle to come back")

    def test_the_end_of_the_server_leaves_no_turtle_in_sight(self):
        with Field():
            with Classroom() as room:
                ann = room.student("Ann")
                ann.begin()
                ann.do("f 10")
            with Classroom() as room:
                self.assertEqual(room.browser().get("/field/0/turtle").json, [])


if __name__ == "__main__":
    unittest.main()
