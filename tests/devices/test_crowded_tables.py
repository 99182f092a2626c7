"""GPT headers that claim, and tables that hold, absurd numbers of entries."""

import struct
import sys
import uuid

import pytest

LINUX = uuid.UUID("0FC63DAF-8483-4772-8E79-3D69D8477DE4").bytes_le
HEADER_COUNT = 512 + 80
ENTRIES = 1024
WRITE = "import sys; disk = open('/dev/sda', 'r+b', 0); disk.seek(int(sys.argv[1])); " \
        "disk.write(bytes.fromhex(sys.stdin.read()))"


def entry(slot):
    return (LINUX + uuid.UUID(int=slot).bytes + struct.pack("<QQ", 10 * slot, 10 * slot + 9)).ljust(128, b"\0")


@pytest.fixture
def crowd(machine):
    """crowd(claimed, used) writes a GPT onto the disk of a machine; the disk is put back afterwards."""
    session = machine("odd-gpt-headers")
    session.run(["dd", "if=/dev/sda", "of=/media/before", "bs=1M", "status=none"])

    def write(claimed, used):
        session.run([sys.executable, "-c", WRITE, HEADER_COUNT], text=struct.pack("<i", claimed).hex())
        entries = b"".join(entry(slot) for slot in range(1, used + 1))
        session.run([sys.executable, "-c", WRITE, ENTRIES], text=entries.hex())
        return session

    yield write
    session.run(["dd", "if=/media/before", "of=/dev/sda", "bs=1M", "status=none", "conv=notrunc"])


def counted(properties, session):
    drives = {drive["DeviceID"]: drive for drive in properties(session, "VEXSG_DiskDrive")}
    return drives["/dev/sda"]["NoOfPartitions"]


def test_largest_claim_is_survived_whether_or_not_memory_is_granted(crowd, properties):
    """Whether 256 GiB of zeros are promised is up to the system: then the entries on disk count, else none."""
    session = crowd(2**31 - 1, 5)
    assert counted(properties, session) in (0, 5)
    assert len(properties(session, "VEXSG_DiskPartition")) >= 6  # those of the other disks


def test_773_used_entries_are_reported(crowd, properties):
    session = crowd(4096, 773)
    found = [part for part in properties(session, "VEXSG_DiskPartition") if part["DeviceID"].startswith("/dev/sda")]
    assert [(part["DeviceID"], part["StartingOffset"]) for part in found] == \
        [(f"/dev/sda{slot}", 10 * slot + 9) for slot in range(1, 774)]


def test_774_used_entries_count_as_corrupt(crowd, properties):
    session = crowd(4096, 774)
    assert counted(properties, session) == 0
    assert not [part for part in properties(session, "VEXSG_DiskPartition") if part["DeviceID"].startswith("/dev/sda")]
