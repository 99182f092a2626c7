"""get: one request, its JSON, its tables, and the classes that associations rely on."""
import csv
import io
import json
import os
import socket
import subprocess
import sys
from pathlib import Path

import pytest
from conftest import COMMAND, environment

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "support"))

import served_classes  # noqa: E402

DRIVE, PARTITION, DISK = "VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk"
EVERY_SERVED_CLASS = served_classes.INSTANCES + served_classes.ASSOCIATIONS


def texts(document):
    return [line["text"] for line in document["log"]]


def test_json_of_the_real_plugin(run):
    done = run("get", DRIVE, "VEXSG_PartitionPresent")
    assert (done.status, done.stderr) == (0, b"")
    document = done.json
    assert list(document) == ["namespace", "classes", "log"]
    assert document["namespace"] == "root/cimv2"
    assert [(entry["name"], entry["association"]) for entry in document["classes"]] == [
        (DRIVE, False), ("VEXSG_PartitionPresent", True)]
    assert {"severity": 3, "text": "Physical disk information.. VEXSG_DiskDrive"} in document["log"]


def test_every_served_class_at_once(run):
    done = run("get", *EVERY_SERVED_CLASS)
    assert (done.status, done.stderr) == (0, b"")
    assert [entry["name"] for entry in done.json["classes"]] == EVERY_SERVED_CLASS


def test_json_is_indented_by_two_and_ends_with_one_line_end(run, plugin):
    text = run("get", DRIVE, "--plugin", plugin("publishing")).text
    assert text.startswith('{\n  "namespace": "root/cimv2",\n  "classes": [\n    {\n      "name"')
    assert text.endswith("\n}\n")


def test_values_keep_their_types(run, plugin):
    classes = run("get", DRIVE, PARTITION, "--plugin", plugin("publishing")).json["classes"]
    first, second = (drive["properties"] for drive in classes[0]["instances"])
    assert first == {"Size": 2**64 - 1, "NoOfPartitions": 0, "DeviceID": "/dev/sda", "Name": "/dev/sda"}
    assert second == {"Size": 0, "DeviceID": "/dev/sdb", "Name": "/dev/sdb"}
    partition = classes[1]["instances"][0]["properties"]
    assert partition["Bootable"] is True
    assert partition["FaultTolerant"] is False
    assert partition["PartitionType"] == 17


def test_properties_stand_in_declaration_order(run, plugin):
    declared = [entry["name"] for entry in run("classes", DRIVE, "--format", "json").json["properties"]]
    document = run("get", DRIVE, "--plugin", plugin("publishing")).json
    shown = list(document["classes"][0]["instances"][0]["properties"])
    assert shown == [name for name in declared if name in shown]


def test_without_a_class_all_served_ones_in_the_order_of_the_schema(run):
    declared = [entry["name"] for entry in run("classes", "--format", "json").json["classes"] if entry["served"]]
    named = [entry["name"] for entry in run("get").json["classes"]]
    assert named == declared
    assert sorted(named) == sorted(EVERY_SERVED_CLASS)


class TestAClassThatIsNotServed:
    def test_gives_the_instances_of_those_beneath_it(self, run, plugin):
        drives, = run("get", DRIVE, "--plugin", plugin("publishing")).json["classes"]
        entry, = run("get", "VEXSG_MediaAccessDevice", "--plugin", plugin("publishing")).json["classes"]
        assert entry["name"] == "VEXSG_MediaAccessDevice"
        assert entry["instances"] == drives["instances"] != []

    def test_gives_all_kinds_each_under_its_own_path(self, run, plugin):
        entry, = run("get", "CIM_LogicalDevice", "--plugin", plugin("publishing")).json["classes"]
        kinds = [instance["path"].split(".")[0] for instance in entry["instances"]]
        assert set(kinds) >= {DRIVE, PARTITION}

    def test_is_empty_with_exact(self, run, plugin):
        done = run("get", "VEXSG_MediaAccessDevice", "--exact", "--plugin", plugin("publishing"))
        assert done.json["classes"] == [{"name": "VEXSG_MediaAccessDevice", "association": False, "instances": []}]

    def test_is_requested_once_beside_what_is_beneath_it(self, run):
        done = run("get", DRIVE, "VEXSG_MediaAccessDevice")
        assert [entry["name"] for entry in done.json["classes"]] == [DRIVE, "VEXSG_MediaAccessDevice"]
        assert texts(done.json).count("Physical disk information.. VEXSG_DiskDrive") == 1

    def test_is_a_table_for_each_class_with_instances(self, run, plugin):
        text = run("get", "CIM_LogicalDevice", "--format", "table", "--plugin", plugin("publishing")).text
        assert "VEXSG_DiskDrive (2 instances)" in text and "VEXSG_TapeDrive" not in text


def test_system_is_there_without_being_asked_for(run):
    done = run("get", DRIVE, "VEXSG_ComputerSystem")
    assert done.status == 0
    assert done.json["classes"][1]["name"] == "VEXSG_ComputerSystem"


def test_class_named_twice_appears_twice(run, plugin):
    document = run("get", DRIVE, PARTITION, DRIVE, "--plugin", plugin("publishing")).json
    assert [entry["name"] for entry in document["classes"]] == [DRIVE, PARTITION, DRIVE]
    assert document["classes"][0] == document["classes"][2]
    assert texts(document) == [f"{DRIVE} served", f"{PARTITION} served", f"{DRIVE} served"]


class TestAssociations:
    """What an association relies on is published before it is served."""

    @staticmethod
    def log(run, plugin, *arguments):
        done = run("get", *arguments, "--plugin", plugin("publishing"))
        assert done.status == 0
        return texts(done.json)

    @pytest.mark.parametrize("association", [
        "VEXSG_MediaPresent", "VEXSG_PartitionPresent"])
    def test_alone_it_sees_instances_that_are_not_logged(self, run, plugin, association):
        assert self.log(run, plugin, association) == [f"{association} sees 2 drives"]

    def test_behind_what_it_relies_on(self, run, plugin):
        assert self.log(run, plugin, DRIVE, PARTITION, "VEXSG_PartitionPresent") == [
            f"{DRIVE} served", f"{PARTITION} served", "VEXSG_PartitionPresent sees 2 drives"]

    def test_before_what_it_relies_on_it_is_served_after_it(self, run, plugin):
        done = run("get", "VEXSG_PartitionPresent", DRIVE, "--plugin", plugin("publishing"))
        assert [entry["name"] for entry in done.json["classes"]] == ["VEXSG_PartitionPresent", DRIVE]
        assert texts(done.json) == [f"{DRIVE} served", "VEXSG_PartitionPresent sees 2 drives"]

    def test_exact_requests_just_what_is_named(self, run, plugin):
        assert self.log(run, plugin, "VEXSG_PartitionPresent", DRIVE, "--exact") == [
            "VEXSG_PartitionPresent sees 0 drives", f"{DRIVE} served"]

    @pytest.mark.parametrize("association, published", [
        ("VEXSG_MediaPresent", [DRIVE, DISK]),
        ("VEXSG_PartitionPresent", [DRIVE, PARTITION]),
        ("VEXSG_LogicalDiskBasedOnPartition", [PARTITION, DISK]),
        ("VEXSG_LogicalDiskBasedOnExtent", []),
        ("VEXSG_DriveInDynamicDiskGroup", []),
    ])
    def test_earlier_request(self, run, plugin, association, published):
        stderr = run("get", association, "--plugin", plugin("publishing"), "--log-level", "debug").stderr.decode()
        served = [line.rsplit(" ", 1)[0].rsplit(" ", 1)[-1] for line in stderr.splitlines() if
                  line.endswith(" served")]
        assert served == published

    def test_earlier_request_leaves_out_what_is_asked_for(self, run, plugin):
        stderr = run("get", PARTITION, "VEXSG_MediaPresent", "VEXSG_PartitionPresent", "--plugin",
                     plugin("publishing"), "--log-level", "debug").stderr.decode()
        assert stderr.count(f"{PARTITION} served") == 1
        assert stderr.count(f"{DRIVE} served") == 1


class TestTable:
    """--format table."""

    def test_only_columns_with_values(self, run, plugin):
        lines = run("get", DRIVE, "--format", "table", "--plugin", plugin("publishing")).text.splitlines()
        assert lines[0] == "VEXSG_DiskDrive (2 instances)"
        assert sorted(lines[1].split()) == ["DeviceID", "Name", "NoOfPartitions", "Size"]
        assert len(lines) == 4
        assert "18446744073709551615" in lines[2]

    def test_partition_type_in_words_and_offset_under_its_own_name(self, run, plugin):
        lines = run("get", PARTITION, "--format", "table", "--plugin", plugin("publishing")).text.splitlines()
        headings = lines[1].split()
        assert headings[headings.index("PartitionType") + 1] == "Type"
        assert "StartingOffset" in headings
        assert "17 Linux file system" in lines[2]

    def test_classes_are_set_apart(self, run, plugin):
        text = run("get", DRIVE, "VEXSG_TapeDrive", "--format", "table", "--plugin", plugin("publishing")).text
        assert text.endswith("\n\nVEXSG_TapeDrive (no instances)\n")


class TestCsv:
    """--format csv."""

    def test_every_declared_property_has_a_column(self, run, plugin):
        declared = [entry["name"] for entry in run("classes", DRIVE, "--format", "json").json["properties"]]
        text = run("get", DRIVE, "--format", "csv", "--plugin", plugin("publishing")).text
        rows = list(csv.DictReader(io.StringIO(text, newline="")))
        assert list(rows[0]) == declared
        assert [row["Size"] for row in rows] == ["18446744073709551615", "0"]
        assert rows[1]["NoOfPartitions"] == ""

    def test_rows_end_with_both_characters_and_classes_with_a_blank_line(self, run, plugin):
        data = run("get", DRIVE, "VEXSG_TapeDrive", "--format", "csv", "--plugin", plugin("publishing")).stdout
        drives, tapes = data.split(b"\r\n\r\n")
        assert drives.count(b"\r\n") == 2
        assert tapes.endswith(b"\r\n") and tapes.count(b"\n") == 1

    def test_empty_text_differs_from_null(self, run, plugin):
        data = run("get", DISK, "--format", "csv", "--plugin", plugin("publishing")).stdout
        assert b',"",' in data or b'\n"",' in data or data.endswith(b',""\r\n')


class TestColumns:
    """--columns."""

    @pytest.fixture
    def get(self, run, plugin):
        def getter(*arguments):
            return run("get", *arguments, "--plugin", plugin("publishing"))
        return getter

    def test_csv_has_just_these_in_that_order(self, get):
        done = get(DRIVE, "--format", "csv", "--columns", "DeviceID,NoOfPartitions,Size,DeviceID")
        assert (done.status, done.stderr) == (0, b"")
        assert done.stdout == (b"DeviceID,NoOfPartitions,Size,DeviceID\r\n"
                               b"/dev/sda,0,18446744073709551615,/dev/sda\r\n"
                               b"/dev/sdb,,0,/dev/sdb\r\n")

    def test_table_shows_a_named_one_that_is_null_everywhere(self, get):
        lines = get(DRIVE, "--format", "table", "--columns", "ElementName,Size").text.splitlines()
        assert lines[1].split() == ["ElementName", "Size"]
        assert lines[2].split() == ["18446744073709551615"]

    def test_numbers_with_names_keep_their_names_in_a_table(self, get):
        lines = get(PARTITION, "--format", "table", "--columns", "PartitionType").text.splitlines()
        assert [line.split() for line in lines[1:]] == [["PartitionType", "Type"], ["17", "Linux", "file", "system"]]

    @pytest.mark.parametrize("name, near", [("DeviceId", "DeviceID"), ("Sise", "Size")])
    def test_unknown_property_names_the_nearest(self, get, name, near):
        done = get(DRIVE, "--format", "csv", "--columns", f"Size,{name}")
        assert (done.status, done.stdout) == (2, b"")
        assert f'VEXSG_DiskDrive has no property "{name}", did you mean {near}?' in done.sentence

    def test_unknown_in_all_of_several_classes(self, get):
        done = get(DRIVE, PARTITION, "--format", "csv", "--columns", "MountOptions")
        assert (done.status, done.stdout) == (2, b"")
        assert 'none of the classes has a property "MountOptions"' in done.sentence

    def test_property_of_one_class_only_is_left_out_elsewhere(self, get):
        done = get(DRIVE, PARTITION, "--format", "csv", "--columns", "DeviceID,NoOfPartitions")
        assert done.status == 0
        assert [part.split(b"\r\n")[0] for part in done.stdout.split(b"\r\n\r\n")] == [
            b"DeviceID,NoOfPartitions", b"DeviceID"]
        assert "VEXSG_DiskPartition has no property NoOfPartitions" in done.sentence

    def test_class_with_none_of_them(self, get):
        done = get(DRIVE, DISK, "--format", "csv", "--columns", "Size,NoOfPartitions")
        assert (done.status, done.stdout) == (2, b"")
        assert "VEXSG_LogicalDisk has none of the properties" in done.sentence

    @pytest.mark.parametrize("arguments", [[], ["--format", "json"], ["--format", "mof"]])
    def test_formats_that_carry_everything(self, get, arguments):
        done = get(DRIVE, *arguments, "--columns", "Size")
        assert (done.status, done.stdout) == (2, b"")
        assert "--columns needs --format table or csv" in done.sentence

    @pytest.mark.parametrize("names", ["", ",", "Size,", "Size,,DeviceID"])
    def test_no_name_where_one_is_due(self, get, names):
        done = get(DRIVE, "--format", "csv", "--columns", names)
        assert (done.status, done.stdout) == (2, b"")
        assert "--columns takes names separated by commas" in done.sentence


class TestMof:
    """--format mof."""

    def test_instances_of_a_class(self, run, plugin):
        done = run("get", DRIVE, "--format", "mof", "--plugin", plugin("publishing"))
        assert (done.status, done.stderr) == (0, b"")
        assert done.text == """\
instance of VEXSG_DiskDrive {
    Size = 18446744073709551615;
    NoOfPartitions = 0;
    DeviceID = "/dev/sda";
    Name = "/dev/sda";
};

instance of VEXSG_DiskDrive {
    Size = 0;
    DeviceID = "/dev/sdb";
    Name = "/dev/sdb";
};
"""

    def test_everything_odd_is_escaped(self, run, plugin):
        text = run("get", DISK, "--format", "mof", "--plugin", plugin("publishing")).text
        odd = ('"a\\nb\\x001B[31mred\\t\\"quoted\\", comma\\\\back'
               '\\x007F\\x009B31m \ufffdnot utf-8 ä"')
        assert f"    DeviceID = {odd};\n" in text
        assert f"    OtherIdentifyingInfo = {{ {odd}, \"second\" }};\n" in text
        assert '    MountOptions = "";\n' in text

    def test_class_without_instances_leaves_no_gap(self, run, plugin):
        several = run("get", "VEXSG_TapeDrive", DRIVE, "VEXSG_CDROMDrive", PARTITION, "--format", "mof", "--plugin",
                      plugin("publishing")).text
        assert several.startswith("instance of VEXSG_DiskDrive {\n")
        assert several.count("\n\n") == 2 and "\n\n\n" not in several
        assert run("get", "VEXSG_TapeDrive", "--format", "mof", "--plugin", plugin("publishing")).stdout == b""


def test_virtual_devices_reach_the_plugin(run):
    done = run("trace", DRIVE, "--virtual-device", "Virtual Floppy /dev/sdzz", "--virtual-device", "/dev/sdyy")
    assert done.status == 0
    assert b"Virtual Floppy /dev/sdzz" in done.stdout
    assert b"/dev/sdyy" in done.stdout


def test_virtual_devices_before_and_behind_the_command_add_up(run):
    done = run("--virtual-device", "/dev/sdzz", "trace", DRIVE, "--virtual-device", "/dev/sdyy")
    assert b"/dev/sdzz" in done.stdout and b"/dev/sdyy" in done.stdout


def test_instances_name_the_system(run):
    document = run("get", DISK).json
    for instance in document["classes"][0]["instances"]:
        assert instance["properties"]["SystemName"] == socket.gethostname()
        assert instance["properties"]["SystemCreationClassName"] == "VEXSG_ComputerSystem"


def test_another_user_than_root_gets_an_answer():
    if os.geteuid() == 0:
        command = ["setpriv", "--reuid", "65534", "--regid", "65534", "--clear-groups"]
        if subprocess.run([*command, "test", "-x", COMMAND], check=False).returncode != 0:
            pytest.skip("the build tree cannot be reached by another user")
    else:
        command = []
    done = subprocess.run([*command, COMMAND, "get", *EVERY_SERVED_CLASS], capture_output=True, env=environment(),
                          cwd="/", check=False)
    assert done.returncode == 0
    empty = [served["name"] for served in json.loads(done.stdout)["classes"] if not served["instances"]]
    assert (b"run as root to see them\n" in done.stderr) == bool(empty)
    named = done.stderr.decode().partition("may be missing: ")[2].partition(";")[0]
    assert set(named.split(", ")) <= {*empty, ""}
