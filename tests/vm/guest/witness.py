"""What other tools say of a guest: lsblk, findmnt, swapon, losetup, btrfs."""

import re
from functools import cached_property

KINDS = {"disk": "disk", "part": "partition", "lvm": "lvm", "crypt": "crypt", "mpath": "multipath", "dm": "dm",
         "raid1": "raid", "md": "partition", "loop": "loop", "rom": "optical"}
MEMORY = {"1": "memory", "251": "compressed-memory"}  # by major number; lsblk calls them disks


class Witness:
    def __init__(self, answers, user="root"):
        self._answers = answers
        self._user = user
        self.devices = {}   # as lsblk prints them, by the kernel's name
        self.parents = {}   # names by name
        for device in answers.json("lsblk", user)["blockdevices"]:
            self._take(device, None)

    def _take(self, device, parent):
        name = device["kname"]
        self.devices[name] = device
        self.parents.setdefault(name, set())
        if parent:
            self.parents[name].add(parent)
        for child in device.get("children", []):
            self._take(child, name)

    def field(self, key):
        """What lsblk knows of a field, by the device's name."""
        return {name: device[key] for name, device in self.devices.items() if device[key] is not None}

    def kinds(self):
        def kind(device):
            memory = MEMORY.get(device["maj:min"].split(":")[0])
            return memory if memory and device["type"] == "disk" else KINDS[device["type"]]
        return {name: kind(device) for name, device in self.devices.items()}

    def extended(self):
        """The extended partitions: the kernel gives them two sectors."""
        return {name for name, device in self.devices.items() if device["type"] == "part" and device["size"] == 1024}

    def named(self, path):
        """The device that a path below /dev names, or None."""
        for name, device in self.devices.items():
            if path in (f"/dev/{name}", device["path"], f"/dev/mapper/{device['name']}"):
                return name
        return None

    @cached_property
    def mounts(self):
        """The mount table, from findmnt."""
        return self._answers.json("findmnt", self._user)["filesystems"]

    @cached_property
    def btrfs_members(self):
        return {self.named(path) for path in re.findall(r" path (\S+)", self._answers.text("btrfs"))}

    def devices_of(self, mount):
        """The names of the devices that a mount lies on. For a file system without a device of its own the source is
        anybody's text, unless it is btrfs; this guest has one."""
        if mount["fstype"] == "btrfs":
            return self.btrfs_members
        by_number = {device["maj:min"]: name for name, device in self.devices.items()}
        return {by_number[mount["maj:min"]]} if mount["maj:min"] in by_number else set()

    def hidden_ids(self):
        """The numbers of the mounts whose path leads to another one, as the kernel answers for each path."""
        pairs = [line.split() for line in self._answers.text("found_mounts").splitlines()]
        return {int(own) for own, found in pairs if own != found}

    def swaps(self):
        """Bytes by device; swap in a file is left out."""
        rows = [line.split() for line in self._answers.text("swapon", self._user).splitlines()]
        return {self.named(path): int(size) for path, kind, size in rows if kind == "partition"}

    @cached_property
    def loops(self):
        """The device that a loop device has as its file, by the loop's name."""
        rows = self._answers.json("losetup")["loopdevices"]
        found = {self.named(row["name"]): self.named(row["back-file"]) for row in rows}
        return {loop: device for loop, device in found.items() if device}

    def use(self, name, paths=()):
        """What uses a device: holders, mount points, whether it is swap, whether it is in a btrfs. `paths` names the
        hidden paths of the disk."""
        if name in paths:
            disk = paths[name]
            use = self.use(disk)
            return {**use, "holders": use["holders"] | {disk}}
        use = self._through(name, set())
        if not self._is_own_partition(name):
            return use
        disk, = self.parents[name]  # what uses it as a whole uses its partitions too
        parts = {upper for upper, lowers in self.parents.items() if disk in lowers and self._is_own_partition(upper)}
        whole = self._through(disk, parts)
        return {key: use[key] | whole[key] for key in use}

    def _through(self, name, left_out):
        """The uses of a device through all that lies on it but the devices that are left out."""
        reached, new = {name}, {name}
        while new:
            new = {upper for upper, lowers in self.parents.items() if lowers & new} | \
                  {loop for loop, lower in self.loops.items() if lower in new}
            new -= reached | left_out
            reached |= new
        own = {upper for upper in reached if self._is_own_partition(upper)}
        return {"holders": reached - own - {name},
                "mountPoints": {mount["target"] for mount in self.mounts if self.devices_of(mount) & reached},
                "swap": bool(reached & set(self.swaps())),
                "btrfsMember": bool(reached & self.btrfs_members)}

    def _is_own_partition(self, name):
        """Made by the kernel from a table; partitions that device-mapper makes are volumes on the disk."""
        return self.devices[name]["type"] in ("part", "md") and not name.startswith("dm-")


def is_seen(use):
    return any(use.values())
