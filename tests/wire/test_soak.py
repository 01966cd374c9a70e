"""The soak's short form: half a minute of everything at once in every build that is tested."""
import unittest

import harness
import soak


class Soak(unittest.TestCase):
    def test_half_a_minute_of_everything_at_once(self):
        soak.MINUTES = 0.5
        print("seed %d" % soak.SEED)
        self.assertEqual(soak.soak(), [])


if __name__ == "__main__":
    harness.main()
