"""`probe` shows the partition maps exactly as the parser returns them: every pair, duplicates included."""

import re

import pytest
from conftest import write_machine
from machine.session import Session

GPT_PAIRS = {"Bootable", "DeviceID", "ElementName", "FaultTolerant", "PartitionType", "Size", "StartingOffset"}


@pytest.fixture
def probe(diskmgt):
    def ask(session, *paths, status=0):
        result = session.run([diskmgt, "probe", "--format", "json", *paths], check=False)
        assert result.status == status, result.stderr
        return result.json()

    return ask


@pytest.mark.parametrize("name, count", [("gpt-server", 5), ("gpt-holes", 2), ("gpt-128-entries", 128)])
def test_gpt_maps_accumulate_the_pairs_of_all_partitions_so_far(machine, probe, name, count):
    (disk,) = probe(machine(name), "/dev/sda")
    assert disk["path"] == "/dev/sda"
    assert [len(pairs) for pairs in disk["partitions"]] == [7 * k for k in range(1, count + 1)]
    for pairs in disk["partitions"]:
        assert {name for name, _ in pairs} == GPT_PAIRS
        assert [name for name, _ in pairs] == sorted(name for name, _ in pairs)
    for earlier, later in zip(disk["partitions"], disk["partitions"][1:]):
        for name in GPT_PAIRS:  # a map begins, name by name, with the values of the one before
            values = [value for other, value in later if other == name]
            assert values[:-1] == [value for other, value in earlier if other == name]


def test_last_value_of_each_name_is_the_partitions_own(machine, probe):
    (disk,) = probe(machine("gpt-holes"), "/dev/sda")
    assert disk["partitions"][1] == [[name, value] for name, values in (
        ("Bootable", ("true", "true")), ("DeviceID", ("/dev/sda2", "/dev/sda5")),
        ("ElementName", ("/dev/sda2", "/dev/sda5")), ("FaultTolerant", ("false", "false")),
        ("PartitionType", ("17", "14")), ("Size", ("1048576", "2097664")),
        ("StartingOffset", ("4095", "12288"))) for value in values]


def test_mbr_maps_hold_eight_pairs_each(machine, probe):
    (disk,) = probe(machine("bios-primaries"), "/dev/sda")
    assert disk["partitions"] == [
        [["Bootable", "true"], ["DeviceID", "/dev/sda1"], ["ElementName", "/dev/sda1"], ["FaultTolerant", "false"],
         ["PartitionSubType", "131"], ["PartitionType", "1"], ["Size", "536870912"], ["StartingOffset", "1049022"]],
        [["Bootable", "false"], ["DeviceID", "/dev/sda2"], ["ElementName", "/dev/sda2"], ["FaultTolerant", "false"],
         ["PartitionSubType", "130"], ["PartitionType", "1"], ["Size", "535822336"], ["StartingOffset", "537919934"]]]


def test_files_are_answered_in_the_order_given(machine, probe):
    session = machine("software-raid")
    paths = ["/dev/md127", "/dev/md0", "/dev/md127"]
    answers = probe(session, *paths)
    assert [disk["path"] for disk in answers] == paths
    assert answers[0] == answers[2]
    assert [len(disk["partitions"]) for disk in answers] == [1, 1, 1]


def test_floppy_gives_one_empty_map(machine, probe):
    assert probe(machine("floppy"), "/dev/fd0") == [{"path": "/dev/fd0", "partitions": [[]]}]


def test_missing_device_is_an_empty_list_and_exit_status_1(machine, probe):
    assert probe(machine("floppy"), "/dev/sda", "/dev/fd1", status=1) == [{"path": "/dev/sda", "partitions": []},
                                                                         {"path": "/dev/fd1", "partitions": [[]]}]


def test_device_and_image_file_of_it_give_the_same_numbers(machine, probe):
    session = machine("mbr-extended-in-slot-2")
    session.run(["cp", "--sparse=always", "/dev/.machine/sda.img", "/media/copy"])
    disk, image = probe(session, "/dev/sda", "/media/copy")
    renamed = [[[name, value.replace("/media/copy", "/dev/sda")] for name, value in pairs]
               for pairs in image["partitions"]]
    assert renamed == disk["partitions"]


@pytest.mark.parametrize("disk, sector, partitions", [("sda", 0, 0), ("sdb", 8192, 3), ("sdc", 9216, 4), ("sdd", None, 0)])
def test_what_cannot_be_read_is_named_with_its_sector(machine, diskmgt, disk, sector, partitions):
    result = machine("unreadable-disks").run([diskmgt, "probe", f"/dev/{disk}"], check=False)
    assert result.status == 1
    assert [len(each["partitions"]) for each in result.json()] == [partitions]
    named = re.fullmatch(rf"diskmgt: cannot read sector (\d+) of /dev/{disk}: Input/output error; .*\n", result.stderr)
    assert named and (sector is None or int(named[1]) == sector)


def test_an_unreadable_part_of_the_entries_is_not_the_end_of_the_disk(diskmgt, tmp_path):
    folder = write_machine(tmp_path, disks=[
        {"name": "sda", "size": "8 MiB", "table": [{"sfdisk": ["label: gpt", "1: start=2048, size=2048"]}], "readable": 8}])
    with Session(folder) as session:
        result = session.run([diskmgt, "probe", "/dev/sda"], check=False)
    assert [len(each["partitions"]) for each in result.json()] == [1]
    assert result.status == 1 and "cannot read sector 8 of /dev/sda: Input/output error" in result.stderr
