"""The closing line of the tests counts everything, and never counts a bad result as a good one."""

import contextlib
import io
import unittest

from scratch_tree import ScratchTree

import test_summary


def case(name, status, inner=""):
    return f'<testcase name="{name}" status="{status}">{inner}</testcase>'


class Summary(ScratchTree):
    def closing(self, *suites):
        """Exit status and last line for reports with these contents; None is a report that was never written."""
        reports = []
        for number, suite in enumerate(suites):
            if suite is not None:
                self.put(f"{number}/report.xml", suite)
            reports.append(str(self.root / str(number) / "report.xml"))
        out = io.StringIO()
        with contextlib.redirect_stdout(out):
            status = test_summary.main(reports)
        return status, out.getvalue().splitlines()[-1]

    def suite(self, *cases):
        return f"<testsuite>{''.join(cases)}</testsuite>"

    def test_several_reports_are_summed(self):
        skipped = case("c", "notrun", '<skipped message="SKIP_REGULAR_EXPRESSION_MATCHED"/>')
        self.assertEqual(self.closing(self.suite(case("a", "run"), skipped), self.suite(case("b", "run"))),
                         (0, "2 passed, 0 failed, 1 skipped"))

    def test_a_failure_fails(self):
        self.assertEqual(self.closing(self.suite(case("a", "run"), case("b", "fail", "<failure/>"))),
                         (1, "1 passed, 1 failed, 0 skipped"))

    def test_a_test_that_could_not_start_is_a_failure(self):
        lost = case("b", "notrun", '<skipped message="Unable to find executable"/>')
        self.assertEqual(self.closing(self.suite(case("a", "run"), lost)), (1, "1 passed, 1 failed, 0 skipped"))

    def test_a_disabled_test_is_skipped(self):
        self.assertEqual(self.closing(self.suite(case("a", "run"), case("b", "disabled"))),
                         (0, "1 passed, 0 failed, 1 skipped"))

    def test_a_missing_broken_or_empty_report_is_a_failure(self):
        for suite in (None, "<testsuite>", "", self.suite()):
            with self.subTest(suite=suite):
                self.setUp()
                self.assertEqual(self.closing(self.suite(case("a", "run")), suite),
                                 (1, "1 passed, 1 failed, 0 skipped"))

    def test_nothing_but_skips_is_no_success(self):
        self.assertEqual(self.closing(self.suite(case("a", "disabled"))), (1, "0 passed, 0 failed, 1 skipped"))


if __name__ == "__main__":
    unittest.main()
