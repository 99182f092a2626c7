"""What diff says about documents of machines: nothing about the same one, the change itself after a real change."""

import json
import sys

import pytest

from conftest import MACHINES

NAMES = sorted(folder.name for folder in MACHINES.iterdir())
DIRECTORY = "/media/documents"
WRITE = "import sys; disk = open(sys.argv[1], 'r+b', 0); disk.seek(446 + 16); disk.write(bytes.fromhex(sys.argv[2]))"


@pytest.fixture
def documents(machine, diskmgt):
    """documents(name): (session, export, diff) on a machine; documents are known by their names there."""

    def on(name):
        session = machine(name)
        session.run(["mkdir", "-p", DIRECTORY])

        def export(document):
            result = session.run([diskmgt, "export", "json", "--output", f"{DIRECTORY}/{document}"], check=False)
            assert result.status in (0, 1), result.stderr

        def diff(old, new, *options):
            return session.run([diskmgt, "diff", f"{DIRECTORY}/{old}", f"{DIRECTORY}/{new}", *options], check=False)

        return session, export, diff

    return on


@pytest.mark.parametrize("name", NAMES)
def test_machine_that_stays_the_same_has_no_changes(documents, name):
    _, export, diff = documents(name)
    export("old")
    export("new")
    for options in ([], ["--format", "json"]):
        compared = diff("old", "new", *options)
        assert compared.status == 0, compared.stdout
    assert json.loads(compared.stdout)["changes"] == []


@pytest.mark.parametrize("name", NAMES)
def test_two_machines_differ_alike_in_both_directions(documents, diskmgt, name):
    session, export, diff = documents(name)
    export("new")
    other = '{"diskmgt": {"schema": 1, "hostName": "other", "collectedAt": "", "complete": true, "failures": [],' \
            '"missingClasses": [], "drives": [], "loosePartitions": [], "looseLogicalDisks": []}}'
    session.run(["tee", f"{DIRECTORY}/old"], text=other)
    forth = json.loads(diff("old", "new", "--format", "json").stdout)["changes"]
    back = json.loads(diff("new", "old", "--format", "json").stdout)["changes"]
    assert {change["change"] for change in forth} <= {"came"} and {change["change"] for change in back} <= {"went"}
    assert [(change["kind"], change["name"]) for change in forth] == [(change["kind"], change["name"]) for change in back]
    instances = json.loads(session.run(["cat", f"{DIRECTORY}/new"]).stdout)["diskmgt"]["instances"]
    assert len(forth) == sum(len(instances[name]) for name in
                             ("VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk"))


def test_partition_written_to_a_disk_comes_and_goes(documents):
    session, export, diff = documents("hd-before-sd")
    export("old")
    try:
        session.run([sys.executable, "-c", WRITE, "/dev/sdb", "00000000830000000010000000080000"])
        export("new")
    finally:
        session.run([sys.executable, "-c", WRITE, "/dev/sdb", "00" * 16])
    came, went = diff("old", "new"), diff("new", "old")
    assert came.status == went.status == 1
    assert "added   partition /dev/sdb2 1048576 bytes, Linux, on /dev/sdb" in came.stdout
    assert "removed partition /dev/sdb2 1048576 bytes, Linux, on /dev/sdb" in went.stdout
    export("after")
    assert diff("old", "after").stdout == ""


def test_file_system_taken_off_goes(documents):
    session, export, diff = documents("mounted-file-systems")
    export("old")
    mount_point = session.machine.mounts[0].at
    listed = session.run(["cat", "/etc/mtab"]).stdout
    source = next(line.split()[0] for line in listed.splitlines() if line.split()[1] == mount_point)
    kept = "".join(line for line in listed.splitlines(keepends=True) if line.split()[0] != source)
    session.run(["tee", "/etc/mtab"], text=kept)
    try:
        export("new")
    finally:
        session.run(["tee", "/etc/mtab"], text=listed)
    changes = json.loads(diff("old", "new", "--format", "json").stdout)["changes"]
    assert [(change["change"], change["kind"], change["name"]) for change in changes] == [
        ("went", "logicalDisk", source)]


def test_written_file_moves_free_space_only(documents):
    session, export, diff = documents("whole-server")
    export("old")
    session.run(["dd", "if=/dev/zero", "of=/media/root/filler", "bs=65536", "count=4"])
    try:
        export("new")
    finally:
        session.run(["rm", "/media/root/filler"])
    assert diff("old", "new").status == 0
    spaced = diff("old", "new", "--space")
    assert spaced.status == 1 and "/dev/mapper/vg-root free: 2097152 -> 1835008" in spaced.stdout
