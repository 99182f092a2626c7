"""explain on whatever machine runs the tests, and with plug-ins that answer strangely or not at all."""
import json
import os

import pytest

from conftest import on_a_terminal


def rules(verdict):
    return [reason["rule"] for reason in verdict["reasons"]]


def test_the_whole_machine_ends_with_a_diagnosis(run):
    done = run("explain")
    assert done.status == 0, done.stderr
    diagnosis = done.text.partition("\nDiagnosis\n")[2].splitlines()
    assert diagnosis and all(line.startswith("- ") and line.endswith(".") for line in diagnosis)


@pytest.mark.parametrize("columns, width", [(None, 60), ("60", 200)])
def test_sentences_end_where_the_terminal_does(columns, width):
    status, seen = on_a_terminal("explain", "/dev/no-such-disk", width=width, COLUMNS=columns)
    lines = seen.decode().splitlines()
    assert status == 0 and max(map(len, lines)) <= 60
    assert len(lines) == 3  # the sentence takes two


def test_the_document_has_the_stable_shape(run):
    document = run("explain", "--format", "json").json
    assert list(document) == ["devices", "mounts", "diagnosis"]
    for device in document["devices"]:
        assert list(device) == ["path", "asked", "inSysfs", "partitionOf", "drive", "partitions", "mounts", "use"]
        assert list(device["drive"]) == ["reported", "size", "reasons"]
        assert list(device["partitions"]) == ["reported", "count", "inTable", "countOnDrive", "shownByKernel",
                                              "reasons"]
    for mount in document["mounts"]:
        assert list(mount) == ["source", "mountPoint", "type", "reported", "space", "reasons"]


@pytest.mark.parametrize("operand", ["sdx", "/dev/sdx"])
def test_a_device_that_does_not_exist_is_explained(run, operand):
    done = run("explain", operand, "--format", "json")
    assert done.status == 0
    device, = done.json["devices"]
    assert device["path"] == "/dev/sdx" and rules(device["drive"]) == ["not-in-sysfs", "no-node"]
    text = run("explain", operand).text
    assert "There is no such node, the kernel lists no such disk" in text


def test_a_virtual_device_given_by_hand_that_only_begins_alike_is_reported(run):
    whole = run("explain", "--format", "json").json
    assert "virtual-device" not in str([rules(device["drive"]) for device in whole["devices"]])
    offered = [device["path"] for device in whole["devices"]
               if set(rules(device["drive"])) <= {"open-failed", "no-node"} and device["inSysfs"]
               and "/dev/loop" not in device["path"]]  # others attach and detach those meanwhile
    if not offered:
        pytest.skip("the kernel lists no disk with a size here")
    named = run("explain", offered[0], "--format", "json", "--virtual-device", f"the medium {offered[0]}1").json
    assert rules(named["devices"][0]["drive"]) == ["virtual-device-substring"]


def test_hostile_names_do_not_reach_the_terminal(run):
    done = run("explain", "a\x1b[31m\nb\udcff", "--color", "never")
    assert done.status == 0
    assert b"\x1b" not in done.stdout and b"\\x1b[31m\\x0ab\\xff" in done.stdout
    document = run("explain", "ä\x1b\x7f\x9b\udcff", "--format", "json")
    assert not [byte for byte in (b"\x1b", b"\x7f", b"\xc2\x9b", b"\xff") if byte in document.stdout]
    assert document.json["devices"][0]["path"] == "/dev/ä\x1b\x7f\x9b\ufffd"


def test_the_document_is_utf_8_as_every_other_one(run):
    assert '"path": "/dev/größe\ufffd"' in run("explain", "größe\udcff", "--format", "json").text


def test_a_contradiction_of_the_plug_in_is_reported(run, plugin):
    """The stand-in publishes sda, sdb and sda1, whatever the machine has."""
    document = run("explain", "/dev/sdb", "--format", "json", "--plugin", plugin("publishing"),
                   "--virtual-device", "/dev/sdb").json
    assert "plug-in-disagrees" in rules(document["devices"][0]["drive"])
    assert "answer differs from what is explained here for /dev/sdb" in document["diagnosis"][0]


@pytest.mark.skipif(any(os.path.exists(f"/sys/block/{name}") for name in ("sda", "sdb")), reason="has sda or sdb")
def test_drives_that_only_the_plug_in_knows_are_reported(run, plugin):
    document = run("explain", "--format", "json", "--plugin", plugin("publishing")).json
    told = " ".join(document["diagnosis"])
    assert "drives that are not explained here: /dev/sda and /dev/sdb." in told and "The plug-in reports 1 partition, but" in told


def test_a_plug_in_that_never_answers_costs_the_comparison_only(run, plugin):
    done = run("explain", "/dev/sdx", "--format", "json", "--plugin", plugin("sleeping"), "--timeout", "2")
    assert done.status == 4
    assert json.loads(done.stdout)["devices"][0]["path"] == "/dev/sdx"
    assert "not compared with its answer" in done.sentence


def test_a_failing_plug_in_is_said(run, plugin):
    done = run("explain", "/dev/sdx", "--plugin", plugin("failing"))
    assert done.status == 1 and "There is no such node" in done.text
    assert "the plug-in or host reported a failure" in done.sentence


def test_a_plug_in_that_cannot_be_used_ends_it(run):
    assert run("explain", "--plugin", "/none.so").status == 3


def test_other_formats_are_refused(run):
    done = run("explain", "--format", "csv")
    assert done.status == 2 and "--format takes table or json here" in done.sentence


def test_a_file_takes_the_whole_output(run, tmp_path):
    assert run("explain", "sdx", "--format", "json", "--output", "why.json").stdout == b""
    assert json.loads((tmp_path / "why.json").read_text())["devices"]


def test_output_that_cannot_be_written_when_time_is_up_is_said(run, plugin):
    with open("/dev/full", "wb") as full:
        done = run("explain", "/dev/sdx", "--plugin", plugin("sleeping"), "--timeout", "2", stdout=full)
    assert done.status == 4
    assert b"No space left on device" in done.stderr and b"terminate" not in done.stderr
