"""Rows of the document of "diskmgt export json": identities, types, starts and options, of machines made for them."""

from conftest import write_machine
from machine.session import Session


def written(tmp_path, diskmgt, **description):
    """The devices of a machine of one test's own, by name."""
    with Session(write_machine(tmp_path, **description)) as session:
        document = session.run([diskmgt, "export", "json"], check=False).json()["diskmgt"]
    return {device["name"]: device for device in document["devices"]}


def test_identity_is_found_where_each_kind_of_drive_keeps_it(tmp_path, diskmgt):
    files = {"sda": {"device/model": " Disk 7  \n", "device/vpd_pg80": "\x00\udc80\x00\x08  WD-1  \n",
                     "device/wwid": "naa.5000\n"},
             "sdb": {"device/model": "\n", "device/vpd_pg80": "\x00\udc80\x00\x00"},
             "nvme0n1": {"device/model": "Fast\n", "device/serial": "  S55  \n", "wwid": "eui.0025\n",
                         "device/wwid": "not this one\n"},
             "mmcblk0": {"device/name": "SD128\n", "device/serial": "0x12\n"},
             "vda": {"serial": "given by hand"}}
    devices = written(tmp_path, diskmgt, disks=[{"name": name, "size": 2048} for name in files],
                      sys_block=[{"name": name, "size": 2048, "dev": f"8:{16 * number}", "files": of_drive}
                                 for number, (name, of_drive) in enumerate(files.items())])
    found = {name: [device.get(key) for key in ("model", "serial", "wwid")] for name, device in devices.items()}
    assert found == {"sda": ["Disk 7", "WD-1", "naa.5000"], "sdb": [None, None, None],
                     "nvme0n1": ["Fast", "S55", "eui.0025"], "mmcblk0": ["SD128", "0x12", None],
                     "vda": [None, "given by hand", None]}


def test_identity_that_only_udev_knows_is_that_of_the_disk_alone(tmp_path, diskmgt):
    known = {"ID_SERIAL_SHORT": "S1", "ID_WWN": "0x5000"}
    devices = written(
        tmp_path, diskmgt,
        disks=[{"name": "sda", "size": "8 MiB", "table": [{"sfdisk": ["label: dos", "start=2048, size=2048, type=83"]}]}],
        nodes=[{"name": "sda1", "kind": "partition", "of": "sda", "start": 2048, "size": 2048}],
        sys_block=[{"name": "sda", "from_disk": True}],
        udev=[{"name": "sda", "properties": known}, {"name": "sda1", "properties": known}])
    assert [devices["sda"].get(key) for key in ("serial", "wwid")] == ["S1", "0x5000"]
    assert [devices["sda1"].get(key) for key in ("serial", "wwid")] == [None, None]


def test_start_that_sysfs_does_not_show_is_not_known(tmp_path, diskmgt):
    starts = {"sda1": "2048\n", "sda2": "\n", "sda3": "later\n"}
    devices = written(
        tmp_path, diskmgt,
        disks=[{"name": "sda", "size": 32768, "patches": [
            {"sector": 0, "slots": ["83 2048 1", "83 2049 1", "83 2050 1"]},
            {"sector": 0, "offset": 510, "hex": "55aa"}]}],
        sys_block=[{"name": "sda", "size": 32768, "dev": "8:0", "directories": list(starts),
                    "files": {f"{name}/start": start for name, start in starts.items()}}])
    assert [devices[name]["partition"].get("start") for name in starts] == [1048576, None, None]


def on_partitioned_disk(tmp_path, diskmgt, script, **further):
    """The partitions of a disk that sfdisk wrote; the kernel has them as sfdisk says."""
    starts = [(2048 * 2**index, 2048) for index in range(len(script) - 1)]
    return written(
        tmp_path, diskmgt, disks=[{"name": "sda", "size": "64 MiB", "table": [{"sfdisk": script}]}],
        nodes=[{"name": f"sda{number}", "kind": "partition", "of": "sda", "start": start, "size": size}
               for number, (start, size) in enumerate(starts, start=1)],
        sys_block=[{"name": "sda", "from_disk": True}], **further)


def test_types_have_their_names_and_starts_are_first_bytes(tmp_path, diskmgt):
    devices = on_partitioned_disk(tmp_path, diskmgt, ["label: gpt", "start=2048, size=2048, type=uefi",
                                                      "start=4096, size=2048, type=linux"])
    first, second = devices["sda1"], devices["sda2"]
    # Without udev the GUID is not known, but the number that stands for it is published.
    assert first["partition"] == {"number": 1, "start": 1048576, "table": "gpt", "typeName": "EFI system"}
    said = second["cim"]["partition"]
    assert (said["start"], said["type"], said["typeName"], said["differs"]) == (2097152, 17, "Linux file system", [])


def test_guid_that_udev_knows_names_the_type(tmp_path, diskmgt):
    guid = "4f68bce3-e8cd-4db1-96e7-fbcaf984b709"
    devices = on_partitioned_disk(
        tmp_path, diskmgt, ["label: gpt", f"start=2048, size=2048, type={guid}"],
        udev=[{"name": "sda1", "properties": {"ID_PART_ENTRY_SCHEME": "gpt", "ID_PART_ENTRY_TYPE": guid,
                                              "ID_PART_ENTRY_NAME": "root", "ID_PART_ENTRY_UUID": "u-1"}}])
    assert devices["sda1"]["partition"] == {"number": 1, "start": 1048576, "table": "gpt", "type": guid,
                                            "typeName": "Linux root (x86-64)", "name": "root", "uuid": "u-1"}


def test_type_byte_is_named_and_bootable_said(tmp_path, diskmgt):
    devices = on_partitioned_disk(tmp_path, diskmgt, ["label: dos", "start=2048, size=2048, type=8e, bootable",
                                                      "start=4096, size=2048, type=82"])
    assert devices["sda1"]["partition"] == {"number": 1, "start": 1048576, "table": "mbr", "type": "0x8e",
                                            "typeName": "Linux LVM", "bootable": True}
    assert devices["sda2"]["partition"]["typeName"] == "Linux swap"
    assert "bootable" not in devices["sda2"]["partition"]


def test_options_are_those_of_the_mount_and_of_its_file_system(tmp_path, diskmgt):
    devices = written(
        tmp_path, diskmgt, disks=[{"name": "sda", "size": 32768}], sys_block=[{"name": "sda", "from_disk": True}],
        mtab=[], mountinfo=["20 1 {sda} / /a rw,noatime - ext4 /dev/sda rw,errors=remount-ro",
                            "21 1 {sda} / /b rw - ext4 /dev/sda ro", "22 1 {sda} / /c ro,nosuid - ext4 /dev/sda rw"])
    assert {mount["mountPoint"]: mount["options"] for mount in devices["sda"]["mounts"]} == {
        "/a": "rw,noatime,errors=remount-ro", "/b": "ro", "/c": "ro,nosuid"}
