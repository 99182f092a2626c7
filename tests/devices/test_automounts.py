"""Idle automounts of the running kernel: asking for logical disks mounts them, and what they mounted is in the answer."""

import sys
from pathlib import Path

import pytest

from conftest import write_machine
from machine.session import Session

HERE = Path(__file__).resolve().parent
SOURCE = "service-manager"
PLACES = ["/media/auto/one", "/media/auto/two", "/media/auto/three"]
DESCRIPTION = {"about": "Three automounts of one source.",
               "mounts": [{"at": "/media/auto", "source": "tmpfs", "type": "tmpfs", "options": "size=1m"}],
               "mtab": "live"}
pytestmark = pytest.mark.skipif("\tautofs\n" not in Path("/proc/filesystems").read_text(encoding="ascii"),
                                reason="the kernel has no autofs")


@pytest.fixture
def idle(tmp_path):
    """The machine with three automounts that nothing has touched; the process that answers them ends with it."""
    with Session(write_machine(tmp_path, **DESCRIPTION)) as session:
        session.run([sys.executable, "-B", HERE / "automounter.py", *PLACES])
        assert mounted(session) == []
        yield session


def mounted(session):
    """(source, place) of what the automounts have mounted."""
    lines = (line.split() for line in session.run(["cat", "/proc/self/mounts"]).stdout.splitlines())
    return [(source, place) for source, place, *_ in lines if source.startswith("volume-")]


def test_each_is_mounted_and_what_it_mounted_is_reported(idle, properties):
    found = {disk["DeviceID"]: disk for disk in properties(idle, "VEXSG_LogicalDisk")}
    expected = [("volume-" + place.rsplit("/", 1)[1], place) for place in PLACES]
    assert mounted(idle) == expected
    for source, place in expected:
        assert found[source]["OtherIdentifyingInfo"] == [place]
        assert (found[source]["FileSystemName"], found[source]["TotalSpace"]) == ("tmpfs", 1 << 20)
    # The entry of the automounts themselves is the first one's, with the figures of what it mounted.
    assert (found[SOURCE]["FileSystemName"], found[SOURCE]["OtherIdentifyingInfo"]) == ("autofs", [PLACES[0]])
    assert found[SOURCE]["TotalSpace"] == 1 << 20


def test_second_request_finds_them_mounted_and_answers_the_same(idle, properties):
    def asked():
        found = properties(idle, "VEXSG_LogicalDisk")
        return [disk for disk in found if disk["DeviceID"] == SOURCE or disk["DeviceID"].startswith("volume-")]

    first = asked()
    assert asked() == first and len(first) == 1 + len(PLACES)
    assert len(mounted(idle)) == len(PLACES)


def test_drives_and_partitions_leave_them_idle(idle, get):
    get(idle, ["VEXSG_DiskDrive", "VEXSG_DiskPartition"])
    assert mounted(idle) == []


def test_explain_names_each_and_that_it_mounts_them(idle, diskmgt):
    document = idle.run([diskmgt, "explain", "--format", "json"]).json()
    automounts = {mount["mountPoint"]: mount for mount in document["mounts"] if mount["type"] == "autofs"}
    assert set(automounts) == set(PLACES)
    for mount in automounts.values():
        reason, = [reason for reason in mount["reasons"] if reason["rule"] == "automount"]
        assert "asking for VEXSG_LogicalDisk mounts it" in reason["text"]
    named, = [sentence for sentence in document["diagnosis"] if PLACES[0] in sentence]
    assert all(place in named for place in PLACES)
    assert "asking for VEXSG_LogicalDisk mounts those that are idle" in named
    table = idle.run([diskmgt, "explain"]).stdout
    assert all(f"{place} " in table for place in PLACES)
    assert len(mounted(idle)) == len(PLACES)  # it shows what the plug-in publishes of logical disks
