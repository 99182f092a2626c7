"""Reads machine.json, the description of one server, and refuses what it does not understand. No privileges needed.

The format is told in README.md. Building the machine is build.py's work."""

import json
import re
import struct
from dataclasses import dataclass, field
from pathlib import Path

from machine.repetition import expand

SECTOR = 512
UNITS = {"": 1, "sectors": SECTOR, "B": 1, "KiB": 1 << 10, "MiB": 1 << 20, "GiB": 1 << 30, "TiB": 1 << 40}
TABLE_TOOLS = ("sfdisk", "sgdisk", "parted")
NODE_KINDS = ("partition", "disk", "file", "link", "character", "directory")


class DescriptionError(Exception):
    """The description cannot be understood; the text names the file, the place in it and what is wrong."""


@dataclass
class Disk:
    name: str  # below /dev
    size: int  # bytes
    sector_size: int = SECTOR
    table: list = field(default_factory=list)  # (tool, what to tell it), in order
    patches: list = field(default_factory=list)  # (byte offset, bytes), written after the tables
    readable: int | None = None  # bytes that can be read; None: all
    mkfs: list = field(default_factory=list)


@dataclass
class Node:
    name: str
    kind: str
    disk: str = ""  # partition: the disk it lies on; disk: the disk it is another name of
    start: int = 0  # bytes
    size: int = 0
    target: str = ""
    mkfs: list = field(default_factory=list)


@dataclass
class Block:
    name: str
    files: dict = field(default_factory=dict)  # file name to contents
    directories: list = field(default_factory=list)
    slaves: list = field(default_factory=list)  # names of what the device lies on
    link: str = ""  # the entry is a symbolic link to this place, and the files lie there
    from_disk: bool = False  # sizes, starts and numbers are those of the disk and partition nodes of this name


@dataclass
class UdevRecord:
    name: str  # of the node
    properties: dict = field(default_factory=dict)
    links: list = field(default_factory=list)  # below /dev/disk, such as by-uuid/1234-ABCD


@dataclass
class Btrfs:
    uuid: str
    members: list  # names of devices in sysfs


@dataclass
class Mount:
    at: str
    source: str
    type: str = ""
    options: str = ""
    bind: bool = False


@dataclass
class Machine:
    folder: Path
    about: str = ""
    hostname: str = "server1"
    disks: list = field(default_factory=list)
    nodes: list = field(default_factory=list)
    sys_block: list | None = field(default_factory=list)  # None: the directory is missing
    mounts: list = field(default_factory=list)
    mtab: str | None = ""  # None: the file is missing
    mtab_live: bool = False
    mtab_read_only: bool = False
    mountinfo: str | list | None = None  # "mtab": made from it; lines; None: the kernel's own
    swaps: list | None = None  # lines of /proc/swaps below the headings; None: the kernel's own
    udev: list = field(default_factory=list)
    btrfs: list = field(default_factory=list)
    virtual_devices: list = field(default_factory=list)


def size_in_bytes(value):
    """Bytes of 12345 (sectors) or of a text such as "64 MiB" or "512 B"; None when it is neither."""
    if isinstance(value, int) and not isinstance(value, bool):
        return value * SECTOR if value >= 0 else None
    match = re.fullmatch(r"(\d+) ?([A-Za-z]*)", value) if isinstance(value, str) else None
    if not match or match.group(2) not in UNITS:
        return None
    return int(match.group(1)) * UNITS[match.group(2)]


class _Reader:
    """One JSON object, read key by key; what is left over or of the wrong type is an error that says where."""

    def __init__(self, value, where):
        if not isinstance(value, dict):
            raise DescriptionError(f"{where}: an object is expected")
        self.value, self.where = dict(value), where

    def take(self, key, kinds, default=None, needed=False):
        if key not in self.value:
            if needed:
                raise DescriptionError(f'{self.where}: "{key}" is missing')
            return default
        found = self.value.pop(key)
        if not isinstance(found, kinds) or (isinstance(found, bool) and kinds is not bool):
            raise DescriptionError(f'{self.where}: "{key}" is of the wrong type')
        return found

    def size(self, key, default=None, needed=False):
        found = self.take(key, (int, str), None, needed)
        if found is None:
            return default
        if size_in_bytes(found) is None:
            raise DescriptionError(f'{self.where}: "{key}": a number of sectors or a text like "64 MiB" is expected')
        return size_in_bytes(found)

    def texts(self, key):
        found = self.take(key, list, [])
        if not all(isinstance(text, str) for text in found):
            raise DescriptionError(f'{self.where}: "{key}" is a list of texts')
        return found

    def objects(self, key):
        for number, value in enumerate(self.take(key, list, [])):
            yield _Reader(value, f"{self.where}, {key}[{number}]")

    def name(self):
        found = self.take("name", str, needed=True)
        if not found or found.startswith(("/", ".")) or ".." in found.split("/"):
            raise DescriptionError(f'{self.where}: "name" is a name below /dev or /sys/block, not "{found}"')
        return found

    def done(self):
        if self.value:
            raise DescriptionError(f'{self.where}: unknown key "{sorted(self.value)[0]}"')


def _slot(text, where):
    """The 16 bytes of one MBR slot, written as TYPE START COUNT, type in hexadecimal; a star behind: bootable."""
    match = re.fullmatch(r"([0-9a-fA-F]{1,2}) (\d+) (\d+)( \*)?", text)
    if not text:
        return bytes(16)
    if not match or max(int(match.group(2)), int(match.group(3))) >= 1 << 32:
        raise DescriptionError(f'{where}: a slot is written like "83 2048 4096" or "83 2048 4096 *", not "{text}"')
    return struct.pack("<B3xB3xII", 0x80 if match.group(4) else 0, int(match.group(1), 16), int(match.group(2)),
                       int(match.group(3)))


def _patch(reader):
    offset = reader.size("sector", 0)
    if "slots" in reader.value:
        slots = b"".join(_slot(text, reader.where) for text in reader.texts("slots"))
        reader.done()
        if len(slots) > 64:
            raise DescriptionError(f"{reader.where}: a table has four slots")
        return offset + 446, slots.ljust(64, b"\0") + b"\x55\xaa"
    offset += reader.take("offset", int, 0)
    digits = reader.take("hex", (str, list), needed=True)
    reader.done()
    try:
        return offset, bytes.fromhex(digits if isinstance(digits, str) else "".join(digits))
    except (ValueError, TypeError):
        raise DescriptionError(f'{reader.where}: "hex" is not made of pairs of hexadecimal digits') from None


def _disk(reader):
    disk = Disk(reader.name(), reader.size("size", needed=True), reader.take("sector_size", int, SECTOR))
    for step in reader.objects("table"):
        tool = next((tool for tool in TABLE_TOOLS if tool in step.value), None)
        if not tool:
            raise DescriptionError(f"{step.where}: one of {', '.join(TABLE_TOOLS)} is expected")
        disk.table.append((tool, step.texts(tool)))
        step.done()
    disk.patches = [_patch(patch) for patch in reader.objects("patches")]
    disk.readable = reader.size("readable")
    disk.mkfs = reader.texts("mkfs")
    reader.done()
    for offset, data in disk.patches:
        if offset + len(data) > disk.size:
            raise DescriptionError(f"{reader.where}: a patch at byte {offset} reaches past the end of {disk.name}")
    return disk


def _node(reader):
    node = Node(reader.name(), reader.take("kind", str, needed=True))
    if node.kind not in NODE_KINDS:
        raise DescriptionError(f'{reader.where}: unknown kind "{node.kind}"; known: {", ".join(NODE_KINDS)}')
    if node.kind in ("partition", "disk"):
        node.disk = reader.take("of", str, needed=True)
    if node.kind == "partition":
        node.start, node.size = reader.size("start", needed=True), reader.size("size", needed=True)
        node.mkfs = reader.texts("mkfs")
    if node.kind == "link":
        node.target = reader.take("target", str, needed=True)
    reader.done()
    return node


def _block(reader):
    block = Block(reader.name(), directories=reader.texts("directories"),
                  slaves=reader.texts("slaves"), link=reader.take("link", str, ""),
                  from_disk=reader.take("from_disk", bool, False))
    for short in ("size", "dev"):  # the two files that nearly every entry has
        value = reader.take(short, (int, str))
        if value is not None:
            block.files[short] = f"{value}\n"
    block.files.update(reader.take("files", dict, {}))
    reader.done()
    return block


def _udev_record(reader):
    record = UdevRecord(reader.name(), reader.take("properties", dict, {}), reader.texts("links"))
    reader.done()
    if not all(isinstance(value, str) for value in record.properties.values()):
        raise DescriptionError(f'{reader.where}: "properties" are texts')
    if not all(re.fullmatch(r"by-[^/]+/[^/]+", link) for link in record.links):
        raise DescriptionError(f'{reader.where}: a link is written like "by-uuid/1234-ABCD"')
    return record


def _btrfs(reader):
    found = Btrfs(reader.take("uuid", str, needed=True), reader.texts("members"))
    reader.done()
    return found


def _fill_from_disk(block, machine, path):
    """What sysfs says of a disk and its partitions, from the disk and the nodes; what is described otherwise stays."""
    disk = next((disk for disk in machine.disks if disk.name == block.name), None)
    if not disk:
        raise DescriptionError(f'{path}: sys_block entry {block.name}: "from_disk" needs a disk of this name')
    filled = {"size": disk.size // SECTOR, "queue/logical_block_size": disk.sector_size}
    for node in machine.nodes:
        if node.kind == "partition" and node.disk == block.name:
            filled[f"{node.name}/start"], filled[f"{node.name}/size"] = node.start // SECTOR, node.size // SECTOR
            filled[f"{node.name}/partition"] = re.search(r"\d*$", node.name).group()
    block.files = {**{name: f"{value}\n" for name, value in filled.items()}, **block.files}


def _mount(reader):
    mount = Mount(reader.take("at", str, needed=True), reader.take("source", str, needed=True),
                  reader.take("type", str, ""), reader.take("options", str, ""), reader.take("bind", bool, False))
    reader.done()
    if not mount.at.startswith("/media/"):
        raise DescriptionError(f'{reader.where}: "at" lies below /media/, not at "{mount.at}"')
    return mount


def _mount_table(reader, machine):
    if "mtab" in reader.value and reader.value["mtab"] is None:
        reader.value.pop("mtab")
        machine.mtab = None
        return
    found = reader.take("mtab", (str, list), [])
    if found == "live":
        machine.mtab_live = True
    elif isinstance(found, str):
        machine.mtab = found
    else:
        machine.mtab = "".join(f"{line}\n" for line in found)


def _kernel_tables(reader, machine):
    found = reader.take("mountinfo", (str, list))
    if isinstance(found, str) and (found != "mtab" or not machine.mtab):
        raise DescriptionError(f'{reader.where}: "mountinfo" is a list of lines, or "mtab" when that is described')
    machine.mountinfo = found
    if "swaps" in reader.value:
        machine.swaps = reader.texts("swaps")


def read_machine(folder):
    """The machine that folder/machine.json describes; DescriptionError when it cannot be understood."""
    path = Path(folder) / "machine.json"
    try:
        value = expand(json.loads(path.read_text(encoding="utf-8")))
    except (OSError, ValueError) as failure:
        raise DescriptionError(f"{path}: {failure}") from None
    reader = _Reader(value, str(path))
    machine = Machine(Path(folder), reader.take("about", str, needed=True), reader.take("hostname", str, "server1"))
    machine.disks = [_disk(disk) for disk in reader.objects("disks")]
    machine.nodes = [_node(node) for node in reader.objects("nodes")]
    if reader.value.get("sys_block", ()) is None:
        machine.sys_block = reader.value.pop("sys_block")
    else:
        machine.sys_block = [_block(block) for block in reader.objects("sys_block")]
    machine.mounts = [_mount(mount) for mount in reader.objects("mounts")]
    _mount_table(reader, machine)
    machine.mtab_read_only = reader.take("mtab_read_only", bool, False)
    machine.virtual_devices = reader.texts("virtual_devices")
    _kernel_tables(reader, machine)
    machine.udev = [_udev_record(record) for record in reader.objects("udev")]
    machine.btrfs = [_btrfs(found) for found in reader.objects("btrfs")]
    reader.done()
    _check_names(machine, path)
    for block in machine.sys_block or []:
        if block.from_disk:
            _fill_from_disk(block, machine, path)
    return machine


def _check_names(machine, path):
    disks = {disk.name for disk in machine.disks}
    names = [thing.name for thing in machine.disks + machine.nodes]
    doubled = sorted({name for name in names if names.count(name) > 1})
    if doubled:
        raise DescriptionError(f"{path}: /dev/{doubled[0]} is described twice")
    for node in machine.nodes:
        if node.disk and node.disk not in disks:
            raise DescriptionError(f'{path}: node {node.name} lies on "{node.disk}", which is no disk of this machine')
    for record in machine.udev:
        if record.name not in names:
            raise DescriptionError(f"{path}: udev has a record of {record.name}, which is no node of this machine")
