"""account.json of a machine folder: what the kernel and udev say of its devices, written from the description."""

import json
from pathlib import Path

from machine.description import size_in_bytes
from machine.repetition import expand

# What a row lacks, the device must lack too.
STRICT = ("size", "on", "mounts", "swap", "partition", "volume", "level", "backing", "hidden", "content", "label", "uuid",
          "model", "serial", "wwid")
# These are compared where a row has them.
OPTIONAL = ("sectorSize", "readOnly", "removable", "rotational", "links")
STRICT_OF_PARTITION = ("number", "start")
OPTIONAL_OF_PARTITION = ("table", "type", "name", "uuid")
KINDS = ("network", "pool", "fuse", "overlay", "memory", "pseudo")  # of file systems that lie on no device


def read_account(folder):
    """The account with its rules carried out and its sizes in bytes."""
    account = expand(json.loads((Path(folder) / "account.json").read_text(encoding="utf-8")))
    for row in account["devices"]:
        unknown = set(row) - {"name", "kind", *STRICT, *OPTIONAL}
        assert not unknown, f"{folder}: {row['name']}: unknown keys {unknown}"
        for place, key in ((row, "size"), (row.get("partition", {}), "start")):
            if isinstance(place.get(key), str):
                place[key] = size_in_bytes(place[key])
        if "links" in row:
            row["links"] = sorted(row["links"])
    return account


def described_part(device, row):
    """Those facts of a printed device that the row of an account speaks of, in the form of such a row."""
    found = {"name": device["name"], "kind": device["kind"]}
    for key in (*STRICT, *(key for key in OPTIONAL if key in row)):
        value = _FORMS.get(key, lambda value, _: value)(device.get(key), row)
        if value or (value is not None and key in row):
            found[key] = value
    return found


def _partition_part(partition, row):
    if partition is None:
        return None
    wanted = row.get("partition", {})
    keys = (*STRICT_OF_PARTITION, *(key for key in OPTIONAL_OF_PARTITION if key in wanted))
    return {key: partition[key] for key in keys if key in partition}


_FORMS = {
    "mounts": lambda mounts, _: [mount["mountPoint"] for mount in mounts or []],
    "swap": lambda swap, _: bool(swap) or None,
    "hidden": lambda hidden, _: hidden or None,
    "links": lambda links, _: sorted(links or []),
    "partition": _partition_part,
}
