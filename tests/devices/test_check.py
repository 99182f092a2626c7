"""check on every described machine: the plug-in is good, and what the disks cause is a remark."""

import pytest

from conftest import MACHINES, write_machine
from machine.session import Session

NAMES = sorted(folder.name for folder in MACHINES.iterdir())


@pytest.fixture(scope="module")
def check(machine, diskmgt):
    def ask(name, *options):
        session = machine(name)
        virtual = [word for text in session.machine.virtual_devices for word in ("--virtual-device", text)]
        return session.run([diskmgt, "check", "--format", "json", *virtual, *options], check=False)
    return ask


def remarks(document):
    return [(check["name"], remark.get("class"), remark["text"])
            for check in document["checks"] for remark in check["remarks"]]


@pytest.mark.parametrize("name", NAMES)
def test_plugin_is_good_on_every_machine(check, name):
    done = check(name)
    assert [failure for found in done.json()["checks"] for failure in found["failures"]] == []
    assert (done.status, done.json()["verdict"], done.stderr) == (0, "good", "")


@pytest.mark.parametrize("name", ["ambiguous-names", "odd-tables", "tour"])
def test_plugin_survives_each_failing_crossing(check, name):
    done = check(name, "--thorough", "--timeout", "100")
    assert [failure for found in done.json()["checks"] for failure in found["failures"]] == []
    assert done.status == 0


def test_equal_keys_by_two_extended_partitions_are_a_remark(check):
    found = [(class_name, text) for name, class_name, text in remarks(check("odd-tables").json()) if name == "keys"]
    assert any(class_name == "VEXSG_DiskPartition" and text.endswith(": their disk has 2 extended partitions")
               for class_name, text in found)
    assert any(class_name == "VEXSG_PartitionPresent" and text.endswith(": what they pair has its keys twice too")
               for class_name, text in found)


def test_partitions_called_by_a_bare_number_are_a_remark(check):
    found = remarks(check("nvme-without-nodes").json())
    assert [text.rpartition(": ")[2] for name, _, text in found if name == "keys"] == \
           ["partitions without a node of their own are called by their number alone"] * 2


def test_pairs_by_alike_names_are_listed_as_remarks(check):
    found = remarks(check("software-raid").json())
    assert ("pairs", "VEXSG_PartitionPresent",
            "/dev/md1271 is paired with /dev/md1 because the names are alike; it belongs to /dev/md127") in found


def test_classes_that_would_wait_for_ever_are_left_out_with_a_remark(diskmgt, tmp_path):
    with Session(write_machine(tmp_path, about="A FIFO under the name of a disk.", sys_block=[])) as server:
        server.run(["mkfifo", "/dev/sda"])
        done = server.run([diskmgt, "check", "--format", "json", "--timeout", "5"], check=False)
    assert (done.status, done.json()["verdict"]) == (0, "good")
    left_out = {class_name: text for name, class_name, text in remarks(done.json()) if name == "serves" and class_name}
    assert left_out["VEXSG_DiskPartition"].startswith("not asked for: /dev/sda is a FIFO")
    assert left_out["VEXSG_PartitionPresent"] == "not asked for: it pairs VEXSG_DiskPartition"
    assert not set(left_out) & {found["name"] for found in done.json()["classes"]}


def test_a_table_shows_a_few_findings_of_a_class_and_json_all(check, machine, diskmgt):
    found = [text for name, class_name, text in remarks(check("storage-node").json())
             if (name, class_name) == ("pairs", "VEXSG_MediaPresent")]
    assert len(found) > 30
    table = machine("storage-node").run([diskmgt, "check"]).stdout
    assert table.count("because the names are alike") == 5
    assert f"{len(found) - 5} more like these: --format json has all\n" in table
