"""scripts/bench --compare: which files are read, and what is said of two of them."""

import json
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPTS = Path(__file__).resolve().parents[3] / "scripts" / "lib"
sys.path.insert(0, str(SCRIPTS))

from bench_compare import compare  # noqa: E402
from bench_results import BadResults, read_results  # noqa: E402

RATIO = {"name": "rate", "value": 1.0, "spread": 0.01, "rounds": 9, "unit": "ratio", "goal": 0.9, "better": "higher"}
TIME = {"name": "time", "value": 2.0, "spread": 0.1, "rounds": 9, "unit": "ms", "goal": 3, "better": "lower"}


def without(line, *keys):
    return {key: value for key, value in line.items() if key not in keys}


class BenchCompareTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def write(self, name, *lines):
        path = self.folder / name
        path.write_text("".join(json.dumps(line) + "\n" for line in lines), encoding="utf-8")
        return str(path)

    def compare(self, earlier, now):
        earlier, now = self.write("earlier", *earlier), self.write("now", *now)
        return list(compare(read_results(earlier), read_results(now)))

    def describe(self, earlier, now):
        """What the table says of one figure, behind its name."""
        lines = [line for line in self.compare([earlier], [now]) if line.startswith(now["name"] + " ")]
        self.assertEqual(len(lines), 1)
        return lines[0].split()[1:]

    def expect_refused(self, content, reason):
        path = self.folder / "bad"
        path.write_bytes(content)
        with self.assertRaisesRegex(BadResults, reason):
            read_results(str(path))

    # ---- What is said ----

    def test_values_spreads_and_change_are_told(self):
        told = self.describe(RATIO, RATIO | {"value": 1.02})
        self.assertEqual(told, ["1.000", "±0.010", "1.020", "±0.010", "+2.0%", "ratio"])

    def test_change_is_marked_beyond_twice_both_spreads(self):
        within = RATIO | {"spread": 0.25}  # both together 0.5, twice that 1
        self.assertEqual(self.describe(within, within | {"value": 2.0})[-1], "ratio")
        self.assertEqual(self.describe(within, within | {"value": 2.001})[-1], "BETTER")
        self.assertEqual(self.describe(within, within | {"value": 0.0})[-1], "ratio")
        self.assertEqual(self.describe(within, within | {"value": -0.001})[-1], "WORSE")

    def test_better_depends_on_the_direction(self):
        self.assertEqual(self.describe(RATIO, RATIO | {"value": 1.5})[-1], "BETTER")
        self.assertEqual(self.describe(RATIO, RATIO | {"value": 0.5})[-1], "WORSE")
        self.assertEqual(self.describe(TIME, TIME | {"value": 3})[-1], "WORSE")
        self.assertEqual(self.describe(TIME, TIME | {"value": 1})[-1], "BETTER")

    def test_without_noise_any_change_is_marked(self):
        steady = TIME | {"spread": 0}
        self.assertEqual(self.describe(steady, steady)[-1], "ms")
        self.assertEqual(self.describe(steady, steady | {"value": 2.001})[-1], "WORSE")

    def test_unknown_noise_is_said_and_marks_nothing(self):
        for old in (without(TIME, "spread", "rounds"), TIME | {"spread": None, "rounds": 1}):
            self.assertEqual(self.describe(old, TIME | {"value": 9})[-2:], ["noise", "unknown"])
            self.assertEqual(self.describe(TIME, old | {"value": 9})[-2:], ["noise", "unknown"])
            self.assertEqual(self.describe(old, TIME)[-1], "ms")

    def test_change_from_nothing_has_no_percent(self):
        self.assertEqual(self.describe(TIME | {"value": 0}, TIME)[-3:], ["-", "ms", "WORSE"])

    def test_other_unit_or_direction_is_not_compared(self):
        self.assertEqual(" ".join(self.describe(TIME, TIME | {"unit": "us"})[-7:]), "- us was ms, lower was better")
        told = self.describe(TIME, TIME | {"better": "higher", "value": 9})
        self.assertEqual(" ".join(told[-7:]), "- ms was ms, lower was better")

    def test_names_in_one_file_only_are_told(self):
        lines = self.compare([RATIO, TIME | {"name": "old_b"}, TIME | {"name": "old_a"}], [TIME, RATIO])
        self.assertEqual(lines[-2:], ["only earlier: old_a, old_b", "only now: time"])
        self.assertFalse([line for line in self.compare([RATIO], [RATIO]) if line.startswith("only")])

    def test_origins_are_told(self):
        lines = self.compare([RATIO], [RATIO | {"origin": "22 November 2026: 2 cores"}])
        self.assertEqual(lines[:2], ["earlier: date and machine unknown", "now: 22 November 2026: 2 cores"])

    # ---- Which files are refused ----

    def test_files_without_results_are_refused(self):
        with self.assertRaisesRegex(BadResults, "missing can't be read"):
            read_results(str(self.folder / "missing"))
        self.expect_refused(b"", "holds no results")
        self.expect_refused(b"\xff\xfe", "can't be read")

    def test_bad_lines_are_refused_with_their_number(self):
        good = json.dumps(RATIO)
        self.expect_refused(f"{good}\nname value\n".encode(), "line 2")
        self.expect_refused(f"{good}\n\n".encode(), "line 2")
        self.expect_refused(f"{good}\n{good}\n".encode(), "line 2: rate is there twice")
        self.expect_refused(b"[]", "line 1: no result")
        self.expect_refused(b"[" * 100000, "line 1")

    def test_bad_members_are_refused(self):
        for key in ("name", "value", "unit", "better"):
            self.expect_refused(json.dumps(without(RATIO, key)).encode(), f'"{key}" is no')
        for key, value in (("value", "1"), ("value", True), ("spread", "1"), ("goal", []), ("value", float("nan")),
                           ("spread", float("inf")), ("name", 1), ("unit", None), ("origin", 1)):
            self.expect_refused(json.dumps(RATIO | {key: value}).encode(), f'"{key}" is no')
        self.expect_refused(json.dumps(RATIO | {"value": 10**400}).encode(), "line 1")
        self.expect_refused(json.dumps(RATIO | {"spread": -1}).encode(), '"spread" is below 0')
        self.expect_refused(json.dumps(RATIO | {"better": "bigger"}).encode(), '"better" is neither')

    # ---- The command ----

    def run_command(self, *files):
        command = [sys.executable, "-B", str(SCRIPTS / "bench_compare.py"), *files]
        return subprocess.run(command, capture_output=True, encoding="utf-8", check=False)

    def test_command_prints_the_table(self):
        done = self.run_command(self.write("earlier", RATIO), self.write("now", RATIO | {"value": 2}))
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertTrue(done.stdout.endswith("BETTER\n"), done.stdout)

    def test_command_fails_with_the_reason(self):
        done = self.run_command(self.write("earlier", {}), self.write("now", RATIO))
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertRegex(done.stderr, r'^\S*earlier, line 1: "name" is no text\n$')


if __name__ == "__main__":
    unittest.main()
