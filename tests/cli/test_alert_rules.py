"""The alerts that are shipped: valid, each seen to fire and to stay silent, and on metrics that are written."""
import re
import shutil
import subprocess
from pathlib import Path

import pytest

HERE = Path(__file__).resolve().parent
RULES = HERE.parent.parent / "share" / "prometheus" / "diskmgt.rules.yml"
CASES = HERE / "alert_rules_test.yml"
METRICS = HERE.parent.parent / "formats" / "inventory_prometheus.cpp"
needs_promtool = pytest.mark.skipif(not shutil.which("promtool"), reason="the package prometheus is missing")


def promtool(*arguments, folder):
    done = subprocess.run(["promtool", *arguments], cwd=folder, capture_output=True, text=True, check=False)
    return done.returncode, done.stdout + done.stderr


@pytest.fixture
def folder(tmp_path):
    shutil.copy(RULES, tmp_path)
    shutil.copy(CASES, tmp_path)
    return tmp_path


@needs_promtool
def test_rules_are_valid(folder):
    status, said = promtool("check", "rules", RULES.name, folder=folder)
    assert status == 0, said


@needs_promtool
def test_alerts_fire_and_stay_silent_as_the_cases_say(folder):
    status, said = promtool("test", "rules", CASES.name, folder=folder)
    assert status == 0, said


@needs_promtool
def test_a_rule_that_is_broken_is_seen(folder):
    """What the test above rests on."""
    text = (folder / RULES.name).read_text(encoding="utf-8")
    (folder / RULES.name).write_text(text.replace("< 0.05", "< 0.04"), encoding="utf-8")
    status, said = promtool("test", "rules", CASES.name, folder=folder)
    assert status != 0 and "FileSystemFull" in said


def test_each_alert_has_a_case_of_either_kind():
    alerts = re.findall(r"- alert: (\w+)", RULES.read_text(encoding="utf-8"))
    cases = re.findall(r"- alertname: (\w+)\n *eval_time: \w+\n *exp_alerts:( \[\])?", CASES.read_text(encoding="utf-8"))
    assert alerts
    assert {alert for alert, silent in cases if silent} == set(alerts)
    assert {alert for alert, silent in cases if not silent} == set(alerts)


def test_each_metric_of_a_rule_is_written():
    used = set(re.findall(r"diskmgt_\w+", RULES.read_text(encoding="utf-8")))
    written = set(re.findall(r'"(diskmgt_\w+)"', METRICS.read_text(encoding="utf-8")))
    assert used and used <= written
