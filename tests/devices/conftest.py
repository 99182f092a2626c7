"""What all tests on described machines share: the command under test, running machines, requests to it."""

import json
import os
import sys
from collections import OrderedDict
from pathlib import Path

import pytest

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parent))
sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "support"))

from machine import kernel  # noqa: E402
from machine.session import Session  # noqa: E402

MACHINES = Path(__file__).resolve().parent.parent / "machines"
KEPT_RUNNING = 4  # machines


def write_machine(folder, **description):
    """Describes a machine of one test's own; answers the folder."""
    (folder / "machine.json").write_text(json.dumps({"about": "a test", **description}), encoding="utf-8")
    return folder


def _machine_name(item):
    return item.callspec.params.get("name", "") if hasattr(item, "callspec") else ""


def pytest_collection_modifyitems(items):
    # Tests of one machine stand together, so that few machines are built twice; files keep their order.
    items.sort(key=lambda item: (str(item.path), _machine_name(item)))
    missing = kernel.missing_privilege()
    for item in items:
        if missing and not item.get_closest_marker("unprivileged"):
            item.add_marker(pytest.mark.skip(reason=missing))


def pytest_configure(config):
    config.addinivalue_line("markers", "unprivileged: needs no root")


@pytest.fixture(scope="session")
def diskmgt():
    """The command under test, as an absolute path."""
    path = os.environ.get("DISKMGT")
    assert path, "the environment variable DISKMGT must name the command under test"
    path = Path(path).resolve()
    assert os.access(path, os.X_OK), f"{path} cannot be run"
    return path


@pytest.fixture(scope="session")
def machine():
    """machine(name) is the running machine of that folder; built at first use, taken down at the end at the latest."""
    running = OrderedDict()

    def get(name):
        if name not in running:
            running[name] = Session(MACHINES / name)
        running.move_to_end(name)
        while len(running) > KEPT_RUNNING:
            running.popitem(last=False)[1].close()
        return running[name]

    yield get
    for session in running.values():
        session.close()


@pytest.fixture(scope="session")
def get(diskmgt):
    """get(session, classes) asks the command for classes and returns what it printed, as read from its JSON."""

    def ask(session, classes, *options, status=0):
        virtual = [word for text in session.machine.virtual_devices for word in ("--virtual-device", text)]
        result = session.run([diskmgt, "get", *classes, "--exact", "--format", "json", *virtual, *options], check=False)
        assert result.status == status, f"exit status {result.status}\n{result.stderr}"
        return result.json()

    return ask


@pytest.fixture(scope="session")
def properties(get):
    """properties(session, class) is the list of property sets of the class's instances, in the order published."""

    def ask(session, class_name, *options):
        answer = get(session, [class_name], *options)
        return [instance["properties"] for instance in answer["classes"][0]["instances"]]

    return ask
