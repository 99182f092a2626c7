"""The guest's first root: programs of this machine with their libraries, kernel modules, scripts, as one cpio archive."""

import os
import re
import shutil
import stat
import subprocess
from pathlib import Path

# Programs that make the scenes, and those that are asked about them.
PROGRAMS = ["sfdisk", "lvm", "mdadm", "cryptsetup", "dmsetup", "btrfs", "mkfs.btrfs", "mke2fs", "losetup", "mkswap",
            "swapon", "mount", "umount", "blockdev", "setpriv", "lsblk", "findmnt",
            "find", "timeout"]  # that of busybox prefers its own programs to those of the same name
UDEV_PROGRAMS = ["udevadm", "/lib/udev/scsi_id", "/lib/udev/ata_id", "/lib/udev/cdrom_id"]
UDEV_RULES = Path("/lib/udev/rules.d")
# They start services or assemble what a scene is about to make.
LEFT_OUT_RULES = {"64-md-raid-assembly.rules", "69-lvm.rules", "69-md-clustered-confirm-device.rules",
                  "99-systemd.rules", "96-e2scrub.rules", "85-hwclock.rules"}

MODULES = ["virtio_pci", "virtio_console", "virtio_blk", "virtio_scsi", "sd_mod", "sr_mod", "nvme", "dm-mod", "dm-crypt",
           "dm-multipath", "dm-round-robin", "raid1", "loop", "btrfs", "overlay", "zram", "brd", "lzo", "lzo-rle", "xts",
           "aesni-intel", "algif_skcipher"]
MODULES_LATE = {"zram", "brd", "loop"}  # a scene loads them

ACCOUNTS = "root:x:0:0:root:/:/bin/sh\nuser:x:1000:1000:user:/:/bin/sh\n"
GROUPS = "".join(f"{name}:x:{number}:\n" for name, number in {
    "root": 0, "tty": 5, "disk": 6, "lp": 7, "dialout": 20, "cdrom": 24, "floppy": 25, "tape": 26, "audio": 29,
    "video": 44, "kmem": 15, "input": 101, "sgx": 102, "kvm": 103, "render": 104, "user": 1000}.items())
# Without udev there is no one to make nodes or to wait for.
LVM_SETTINGS = "devices {{ use_devicesfile=0 }}\nactivation {{ udev_sync={0} udev_rules={0} }}\nbackup {{ backup=0 archive=0 }}\n"
FOLDERS = ["proc", "sys", "dev", "run", "tmp", "etc", "sysroot", "mnt", "results"]
MERGED_FOLDERS = ["bin", "sbin", "lib", "lib64"]  # links to those in /usr: udev's rules name programs by either path


def program_path(name):
    return Path(name) if name.startswith("/") else Path(shutil.which(name, path="/usr/sbin:/usr/bin:/sbin:/bin") or name)


def missing_programs():
    """The names of the programs that this machine lacks."""
    return [name for name in [*PROGRAMS, *UDEV_PROGRAMS, "busybox", "dash", "strip", "/lib/systemd/systemd-udevd"]
            if not program_path(name).exists()]


def _libraries_of(path):
    text = subprocess.run(["ldd", path], capture_output=True, text=True, check=False).stdout
    return [Path(found) for found in re.findall(r"(?:=> |^\s+)(/\S+) \(0x", text, re.MULTILINE)]


class Tree:
    """A folder that becomes the guest's root."""

    def __init__(self, root):
        self.root = Path(root)
        for folder in FOLDERS:
            (self.root / folder).mkdir(parents=True, exist_ok=True)
        for folder in MERGED_FOLDERS:
            (self.root / "usr" / folder).mkdir(parents=True, exist_ok=True)
            (self.root / folder).symlink_to(f"usr/{folder}")

    def write(self, path, text, mode=0o644):
        target = self.root / path.lstrip("/")
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(text, encoding="utf-8")
        target.chmod(mode)

    def copy(self, source, path=None, strip=False):
        """A file, not a link; at the same place unless `path` says another."""
        target = self.root / str(path or source).lstrip("/")
        if target.exists():
            return
        target.parent.mkdir(parents=True, exist_ok=True)
        if not strip or subprocess.run(["strip", "-g", "-o", target, source], check=False).returncode != 0:
            shutil.copyfile(source, target)
        target.chmod(0o755)

    def program(self, source, path=None, strip=False):
        """With the libraries that it is linked with."""
        self.copy(source, path, strip)
        for library in _libraries_of(source):
            # The dynamic loader and the system's libraries lie where they are looked for; the product's beside it.
            if not str(library).startswith(("/lib", "/usr/lib")):
                continue
            self.copy(library)

    def modules(self, kernel):
        """The modules with those that they need, and the kernel's lists of them."""
        source = next((Path(kernel) / "lib/modules").iterdir())
        target = f"/lib/modules/{source.name}/"
        needs = {}
        for line in (source / "modules.dep").read_text(encoding="utf-8").splitlines():
            path, _, others = line.partition(":")
            needs[Path(path).stem.replace("_", "-")] = [path, *others.split()]
        for name in MODULES:
            for path in needs.get(name.replace("_", "-"), []):
                self.copy(source / path, target + path)
        for listing in ["modules.dep", "modules.alias", "modules.builtin", "modules.softdep", "modules.symbols"]:
            self.copy(source / listing, target + listing)

    def udev(self):
        for program in UDEV_PROGRAMS:
            self.program(program_path(program))
        link = self.root / "lib/systemd/systemd-udevd"
        link.parent.mkdir(parents=True, exist_ok=True)
        link.symlink_to(program_path("udevadm"))
        for rules in UDEV_RULES.iterdir():
            if rules.name not in LEFT_OUT_RULES:
                self.copy(rules)


def build(root, kernel, product, scripts, has_udev):
    """Fills the folder `root`. `product` is the build folder, `scripts` that with the guest's own scripts."""
    tree = Tree(root)
    tree.copy(program_path("busybox"), "/bin/busybox")
    for name in PROGRAMS:
        tree.program(program_path(name))
    tree.program(program_path("dash"), "/bin/sh")  # busybox's shell prefers its own programs to those of the same name
    for path in ["bin/diskmgt", "bin/account_dump", "lib/diskmgt/libtalcore.so", "lib/diskmgt/libtalbase.so",
                 "lib/diskmgt/plugins/libdiskmgt.pi.so"]:
        tree.program(Path(product) / path, "/product/" + path, strip=True)
    tree.copy(Path(scripts).parents[2] / "share/facts/disks.fact", "/product/share/diskmgt/facts/disks.fact")
    tree.modules(kernel)
    if has_udev:
        tree.udev()
    for script in Path(scripts).iterdir():
        tree.copy(script, "/init" if script.name == "init" else f"/inside/{script.name}")
    tree.write("/etc/passwd", ACCOUNTS)
    tree.write("/etc/group", GROUPS)
    tree.write("/etc/nsswitch.conf", "passwd: files\ngroup: files\n")
    tree.write("/etc/lvm/lvm.conf", LVM_SETTINGS.format(int(has_udev)))
    tree.write("/inside/settings", f"has_udev={'yes' if has_udev else ''}\n"
               f"modules='{' '.join(name for name in MODULES if name not in MODULES_LATE)}'\n")
    (tree.root / "etc/mtab").symlink_to("/proc/self/mounts")


def _entry(path, name, number):
    """One entry of a cpio archive in the kernel's form ("newc")."""
    found = path.lstat()
    content = b""
    if stat.S_ISLNK(found.st_mode):
        content = os.readlink(path).encode()
    elif stat.S_ISREG(found.st_mode):
        content = path.read_bytes()
    return _padded(name.encode() + b"\0", content, number, found.st_mode)


def _padded(name, content, number, mode, device=(0, 0)):
    fields = [number, mode, 0, 0, 1, 0, len(content), 0, 0, *device, len(name), 0]
    head = b"070701" + b"".join(b"%08X" % field for field in fields) + name
    return head + b"\0" * (-len(head) % 4) + content + b"\0" * (-len(content) % 4)


def pack(root, archive):
    """The folder as an archive, owned by root."""
    with open(archive, "wb") as out:
        for number, path in enumerate(sorted(Path(root).rglob("*")), start=1):
            out.write(_entry(path, str(path.relative_to(root)), number))
        # The kernel opens it for the first process before any script runs.
        out.write(_padded(b"dev/console\0", b"", 0x10000, stat.S_IFCHR | 0o600, (5, 1)))
        out.write(_padded(b"TRAILER!!!\0", b"", 0, 0))
