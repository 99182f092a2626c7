"""Clients of the endpoint over described machines: the machines of the device tests, an endpoint for each."""

import os
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

sys.dont_write_bytecode = True
TESTS = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(TESTS / "devices"), str(TESTS / "support"), str(Path(__file__).resolve().parent)]

from machine import kernel  # noqa: E402
from machine.session import Session  # noqa: E402

from endpoint import Endpoint, virtual_options  # noqa: E402

CLIENTS = {"test_wbemcli": {"wbemcli": "sblim-wbemcli"}, "test_grammar": {"xmllint": "libxml2-utils"}}


def pytest_collection_modifyitems(items):
    missing = kernel.missing_privilege()
    for item in items:
        if missing:
            item.add_marker(pytest.mark.skip(reason=missing))
        for tool, package in CLIENTS[item.path.stem].items():
            if not shutil.which(tool):
                item.add_marker(pytest.mark.skip(reason=f"the package {package} is missing"))


@pytest.fixture(scope="session")
def machine():
    """machine(name) is the running machine of that folder; taken down at the end."""
    running = {}

    def get(name):
        if name not in running:
            running[name] = Session(TESTS / "machines" / name)
        return running[name]

    yield get
    for session in running.values():
        session.close()


@pytest.fixture(scope="session")
def endpoint(machine, tmp_path_factory):
    """endpoint(name) answers for that machine: `port` on loopback."""
    serving = {}

    def get(name):
        if name not in serving:
            serving[name] = Endpoint(machine(name), tmp_path_factory.mktemp(name) / "log")
        return serving[name]

    yield get
    for one in serving.values():
        one.close()


@pytest.fixture(scope="session")
def diskmgt(machine):
    """diskmgt(name, arguments...) is what the command prints as JSON on that machine."""

    def run(name, *arguments):
        session = machine(name)
        virtual = virtual_options(session) if arguments[0] == "get" else []
        # Where the endpoint is: a mount source such as "proc" is also a path from there.
        command = ["env", "--chdir=/", os.environ["DISKMGT"], *arguments, "--format", "json", *virtual]
        return session.run(command, check=False).json()

    return run


class Wbemcli:
    """The client against one endpoint. What it prints may hold any bytes but those that are not UTF-8."""

    def __init__(self, endpoint):
        self.port = endpoint.port
        self.place = f"localhost:{endpoint.port}/root/cimv2"

    def run(self, *options, path="", lists=(), status=0):
        """Standard output for an operation with its options on the object path."""
        command = ["wbemcli", *options, f"http://{self.place}{path}", *lists]
        done = subprocess.run(command, capture_output=True, check=False, timeout=60,
                              env={"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8"})
        assert done.returncode == status, (command, done.stderr)
        return done.stdout.decode("utf-8") if status == 0 else done.stderr.decode("utf-8")


@pytest.fixture
def wbemcli(endpoint):
    return lambda name: Wbemcli(endpoint(name))
