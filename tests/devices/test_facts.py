"""The exported document where other programs read facts: Ansible and facter see what it says, letter for letter. What is
not complete is no fact."""

import json
import shutil
import subprocess

import pytest

from conftest import MACHINES
from machine.account import read_account

SHARE = MACHINES.parent.parent / "share"
PLAYBOOK = SHARE / "ansible" / "disks.yml"
FACTS = "/media/facts.d"
NAMES = ["whole-server", "mount-table", "ambiguous-names"]

needs_ansible = pytest.mark.skipif(not shutil.which("ansible"), reason="ansible-core is missing")
needs_facter = pytest.mark.skipif(not shutil.which("facter"), reason="facter is missing")


@pytest.fixture
def inside(machine, diskmgt):
    """inside(name) is a machine with an empty directory for facts; what is run there finds the command in PATH."""

    def enter(name):
        session = machine(name)
        session.run(["rm", "-rf", FACTS, "/media/home", "/media/tree"])
        session.run(["mkdir", FACTS, "/media/home"])
        environment = {"HOME": "/media/home", "LC_ALL": "C.UTF-8", "ANSIBLE_NOCOLOR": "1",
                       "ANSIBLE_LOCALHOST_WARNING": "0", "ANSIBLE_INVENTORY_UNPARSED_WARNING": "0"}
        path = f"PATH={diskmgt.parent}:/usr/sbin:/usr/bin:/sbin:/bin"
        return lambda *command, check=True, text="": session.run(["env", path, *command], text=text, check=check,
                                                                 environment=environment)

    return enter


def read_by_ansible(run):
    run("ansible", "localhost", "--tree", "/media/tree", "-m", "setup", "-a",
        f"fact_path={FACTS} gather_subset=!all,!min,local filter=ansible_local")
    return json.loads(run("cat", "/media/tree/localhost").stdout)["ansible_facts"]["ansible_local"]


def read_by_facter(run, *names):
    return json.loads(run("facter", "--json", "--external-dir", FACTS, *names).stdout)


def steady(value):
    """Without what differs between two documents made one after the other."""
    if isinstance(value, dict):
        return {key: steady(child) for key, child in value.items()
                if key not in ("collectedAt", "total", "free", "available", "FreeSpace")}
    return [steady(child) for child in value] if isinstance(value, list) else value


@needs_ansible
@pytest.mark.parametrize("name", NAMES)
def test_document_is_a_local_fact(inside, name):
    run = inside(name)
    run("diskmgt", "export", "json", "--output", f"{FACTS}/disks.fact")
    document = json.loads(run("cat", f"{FACTS}/disks.fact").stdout)
    assert read_by_ansible(run) == {"disks": document}


@needs_ansible
@pytest.mark.parametrize("name", NAMES)
def test_executable_local_fact_makes_the_document(inside, name):
    run = inside(name)
    run("install", "-m", "755", SHARE / "facts" / "disks.fact", FACTS)
    document = json.loads(run("diskmgt", "export", "json", "--compact").stdout)
    assert "instances" not in document["diskmgt"] and document["diskmgt"]["complete"]
    assert steady(read_by_ansible(run)) == {"disks": steady(document)}


def stand_in(run, status, text="{}"):
    """Another command of that name, which says that something is missing."""
    script = f"#!/bin/sh\necho '{text}'\necho 'diskmgt: something is missing' >&2\nexit {status}\n"
    run("sh", "-c", f"cat > /media/home/diskmgt && chmod 755 /media/home/diskmgt", text=script)
    run("sh", "-c", f"sed 's|^PATH=.*|PATH=/media/home:$PATH|' '{SHARE}/facts/disks.fact' > {FACTS}/disks.fact && "
                    f"chmod 755 {FACTS}/disks.fact")


@pytest.mark.parametrize("status", range(5))
def test_executable_local_fact_fails_unless_the_document_is_complete(inside, status):
    run = inside("whole-server")
    stand_in(run, status)
    fact = run(f"{FACTS}/disks.fact", check=False)
    assert (fact.status, fact.stdout) == (status, "{}\n")
    assert "something is missing" in fact.stderr


@needs_ansible
def test_incomplete_document_is_no_fact_for_ansible_and_it_says_why(inside):
    run = inside("mtab-missing")
    run("install", "-m", "755", SHARE / "facts" / "disks.fact", FACTS)
    said = read_by_ansible(run)["disks"]
    assert isinstance(said, str) and "/etc/mtab cannot be opened for update" in said


@needs_facter
def test_incomplete_document_is_no_fact_for_facter_and_it_says_why(inside):
    run = inside("mtab-missing")
    run("install", "-m", "755", SHARE / "facts" / "disks.fact", f"{FACTS}/disks")
    done = run("facter", "--json", "--external-dir", FACTS, "diskmgt", check=False)
    assert "/etc/mtab cannot be opened for update" in done.stdout + done.stderr


@needs_facter
@pytest.mark.parametrize("name", NAMES)
def test_document_is_an_external_fact(inside, name):
    run = inside(name)
    run("diskmgt", "export", "json", "--output", f"{FACTS}/disks.json")
    document = json.loads(run("cat", f"{FACTS}/disks.json").stdout)
    assert read_by_facter(run, "diskmgt") == document


@needs_facter
def test_executable_external_fact_makes_the_document(inside):
    run = inside("whole-server")
    run("install", "-m", "755", SHARE / "facts" / "disks.fact", f"{FACTS}/disks")
    document = json.loads(run("diskmgt", "export", "json", "--compact").stdout)
    assert steady(read_by_facter(run, "diskmgt")) == steady(document)


@needs_facter
def test_external_fact_takes_no_other_facts_name(inside):
    run = inside("whole-server")
    asked = ["facter", "--json", "--show-legacy", "--external-dir", FACTS]
    own = json.loads(run(*asked, check=False).stdout)  # some of its own facts cannot be had here, and it minds
    run("diskmgt", "export", "json", "--output", f"{FACTS}/disks.json")
    both = json.loads(run(*asked, check=False).stdout)
    assert set(own) < set(both) and set(both) - set(own) == {"diskmgt"}


@needs_ansible
@pytest.mark.unprivileged
def test_example_playbook_is_well_formed(tmp_path, monkeypatch):
    monkeypatch.setenv("HOME", str(tmp_path))
    done = subprocess.run(["ansible-playbook", "--syntax-check", "-i", "localhost,", PLAYBOOK], capture_output=True,
                          text=True, check=False)
    assert done.returncode == 0, done.stderr


def played(run, *words, check=True):
    return run("ansible-playbook", "-i", "localhost,", "-c", "local", str(PLAYBOOK), "-e", f"diskmgt_fact_path={FACTS}",
               "-e", "diskmgt_become=false", *words, check=check)


@needs_ansible
def test_example_playbook_prints_the_disks(inside):
    run = inside("whole-server")
    said = played(run).stdout
    for name in ("/dev/sda", "/dev/sdb", "/dev/nvme0n1"):
        assert said.count(f'"msg": "{name}: 64.00 MB') == 1


@needs_ansible
@pytest.mark.parametrize("name", ["cloud-server", "subvolumes", "volumes-root", "network-homes", "zfs-root"])
def test_example_playbook_prints_each_mounted_file_system_once(machine, inside, diskmgt, name):
    run = inside(name)
    # What the playbook starts is another process than the one that has the described mount table.
    document = machine(name).run([diskmgt, "export", "json", "--compact"]).stdout
    run("tee", "/media/home/document", text=document)
    run("tee", "/media/home/fact", text="#!/bin/sh\ncat /media/home/document\n")
    said = played(run, "-e", "diskmgt_fact=/media/home/fact").stdout
    lines = [line.split('"msg": "')[1] for line in said.splitlines() if '"msg": "' in line]
    account = read_account(MACHINES / name)
    at = {}
    for row in account["devices"]:
        if "mounts" in row:  # a btrfs on two devices is there twice
            at[tuple(row["mounts"])] = row["name"]
    for entry in account["fileSystems"]:
        if entry["kind"] in ("network", "pool", "fuse"):
            at[tuple(entry["mounts"])] = entry["source"]
    assert at
    for mounts in at:
        assert sum(line.startswith(f"{' '.join(mounts)}: ") for line in lines) == 1, mounts


@needs_ansible
def test_example_playbook_stops_at_an_incomplete_inventory_and_says_what_is_missing(inside):
    done = played(inside("mtab-missing"), check=False)
    assert done.status == 2 and "/etc/mtab cannot be opened for update" in done.stdout
    assert "Print the" not in done.stdout
