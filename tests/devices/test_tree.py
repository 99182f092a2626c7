"""The tree of what is published of described machines, row by row; test_machine_trees.py has that of the machine."""

import json
import sys

import pytest
from conftest import write_machine
from machine.session import Session

UTF8 = {"LC_ALL": "C.UTF-8"}
SERVED = ["VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk"]
NOBODY = ["setpriv", "--reuid", "65534", "--regid", "65534", "--clear-groups", "--no-new-privs"]
ON_A_TERMINAL = """
import os, pty, sys
child, leader = pty.fork()
if child == 0:
    os.dup2(os.open("/dev/null", os.O_WRONLY), 2)  # on a busy machine progress would be shown there
    os.execv(sys.argv[1], sys.argv[1:])
seen = b""
while True:
    try:
        piece = os.read(leader, 65536)
    except OSError:
        break
    if not piece:
        break
    seen += piece
sys.stdout.buffer.write(seen.replace(b"\\r\\n", b"\\n"))
"""


@pytest.fixture
def tree(machine, diskmgt):
    """tree(name, option...) is what the command prints of what is published, as lines; notes are behind an empty line."""

    def show(name, *options, environment=None):
        session = machine(name)
        return session.run([diskmgt, "--cim", *options], environment=environment or UTF8).stdout.splitlines()

    return show


def rows(lines):
    """The rows without the headings and the notes; runs of blanks count as one."""
    end = lines.index("") if "" in lines else len(lines)
    return [" ".join(line.split()) for line in lines[1:end]]


def notes(lines):
    return lines[lines.index("") + 1:] if "" in lines else []


def test_whole_server(tree):
    lines = tree("whole-server")
    shown = rows(lines)
    assert [row.split(" ")[0] for row in shown] == [
        "/dev/sda", "├─/dev/sda1", "│", "├─/dev/sda2", "│", "└─/dev/sda3",
        "/dev/sdb", "├─/media/gone/data", "├─/dev/sdb1", "│", "└─/dev/sdb2", "└─/dev/sdb5",
        "/dev/nvme0n1", "└─/dev/nvme0n1p1", "└─/media/gone/fast"]
    assert shown[0] == "/dev/sda 64M 3 partitions"
    assert shown[1] == "├─/dev/sda1 1M 1M EFI system"
    assert shown[5] == "└─/dev/sda3 32M 6M Linux LVM"
    assert shown[10] == "└─/dev/sdb2 32M Extended"
    assert shown[7].endswith("/dev/mapper/direct")
    assert notes(lines)[0] == "3 more file systems are on no drive: --all lists them"
    assert notes(lines)[1].startswith('Figures with "?" are those of the file system that holds the path of the source')


def test_all_lists_what_is_on_no_drive(tree):
    lines = tree("whole-server", "--all")
    shown = rows(lines)
    assert shown[15] == "On no drive"
    assert [row.split(" ")[0] for row in shown[16:]] == ["├─/media/gone/data", "├─/media/root", "└─/media/gone/proc"]
    assert shown[17] == "├─/media/root 2M xfs 0B ░░░░░░░░ 0% 2M 2M /dev/mapper/vg-root"
    assert not [note for note in notes(lines) if "--all" in note]


def test_twelve_logicals_beneath_their_extended_partition(tree):
    lines = tree("mbr-twelve-logicals")
    assert rows(lines)[:6] == [
        "/dev/sda 64M 16 partitions", "├─/dev/sda1 1M Linux", "├─/dev/sda2 1M FAT32", "├─/dev/sda3 1M Linux swap",
        "└─/dev/sda4 60M Extended LBA", "├─/dev/sda5 1M Linux"]
    assert rows(lines)[-1] == "└─/dev/sda16 1M Linux"
    assert len(rows(lines)) == 17 and all(line.startswith("  ") for line in lines[6:])
    assert notes(lines) == []


def test_pairs_made_by_prefix_are_marked_with_the_likely_one(tree):
    lines = tree("ambiguous-names")
    shown = rows(lines)
    assert "├─/media/gone/aa ext4 ? likely on /dev/sdaa" in shown
    assert "└─/media/gone/n10 ext4 ? likely on /dev/nvme0n10" in shown
    assert shown.count("└─/media/gone/one ext4 ? likely on /dev/sda1") == 1  # the one beneath sda10
    assert shown.count("│ └─/media/gone/one ext4") == 1  # and where it belongs
    assert "/dev/sdaa 8M 2 partitions none listed" in shown
    assert shown[-3:] == ["On no reported drive", "├─1 1M Linux", "└─2 1M Linux"]
    assert [note for note in notes(lines) if "only because one name contains the other" in note]
    assert [note for note in notes(lines) if '"diskmgt explain" says why' in note]


def test_raid_partitions_named_by_the_bare_number(tree):
    shown = rows(tree("software-raid"))
    assert "└─/dev/md01 2M Linux" in shown
    assert "└─/dev/md1271 2M 1M Linux file system ? likely on /dev/md127" in shown


@pytest.mark.parametrize("name, drive, partition", [
    ("nvme-usual-nodes", "/dev/nvme0n1", "/dev/nvme0n1p1"),
    ("nvme-plain-nodes", "/dev/nvme0n1", "/dev/nvme0n11"),
])
def test_nvme_partitions_stand_on_their_drive(tree, name, drive, partition):
    shown = rows(tree(name))
    assert shown[0].startswith(drive + " ")
    assert any(row.startswith(("├─" + partition + " ", "└─" + partition + " ")) for row in shown)


def test_nvme_partitions_without_nodes_are_on_no_reported_drive(tree):
    shown = rows(tree("nvme-without-nodes"))
    assert shown[:3] == ["/dev/nvme0n1 64M 2 partitions none listed", "/dev/nvme1n1 64M 3 partitions none listed",
                         "On no reported drive"]


def test_disks_with_four_kib_sectors(tree):
    assert rows(tree("four-kib-sectors")) == [
        "/dev/sda 64M no partitions", "/dev/sdb 64M 1 partition", "└─/dev/sdb1 256K Linux"]


def test_no_disks(machine, diskmgt):
    result = machine("no-disks").run([diskmgt, "--cim"], environment=UTF8)
    assert (result.status, result.stdout) == (0, "")
    assert result.stderr == 'diskmgt: no disks are reported; "diskmgt explain" says why\n'


def test_user_without_rights_learns_that_an_answer_may_be_empty_for_that(machine, diskmgt):
    session = machine("whole-server")
    if session.run([*NOBODY, "test", "-x", diskmgt], check=False).status:
        pytest.skip("the build tree cannot be reached by another user")
    assert session.run([*NOBODY, diskmgt, "get", *SERVED]).stderr == (
        f"diskmgt: not root, so these may be missing: {', '.join(SERVED)}; run as root to see them\n")
    assert session.run([diskmgt, "get", *SERVED]).stderr == ""


def test_user_without_rights_gets_no_remark_on_classes_that_never_have_instances(machine, diskmgt):
    session = machine("whole-server")
    if session.run([*NOBODY, "test", "-x", diskmgt], check=False).status:
        pytest.skip("the build tree cannot be reached by another user")
    assert session.run([*NOBODY, diskmgt, "get", "VEXSG_TapeDrive"]).stderr == ""


def test_figures_of_a_mounted_file_system_are_the_kernels(machine, diskmgt):
    session = machine("mounted-file-systems")
    lines = session.run([diskmgt, "--cim", "--bytes"], environment=UTF8).stdout.splitlines()
    measured = session.measure("/media/data")
    available = session.run(["stat", "-f", "-c", "%a %S", "/media/data"]).stdout.split()
    (row,) = [row for row in rows(lines) if row.startswith("└─/media/data ")]
    words = row.split()
    assert words[1:4] == [str(measured["total"]), "ext4", str(measured["total"] - measured["free"])]
    assert words[-2:] == [str(measured["free"]), str(int(available[0]) * int(available[1]))]
    assert "└─/media/again mounted here too" in rows(lines)


def test_mount_points_that_are_hard_to_print_stay_one_row_each(machine, diskmgt):
    session = machine("mount-table")
    result = session.run([diskmgt, "--cim", "--all"], environment=UTF8)
    shown = rows(result.stdout.splitlines())
    assert shown[0] == "On no drive"
    assert len([row for row in shown[1:] if row.startswith(("├─", "└─"))]) == 14
    assert any(row.startswith("├─/media/c,d,,e tmpfs") for row in shown)
    assert any("/media/tab\\x09new\\back" in row for row in shown)
    assert any("//server/caf\\xe9" in row for row in shown)
    assert any("/media/über" in row for row in shown)
    assert "│ └─/media/one mounted here too" in shown
    ascii_only = session.run([diskmgt, "--cim", "--all"], environment={"LC_ALL": "C"}).stdout
    assert ascii_only.isascii() and len(rows(ascii_only.splitlines())) == len(shown)


@pytest.mark.parametrize("columns", [40, 60, 80])
@pytest.mark.parametrize("name", ["whole-server", "ambiguous-names", "mbr-twelve-logicals", "mounted-file-systems"])
def test_terminal_is_never_exceeded(machine, diskmgt, name, columns):
    session = machine(name)
    environment = {**UTF8, "COLUMNS": str(columns), "NO_COLOR": "1"}
    shown = session.run([sys.executable, "-c", ON_A_TERMINAL, diskmgt, "--cim", "--all"], environment=environment).stdout
    assert max(map(len, shown.splitlines())) <= columns
    assert len(rows(shown.splitlines())) == len(rows(session.run([diskmgt, "--cim", "--all"], environment=UTF8).stdout
                                                     .splitlines()))


class TestHandMade:
    """Machines of a few lines, for what no captured one shows."""

    @staticmethod
    def running(folder, description):
        return Session(write_machine(folder, **description))

    def test_start_of_an_mbr_partition_is_what_sysfs_says(self, diskmgt, tmp_path):
        description = {
            "disks": [{"name": "sda", "size": "64 MiB",
                       "table": [{"sfdisk": ["label: dos", "1: start=4096, size=8192, type=83, bootable"]}]}],
            "sys_block": [{"name": "sda", "size": "64 MiB", "dev": "8:0", "directories": ["sda1"],
                           "files": {"sda1/start": "4096\n"}}]}
        with self.running(tmp_path, description) as session:
            assert rows(session.run([diskmgt, "--cim", "--bytes"], environment=UTF8).stdout.splitlines()) == [
                "/dev/sda 67108864 1 partition", "└─/dev/sda1 4194304 2097152 Linux bootable"]

    def test_three_hundred_disks(self, diskmgt, tmp_path):
        names = [f"disk{number}" for number in range(300)]
        description = {"disks": [{"name": name, "size": "1 MiB"} for name in names[:8]],
                       "nodes": [{"name": name, "kind": "disk", "of": names[i % 8]} for i, name in enumerate(names)
                                 if i >= 8],
                       "sys_block": [{"name": name, "size": "1 MiB", "dev": "8:0"} for name in names]}
        with self.running(tmp_path, description) as session:
            lines = session.run([diskmgt, "--cim"]).stdout.splitlines()
            assert sorted(row.split()[0] for row in rows(lines)) == sorted(f"/dev/{name}" for name in names)
            head = session.run(["sh", "-c", f"{diskmgt} | head -n 3"])
            assert (len(head.stdout.splitlines()), head.stderr) == (3, "")
