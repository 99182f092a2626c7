"""Requests from outside: by somebody without rights, for one class alone, with associations, again and again."""

import os
import shutil
import sys

import pytest

NOBODY = ["setpriv", "--reuid", "65534", "--regid", "65534", "--clear-groups", "--no-new-privs"]
STRACE = ["strace", "-f", "-qq", "-e", "trace=open,openat", "-o", "/media/calls"]
INSTANCES = ["VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk"]
ASSOCIATIONS = ["VEXSG_MediaPresent", "VEXSG_PartitionPresent", "VEXSG_LogicalDiskBasedOnPartition"]
ASSOCIATION_LINES = ["MediaPresent associations...", "PartitionPresent associations...",
                     "LogicalDiskBasedOnPartition associations..."]


def lists(answer):
    return {found["name"]: [instance["properties"] for instance in found["instances"]] for found in answer["classes"]}


@pytest.fixture
def reachable(diskmgt):
    """Makes the command reachable for everybody inside a machine, wherever it was built; gives its path there."""

    def bring(session):
        if session.run(["test", "-e", "/media/installed"], check=False).status:
            session.run(["mkdir", "/media/installed"])
            session.run(["mount", "--bind", diskmgt.parent.parent, "/media/installed"])
        return f"/media/installed/bin/{diskmgt.name}"

    return bring


def test_user_without_rights_gets_empty_lists_and_exit_status_0(machine, reachable):
    session = machine("whole-server")
    answer = session.run([*NOBODY, reachable(session), "get", *INSTANCES, "--exact", "--format", "json"]).json()
    assert lists(answer) == {name: [] for name in INSTANCES}
    assert [line["text"] for line in answer["log"]] == [
        "Physical disk information.. VEXSG_DiskDrive", "Partition information..", "Logical disk information.."]


@pytest.mark.skipif(not shutil.which("strace"), reason="strace is missing")
def test_user_without_rights_opens_no_device_and_no_mount_table(machine, reachable):
    session = machine("whole-server")
    traced = session.run([*STRACE, *NOBODY, reachable(session), "get", *INSTANCES, "--exact"])
    assert traced.status == 0
    calls = session.run(["cat", "/media/calls"]).stdout.splitlines()
    tried = [call for call in calls if '"/dev/' in call or '"/etc/mtab"' in call]
    assert any('"/dev/sda"' in call for call in tried) and any('"/etc/mtab"' in call for call in tried)
    assert not [call for call in tried if "= -1 E" not in call and '"/dev/null"' not in call]


@pytest.mark.skipif(not shutil.which("strace"), reason="strace is missing")
def test_devices_are_opened_for_reading_only(machine, diskmgt):
    session = machine("whole-server")
    session.run([*STRACE, diskmgt, "get", *INSTANCES, "--exact"])
    opened = [call for call in session.run(["cat", "/media/calls"]).stdout.splitlines() if '"/dev/' in call]
    assert sum('"/dev/hd' in call or '"/dev/sd' in call for call in opened) >= 52
    assert not [call for call in opened if "O_RDWR" in call or "O_WRONLY" in call]


def test_disks_are_unchanged_by_requests(machine, get):
    session = machine("mbr-twelve-logicals")
    before = session.run(["sha256sum", "/dev/sda"]).stdout
    get(session, INSTANCES)
    assert session.run(["sha256sum", "/dev/sda"]).stdout == before


@pytest.mark.parametrize("name", ["whole-server", "every-candidate", "mount-table"])
def test_same_request_gives_the_same_answer_again(machine, get, name):
    session = machine(name)
    assert get(session, INSTANCES + ASSOCIATIONS) == get(session, INSTANCES + ASSOCIATIONS)


def test_class_named_twice_is_served_twice(machine, get):
    answer = get(machine("bios-primaries"), ["VEXSG_DiskDrive", "VEXSG_DiskDrive"])
    assert [found["name"] for found in answer["classes"]] == ["VEXSG_DiskDrive"] * 2
    assert [line["text"] for line in answer["log"]] == ["Physical disk information.. VEXSG_DiskDrive"] * 2


def test_associations_alone_are_empty_when_nothing_was_published(machine, get):
    answer = get(machine("whole-server"), ASSOCIATIONS)
    assert lists(answer) == {name: [] for name in ASSOCIATIONS}
    assert [line["text"] for line in answer["log"]] == ASSOCIATION_LINES


def test_associations_before_their_instances_in_one_request_are_empty(machine, get):
    answer = lists(get(machine("whole-server"), ["VEXSG_PartitionPresent", "VEXSG_DiskDrive", "VEXSG_DiskPartition"]))
    assert answer["VEXSG_PartitionPresent"] == [] and len(answer["VEXSG_DiskPartition"]) == 7


def test_without_exact_the_command_publishes_first_what_associations_rely_on(machine, diskmgt, get):
    session = machine("whole-server")
    plain = session.run([diskmgt, "get", *ASSOCIATIONS, "--format", "json"]).json()
    published = lists(get(session, INSTANCES + ASSOCIATIONS))
    assert lists(plain) == {name: published[name] for name in ASSOCIATIONS}
    assert all(lists(plain).values())
    assert [line["text"] for line in plain["log"]] == ASSOCIATION_LINES


def test_partition_written_between_two_requests_is_seen_by_the_second(machine, properties):
    session = machine("hd-before-sd")
    image = session.run(["cat", "/dev/sdb"]).stdout
    before = properties(session, "VEXSG_DiskPartition")
    write = "import sys; disk = open('/dev/sdb', 'r+b', 0); disk.seek(446 + 16); disk.write(bytes.fromhex(sys.argv[1]))"
    try:
        session.run([sys.executable, "-c", write, "00000000830000000010000000080000"])
        after = properties(session, "VEXSG_DiskPartition")
        assert [found["DeviceID"] for found in after] == [found["DeviceID"] for found in before] + ["/dev/sdb2"]
        assert after[-1]["Size"] == 2048 * 512
    finally:
        session.run([sys.executable, "-c", write, "00" * 16])
    assert session.run(["cat", "/dev/sdb"]).stdout == image
    assert os.fsencode(image)[510:512] == b"\x55\xaa"


def test_device_of_management_controller_is_dropped_only_while_named(machine, properties):
    session = machine("bios-primaries")
    assert [found["DeviceID"] for found in properties(session, "VEXSG_DiskDrive")] == ["/dev/sda"]
    assert properties(session, "VEXSG_DiskDrive", "--virtual-device", "/dev/sda") == []
    assert properties(session, "VEXSG_DiskDrive", "--virtual-device", "/dev/sd") != []
