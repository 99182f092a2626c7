"""The command's account of a guest: what an inventory document says of devices and file systems. The dump of
account_dump has the same form, with what uses each device beside it."""

HIDDEN = "hidden-by-later-mount"


class Account:
    def __init__(self, content):
        """`content` is the dump, or what lies below "diskmgt" in a document."""
        self.devices = {device["name"]: device for device in content["devices"]}
        self.names = [device["name"] for device in content["devices"]]
        self.elsewhere = content["fileSystems"]
        self.uncounted = content.get("pseudoFileSystems", 0)
        for device in content["devices"]:  # a document lists the mounts of a file system at the first of its devices
            if "mountsAt" in device:
                device["mounts"] = self.devices[device["mountsAt"]]["mounts"]

    def field(self, key):
        """A field of each device that has it, by the device's name."""
        return {name: device[key] for name, device in self.devices.items() if key in device}

    def flag(self, key):
        """A field of each device that is true or, also where it is left out, false."""
        return {name: device.get(key, False) for name, device in self.devices.items()}

    def partition_field(self, key):
        return {name: device["partition"][key] for name, device in self.devices.items()
                if key in device.get("partition", {})}

    def mounts(self):
        """(device, mount point, part of the file system, its type) of each mount on a device, in the document's order."""
        return [(name, mount["mountPoint"], mount["root"], mount["fileSystem"])
                for name, device in self.devices.items() for mount in device.get("mounts", [])]

    def hidden_mounts(self):
        return sorted((name, mount["mountPoint"]) for name, device in self.devices.items()
                      for mount in device.get("mounts", []) if mount.get("rule") == HIDDEN)

    def mounts_elsewhere(self):
        """(mount point, type) of each mount that lies on no device."""
        return [(mount["mountPoint"], mount["fileSystem"]) for entry in self.elsewhere for mount in entry["mounts"]]
