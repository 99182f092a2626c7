"""Documents of "export json", put together from the rows that a test is about."""


def reported(is_reported=True):
    return {"known": True, "reported": is_reported}


def device(name, kind="disk", on=(), **values):
    return {"name": name, "path": f"/dev/{name}", "number": "8:0", "kind": kind, "size": 67108864, "sectorSize": 512,
            "on": list(on), **values, "cim": {"drive": reported()}}


def partition(name, disk="sda", size=1048576, number=1, start=1048576, **values):
    place = {"number": number, "start": start, "table": "mbr", "type": "0x83", "typeName": "Linux"}
    further = {key: values.pop(key) for key in ("type", "typeName", "uuid") if key in values}
    return {**device(name, "partition", [disk], **values), "size": size, "partition": {**place, **further},
            "cim": {"partition": reported()}}


def mount(point, **values):
    return {"mountPoint": point, "root": "/", "fileSystem": "ext4", "options": "rw", "total": 900, "free": 300,
            "available": 200, **values}


def mounted(row, *mounts, **values):
    """The row of a device with what is mounted from it."""
    return {**row, **values, "mounts": list(mounts), "cim": {**row["cim"], "logicalDisk": reported()}}


def file_system(source, *mounts, kind="network"):
    return {"source": source, "kind": kind, "mounts": list(mounts), "cim": {"logicalDisk": reported()}}


def inventory(*devices, **values):
    return {"diskmgt": {
        "schema": 1, "generator": {"name": "diskmgt", "version": "1.1.0"}, "hostName": "server1",
        "collectedAt": "2026-01-01T00:00:00Z", "complete": True, "incomplete": [], "devices": list(devices),
        "fileSystems": [], "pseudoFileSystems": 0, "cimOnly": [], "doubtfulPairs": [], "instances": {}, **values}}


def incomplete(*devices, rule="open-failed", of="/dev/sda", **values):
    return inventory(*devices, complete=False, incomplete=[{"rule": rule, "of": of, "text": f"{of} is missing."}], **values)


DISK = device("sda", wwid="naa.1")
ONE = inventory(DISK, mounted(partition("sda1"), mount("/data")))
