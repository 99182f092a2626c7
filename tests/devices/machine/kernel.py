"""The few kernel services that a described machine needs and that the standard library lacks: name spaces, mounts,
loop devices. Every failure is an OSError whose text says what was tried."""

import ctypes
import errno
import fcntl
import os
import stat
import struct

SCRATCH = "/dev/.machine"  # images and passing nodes; a tmpfs of its own, so /dev measures the same on every machine

CLONE_NEWNS, CLONE_NEWUTS, CLONE_NEWPID = 0x00020000, 0x04000000, 0x20000000
MS_RDONLY, MS_REMOUNT, MS_BIND, MS_REC, MS_PRIVATE = 0x1, 0x20, 0x1000, 0x4000, 0x40000
_MNT_DETACH = 2
_PR_SET_PDEATHSIG = 1
_LOOP_CTL_REMOVE, _LOOP_CTL_GET_FREE, _LOOP_CONFIGURE = 0x4C81, 0x4C82, 0x4C0A
_LO_FLAGS_AUTOCLEAR = 4  # the kernel frees the device when the last descriptor or mount is gone, whatever ended us
_LOOP_CONTROL = (10, 237)
_CONFIGURATION = "=II QQQQQ IIII 64s64s32s QQ 64x"  # struct loop_config

_libc = ctypes.CDLL(None, use_errno=True)


def _check(result, what):
    if result < 0:
        number = ctypes.get_errno()
        raise OSError(number, f"{what}: {os.strerror(number)}")
    return result


def unshare(flags):
    _check(_libc.unshare(flags), "unshare")


def die_with_parent(parent, signal_number):
    """Have the kernel send this process a signal when its parent dies. False when the parent is gone already."""
    _check(_libc.prctl(_PR_SET_PDEATHSIG, signal_number, 0, 0, 0), "prctl")
    return os.getppid() == parent


def mount(source, target, kind="", flags=0, options=""):
    texts = [os.fsencode(text) if text else None for text in (source, target, kind)]
    _check(_libc.mount(*texts, ctypes.c_ulong(flags), os.fsencode(options) if options else None),
           f"mounting {source or kind} at {target}")


def unmount(target):
    _check(_libc.umount2(os.fsencode(target), _MNT_DETACH), f"unmounting {target}")


def loop_control(path):
    """A descriptor of the loop control device. It makes its own node at path, since /dev may show none."""
    os.mknod(path, stat.S_IFCHR | 0o600, os.makedev(*_LOOP_CONTROL))
    return os.open(path, os.O_RDWR | os.O_CLOEXEC)


class Loop:
    """A loop device over (a part of) an image. It lives as long as a descriptor, here `fd`, or a mount of it."""

    def __init__(self, control, scratch, image, offset=0, size=0, sector_size=512):
        for _ in range(100):  # another process may take the free number before us
            self.number = fcntl.ioctl(control, _LOOP_CTL_GET_FREE)
            try:
                self.device = _device_number(self.number)
                node = f"{scratch}/loop{self.number}"
                os.mknod(node, stat.S_IFBLK | 0o600, self.device)
                try:
                    self.fd = os.open(node, os.O_RDWR | os.O_CLOEXEC)
                finally:
                    os.unlink(node)
            except OSError as failure:
                if failure.errno in (errno.ENOENT, errno.ENXIO, errno.EBUSY):
                    continue  # removed again between the two steps
                raise
            if self._configure(image, offset, size, sector_size):
                about = os.stat(image)
                self.backing = (about.st_dev, about.st_ino)
                return
            os.close(self.fd)
        raise OSError(errno.EBUSY, "no free loop device after 100 attempts")

    def _configure(self, image, offset, size, sector_size):
        backing = os.open(image, os.O_RDWR | os.O_CLOEXEC)
        try:
            name = os.fsencode(os.path.basename(image))[:63]
            fcntl.ioctl(self.fd, _LOOP_CONFIGURE, struct.pack(
                _CONFIGURATION, backing, sector_size, 0, 0, 0, offset, size, 0, 0, 0, _LO_FLAGS_AUTOCLEAR,
                name, b"", b"", 0, 0))
        except OSError as failure:
            if failure.errno == errno.EBUSY:
                return False
            raise OSError(failure.errno, f"LOOP_CONFIGURE of {image}: {failure.strerror}") from None
        finally:
            os.close(backing)
        return True


def _device_number(number):
    with open(f"/sys/block/loop{number}/dev", encoding="ascii") as text:
        major, minor = text.read().split(":")
    return os.makedev(int(major), int(minor))


def _first_added_loop():
    """The number of the first loop device that is not there from the start but added when all others are taken."""
    try:
        with open("/sys/module/loop/parameters/max_loop", encoding="ascii") as text:
            return int(text.read())
    except (OSError, ValueError):
        return 8


def remove_idle_loops(numbers):
    """Take away those of our devices that were added on demand. One that is in use again by somebody else stays."""
    try:
        control = os.open("/dev/loop-control", os.O_RDWR | os.O_CLOEXEC)
    except OSError:
        return
    for number in (number for number in numbers if number >= _first_added_loop()):
        try:
            fcntl.ioctl(control, _LOOP_CTL_REMOVE, number)
        except OSError:
            pass  # busy or gone: not ours any more
    os.close(control)


def missing_privilege():
    """What keeps this process from building machines, as a sentence; "" when nothing does."""
    if os.geteuid() != 0:
        return "described machines need root: loop devices, device nodes and mounts are made"
    with open("/proc/self/status", encoding="ascii") as status:
        effective = next(int(line.split()[1], 16) for line in status if line.startswith("CapEff:"))
    for name, bit in (("CAP_SYS_ADMIN", 21), ("CAP_MKNOD", 27)):
        if not effective & (1 << bit):
            return f"described machines need {name}"
    if not _root_is_mount_point():
        return "described machines need a root directory that is a mount point: bind this chroot onto itself"
    try:
        os.close(os.open("/dev/loop-control", os.O_RDWR | os.O_CLOEXEC))
    except OSError as failure:
        return f"described machines need loop devices: /dev/loop-control: {failure.strerror}"
    return ""


def _root_is_mount_point():
    """Within a chroot to a plain folder no mount can be made private, since the one that holds the folder is out of
    reach."""
    with open("/proc/self/mountinfo", "rb") as mounts:  # mount points have any bytes
        return any(line.split()[4] == b"/" for line in mounts)
