"""The kernel's account of a server against what lsblk, findmnt and swapon say in the same guest."""

import re
from collections import Counter

import pytest

from guest import disks
from guest.account import Account
from guest.witness import Witness, is_seen

USERS = ["root", "user"]
PSEUDO = ["proc", "sysfs", "devtmpfs", "devpts", "cgroup2", "securityfs", "debugfs", "tracefs", "pstore", "bpf"]
# The answers that the account is read from, and how: a document has the dump's form below its first key.
READERS = {"account": lambda content: content, "export": lambda content: content["diskmgt"]}


@pytest.fixture(scope="module", params=USERS)
def user(request):
    return request.param


@pytest.fixture(scope="module", params=READERS)
def account(request, guest, user):
    return Account(READERS[request.param](guest.json(request.param, user)))


@pytest.fixture(scope="module")
def witness(guest, user):
    return Witness(guest, user)


def _paths(guest):
    """The disk of each path that the kernel hides."""
    names = guest.text("hidden").split()
    return {name: re.sub(r"c\d+n", "n", name) for name in names}


def test_the_guest_has_all_scenes(guest, witness):
    kinds = Counter(witness.kinds().values())
    assert set(kinds) == {"disk", "partition", "lvm", "crypt", "multipath", "dm", "raid", "loop", "optical", "memory",
                          "compressed-memory"}
    assert kinds["disk"] > 30 and "sdaa" in witness.devices
    assert len(_paths(guest)) == 2
    assert len(witness.btrfs_members) == 2
    assert len(witness.hidden_ids()) >= 2
    assert set(witness.loops) == {"loop1"}


def test_devices_are_those_of_lsblk_and_the_hidden_paths(guest, account, witness):
    assert Counter(account.names) == Counter([*witness.devices, *_paths(guest)])
    assert {name for name, hidden in account.flag("hidden").items() if hidden} == set(_paths(guest))
    assert {name for name, kind in account.field("kind").items() if kind == "path"} == set(_paths(guest))


@pytest.mark.parametrize(("key", "witness_key"), [
    ("number", "maj:min"), ("size", "size"), ("sectorSize", "log-sec"), ("rotational", "rota"), ("readOnly", "ro"),
    ("removable", "rm")])
def test_a_device_is_as_lsblk_says(guest, account, witness, key, witness_key):
    found = account.flag(key) if key in ("readOnly", "removable") else account.field(key)
    for path in _paths(guest):
        found.pop(path, None)
    assert found == witness.field(witness_key)


def test_a_path_is_the_name_below_dev(account):
    assert account.field("path") == {name: f"/dev/{name}" for name in account.names}


def test_kinds_are_those_of_lsblk(guest, account, witness):
    assert account.field("kind") == {**witness.kinds(), **dict.fromkeys(_paths(guest), "path")}


def test_partitions_begin_where_lsblk_says(account, witness):
    assert account.partition_field("start") == {name: start * 512 for name, start in witness.field("start").items()}


def test_partitions_of_a_disk_have_the_numbers_in_their_names(account, witness):
    expected = {name: int(re.search(r"\d+$", device["name"]).group()) for name, device in witness.devices.items()
                if witness.kinds()[name] == "partition"}
    assert account.partition_field("number") == expected


def test_volumes_have_the_names_of_lsblk(account, witness):
    assert account.field("volume") == {name: device["name"] for name, device in witness.devices.items()
                                       if name.startswith("dm-")}


def test_devices_lie_on_those_of_lsblk(guest, account, witness):
    expected = {**witness.parents, **{path: set() for path in _paths(guest)}}
    assert {name: set(below) for name, below in account.field("on").items()} == expected
    assert all(len(below) == len(set(below)) for below in account.field("on").values())


def test_each_mount_hangs_on_its_devices_once_and_on_no_other(account, witness):
    expected = Counter((device, mount["target"], mount["fsroot"], mount["fstype"]) for mount in witness.mounts
                       for device in witness.devices_of(mount))
    assert len(expected) > 20
    assert Counter(account.mounts()) == expected


def test_what_hangs_on_no_device_is_listed_or_counted(account, witness):
    expected = Counter((mount["target"], mount["fstype"]) for mount in witness.mounts if not witness.devices_of(mount))
    listed = Counter(account.mounts_elsewhere())
    assert listed <= expected
    assert listed.total() + account.uncounted == expected.total()


def test_mount_points_are_those_of_lsblk(account, witness):
    on_none = {mount["target"] for mount in witness.mounts if not witness.devices_of(mount)} - \
              {mount["target"] for mount in witness.mounts if witness.devices_of(mount)}
    said = {(name, point) for name, device in witness.devices.items() for point in device["mountpoints"]
            if point not in {None, "[SWAP]"} | on_none}  # lsblk believes the source of a tmpfs
    found = {(name, point) for name, point, _, _ in account.mounts()}
    members = witness.btrfs_members  # lsblk shows a btrfs at one of them
    assert said <= found
    assert {row for row in found if row[0] not in members} == {row for row in said if row[0] not in members}
    assert {point for _, point in found} == {point for _, point in said}


def test_mounts_are_hidden_where_their_path_leads_to_another(account, witness):
    expected = sorted((device, mount["target"]) for mount in witness.mounts if mount["id"] in witness.hidden_ids()
                      for device in witness.devices_of(mount))
    assert len(expected) >= 2
    assert account.hidden_mounts() == expected


def test_swap_areas_are_those_of_swapon(account, witness):
    assert len(witness.swaps()) == 3
    assert {name: swap["size"] for name, swap in account.field("swap").items()} == witness.swaps()


def test_a_device_is_in_use_by_what_the_tools_show(guest, account, witness):
    paths = _paths(guest)
    for name, said in account.field("use").items():  # a document has none
        expected = witness.use(name, paths)
        assert {**said, "holders": set(said["holders"]), "mountPoints": set(said["mountPoints"])} == \
               {**expected, "seen": is_seen(expected)}, name


@pytest.mark.parametrize(("key", "witness_key"), [("serial", "serial"), ("model", "model")])
def test_drives_have_the_identity_that_lsblk_reads(account, witness, key, witness_key):
    expected = {name: text.strip() for name, text in witness.field(witness_key).items()}
    assert expected  # without udev few serial numbers, and blanks at the end
    found = account.field(key)
    assert {name: found.get(name) for name in expected} == expected


def test_disks_have_the_serial_numbers_they_were_made_with(account):
    kinds, serials = account.field("kind"), account.field("serial")
    assert Counter(serials[name] for name in serials if kinds[name] == "disk") == Counter(disks.serials())


@pytest.mark.parametrize(("key", "witness_key"), [("content", "fstype"), ("label", "label"), ("uuid", "uuid")])
def test_content_is_what_udev_knows(guest, account, witness, key, witness_key):
    assert account.field(key) == witness.field(witness_key)
    assert bool(account.field(key)) == guest.has_udev


@pytest.mark.parametrize(("key", "witness_key"), [("uuid", "partuuid"), ("type", "parttype"), ("name", "partlabel")])
def test_partitions_are_described_as_udev_knows_them(guest, account, witness, key, witness_key):
    found = account.partition_field(key)
    if not guest.has_udev:  # a document of root has the type bytes that the plug-in read
        found = {name: value for name, value in found.items()
                 if not account.devices[name].get("cim", {}).get("partition", {}).get("reported")}
    assert found == witness.field(witness_key)
    assert bool(found) == guest.has_udev


def _unescaped(name):
    return re.sub(r"\\x([0-9a-f]{2})", lambda found: chr(int(found.group(1), 16)), name)


@pytest.mark.parametrize("account", ["account"], indirect=True)  # a document has no links
def test_lasting_names_are_the_links_of_udev(guest, account):
    rows = [line.split("\t") for line in guest.text("links").splitlines()]
    expected = Counter((target.removeprefix("../../"), _unescaped(path.removeprefix("/dev/disk/")))
                       for path, target in rows)
    assert Counter((name, link) for name, links in account.field("links").items() for link in links) == expected
    assert ("by-partlabel/the root" in {link for _, link in expected}) == guest.has_udev


def test_both_users_see_the_same(guest):
    assert guest.json("account", "user") == guest.json("account", "root")
    assert guest.errors("account", "user") == ""


def test_document_of_the_user_has_the_rows_of_root_and_cim_unknown(guest):
    of_root, of_user = (guest.json("export", user)["diskmgt"] for user in USERS)

    def rows(value):
        """Without what CIM, the plug-in's reading of the tables, or rights to a mount point give."""
        if isinstance(value, dict):
            return {key: rows(child) for key, child in value.items()
                    if key not in ("cim", "total", "free", "available", "rule", "table", "type", "typeName", "bootable")}
        return [rows(child) for child in value] if isinstance(value, list) else value

    for part in ("devices", "fileSystems", "pseudoFileSystems"):
        assert rows(of_user[part]) == rows(of_root[part])
    answers = [answer for row in of_user["devices"] + of_user["fileSystems"] for answer in row["cim"].values()]
    assert not any(answer.get("reported") for answer in answers)
    assert all(not row["cim"]["logicalDisk"]["known"] for row in of_user["devices"] if "mounts" in row)
    assert of_user["complete"] is False and "open-failed" in {gap["rule"] for gap in of_user["incomplete"]}
    assert guest.status("export", "user") == 1 and "only for root" in guest.errors("export", "user")


def test_document_of_root_is_complete(guest):
    document = guest.json("export", "root")["diskmgt"]
    assert (document["incomplete"], guest.status("export", "root")) == ([], 0), guest.errors("export", "root")


def test_every_published_instance_is_in_the_document_once(guest):
    """But for logical disks of pseudo file systems, which are not listed."""
    document = guest.json("export", "root")["diskmgt"]

    def named(value):
        if isinstance(value, dict):
            yield from ([value["instance"]] if "instance" in value else [])
            yield from (found for child in value.values() for found in named(child))
        elif isinstance(value, list):
            yield from (found for child in value for found in named(child))

    reached = Counter(named({**document, "instances": None}))
    published = Counter(instance["path"] for found in ("VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk")
                        for instance in document["instances"][found])
    assert not reached - published
    pseudo = {instance["path"] for instance in document["instances"]["VEXSG_LogicalDisk"]
              if instance["properties"]["FileSystemName"] in PSEUDO}
    assert set(published - reached) <= pseudo


def test_a_partition_that_is_reported_is_at_its_own_row(guest):
    """The plug-in's table and the kernel agree on the place, whatever the name."""
    for device in guest.json("export", "root")["diskmgt"]["devices"]:
        said = device["cim"].get("partition", {})
        if not said.get("reported"):
            continue
        if "start" in said:
            assert said["start"] == device["partition"]["start"], device["name"]
        if said["type"] != 2:  # the kernel gives an extended partition another size
            assert said["size"] == device["size"], device["name"]
        assert said["differs"] == ([] if said["as"] == device["path"] else ["name"])
