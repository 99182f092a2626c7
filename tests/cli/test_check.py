"""The verdict on a plug-in: ours is good, and each of the stand-ins is found to be broken where it is."""
import json
import os
import re

import pytest
from conftest import on_a_terminal

ALL = ["loads", "registers", "operations", "identity", "serves", "keys", "pairs", "repeats", "values", "own-thread",
       "descriptors", "two-threads", "failures", "unloads"]
DRIVE = "VEXSG_DiskDrive"

# What is wrong with a stand-in: the one check that fails, the exit status, and what is said.
BROKEN = {
    "wrong_type": ("values", 1, rf"{DRIVE}: the host refused setProperty: the property Size of {DRIVE} cannot take the "
                                r'string "4096 bytes": it is declared as uint64'),
    "missing_key": ("keys", 1, rf"{DRIVE}: the key DeviceID has no value in 1 instance"),
    "equal_keys": ("keys", 1, rf"{DRIVE}: 2 instances have the keys of {DRIVE}\..*/dev/sda.*"),
    "dangling_pair": ("pairs", 1, r"VEXSG_MediaPresent: a pair's Dependent is VEXSG_LogicalDisk\..*/dev/sda1.*, which is "
                                  r"not published"),
    "throwing_again": ("repeats", 1, rf"{DRIVE}: the second request failed: the request ended early: the drives have been "
                                     r"given away already"),
    "contradicting": ("repeats", 1, rf'{DRIVE}: the second answer differs: Size was "\d+", then "\d+" in {DRIVE}\..*'),
    "other_thread": ("own-thread", 1, rf"{DRIVE}: \d+ calls on a thread that is not the request's, the first is "
                                      r"createInstance"),
    "leaking_descriptor": ("descriptors", 1, rf"{DRIVE}: leaves descriptor \d+ \(/dev/null\) open"),
    "racing": ("two-threads", 1, r"the request ended early: two requests at once"),
    "closing": ("serves", 1, r"nothing more was heard of the process: .*"),
    "silent": ("registers", 3, r'".*silent\.so" is a shared library but registers no disk plug-in'),
    "throwing_at_load": ("loads", 3, r'the plug-in ".*" failed while loading: not in the mood'),
    "crashing": ("serves", 3, rf"the plug-in crashed while serving {DRIVE}: Segmentation fault"),
    "leaving_at_load": ("loads", 3, r"the plug-in ended the process while loading .*/leaving_at_load\.so"),
    "sleeping": ("serves", 4, rf"it does not come back: gave up after 3 s while serving {DRIVE}"),
}
VERDICTS = {0: "good", 1: "failed", 3: "unusable", 4: "timed-out"}


def failures(document):
    """Each failure as "check: class: text"."""
    return [": ".join(filter(None, [check["name"], failure.get("class"), failure["text"]]))
            for check in document["checks"] for failure in check["failures"]]


def results(document):
    return {check["name"]: check["result"] for check in document["checks"]}


def test_our_plugin_is_good(run):
    done = run("check", "--format", "json")
    assert (done.status, done.stderr) == (0, b"")
    assert failures(done.json) == []
    assert done.json["verdict"] == "good"
    assert [check["name"] for check in done.json["checks"]] == ALL
    assert {check["name"] for check in done.json["checks"] if check["result"] == "not-checked"} == {"failures"}


def test_our_plugin_survives_every_failing_crossing(run):
    done = run("check", "--thorough", "-J", "--timeout", "100")
    assert (done.status, failures(done.json)) == (0, [])
    assert done.json["thorough"] is True
    assert results(done.json)["failures"] in ("good", "remark")


def test_document_names_the_plugin_and_each_class(run):
    document = run("check", "-J").json
    assert list(document) == ["plugin", "verdict", "thorough", "checks", "classes"]
    assert list(document["plugin"]) == ["file", "name", "version", "interfaceVersion", "type"]
    assert document["plugin"]["name"] == "Disk Management Information Collector"
    served = json.loads(run("classes", "-J").stdout)["classes"]
    assert {found["name"] for found in document["classes"]} == {cls["name"] for cls in served if cls["served"]}
    for found in document["classes"]:
        assert list(found) == ["name", "association", "instances", "crossings", "seconds", "log"]
        assert found["crossings"] > 0 and found["seconds"] >= 0
        assert [line["severity"] for line in found["log"]]


def test_crossings_are_those_of_a_trace(run):
    counted = {found["name"]: found["crossings"] for found in run("check", "-J").json["classes"]}
    lines = [json.loads(line) for line in run("trace", "VEXSG_TapeDrive", "--exact").text.splitlines()]
    start = [line["call"] for line in lines].index("getData")
    assert counted["VEXSG_TapeDrive"] == len([line for line in lines[start:] if line["by"] == "plugin"])


@pytest.mark.parametrize("name", BROKEN)
def test_broken_plugin_is_found_where_it_is_broken(run, plugin, name):
    check, status, said = BROKEN[name]
    done = run("check", "-J", "--plugin", plugin(name), "--timeout", "3")
    assert (done.status, done.stderr) == (status, b"")
    assert done.json["verdict"] == VERDICTS[status]
    assert [name for name, result in results(done.json).items() if result == "failed"] == [check]
    assert re.fullmatch(f"{check}: {said}", failures(done.json)[0])


def test_plugin_that_breaks_by_a_failed_crossing_is_found_thoroughly(run, plugin):
    document = run("check", "-J", "--plugin", plugin("broken_by_failure")).json
    assert document["verdict"] == "good"
    done = run("check", "-J", "--plugin", plugin("broken_by_failure"), "--thorough")
    assert (done.status, done.json["verdict"]) == (1, "failed")
    failure, = failures(done.json)
    assert re.fullmatch(rf"failures: {DRIVE}: after crossing 2 \(createInstance\) failed, the next request is not served as "
                        r"before: published no instances where it had published 1", failure)


def test_sound_plugin_of_another_author_is_good(run, plugin):
    done = run("check", "-J", "--thorough", "--plugin", plugin("sound"))
    assert (done.status, done.json["verdict"], done.stderr) == (0, "good", b"")
    assert set(results(done.json).values()) == {"good"}


def test_library_that_stays_mapped_is_a_remark(run, plugin):
    done = run("check", "-J", "--plugin", plugin("staying"))
    assert (done.status, done.json["verdict"]) == (0, "good")
    remark, = done.json["checks"][-1]["remarks"]
    assert remark == {"text": "the library stays mapped after it was closed, so it cannot be loaded again in one process"}


def test_logged_errors_are_failures(run, plugin):
    done = run("check", "-J", "--plugin", plugin("complaining"))
    assert done.status == 1
    assert f"serves: {DRIVE}: an error was logged: no luck with {DRIVE}" in failures(done.json)
    remarks = [remark["text"] for check in done.json["checks"] for remark in check["remarks"]]
    assert remarks == ["no class has an instance on this machine that this user can see"]


def test_missing_file_is_not_usable(run):
    done = run("check", "-J", "--plugin", "/does/not/exist.so")
    assert (done.status, done.json["verdict"]) == (3, "unusable")
    assert done.json["plugin"] == {"file": "/does/not/exist.so"}
    assert "No such file" in failures(done.json)[0]


def test_what_comes_after_a_crash_is_not_checked(run, plugin):
    found = results(run("check", "-J", "--plugin", plugin("crashing")).json)
    assert [name for name, result in found.items() if result == "good"] == ALL[:4]
    assert {found[name] for name in ALL[5:]} == {"not-checked"}


def test_table_has_a_row_for_each_check_and_ends_with_the_verdict(run):
    done = run("check")
    lines = done.text.splitlines()
    assert lines[0].split() == ["Check", "Result", "Found"]
    assert [line.split()[0] for line in lines[1:] if line[:1].strip()][:len(ALL)] == ALL
    assert re.search(r"^Class +Instances +Log lines +Crossings +Time$", done.text, re.MULTILINE)
    assert re.search(rf"^{DRIVE} +\d+ +\d+ +\d+ +[\d.]+ ms$", done.text, re.MULTILINE)
    assert re.fullmatch(r"Good: 13 checks passed(, \d+ with a remark)?\.", lines[-1])


@pytest.mark.parametrize("name, sentence", [("wrong_type", "Failed: values."), ("crashing", "Not usable: serves."),
                                            ("sleeping", "Timed out: serves.")])
def test_table_names_what_failed(run, plugin, name, sentence):
    done = run("check", "--plugin", plugin(name), "--timeout", "3")
    assert done.text.splitlines()[-1] == sentence
    check, _, said = BROKEN[name]
    assert re.search(rf"^{check} +failed +{said}$", done.text, re.MULTILINE)


def test_texts_of_a_plugin_do_not_act_on_a_terminal(plugin):
    _, seen = on_a_terminal("check", "--plugin", plugin("failing"))
    assert rb"first line\x0asecond \x1b[31mline" in seen and b"\x1b[31mline" not in seen


def test_colours_are_for_those_who_ask(run):
    assert b"\x1b[" not in run("check").stdout
    assert b"\x1b[" in run("check", "--color", "always").stdout


def test_verdict_goes_to_a_file_as_a_whole(run, plugin, tmp_path):
    done = run("check", "-J", "--plugin", plugin("crashing"), "--output", "verdict.json")
    assert (done.status, done.stdout, done.stderr) == (3, b"", b"")
    assert json.loads((tmp_path / "verdict.json").read_text())["verdict"] == "unusable"
    assert os.listdir(tmp_path) == ["verdict.json"]


def test_progress_names_the_class_and_goes(plugin):
    status, seen = on_a_terminal("check", "--plugin", plugin("sleeping"), "--timeout", "3.5", errors_too=True, TERM="xterm")
    assert status == 4
    assert b"\r\x1b[Kdiskmgt: 2 s: serving VEXSG_DiskDrive" in seen
    assert b" s: " not in seen.rpartition(b"\r\x1b[K")[2]


def test_log_is_forwarded(run, plugin):
    done = run("check", "-J", "--plugin", plugin("complaining"), "--log-level", "error")
    assert b"error: no luck with VEXSG_DiskDrive\n" in done.stderr


def test_operands_are_refused(run):
    done = run("check", DRIVE)
    assert (done.status, done.stdout) == (2, b"")
    assert "check takes no argument" in done.sentence


def test_thorough_is_for_check_alone(run):
    assert run("get", "--thorough").status == 2
