"""A FIFO or a terminal under the name of a disk keeps the plug-in waiting. The views name it and do not wait."""

import json

import pytest

from conftest import write_machine
from machine.session import Session

DESCRIPTION = {
    "about": "A FIFO beside a disk with two partitions.",
    "disks": [{"name": "sdb", "size": "16 MiB",
               "table": [{"sgdisk": ["-n 1:2048:+4M -t 1:8300 -n 2:0:+2M -t 2:8200"]}]}],
    "sys_block": [{"name": "sdb", "size": 32768, "dev": "8:16", "directories": ["sdb1", "sdb2"]},
                  {"name": "sda", "size": 32768, "dev": "8:0", "directories": ["sda1"]}],
    "mounts": [{"at": "/media/alive", "source": "tmpfs", "type": "tmpfs", "options": "size=1m"}],
    "mtab": ["alive /media/alive tmpfs rw 0 0"],
}
KINDS = {"fifo": (["mkfifo", "PATH"], "a FIFO"),
         # The multiplexer of pseudo-terminals, a character device that every system has.
         "terminal": (["mknod", "PATH", "c", "5", "2"], "a character device"),
         "link": (["sh", "-c", "mkfifo /dev/elsewhere; ln -s /dev/elsewhere PATH"], "a FIFO")}
PARTITIONS = ["VEXSG_DiskPartition", "VEXSG_PartitionPresent", "VEXSG_LogicalDiskBasedOnPartition"]
DRIVES = ["VEXSG_DiskDrive", "VEXSG_PartitionPresent", "VEXSG_MediaPresent"]


@pytest.fixture(scope="module")
def server(tmp_path_factory):
    with Session(write_machine(tmp_path_factory.mktemp("server"), **DESCRIPTION)) as session:
        yield session


@pytest.fixture(params=KINDS)
def plant(request, server):
    """plant(path) puts a node that never answers there and returns what it is called."""
    planted = []
    command, kind = KINDS[request.param]

    def put(path):
        planted.append(path)
        server.run([word.replace("PATH", path) for word in command])
        return kind

    yield put
    server.run(["rm", "-f", "/dev/elsewhere", *planted])


def sentence(path, kind):
    return f"{path} is {kind} and no block device, so a request of the plug-in may wait there for ever; remove {path}"


def ask(server, diskmgt, *words, status):
    done = server.run([diskmgt, *words], check=False)
    assert done.status == status, done.stderr
    return done


def missing(document):
    return sorted(gap["of"] for gap in document["diskmgt"]["incomplete"] if gap["of"].startswith("VEXSG_"))


def rules(verdict):
    return [reason["rule"] for reason in verdict["reasons"]]


def test_export_leaves_out_partitions_alone_for_a_name_that_only_they_try(server, diskmgt, plant):
    kind = plant("/dev/md3")
    done = ask(server, diskmgt, "export", "json", status=1)
    document = done.json()
    assert done.stderr == f"diskmgt: not served: {', '.join(PARTITIONS)}: {sentence('/dev/md3', kind)}\n"
    assert missing(document) == sorted(PARTITIONS)
    assert document["diskmgt"]["complete"] is False
    gaps = {gap["of"]: gap for gap in document["diskmgt"]["incomplete"]}
    assert {gap["rule"] for name, gap in gaps.items() if name != "/dev/sda"} == {"not-a-block-device"}  # which has no node
    assert sentence("/dev/md3", kind) in gaps["/dev/md3"]["text"] and sentence("/dev/md3", kind) in gaps[PARTITIONS[0]]["text"]
    drives = document["diskmgt"]["instances"]["VEXSG_DiskDrive"]
    assert [drive["properties"]["DeviceID"] for drive in drives] == ["/dev/sdb"]
    disks = document["diskmgt"]["instances"]["VEXSG_LogicalDisk"]
    assert [disk["properties"]["DeviceID"] for disk in disks] == ["alive"]


def test_export_leaves_out_drives_too_where_the_kernel_lists_the_name(server, diskmgt, plant):
    kind = plant("/dev/sda")
    done = ask(server, diskmgt, "export", "json", status=1)
    assert missing(done.json()) == sorted({*PARTITIONS, *DRIVES})
    assert done.stderr.count("\n") == 1 and done.stderr.endswith(sentence("/dev/sda", kind) + "\n")


def test_tree_says_that_it_is_not_all(server, diskmgt, plant):
    plant("/dev/md3")
    tree = ask(server, diskmgt, "tree", status=1)
    assert "sdb" in tree.stdout and "Time ran out" not in tree.stdout
    assert f"not served: {', '.join(PARTITIONS)}" in tree.stderr
    page = ask(server, diskmgt, "export", "html", status=1).stdout
    gaps = page.split("This page is not complete")[1].split("</section>")[0]
    assert all(name in gaps for name in PARTITIONS)
    assert "time ran out" not in page and "/dev/md3 is a" in gaps
    assert "\ndiskmgt_collection_success 0\n" in ask(server, diskmgt, "export", "prometheus", status=1).stdout


def test_explain_names_it_and_compares_the_rest(server, diskmgt, plant):
    kind = plant("/dev/sda")
    document = ask(server, diskmgt, "explain", "--format", "json", status=1).json()
    devices = {device["path"]: device for device in document["devices"]}
    assert rules(devices["/dev/sda"]["drive"]) == rules(devices["/dev/sda"]["partitions"]) == ["not-a-block-device"]
    assert sentence("/dev/sda", kind) in devices["/dev/sda"]["drive"]["reasons"][0]["text"]
    assert devices["/dev/sdb"]["drive"]["reported"] and devices["/dev/sdb"]["partitions"]["count"] == 2
    assert any(sentence("/dev/sda", kind) in told for told in document["diagnosis"])
    assert "plug-in-disagrees" not in json.dumps(document) and "answer" not in json.dumps(document)


def test_explain_named_does_not_open_it(server, diskmgt, plant):
    plant("/dev/sda")
    document = ask(server, diskmgt, "explain", "sda", "sda1", "sdb", "--format", "json", status=1).json()
    assert [rules(device["partitions"])[0:1] for device in document["devices"]] == \
        [["not-a-block-device"]] * 3  # of the last only why it is not known: by the rules it is reported
    assert [(device["partitions"]["known"], device["partitions"]["reported"]) for device in document["devices"]] == \
        [(False, False), (False, False), (False, True)]


def test_explain_of_a_name_outside_the_kernels_list(server, diskmgt, plant):
    plant("/dev/md3")
    device, = ask(server, diskmgt, "explain", "md3", "--format", "json", status=1).json()["devices"]
    assert (rules(device["drive"]), rules(device["partitions"])) == (["not-in-sysfs"], ["not-a-block-device"])


@pytest.mark.parametrize("plant", ["fifo", "link"], indirect=True)  # opening this terminal does not wait
def test_request_waits_there_to_its_limit_and_says_where(server, diskmgt, plant):
    plant("/dev/sda")
    done = ask(server, diskmgt, "get", "VEXSG_DiskPartition", "--timeout", "0.5", status=4)
    assert "gave up after 0.5 s while serving VEXSG_DiskPartition" in done.stderr


def test_node_that_is_never_opened_costs_nothing(server, diskmgt, plant):
    plant("/dev/dm-0")
    document = ask(server, diskmgt, "export", "json", status=1).json()["diskmgt"]
    assert [gap["of"] for gap in document["incomplete"]] == ["/dev/sda"]  # which has no node
    plant("/dev/sda")
    document = ask(server, diskmgt, "export", "json", "--virtual-device", "/dev/sda", status=1).json()
    assert missing(document) == sorted(PARTITIONS)  # drives leave a virtual device alone, partitions do not


def test_node_that_answers_at_once_stays_served(server, diskmgt):
    server.run(["mknod", "/dev/sdc", "c", "1", "3"])
    document = ask(server, diskmgt, "export", "json", status=1).json()["diskmgt"]
    server.run(["rm", "/dev/sdc"])
    assert [gap["of"] for gap in document["incomplete"]] == ["/dev/sda"]  # which has no node


def test_node_without_the_right_to_read_is_refused_at_once(server, diskmgt, plant):
    plant("/dev/sda")
    server.run(["chmod", "0600", "/dev/sda"])
    nobody = ["setpriv", "--reuid", "65534", "--regid", "65534", "--clear-groups", "--no-new-privs"]
    done = server.run([*nobody, diskmgt, "export", "json"], check=False)
    gaps = {gap["of"]: gap["rule"] for gap in done.json()["diskmgt"]["incomplete"]}
    assert (done.status, gaps["/dev/sda"]) == (1, "open-failed")
    assert not [name for name in gaps if name.startswith("VEXSG_")]
