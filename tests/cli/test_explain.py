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
    status, seen = on_a_terminal("explain", "/proc", width=width, COLUMNS=columns)
    lines = seen.decode().splitlines()
    assert status == 0 and max(map(len, lines)) <= 60
    assert len(lines) > 2  # a sentence takes more than one


def test_the_document_has_the_stable_shape(run):
    document = run("explain", "--format", "json").json
    assert list(document) == ["devices", "mounts", "diagnosis", "paths", "cimOnly"]
    for device in document["devices"]:
        assert list(device) == ["path", "asked", "inSysfs", "partitionOf", "drive", "partitions", "mounts", "use",
                                "reportedAs", "liesOn", "pairs"]
        assert list(device["drive"]) == ["reported", "size", "reasons", "known"]
        assert list(device["partitions"]) == ["reported", "count", "inTable", "countOnDrive", "shownByKernel",
                                              "reasons", "known"]
        assert list(device["use"]) == ["seen", "holders", "mountPoints", "swap", "btrfsMember", "content"]
    for mount in document["mounts"]:
        assert list(mount) == ["source", "mountPoint", "type", "reported", "space", "reasons", "known", "liesOn",
                               "pairs"]


@pytest.mark.parametrize("operand", ["sdx", "/dev/sdx"])
def test_a_device_that_exists_nowhere_is_wrong_usage(run, operand):
    done = run("explain", operand, "--format", "json")
    assert (done.status, done.stdout) == (2, b"")
    assert done.sentence == f'diskmgt: nothing here is named "{operand}": no device, mount or path; "diskmgt explain" lists what there is'


def test_a_path_is_explained_by_the_mount_that_it_lies_on(run):
    document = run("explain", "/proc/version", "--format", "json").json
    path, = document["paths"]
    assert path == {"path": "/proc/version", "mountPoint": "/proc", "liesOn": []}
    assert {mount["mountPoint"] for mount in document["mounts"]} == {"/proc"}


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
    assert done.status == 2
    assert b"\x1b" not in done.stderr and b"\\x1b[31m\\x0ab\\xff" in done.stderr


def test_the_document_is_utf_8_as_every_other_one(run, tmp_path):
    name = os.fsencode(tmp_path) + b"/gr\xc3\xb6\xc3\x9fe\xff\x1b"
    open(name, "w").close()
    document = run("explain", os.fsdecode(name), "--format", "json")
    assert not [byte for byte in (b"\x1b", b"\xff") if byte in document.stdout]
    assert document.json["paths"][0]["path"].endswith("/größe\ufffd\x1b")


def test_a_contradiction_of_the_plug_in_is_reported(run, plugin):
    """The stand-in publishes sda, sdb and sda1, whatever the machine has."""
    document = run("explain", "/dev/sdb", "--format", "json", "--plugin", plugin("publishing"),
                   "--virtual-device", "/dev/sdb").json
    assert document["devices"][0]["drive"]["reported"]
    assert "plug-in-disagrees" in rules(document["devices"][0]["drive"])
    assert "answer differs from what is explained here for /dev/sdb" in document["diagnosis"][0]


@pytest.mark.skipif(any(os.path.exists(f"/sys/block/{name}") for name in ("sda", "sdb")), reason="has sda or sdb")
def test_drives_that_only_the_plug_in_knows_are_reported(run, plugin):
    document = run("explain", "--format", "json", "--plugin", plugin("publishing")).json
    told = " ".join(document["diagnosis"])
    assert "drives that are not explained here: /dev/sda and /dev/sdb." in told and "The plug-in reports 1 partition, but" in told


def test_a_plug_in_that_never_answers_costs_cims_part_only(run, plugin):
    done = run("explain", "--format", "json", "--plugin", plugin("sleeping"), "--timeout", "2")
    assert done.status == 4
    document = json.loads(done.stdout)
    assert document["mounts"] and not any(mount["known"] or mount["reported"] for mount in document["mounts"])
    assert document["diagnosis"][0].startswith("What CIM reports is not known, or not all of it. It gave up after 2 s")


def test_a_failing_plug_in_is_said(run, plugin):
    done = run("explain", "/proc", "--plugin", plugin("failing"))
    assert done.status == 1 and "on /proc (proc)" in done.text
    assert "the plug-in or host reported a failure" in done.sentence


@pytest.mark.parametrize("which, status", [("/none.so", 3), ("crashing", 3)])
def test_a_plug_in_that_cannot_be_used_leaves_the_kernels_part(run, plugin, which, status):
    done = run("explain", "/proc", "--plugin", which if which.startswith("/") else plugin(which))
    assert done.status == status and "on /proc (proc)\n  Logical disk: Not known whether it is published." in done.text


def test_other_formats_are_refused(run):
    done = run("explain", "--format", "csv")
    assert done.status == 2 and "--format takes table or json here" in done.sentence


def test_a_file_takes_the_whole_output(run, tmp_path):
    assert run("explain", "/proc", "--format", "json", "--output", "why.json").stdout == b""
    assert json.loads((tmp_path / "why.json").read_text())["mounts"]


def test_output_that_cannot_be_written_when_time_is_up_is_said(run, plugin):
    with open("/dev/full", "wb") as full:
        done = run("explain", "/proc", "--plugin", plugin("sleeping"), "--timeout", "2", stdout=full)
    assert done.status == 4
    assert b"No space left on device" in done.stderr and b"terminate" not in done.stderr
