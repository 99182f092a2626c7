"""What sfdisk, sgdisk and parted say about the same disks is what the command reports, as far as the two can agree."""

import re

import pytest

GPT_NUMBERS = {  # type numbers of "PartitionType" by type GUID
    "024DEE41-33E7-11D3-9D69-0008C781F39F": 5, "C12A7328-F81F-11D2-BA4B-00A0C93EC93B": 6,
    "21686148-6449-6E6F-744E-656564454649": 7, "E3C9E316-0B5C-4DB8-817D-F92DF00215AE": 8,
    "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7": 9, "5808C8AA-7E8F-42E0-85D2-E1E90434CFB3": 10,
    "AF9B60A0-1431-4F62-BC68-3311714A69AD": 11, "DE94BBA4-06D1-4D40-A16A-BFD50179D6AC": 12,
    "A19D880F-05FC-4D3B-A006-743F0F84911E": 13, "0657FD6D-A4AB-43C4-84E5-0933C84B4F4F": 14,
    "E6D6D379-F507-44C2-A23C-238F2A3DF928": 15, "8DA63339-0007-60C0-C436-083AC8230908": 16,
    "0FC63DAF-8483-4772-8E79-3D69D8477DE4": 17, "AA31E02A-400F-11DB-9590-000C2911D1B8": 19}
HYBRID = ("hybrid-mbr", "sda")  # parted takes it for an MBR
GPT_DISKS = [("gpt-server", "sda"), ("gpt-holes", "sda"), ("gpt-128-entries", "sda"), ("gpt-types", "sda"),
             HYBRID, ("parted-server", "sdb"), ("big-disks", "sdc"), ("nvme-usual-nodes", "nvme0n1"),
             ("whole-server", "sda")]
MBR_DISKS = [("bios-primaries", "sda"), ("mbr-extended-in-slot-2", "sda"), ("mbr-twelve-logicals", "sda"),
             ("parted-server", "sda"), ("big-disks", "sda"), ("nvme-usual-nodes", "nvme1n1"), ("whole-server", "sdb"),
             ("ambiguous-names", "sda")]
SECTOR, EXTENDED = 512, ("5", "f")


@pytest.fixture(scope="module")
def partitions(machine, properties):
    """The partitions of one disk of a machine, in the order reported."""
    asked = {}

    def ask(name, disk):
        if name not in asked:
            asked[name] = properties(machine(name), "VEXSG_DiskPartition")
        return [found for found in asked[name] if re.fullmatch(f"/dev/{disk}p?[0-9]+", found["DeviceID"])]

    return ask


@pytest.fixture(scope="module")
def sfdisk(machine):
    def ask(name, disk):
        table = machine(name).run(["sfdisk", "--json", f"/dev/{disk}"]).json()["partitiontable"]
        assert table["unit"] == "sectors" and table["sectorsize"] == SECTOR
        return table["partitions"]

    return ask


def number(partition, disk):
    return int(partition["DeviceID"].removeprefix(f"/dev/{disk}").lstrip("p"))


def gpt_number(guid):
    return 19 if guid.startswith("00000000-0000-0000-") else GPT_NUMBERS.get(guid, 0)


@pytest.mark.parametrize("name, disk", GPT_DISKS)
def test_sfdisk_agrees_on_gpt(partitions, sfdisk, name, disk):
    ours = [(found["DeviceID"], found["Size"], found["StartingOffset"], found["PartitionType"])
            for found in partitions(name, disk)]
    assert ours == [(told["node"], told["size"] * SECTOR, told["start"] + told["size"] - 1, gpt_number(told["type"]))
                    for told in sfdisk(name, disk)]


@pytest.mark.parametrize("name, disk", GPT_DISKS)
def test_sgdisk_agrees_on_gpt(machine, partitions, name, disk):
    printed = machine(name).run(["sgdisk", "--print", f"/dev/{disk}"]).stdout
    rows = re.findall(r"^ +(\d+) +(\d+) +(\d+) ", printed, re.MULTILINE)  # number, first and last sector
    told = [tuple(int(figure) for figure in row) for row in rows]
    ours = [(number(found, disk), found["StartingOffset"] + 1 - found["Size"] // SECTOR, found["StartingOffset"])
            for found in partitions(name, disk)]
    assert ours == told != []


@pytest.mark.parametrize("name, disk", [one for one in GPT_DISKS + MBR_DISKS if one != HYBRID])
def test_parted_agrees_on_numbers_and_sizes(machine, partitions, name, disk):
    printed = machine(name).run(["parted", "-sm", f"/dev/{disk}", "unit", "s", "print"]).stdout
    told = {int(slot): int(sectors) * SECTOR for slot, sectors in
            re.findall(r"^(\d+):\d+s:\d+s:(\d+)s:", printed, re.MULTILINE)}
    ours = {number(found, disk): found["Size"] for found in partitions(name, disk)}
    assert ours == told != {}


@pytest.mark.parametrize("name, disk", MBR_DISKS)
def test_sfdisk_agrees_on_mbr(partitions, sfdisk, name, disk):
    told = sfdisk(name, disk)
    ours = {found["DeviceID"]: (found["Size"], found["PartitionSubType"], found["Bootable"])
            for found in partitions(name, disk)}
    assert ours == {part["node"]: (part["size"] * SECTOR, int(part["type"], 16), part.get("bootable", False))
                    for part in told}


@pytest.mark.parametrize("name, disk", MBR_DISKS)
def test_kinds_of_mbr_partitions_are_those_that_sfdisk_shows(partitions, sfdisk, name, disk):
    def kind(part):
        if int(re.search(r"\d+$", part["node"]).group()) > 4:
            return 3
        return 2 if part["type"] in EXTENDED else 1

    ours = {found["DeviceID"]: found["PartitionType"] for found in partitions(name, disk)}
    assert ours == {part["node"]: kind(part) for part in sfdisk(name, disk)}


@pytest.mark.parametrize("name, disk", MBR_DISKS)
def test_logical_partitions_stand_before_their_extended_one(partitions, sfdisk, name, disk):
    told = sfdisk(name, disk)
    primaries = [part["node"] for part in told if int(re.search(r"\d+$", part["node"]).group()) <= 4]
    logicals = [part["node"] for part in told if part["node"] not in primaries]
    order = []
    for part in told[:len(primaries)]:
        order += (logicals if part["type"] in EXTENDED else []) + [part["node"]]
    assert [found["DeviceID"] for found in partitions(name, disk)] == order


@pytest.mark.parametrize("name, disk", MBR_DISKS)
def test_starting_offset_of_mbr_leads_to_the_start_that_sfdisk_shows(machine, partitions, sfdisk, name, disk):
    start = {part["node"]: part["start"] for part in sfdisk(name, disk)}
    for found in partitions(name, disk):
        offset = found["StartingOffset"] - 446
        if found["PartitionType"] != 3:
            assert offset == start[found["DeviceID"]] * SECTOR % 2**32
            continue
        # A logical partition counts from its own boot record, so going back from its start leads to a signature.
        record = start[found["DeviceID"]] - offset // SECTOR
        signature = machine(name).run(["dd", f"if=/dev/{disk}", "bs=1", "count=2", f"skip={record * SECTOR + 510}",
                                       "status=none"]).stdout
        assert offset > 0 and signature == "U\udcaa"


@pytest.mark.parametrize("name, disk", GPT_DISKS + MBR_DISKS)
def test_drive_has_the_size_and_partition_count_of_the_tools(machine, properties, sfdisk, name, disk):
    drive = next(found for found in properties(machine(name), "VEXSG_DiskDrive") if found["DeviceID"] == f"/dev/{disk}")
    assert drive["NoOfPartitions"] == len(sfdisk(name, disk))
    assert str(drive["Size"]) == machine(name).run(["blockdev", "--getsize64", f"/dev/{disk}"]).stdout.strip()
