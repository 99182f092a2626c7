"""The machines themselves, seen with other people's eyes: what is described is there, nothing of it shows outside, and
nothing is left however a machine ends."""

import json
import os
import signal
import socket
import subprocess
import sys
import time
from pathlib import Path

import pytest

from conftest import MACHINES, write_machine
from machine.description import DescriptionError, read_machine, size_in_bytes
from machine.repetition import expand
from machine.session import IN_MACHINE, MachineFailure, Session, loops_in_use

GONE_WITHIN = 20  # seconds; the kernel frees a name space and its loop devices on its own time


def in_machine(folder, *command, **options):
    return subprocess.run([sys.executable, "-B", IN_MACHINE, folder, "--", *command], capture_output=True, text=True,
                          check=False, **options)


def wait_until(question):
    end = time.monotonic() + GONE_WITHIN
    while not question() and time.monotonic() < end:
        time.sleep(0.02)
    return question()


def still_in_use(session):
    return {tuple(loop) for loop in session.loops} & loops_in_use()


def test_disk_has_described_size_and_bytes(machine):
    session = machine("tiny-disks")
    for name, size in (("sda", 512), ("sdb", 0), ("sdc", 1024), ("sdd", 1536)):
        assert session.run(["blockdev", "--getsize64", f"/dev/{name}"]).stdout.strip() == str(size)
    seen = session.run(["od", "-A", "n", "-t", "x1", "-j", "446", "-N", "16", "/dev/sda"]).stdout.split()
    assert seen[0] == "80" and seen[4] == "83" and seen[8] == "01" and seen[12] == "07"


def test_partition_node_shows_its_part_of_the_disk(tmp_path):
    # Not mounted: a mounted file system writes its superblock when it likes, and the disk shows that later.
    folder = write_machine(tmp_path, disks=[{"name": "sda", "size": "8 MiB"}], nodes=[
        {"name": "sda1", "kind": "partition", "of": "sda", "start": 2048, "size": "4 MiB", "mkfs": ["ext4", "-q"]}])
    with Session(folder) as session:
        session.run(["cmp", "--bytes", "65536", "--ignore-initial", f"0:{2048 * 512}", "/dev/sda1", "/dev/sda"])
        assert session.run(["blkid", "-p", "-o", "value", "-s", "TYPE", "/dev/sda1"]).stdout == "ext4\n"


def test_dev_holds_the_described_nodes_and_the_usual_ones_only(machine):
    seen = set(machine("bios-primaries").run(["ls", "-A", "/dev"]).stdout.split())
    kept = {name for name in ("pts", "shm") if os.path.isdir(f"/dev/{name}")}
    usual = {"null", "zero", "full", "random", "urandom", "tty", "fd", "stdin", "stdout", "stderr", "ptmx"}
    assert seen == {"sda", "loop-control", ".machine"} | usual | kept


def test_sys_block_holds_the_described_entries(machine):
    session = machine("sysfs-filters")
    assert sorted(session.sys_block) == sorted(block.name for block in session.machine.sys_block)
    assert session.run(["cat", "/sys/block/sde/size"]).stdout == "  7 of many\n"
    assert session.run(["test", "-e", "/sys/block/sdc/size"], check=False).status == 1


def test_sys_block_is_listed_in_the_described_order(machine):
    session = machine("hd-before-sd")
    assert session.sys_block == ["sdb", "hdb", "sda", "hda"]


def test_reading_past_the_readable_part_fails(machine):
    session = machine("unreadable-disks")
    assert session.run(["dd", "if=/dev/sda", "bs=512", "count=1", "of=/dev/null"], check=False).status != 0
    assert session.run(["dd", "if=/dev/sdb", "bs=512", "count=1", "of=/dev/null"]).status == 0
    assert session.run(["blockdev", "--getsize64", "/dev/sda"]).stdout == f"{8 << 20}\n"


def test_sector_size_is_the_described_one(machine):
    assert machine("four-kib-sectors").run(["blockdev", "--getss", "/dev/sda"]).stdout == "4096\n"


def test_host_name_is_the_described_one_inside_only(machine):
    outside = socket.gethostname()
    assert machine("whole-server").run(["uname", "-n"]).stdout == "db-3.example\n"
    assert socket.gethostname() == outside


def test_sysfs_says_what_a_disk_and_its_partition_nodes_have(tmp_path):
    folder = write_machine(
        tmp_path, disks=[{"name": "nvme0n1", "size": "16 MiB", "sector_size": 4096}],
        nodes=[{"name": "nvme0n1p12", "kind": "partition", "of": "nvme0n1", "start": "1 MiB", "size": "2 MiB"}],
        sys_block=[{"name": "nvme0n1", "from_disk": True, "files": {"nvme0n1p12/size": "7\n"}}])
    with Session(folder) as session:
        said = session.run(["sh", "-c", "cd /sys/block/nvme0n1 && grep -r . . | sort"]).stdout.split()
    assert said == ["./nvme0n1p12/partition:12", "./nvme0n1p12/size:7", "./nvme0n1p12/start:2048",
                    "./queue/logical_block_size:4096", "./size:32768"]


def test_sysfs_mountinfo_and_records_have_the_numbers_of_the_nodes(machine):
    session = machine("cloud-server")
    for name, place in (("sda", "sda"), ("sda15", "sda/sda15"), ("sdb1", "sdb/sdb1")):
        number = session.run(["stat", "-c", "%Hr:%Lr", f"/dev/{name}"]).stdout.strip()
        assert number.startswith("7:") or int(number.split(":")[0]) > 239  # a loop device
        assert session.run(["cat", f"/sys/block/{place}/dev"]).stdout.strip() == number
        mounted = [line.split() for line in session.run(["cat", "/proc/self/mountinfo"]).stdout.splitlines()]
        assert {line[2] for line in mounted if line[-2] == f"/dev/{name}"} in ({number}, set())
        recorded = session.run(["test", "-e", f"/run/udev/data/b{number}"], check=False).status == 0
        assert recorded == (name in {record.name for record in session.machine.udev})


def test_device_without_a_node_keeps_the_described_number(machine):
    session = machine("container")
    assert session.run(["cat", "/sys/block/sda/sda2/dev"]).stdout == "8:2\n"
    assert " 8:2 /var/lib/containers/5f0c/hosts /etc/hosts " in session.run(["cat", "/proc/self/mountinfo"]).stdout


def test_links_of_udev_lead_to_the_nodes_as_udev_writes_them(machine):
    session = machine("removable-media")
    seen = session.run(["sh", "-c", "cd /dev/disk && for link in */*; do echo \"$link $(readlink $link)\"; done"]).stdout
    assert seen.splitlines() == [
        r"by-label/Debian\x2012 ../../sr0", r"by-label/MY\x20STICK ../../sdb",
        "by-uuid/2023-06-10-10-25-03-00 ../../sr0", "by-uuid/5F3B-1D2C ../../sdb"]
    assert session.run(["stat", "-L", "-c", "%F", r"/dev/disk/by-label/MY\x20STICK"]).stdout == "block special file\n"


def test_udev_of_the_real_system_does_not_show(machine):
    record = machine("removable-media").run(["sh", "-c", "cat /run/udev/data/b$(cat /sys/block/sdb/dev)"]).stdout
    assert record == "S:disk/by-uuid/5F3B-1D2C\nS:disk/by-label/MY\\x20STICK\nE:ID_BUS=usb\nE:ID_FS_TYPE=vfat\n" \
                     "E:ID_FS_UUID=5F3B-1D2C\nE:ID_FS_LABEL=MY_STICK\nE:ID_FS_LABEL_ENC=MY\\x20STICK\nV:1\n"
    for name in ("no-disks", "removable-media"):
        records = machine(name).run(["sh", "-c", "ls /run/udev/data 2>/dev/null; true"]).stdout.split()
        assert len(records) == len(machine(name).machine.udev)
    real = sorted(name for name in os.listdir("/run") if name != "udev")
    assert machine("removable-media").run(["sh", "-c", "ls /run"]).stdout.split() == sorted([*real, "udev"])
    assert machine("removable-media").run(["sh", "-c", "echo x > /run/.real/x"], check=False).status != 0


def test_members_of_btrfs_are_the_described_ones_only(machine):
    session = machine("subvolumes")
    found = session.run(["sh", "-c", "cd /sys/fs/btrfs && ls -d * && ls */devices && cat */devices/sdb1/start"]).stdout
    assert found.split() == ["c3f0a5e2-6d7b-4f19-8e0a-1b2c3d4e5f60", "features", "sda2", "sdb1", "2048"]
    assert machine("no-disks").run(["test", "-e", "/sys/fs/btrfs"], check=False).status == 1


def test_mount_table_is_the_described_text_and_can_be_opened_for_update(machine):
    session = machine("mtab-without-line-end")
    assert session.run(["cat", "/etc/mtab"]).stdout == session.machine.mtab
    session.run([sys.executable, "-c", "open('/etc/mtab', 'r+').read()"])
    assert machine("mtab-missing").run(["test", "-e", "/etc/mtab"], check=False).status == 1
    read_only = machine("mtab-read-only").run([sys.executable, "-c", "open('/etc/mtab', 'r+')"], check=False)
    assert "Read-only file system" in read_only.stderr


def test_rest_of_etc_is_the_real_one_and_cannot_be_written(machine):
    session = machine("no-disks")
    assert session.run(["cat", "/etc/passwd"]).stdout == Path("/etc/passwd").read_text(encoding="utf-8")
    assert session.run(["sh", "-c", "echo x >> /etc/passwd"], check=False).status != 0


@pytest.mark.parametrize(("name", "covered"), [
    ("hd-before-sd", ["/dev", "/media", "/etc", "/sys/block"]), ("subvolumes", ["/run", "/run/udev", "/sys/fs", "/sys/fs/btrfs"])])
def test_real_system_sees_nothing_of_a_machine(name, covered):
    def outside():
        paths = [f"{place}/{entry}" for place in covered for entry in ("hda", "trace", ".machine", ".real")]
        return [os.lstat("/etc/mtab"), ".machine" in Path("/proc/self/mountinfo").read_text(encoding="utf-8"),
                [path for path in paths if os.path.lexists(path)]]

    before = outside()
    assert before[1:] == [False, []]
    with Session(MACHINES / name) as session:
        during = outside()
        session.run(["touch", *(f"{place}/trace" for place in covered)])
        written = outside()
    assert before == during == written == outside()


def test_closing_leaves_no_loop_device():
    session = Session(MACHINES / "whole-server")
    assert len(still_in_use(session)) == len(session.loops) > 3
    session.close()
    assert wait_until(lambda: not still_in_use(session))


@pytest.mark.parametrize("victim", ["keeper", "init"])
def test_killing_a_machine_with_mounts_and_a_running_command_leaves_nothing(victim):
    session = Session(MACHINES / "mounted-file-systems")
    assert still_in_use(session)
    running = "import os, signal; os.fork() or os.setsid(); " \
              "held = open(f'/media/data/{os.getpid()}', 'w'); signal.pause()"
    session.process.stdin.write(json.dumps({"run": [sys.executable, "-c", running], "input": "", "environment": {},
                                            "timeout": 60}) + "\n")
    session.process.stdin.flush()
    inside = f"/proc/{session.init}/task/{session.init}/children"
    assert wait_until(lambda: Path(inside).read_text(encoding="ascii").split())
    members = [session.init, *(int(pid) for pid in Path(inside).read_text(encoding="ascii").split())]
    os.kill(session.process.pid if victim == "keeper" else session.init, signal.SIGKILL)
    session.process.wait()
    assert wait_until(lambda: not still_in_use(session))
    assert wait_until(lambda: not any(os.path.exists(f"/proc/{pid}/exe") for pid in members))
    session.close()


def test_death_of_the_test_program_takes_its_machine_along():
    program = f"import sys, signal; sys.path.insert(0, {str(IN_MACHINE.parent)!r}); " \
              f"from machine.session import Session; held = Session({str(MACHINES / 'bios-primaries')!r}); " \
              f"print(held.loops[0], flush=True); signal.pause()"
    with subprocess.Popen([sys.executable, "-B", "-c", program], stdout=subprocess.PIPE, text=True) as doomed:
        loop = tuple(json.loads(doomed.stdout.readline()))
        assert loop in loops_in_use()
        doomed.kill()
    assert wait_until(lambda: loop not in loops_in_use())


def test_machines_of_two_processes_do_not_collide():
    names = ["drives-beyond-the-candidates", "sysfs-filters", "whole-server"]
    command = "for node in /dev/*[a-z0-9]; do test -b $node && blockdev --getsize64 $node; done; " \
              "parted -sm /dev/sda print; true"
    alone = [in_machine(MACHINES / name, "sh", "-c", command).stdout for name in names]
    together = [subprocess.Popen([sys.executable, "-B", IN_MACHINE, MACHINES / name, "--", "sh", "-c", command],
                                 stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True) for name in names * 3]
    assert [process.communicate()[0] for process in together] == alone * 3


def test_command_keeps_its_output_and_exit_status(tmp_path):
    write_machine(tmp_path)
    done = in_machine(tmp_path, "sh", "-c", "cat; echo wrong >&2; exit 7", input="text\n")
    assert (done.returncode, done.stdout, done.stderr) == (7, "text\n", "wrong\n")
    assert in_machine(tmp_path, "sh", "-c", "kill -TERM $$").returncode == 128 + signal.SIGTERM
    assert in_machine(tmp_path, "/no/such/program").returncode == 127


def test_failing_step_is_reported_with_the_words_of_the_tool(tmp_path):
    write_machine(tmp_path, disks=[{"name": "sda", "size": "1 MiB", "table": [{"sfdisk": ["nonsense"]}]}])
    with pytest.raises(MachineFailure, match="sfdisk.*exit status 1"):
        Session(tmp_path)


@pytest.mark.unprivileged
@pytest.mark.parametrize("description, words", [
    ({"discs": []}, 'unknown key "discs"'),
    ({"disks": [{"name": "sda"}]}, r'disks\[0\]: "size" is missing'),
    ({"disks": [{"name": "sda", "size": "1 MB"}]}, '"size": a number of sectors'),
    ({"disks": [{"name": "/dev/sda", "size": 1}]}, "name below /dev"),
    ({"disks": [{"name": "../etc/x", "size": 1}]}, "name below /dev"),
    ({"disks": [{"name": "sda", "size": 1, "table": [{"fdisk": []}]}]}, "one of sfdisk, sgdisk, parted"),
    ({"disks": [{"name": "sda", "size": 1, "patches": [{"hex": "0g"}]}]}, "hexadecimal"),
    ({"disks": [{"name": "sda", "size": 1, "patches": [{"slots": ["83 1"]}]}]}, "a slot is written like"),
    ({"disks": [{"name": "sda", "size": 1, "patches": [{"slots": [""] * 5}]}]}, "four slots"),
    ({"disks": [{"name": "sda", "size": 1, "patches": [{"sector": 1, "hex": "00"}]}]}, "past the end of sda"),
    ({"disks": [{"name": "sda", "size": 1}], "nodes": [{"name": "sda", "kind": "file"}]}, "sda is described twice"),
    ({"nodes": [{"name": "sda1", "kind": "partition", "of": "sda", "start": 1, "size": 1}]}, "no disk of this machine"),
    ({"nodes": [{"name": "sda1", "kind": "pipe"}]}, 'unknown kind "pipe"'),
    ({"mounts": [{"at": "/usr", "source": "tmpfs"}]}, "below /media/"),
    ({"sys_block": [{"name": "sda", "from_disk": True}]}, "needs a disk of this name"),
    ({"udev": [{"name": "sda"}]}, "no node of this machine"),
    ({"udev": [{"name": "sda", "links": ["disk/by-uuid/1"]}]}, "a link is written like"),
    ({"udev": [{"name": "sda", "properties": {"ID_PART_ENTRY_NUMBER": 1}}]}, '"properties" are texts'),
    ({"nodes": [{"for": {"n": "1-3"}, "each": []}]}, "a range is written like"),
    ({"nodes": [{"for": {"n": "3..1"}, "each": []}]}, "a range is written like"),
    ({"nodes": [{"for": {"n": "1..3"}}]}, 'just "for", an object of ranges, and "each"'),
    ({"virtual_devices": [{"for": {"n": "1..3"}, "each": ["{m}"]}]}, "not 'm'"),
    ({"virtual_devices": [{"for": {"n": "1..3"}, "each": ["{n +}"]}]}, "braces hold an expression"),
    ({"virtual_devices": [{"for": {"n": "a..c"}, "each": ["{n + 1}"]}]}, "numbers, not 'n [+] 1'"),
])
def test_description_that_cannot_be_understood_is_refused(tmp_path, description, words):
    with pytest.raises(DescriptionError, match=words):
        read_machine(write_machine(tmp_path, **description))


@pytest.mark.unprivileged
def test_rules_in_lists_become_their_elements_in_order():
    rule = {"for": {"x": "a..b", "n": "9..10"}, "each": [{"name": "{x}{n}", "size": "{512 * (n - 1) + 7}"}]}
    assert expand({"list": ["{x}", rule, "{n}"]}) == {"list": [
        "{x}", {"name": "a9", "size": 4103}, {"name": "a10", "size": 4615}, {"name": "b9", "size": 4103},
        {"name": "b10", "size": 4615}, "{n}"]}


@pytest.mark.unprivileged
def test_sizes_are_sectors_or_texts_with_a_unit():
    assert [size_in_bytes(value) for value in (0, 3, "3", "512 B", "2 sectors", "1KiB", "2 MiB", "3 GiB", "1 TiB")] == \
        [0, 1536, 3, 512, 1024, 1 << 10, 2 << 20, 3 << 30, 1 << 40]
    assert [size_in_bytes(value) for value in (-1, True, "1 MB", "", None, "-1 B")] == [None] * 6


@pytest.mark.unprivileged
@pytest.mark.parametrize("folder", sorted(MACHINES.iterdir()), ids=lambda folder: folder.name)
def test_every_machine_folder_can_be_read(folder):
    assert read_machine(folder).about.endswith(".")


def test_chroot_whose_root_is_not_a_mount_point_is_named_as_the_cause(tmp_path):
    (tmp_path / "proc").mkdir()
    # The codec is loaded while its file is within reach.
    asked = ("import encodings.ascii, os, sys; sys.path.insert(0, sys.argv[1]); from machine import kernel; "
             "os.chroot(sys.argv[2]); print(kernel.missing_privilege())")
    seen = subprocess.run(["unshare", "--mount", "sh", "-c", 'mount -t proc proc "$3/proc" && exec "$0" -B -c "$@"',
                           sys.executable, asked, Path(IN_MACHINE).parent, tmp_path],
                          capture_output=True, text=True, check=True)
    assert seen.stdout.strip() == ("described machines need a root directory that is a mount point: "
                                   "bind this chroot onto itself")
