"""Space figures of really mounted file systems, against the kernel and the tools that people would ask."""

import pytest

LOGICAL_DISK = "VEXSG_LogicalDisk"


@pytest.fixture
def session(machine):
    return machine("mounted-file-systems")


@pytest.fixture
def by_source(session, properties):
    return {found["DeviceID"]: found for found in properties(session, LOGICAL_DISK)}


@pytest.mark.parametrize("source, place", [("/dev/sda1", "/media/data"), ("/dev/sdb", "/media/whole"),
                                           ("small", "/media/small")])
def test_figures_are_those_of_the_mount_point(session, by_source, source, place):
    blocks, size, free, identifier = session.run(["stat", "-f", "-c", "%b %S %f %i", place]).stdout.split()
    found = by_source[source]
    assert found["TotalSpace"] == int(blocks) * int(size)
    assert found["FreeSpace"] == int(free) * int(size)
    # stat prints the two words of the identifier as one number, the first word in the upper half.
    words = int(identifier, 16) >> 32, int(identifier, 16) & 0xFFFFFFFF
    assert found["MountOptions"].endswith(", {} {}".format(*words))


def test_free_space_includes_what_is_kept_for_the_superuser(session, by_source):
    available = int(session.run(["df", "--output=avail", "-B1", "/media/data"]).stdout.split()[1])
    assert by_source["/dev/sda1"]["FreeSpace"] > available


def test_second_mount_of_a_source_is_not_reported(session, by_source):
    assert session.run(["findmnt", "-n", "-o", "SOURCE", "/media/again"]).stdout.startswith("/dev/sda1")
    assert by_source["/dev/sda1"]["OtherIdentifyingInfo"] == ["/media/data"]


def test_figures_are_taken_afresh_by_every_request(session, by_source, properties):
    before = by_source["small"]["FreeSpace"]
    session.run(["dd", "if=/dev/zero", "of=/media/small/file", "bs=64k", "count=2", "status=none"])
    try:
        after = {found["DeviceID"]: found for found in properties(session, LOGICAL_DISK)}["small"]["FreeSpace"]
        assert after == before - (128 << 10)
    finally:
        session.run(["rm", "/media/small/file"])


def test_unmeasurable_mount_of_a_device_node_gets_the_figures_of_dev(machine, properties):
    session = machine("mount-table")
    found = {found["DeviceID"]: found for found in properties(session, LOGICAL_DISK)}
    blocks, size = session.run(["stat", "-f", "-c", "%b %S", "/dev"]).stdout.split()
    assert found["/dev/sda1"]["TotalSpace"] == int(blocks) * int(size)
    assert "TotalSpace" not in found["/dev/sdb1"] and "FreeSpace" not in found["/dev/sdb1"]


def test_live_mount_table_is_reported_by_source(session, properties):
    """The table of the running kernel instead of the described one: same sources, in byte order, each once."""
    session.run(["cp", "/etc/mtab", "/media/small/mtab"])
    try:
        session.run(["cp", "/proc/self/mounts", "/etc/mtab"])
        listed = session.run(["findmnt", "--tab-file", "/etc/mtab", "-n", "-r", "-o", "SOURCE"]).stdout.splitlines()
        sources = [found["DeviceID"] for found in properties(session, LOGICAL_DISK)]
        assert sources == sorted({source.encode().decode("unicode_escape") for source in listed})
    finally:
        session.run(["sh", "-c", "cat /media/small/mtab > /etc/mtab && rm /media/small/mtab"])
