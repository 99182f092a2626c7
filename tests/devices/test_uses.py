"""What uses a device: explain against descriptions, and against what sysfs, mountinfo and /proc/swaps say inside."""

import json
import re

import pytest

from conftest import MACHINES, write_machine
from machine.account import read_account
from machine.session import Session

NAMES = sorted(folder.name for folder in MACHINES.iterdir())

# Written from the descriptions.
USES = {
    "volumes-root": {
        "sda": "In use by dm-0 (vg-root), dm-1 (vg-swap) and dm-2 (vg-home), "
               "mounted on /, /boot, /boot/efi and /home, as swap.",
        "sda3": "In use by dm-0 (vg-root), dm-1 (vg-swap) and dm-2 (vg-home), mounted on / and /home, as swap.",
        "dm-1": "In use, as swap.",
        "mapper/vg-swap": "In use, as swap.",
    },
    "mirrored-partitions": {
        "sda": "In use by md0 and md1, mounted on / and /boot.",
        "sdb": "In use by md0 and md1, mounted on / and /boot.",
        "sdb1": "In use by md0, mounted on /boot.",
    },
    "multipath-root": {
        "sda": "In use by dm-0 (mpatha), dm-1 (mpatha-part1) and dm-2 (mpatha-part2), mounted on / and /boot/efi.",
        "sdd": "In use by dm-0 (mpatha), dm-1 (mpatha-part1) and dm-2 (mpatha-part2), mounted on / and /boot/efi.",
        "dm-0": "In use by dm-1 (mpatha-part1) and dm-2 (mpatha-part2), mounted on / and /boot/efi.",
        "sda1": "In use as part of sda, which is in use by dm-0 (mpatha), dm-1 (mpatha-part1) and "
                "dm-2 (mpatha-part2), mounted on / and /boot/efi.",  # the volume lies on the whole disk
    },
    "encrypted-whole": {
        "sdb": "In use by dm-0 (secret), mounted on /srv/secret.",
        "sdc": "In use by dm-1 (secret1), mounted on /srv/secret1.",
        "sda1": "Not seen in use.",
    },
    "virtio-guest": {"vda14": "Not seen in use.", "sr0": "Not seen in use."},
}

# The same question, answered by the shortest program: what is reached from a device, and whether it is in a table.
WITNESS = r"""
import glob, json, os, re
numbers, holders, parts = {}, {}, {}
for disk in os.listdir("/sys/block") if os.path.isdir("/sys/block") else []:
    pattern = re.escape(disk) + ("p" if disk[-1].isdigit() else "") + r"\d+"
    parts[disk] = [name for name in os.listdir("/sys/block/" + disk) if re.fullmatch(pattern, name)]
    for name in [disk] + parts[disk]:
        place = "/sys/block/" + disk + ("" if name == disk else "/" + name)
        numbers[name] = open(place + "/dev").read().strip() if os.path.exists(place + "/dev") else None
        holders.setdefault(name, []).extend(os.listdir(place + "/holders") if os.path.isdir(place + "/holders") else [])
    if os.path.exists("/sys/block/" + disk + "/loop/backing_file"):
        backing = open("/sys/block/" + disk + "/loop/backing_file").read().strip()
        holders.setdefault(backing.replace("/dev/", ""), []).append(disk)
mounted = {line.split(" ")[2] for line in open("/proc/self/mountinfo", errors="replace")}
swaps = {line.split()[0] for line in list(open("/proc/swaps"))[1:]}
members = {os.path.basename(path) for path in glob.glob("/sys/fs/btrfs/*/devices/*")}  # of those that are mounted
def is_used(name):
    return bool(holders.get(name)) or numbers.get(name) in mounted or "/dev/" + name in swaps or name in members
disks = {part: disk for disk in parts for part in parts[disk]}
found = {}
for name in numbers:
    new = {name, re.sub(r"^(nvme\d+)c\d+", r"\1", name)} & set(holders)  # a path, and the disk it leads to
    new |= {disk for disk in parts if name in parts[disk] and holders[disk]}  # what holds the disk holds all of it
    reached = set(new)
    while new:
        new = {upper for lower in new for upper in holders.get(lower, []) + parts.get(lower, [])} - reached
        reached |= new
    found[name] = any(is_used(n) for n in reached) or is_used(disks.get(name, name))
print(json.dumps(found))
"""


@pytest.fixture(scope="module")
def explain(diskmgt):
    """explain(session, *operands) is the document that explain prints."""

    def ask(session, *operands):
        virtual = [word for text in session.machine.virtual_devices for word in ("--virtual-device", text)]
        return session.run([diskmgt, "explain", *operands, "--format", "json", *virtual], check=False).json()

    return ask


def _use_in(text):
    found = re.search(r"^  Use:\s+(.*(?:\n {15}.*)*)", text, re.MULTILINE)
    return re.sub(r"\s+", " ", found.group(1)) if found else None


@pytest.mark.parametrize(("name", "device"), [(name, device) for name, uses in USES.items() for device in uses])
def test_the_use_of_a_device_is_said_through_every_layer(machine, diskmgt, name, device):
    text = machine(name).run([diskmgt, "explain", f"/dev/{device}"]).stdout
    used, content = re.fullmatch(r"(.*?\.) (Content.*)", _use_in(text)).groups()
    assert used == USES[name][device]
    assert content == "Content not known."  # the description has no record of udev's


@pytest.mark.parametrize("name", NAMES)
def test_the_content_of_a_device_is_udevs_word(machine, explain, name):
    if not (MACHINES / name / "account.json").exists():
        pytest.skip("the machine has no account.json")
    account = read_account(MACHINES / name)
    devices = {row["name"]: row.get("content") for row in account["devices"]}
    document = explain(machine(name), *[f"/dev/{device}" for device in devices])
    assert {device["path"].removeprefix("/dev/"): device["use"]["content"] for device in document["devices"]} == devices


def test_a_device_that_only_the_source_of_a_mount_names_is_not_seen_in_use(tmp_path, diskmgt, explain):
    with Session(write_machine(tmp_path, disks=[{"name": "sda", "size": "8 MiB"}], sys_block=[{"name": "sda", "size": 16384}],
                               mounts=[{"at": "/media/memory", "source": "/dev/sda", "type": "tmpfs"}],
                               mtab="live")) as session:
        assert explain(session)["devices"][0]["use"]["seen"] is False
        text = session.run([diskmgt, "explain", "/dev/sda"]).stdout
    assert _use_in(text).startswith("Not seen in use. Only the source of what is mounted on /media/memory names it. ")


@pytest.mark.parametrize("name", NAMES)
def test_all_that_the_kernel_shows_in_use_is_reported_in_use(machine, diskmgt, explain, name):
    session = machine(name)
    in_use = json.loads(session.run(["python3", "-c", WITNESS]).stdout)
    said = {device["path"].removeprefix("/dev/"): device for device in explain(session)["devices"]}
    for device, used in in_use.items():
        if device not in said:  # a partition
            said[device] = explain(session, f"/dev/{device}")["devices"][0]
        assert said[device]["use"]["seen"] == used, device
    for device in [device for device, used in in_use.items() if used][:4]:
        text = session.run([diskmgt, "explain", f"/dev/{device}"], check=False).stdout
        assert "Not seen in use" not in text, device


def with_an_extended_partition():
    """As the kernel shows it: the extended one has 1 KiB. udev knows nothing, and only root can read the table."""
    partitions = {1: (2048, 20480, "83"), 2: (22528, 2, "5"), 5: (24576, 40960, "83"), 6: (67584, 2048, "83")}
    table = ["label: dos", *(f"{number}: start={start}, size={90112 if size == 2 else size}, type={kind}"
                             for number, (start, size, kind) in partitions.items())]
    return {"disks": [{"name": "sda", "size": "64 MiB", "table": [{"sfdisk": table}]}],
            "nodes": [{"name": f"sda{number}", "kind": "partition", "of": "sda", "start": start, "size": size}
                      for number, (start, size, _) in partitions.items()],
            "sys_block": [{"name": "sda", "from_disk": True}],
            "mtab": ["/dev/sda5 /var ext4 rw 0 0"], "mountinfo": "mtab", "swaps": []}


@pytest.mark.parametrize("user", [(), ("setpriv", "--reuid=65534", "--regid=65534", "--clear-groups")], ids=["root", "user"])
def test_an_extended_partition_is_never_called_not_seen_in_use(tmp_path, diskmgt, user):
    with Session(write_machine(tmp_path, **with_an_extended_partition())) as session:
        tree, explained, metrics, page = (session.run([*user, diskmgt, *words], check=False).stdout for words in (
            ["tree", "--columns", "remark"], ["explain", "sda2"], ["export", "prometheus"], ["export", "html"]))
    rows = dict(re.match(r"\W*(\S+) *(.*)", line).groups() for line in tree.splitlines())
    assert (rows["sda1"], rows["sda2"]) == ("not seen in use; content not known", "")
    assert _use_in(explained) == "Holds sda5 and sda6."
    assert set(re.findall(r'device_in_use{device="/dev/(.*)"}', metrics)) == {"sda", "sda1", "sda5", "sda6"}
    assert re.search(r"class='name'>/dev/sda2<.*?data-label='Use'><span>(.*?)<br>", page)[1] == "Holds sda5 and sda6"


@pytest.mark.parametrize("name", NAMES)
def test_reading_the_table_again_is_advised_only_where_it_can_help(machine, explain, name):
    session = machine(name)
    large = {block.name for block in session.machine.sys_block or []
             if block.files.get("queue/logical_block_size", "512\n") != "512\n"}
    held = {slave for block in session.machine.sys_block or [] for slave in block.slaves}
    for sentence in explain(session)["diagnosis"]:
        if "rereadpt" in sentence:
            named = re.search(r"partitions on (.*);", sentence).group(1)
            assert not set(re.split(r", | and ", named)) & (large | held)


def test_a_disk_with_large_sectors_is_named_without_advice(machine, explain):
    diagnosis = " ".join(explain(machine("four-kib-server"))["diagnosis"])
    assert "rereadpt" not in diagnosis
    assert "disagree about the number of partitions on sda" in diagnosis


def test_a_hidden_path_needs_no_node_and_is_used_as_its_disk_is(tmp_path, explain):
    folder = write_machine(
        tmp_path, disks=[{"name": "nvme0n1", "size": "16 MiB"}], mtab=["/dev/nvme0n1 / ext4 rw 0 0"], mountinfo="mtab",
        sys_block=[{"name": "nvme0c0n1", "size": 32768, "files": {"hidden": "1\n"}},
                   {"name": "nvme0n1", "size": 32768, "dev": "259:0"}])
    with Session(folder) as session:
        said = explain(session)
    assert "as in a container" not in " ".join(said["diagnosis"])
    path = next(device for device in said["devices"] if device["path"] == "/dev/nvme0c0n1")
    assert path["use"] == {"seen": True, "holders": ["nvme0n1"], "mountPoints": ["/"], "swap": False,
                           "btrfsMember": False, "content": None}
