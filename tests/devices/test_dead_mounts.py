"""The command ends at its limit whatever the kernel does with its work: against a server whose requests are never read,
and against one that takes them and never answers, whose callers survive even SIGKILL."""

import json
import os
import re
import shutil
import sys
import time
from pathlib import Path

import pytest

from conftest import write_machine
from machine.session import Session

HERE = Path(__file__).resolve().parent
DESCRIPTION = {
    "about": "A file system that never answers beside a drive.",
    "disks": [{"name": "sda", "size": "16 MiB", "table": [{"sgdisk": ["-n 1:2048:+4M -t 1:8300"]}]}],
    "nodes": [{"name": "sda1", "kind": "partition", "of": "sda", "start": 2048, "size": 8192}],
    "sys_block": [{"name": "sda", "dev": "8:0", "directories": ["sda1"], "from_disk": True}],
    "mounts": [{"at": "/media/alive", "source": "tmpfs", "type": "tmpfs", "options": "size=1m"}],
    "mtab": ["alive /media/alive tmpfs rw 0 0", "dead /media/dead fuse.dead rw 0 0"],
}
STALLED = {"get": ["get", "VEXSG_LogicalDisk"], "trace": ["trace", "VEXSG_LogicalDisk"], "tree": ["tree"],
           "export": ["export", "json"]}
DELIVERING = {"tree", "export"}
GAVE_UP = 'gave up after 1 s while serving VEXSG_LogicalDisk: measuring the file system at "/media/dead"; '
NOT_ASKED = ("not served: VEXSG_LogicalDisk, VEXSG_MediaPresent, VEXSG_LogicalDiskBasedOnPartition: the file system "
             "mounted on /media/dead (fuse.dead) does not answer")
pytestmark = pytest.mark.skipif(not os.path.exists("/dev/fuse"), reason="the kernel has no /dev/fuse")


# Prints "state parent number" of each process of that name here; numbers are those of /proc, not of the machine. A
# zombie has left the machine, but its parent has not.
LIST = ('here=$(readlink /proc/self/ns/mnt); for one in /proc/[0-9]*; do '
        'read -r line <$one/stat || continue; case $line in *"($1)"*) ;; *) continue;; esac; '
        'set -- "$1" ${line##*) }; lives=$one; [ "$2" = Z ] && lives=/proc/$3; '
        '[ "$(readlink $lives/ns/mnt)" = "$here" ] && echo "$2 $3 ${one#/proc/}"; done 2>/dev/null; :')
# Starts a command, and sends it SIGTERM once its child is in a system call that has lasted for some looks.
INTERRUPT = """
import os, signal, subprocess, sys
listing, *command = sys.argv[1:]
running = subprocess.Popen(command)
seen = {}
while not any(looks >= 5 for looks in seen.values()):
    lines = subprocess.run(["sh", "-c", listing, "sh", os.path.basename(command[0])], capture_output=True, text=True)
    found = [line.split() for line in lines.stdout.splitlines()]
    numbers = {number for _, _, number in found}
    for state, parent, number in found:
        if parent in numbers:
            with open(f"/proc/{number}/syscall") as file:
                call = file.read()
            seen[call] = seen.get(call, 0) + (call != "running\\n")
running.terminate()
print(running.wait())
"""
ZOMBIE = """
import os, subprocess, sys
child = os.fork()
if not child:
    with open("/proc/self/comm", "w") as name:
        name.write("sleepy")
    os._exit(0)
os.waitid(os.P_PID, child, os.WEXITED | os.WNOWAIT)
print(subprocess.run(["sh", "-c", sys.argv[1], "sh", "sleepy"], capture_output=True, text=True).stdout[:1])
os.waitpid(child, 0)
"""


def name_spaces_of(session):
    """{number inside the machine: (mount name space, mount table)} of each process there."""
    inside, found = os.readlink(f"/proc/{session.init}/ns/pid"), {}
    for place in Path("/proc").glob("[0-9]*"):
        try:
            if os.readlink(place / "ns" / "pid") == inside:
                number = re.search(r"^NSpid:.*\s(\d+)$", (place / "status").read_text(encoding="utf-8"), re.MULTILINE)[1]
                found[number] = os.readlink(place / "ns" / "mnt"), (place / "mountinfo").read_text(encoding="utf-8")
        except OSError:
            pass  # it ended
    return found


def processes_of(session, command):
    """The states of the command's processes inside the machine."""
    return [line.split()[0] for line in session.run(["sh", "-c", LIST, "sh", command.name]).stdout.splitlines()]


@pytest.fixture(scope="module", params=["silent", "taking"])
def stalled(request, tmp_path_factory, diskmgt):
    folder = tmp_path_factory.mktemp(request.param)
    with Session(write_machine(folder, **DESCRIPTION)) as session:
        session.holder = session.run([sys.executable, "-B", HERE / "dead_mount.py", "/media/dead",
                                      request.param]).stdout.strip()
        session.kind = request.param
        yield session
        session.run(["kill", "-KILL", session.holder], check=False)
        # Once the server is gone the kernel lets go of what it held: nothing stays behind but what is for the first
        # process to reap, which the machine's does not do.
        for _ in range(100):
            left = [state for state in processes_of(session, Path(diskmgt)) if state != "Z"]
            if not left:
                break
            time.sleep(0.05)
        assert left == []


def sentence_of(command):
    """What both accounts show is known before the plug-in would wait, so only a request of it gives up."""
    return NOT_ASKED if command in DELIVERING else GAVE_UP


@pytest.mark.parametrize("command", STALLED)
def test_command_ends_and_its_pipes_too(stalled, diskmgt, command):
    done = stalled.run([diskmgt, *STALLED[command], "--timeout", "1"], check=False, timeout=30)  # reads to the end
    assert (done.status, done.stderr.count("\n")) == (4, 1), done.stderr
    assert sentence_of(command) in done.stderr
    assert ("sda1" in done.stdout) == (command in DELIVERING)


@pytest.mark.parametrize("command", STALLED)
def test_command_ends_with_a_file(stalled, diskmgt, command):
    stalled.run(["sh", "-c", "rm -f /media/alive/*"])
    words = [str(word) for word in (diskmgt, *STALLED[command], "--timeout", "1")]
    done = stalled.run(["sh", "-c", 'exec "$@" >/media/alive/out', "sh", *words], check=False, timeout=30)
    assert done.status == 4 and sentence_of(command) in done.stderr
    done = stalled.run([*words, "--output", "/media/alive/whole"], check=False, timeout=30)
    assert done.status == 4 and sentence_of(command) in done.stderr
    names = ["out", "whole"] if command in DELIVERING else ["out"]
    assert stalled.run(["ls", "-A", "/media/alive"]).stdout.split() == names
    assert ("sda1" in stalled.run(["cat", "/media/alive/out"]).stdout) == (command in DELIVERING)


def test_what_does_not_wait_is_all_there(stalled, diskmgt):
    done = stalled.run([diskmgt, "export", "json"], check=False, timeout=30)
    document = json.loads(done.stdout)["diskmgt"]
    assert (done.status, document["complete"]) == (4, False)
    assert {gap["of"] for gap in document["incomplete"] if gap["rule"] == "mount-does-not-answer"} == {
        "/media/dead", "VEXSG_LogicalDisk", "VEXSG_MediaPresent", "VEXSG_LogicalDiskBasedOnPartition"}
    devices = {device["name"]: device for device in document["devices"]}
    assert devices["sda"]["cim"]["drive"]["reported"] is True
    assert devices["sda1"]["cim"]["partition"]["reported"] is True
    mounts = {mount["mountPoint"]: mount for entry in document["fileSystems"] for mount in entry["mounts"]}
    assert mounts["/media/dead"]["rule"] == "mount-does-not-answer" and "total" not in mounts["/media/dead"]
    assert mounts["/media/alive"]["total"] == 1 << 20
    silent = [entry["cim"]["logicalDisk"] for entry in document["fileSystems"]]
    assert all(answer == {"known": False, "rule": "mount-does-not-answer"} for answer in silent)


def test_a_block_device_that_a_program_serves_is_no_local_file_system(tmp_path, diskmgt):
    with Session(write_machine(tmp_path, **DESCRIPTION)) as session:
        holder = session.run([sys.executable, "-B", HERE / "dead_mount.py", "/media/dead", "silent", "/dev/sda1"]).stdout
        done = session.run([diskmgt, "export", "json", "--timeout", "20"], check=False, timeout=60)
        session.run(["kill", "-KILL", holder.strip()], check=False)
    assert done.status == 4 and "gave up" not in done.stderr
    assert "the file system mounted on /media/dead (fuseblk) does not answer" in done.stderr
    device = next(row for row in json.loads(done.stdout)["diskmgt"]["devices"] if row["name"] == "sda1")
    assert device["cim"]["partition"]["reported"] is True


def test_neither_server_nor_first_process_is_the_last_that_has_a_dead_mount(tmp_path):
    """Or a machine with one of a block device would never end: see dead_mount.py."""
    with Session(write_machine(tmp_path, mtab=[])) as session:
        holder = session.run([sys.executable, "-B", HERE / "dead_mount.py", "/media/dead"]).stdout.strip()
        found = name_spaces_of(session)
        session.run(["kill", "-KILL", holder], check=False)
    assert " /media/dead " in found["1"][1]
    assert " /media " in found[holder][1] and " /media/dead " not in found[holder][1]
    assert [number for number, (space, _) in found.items() if space == found["1"][0] and number not in ("1", holder)]


@pytest.mark.parametrize("words", [["get", "VEXSG_DiskDrive"], ["export", "json"], ["classes"]])
def test_target_that_never_answers_is_under_the_limit(stalled, diskmgt, words):
    done = stalled.run([diskmgt, *words, "--timeout", "1", "--output", "/media/dead/out"], check=False, timeout=30)
    assert (done.status, done.stdout) == (4, "")
    assert 'gave up after 1 s while writing /media/dead/out' in done.stderr


def test_device_that_never_answers_is_named_when_time_is_up(stalled, diskmgt):
    stalled.run(["ln", "-sf", "/media/dead/disk", "/dev/md3"])
    done = stalled.run([diskmgt, "explain", "--timeout", "0.5"], check=False, timeout=30)
    stalled.run(["rm", "/dev/md3"])
    assert done.status == 4 and 'gave up after 0.5 s while ' in done.stderr and '/dev/md3' in done.stderr
    assert re.search(r"^/dev/sda +yes +\? .*time ran out$", done.stdout, re.MULTILINE)  # what was known by then
    assert "No answer came from what is mounted on /media/dead (fuse.dead)" in done.stdout


def test_interruption_ends_the_command(stalled, diskmgt):
    done = stalled.run([sys.executable, "-c", INTERRUPT, LIST, diskmgt, "get", "VEXSG_LogicalDisk", "--timeout", "0"],
                       timeout=30)
    assert done.stdout.split() == ["-15"]


def test_no_zombie_is_left(stalled, diskmgt):
    stalled.run([diskmgt, "get", "VEXSG_LogicalDisk", "--timeout", "0.5"], check=False, timeout=30)
    assert "Z" not in processes_of(stalled, Path(diskmgt))


def test_zombies_are_counted(stalled):
    assert stalled.run([sys.executable, "-c", ZOMBIE, LIST]).stdout.strip() == "Z"


def test_work_that_the_kernel_holds_keeps_no_descriptor_of_the_caller(stalled, diskmgt):
    if stalled.kind == "silent":
        pytest.skip("such work can be killed, so it is gone")
    done = stalled.run([diskmgt, "get", "VEXSG_LogicalDisk", "--timeout", "1"], check=False, timeout=30)
    assert done.status == 4
    assert "D" in processes_of(stalled, Path(diskmgt))


@pytest.mark.skipif(not shutil.which("strace"), reason="strace is missing")
def test_work_that_cannot_be_killed_is_given_up_once(stalled, diskmgt):
    if stalled.kind == "silent":
        pytest.skip("such work can be killed, so it is gone")
    done = stalled.run(["strace", "-qq", "-e", "trace=kill", "-o", "/media/alive/kills", diskmgt, "get",
                        "VEXSG_LogicalDisk", "--timeout", "1"], check=False, timeout=30)
    assert done.status == 4
    kills = stalled.run(["cat", "/media/alive/kills"]).stdout
    assert [line.split(", ")[1].split(")")[0] for line in kills.splitlines() if line.startswith("kill(")] == [
        "SIGTERM", "SIGKILL"]


def test_a_plugin_is_not_blamed_for_a_dead_mount(stalled, diskmgt):
    done = stalled.run([diskmgt, "check", "--format", "json", "--timeout", "5"], check=False, timeout=30)
    assert (done.status, json.loads(done.stdout)["verdict"], done.stderr) == (0, "good", "")
    serves, = [found for found in json.loads(done.stdout)["checks"] if found["name"] == "serves"]
    assert [(remark["class"], remark["text"]) for remark in serves["remarks"]] == [
        ("VEXSG_LogicalDisk", "not asked for: the file system mounted on /media/dead (fuse.dead) does not answer"),
        ("VEXSG_MediaPresent", "not asked for: it pairs VEXSG_LogicalDisk"),
        ("VEXSG_LogicalDiskBasedOnPartition", "not asked for: it pairs VEXSG_LogicalDisk")]
