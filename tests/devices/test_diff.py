"""What diff says about documents of machines: nothing about the same one, the change itself after a real change."""

import json
import subprocess

import pytest

from conftest import MACHINES, write_machine
from machine.session import Session

NAMES = sorted(folder.name for folder in MACHINES.iterdir())
DIRECTORY = "/media/documents"


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
    other = '{"diskmgt": {"schema": 1, "hostName": "other", "collectedAt": "", "complete": true, "incomplete": [],' \
            '"devices": [], "fileSystems": []}}'
    session.run(["tee", f"{DIRECTORY}/old"], text=other)
    forth = json.loads(diff("old", "new", "--format", "json").stdout)["changes"]
    back = json.loads(diff("new", "old", "--format", "json").stdout)["changes"]
    document = json.loads(session.run(["cat", f"{DIRECTORY}/new"]).stdout)["diskmgt"]
    unknown = "block-list-not-read" in {gap["rule"] for gap in document["incomplete"]}
    assert {change["change"] for change in forth} <= {"came"} and {change["change"] for change in back} <= {"went"}
    assert [(change["kind"], change["name"]) for change in forth] == [(change["kind"], change["name"]) for change in back]
    rows = [change for change in forth if change["kind"] != "fileSystem"]
    assert len(rows) == len(document["devices"]) and (unknown or len(forth) >= len(document["fileSystems"]) + len(rows))


@pytest.fixture
def compared(tmp_path, diskmgt):
    """compared(old, new, ...) is the table of diff, of the documents of two described machines."""

    def run(*descriptions, options=()):
        paths = []
        for number, description in enumerate(descriptions):
            folder = tmp_path / str(number)
            folder.mkdir()
            with Session(write_machine(folder, **description)) as session:
                document = session.run([diskmgt, "export", "json", "--compact"]).stdout
            paths.append(tmp_path / f"{number}.json")
            paths[-1].write_text(document, encoding="utf-8")
        done = subprocess.run([diskmgt, "diff", *paths, *options], capture_output=True, text=True, check=False)
        assert done.stderr == "" and done.returncode in (0, 1)
        return [" ".join(line.split()) for line in done.stdout.splitlines()[1:]]

    return run


def server(system="sda", data="sdb", size=8, mounted=None):
    """Two disks with a partition each; `data` None: the second one is not there. `mounted`: where the data lie."""
    disks = [(system, "naa.1", 4)] + ([(data, "naa.2", size)] if data else [])
    mounted = mounted or f"{data}1"
    mounts = [f"20 1 {{{system}1}} / / rw - ext4 /dev/{system}1 rw"] + (
        [f"21 20 {{{mounted}}} / /data rw - ext4 /dev/{mounted} rw"] if data else [])
    return {
        "disks": [{"name": name, "size": "16 MiB",
                   "table": [{"sfdisk": ["label: gpt", f"start=2048, size={mebibytes * 2048}"]}]}
                  for name, _, mebibytes in disks],
        "nodes": [{"name": f"{name}1", "kind": "partition", "of": name, "start": 2048, "size": mebibytes * 2048}
                  for name, _, mebibytes in disks],
        "sys_block": [{"name": name, "from_disk": True, "files": {"device/wwid": f"{wwid}\n"}} for name, wwid, _ in disks],
        "udev": [{"name": f"{name}1", "properties": {"ID_PART_ENTRY_UUID": f"uuid-of-{wwid}"}} for name, wwid, _ in disks],
        "mtab": [], "mountinfo": mounts}


def test_disk_that_changed_its_name_is_one_line(compared):
    assert compared(server(), server(system="sdc")) == ["renamed drive /dev/sdc was /dev/sda"]


def test_disk_that_vanished_is_one_line(compared):
    assert compared(server(), server(data=None)) == [
        "removed drive /dev/sdb 16777216 bytes, with 1 partition, mounted on /data"]


def test_partition_that_grew_is_one_line(compared):
    assert compared(server(), server(size=10)) == ["changed partition /dev/sdb1 size: 8388608 -> 10485760"]


def test_file_system_that_moved_to_another_disk_is_one_line(compared):
    third = {**server(), "mountinfo": server()["mountinfo"][:1]}
    assert compared(server(), {**third, "mountinfo": [*third["mountinfo"],
                                                      "21 20 {sda} / /data rw - ext4 /dev/sda rw"]}) == [
        "changed file system /data on: /dev/sdb1 -> /dev/sda"]


def test_partition_of_a_new_table_is_one_line(compared):
    one, two = server(), server()
    two["disks"][1]["table"] = [{"sfdisk": ["label: gpt", "start=2048, size=16384", "start=18432, size=2048, type=swap"]}]
    two["nodes"].append({"name": "sdb2", "kind": "partition", "of": "sdb", "start": 18432, "size": 2048})
    assert compared(one, two) == ["added partition /dev/sdb2 1048576 bytes, Linux swap, on /dev/sdb"]


def test_logical_disk_that_is_not_reported_any_more_is_a_change(documents):
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
    change, = json.loads(diff("old", "new", "--format", "json").stdout)["changes"]
    assert change == {"change": "changed", "kind": "fileSystem", "name": mount_point,
                      "values": {"cim.logicalDisk.reported": {"old": True, "new": False}}}


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
    assert spaced.status == 1 and "file system /media/root free: 2097152 -> 1835008" in spaced.stdout
