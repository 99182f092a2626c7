"""What one request asks of the kernel, call by call: it looks, and does nothing else."""

import re
import shutil
import sys
from collections import Counter

import pytest

from machine import calls as seen

pytestmark = pytest.mark.skipif(not shutil.which("strace"), reason="strace is missing")

CLASSES = ["VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk", "VEXSG_MediaPresent",
           "VEXSG_PartitionPresent", "VEXSG_LogicalDiskBasedOnPartition"]
# Ordinary ones, and those whose disks are made to mislead.
MACHINES = ["whole-server", "every-candidate", "management-controller", "mounted-file-systems", "odd-extended-chains",
            "odd-gpt-headers", "odd-nodes", "unreadable-disks"]
CANDIDATES = [f"/dev/{kind}{letter}" for letter in "abcdefghijklmnopqrstuvwxyz" for kind in ("hd", "sd")] + \
    [f"/dev/md{number}" for number in range(128)] + [f"/dev/nvme{a}n{b}" for a in range(10) for b in range(10)]
# The program's start: its libraries, and what sanitizers read of their own process.
AT_START = re.compile(r".*\.so(?:\.[\d.]+)?$|/etc/ld\.so\.(?:cache|preload)$|/proc/self/\w+$|/proc/\d+/\w+$|"
                      r"/sys/devices/system/cpu(?:/.*)?$|/sys/fs/cgroup/.*|/proc/(?:meminfo|cpuinfo)$")

RULES = [seen.opened_to_write, seen.written, seen.changed, seen.started, seen.connected]


@pytest.fixture(scope="module")
def request_calls(machine, diskmgt):
    """request_calls(name) is what one request for all classes asks on that machine; traced once."""
    known = {}

    def ask(name):
        if name not in known:
            session = machine(name)
            virtual = [word for text in session.machine.virtual_devices for word in ("--virtual-device", text)]
            command = [diskmgt, "get", *CLASSES, "--exact", "--format", "json", *virtual]
            result, calls = seen.trace(session, command)
            assert result.status in (0, 1), result.stderr
            assert result.json()["classes"] and calls
            known[name] = calls
        return known[name]

    return ask


@pytest.mark.parametrize("rule", RULES, ids=lambda rule: rule.__name__)
@pytest.mark.parametrize("name", MACHINES)
def test_request_has_nothing(request_calls, name, rule):
    assert rule(request_calls(name)) == []


@pytest.mark.parametrize("name", MACHINES)
def test_devices_are_sought_read_and_measured_and_nothing_else(request_calls, name):
    calls = request_calls(name)
    assert seen.asked_of_devices(calls) <= {"fcntl", "ioctl", "lseek", "read", "close"}
    on_devices = [call for call in calls if call.descriptor[1].startswith("/dev/") and call.descriptor[0] > 2]
    assert not [call for call in on_devices if call.name == "ioctl" and "BLKGETSIZE64" not in call.text]
    assert not [call for call in on_devices if call.name == "fcntl" and "F_SETFD, FD_CLOEXEC" not in call.text]
    if name == "whole-server":
        assert seen.asked_of_devices(calls) == {"fcntl", "ioctl", "lseek", "read", "close"}


def test_one_request_opens_exactly_this(request_calls):
    """Of the drives sda, sdb and nvme0n1: sysfs to list and count, the node to measure, and once more for the table.
    Every candidate disk once. Of sysfs also the host, which looks for virtual devices."""
    opened = Counter(call.path for call in request_calls("whole-server")
                     if call.name in seen.OPENING and not AT_START.match(call.path))
    host = opened.pop("/sys/block")
    assert host == 1
    drives = ["sda", "sdb", "nvme0n1"]
    expected = Counter(["/sys/block/", "/etc/mtab", *CANDIDATES])
    expected.update(f"/sys/block/{name}/{file}" for name in [*drives, "sr0"] for file in ("size", "dev"))
    expected.update(f"/sys/block/{name}" for name in drives)
    expected.update(f"/dev/{name}" for name in drives for _ in range(2))
    assert opened == expected


def test_mount_table_is_opened_once_and_for_update(request_calls):
    opened = [call for call in request_calls("whole-server") if call.path == "/etc/mtab" and call.name in seen.OPENING]
    assert [call.flags - {"O_CLOEXEC"} for call in opened] == [{"O_RDWR"}]


@pytest.mark.parametrize("name", MACHINES)
def test_devices_are_opened_to_read_and_with_no_other_flag(request_calls, name):
    opened = [call for call in request_calls(name) if call.path in CANDIDATES and call.name in seen.OPENING]
    assert len(opened) >= len(CANDIDATES)
    assert [call for call in opened if call.flags != {"O_RDONLY"}] == []


def test_nodes_of_partitions_are_asked_for_their_existence_and_nothing_else(request_calls):
    asked = [call for call in request_calls("whole-server") if call.name in {"access", "faccessat", "faccessat2"}
             and "/dev/nvme" in call.text]
    assert asked
    assert [call for call in asked if not re.search(r'"/dev/nvme\w+", F_OK(, 0)?\) +=', call.text)] == []


# What each rule is there to find, done by somebody who does it.
OFFENCES = [
    (seen.opened_to_write, "open('/media/made', 'w').close()"),
    (seen.opened_to_write, "os.close(os.open('/dev/sda', os.O_RDWR))"),
    (seen.opened_to_write, "os.close(os.open('/etc/mtab', os.O_RDWR | os.O_APPEND))"),
    (seen.written, "os.write(os.open('/media/made', os.O_WRONLY | os.O_CREAT), b'x')"),
    (seen.written, "os.pwrite(1, b'x', 0)"),
    (seen.changed, "os.mkdir('/media/new'); os.rmdir('/media/new')"),
    (seen.changed, "os.chmod('/dev/sda', 0o600)"),
    (seen.started, "os.system('true')"),
    (seen.started, "os.fork() or os._exit(0)"),
    (seen.connected, "socket.socket().close()"),
    (seen.connected, "os.kill(os.getpid(), 0)"),
]


@pytest.mark.parametrize("rule, offence", OFFENCES, ids=lambda value: getattr(value, "__name__", None))
def test_rule_finds_what_it_is_there_for(machine, rule, offence):
    program = f"import os, socket\ntry:\n    {offence}\nexcept OSError:\n    pass"
    _, calls = seen.trace(machine("whole-server"), [sys.executable, "-c", program])
    innocent = seen.trace(machine("whole-server"), [sys.executable, "-c", "import os, socket"])[1]
    assert rule(calls) and not rule(innocent)


def test_rule_for_devices_finds_other_questions(machine):
    program = "import fcntl, os; fd = os.open('/dev/sda', os.O_RDONLY); os.pread(fd, 1, 0); os.fstat(fd)"
    _, calls = seen.trace(machine("whole-server"), [sys.executable, "-c", program])
    assert not seen.asked_of_devices(calls) <= {"fcntl", "ioctl", "lseek", "read", "close"}
