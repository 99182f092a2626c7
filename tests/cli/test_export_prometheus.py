"""Metrics: what says that a collection went wrong, and the file that the node exporter reads."""
import shutil
import stat
import subprocess
import time

import pytest
from conftest import COMMAND, environment
from prometheus_client.parser import text_string_to_metric_families

needs_promtool = pytest.mark.skipif(not shutil.which("promtool"), reason="the package prometheus is missing")


def samples(text):
    """{(name, ((label, value), ...)): number} of a text in the exposition format; equal series are an error."""
    found = {}
    for family in text_string_to_metric_families(text):
        assert family.type == "gauge" and family.documentation
        for sample in family.samples:
            series = sample.name, tuple(sorted(sample.labels.items()))
            assert series not in found, series
            found[series] = sample.value
    return found


def value(text, name, **labels):
    return samples(text)[name, tuple(sorted(labels.items()))]


def gaps(text):
    return [dict(labels) for name, labels in samples(text) if name == "diskmgt_collection_gap"]


def test_success_is_said(run, complete_status):
    done = run("export", "prometheus")
    assert done.status == complete_status
    assert value(done.text, "diskmgt_collection_success") == (complete_status == 0)
    assert bool(gaps(done.text)) == bool(done.stderr) == bool(complete_status)
    assert value(done.text, "diskmgt_collection_failures") == 0


def test_gaps_are_those_of_the_document(run):
    document = run("export", "json").json["diskmgt"]
    found = gaps(run("export", "prometheus").text)
    assert [(gap["rule"], gap["of"]) for gap in document["incomplete"]] == [(gap["rule"], gap["of"]) for gap in found]


def test_failure_is_said(run, plugin):
    done = run("export", "prometheus", "--plugin", plugin("complaining"))
    assert done.status == 1
    assert value(done.text, "diskmgt_collection_success") == 0
    assert value(done.text, "diskmgt_collection_failures") == 6


def test_time_that_ran_out_is_said(run, plugin):
    done = run("export", "prometheus", "--plugin", plugin("sleeping"), "--timeout", "1")
    assert done.status == 4
    assert "VEXSG_DiskDrive" in done.sentence
    assert value(done.text, "diskmgt_collection_success") == 0
    assert value(done.text, "diskmgt_collection_class_missing", **{"class": "VEXSG_LogicalDisk"}) == 1


def test_hostile_names(run, plugin):
    text = run("export", "prometheus", "--plugin", plugin("publishing")).text
    assert any('"quoted", comma\\back' in dict(labels).get("device", "") for _, labels in samples(text))


def test_what_only_cim_has_is_told_from_the_machine(run, plugin):
    text = run("export", "prometheus", "--plugin", plugin("publishing")).text
    assert value(text, "diskmgt_cim_only", device="/dev/sda", rule="no-such-device",
                 **{"class": "VEXSG_DiskDrive"}) == 1
    assert ("diskmgt_device_info", "/dev/sda") not in {(name, dict(labels).get("device"))
                                                       for name, labels in samples(text)}


def test_time_of_the_collection(run):
    before = int(time.time())
    text = run("export", "prometheus").text
    assert before <= value(text, "diskmgt_collection_timestamp_seconds") <= time.time()
    assert value(text, "diskmgt_collection_duration_seconds") > 0


@needs_promtool
@pytest.mark.parametrize("name", ["publishing", "complaining", None])
def test_promtool_has_nothing_to_say(run, plugin, name):
    done = run("export", "prometheus", *(["--plugin", plugin(name)] if name else []))
    checked = subprocess.run(["promtool", "check", "metrics"], input=done.stdout, capture_output=True, check=False)
    assert (checked.returncode, checked.stdout, checked.stderr) == (0, b"", b"")


def test_file_can_be_read_by_the_exporter(tmp_path, complete_status):
    """Another user's: first made and then replaced, it is what a plain new file would be, whole at any time."""
    for _ in range(2):
        done = subprocess.run(f"umask 022; {COMMAND} export prometheus --output out.prom", shell=True, cwd=tmp_path,
                              env=environment(), check=False)
        assert done.returncode == complete_status
        assert stat.S_IMODE((tmp_path / "out.prom").stat().st_mode) == 0o644
    assert [found.name for found in tmp_path.iterdir()] == ["out.prom"]
