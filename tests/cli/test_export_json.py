"""The document of "export json" when the process that collects does not come to its end, and the words of the command."""
import json
import os
import signal
import subprocess
from pathlib import Path

import pytest
from conftest import COMMAND, environment

CLASSES = ["VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk"]


def gaps(document):
    return {(gap["rule"], gap["of"]) for gap in document["incomplete"]}


def answers(document):
    return [answer for row in document["devices"] + document["fileSystems"] for answer in row["cim"].values()]


def is_unknown_by(document, rule):
    """Whether nothing is known of CIM, by that rule, and the machine is there nevertheless."""
    assert document["complete"] is False
    assert {(rule, name) for name in CLASSES} <= gaps(document)
    assert document["devices"] or document["fileSystems"]
    return all(answer == {"known": False, "rule": rule} for answer in answers(document)) and not document["cimOnly"]


def test_plugin_that_crashes_costs_cims_account_alone(run, plugin):
    done = run("export", "json", "--plugin", plugin("crashing"))
    assert done.status == 3 and "the plug-in crashed" in done.stderr.decode()
    assert is_unknown_by(done.json["diskmgt"], "crashed")


def test_plugin_that_never_comes_back_costs_cims_account_alone(run, plugin):
    done = run("export", "json", "--plugin", plugin("sleeping"), "--timeout", "0.5")
    assert done.status == 4 and "gave up after 0.5 s" in done.stderr.decode()
    assert is_unknown_by(done.json["diskmgt"], "timed-out")


def test_plugin_that_cannot_be_loaded_costs_cims_account_alone(run, tmp_path):
    (tmp_path / "none.so").write_text("no library")
    done = run("export", "json", "--plugin", "none.so")
    assert done.status == 3
    assert is_unknown_by(done.json["diskmgt"], "plugin-unusable")


def test_collecting_process_that_is_killed_costs_cims_account_alone(plugin):
    running = subprocess.Popen([COMMAND, "export", "json", "--plugin", plugin("sleeping"), "--timeout", "60"],
                               env=environment(), stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    children = Path(f"/proc/{running.pid}/task/{running.pid}/children")
    while True:  # until it has the plug-in that never comes back
        assert running.poll() is None
        worker = children.read_text().split()
        if worker and "sleeping" in Path(f"/proc/{worker[0]}/maps").read_text():
            break
    os.kill(int(worker[0]), signal.SIGKILL)
    written, said = running.communicate(timeout=60)
    assert running.returncode == 1 and b"was killed" in said
    assert is_unknown_by(json.loads(written)["diskmgt"], "killed")


def test_cut_account_keeps_the_classes_served_before(run, plugin):
    done = run("export", "json", "--plugin", plugin("stalling"), "--timeout", "0.5")
    document = done.json["diskmgt"]
    assert done.status == 4 and document["complete"] is False
    missing = {of for rule, of in gaps(document) if rule == "timed-out"}
    assert "VEXSG_LogicalDisk" in missing and "VEXSG_DiskDrive" not in missing
    assert len(document["instances"]["VEXSG_DiskDrive"]) == 1 and "VEXSG_LogicalDisk" not in document["instances"]


@pytest.mark.parametrize("form", ["prometheus", "mof", "html"])
@pytest.mark.parametrize("option", ["--all", "--compact"])
def test_options_of_the_document_are_for_no_other_form(run, form, option):
    done = run("export", form, option)
    assert (done.status, done.stdout) == (2, b"") and f'{option} is for "export json"' in done.sentence


def test_compact_has_no_instances_and_is_smaller(run, plugin):
    whole, compact = (run("export", "json", "--plugin", plugin("publishing"), *words) for words in ([], ["--compact"]))
    assert whole.status == compact.status
    assert set(whole.json["diskmgt"]) - set(compact.json["diskmgt"]) == {"instances"}
    assert len(compact.stdout) < len(whole.stdout)
