"""The document of "diskmgt export json" on every machine: it keeps to its schema, and it says what is there."""

import copy
import json

import pytest

from conftest import MACHINES, write_machine
from machine.session import Session

jsonschema = pytest.importorskip("jsonschema", reason="python3-jsonschema is missing")

SCHEMA_FILE = MACHINES.parent.parent / "share" / "inventory.schema.json"
NAMES = sorted(folder.name for folder in MACHINES.iterdir())
EVERY_PART = ["whole-server", "ambiguous-names", "mounted-file-systems"]


@pytest.fixture(scope="module")
def schema():
    return json.loads(SCHEMA_FILE.read_text(encoding="utf-8"))


@pytest.fixture(scope="module")
def validator(schema):
    return jsonschema.Draft202012Validator(schema)


@pytest.fixture(scope="module")
def export(machine, diskmgt):
    """The document of a machine; each machine is asked once."""
    documents = {}

    def ask(name):
        if name not in documents:
            session = machine(name)
            virtual = [word for text in session.machine.virtual_devices for word in ("--virtual-device", text)]
            result = session.run([diskmgt, "export", "json", *virtual], check=False)
            assert result.status in (0, 1), result.stderr
            documents[name] = result.json()
        return copy.deepcopy(documents[name])

    return ask


@pytest.mark.unprivileged
def test_schema_is_itself_well_formed(schema):
    jsonschema.Draft202012Validator.check_schema(schema)


@pytest.mark.parametrize("name", NAMES)
def test_document_keeps_to_its_schema(validator, export, name):
    validator.validate(export(name))


def places(value, path=()):
    """Every (path, value) inside a document but for the plain instances."""
    yield path, value
    children = value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else ()
    for key, child in children:
        if key != "instances":
            yield from places(child, (*path, key))


def parent_of(document, path):
    for key in path[:-1]:
        document = document[key]
    return document


@pytest.mark.parametrize("name", EVERY_PART)
def test_null_is_nowhere(validator, export, name):
    document = export(name)
    for path, _ in list(places(document))[1:]:
        wrong = copy.deepcopy(document)
        parent_of(wrong, path)[path[-1]] = None
        assert not validator.is_valid(wrong), path


@pytest.mark.parametrize("name", EVERY_PART)
def test_list_with_null_is_nowhere(validator, export, name):
    document = export(name)
    for path, value in places(document):
        if isinstance(value, list):
            wrong = copy.deepcopy(document)
            parent_of(wrong, path)[path[-1]] = [None]
            assert not validator.is_valid(wrong), path


@pytest.mark.parametrize("name", EVERY_PART)
def test_unknown_keys_stand_nowhere(validator, export, name):
    document = export(name)
    for path, value in places(document):
        if isinstance(value, dict):
            wrong = copy.deepcopy(document)
            at = wrong
            for key in path:
                at = at[key]
            at["somethingNew"] = 1
            assert not validator.is_valid(wrong), path


@pytest.mark.parametrize("change", [
    {"schema": 2}, {"schema": "1"}, {"complete": False}, {"missingClasses": ["VEXSG_DiskDrive"]},
    {"collectedAt": "yesterday"}, {"drives": {}}, {"instances": []}, {"instances": {"VEXSG_DiskDrive": [{}]}}])
def test_wrong_document_fails(validator, export, change):
    document = export("whole-server")
    document["diskmgt"].update(change)
    assert not validator.is_valid(document)


def test_sizes_are_whole_bytes_up_to_64_bits(validator, export):
    document = export("whole-server")
    for size, fits in ((0, True), (2**64 - 1, True), (2**64, False), (-1, False), (1.5, False), ("1", False)):
        document["diskmgt"]["drives"][0]["size"] = size
        assert validator.is_valid(document) is fits, size


@pytest.mark.parametrize("name", NAMES)
def test_plain_instances_are_those_of_get(machine, export, get, name):
    instances = export(name)["diskmgt"]["instances"]
    associations = ["VEXSG_PartitionPresent", "VEXSG_MediaPresent", "VEXSG_LogicalDiskBasedOnPartition"]
    answer = get(machine(name), ["VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk", *associations])
    published = {found["name"]: found["instances"] for found in answer["classes"]}
    for disk in published["VEXSG_LogicalDisk"] + instances["VEXSG_LogicalDisk"]:
        for name in ("FreeSpace", "MountOptions"):  # what is free moves, and a machine built anew has new identifiers
            disk["properties"].pop(name, None)
    assert published == {key: instances[key] for key in published} and len(instances) == 6


def nested(document, key):
    """All elements below a key, wherever they stand."""
    return [element for path, element in places(document) if len(path) > 1 and path[-2] in key]


@pytest.mark.parametrize("name", NAMES)
def test_every_instance_is_in_the_nested_part(export, name):
    document = export(name)
    instances = document["diskmgt"]["instances"]
    for class_name, key, where in (("VEXSG_DiskDrive", "device", ["drives"]),
                                   ("VEXSG_DiskPartition", "device", ["partitions", "logicals", "loosePartitions"]),
                                   ("VEXSG_LogicalDisk", "source", ["logicalDisks", "looseLogicalDisks"])):
        published = {instance["properties"]["DeviceID"] for instance in instances[class_name]}
        assert {element[key] for element in nested(document, where)} == published


def test_options_and_file_system_identifier_stand_apart(export):
    document = export("whole-server")
    by_source = {disk["source"]: disk for disk in nested(document, ["logicalDisks", "looseLogicalDisks"])}
    assert by_source["/dev/sda1"]["options"] == "rw,umask=0077"
    published = {instance["properties"]["DeviceID"]: instance["properties"]["MountOptions"]
                 for instance in document["diskmgt"]["instances"]["VEXSG_LogicalDisk"]}
    for source, disk in by_source.items():
        identifier = f', {disk["fileSystemId"]}' if "fileSystemId" in disk else ""
        assert disk["options"] + identifier == published[source]
    assert "fileSystemId" not in by_source["proc"] and "total" not in by_source["proc"]


def test_drives_tell_model_as_the_kernel_does_without_filling_blanks(export):
    drives = export("management-controller-over-usb")["diskmgt"]["drives"]
    assert {drive["device"]: drive.get("model") for drive in drives}["/dev/sda"] == "Virtual Disk"


def test_identity_is_found_where_each_kind_of_drive_keeps_it(tmp_path, diskmgt):
    files = {"sda": {"device/model": " Disk 7  \n", "device/vpd_pg80": "\x00\udc80\x00\x08  WD-1  \n",
                     "device/wwid": "naa.5000\n"},
             "sdb": {"device/model": "\n", "device/vpd_pg80": "\x00\udc80\x00\x00"},
             "nvme0n1": {"device/model": "Fast\n", "device/serial": "  S55  \n", "wwid": "eui.0025\n",
                         "device/wwid": "not this one\n"},
             "mmcblk0": {"device/name": "SD128\n", "device/serial": "0x12\n"},
             "vda": {"serial": "given by hand"}}
    write_machine(tmp_path, disks=[{"name": name, "size": 2048} for name in files],
                  sys_block=[{"name": name, "size": 2048, "dev": f"8:{16 * number}", "files": of_drive}
                             for number, (name, of_drive) in enumerate(files.items())])
    with Session(tmp_path) as session:
        drives = session.run([diskmgt, "export", "json"]).json()["diskmgt"]["drives"]
    told = {drive["device"][len("/dev/"):]: [drive.get(key) for key in ("model", "serial", "wwid")] for drive in drives}
    assert told == {"sda": ["Disk 7", "WD-1", "naa.5000"], "sdb": [None, None, None],
                    "nvme0n1": ["Fast", "S55", "eui.0025"], "mmcblk0": ["SD128", "0x12", None],
                    "vda": [None, "given by hand", None]}


def test_start_that_sysfs_does_not_tell_is_not_known(tmp_path, diskmgt):
    starts = {"sda1": "2048\n", "sda2": "\n", "sda3": "later\n"}
    write_machine(tmp_path, disks=[{"name": "sda", "size": 32768, "patches": [
        {"sector": 0, "slots": ["83 2048 1", "83 2049 1", "83 2050 1"]}, {"sector": 0, "offset": 510, "hex": "55aa"}]}],
                  sys_block=[{"name": "sda", "size": 32768, "dev": "8:0", "directories": list(starts),
                              "files": {f"{name}/start": start for name, start in starts.items()}}])
    with Session(tmp_path) as session:
        drive, = session.run([diskmgt, "export", "json"]).json()["diskmgt"]["drives"]
    assert [partition.get("start") for partition in drive["partitions"]] == [1048576, None, None]
