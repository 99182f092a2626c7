"""The exported document where other programs read facts: Ansible and facter see what it says, letter for letter."""

import json
import shutil
import subprocess

import pytest

from conftest import MACHINES

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
        return lambda *command, check=True: session.run(["env", path, *command], environment=environment, check=check)

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
                if key not in ("collectedAt", "free", "available", "FreeSpace")}
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
    document = json.loads(run("diskmgt", "export", "json").stdout)
    assert steady(read_by_ansible(run)) == {"disks": steady(document)}


def test_executable_local_fact_keeps_a_document_that_reports_failures(inside):
    run = inside("whole-server")
    for status, kept in ((0, 0), (1, 0), (2, 1), (3, 1), (4, 0)):
        stand_in = f"#!/bin/sh\\necho '{{}}'\\nexit {status}\\n"
        run("sh", "-c", f'printf "{stand_in}" > /media/home/diskmgt && chmod 755 /media/home/diskmgt')
        fact = run("sh", "-c", f"sed 's|^PATH=.*|PATH=/media/home:$PATH|' '{SHARE}/facts/disks.fact' | sh",
                   check=False)
        assert (fact.status, fact.stdout) == (kept, "{}\n"), status


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
    document = json.loads(run("diskmgt", "export", "json").stdout)
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


@needs_ansible
def test_example_playbook_prints_the_drives(inside):
    run = inside("whole-server")
    played = run("ansible-playbook", "-i", "localhost,", "-c", "local", str(PLAYBOOK),
                 "-e", f"diskmgt_fact_path={FACTS}", "-e", "diskmgt_become=false").stdout
    assert '"msg": "/dev/sda: 64.00 MB, 3 partitions, mounted: /media/gone/efi /media/gone/boot"' in played
    assert '"msg": "/dev/sdb: 64.00 MB, 3 partitions, mounted: /media/gone/old /media/gone/data"' in played
    assert '"msg": "/dev/nvme0n1: 64.00 MB, 1 partitions, mounted: /media/gone/fast"' in played
