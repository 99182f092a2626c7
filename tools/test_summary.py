#!/usr/bin/env python3
"""Counts the tests of several ctest runs: reads their JUnit reports, names what failed and ends with the line
`N passed, N failed, N skipped`. Exits 1 when anything failed or nothing passed."""

import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path


def outcome(case):
    """One of passed, failed, skipped. A test that ctest could not start counts as failed, not as skipped."""
    status = case.get("status")
    if status == "run":
        return "passed"
    if status == "disabled":
        return "skipped"
    skip = case.find("skipped")
    if status == "notrun" and skip is not None and skip.get("message", "").startswith("SKIP_"):
        return "skipped"
    return "failed"


def count(report):
    """The outcomes in one report, and the names of its failures. A report that is missing, unreadable or empty is
    one failure: its suite did not build or did not end."""
    counts = {"passed": 0, "failed": 0, "skipped": 0}
    try:
        cases = list(ElementTree.parse(report).getroot().iter("testcase"))
    except (OSError, ElementTree.ParseError) as error:
        counts["failed"] = 1
        return counts, [f"no readable report: {error}"]
    if not cases:
        counts["failed"] = 1
        return counts, ["no test ran"]
    failures = []
    for case in cases:
        counts[outcome(case)] += 1
        if outcome(case) == "failed":
            failures.append(case.get("name", "a test without a name"))
    return counts, failures


def main(reports):
    total = {"passed": 0, "failed": 0, "skipped": 0}
    for report in map(Path, reports):
        counts, failures = count(report)
        for key, number in counts.items():
            total[key] += number
        print(f"{report.parent.name}: " + ", ".join(f"{number} {key}" for key, number in counts.items()))
        for name in failures:
            print(f"  failed: {name}")
    print(", ".join(f"{number} {key}" for key, number in total.items()))
    return 0 if total["failed"] == 0 and total["passed"] > 0 else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
