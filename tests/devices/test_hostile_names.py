"""Every form of output stays well-formed on a machine whose mount table is written by an enemy."""

import csv
import io
import json
import shutil
import subprocess
import sys
from pathlib import Path

import pytest
from prometheus_client.parser import text_string_to_metric_families

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "support"))

from conftest import MACHINES, write_machine
from machine.session import Session

from browser import CHROMIUM, PAGE, Browser  # noqa: E402
from mof_reader import MofError, Reading, read_mof  # noqa: E402
from page_reader import Page  # noqa: E402

DISK = "VEXSG_LogicalDisk"
WRITTEN = ["\"/><script>x</script>", "/dev/sda1", "<b>bold</b>", "bad\ufffd", "bad\ufffd", "bell\x07\x1b[31m", "line\nend",
           "turn\u202e"]  # the sources, bytes that are no UTF-8 replaced
PLACE = "/media/all \"of\" \\it\nin, one\ufffd"


@pytest.fixture
def run(machine, diskmgt):
    def ask(*arguments, status=0):
        result = machine("hostile-names").run([diskmgt, *arguments], check=False)
        assert result.status == status, result.stderr
        result.stdout.encode("utf-8")  # fails for bytes that are not UTF-8
        return result

    return ask


@pytest.fixture(scope="module")
def export(tmp_path_factory, diskmgt):
    """The same with the kernel's mount table as hostile as the file: export(form) is what is written."""
    described = json.loads((MACHINES / "hostile-names" / "machine.json").read_text(encoding="utf-8"))
    mounts = [line.split(" ") for line in described["mtab"]]
    described["mountinfo"] = [f"{900 + at} 1 0:{900 + at} / {point} {options} - {kind} {source} rw"
                              for at, (source, point, kind, options, *_) in enumerate(mounts)]
    with Session(write_machine(tmp_path_factory.mktemp("hostile"), **described)) as session:
        yield lambda form: session.run([diskmgt, "export", form]).stdout


def test_json(run):
    instances = json.loads(run("get", DISK).stdout)["classes"][0]["instances"]
    assert [instance["properties"]["DeviceID"] for instance in instances] == WRITTEN


def test_inventory_json_keeps_the_mount_point_whole(export):
    mounts = [mount for shown in json.loads(export("json"))["diskmgt"]["fileSystems"] for mount in shown["mounts"]]
    assert PLACE in [mount["mountPoint"] for mount in mounts]


def test_inventory_json_has_each_published_name_once(run):
    inventory = run("export", "json", "--all").json()["diskmgt"]
    paths = [instance["path"] for instance in inventory["instances"][DISK]]
    assert len(paths) == len(WRITTEN)
    assert [only["instance"] for only in inventory["cimOnly"] if only["instance"] in paths] == paths


def test_csv(run):
    rows = list(csv.DictReader(io.StringIO(run("get", DISK, "--format", "csv").stdout, newline="")))
    assert [row["DeviceID"] for row in rows] == WRITTEN
    assert rows[1]["OtherIdentifyingInfo"] == PLACE


def test_table_is_one_line_an_instance(run):
    lines = run("get", DISK, "--format", "table").stdout.splitlines()
    assert len(lines) == 2 + len(WRITTEN)
    assert not [letter for line in lines for letter in line if ord(letter) < 32 or 127 <= ord(letter) < 160]


def test_nothing_for_people_turns_the_direction_of_writing(run):
    for arguments in (["tree", "--all"], ["explain"], ["export", "html"], ["get", DISK, "--format", "table"]):
        assert "turn" in run(*arguments).stdout
        assert "\u202e" not in run(*arguments).stdout


def test_prometheus(export):
    text = export("prometheus")
    assert all(line.startswith(("# HELP diskmgt_", "# TYPE diskmgt_", "diskmgt_")) for line in text.split("\n")[:-1])
    series = [(sample.name, tuple(sample.labels.items())) for family in text_string_to_metric_families(text)
              for sample in family.samples]
    assert len(series) == len(set(series))
    places = {labels["device"]: labels["mountpoint"] for name, labels in ((name, dict(labels)) for name, labels in series)
              if name == "diskmgt_filesystem_measured"}
    assert set(places) == set(WRITTEN) - {"\"/><script>x</script>", "/dev/sda1"}  # of no known type; on no device
    assert places["line\nend"] == "/media/\n# HELP x"
    if shutil.which("promtool"):
        checked = subprocess.run(["promtool", "check", "metrics"], input=text, text=True, capture_output=True, check=False)
        assert (checked.returncode, checked.stderr) == (0, "")


def test_mof_holds_every_key_once(run):
    result = run("export", "mof")
    reading = read_mof(result.stdout.encode("utf-8"))
    disks = [values for name, values in reading.instances if name == DISK]
    assert [disk["DeviceID"] for disk in disks] == [name for at, name in enumerate(WRITTEN) if name not in WRITTEN[:at]]
    assert disks[1]["OtherIdentifyingInfo"] == PLACE.split(",")
    said, = result.stderr.splitlines()
    assert said.startswith("diskmgt: left out") and 'DeviceID="bad\\xf' in said


def test_mof_of_a_request(run):
    schema = run("classes", "--format", "mof").stdout
    with pytest.raises(MofError, match="these keys"):  # a request shows everything published, equal keys too
        Reading(schema + run("get", DISK, "--format", "mof").stdout)
    read = Reading(schema + run("get", "VEXSG_DiskDrive", "VEXSG_DiskPartition", "--format", "mof").stdout)
    assert len(read.instances) == 2


def test_names_are_text_in_the_page(export):
    page = Page(export("html"))
    assert page.strangers == set()
    assert "/media/<script>alert(1)</script><img src=x>&amp;'" in page.text
    assert "line\\x0aend" in page.text and "bell\\x07\\x1b[31m" in page.text and "bad\\xff" in page.text
    assert "',\"<o>" in page.values("title")


@pytest.mark.skipif(not CHROMIUM, reason="the package chromium is missing")
def test_names_are_no_elements_to_a_browser(export, tmp_path):
    written = export("html")
    with Browser(written.encode("utf-8"), tmp_path) as browser:
        seen = Page(browser.elements())
        assert seen.elements == Page(written).elements
        assert browser.requests == [PAGE]
    assert seen.strangers == set()
