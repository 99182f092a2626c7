"""Builds a described machine around the calling process: private mounts, loop devices under their real names, a
described /sys/block, mount table and host name. Nothing of it is visible outside or outlives the name space."""

import os
import shlex
import socket
import stat
import subprocess

from . import kernel, proc

SCRATCH = kernel.SCRATCH
_CHARACTER_NODES = {"null": (1, 3), "zero": (1, 5), "full": (1, 7), "random": (1, 8), "urandom": (1, 9), "tty": (5, 0)}
_LINKS = {"fd": "/proc/self/fd", "stdin": "fd/0", "stdout": "fd/1", "stderr": "fd/2", "ptmx": "pts/ptmx"}
_KEPT = ("pts", "shm")
TOOL_PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"


class BuildError(Exception):
    """A step of building failed; the text names it and carries what the tool said."""


def build(machine):
    """Turns the name space of this process into the machine. Returns its loop devices, which live while held.

    The caller has made the name spaces private to itself. Raises BuildError or OSError; then the caller ends, and
    everything made so far ends with it."""
    os.umask(0)  # modes are meant as written
    kernel.mount("", "/", flags=kernel.MS_REC | kernel.MS_PRIVATE)
    socket.sethostname(machine.hostname)
    loops = []
    _make_dev()
    control = kernel.loop_control("/dev/loop-control")
    try:
        for disk in machine.disks:
            loops.append(_make_disk(disk, control))
        by_name = {disk.name: loop for disk, loop in zip(machine.disks, loops)}
        for node in machine.nodes:
            _make_node(node, control, by_name, loops)
    finally:
        os.close(control)
    for thing in machine.disks + [node for node in machine.nodes if node.kind == "partition"]:
        if thing.mkfs:
            _run([f"mkfs.{thing.mkfs[0]}", *thing.mkfs[1:], f"/dev/{thing.name}"])
    for disk in machine.disks:
        if disk.readable is not None:
            os.truncate(_image(disk.name), disk.readable)  # the loop keeps its size; reads past here fail
    _make_mounts(machine)
    _make_sys_block(machine)
    _make_mount_table(machine)
    proc.make_tables(machine)
    _make_udev(machine)
    _make_btrfs(machine)
    os.umask(0o022)
    return loops


def unmount(machine):
    """Takes the described mounts off again, for an orderly end: a mounted loop device would be busy a little longer."""
    for mount in reversed(machine.mounts):
        try:
            kernel.unmount(mount.at)
        except OSError:
            pass  # the command covered or moved it; it ends with the name space


def _run(command, text=None):
    try:
        done = subprocess.run(command, input=text, capture_output=True, text=True, errors="replace", check=False,
                              env={"PATH": TOOL_PATH, "LC_ALL": "C"})
    except OSError as failure:
        raise BuildError(f"{command[0]}: {failure.strerror}") from None
    if done.returncode:
        raise BuildError(f"{shlex.join(command)}: exit status {done.returncode}\n{done.stdout}{done.stderr}")


def _words(texts):
    return [word for text in texts for word in shlex.split(text)]


def _make_dev():
    # A descriptor still reaches what the new mount covers, so the kept directories can be bound back from it.
    kept = {name: os.open(f"/dev/{name}", os.O_PATH | os.O_CLOEXEC) for name in _KEPT if os.path.isdir(f"/dev/{name}")}
    kernel.mount("tmpfs", "/dev", "tmpfs", options="mode=755")
    for name, device in _CHARACTER_NODES.items():
        os.mknod(f"/dev/{name}", stat.S_IFCHR | 0o666, os.makedev(*device))
    for name, target in _LINKS.items():
        os.symlink(target, f"/dev/{name}")
    for name, descriptor in kept.items():
        os.mkdir(f"/dev/{name}", 0o755)
        kernel.mount(f"/proc/self/fd/{descriptor}", f"/dev/{name}", flags=kernel.MS_BIND)
        os.close(descriptor)
    os.mkdir(SCRATCH, 0o700)
    kernel.mount("tmpfs", SCRATCH, "tmpfs", options="mode=700")


def _image(name):
    return f"{SCRATCH}/{name.replace('/', '-')}.img"


def _put_node(name, mode, device=0):
    path = f"/dev/{name}"
    os.makedirs(os.path.dirname(path), 0o755, exist_ok=True)
    os.mknod(path, mode, device)


def _make_disk(disk, control):
    image = _image(disk.name)
    with open(image, "wb") as new:
        new.truncate(disk.size)
    if disk.sector_size == 512:  # the tools are faster on a file, and some pause for a second on a device
        _write_tables(disk, image)
    loop = kernel.Loop(control, SCRATCH, image, sector_size=disk.sector_size)
    _put_node(disk.name, stat.S_IFBLK | 0o660, loop.device)
    if disk.sector_size != 512:
        _write_tables(disk, f"/dev/{disk.name}")
    return loop


def _write_tables(disk, target):
    for tool, texts in disk.table:
        if tool == "sfdisk":
            _run(["sfdisk", "--quiet", "--no-reread", "--no-tell-kernel", "--wipe", "never", target],
                 "\n".join(texts) + "\n")
        elif tool == "sgdisk":
            _run(["sgdisk", *_words(texts), target])
        else:
            _run(["parted", "--script", target, "--", *_words(texts)])
    with open(target, "r+b") as written:
        for offset, data in disk.patches:
            written.seek(offset)
            written.write(data)


def _make_node(node, control, disks, loops):
    if node.kind == "partition":
        loop = kernel.Loop(control, SCRATCH, _image(node.disk), node.start, node.size)
        loops.append(loop)
        _put_node(node.name, stat.S_IFBLK | 0o660, loop.device)
    elif node.kind == "disk":
        _put_node(node.name, stat.S_IFBLK | 0o660, disks[node.disk].device)
    elif node.kind == "file":
        _put_node(node.name, stat.S_IFREG | 0o660)
    elif node.kind == "character":
        _put_node(node.name, stat.S_IFCHR | 0o660, os.makedev(1, 3))
    elif node.kind == "directory":
        os.makedirs(f"/dev/{node.name}", 0o755)
    else:
        os.makedirs(os.path.dirname(f"/dev/{node.name}"), 0o755, exist_ok=True)
        os.symlink(node.target, f"/dev/{node.name}")


def _make_mounts(machine):
    kernel.mount("tmpfs", "/media", "tmpfs", options="mode=755")
    for mount in machine.mounts:
        os.makedirs(mount.at, 0o755, exist_ok=True)
        kernel.mount(mount.source, mount.at, mount.type, kernel.MS_BIND if mount.bind else 0, mount.options)


def _make_sys_block(machine):
    if machine.sys_block is None:  # no way to take a single directory out of sysfs
        kernel.mount("tmpfs", "/sys", "tmpfs", options="mode=755")
        return
    if any(block.link for block in machine.sys_block):
        kernel.mount("tmpfs", "/sys/devices", "tmpfs", options="mode=755")
    # Some kernels list a tmpfs newest first, some oldest first: whichever gives the described order is taken.
    wanted = [block.name for block in machine.sys_block]
    for blocks in (machine.sys_block[::-1], machine.sys_block):
        kernel.mount("tmpfs", "/sys/block", "tmpfs", options="mode=755")
        for block in blocks:
            _make_block(block)
        proc.make_links(machine)
        if os.listdir("/sys/block") == wanted:
            return


def _make_block(block):
    place = f"/sys/block/{block.name}"
    if block.link:
        os.symlink(block.link, place)
        place = os.path.normpath(f"/sys/block/{block.link}")
    os.makedirs(place, 0o755, exist_ok=True)
    for name in block.directories:
        os.makedirs(f"{place}/{name}", 0o755, exist_ok=True)
    for name, text in block.files.items():
        path = os.path.normpath(f"{place}/{name}")
        os.makedirs(os.path.dirname(path), 0o755, exist_ok=True)
        with open(path, "w", encoding="utf-8", errors="surrogateescape") as new:
            new.write(text)


def _take_out(folder, left_out):
    """A tmpfs covers the folder and shows everything else in it through links to a read-only view of the real one."""
    real = os.open(folder, os.O_PATH | os.O_CLOEXEC)
    names = os.listdir(folder)
    kernel.mount("tmpfs", folder, "tmpfs", options="mode=755")
    os.mkdir(f"{folder}/.real", 0o755)
    kernel.mount(f"/proc/self/fd/{real}", f"{folder}/.real", flags=kernel.MS_BIND)
    kernel.mount("", f"{folder}/.real", flags=kernel.MS_BIND | kernel.MS_REMOUNT | kernel.MS_RDONLY)
    os.close(real)
    for name in names:
        if name != left_out:
            os.symlink(f".real/{name}", f"{folder}/{name}")


def _make_udev(machine):
    """The real database must not show: it may have records of the loop devices."""
    if machine.udev or os.path.exists("/run/udev"):
        _take_out("/run", "udev")
    proc.make_udev(machine)


def _make_btrfs(machine):
    """The real file systems must not show: their members may have names of the machine."""
    if machine.sys_block is not None and (machine.btrfs or os.path.exists("/sys/fs/btrfs")):
        _take_out("/sys/fs", "btrfs")
    proc.make_btrfs(machine)


def _make_mount_table(machine):
    """Give /etc a mount table of our own. /etc/mtab is usually a link into /proc, which nothing can be bound over."""
    if machine.mtab_live:
        return
    _take_out("/etc", "mtab")
    if machine.mtab is None:
        return
    with open("/etc/mtab", "w", encoding="utf-8", errors="surrogateescape", newline="") as table:
        os.fchmod(table.fileno(), 0o644)
        table.write(machine.mtab)
    if machine.mtab_read_only:
        kernel.mount("/etc/mtab", "/etc/mtab", flags=kernel.MS_BIND)
        kernel.mount("", "/etc/mtab", flags=kernel.MS_BIND | kernel.MS_REMOUNT | kernel.MS_RDONLY)
