"""The commands that are compared, and what each lists."""

import shutil
from dataclasses import dataclass
from typing import Callable

THREE_CLASSES = ["VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk"]


@dataclass(frozen=True)
class Tool:
    name: str
    calls: Callable        # (build directory, machine) -> list of commands, run one after the other
    second_view: bool = False
    own: bool = False      # part of this project
    note: str = ""


def installed(build):
    """Where `compare` installs the product, below the build directory."""
    return f"{build}/installed"


def _diskmgt(*arguments):
    return lambda build, machine: [[f"{installed(build)}/bin/diskmgt", *arguments]]


TOOLS = [
    Tool("floor", lambda build, machine: [[f"{build}/bin/diskmgt_floor"]], own=True,
         note="only the system calls of the next row, in a static C program"),
    Tool("diskmgt get, three classes", _diskmgt("get", *THREE_CLASSES, "--exact"), own=True,
         note="drives, partitions and logical disks as JSON"),
    Tool("diskmgt tree", _diskmgt("tree"), own=True),
    Tool("diskmgt export json", _diskmgt("export", "json"), own=True),
    Tool("lsblk -J -b", lambda build, machine: [["lsblk", "-J", "-b"]]),
    Tool("lsblk -J -b -O", lambda build, machine: [["lsblk", "-J", "-b", "-O"]]),
    Tool("sfdisk -J", lambda build, machine: [["sfdisk", "-J", path] for path in machine.paths()],
         note="one call per disk"),
    Tool("parted -lm", lambda build, machine: [["parted", "-lm"]], second_view=True,
         note="passes over names beginning with loop, so it is given the other names"),
    Tool("blkid -p", lambda build, machine: [["blkid", "-p", *machine.paths(), *machine.partition_paths()]],
         note="every disk and partition in one call"),
    Tool("lshw -c disk", lambda build, machine: [["lshw", "-quiet", "-c", "disk", "-json"]],
         note="passes over loop devices under any name: the time of listing none of them"),
    Tool("hwinfo --disk", lambda build, machine: [["hwinfo", "--disk"]],
         note="passes over loop devices under any name: the time of listing none of them"),
    Tool("findmnt -J", lambda build, machine: [["findmnt", "-J"]], note="mounts only"),
]

VERSION_COMMANDS = {"lsblk": ["lsblk", "--version"], "sfdisk": ["sfdisk", "--version"],
                    "parted": ["parted", "--version"], "blkid": ["blkid", "-V"], "lshw": ["dpkg-query", "-W", "-f", "${Version}", "lshw"],
                    "hwinfo": ["hwinfo", "--version"], "findmnt": ["findmnt", "--version"]}


def why_missing(call, status):
    """Why a command cannot be compared; "" when it can."""
    if shutil.which(call[0]) is None:
        return "not installed"
    if status == 2 and call[0].endswith("/diskmgt"):
        return "the command does not exist"
    return ""
