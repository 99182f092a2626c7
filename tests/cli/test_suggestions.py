"""Unknown class names and what is offered instead."""
import pytest


@pytest.mark.parametrize("command", ["get", "trace", "classes"])
@pytest.mark.parametrize("given, offered", [
    ("vexsg_diskdrive", "did you mean VEXSG_DiskDrive?"),
    ("DiskDrive", "did you mean VEXSG_DiskDrive?"),
    ("VEXSG_DiskDrives", "did you mean VEXSG_DiskDrive"),
    ("VEXSG_DiksDrive", "did you mean VEXSG_DiskDrive"),
    ("VEXSG_DiskPartitoin", "did you mean VEXSG_DiskPartition"),
    ("VEXSG_LogicalDsk", "did you mean VEXSG_LogicalDisk"),
    ("VEXSG_Partition", "did you mean VEXSG_DiskPartition"),
    ("vexsg_partition", "did you mean VEXSG_DiskPartition"),
])
def test_near_misses_name_the_class(run, command, given, offered):
    done = run(command, given)
    assert (done.status, done.stdout) == (2, b"")
    assert offered in done.sentence
    assert f'unknown class "{given}"' in done.sentence


@pytest.mark.parametrize("given", ["", "Win32_SomethingElse", "y" * 4000])
def test_far_names_point_to_the_list(run, given):
    done = run("get", given)
    assert done.status == 2
    assert "did you mean" not in done.sentence
    assert '"diskmgt classes" lists the known ones' in done.sentence


def test_one_unknown_class_among_known_ones_stops_the_request(run):
    done = run("get", "VEXSG_DiskDrive", "VEXSG_Nothing")
    assert (done.status, done.stdout) == (2, b"")
    assert "VEXSG_Nothing" in done.sentence
