"""expected.json of a machine folder: completes the short rows that people write into what the command prints."""

import json
import re
from pathlib import Path

from machine.repetition import expand
from served_classes import ASSOCIATIONS

HOST_CLASS = "VEXSG_ComputerSystem"
KEYS = ("CreationClassName", "DeviceID", "SystemCreationClassName", "SystemName")  # byte order
FIXED = {"VEXSG_DiskPartition": {"FaultTolerant": False}}  # what every instance of the class says
ALIASES = {"VEXSG_DiskDrive": ("ElementName", "Name"), "VEXSG_DiskPartition": ("ElementName",),
           "VEXSG_LogicalDisk": ("ElementName",)}  # properties that repeat the DeviceID


def object_path(class_name, keys):
    """The text of an object path: keys in byte order, quotes and backslashes escaped."""
    quoted = (f'{name}="' + re.sub(r'(["\\])', r"\\\1", str(keys[name])) + '"' for name in sorted(keys))
    return f"{class_name}." + ",".join(quoted)


class Expectation:
    """What one request to one machine must give."""

    def __init__(self, value, session):
        self.value, self.session = value, session
        self.asked = list(value["classes"])
        self.status = value.get("status", 0)

    def log(self):
        """The log of the request: (severity, text), debug lines written as bare texts."""
        return [(3, line) if isinstance(line, str) else tuple(line) for line in self.value["log"]]

    def instances(self, class_name):
        """The property sets of the class's instances, complete and in order."""
        rows = [self._row(class_name, row) for row in self.value["classes"][class_name]]
        if class_name == "VEXSG_DiskDrive" and self.session.sys_block:  # the kernel decides how a directory is listed
            place = {f"/dev/{name}": number for number, name in enumerate(self.session.sys_block)}
            rows.sort(key=lambda row: place[row["DeviceID"]])
        return rows

    def _row(self, class_name, row):
        if class_name in ASSOCIATIONS:
            return {role: self._reference(row[role]) for role in ("Antecedent", "Dependent")}
        row = dict(row)
        for name in ALIASES.get(class_name, ()):
            row.setdefault(name, row["DeviceID"])
        for name, value in FIXED.get(class_name, {}).items():
            row.setdefault(name, value)
        row.setdefault("CreationClassName", class_name)
        row.setdefault("SystemCreationClassName", HOST_CLASS)
        row.setdefault("SystemName", self.session.machine.hostname)
        if "measured" in row:
            space = self.session.measure(row.pop("measured"))
            row.update(TotalSpace=space["total"], FreeSpace=space["free"])
            row["MountOptions"] += ", {} {}".format(*space["id"])
        return row

    def _reference(self, text):
        """A reference is written as CLASS DEVICE; a whole object path is taken as it is."""
        if "=" in text.split(" ")[0]:
            return text
        class_name, device = text.split(" ", 1)
        return object_path(class_name, dict(zip(KEYS, (class_name, device, HOST_CLASS, self.session.machine.hostname))))

    def path(self, class_name, properties):
        """The object path of an instance with these properties."""
        keys = ("Antecedent", "Dependent") if class_name in ASSOCIATIONS else KEYS
        return object_path(class_name, {name: properties[name] for name in keys})


def read_expectation(session):
    text = (Path(session.machine.folder) / "expected.json").read_text(encoding="utf-8")
    return Expectation(expand(json.loads(text)), session)
