"""What tree, the metrics, the page, the fact script, get and diff say in a guest, held against the other tools."""

import html
import re
import sys
from collections import Counter
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "support"))

from guest.witness import Witness, is_seen  # noqa: E402
from page_reader import Page  # noqa: E402
from tree_reader import tree_rows  # noqa: E402

USERS = ["root", "user"]
IN_MEMORY = ("tmpfs", "devtmpfs")
ONLY_FOR_ROOT = "only for root"
SERVED = 17


@pytest.fixture(scope="module", params=USERS)
def user(request):
    return request.param


@pytest.fixture(scope="module")
def witness(guest, user):
    return Witness(guest, user)


@pytest.fixture(scope="module")
def used(guest, witness):
    """Whether each device is in use by what the tools show; an extended partition is not among them."""
    paths = {name: re.sub(r"c\d+n", "n", name) for name in guest.text("hidden").split()}
    assert len(witness.extended()) == 1
    return {name: is_seen(witness.use(name, paths)) for name in {*witness.devices, *paths} - witness.extended()}


def file_systems(witness):
    """Each file system on devices or in memory once, by (mount point, type): {that: what tells it from others}."""
    found = {}
    for mount in witness.mounts:
        devices = witness.devices_of(mount)
        if devices or mount["fstype"] in IN_MEMORY:
            found[mount["target"], mount["fstype"]] = frozenset(devices) or mount["maj:min"]
    return found


def left_out(witness, used):
    """What metrics and page may leave out: hidden paths, whose disk is there, and such devices as nothing uses."""
    return {name for name, seen in used.items()
            if name not in witness.devices or (not seen and witness.kinds()[name] in ("loop", "memory"))}


# --- tree ---

def test_tree_says_of_each_device_what_the_tools_show(guest, user, witness, used):
    rows = tree_rows(guest.text("tree_rows", user))
    whole = [(name, remark) for name, _, remark in rows if not remark.startswith("-> shown")]
    shown = Counter(name for name, _ in whole)
    assert {name: shown[name] for name in used} == dict.fromkeys(used, 1)
    idle = {name for name, remark in whole if "not seen in use" in remark}
    assert idle <= {name for name, seen in used.items() if not seen}
    leaves = set(used) - {lower for lowers in witness.parents.values() for lower in lowers}
    assert {name for name in leaves if not used[name]} == idle & leaves


def test_tree_shows_each_mount_on_a_device_once(guest, user, witness):
    rows = tree_rows(guest.text("tree_rows", user))
    shown = Counter((name, kind) for name, kind, remark in rows if not remark.startswith("-> shown"))
    mounted = Counter(mount["target"] for mount in witness.mounts if witness.devices_of(mount))
    found = Counter()
    for (name, _), count in shown.items():
        found[name] += count
    for mount in witness.mounts:
        if not witness.devices_of(mount):
            found[mount["target"]] -= 1
    assert {point: found[point] for point in mounted} == dict(mounted)


# --- metrics ---

def samples(text, metric, *labels):
    """{the values of these labels: number}, each series once."""
    found = {}
    for line in re.findall(rf"^diskmgt_{metric}(?:\{{(.*)\}})? (\S+)$", text, re.MULTILINE):
        own = dict(re.findall(r'(\w+)="((?:[^"\\]|\\.)*)"', line[0]))
        key = tuple(own.get(label, "") for label in labels)
        assert key not in found, key
        found[key] = float(line[1])
    return found


def test_metrics_have_each_device_with_the_use_that_the_tools_show(guest, user, witness, used):
    text = guest.text("metrics", user)
    said = {path.removeprefix("/dev/"): bool(value) for (path,), value in samples(text, "device_in_use", "device").items()}
    assert said == {name: used[name] for name in said}
    assert set(used) - set(said) <= left_out(witness, used)
    shown = {path.removeprefix("/dev/") for path, in samples(text, "device_info", "device")}
    assert shown - set(said) == set(witness.devices) - set(used)  # the extended partition


def test_metrics_have_the_sizes_and_counts_of_lsblk(guest, user, witness):
    text, sizes = guest.text("metrics", user), witness.field("size")
    for metric in ("drive_size_bytes", "partition_size_bytes"):
        found = {path.removeprefix("/dev/"): value for (path,), value in samples(text, metric, "device").items()}
        assert found and found == {name: sizes[name] for name in found}
    kinds = witness.kinds()
    counts = {path.removeprefix("/dev/"): value for (path,), value in samples(text, "drive_partitions", "device").items()}
    partitions = Counter(disk for name, disks in witness.parents.items() for disk in disks
                         if kinds[name] == "partition" and not name.startswith("dm-"))
    assert counts == {name: partitions[name] for name in counts} and set(partitions) <= set(counts)


def test_metrics_have_each_file_system_once(guest, user, witness):
    known = file_systems(witness)
    found = Counter(known[place] for place in samples(guest.text("metrics", user), "filesystem_measured", "mountpoint", "fstype"))
    assert found == Counter(set(known.values()))


def test_metrics_are_a_success_for_root_alone(guest, user):
    text, document = guest.text("metrics", user), guest.json("export", user)["diskmgt"]
    success, = samples(text, "collection_success").values()
    assert (success, guest.status("metrics", user)) == ((1, 0) if user == "root" else (0, 1))
    gaps = {(gap["rule"], gap["of"]): 1 for gap in document["incomplete"]}
    assert samples(text, "collection_gap", "rule", "of") == gaps
    assert (("open-failed", "/dev/sda") in gaps) == (user == "user")
    answers = {device["path"]: device["cim"].get("partition") or device["cim"]["drive"] for device in document["devices"]}
    reported = samples(text, "device_reported", "device")
    assert reported == {(path,): answers[path]["reported"] for path, in reported if answers[path]["known"]}


# --- page ---

def device_rows(markup):
    """[(device, text of its row)] of all tables of devices."""
    for table in re.findall(r"aria-label='Devices'.*?</table>", markup, re.DOTALL):
        for row in table.split("<tr>")[2:]:
            yield Page(re.search(r"class='name'>(.*?)</span>", row).group(1)).text.removeprefix("/dev/"), Page(row).text


def test_page_says_of_each_device_what_the_tools_show(guest, user, witness, used):
    rows = [(name, text) for name, text in device_rows(guest.text("page", user)) if "shown beneath" not in text]
    assert len(rows) == len(dict(rows))
    shown = dict(rows)
    assert set(used) - set(shown) <= left_out(witness, used)
    for name, text in shown.items():
        if name in used:
            assert ("Not seen in use" in text, "In use" in text) == (not used[name], used[name]), (name, text)
        else:
            assert "Holds " in text and "seen in use" not in text


def test_page_has_each_file_system_once(guest, user, witness):
    page = guest.text("page", user).replace("<wbr>", "")
    points = [html.unescape(point) for table in re.findall(r"aria-label='File systems'.*?</table>", page, re.DOTALL)
              for point in re.findall(r"class='place'><span class='name'>(.*?)</span>", table)]
    known, shown = file_systems(witness), Counter(points)
    on_overlay = Counter(mount["target"] for mount in witness.mounts if mount["fstype"] == "overlay")
    by_point = {}
    for (point, _), one in known.items():
        by_point.setdefault(point, []).append(one)
    found = Counter(one for point in shown - on_overlay for one in by_point[point][:1])
    assert sum((shown - on_overlay).values()) == len(set(known.values()))
    assert len(found) >= len(set(known.values())) - 1  # one mount point has two of them


def test_page_is_complete_for_root_alone(guest, user):
    text = Page(guest.text("page", user)).text
    assert ("This page is not complete" in text, guest.status("page", user)) == ((False, 0) if user == "root" else (True, 1))


# --- the script for facts ---

def steady(value):
    """Without what changes between two runs."""
    if isinstance(value, dict):
        return {key: steady(child) for key, child in value.items()
                if key not in ("collectedAt", "total", "free", "available", "used", "instances")}
    return [steady(child) for child in value] if isinstance(value, list) else value


def test_fact_is_the_compact_document_and_fails_where_that_is_not_complete(guest, user):
    fact = guest.json("facts", user)
    assert "instances" not in fact["diskmgt"]
    assert steady(fact) == steady(guest.json("export", user))
    assert guest.status("facts", user) == (0 if user == "root" else 1)
    assert (ONLY_FOR_ROOT in guest.errors("facts", user)) == (user == "user")


# --- get ---

def instances(guest, user):
    return {entry["name"]: [instance["properties"] for instance in entry["instances"]]
            for entry in guest.json("get", user)["classes"]}


def test_get_gives_all_classes_and_for_an_ordinary_user_says_why_they_are_empty(guest, user):
    found = instances(guest, user)
    assert len(found) == SERVED
    empty = [name for name in ("VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk") if not found[name]]
    assert bool(empty) == (user == "user")
    assert ("root" in guest.errors("get", user)) == (user == "user")


def test_published_logical_disks_are_mounts_of_findmnt(guest):
    witness = Witness(guest)
    mounted = {(mount["target"], mount["fstype"]) for mount in witness.mounts}
    said = [(disk["OtherIdentifyingInfo"][0], disk["FileSystemName"]) for disk in instances(guest, "root")["VEXSG_LogicalDisk"]]
    assert len(said) > 15 and set(said) <= mounted


# --- diff ---

def test_a_document_differs_in_nothing_from_itself(guest, user):
    assert (guest.text("diff_same", user), guest.status("diff_same", user)) == ("", 0)


def test_a_renamed_disk_is_one_line(guest, user):
    names = {device["serial"]: name for name, device in Witness(guest).devices.items() if device["serial"]}
    disk = names.get("farther") or next(device["path"].removeprefix("/dev/")
                                        for device in guest.json("export")["diskmgt"]["devices"]
                                        if device.get("serial") == "farther")
    lines = [" ".join(line.split()) for line in guest.text("diff_renamed", user).splitlines()[1:]]
    assert lines == [f"renamed drive /dev/sdzz was /dev/{disk}"]
    assert guest.status("diff_renamed", user) == 1
