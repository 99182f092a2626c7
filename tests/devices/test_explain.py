"""What the command explains on described machines, against what the plug-in answers there."""

import json
import sys

import pytest

from conftest import MACHINES, write_machine
from machine.expectation import read_expectation
from machine.session import Session

NAMES = sorted(folder.name for folder in MACHINES.iterdir())
NOBODY = ["setpriv", "--reuid", "65534", "--regid", "65534", "--clear-groups", "--no-new-privs"]


@pytest.fixture(scope="module")
def explained(machine, diskmgt):
    """explained(name, operand, ...) is the document about a machine, or about what is named on it."""
    known = {}

    def ask(name, *operands, session=None):
        asked = (name, operands)
        if asked not in known:
            session = session or machine(name)
            virtual = [word for text in session.machine.virtual_devices for word in ("--virtual-device", text)]
            known[asked] = session.run([diskmgt, "explain", *operands, "--format", "json", *virtual]).json()
        return known[asked]

    return ask


def by_name(document):
    return {device["path"].removeprefix("/dev/"): device for device in document["devices"]}


def rules(verdict):
    return [reason["rule"] for reason in verdict["reasons"]]


def cim_name(device):
    return device["reportedAs"] or device["path"]


def drive_rules(document):
    return {name: rules(device["drive"]) for name, device in by_name(document).items()}


def partition_rules(document):
    return {name: rules(device["partitions"]) for name, device in by_name(document).items()}


def said(document):
    return " ".join(document["diagnosis"])


@pytest.mark.parametrize("name", NAMES)
def test_reported_drives_are_the_expected_ones_and_every_other_entry_has_a_reason(machine, explained, name):
    document = explained(name)
    reported = [cim_name(device) for device in document["devices"] if device["drive"]["reported"]]
    expected = read_expectation(machine(name))
    if "VEXSG_DiskDrive" in expected.asked:
        rows = expected.instances("VEXSG_DiskDrive")
        assert sorted(reported) == sorted(row["DeviceID"] for row in rows)
        assert {path: (device["drive"]["size"], device["partitions"]["countOnDrive"])
                for path, device in ((cim_name(device), device) for device in document["devices"]) if path in reported} \
            == {row["DeviceID"]: (row["Size"], row["NoOfPartitions"]) for row in rows}
    assert {f"/dev/{entry}".replace("!", "/") for entry in machine(name).sys_block or []} <= {device["path"] for device in
                                                                           document["devices"]}
    assert all(device["drive"]["reasons"] for device in document["devices"] if not device["drive"]["reported"])
    assert all(device["partitions"]["reasons"] for device in document["devices"]
               if not device["partitions"]["reported"])


@pytest.mark.parametrize("name", NAMES)
def test_counted_partitions_are_those_published(machine, explained, properties, name):
    published = [found["DeviceID"] for found in properties(machine(name), "VEXSG_DiskPartition")]
    assert sum(device["partitions"]["count"] for device in explained(name)["devices"]) == len(published)


@pytest.mark.parametrize("name", NAMES)
def test_explained_mounts_are_the_logical_disks_published(machine, explained, properties, name):
    published = properties(machine(name), "VEXSG_LogicalDisk")
    mounts = [mount for mount in explained(name)["mounts"] if mount["reported"]]
    # Lists, not tables: two names that are no UTF-8 may look the same here.
    assert sorted(mount["source"] for mount in mounts) == sorted(disk["DeviceID"] for disk in published)
    asked = [mount for mount in mounts if mount["space"] != "not-asked"]
    assert sorted((mount["source"], mount["space"] != "none") for mount in asked) == sorted(
        (disk["DeviceID"], "TotalSpace" in disk) for disk in published
        if disk["DeviceID"] in {mount["source"] for mount in asked})
    assert all(mount["reasons"] for mount in explained(name)["mounts"] if not mount["reported"])


@pytest.mark.parametrize("name", NAMES)
def test_the_plug_in_agrees_with_every_explanation(explained, name):
    assert "plug-in-disagrees" not in json.dumps(explained(name))
    assert "explained here" not in said(explained(name))


def test_rules_of_sysfs_are_named(explained):
    found = drive_rules(explained("sysfs-filters"))
    assert (found["dm-0"], found["ram0"], found["sr0"]) == (["dm-prefix"], ["ram-disk"], ["zero-size"])
    assert (found["sdc"], found["sdd"], found["absent"]) == (["no-size-file"], ["bad-size-text"], ["no-node"])
    assert found["sda"] == []
    assert "/dev has no nodes for absent" in said(explained("sysfs-filters"))


def test_a_virtual_device_and_one_caught_by_name_are_distinguished(explained):
    document = explained("management-controller")
    assert drive_rules(document) == {"sda": [], "sdb": ["virtual-device-substring"], "sdc": [],
                                     "sdd": ["virtual-device-substring"], "sdbc": ["virtual-device"]}
    assert '"/dev/sdbc"' in by_name(document)["sdb"]["drive"]["reasons"][0]["text"]
    assert partition_rules(document)["sdb"] == ["no-drive"]
    assert "sdb and sdd only because of the name" in said(document)


def test_a_disk_found_behind_the_management_controller_names_its_entry(machine, explained):
    document = explained("management-controller-over-usb")
    dropped = [device["drive"]["reasons"][0] for device in document["devices"]
               if "virtual-device" in rules(device["drive"])]
    assert dropped and all("Virtual" in reason["text"] for reason in dropped)


def test_names_beyond_the_candidates_have_drives_without_partitions(explained):
    document = explained("drives-beyond-the-candidates")
    for name in ("vda", "sdaa", "mmcblk0", "nvme10n1"):
        device = by_name(document)[name]
        assert device["drive"]["reported"] and not device["partitions"]["reported"]
        assert "not-a-candidate" in rules(device["partitions"])
    assert "vda" in said(document)


def test_a_disk_that_cannot_be_read_says_why(explained):
    reason, = by_name(explained("unreadable-disks"))["sda"]["partitions"]["reasons"]
    assert reason == {"rule": "read-failed", "text": "Reading its first sector failed: Input/output error."}


def test_a_table_that_cannot_be_read_to_the_end_names_the_sector(explained):
    found = by_name(explained("unreadable-disks"))
    for name, sector in (("sdb", 8192), ("sdc", 9216)):
        reason = found[name]["partitions"]["reasons"][0]
        assert reason["rule"] == "read-failed"
        assert reason["text"].startswith(f"Reading sector {sector} of its tables failed: Input/output error.")


def test_a_refused_gpt_has_a_rule_of_its_own(diskmgt, tmp_path):
    folder = write_machine(tmp_path, disks=[
        {"name": "sda", "size": "8 MiB", "patches": [{"sector": 0, "slots": ["ee 1 16383"]},
                                                     {"sector": 1, "offset": 80, "hex": "ffffffff"}]}])
    with Session(folder) as session:
        document = session.run([diskmgt, "explain", "--format", "json"], check=False).json()
    reason, = by_name(document)["sda"]["partitions"]["reasons"]
    assert reason == {"rule": "table-refused", "text": "Its GPT is refused: it claims -1 entries."}


def test_disagreement_of_kernel_and_table_is_reported(explained):
    found = partition_rules(explained("sysfs-against-tables"))
    told = {rule for each in found.values() for rule in each}
    assert {"no-partition-directories", "kernel-and-table-disagree"} <= told
    assert "disagree about the number of partitions" in said(explained("sysfs-against-tables"))


def test_large_sectors_are_reported(explained):
    document = explained("four-kib-sectors")
    assert all("large-sectors" in each for each in partition_rules(document).values())
    assert all("no-partition-found" not in each for each in partition_rules(document).values())
    assert "sda and sdb are larger than the 512 bytes" in said(document)


def test_later_entries_of_a_source_are_left_out_for_the_first(explained):
    mounts = explained("mount-table")["mounts"]
    later = [mount for mount in mounts if rules(mount)[:1] == ["later-mount"]]
    assert [(mount["source"], mount["mountPoint"], mount["reported"]) for mount in later] == [
        ("tmpfs", "/media/with space", False), ("/dev/sda1", "/media/one", False)]
    assert "/media/gone" in later[1]["reasons"][0]["text"]


@pytest.mark.parametrize("kind, rule", [("kind", "network"), ("bind", "unknown-type"), ("indented", "beneath-other")])
def test_mounts_that_only_the_table_has_and_that_may_block_are_not_measured(explained, kind, rule):
    mount, = [mount for mount in explained("mount-table")["mounts"] if mount["source"] == kind]
    assert (mount["reported"], rules(mount)[0], rules(mount)[-1]) == (True, rule, "not-mounted")
    assert "not measured here" in mount["reasons"][0]["text"]


def test_a_mount_table_that_cannot_be_updated_reports_nothing(explained):
    document = explained("mtab-read-only")
    told = {(mount["reported"], rules(mount)[0]) for mount in document["mounts"]}
    # The other one is of mounts that are only the kernel's: this table is a file of its own.
    assert (False, "mount-table-not-opened") in told and told <= {(False, "mount-table-not-opened"),
                                                                  (False, "not-in-mount-table")}
    assert "Read-only file system" in said(document)


def test_a_user_without_rights_is_advised_to_be_root(machine, diskmgt):
    with Session(MACHINES / "whole-server") as session:
        session.run(["mkdir", "/media/installed"])
        session.run(["mount", "--bind", diskmgt.parent.parent, "/media/installed"])
        document = session.run([*NOBODY, f"/media/installed/bin/{diskmgt.name}", "explain", "--format", "json"]).json()
        session.run(["umount", "/media/installed"])
    assert not any(device["drive"]["reported"] for device in document["devices"])
    assert rules(by_name(document)["sda"]["drive"]) == rules(by_name(document)["sda"]["partitions"]) == ["not-root"]
    assert not by_name(document)["sda"]["drive"]["known"]
    assert "Opening /dev/sda is only for root; run as root." == by_name(document)["sda"]["drive"]["reasons"][0]["text"]
    assert "Run as root to see drives, partitions and logical disks: for this user sda, sdb and nvme0n1 cannot be " \
        "opened, and the mount table opens for update only as root." in document["diagnosis"]
    assert "plug-in-disagrees" not in json.dumps(document)


def test_named_things_are_explained_alone(explained):
    document = explained("volumes-root", "sda", "/dev/sda1", "/home")
    assert document["diagnosis"] == []
    found = by_name(document)
    assert list(found) == ["sda", "sda1"]
    assert found["sda"]["asked"] == "sda" and found["sda"]["drive"]["reported"]
    assert (found["sda1"]["partitionOf"], found["sda1"]["partitions"]["reported"]) == ("/dev/sda", True)
    assert {mount["mountPoint"] for mount in document["mounts"]} == {"/boot", "/boot/efi", "/home"}


def test_a_device_that_exists_nowhere_is_wrong_usage(machine, diskmgt):
    done = machine("volumes-root").run([diskmgt, "explain", "sda77", "sda1", "/dev/sdx"], check=False)
    assert done.status == 2
    assert done.stderr.splitlines() == [
        'diskmgt: nothing here is named "sda77": no device, mount or path; sda has sda1, sda2 and sda3',
        'diskmgt: nothing here is named "/dev/sdx": no device, mount or path; "diskmgt explain" lists what there is']
    assert done.stdout.startswith("/dev/sda1 (asked for as sda1)\n")


LINKS = {"volumes-root": {"/": [["dm-0"], ["sda3"], ["sda"]], "/boot": [["sda2"], ["sda"]]},
         "mirrored-partitions": {"/": [["md1"], ["sda2", "sdb2"], ["sda", "sdb"]]},
         "multipath-root": {"/": [["dm-2"], ["dm-0"], ["sda", "sdb", "sdc", "sdd"]]}}


@pytest.mark.parametrize(("name", "point"), [(name, point) for name, points in LINKS.items() for point in points])
def test_a_mount_lies_on_all_layers_down_to_the_disks(explained, name, point):
    mount, = [mount for mount in explained(name)["mounts"] if mount["mountPoint"] == point]
    assert mount["liesOn"] == LINKS[name][point]


def test_a_path_names_the_disks_that_carry_it(machine, explained, diskmgt):
    path, = explained("volumes-root", "/etc")["paths"]
    assert (path["mountPoint"], path["liesOn"]) == ("/", [["dm-0"], ["sda3"], ["sda"]])
    text = machine("volumes-root").run([diskmgt, "explain", "/etc"]).stdout
    assert "  Lies on:     What is mounted on /, on dm-0, on sda3, on sda.\n" in text


@pytest.mark.parametrize("operand", ["vg-root", "/dev/mapper/vg-root", "dm-0"])
def test_a_volume_is_found_by_each_of_its_names(explained, operand):
    device, = explained("volumes-root", operand)["devices"]
    assert (device["path"], device["liesOn"]) == ("/dev/dm-0", [["sda3"], ["sda"]])
    assert rules(device["drive"]) == ["dm-prefix"]


def test_a_partition_is_linked_to_its_drive_and_its_file_system(explained):
    document = explained("volumes-root", "/dev/sda2")
    assert [(pair["association"], pair["antecedent"], pair["dependent"], pair["right"])
            for pair in document["devices"][0]["pairs"]] == [
        ("VEXSG_PartitionPresent", "/dev/sda", "/dev/sda2", True),
        ("VEXSG_LogicalDiskBasedOnPartition", "/dev/sda2", "/dev/sda2", True)]


def test_a_volume_is_linked_to_no_drive_and_says_why(explained):
    mount, = explained("volumes-root", "/home")["mounts"]
    assert mount["pairs"] == [] and "not-linked" in rules(mount)
    assert "no drive's name lies in /dev/mapper/vg-home" in mount["reasons"][-1]["text"]


def test_partitions_of_a_name_that_is_not_searched_are_counted(machine, explained, diskmgt):
    device, = explained("virtio-guest", "vda")["devices"]
    assert device["partitions"]["reasons"][0]["text"].startswith(
        "The kernel has 3 partitions; the plug-in publishes none, because the name vda is not searched, only ")
    row = next(line for line in machine("virtio-guest").run([diskmgt, "explain"]).stdout.splitlines()
               if line.startswith("/dev/vda "))
    assert row.split()[1:5] == ["yes", "none", "of", "3"] and "name not searched" in row


def test_whole_disk_encryption_is_no_stale_table(explained):
    document = explained("encrypted-whole")
    assert {only["name"] for only in document["cimOnly"]} == {"/dev/sdb1", "/dev/sdb2", "/dev/sdc1", "/dev/sdc2"}
    assert "rereadpt" not in said(document)


def test_a_link_is_explained_as_what_it_leads_to(machine, diskmgt):
    session = machine("volumes-root")
    session.run(["ln", "-s", "/dev/sda", "/media/by-id"])
    document = session.run([diskmgt, "explain", "/media/by-id", "--format", "json"]).json()
    session.run(["rm", "/media/by-id"])
    device, = document["devices"]
    assert (device["path"], device["asked"], device["drive"]["reported"]) == ("/dev/sda", "/media/by-id", True)


SILENT = """
import ctypes, os, subprocess, sys
libc = ctypes.CDLL(None, use_errno=True)
os.mknod("/media/fuse", 0o20600, os.makedev(10, 229))
os.mkdir("/media/silent")
fuse = os.open("/media/fuse", os.O_RDWR)
options = f"fd={fuse},rootmode=40000,user_id=0,group_id=0"
if libc.mount(b"silent", b"/media/silent", b"fuse", 0, options.encode()) != 0:
    sys.exit("mount: " + os.strerror(ctypes.get_errno()))
try:
    for arguments in (["explain", "--format", "json"], ["explain", "/media/silent"],
                      ["get", "VEXSG_LogicalDisk", "--timeout", "1"]):
        done = subprocess.run([sys.argv[1], *arguments], capture_output=True, text=True)
        print(done.returncode)
        if arguments[-1] == "json":
            print(done.stdout.replace("\\n", " "))
finally:
    libc.umount2(b"/media/silent", 3)
    os.close(fuse)
"""


def test_a_file_system_that_never_answers_is_not_touched(tmp_path, diskmgt):
    write_machine(tmp_path, mtab=["silent /media/silent fuse.silent rw 0 0",
                                  "beneath /media/silent/deeper ext4 rw 0 0"])
    with Session(tmp_path) as session:
        done = session.run([sys.executable, "-c", SILENT, diskmgt], check=False)
    if done.status != 0 and done.stderr.startswith("mount: "):
        pytest.skip(done.stderr.strip())
    assert done.status == 0, done.stderr
    whole, document, named, asking = done.stdout.splitlines()
    assert (whole, named) == ("4", "4")  # logical disks are not known
    assert asking == "4"  # what the plug-in does is to ask, and wait
    silent, = [mount for mount in json.loads(document)["mounts"] if mount["type"] == "fuse.silent"]
    assert (silent["known"], silent["space"], rules(silent)) == (False, "not-asked", ["mount-does-not-answer"])
    assert "No answer came from what is mounted on /media/silent (fuse)" in document


def test_text_and_document_tell_the_same_reasons(machine, explained, diskmgt):
    text = machine("sysfs-filters").run([diskmgt, "explain"]).stdout
    rows = {line.split()[0]: line for line in text.splitlines() if line.startswith("/dev/")}
    for device in explained("sysfs-filters")["devices"]:
        assert rows[device["path"]].split()[1] == ("yes" if device["drive"]["reported"] else "no" if device["drive"]["known"] else "?")
    assert rows["/dev/dm-0"].endswith('device-mapper volume')
    assert all(sentence in text for sentence in explained("sysfs-filters")["diagnosis"])
