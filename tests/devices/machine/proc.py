"""What the kernel and udev would say of a described machine beside its disks: device numbers, what lies on what, mounts,
swaps, members of btrfs, records and links.

The devices are loop devices, so the numbers are theirs: in sysfs and in mountinfo alike, as the nodes have them."""

import os
import re
import stat

from . import kernel

_MOUNTINFO = f"{kernel.SCRATCH}/mountinfo"
_SWAPS = f"{kernel.SCRATCH}/swaps"
_HEADINGS = "Filename\t\t\t\tType\t\tSize\t\tUsed\t\tPriority\n"


def make_links(machine):
    """Write the numbers into the described /sys/block, and both ends of what lies on what. Machines with neither a
    described mountinfo nor records of udev keep the numbers of their descriptions."""
    for block in machine.sys_block:
        if machine.mountinfo is not None or machine.udev:
            _write_numbers(block.name)
        for slave in block.slaves:
            place = _place_of(slave, machine)
            _link(f"/sys/block/{block.name}/slaves/{slave}", place)
            _link(f"{place}/holders/{block.name}", f"/sys/block/{block.name}")


def make_tables(machine):
    """Put the described /proc/swaps in place, and the text that each command gets as its mountinfo."""
    if machine.mountinfo is not None:
        lines = _from_mtab(machine.mtab) if machine.mountinfo == "mtab" else machine.mountinfo
        text = "".join(f"{_numbered(line)}\n" for line in lines)
        _write(_MOUNTINFO, text)
    if machine.swaps is not None:
        _write(_SWAPS, _HEADINGS + "".join(f"{line}\n" for line in machine.swaps))
        kernel.mount(_SWAPS, "/proc/swaps", flags=kernel.MS_BIND)


def make_udev(machine):
    """Write the records that udev would have of the nodes, and its links."""
    for record in machine.udev:
        lines = [f"S:disk/{link}" for link in record.links]
        lines += [f"E:{name}={value}" for name, value in record.properties.items()]
        path = f"/run/udev/data/b{_number_of(f'/dev/{record.name}')}"
        os.makedirs(os.path.dirname(path), 0o755, exist_ok=True)
        _write(path, "".join(f"{line}\n" for line in [*lines, "V:1"]))
        for link in record.links:
            _link(f"/dev/disk/{link}", f"/dev/{record.name}")


def make_btrfs(machine):
    """List the members of each btrfs that is mounted, as the kernel does once it has the module."""
    if machine.btrfs:
        os.makedirs("/sys/fs/btrfs/features", 0o755)
    for found in machine.btrfs:
        for member in found.members:
            _link(f"/sys/fs/btrfs/{found.uuid}/devices/{member}", _place_of(member, machine))


def cover_mountinfo():
    """In the process that is about to become the command: its own mountinfo becomes the described one."""
    if os.path.exists(_MOUNTINFO):
        kernel.mount(_MOUNTINFO, "/proc/self/mountinfo", flags=kernel.MS_BIND)


def _number_of(node):
    try:
        about = os.stat(node)
    except OSError:
        return None
    return f"{os.major(about.st_rdev)}:{os.minor(about.st_rdev)}" if stat.S_ISBLK(about.st_mode) else None


def _write_numbers(disk):
    folder = f"/sys/block/{disk}"
    for name in [disk] + [name for name in os.listdir(folder) if name.startswith(disk)]:
        number = _number_of("/dev/" + name.replace("!", "/"))
        if number:
            _write(f"{folder}/dev" if name == disk else f"{folder}/{name}/dev", f"{number}\n")


def _place_of(name, machine):
    """Where sysfs has a disk or partition."""
    for block in machine.sys_block:
        if name != block.name and os.path.isdir(f"/sys/block/{block.name}/{name}"):
            return f"/sys/block/{block.name}/{name}"
    return f"/sys/block/{name}"


def _link(path, target):
    os.makedirs(os.path.dirname(path), 0o755, exist_ok=True)
    os.symlink(os.path.relpath(target, os.path.dirname(path)), path)


def _write(path, text):
    with open(path, "w", encoding="utf-8", errors="surrogateescape") as new:
        os.fchmod(new.fileno(), 0o644)
        new.write(text)


def _from_mtab(mtab):
    """Lines of mountinfo for those of the mount table: sources in /dev have their numbers, others one of their own."""
    mounts = [line.split(" ") for line in mtab.splitlines()]
    for place, (source, point, kind, options, *_) in enumerate(mounts):
        number = _number_of(source) if source.startswith("/dev/") else None
        parent = _parent_of(place, [mount[1] for mount in mounts])
        yield (f"{20 + place} {1 if parent is None else 20 + parent} {number or f'0:{20 + place}'} / {point} {options} - "
               f"{kind} {source} {options}")


def _parent_of(place, points):
    """An earlier one at the same place, or the nearest above; None: it is the root."""
    earlier = [other for other in range(place) if points[other] == points[place]]
    above = [other for other, point in enumerate(points)
             if point != points[place] and (points[place] + "/").startswith(point.rstrip("/") + "/")]
    return earlier[-1] if earlier else max(above, key=lambda other: len(points[other]), default=None)


def _numbered(line):
    """The line with "{sda1}" replaced by the number of that node."""
    return re.sub(r"\{([^}]+)\}", lambda match: _number_of(f"/dev/{match.group(1)}") or "0:0", line)
