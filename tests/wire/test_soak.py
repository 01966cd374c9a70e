"""The short form of the soak test: a minute with each sanitizer, half a minute in an ordinary build."""
import unittest

import harness
import soak


class Soak(unittest.TestCase):
    def test_everything_at_once(self):
        soak.MINUTES = 1.0 if harness.instrumented() else 0.5
        print("seed %d" % soak.SEED)
        self.assertEqual(soak.soak(), [])


if __name__ == "__main__":
    harness.main()
