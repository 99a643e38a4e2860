"""scripts/bench --plot: what is drawn of each figure."""

import math
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[3] / "scripts" / "lib"))

from bench_plot import make_data  # noqa: E402
from bench_results import BadResults, Result  # noqa: E402


def make_result(value, *, goal=2.0, better="lower", spread=None, name="name", unit="ms", origin=""):
    return Result(name=name, value=value, spread=spread, unit=unit, goal=goal, better=better, origin=origin)


def draw(*results):
    return list(make_data({result.name: result for result in results}))


def draw_one(*arguments, **members):
    """The members of its row behind the position: share, ends of the error bar, missed or not, name, text."""
    lines = draw(make_result(*arguments, **members))
    _, share, low, high, missed, rest = lines[lines.index("$figures << END") + 1].split(" ", 5)
    return float(share), float(low), float(high), missed == "1", rest


class BenchPlotTest(unittest.TestCase):
    def test_lower_figure_uses_its_part_of_the_goal(self):
        self.assertEqual(draw_one(0.5, spread=0.1)[:4], (25, 20, 30, False))
        self.assertEqual(draw_one(2.5, spread=0)[:4], (125, 125, 125, True))

    def test_higher_figure_uses_more_the_lower_it_is(self):
        self.assertEqual(draw_one(4.0, spread=1, better="higher")[:4], (50, 66.667, 40, False))
        self.assertEqual(draw_one(1.6, spread=0, better="higher")[:4], (125, 125, 125, True))

    def test_goal_that_is_just_met_is_not_missed(self):
        for better in ("lower", "higher"):
            self.assertEqual(draw_one(2.0, spread=0, better=better)[:4], (100, 100, 100, False))

    def test_shares_stay_within_the_picture(self):
        self.assertEqual(draw_one(0.0, spread=1)[:4], (0, 0, 50, False))
        self.assertEqual(draw_one(1000.0, spread=1)[:4], (150, 150, 150, True))
        self.assertEqual(draw_one(0.0, spread=1, better="higher")[:4], (150, 150, 150, True))

    def test_single_round_has_no_error_bar(self):
        _, low, high, _, rest = draw_one(1.0)
        self.assertTrue(math.isnan(low) and math.isnan(high))
        self.assertEqual(rest, '"name" "1.000 ms  (≤ 2)"')

    def test_text_tells_value_spread_unit_and_goal(self):
        self.assertEqual(draw_one(0.956, spread=0.004, unit="ratio", better="higher", goal=0.95)[4],
                         '"name" "0.956 ± 0.004  (≥ 0.95)"')
        self.assertEqual(draw_one(504.4, spread=12.0, unit="bytes", goal=400)[4], '"name" "504 ± 12 bytes  (≤ 400)"')

    def test_figures_without_goal_are_left_out(self):
        lines = draw(make_result(1, name="first"), make_result(1, name="told", goal=None), make_result(1, name="last"))
        self.assertIn("count = 2", lines)
        self.assertEqual([line.split('"')[1] for line in lines if '"' in line], ["first", "last"])
        with self.assertRaisesRegex(BadResults, "no result has a goal"):
            draw(make_result(1, goal=None))

    def test_origin_is_told_whatever_it_holds(self):
        self.assertIn("origin = '2 cores''; Wine'", draw(make_result(1, origin="2 cores'; Wine")))
        self.assertIn("origin = 'date and machine unknown'", draw(make_result(1)))


if __name__ == "__main__":
    unittest.main()
