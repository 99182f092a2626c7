#!/usr/bin/python3
"""Mounts a FUSE file system that takes the greeting of the kernel and never answers anything after it, as a dead server
does: dead_mount.py PLACE prints the number of the process that holds it. When that process ends, so does the stall.
With "taking" behind the place it takes the requests that follow, whose callers then survive SIGKILL. With a block device
behind that, the file system lies on it, as ntfs-3g's do."""

import os
import signal
import stat
import struct
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from machine import kernel  # noqa: E402

_FUSE = (10, 229)
_HEADER = struct.Struct("=IIQQIIII")  # length, operation, number, node, owner, group, process, unused
_INIT = 26
_GREETING = struct.Struct("=IIIIHHIIHHI28x")  # version 7.31 and no wishes; what is not known is 0


def open_device():
    if not os.path.exists("/dev/fuse"):
        os.mknod("/dev/fuse", stat.S_IFCHR | 0o600, os.makedev(*_FUSE))
    return os.open("/dev/fuse", os.O_RDWR | os.O_CLOEXEC)


def greet(device):
    """Answers the first request. While those that follow are not even read, their callers can still be killed."""
    _, operation, number, *_ = _HEADER.unpack_from(os.read(device, 1 << 20))
    assert operation == _INIT, f"operation {operation} comes before the greeting"
    body = _GREETING.pack(7, 31, 0, 0, 0, 0, 4096, 1, 0, 0, 0)
    os.write(device, struct.pack("=IiQ", 16 + len(body), 0, number) + body)


def background():
    os.setsid()
    nowhere = os.open("/dev/null", os.O_RDWR)
    for descriptor in (0, 1, 2):  # the caller waits for the end of its pipes
        os.dup2(nowhere, descriptor)


def keep_name_space(device):
    """The last process of a mount name space ends its mounts, and that of a block device waits for its server's answer. So
    this must be neither the server, which would wait for itself for ever, and each sync of the system with it, nor the
    first process of the machine, which ends the server only after that: it is a process of its own."""
    if os.fork():
        return
    os.close(device)
    background()
    while True:
        signal.pause()


def leave(place):
    kernel.unshare(kernel.CLONE_NEWNS)
    kernel.mount("", "/", flags=kernel.MS_REC | kernel.MS_PRIVATE)
    kernel.unmount(place)


def main(place, kind="silent", source="dead"):
    device = open_device()
    os.makedirs(place, exist_ok=True)
    options = f"fd={device},rootmode=40000,user_id=0,group_id=0,allow_other"
    keep_name_space(device)
    kernel.mount(source, place, "fuseblk" if source.startswith("/dev/") else "fuse.dead", options=options)
    greet(device)
    holder = os.fork()
    if holder:
        print(holder)
        return
    background()
    leave(place)
    while True:
        if kind == "taking":
            os.read(device, 1 << 20)
        else:
            signal.pause()


if __name__ == "__main__":
    main(*sys.argv[1:])
