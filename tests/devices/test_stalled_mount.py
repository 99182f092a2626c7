"""A mounted file system that never answers: the time limit ends the wait, and what is known by then is delivered."""

import json
import os
import sys
from pathlib import Path

import pytest

from conftest import write_machine
from machine.session import Session

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "support"))

from mof_reader import read_mof  # noqa: E402

HERE = Path(__file__).resolve().parent
DESCRIPTION = {
    "about": "A file system that never answers beside one that does.",
    "disks": [{"name": "sda", "size": "16 MiB",
               "table": [{"sgdisk": ["-n 1:2048:+4M -t 1:8300 -n 2:0:+2M -t 2:8200"]}]}],
    "nodes": [{"name": "sda1", "kind": "partition", "of": "sda", "start": 2048, "size": 8192},
              {"name": "sda2", "kind": "partition", "of": "sda", "start": 10240, "size": 4096}],
    "sys_block": [{"name": "sda", "dev": "8:0", "directories": ["sda1", "sda2"], "from_disk": True}],
    "mounts": [{"at": "/media/alive", "source": "tmpfs", "type": "tmpfs", "options": "size=1m"}],
    "mtab": ["alive /media/alive tmpfs rw 0 0", "dead /media/dead fuse.dead rw 0 0"],
}
LIMIT = "2"  # seconds; drives and partitions take a few milliseconds
pytestmark = pytest.mark.skipif(not os.path.exists("/dev/fuse"), reason="the kernel has no /dev/fuse")


@pytest.fixture(scope="module")
def stalled(tmp_path_factory):
    """The machine with the mount in its own name space; the holder ends with it, whatever ends the test."""
    folder = tmp_path_factory.mktemp("stalled")
    with Session(write_machine(folder, **DESCRIPTION)) as session:
        session.holder = session.run([sys.executable, "-B", HERE / "dead_mount.py", "/media/dead"]).stdout.strip()
        yield session


@pytest.fixture
def run(stalled, diskmgt):
    def ask(*arguments, status=4):
        limit = LIMIT if status == 4 else "60"  # what is not stalled has all the time it wants
        result = stalled.run([diskmgt, *arguments, "--timeout", limit], check=False)
        assert result.status == status, result.stderr
        return result

    return ask


def only_sentence(result):
    line, = result.stderr.splitlines()
    return line


def test_sentence_names_class_and_mount_point(run):
    sentence = only_sentence(run("get", "VEXSG_LogicalDisk"))
    assert f"gave up after {LIMIT} s" in sentence and "--timeout" in sentence
    assert 'serving VEXSG_LogicalDisk: measuring the file system at "/media/dead"' in sentence
    sentence = only_sentence(run("export", "json"))
    assert "not served: VEXSG_LogicalDisk" in sentence and "/media/dead (fuse.dead) does not answer" in sentence


def test_document_has_what_does_not_lie_there(run):
    inventory = run("export", "json").json()["diskmgt"]
    assert inventory["complete"] is False
    missing = {gap["of"] for gap in inventory["incomplete"]}
    assert "VEXSG_LogicalDisk" in missing and "VEXSG_DiskPartition" not in missing
    devices = {device["name"]: device["cim"] for device in inventory["devices"]}
    assert devices["sda"]["drive"]["reported"] and devices["sda1"]["partition"]["reported"]


def test_every_form_is_whole_and_says_that_it_is_not_complete(run):
    assert "\ndiskmgt_collection_success 0\n" in run("export", "prometheus").stdout
    names = [name for name, _ in read_mof(run("export", "mof").stdout.encode("utf-8")).instances]
    assert names.count("VEXSG_DiskPartition") == 2 and "VEXSG_LogicalDisk" not in names
    page = run("export", "html").stdout
    assert "This page is not complete" in page and page.endswith("</html>\n")


def test_file_appears_whole(run, stalled):
    run("export", "json", "--output", "/media/alive/disks.json")
    assert json.loads(stalled.run(["cat", "/media/alive/disks.json"]).stdout)["diskmgt"]["complete"] is False
    assert stalled.run(["ls", "/media/alive"]).stdout.split() == ["disks.json"]


def test_request_prints_nothing(run):
    assert run("get", "VEXSG_LogicalDisk").stdout == ""


def test_classes_that_need_no_mount_are_served(run):
    found = run("get", "VEXSG_DiskDrive", "VEXSG_DiskPartition", status=0).json()["classes"]
    assert [len(served["instances"]) for served in found] == [1, 2]


def test_mount_is_seen_nowhere_else(stalled):
    assert "/media/dead" in stalled.run(["cat", "/proc/self/mounts"]).stdout
    assert "/media/dead" not in Path("/proc/self/mounts").read_text(encoding="utf-8")


def test_stall_ends_with_its_holder(stalled, run):  # the last test: the mount is broken afterwards
    stalled.run(["kill", "-KILL", stalled.holder])
    inventory = run("export", "json", status=0).json()["diskmgt"]
    assert inventory["complete"] is True
    assert [disk["DeviceID"] for disk in (one["properties"] for one in inventory["instances"]["VEXSG_LogicalDisk"])] == [
        "alive", "dead"]
