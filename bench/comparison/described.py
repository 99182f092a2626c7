"""Measurements on machines that are described, as in tests/machines: each disk there has one name, so the system calls that
one more disk, partition or mount costs can be told; and a mount whose server never answers."""

import json
import os
import re
import statistics
import sys
import tempfile
from collections import Counter
from pathlib import Path

from .tools import installed

DEVICES = Path(__file__).resolve().parents[2] / "tests" / "devices"
sys.path.insert(0, str(DEVICES))

from machine.session import Session  # noqa: E402

COMMANDS = {"tree": ["tree"], "export json": ["export", "json"]}
DISKS = 20       # beside the machine of half of them
PARTITIONS = 4   # on each disk
MOUNTS = 20
START, SIZE = 2048, 2048  # sectors, of each partition
DEAD_PLACE = "/media/dead"
CALL = re.compile(r"^(\d+) +\w+\(", re.MULTILINE)  # one that was interrupted in the trace is resumed in another line


# What the kernel shows of a SATA disk and of a partition, as far as it is read; sizes, starts and numbers come on top.
DISK_FILES = {"ro": "0", "removable": "0", "hidden": "0", "queue/rotational": "0", "device/model": "MODEL",
              "device/wwid": "naa.5000c500000abcde"}


def _sysfs_entry(name, position, partitions):
    files = {**DISK_FILES, **{f"{name}{number}/ro": "0" for number in range(1, partitions + 1)},
             **{f"{name}{number}/dev": f"8:{16 * position + number}" for number in range(1, partitions + 1)}}
    return {"name": name, "from_disk": True, "dev": f"8:{16 * position}",
            "files": {path: f"{text}\n" for path, text in files.items()},
            "directories": ["holders", "slaves", *(f"{name}{number}/holders" for number in range(1, partitions + 1))],
            "link": f"../devices/pci0000:00/0000:00:1f.2/ata{position}/host{position}/target{position}:0:0/block/{name}"}


def _description(disks, partitions=0, mounts=0):
    names = [f"sd{chr(ord('a') + number)}" for number in range(disks)]
    starts = [START + SIZE * number for number in range(partitions)]
    nodes = [{"name": f"{name}{number}", "kind": "partition", "of": name, "start": start, "size": SIZE}
             for name in names for number, start in enumerate(starts, 1)]
    for node in nodes[:mounts]:
        node["mkfs"] = ["ext4", "-q"]
    places = [(f"/dev/{node['name']}", f"/media/{node['name']}") for node in nodes[:mounts]]
    table = {"table": [{"sfdisk": ["label: gpt", *(f"start={start}, size={SIZE}" for start in starts)]}]} if starts else {}
    return {"about": "a benchmark", "nodes": nodes, "disks": [{"name": name, "size": "16 MiB", **table} for name in names],
            "sys_block": [_sysfs_entry(name, position, partitions) for position, name in enumerate(names)],
            "mounts": [{"at": at, "source": source, "type": "ext4"} for source, at in places],
            "mtab": [f"{source} {at} ext4 rw 0 0" for source, at in places]}


def _machine(folder, description):
    (Path(folder) / "machine.json").write_text(json.dumps(description), encoding="utf-8")
    return Session(folder)


def _calls(build, description):
    """The system calls of each process of each command on that machine: {command: [number, ...]}, by the processes' age.
    The first reads the kernel's account, the second CIM's, the third writes."""
    with tempfile.TemporaryDirectory() as folder, _machine(folder, description) as session:
        counted = {}
        for name, words in COMMANDS.items():
            session.run(["strace", "-f", "-qq", "-o", "/media/calls", f"{installed(build)}/bin/diskmgt", *words])
            calls = Counter(map(int, CALL.findall(session.run(["cat", "/media/calls"]).stdout)))
            counted[name] = [calls[number] for number in sorted(calls)]
        return counted


def call_costs(build):
    """{command: {"start", "disk", "partition", "mount"}}: for each process what one more of each costs, and what the command
    costs without any."""
    few, more = _calls(build, _description(DISKS // 2)), _calls(build, _description(DISKS))
    parted = _calls(build, _description(DISKS, PARTITIONS))
    mounted = _calls(build, _description(DISKS, PARTITIONS, MOUNTS))

    def each(before, after, count):
        return [(now - then) / count for then, now in zip(before, after, strict=True)]

    costs = {}
    for name in COMMANDS:
        disk = each(few[name], more[name], DISKS - DISKS // 2)
        costs[name] = {"start": [now - DISKS * one for now, one in zip(more[name], disk)], "disk": disk,
                       "partition": each(more[name], parted[name], DISKS * PARTITIONS),
                       "mount": each(parted[name], mounted[name], MOUNTS)}
    return costs


def dead_mount_times(build, runs):
    """{command: milliseconds}, medians beside a FUSE mount whose server never answers; None: the kernel has no FUSE."""
    if not os.path.exists("/dev/fuse"):
        return None
    description = _description(8, PARTITIONS, 8)
    description["mtab"].append(f"dead {DEAD_PLACE} fuse.dead rw 0 0")
    times = {name: [] for name in COMMANDS}
    with tempfile.TemporaryDirectory() as folder, _machine(folder, description) as session:
        session.run([sys.executable, "-B", DEVICES / "dead_mount.py", DEAD_PLACE])
        for _ in range(runs):
            for name, words in COMMANDS.items():
                said = session.run([f"{build}/bin/diskmgt_stopwatch", f"{installed(build)}/bin/diskmgt", *words]).stdout
                nanoseconds, *_, status = map(int, said.split())
                if os.waitstatus_to_exitcode(status) != 4:
                    raise RuntimeError(f"diskmgt {name} ended with {os.waitstatus_to_exitcode(status)}, not 4: the mount answered")
                times[name].append(nanoseconds / 1e6)
    return {name: statistics.median(found) for name, found in times.items()}
