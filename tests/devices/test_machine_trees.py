"""The tree of described machines as the kernel has them, against tree.txt of their folders and the kernel's own lists."""

import json
import re
import sys

import pytest

from conftest import MACHINES, write_machine
from machine.session import Session
from test_tree import NOBODY, ON_A_TERMINAL, UTF8
from test_uses import WITNESS

NAMES = sorted(folder.name for folder in MACHINES.iterdir())
DRAWN = sorted(name for name in NAMES if (MACHINES / name / "tree.txt").exists())
DRAWING = "│├└─ "
CLAIMS = re.compile(r"\b(free|empty|unused|not partitioned|no partitions|nothing is mounted)\b", re.IGNORECASE)


@pytest.fixture
def tree(machine, diskmgt):
    """tree(name, option...) is what the command prints of the machine."""

    def show(name, *options):
        session = machine(name)
        virtual = [word for text in session.machine.virtual_devices for word in ("--virtual-device", text)]
        return session.run([diskmgt, "tree", *options, *virtual], environment=UTF8, check=False).stdout

    return show


def rows(text):
    """(depth, name, rest) of each row, without the headings and the notes; runs of blanks in the rest count as one."""
    found = []
    for line in text.split("\n\n")[0].splitlines()[1:]:
        name, *rest = line.lstrip(DRAWING).split()
        found.append(((len(line) - len(line.lstrip(DRAWING))) // 2, name, " ".join(rest)))
    return found


def above(text):
    """(the device or heading a row is beneath, the row's name) of each row."""
    path, found = [], []
    for depth, name, _ in rows(text):
        del path[depth:]
        found.append((path[-1] if path else None, name))
        path.append(name)
    return found


@pytest.mark.parametrize("name", DRAWN)
def test_the_tree_is_the_described_one(machine, diskmgt, name):
    result = machine(name).run([diskmgt, *_virtual(name)], environment=UTF8)
    assert result.stdout == (MACHINES / name / "tree.txt").read_text(encoding="utf-8")
    assert result.stderr == ""


def _virtual(name):
    return ["--virtual-device", "/dev/sdc: AMI Virtual HDisk0"] if name == "tour" else []


@pytest.mark.parametrize("name", DRAWN)
def test_an_ordinary_user_sees_the_same_rows(machine, diskmgt, name):
    session = machine(name)
    if session.run([*NOBODY, "test", "-x", diskmgt], check=False).status:
        pytest.skip("the build tree cannot be reached by another user")
    columns = ["--columns", "size,start,used,free", "--all"]
    result = session.run([*NOBODY, diskmgt, *columns], environment=UTF8)
    of_root = rows(session.run([diskmgt, *columns], environment=UTF8).stdout)
    headings = [row[1:] for row in of_root]
    end = headings.index(("Only", "in CIM")) if ("Only", "in CIM") in headings else len(of_root)
    assert rows(result.stdout) == of_root[:end]
    assert result.stderr == ("diskmgt: not root: the disks and the mount table cannot be opened, so what CIM reports is "
                             "unknown; run as root to see it\n")
    assert "?: not root" in session.run([*NOBODY, diskmgt], environment=UTF8).stdout


@pytest.mark.parametrize("name", DRAWN)
def test_every_mount_is_one_row(machine, tree, name):
    mounted = [line.split(" ")[4].replace("\\040", " ") for line in
               machine(name).run(["cat", "/proc/self/mountinfo"]).stdout.splitlines()]
    shown = [name for _, name, rest in rows(tree(name, "--all", "--columns", "remark")) if "->" not in rest]
    for point in mounted:
        assert shown.count(point.split(" ")[0]) == mounted.count(point), point


@pytest.mark.parametrize("name", NAMES)
def test_nothing_in_use_is_called_otherwise(machine, tree, name):
    text = tree(name, "--all", "--columns", "remark")
    in_use = json.loads(machine(name).run(["python3", "-c", WITNESS]).stdout)
    said = {device for _, device, rest in rows(text) if "not seen in use" in rest}
    assert not {device for device in said if in_use.get(device.replace("/", "!"), False)}
    assert not CLAIMS.search(text.partition("\n")[2])


def test_each_file_system_of_sixty_disks_is_on_its_own(tree):
    beneath = above(tree("storage-node"))
    disks = [name for parent, name in beneath if parent is None and name.startswith("sd")]
    assert len(disks) == 60 and disks[25:28] == ["sdz", "sdaa", "sdab"]
    for disk in disks:
        assert beneath.count((disk, disk + "1")) == 1
        assert beneath.count((disk + "1", "/srv/node/" + disk)) == 1


@pytest.mark.parametrize("name, operands, shown", [
    ("volumes-root", ["sda3"], [(0, "sda"), (1, "sda3"), (2, "dm-0"), (3, "/"), (2, "dm-1"), (3, "swap"), (2, "dm-2"),
                                (3, "/home")]),
    ("volumes-root", ["/dev/mapper/vg-home"], [(0, "sda"), (1, "sda3"), (2, "dm-2"), (3, "/home")]),
    ("volumes-root", ["vg-swap", "sda1"], [(0, "sda"), (1, "sda1"), (2, "/boot/efi"), (1, "sda3"), (2, "dm-1"),
                                           (3, "swap")]),
    ("volumes-root", ["/"], [(0, "sda"), (1, "sda3"), (2, "dm-0"), (3, "/")]),
    ("volumes-root", ["/etc"], [(0, "sda"), (1, "sda3"), (2, "dm-0"), (3, "/")]),
    ("mirrored-partitions", ["sdb2"], [(0, "sdb"), (1, "sdb2"), (2, "md1"), (3, "/")]),
    ("mirrored-partitions", ["md0"], [(0, "sda"), (1, "sda1"), (2, "md0"), (3, "/boot"), (0, "sdb"), (1, "sdb1"),
                                      (2, "md0")]),
    ("network-homes", ["filer:/vol/home"], [(0, "Not"), (1, "/home")]),
    ("nvme-multipath", ["nvme0c1n1"], [(0, "nvme0c1n1")]),
    ("encrypted-whole", ["/dev/sdb1"], [(0, "Only"), (1, "/dev/sdb1")]),
])
def test_an_operand_shows_what_it_names_and_the_disks_beneath(tree, name, operands, shown):
    assert [(depth, name) for depth, name, _ in rows(tree(name, *operands))] == shown


def test_a_device_needs_no_name_of_a_command(machine, diskmgt, tree):
    session = machine("volumes-root")
    for word in ("sda3", "vg-home", "/dev/sda1", "/boot"):
        assert session.run([diskmgt, word], environment=UTF8).stdout == tree("volumes-root", word)
    for word in ("sdz", "vg-none"):
        result = session.run([diskmgt, word], check=False)
        assert (result.status, result.stdout) == (2, "") and f'unknown command "{word}"' in result.stderr
    result = session.run([diskmgt, "tree", "sda", "sdz"], check=False)
    assert (result.status, result.stdout) == (2, "") and 'nothing here is named "sdz"' in result.stderr


def test_json_is_part_of_the_document(machine, diskmgt):
    session = machine("volumes-root")
    whole = session.run([diskmgt, "export", "json"], check=False).json()["diskmgt"]
    assert session.run([diskmgt, "--format", "json"]).json() == {key: whole[key] for key in ("devices", "fileSystems")}
    named = session.run([diskmgt, "tree", "dm-2", "--format", "json"]).json()
    assert [device["name"] for device in named["devices"]] == ["dm-2", "sda", "sda3"]
    assert named["fileSystems"] == []


def test_columns_from_udev(tree):
    shown = rows(tree("cloud-server", "sda15", "--columns", "content,label,uuid"))
    assert shown[1] == (1, "sda15", "vfat UEFI 7C1E-4F02")


def test_values_that_differ_are_both_shown(machine, diskmgt, tmp_path):
    folder = write_machine(
        tmp_path, disks=[{"name": "md0", "size": "16 MiB",
                          "table": [{"sfdisk": ["label: gpt", "1: start=2048, size=4096, type=linux"]}]}],
        sys_block=[{"name": "md0", "size": 32768, "dev": "9:0",
                    "files": {"md/level": "raid0\n", "md0p1/start": "2048\n", "md0p1/size": "4096\n"}}], mtab=["proc /proc proc rw 0 0"],
        mountinfo="mtab")
    with Session(folder) as session:
        shown = rows(session.run([diskmgt], environment=UTF8).stdout)
    assert shown[0][:2] == (0, "md0") and shown[0][2].startswith("16M raid0 yes")
    assert "as /dev/md01" in shown[1][2]


@pytest.mark.parametrize("columns", [40, 60, 80, 120])
@pytest.mark.parametrize("name", ["volumes-root", "multipath-root", "subvolumes", "hostile-names", "encrypted-whole"])
def test_terminal_is_never_exceeded(machine, diskmgt, name, columns):
    session = machine(name)
    environment = {**UTF8, "COLUMNS": str(columns), "NO_COLOR": "1"}
    shown = session.run([sys.executable, "-c", ON_A_TERMINAL, diskmgt, "--all"], environment=environment).stdout
    assert max(map(len, shown.splitlines())) <= columns
    assert columns < 60 or "CIM" in shown.splitlines()[0]
