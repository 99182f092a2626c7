"""The metrics of described machines, as a real node exporter reads them and hands them on."""

import os
import re
import shutil
import subprocess
import sys
import urllib.request
from pathlib import Path

import pytest
from prometheus_client.parser import text_string_to_metric_families

from conftest import write_machine
from machine.session import Session

HERE = Path(__file__).resolve().parent
MACHINES = ["mounted-file-systems", "whole-server", "odd-extended-chains", "gpt-128-entries", "hostile-names"]
EXPORTER = shutil.which("prometheus-node-exporter")


def samples(text):
    return {(sample.name, tuple(sorted(sample.labels.items()))): sample.value
            for family in text_string_to_metric_families(text) for sample in family.samples}


@pytest.fixture
def metrics(machine, diskmgt):
    def export(name):
        done = machine(name).run([diskmgt, "export", "prometheus"], check=False)
        assert done.status in (0, 1), done.stderr
        return done.stdout

    return export


@pytest.fixture
def exporter(tmp_path):
    """exporter(text) is everything that a node exporter serves whose textfile collector finds that text."""
    if not EXPORTER:
        pytest.skip("the package prometheus-node-exporter is missing")
    running = []

    def serve(text):
        (tmp_path / "diskmgt.prom").write_text(text, encoding="utf-8")
        process = subprocess.Popen([EXPORTER, "--collector.disable-defaults", "--collector.textfile",
                                    f"--collector.textfile.directory={tmp_path}", "--web.listen-address=127.0.0.1:0",
                                    "--log.format=logfmt"], stderr=subprocess.PIPE, text=True)
        running.append(process)
        for line in process.stderr:  # ends when the exporter does
            found = re.search(r'msg="Listening on" address=(\S+)', line)
            if found:
                with urllib.request.urlopen(f"http://{found.group(1)}/metrics", timeout=60) as answer:
                    return answer.read().decode("utf-8")
        pytest.fail("the node exporter does not start")

    yield serve
    for process in running:
        process.kill()
        process.communicate()


@pytest.mark.parametrize("name", MACHINES)
def test_node_exporter_hands_every_sample_on(metrics, exporter, name):
    text = metrics(name)
    written, served = samples(text), samples(exporter(text))
    assert served["node_textfile_scrape_error", ()] == 0
    handed_on = {series: value for series, value in served.items() if series[0].startswith("diskmgt_")}
    assert handed_on == written


def test_node_exporter_refuses_what_is_not_escaped(exporter):
    """What the test above rests on: a text that it cannot take is not handed on."""
    served = samples(exporter('diskmgt_x{device="a"b"} 1\n'))
    assert served["node_textfile_scrape_error", ()] == 1
    assert not [name for name, _ in served if name.startswith("diskmgt_")]


def test_figures_are_those_of_the_kernel(machine, metrics):
    session, found = machine("mounted-file-systems"), samples(metrics("mounted-file-systems"))
    for device in ("/dev/sda", "/dev/sdb"):
        size = session.run(["blockdev", "--getsize64", device]).stdout
        assert found["diskmgt_drive_size_bytes", (("device", device),)] == int(size)
    for source, kind, place in (("/dev/sda1", "ext4", "/media/data"), ("small", "tmpfs", "/media/small")):
        blocks, free, available, size = session.run(["stat", "-f", "-c", "%b %f %a %S", place]).stdout.split()
        labels = (("device", source), ("fstype", kind), ("mountpoint", place))
        assert found["diskmgt_filesystem_size_bytes", labels] == int(blocks) * int(size)
        assert found["diskmgt_filesystem_free_bytes", labels] == int(free) * int(size)
        assert found["diskmgt_filesystem_avail_bytes", labels] == int(available) * int(size)


def of(found, metric, *labels):
    """{the values of these labels: number} of a metric."""
    return {tuple(dict(own).get(label, "") for label in labels): value
            for (name, own), value in found.items() if name == f"diskmgt_{metric}"}


def document_of(session, diskmgt):
    done = session.run([diskmgt, "export", "json"], check=False)
    return done.json()["diskmgt"]


@pytest.mark.parametrize("name", ["virtio-guest", "volumes-root", "cloud-server", "storage-node", "zfs-root",
                                  "multipath-root", "encrypted-whole", "subvolumes", "network-homes"])
def test_metrics_say_what_the_document_says(machine, diskmgt, metrics, name):
    """Each device once, in use or not, reported or not; each file system once, unless it is not worth a metric."""
    found, document = samples(metrics(name)), document_of(machine(name), diskmgt)
    shown = {path for path, in of(found, "device_info", "device")}
    left_out = {"path", "memory", "loop"}
    devices = {device["path"]: device for device in document["devices"]
               if device["kind"] not in left_out or device["path"] in shown}
    assert shown == set(devices)
    answers = {path: device["cim"].get("partition") or device["cim"]["drive"] for path, device in devices.items()}
    assert of(found, "device_reported", "device", "rule") == {
        (path, "" if answer["reported"] else answer["rules"][0]): answer["reported"]
        for path, answer in answers.items() if answer["known"]}
    assert set(of(found, "device_differs", "device", "what")) == {
        (path, what) for path, answer in answers.items() for what in answer.get("differs", [])}
    assert of(found, "drive_size_bytes", "device") == {(path,): device["size"] for path, device in devices.items()
                                                       if "partition" not in device["cim"] and "size" in device}
    mounted = [device["mounts"] for device in document["devices"] if "mounts" in device]
    mounted += [shown["mounts"] for shown in document["fileSystems"] if shown["kind"] in ("network", "pool", "memory")]
    points = [mounts[0]["mountPoint"] for mounts in mounted]
    assert sorted(point for point, in of(found, "filesystem_measured", "mountpoint")) == sorted(points)
    assert found["diskmgt_collection_success", ()] == document["complete"]
    assert list(of(found, "collection_gap", "rule", "of")) == [(gap["rule"], gap["of"])
                                                              for gap in document["incomplete"]]


def test_drives_have_what_survives_a_change_of_name(metrics):
    found = samples(metrics("multipath-root"))
    identities = of(found, "device_info", "device", "kind", "serial", "wwid")
    assert identities and all(serial or wwid for _, kind, serial, wwid in identities if kind == "disk")


def test_partition_type_has_a_stable_code(metrics):
    found = of(samples(metrics("cloud-server")), "partition_size_bytes", "device", "drive", "type", "type_code")
    assert ("/dev/sda14", "/dev/sda", "BIOS boot", "21686148-6449-6e6f-744e-656564454649") in found


def test_type_byte_is_the_code_of_an_mbr_partition(tmp_path, diskmgt):
    """By the plug-in's account: udev knows nothing there."""
    disk = {"name": "sda", "size": "8 MiB", "table": [{"sfdisk": ["label: dos", "1: start=2048, size=2048, type=8e"]}]}
    node = {"name": "sda1", "kind": "partition", "of": "sda", "start": 2048, "size": 2048}
    with Session(write_machine(tmp_path, disks=[disk], nodes=[node],
                               sys_block=[{"name": "sda", "from_disk": True}])) as session:
        found = samples(session.run([diskmgt, "export", "prometheus"]).stdout)
    assert of(found, "partition_size_bytes", "device", "drive", "table", "type_code") == {
        ("/dev/sda1", "/dev/sda", "mbr", "0x8e"): 1048576}


def test_refused_device_is_a_gap_and_neither_reported_nor_not(metrics):
    found = samples(metrics("virtio-guest"))
    assert of(found, "collection_gap", "rule", "of") == {("open-failed", "/dev/sr0"): 1}
    assert found["diskmgt_collection_success", ()] == 0
    assert ("/dev/sr0",) in of(found, "device_info", "device")
    assert ("/dev/sr0",) not in of(found, "device_reported", "device")


def test_overlays_and_pseudo_file_systems_have_no_metrics(metrics):
    kinds = {kind for name in ("mounted-file-systems", "container", "network-homes")
             for kind, in of(samples(metrics(name)), "filesystem_measured", "fstype")}
    assert {"tmpfs", "nfs4", "cifs"} <= kinds
    assert not kinds & {"overlay", "nsfs", "proc", "sysfs", "cgroup2", "devpts", "autofs"}


@pytest.mark.skipif(not os.path.exists("/dev/fuse"), reason="the kernel has no /dev/fuse")
def test_file_system_that_does_not_answer_has_no_figures(tmp_path, diskmgt):
    with Session(write_machine(tmp_path, mounts=[{"at": "/media/alive", "source": "alive", "type": "tmpfs"}],
                               mtab=["alive /media/alive tmpfs rw 0 0", "dead /media/dead fuse.dead rw 0 0"])) as session:
        holder = session.run([sys.executable, "-B", HERE / "dead_mount.py", "/media/dead"]).stdout.strip()
        done = session.run([diskmgt, "export", "prometheus"], check=False)
        session.run(["kill", "-KILL", holder], check=False)
    assert done.status == 4
    found = samples(done.stdout)
    assert of(found, "filesystem_answers", "mountpoint")[("/media/dead",)] == 0
    assert of(found, "filesystem_answers", "mountpoint")[("/media/alive",)] == 1
    assert found["diskmgt_collection_success", ()] == 0
    assert ("mount-does-not-answer", "/media/dead") in of(found, "collection_gap", "rule", "of")
    assert "/media/dead" not in [dict(labels).get("mountpoint") for name, labels in found if name.endswith("_bytes")]


def test_hidden_file_system_has_no_space(metrics):
    found = samples(metrics("volumes-root"))  # the described mount table is not the one of the files there
    hidden = (("device", "/dev/mapper/vg-root"), ("fstype", "ext4"), ("mountpoint", "/"))
    assert found["diskmgt_filesystem_measured", hidden] == 0
    assert {name for name, labels in found if labels == hidden} == {"diskmgt_filesystem_measured",
                                                                    "diskmgt_filesystem_readonly"}


def test_partitions_are_counted_as_the_kernel_has_them(metrics):
    found = samples(metrics("sysfs-against-tables"))
    assert of(found, "drive_partitions", "device") == {("/dev/sda",): 0, ("/dev/sdb",): 2, ("/dev/sdc",): 0,
                                                       ("/dev/sdd",): 0}
    assert of(found, "device_differs", "device", "what") == {("/dev/sdb", "partitionCount"): 1,
                                                             ("/dev/sdc", "partitionCount"): 1}
