"""What explain, tree and get say in a guest, held against lsblk, findmnt, swapon and losetup."""

import re

import pytest

from guest.witness import Witness, is_seen

# What a view cannot know of a device: it may be used by what leaves no trace.
NEVER_SAID = re.compile(r"\b(unused|not partitioned|nothing (on it )?(is )?mounted|is free|is empty|in a container)\b",
                        re.IGNORECASE)


@pytest.fixture(scope="module")
def witness(guest):
    return Witness(guest)


@pytest.fixture(scope="module")
def paths(guest):
    return {name: re.sub(r"c\d+n", "n", name) for name in guest.text("hidden").split()}


def _used(witness, paths):
    return {name: is_seen(witness.use(name, paths)) for name in [*witness.devices, *paths]}


def test_explain_gives_each_device_the_use_that_the_tools_show(guest, witness, paths):
    said = {device["path"].removeprefix("/dev/"): device["use"] for device in guest.json("explain_each")["devices"]}
    assert set(said) == {*witness.devices, *paths}
    for name, use in said.items():
        expected = witness.use(name, paths)
        assert {**use, "holders": set(use["holders"]), "mountPoints": set(use["mountPoints"])} == \
               {**expected, "seen": is_seen(expected), **({"content": use["content"]} if "content" in use else {})}, name


def test_the_sentences_about_use_agree_with_the_tools(guest, witness, paths):
    used = _used(witness, paths)
    text = re.sub(r"\n {6,}", " ", guest.text("explain_text"))
    paragraphs = re.findall(r"^/dev/\S+\n(?:  .*\n?)*", text, re.MULTILINE)  # of devices, not of mounts
    assert len(paragraphs) == len(used)
    for paragraph in paragraphs:
        name = re.match(r"/dev/(\S+)", paragraph).group(1)
        if name in witness.extended():  # its logical partitions may be in use
            assert re.search(rf"^  Use: +Holds {name[:-1]}5 and {name[:-1]}6\.", paragraph, re.MULTILINE), paragraph
            assert "seen in use" not in paragraph
            continue
        assert ("Not seen in use." in paragraph) != used[name], paragraph
        if used[name]:
            assert re.search(r"^  (Use: +In use|Mounted: )", paragraph, re.MULTILINE), paragraph


@pytest.mark.parametrize("user", ["root", "user"])
def test_explain_of_the_whole_machine_sees_the_same_use(guest, witness, paths, user):
    used = _used(witness, paths)
    for device in guest.json("explain", user)["devices"]:
        assert device["use"]["seen"] == used[device["path"].removeprefix("/dev/")], device["path"]


@pytest.mark.parametrize(("name", "user"), [("explain_text", "root"), ("tree", "root"), ("tree", "user")])
def test_no_view_says_what_it_cannot_know(guest, name, user):
    text = guest.text(name, user) + guest.errors(name, user)
    assert NEVER_SAID.search(text) is None


def test_explain_and_tree_end_well_for_root(guest):
    assert [guest.status(name) for name in ("explain", "explain_each", "explain_text", "tree")] == [0, 0, 0, 0]


def test_published_drives_are_disks_of_lsblk_with_the_same_size(guest, witness):
    classes = {entry["name"]: entry["instances"] for entry in guest.json("get")["classes"]}
    drives = {drive["properties"]["DeviceID"].removeprefix("/dev/"): drive["properties"]["Size"]
              for drive in classes["VEXSG_DiskDrive"]}
    sizes = witness.field("size")
    assert {name: sizes.get(name) for name in drives} == drives
    disks = {name for name, kind in witness.kinds().items() if kind == "disk" and sizes[name] > 0}
    assert disks <= set(drives)
