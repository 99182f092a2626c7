"""Every view over every described machine: what it says of use, partitions and completeness is what the kernel has."""

import json
import re
from collections import Counter

import pytest

from conftest import MACHINES
from test_uses import WITNESS
from tree_reader import tree_rows

NAMES = sorted(folder.name for folder in MACHINES.iterdir())
NEVER_SAID = re.compile(r"\b(unused|unpartitioned|not partitioned|nothing (on it )?is mounted|not in use)\b", re.IGNORECASE)
NEVER_SAID_IN_A_TREE = re.compile(r"\b(empty|free|no partitions|available)\b")
PLAIN = re.compile(r"[A-Za-z0-9/._-]+")  # names that no view escapes or shortens
USER = ("setpriv", "--reuid=65534", "--regid=65534", "--clear-groups")


class Views:
    """What each view says of one machine, asked for once."""

    def __init__(self, session, diskmgt):
        self.session, self.diskmgt, self.said = session, diskmgt, {}

    def ask(self, *words, user=False):
        key = (words, user)
        if key not in self.said:
            virtual = [word for text in self.session.machine.virtual_devices for word in ("--virtual-device", text)]
            self.said[key] = self.session.run([*(USER if user else ()), self.diskmgt, *words, *virtual], check=False)
        return self.said[key]

    @property
    def document(self):
        return self.ask("export", "json", "--all").json()["diskmgt"]

    def rows(self, *columns, user=False):
        """The rows of the tree with everything in it, as lists of cells without the tree's lines."""
        return tree_rows(self.ask("tree", "--all", "--columns", ",".join(columns), user=user).stdout)

    def metric(self, name):
        samples = re.findall(rf"^{name}(?:\{{(.*)\}})? (\S+)$", self.ask("export", "prometheus").stdout, re.MULTILINE)
        return {dict(re.findall(r'(\w+)="((?:[^"\\]|\\.)*)"', labels)).get("device"): float(value)
                for labels, value in samples}


def machine_rows(rows):
    """The rows above those that only CIM has, which rights decide about."""
    names = [name for name, in rows]
    return names[:names.index("Only in CIM")] if "Only in CIM" in names else names


@pytest.fixture(params=NAMES, scope="module")
def views(request, machine, diskmgt):
    return Views(machine(request.param), diskmgt)


@pytest.fixture(scope="module")
def in_use(views):
    found = json.loads(views.session.run(["python3", "-c", WITNESS]).stdout)
    return {name.replace("!", "/"): used for name, used in found.items()}


def test_use_is_the_kernels_in_every_view(views, in_use):
    idle = {name for name, remark in views.rows("name", "remark") if remark.startswith("not seen in use")}
    assert not {name for name in idle if in_use.get(name)}
    said = {name.removeprefix("/dev/"): bool(value) for name, value in views.metric("diskmgt_device_in_use").items()}
    assert said == {name: in_use[name] for name in said}  # empty loops, RAM disks and hidden paths have no sample
    assert said.keys() <= {device["name"] for device in views.document["devices"]}


def test_nothing_is_called_unused(views):
    for words in (["tree"], ["tree", "--all"], ["explain"], ["export", "html"]):
        said = views.ask(*words).stdout
        assert not NEVER_SAID.search(said), NEVER_SAID.search(said)
    assert not NEVER_SAID_IN_A_TREE.search(views.ask("tree", "--all", "--columns", "name,type,cim,remark").stdout)


def test_each_mount_hangs_at_one_place(views):
    document = views.document
    mounted = Counter(mount["mountPoint"] for entry in [*document["devices"], *document["fileSystems"]]
                      for mount in entry.get("mounts", []))
    shown = Counter(name for name, remark in views.rows("name", "remark") if not remark.startswith("-> shown"))
    for point, count in mounted.items():
        if PLAIN.fullmatch(point):
            assert shown[point] == count, point


def test_devices_are_each_shown_once_and_counted_alike(views):
    devices = views.document["devices"]
    shown = Counter(name for name, remark in views.rows("name", "remark") if not remark.startswith("-> shown"))
    for device in devices:
        if PLAIN.fullmatch(device["name"]):
            assert shown[device["name"]] == 1, device["name"]
    children = Counter(device["on"][0] for device in devices if device["kind"] == "partition" and device["on"])
    counts = {name.removeprefix("/dev/"): value for name, value in views.metric("diskmgt_drive_partitions").items()}
    for device in devices:
        if device["kind"] == "disk" and device["name"] in counts:
            assert counts[device["name"]] == children[device["name"]], device["name"]


def test_all_agree_on_what_is_complete(views):
    complete = views.document["complete"]
    success, = views.metric("diskmgt_collection_success").values()
    assert bool(success) == complete
    assert views.ask("export", "json", "--all").status == (0 if complete else 1)
    assert ("not complete" in views.ask("export", "html").stdout) == (not complete)
    assert bool(views.document["incomplete"]) == (not complete)


def test_an_ordinary_user_sees_the_same_machine(views):
    if not views.document["devices"]:
        pytest.skip("the machine has no device")
    assert machine_rows(views.rows("name", user=True)) == machine_rows(views.rows("name"))
    as_user = views.ask("export", "json", "--all", user=True)
    document = as_user.json()["diskmgt"]
    for own, roots in zip(document["devices"], views.document["devices"], strict=True):
        assert {key: own.get(key) for key in ("name", "kind", "size", "on", "number")} == \
               {key: roots.get(key) for key in ("name", "kind", "size", "on", "number")}
    assert (document["complete"], as_user.status) == (False, 1)
