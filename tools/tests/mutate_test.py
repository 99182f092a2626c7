"""The draw repeats itself, the limits kill, and the closing line counts honestly."""

import contextlib
import io
import unittest
from collections import Counter
from pathlib import Path

from scratch_tree import ScratchTree

import mutate
import mutations


class Draw(unittest.TestCase):
    def test_same_seed_draws_the_same_in_the_order_of_the_sources(self):
        every = list(range(100))
        drawn = mutate.choose(every, 10, 7)
        self.assertEqual(drawn, mutate.choose(every, 10, 7))
        self.assertEqual(drawn, sorted(drawn))
        self.assertEqual(len(drawn), 10)
        self.assertNotEqual(drawn, mutate.choose(every, 10, 8))

    def test_all_and_more_than_all_are_all(self):
        self.assertEqual(mutate.choose([1, 2], None, 1), [1, 2])
        self.assertEqual(mutate.choose([1, 2], 3, 1), [1, 2])

    def test_count_is_a_number_or_all(self):
        self.assertEqual(mutate.parse(["all"]).count, None)
        self.assertEqual(mutate.parse(["12", "--seed", "4"]).count, 12)
        with self.assertRaises(SystemExit), contextlib.redirect_stderr(io.StringIO()):
            mutate.parse(["some"])


class Alone(unittest.TestCase):
    LISTED = {"tests": [
        {"name": "contract.Request.A", "command": ["/b/bin/contract_tests", "--gtest_filter=Request.A", "--more"]},
        {"name": "contract.Silence.B", "command": ["/b/bin/contract_tests", "--gtest_filter=Silence.B"]},
        {"name": "Soak.C", "command": ["/b/bin/soak_test", "--gtest_filter=Soak.C"]},
        {"name": "soak_test_NOT_BUILT"}]}

    def test_cases_of_the_program_are_left_out(self):
        self.assertEqual(mutate.alone_filter(self.LISTED, "contract_tests"), "--gtest_filter=-Request.A:Silence.B")

    def test_a_label_that_no_case_bears_is_an_error(self):
        with self.assertRaises(SystemExit):
            mutate.alone_filter(self.LISTED, "unit_tests")

    def test_each_case_that_asks_for_the_list_gets_it(self):
        self.assertEqual([program for program, arguments in mutate.TESTS if mutate.BUT_ALONE in arguments],
                         ["contract_tests"])


class Limits(ScratchTree):
    def test_success_and_failure_are_told_apart(self):
        self.assertTrue(mutate.run_limited(["true"], self.root, 10))
        self.assertFalse(mutate.run_limited(["false"], self.root, 10))

    def test_what_hangs_is_killed_with_its_children(self):
        self.assertFalse(mutate.run_limited(["sh", "-c", "sleep 1000 & sleep 1000"], self.root, 0.2))


class Report(ScratchTree):
    def test_share_counts_what_compiles(self):
        lines, is_clean = mutate.summary({"a.cpp": Counter(killed=3, survived=1), "b.cpp": Counter({"no build": 5})})
        self.assertFalse(is_clean)
        self.assertEqual(lines[-1], "3 of 4 mutants that compile killed (75.0 %), 1 survived, "
                                    "0 known as equivalent, 5 do not compile")

    def test_known_equivalents_lower_the_share_and_are_no_failure(self):
        lines, is_clean = mutate.summary({"a.cpp": Counter(killed=3, equivalent=1)})
        self.assertTrue(is_clean)
        self.assertIn("(75.0 %)", lines[-1])

    def test_nothing_judged_is_no_share(self):
        self.assertIn("0 of 0", mutate.summary({})[0][-1])

    def test_reasons_and_blank_lines_are_no_keys(self):
        self.assertEqual(list(mutate.Equivalents("# why\na.cpp | x | y\n\n").patterns), ["a.cpp | x | y"])

    def test_a_star_stands_for_any_text_and_nothing_else_does(self):
        known = mutate.Equivalents("* | *.reserve(*); | *\na.cpp | f(x[1]); | dropped: *\n")
        for key in ("b/c.cpp | all.reserve(3); | number: `3` becomes `4`", "a.cpp | f(x[1]); | dropped: `f(x[1]);` becomes `;`"):
            self.assertIn(key, known)
        for key in ("b.cpp | all.resize(3); | number: `3` becomes `4`", "a.cpp | f(x1); | dropped: `f(x1);` becomes `;`",
                    "a.cpp | f(x[1]); | number: `1` becomes `2`", "ba.cpp | f(x[1]); | dropped: `f(x[1]);` becomes `;`"):
            self.assertNotIn(key, known)

    def test_a_rule_that_fits_no_change_is_idle(self):
        known = mutate.Equivalents("a.cpp | x | *\nb.cpp | x | *\n")
        self.assertEqual(known.idle(["a.cpp | x | y", "c.cpp | x | y"]), ["b.cpp | x | *"])

    def test_every_change_said_to_change_nothing_can_still_be_made(self):
        root = Path(__file__).resolve().parents[2]
        known = mutate.Equivalents(mutate.EQUIVALENT.read_text(encoding="utf-8"))
        self.assertEqual(known.idle(mutate.every_key(root)), [])

    def test_only_the_plug_ins_sources_count(self):
        for path in ("base/text.cpp", "base/os_posix.cpp", "collect/a.cpp", "collect/a.h", "refhost/b.cpp",
                     "tests/collect/c.cpp", "plugin/entry/d.cpp"):
            self.put(path, "x")
        self.assertEqual(mutate.sources(self.root), ["base/text.cpp", "collect/a.cpp", "plugin/entry/d.cpp"])


if __name__ == "__main__":
    unittest.main()
