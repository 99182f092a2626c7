"""The metrics of described machines, as a real node exporter reads them and hands them on."""

import re
import shutil
import subprocess
import urllib.request

import pytest
from prometheus_client.parser import text_string_to_metric_families

MACHINES = ["mounted-file-systems", "whole-server", "odd-extended-chains", "gpt-128-entries", "hostile-names"]
EXPORTER = shutil.which("prometheus-node-exporter")


def samples(text):
    return {(sample.name, tuple(sorted(sample.labels.items()))): sample.value
            for family in text_string_to_metric_families(text) for sample in family.samples}


@pytest.fixture
def metrics(machine, diskmgt):
    def export(name):
        return machine(name).run([diskmgt, "export", "prometheus"]).stdout

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
    written = samples(metrics(name))
    served = samples(exporter(metrics(name)))
    assert served["node_textfile_scrape_error", ()] == 0
    handed_on = {series: value for series, value in served.items() if series[0].startswith("diskmgt_")}
    timing = {series for series in written if series[0].startswith("diskmgt_collection_")}
    assert handed_on.keys() == written.keys()
    assert all(handed_on[series] == value for series, value in written.items() if series not in timing)


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


def test_space_of_another_file_system_is_not_claimed(metrics):
    found = samples(metrics("mount-table"))
    gone = (("device", "/dev/sda1"), ("fstype", "ext4"), ("mountpoint", "/media/gone"))
    assert found["diskmgt_filesystem_measured", gone] == 0
    assert not [name for name, labels in found if labels == gone and name.endswith("_bytes")]


def test_partitions_are_counted_as_published(metrics, machine, get):
    found = samples(metrics("sysfs-against-tables"))
    for drive in get(machine("sysfs-against-tables"), ["VEXSG_DiskDrive"])["classes"][0]["instances"]:
        published = drive["properties"]
        assert found["diskmgt_drive_partitions", (("device", published["DeviceID"]),)] == published["NoOfPartitions"]


def test_drive_of_a_partition_is_the_one_it_is_named_after(metrics):
    drives = {dict(labels)["device"]: dict(labels)["drive"] for name, labels in samples(metrics("ambiguous-names"))
              if name == "diskmgt_partition_size_bytes"}
    assert drives and all(re.fullmatch(re.escape(drive) + r"p?[0-9]+", device) for device, drive in drives.items() if drive)
