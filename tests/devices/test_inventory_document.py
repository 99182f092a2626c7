"""The document of "diskmgt export json" on every machine: it keeps to its schema, it has what the machine has, and each
published instance is found in it once."""

import copy
import json
from collections import Counter

import pytest

from conftest import MACHINES, write_machine
from machine.account import described_part, read_account
from machine.session import Session

jsonschema = pytest.importorskip("jsonschema", reason="python3-jsonschema is missing")

SCHEMA_FILE = MACHINES.parent.parent / "share" / "inventory.schema.json"
NAMES = sorted(folder.name for folder in MACHINES.iterdir())
DESCRIBED = sorted(name for name in NAMES if (MACHINES / name / "account.json").exists())
EVERY_PART = ["whole-server", "ambiguous-names", "mounted-file-systems", "cloud-server", "subvolumes"]
CLASSES = ["VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk"]
ASSOCIATIONS = ["VEXSG_PartitionPresent", "VEXSG_MediaPresent", "VEXSG_LogicalDiskBasedOnPartition"]
FIGURES = ["total", "free", "available", "rule"]  # of mounts; a described mount has none, or by chance another one's
ORDINARY = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"]


@pytest.fixture(scope="module")
def schema():
    return json.loads(SCHEMA_FILE.read_text(encoding="utf-8"))


@pytest.fixture(scope="module")
def validator(schema):
    return jsonschema.Draft202012Validator(schema)


@pytest.fixture(scope="module")
def exported(machine, diskmgt):
    """exported(name, words, prefix) is the exit status, the document and standard error of a machine, which is asked
    once while it runs: one that was built anew has other numbers and mounts."""
    answers = {}

    def ask(name, words=("--all",), prefix=()):
        session = machine(name)
        key = (name, session.init, tuple(words), tuple(prefix))
        if key not in answers:
            virtual = [word for text in session.machine.virtual_devices for word in ("--virtual-device", text)]
            result = session.run([*prefix, diskmgt, "export", "json", *words, *virtual], check=False)
            answers[key] = (result.status, result.json(), result.stderr)
        return copy.deepcopy(answers[key])

    return ask


@pytest.fixture(scope="module")
def export(exported):
    """export(name) is what lies below the document's one name, pseudo file systems included."""
    return lambda name: exported(name)[1]["diskmgt"]


@pytest.mark.unprivileged
def test_schema_is_itself_well_formed(schema):
    jsonschema.Draft202012Validator.check_schema(schema)


@pytest.mark.parametrize("name", NAMES)
def test_document_keeps_to_its_schema(validator, exported, name):
    status, document, said = exported(name)
    validator.validate(document)
    assert status == (0 if document["diskmgt"]["complete"] else 1), said


@pytest.mark.parametrize("name", NAMES)
def test_document_of_an_ordinary_user_keeps_to_its_schema(validator, exported, name):
    validator.validate(exported(name, prefix=ORDINARY)[1])


def places(value, path=()):
    """Every (path, value) inside a document but for the plain instances."""
    yield path, value
    children = value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else ()
    for key, child in children:
        if key != "instances":
            yield from places(child, (*path, key))


def at(document, path):
    for key in path:
        document = document[key]
    return document


def is_refused(validator, document, path, key, wrong):
    """Whether the document fails with that value there; it is then as before."""
    parent = at(document, path)
    has_it = key in parent if isinstance(parent, dict) else True
    before = parent[key] if has_it else None
    parent[key] = wrong
    refused = not validator.is_valid(document)
    if has_it:
        parent[key] = before
    else:
        del parent[key]
    return refused


def different_places(document):
    """One place of each form: a path with its positions in lists left out stands for all of them."""
    seen = {}
    for path, value in places(document):
        form = tuple(key for key in path if not isinstance(key, int))
        seen.setdefault((form, isinstance(path[-1] if path else None, int)), (path, value))
    return seen.values()


@pytest.mark.parametrize("name", EVERY_PART)
def test_null_is_nowhere(validator, exported, name):
    document = exported(name, ["--compact"])[1]
    for path, value in list(different_places(document))[1:]:
        assert is_refused(validator, document, path[:-1], path[-1], None), path
        if isinstance(value, list):
            assert is_refused(validator, document, path[:-1], path[-1], [None]), path


@pytest.mark.parametrize("name", EVERY_PART)
def test_unknown_keys_are_nowhere(validator, exported, name):
    document = exported(name, ["--compact"])[1]
    for path, value in different_places(document):
        if isinstance(value, dict):
            assert is_refused(validator, document, path, "somethingNew", 1), path


@pytest.mark.parametrize("change", [
    {"schema": 2}, {"schema": "1"}, {"complete": False}, {"incomplete": [{"rule": "r", "of": "x", "text": "t"}]},
    {"collectedAt": "yesterday"}, {"devices": {}}, {"instances": []}, {"instances": {"VEXSG_DiskDrive": [{}]}},
    {"drives": []}, {"cimOnly": [{"instance": "x"}]}, {"pseudoFileSystems": -1}])
def test_wrong_document_fails(validator, exported, change):
    document = exported("whole-server")[1]
    document["diskmgt"].update(change)
    assert not validator.is_valid(document)


@pytest.mark.parametrize("key, wrong", [
    ("kind", "drive"), ("path", "sda"), ("number", "8"), ("on", ["sda", "sda"]), ("hidden", False), ("readOnly", False),
    ("model", ""), ("partition", {"number": 1}), ("mountsAt", "sdb"), ("mounts", []),
    ("cim", {"drive": {"known": False}}), ("cim", {"drive": {"known": True, "reported": False}}), ("cim", {})])
def test_wrong_disk_fails(validator, exported, key, wrong):
    document = exported("cloud-server")[1]
    disk = next(device for device in document["diskmgt"]["devices"] if device["name"] == "sda")
    disk[key] = wrong
    assert validator.is_valid(document) is (key == "mountsAt")


@pytest.mark.parametrize("wrong", [{"mountsAt": "sdb"}, {"cim": {"drive": {"known": False, "rule": "not-root"}}},
                                   {"mounts": [{"mountPoint": "/", "root": "/", "fileSystem": "ext4", "options": "rw"}]}])
def test_wrong_mounted_device_fails(validator, exported, wrong):
    document = exported("cloud-server")[1]
    next(device for device in document["diskmgt"]["devices"] if "mounts" in device).update(wrong)
    assert not validator.is_valid(document)


def test_sizes_are_whole_bytes_up_to_64_bits(validator, exported):
    document = exported("whole-server")[1]
    for size, fits in ((0, True), (2**64 - 1, True), (2**64, False), (-1, False), (1.5, False), ("1", False)):
        document["diskmgt"]["devices"][0]["size"] = size
        assert validator.is_valid(document) is fits, size


# --- what CIM publishes ---


@pytest.mark.parametrize("name", NAMES)
def test_plain_instances_are_those_of_get(machine, export, get, name):
    instances = export(name)["instances"]
    answer = get(machine(name), [*CLASSES, *ASSOCIATIONS])
    published = {found["name"]: found["instances"] for found in answer["classes"]}
    for disk in published["VEXSG_LogicalDisk"] + instances["VEXSG_LogicalDisk"]:
        for key in ("FreeSpace", "MountOptions"):  # what is free moves, and a machine built anew has new identifiers
            disk["properties"].pop(key, None)
    assert published == {key: instances[key] for key in published} and len(instances) == 6


def instances_reached(document):
    """How often each instance is named outside the plain instances."""
    return Counter(value for path, value in places(document) if path and path[-1] == "instance")


def published_paths(document):
    return Counter(instance["path"] for name in CLASSES for instance in document["instances"].get(name, []))


@pytest.mark.parametrize("name", NAMES)
def test_every_published_instance_is_reached_once(export, name):
    document = export(name)
    assert instances_reached(document) == published_paths(document)


@pytest.mark.parametrize("name", NAMES)
def test_without_pseudo_file_systems_only_theirs_are_not_reached(exported, name):
    whole, short = (exported(name, words)[1]["diskmgt"] for words in (["--all"], []))
    pseudo = [entry for entry in whole["fileSystems"] if entry["kind"] == "pseudo"]
    count = sum(len(entry["mounts"]) for entry in pseudo)
    assert whole["pseudoFileSystems"] == short["pseudoFileSystems"] == count
    assert instances_reached(whole) - instances_reached(short) == instances_reached(pseudo)
    assert "pseudo" not in {entry["kind"] for entry in short["fileSystems"]}


def test_device_that_is_mounted_from_two_sources_has_the_second_instance_at_its_mount(tmp_path, diskmgt):
    folder = write_machine(
        tmp_path, disks=[{"name": "sda", "size": 32768}],
        nodes=[{"name": "mapper/alias", "kind": "link", "target": "../sda"}],
        sys_block=[{"name": "sda", "size": 32768, "dev": "8:0"}],
        mtab=["/dev/sda /mnt ext4 rw 0 0", "/dev/mapper/alias /more ext4 rw 0 0", "/dev/sda /again ext4 rw 0 0"],
        mountinfo=["20 1 {sda} / /mnt rw - ext4 /dev/sda rw", "21 1 {sda} / /more rw - ext4 /dev/mapper/alias rw",
                   "22 1 {sda} / /again rw - ext4 /dev/sda rw"])
    with Session(folder) as session:
        document = session.run([diskmgt, "export", "json"], check=False).json()["diskmgt"]
    device, = document["devices"]
    assert device["cim"]["logicalDisk"]["as"] == "/dev/sda"
    found = {mount["mountPoint"]: mount.get("cim", {}).get("logicalDisk", {}).get("as") for mount in device["mounts"]}
    assert found == {"/mnt": None, "/more": "/dev/mapper/alias", "/again": None}
    assert instances_reached(document) == published_paths(document)


@pytest.mark.parametrize("name", NAMES)
def test_compact_leaves_the_instances_out_and_nothing_else(exported, name):
    whole, compact = (exported(name, words)[1]["diskmgt"] for words in (["--all"], ["--all", "--compact"]))
    del whole["instances"]
    moving = ("collectedAt", *FIGURES)

    def steady(value):
        if isinstance(value, dict):
            return {key: steady(child) for key, child in value.items() if key not in moving}
        return [steady(child) for child in value] if isinstance(value, list) else value

    assert steady(compact) == steady(whole)


@pytest.mark.parametrize("name", NAMES)
def test_what_differs_is_what_the_two_accounts_have_otherwise(export, name):
    for device in export(name)["devices"]:
        for kind, said in device["cim"].items():
            if kind == "logicalDisk" or not said.get("reported"):
                continue
            differs = set(said["differs"])
            assert ("name" in differs) == (said["as"] != device["path"])
            is_extended = said.get("type") == 2  # the kernel gives it another size, which is no difference
            if "size" in device and not is_extended:
                assert ("size" in differs) == (said["size"] != device["size"]), device["name"]
            if "start" in said:
                assert ("start" in differs) == (said["start"] != device["partition"].get("start")), device["name"]
            if kind == "drive":
                partitions = [other for other in export(name)["devices"]
                              if other["kind"] == "partition" and "partition" in other["cim"]
                              and other["on"] == [device["name"]]]
                assert ("partitionCount" in differs) == (said["partitionCount"] != len(partitions)), device["name"]


# --- the machine ---


@pytest.mark.parametrize("name", DESCRIBED)
def test_devices_are_the_described_ones(export, name):
    account, devices = read_account(MACHINES / name), export(name)["devices"]
    assert [device["name"] for device in devices] == [row["name"] for row in account["devices"]]
    by_name = {device["name"]: device for device in devices}
    for row in account["devices"]:
        row.pop("links", None)  # not in the document
        device = {"readOnly": False, "removable": False, **by_name[row["name"]]}
        if "mountsAt" in device:
            device = {**device, "mounts": by_name[device["mountsAt"]]["mounts"]}
        assert described_part(device, row) == row


@pytest.mark.parametrize("name", DESCRIBED)
def test_mounts_on_no_device_are_the_described_ones(export, name):
    account, document = read_account(MACHINES / name), export(name)
    rows = [(entry["source"], entry["kind"], mount["mountPoint"], mount["fileSystem"])
            for entry in document["fileSystems"] for mount in entry["mounts"]]
    expected = Counter((entry["source"], entry["kind"], point) for entry in account["fileSystems"]
                       for point in entry["mounts"])
    # An account calls the kernel's own /dev memory; the document counts it with the kernel's other views.
    found = Counter((source, "memory" if kind_of_file_system == "devtmpfs" else kind, point)
                    for source, kind, point, kind_of_file_system in rows)
    assert Counter({row: count for row, count in found.items() if row[1] != "pseudo"}) == expected
    assert found.total() - expected.total() == account["pseudoFileSystems"]


@pytest.mark.parametrize("name", NAMES)
def test_sums_of_parts_fit(export, name):
    document = export(name)
    by_name = {device["name"]: device for device in document["devices"]}
    assert len(by_name) == len(document["devices"])
    for device in document["devices"]:
        assert set(device["on"]) <= set(by_name) - {device["name"]}
        for mount in device.get("mounts", []):
            assert mount.get("available", 0) <= mount.get("free", 0) <= mount.get("total", 0)
        if "mountsAt" in device:
            assert by_name[device["mountsAt"]]["mounts"] and "mounts" not in device
    partitions = Counter(device["on"][0] for device in document["devices"]
                         if device["kind"] == "partition" and "partition" in device["cim"])
    for name_of_disk, count in partitions.items():
        drive = by_name[name_of_disk]["cim"]["drive"]
        if drive.get("reported") and "partitionCount" not in drive["differs"]:
            assert drive["partitionCount"] == count


def test_model_of_a_drive_has_no_filling_blanks(export):
    models = {device["name"]: device.get("model") for device in export("management-controller-over-usb")["devices"]}
    assert models["sda"] == "Virtual Disk"


# --- what is not complete ---


@pytest.mark.parametrize("name", NAMES)
def test_ordinary_user_sees_the_same_rows_and_cim_unknown(exported, name):
    of_root = exported(name)[1]["diskmgt"]
    status, document, said = exported(name, prefix=ORDINARY)
    document = document["diskmgt"]
    assert status == 1 and not document["complete"] and "the account is not complete" in said

    def rows(value):
        """Without what CIM, the plug-in's reading of the tables, or the rights to a mount point give."""
        if isinstance(value, dict):
            return {key: rows(child) for key, child in value.items()
                    if key not in ("cim", *FIGURES, "table", "type", "typeName", "bootable")}
        return [rows(child) for child in value] if isinstance(value, list) else value

    for part in ("devices", "fileSystems", "pseudoFileSystems"):
        assert rows(document[part]) == rows(of_root[part])
    logical_disks = [entry["cim"]["logicalDisk"] for entry in document["devices"] + document["fileSystems"]
                     if "logicalDisk" in entry["cim"]]
    assert all(not answer["known"] for answer in logical_disks) or "mount-table-not-opened" in str(of_root["incomplete"])
    for answer, other in ((answer, other) for device, other_device in zip(document["devices"], of_root["devices"])
                          for answer, other in zip(device["cim"].values(), other_device["cim"].values())):
        assert not answer.get("reported", False)
        if other.get("reported"):
            assert answer == {"known": False, "rule": answer["rule"]}
    assert {gap["rule"] for gap in document["incomplete"]} <= {"open-failed", "mount-table-not-opened",
                                                               "block-list-not-read"}

