"""What the kernel's account says of described machines, against account.json of their folders."""

import os
from collections import Counter
from pathlib import Path

import pytest

from conftest import MACHINES
from machine.account import KINDS, described_part, read_account

NAMES = sorted(folder.name for folder in MACHINES.iterdir() if (folder / "account.json").exists())

# Which kind a type of file system is that lies on no device; all others are pseudo.
KIND_OF_TYPE = {"nfs4": "network", "cifs": "network", "zfs": "pool", "fuse.sshfs": "fuse", "overlay": "overlay",
                "tmpfs": "memory", "devtmpfs": "memory"}
NOBODY = ["setpriv", "--reuid", "65534", "--regid", "65534", "--clear-groups", "--no-new-privs"]


@pytest.fixture(scope="module")
def account_dump():
    """The program that prints the kernel's account, as an absolute path."""
    program = os.environ.get("ACCOUNT_DUMP")
    if not program:
        pytest.skip("this build has no account_dump (the environment variable ACCOUNT_DUMP names it)")
    return Path(program).resolve()


@pytest.fixture(scope="module")
def printed(machine, account_dump):
    """printed(name) is the account of that machine as root sees it."""
    answers = {}

    def ask(name):
        if name not in answers:
            answers[name] = machine(name).run([account_dump]).json()
        return answers[name]

    return ask


@pytest.mark.parametrize("name", NAMES)
def test_devices_are_the_described_ones_in_natural_order(printed, name):
    account, found = read_account(MACHINES / name), printed(name)
    assert found["complete"]
    assert [device["name"] for device in found["devices"]] == [row["name"] for row in account["devices"]]
    for row, device in zip(account["devices"], found["devices"]):
        assert described_part(device, row) == row


@pytest.mark.parametrize("name", NAMES)
def test_what_lies_on_no_device_is_listed_or_counted(printed, name):
    account = read_account(MACHINES / name)
    expected = Counter((entry["source"], entry["kind"], point) for entry in account["fileSystems"]
                       for point in entry["mounts"])
    rows = Counter((entry["source"], KIND_OF_TYPE.get(mount["fileSystem"], "pseudo"), mount["mountPoint"])
                   for entry in printed(name)["fileSystems"] for mount in entry["mounts"])
    assert Counter({row: count for row, count in rows.items() if row[1] != "pseudo"}) == expected
    assert sum(count for row, count in rows.items() if row[1] == "pseudo") == account["pseudoFileSystems"]


@pytest.mark.parametrize("name", NAMES)
def test_an_ordinary_user_sees_the_same(printed, machine, account_dump, name):
    assert machine(name).run([*NOBODY, account_dump]).json() == printed(name)


@pytest.mark.unprivileged
@pytest.mark.parametrize("name", NAMES)
def test_accounts_are_written_in_the_words_of_the_document(name):
    account = read_account(MACHINES / name)
    assert set(account) == {"devices", "fileSystems", "pseudoFileSystems"}
    assert {entry["kind"] for entry in account["fileSystems"]} <= set(KINDS)
    names = [row["name"] for row in account["devices"]]
    assert len(set(names)) == len(names)
    assert {below for row in account["devices"] for below in row.get("on", [])} <= set(names)


@pytest.mark.unprivileged
def test_machines_whose_kernel_tables_are_described_have_an_account():
    described = {folder.name for folder in MACHINES.iterdir()
                 if '"mountinfo"' in (folder / "machine.json").read_text(encoding="utf-8")}
    assert described == set(NAMES)
