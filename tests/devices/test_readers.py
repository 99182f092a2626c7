"""What other programs make of the outputs of common servers: each file system is there once, and what is not complete is
seen to be so. A KVM guest, one with a drive that cannot be opened, LVM, the layout of cloud images, sixty disks, and an
ordinary user."""

import json
import re
import shutil
import subprocess
from dataclasses import dataclass

import pytest

from conftest import MACHINES, write_machine
from machine.account import read_account
from machine.session import Session
from page_reader import Page
from browser import CHROMIUM, Browser
from test_prometheus import exporter, of, samples  # noqa: F401  # pylint: disable=unused-import

jsonschema = pytest.importorskip("jsonschema", reason="python3-jsonschema is missing")

SHARE = MACHINES.parent.parent / "share"
RULES = SHARE / "prometheus" / "diskmgt.rules.yml"
USER = ("setpriv", "--reuid=65534", "--regid=65534", "--clear-groups")
ON_NETWORK = ("network", "pool", "fuse")
# By name: the machine, who asks, and what is left out of the machine.
SERVERS = {"guest": ("virtio-guest", (), "sr0"), "guest-with-optical-drive": ("virtio-guest", (), ""),
           "lvm": ("volumes-root", (), ""), "cloud": ("cloud-server", (), ""), "sixty-disks": ("storage-node", (), ""),
           "ordinary-user": ("cloud-server", USER, "")}
MISSING = {"guest-with-optical-drive": "/dev/sr0", "ordinary-user": "only for root"}  # in the sentence that says so


@dataclass
class Server:
    name: str
    document: dict
    metrics: str
    page: str
    said: str  # on standard error, with the document
    account: dict

    @property
    def is_complete(self):
        return self.name not in MISSING

    def disks(self):
        return [row["name"] for row in self.account["devices"] if row["kind"] == "disk"]

    def file_systems(self, kinds):
        """The mount points of each file system on a device, and of those of these kinds on none."""
        return sorted([tuple(row["mounts"]) for row in self.account["devices"] if "mounts" in row] +
                      [tuple(entry["mounts"]) for entry in self.account["fileSystems"] if entry["kind"] in kinds])


def without(description, name):
    return {**description, "sys_block": [entry for entry in description["sys_block"] if entry.get("name") != name]}


@pytest.fixture(params=SERVERS, scope="module")
def server(request, tmp_path_factory, diskmgt):
    machine, user, left_out = SERVERS[request.param]
    description = json.loads((MACHINES / machine / "machine.json").read_text(encoding="utf-8"))
    account = read_account(MACHINES / machine)
    account["devices"] = [row for row in account["devices"] if row["name"] != left_out]
    with Session(write_machine(tmp_path_factory.mktemp("server"), **without(description, left_out))) as session:
        document, metrics, page = (session.run([*user, diskmgt, "export", *form], check=False)
                                   for form in (["json", "--compact"], ["prometheus"], ["html"]))
    assert {done.status for done in (document, metrics, page)} == {int(request.param in MISSING)}, document.stderr
    return Server(request.param, document.json(), metrics.stdout, page.stdout, document.stderr, account)


def mounts_in(document):
    """The mount points of each file system of a document that is on a device or a network."""
    rows = [device for device in document["devices"] if "mounts" in device]
    rows += [entry for entry in document["fileSystems"] if entry["kind"] in ON_NETWORK]
    return sorted(tuple(mount["mountPoint"] for mount in row["mounts"]) for row in rows)


def test_the_document_keeps_to_its_schema_and_has_each_file_system_once(server):
    schema = json.loads((SHARE / "inventory.schema.json").read_text(encoding="utf-8"))
    jsonschema.Draft202012Validator(schema).validate(server.document)
    document = server.document["diskmgt"]
    assert mounts_in(document) == server.file_systems(ON_NETWORK)
    assert (document["complete"], not document["incomplete"]) == (server.is_complete,) * 2


@pytest.mark.skipif(not shutil.which("facter"), reason="facter is missing")
def test_facter_has_each_file_system_once_and_sees_what_is_missing(server, tmp_path, monkeypatch):
    (tmp_path / "disks.json").write_text(json.dumps(server.document), encoding="utf-8")
    monkeypatch.setenv("HOME", str(tmp_path))
    done = subprocess.run(["facter", "--json", "--external-dir", tmp_path, "diskmgt"], capture_output=True, text=True,
                          check=True)
    fact = json.loads(done.stdout)["diskmgt"]
    assert fact == server.document["diskmgt"]
    assert mounts_in(fact) == server.file_systems(ON_NETWORK) and fact["complete"] == server.is_complete


@pytest.mark.skipif(not shutil.which("ansible-playbook"), reason="ansible-core is missing")
def test_the_example_playbook_prints_each_disk_and_file_system_once_or_stops(server, tmp_path, monkeypatch):
    for name, text in (("document", json.dumps(server.document)), ("said", server.said)):
        (tmp_path / name).write_text(text, encoding="utf-8")
    (tmp_path / "fact").write_text(f"#!/bin/sh\ncat {tmp_path}/document; cat {tmp_path}/said >&2\n"
                                   f"exit {int(not server.is_complete)}\n", encoding="utf-8")
    monkeypatch.setenv("HOME", str(tmp_path))
    monkeypatch.setenv("ANSIBLE_NOCOLOR", "1")
    settings = {"diskmgt_become": False, "diskmgt_fact": f"{tmp_path}/fact", "diskmgt_fact_path": f"{tmp_path}/facts.d"}
    done = subprocess.run(["ansible-playbook", "-i", "localhost,", "-c", "local", SHARE / "ansible" / "disks.yml",
                           "-e", json.dumps(settings)], capture_output=True, text=True, check=False)
    printed = re.findall(r'"msg": "(\S.*?): ', done.stdout)
    if not server.is_complete:
        assert done.returncode == 2 and MISSING[server.name] in done.stdout, done.stdout
        assert not [name for name in printed if name.startswith("/")]
        return
    assert done.returncode == 0, done.stdout
    expected = [f"/dev/{name}" for name in server.disks()] + [" ".join(points) for points in
                                                              server.file_systems(ON_NETWORK)]
    assert sorted(printed) == sorted(expected)


def test_the_node_exporter_serves_each_file_system_once_and_whether_all_is_there(server, exporter):  # noqa: F811
    served = samples(exporter(server.metrics))
    assert served["node_textfile_scrape_error", ()] == 0
    points = {points[0] for points in server.file_systems(("network", "pool", "memory"))}
    assert sorted(point for point, in of(served, "filesystem_measured", "mountpoint")) == sorted(points)
    assert served["diskmgt_collection_success", ()] == server.is_complete
    assert {path for path, kind in of(served, "device_info", "device", "kind") if kind == "disk"} == {
        f"/dev/{name}" for name in server.disks()}


def alert(summary, description, **labels):
    return {"exp_labels": {"severity": "warning", "instance": "a", **labels},
            "exp_annotations": {"summary": summary, "description": description}}


INCOMPLETE = alert("The disk inventory of a is not complete", "diskmgt_collection_gap says what is missing.")


@pytest.mark.skipif(not shutil.which("promtool"), reason="the package prometheus is missing")
def test_promtool_takes_the_metrics_and_alerts_only_where_something_is_missing(server, tmp_path):
    checked = subprocess.run(["promtool", "check", "metrics"], input=server.metrics, capture_output=True, text=True,
                             check=False)
    assert (checked.returncode, checked.stderr) == (0, "")
    series = []
    for line in server.metrics.splitlines():
        if not line.startswith("#"):
            name, labels, value = re.fullmatch(r"(\w+)(?:\{(.*)\})? (\S+)", line).groups()
            series.append({"series": f'{name}{{{labels + "," if labels else ""}instance="a"}}',
                           "values": f"{float(value):.17g}x24"})
    refused = [gap["of"] for gap in server.document["diskmgt"]["incomplete"] if gap["rule"] == "open-failed"]
    cases = {"DiskInventoryIncomplete": [] if server.is_complete else [INCOMPLETE],
             "DiskRefused": [alert(f"{device} of a cannot be opened", f'"diskmgt explain {device}" says why.', of=device,
                                   rule="open-failed") for device in refused],
             "DiskVanished": [], "FileSystemDoesNotAnswer": [], "DiskMetricsStale": []}
    (tmp_path / "case.yml").write_text(json.dumps({
        "rule_files": [str(RULES)], "evaluation_interval": "5m",
        "tests": [{"interval": "5m", "input_series": series, "alert_rule_test": [
            {"alertname": name, "eval_time": "2h", "exp_alerts": alerts} for name, alerts in cases.items()]}]}),
        encoding="utf-8")
    done = subprocess.run(["promtool", "test", "rules", tmp_path / "case.yml"], capture_output=True, text=True, check=False)
    assert done.returncode == 0, done.stdout + done.stderr
    assert server.is_complete or refused


@pytest.mark.skipif(not CHROMIUM, reason="the package chromium is missing")
def test_a_browser_shows_each_file_system_once_and_what_is_missing(server, tmp_path):
    with Browser(server.page.encode("utf-8"), tmp_path) as browser:
        seen = browser.elements()
    assert Page(seen).elements == Page(server.page).elements
    places = re.findall(r'<th scope="row" class="place"><span class="name">(.*?)</span>', seen.replace("<wbr>", ""))
    assert sorted(places) == sorted(points[0] for points in server.file_systems((*ON_NETWORK, "overlay", "memory")))
    assert ("This page is not complete" in Page(seen).text) == (not server.is_complete)
    assert all(server_disk in Page(seen).text for server_disk in (f"/dev/{name}" for name in server.disks()))
