"""The units and the account: valid, and hardened each for its role."""

import configparser
import re
import shutil
import subprocess
from pathlib import Path

import pytest

from conftest import ENDPOINT

UNITS = Path(__file__).resolve().parents[2] / "share" / "endpoint"
FRONT, SOCKET, COLLECTOR = "diskmgt-serve.service", "diskmgt-collect.socket", "diskmgt-collect@.service"
OWN_VIEW = {"ProtectSystem", "ProtectHome", "PrivateTmp", "PrivateDevices", "PrivateMounts", "ProtectKernelTunables",
            "ProtectKernelModules", "ProtectKernelLogs", "ProtectControlGroups", "ProtectHostname", "ProtectProc",
            "ProcSubset", "ReadOnlyPaths", "ReadWritePaths", "InaccessiblePaths", "BindPaths", "BindReadOnlyPaths",
            "TemporaryFileSystem", "RootDirectory", "RootImage", "MountFlags", "DynamicUser", "PrivateUsers"}
NEEDS_SYSTEMD = pytest.mark.skipif(not shutil.which("systemd-analyze"), reason="the package systemd is missing")


def settings(name, section):
    reader = configparser.ConfigParser(interpolation=None, strict=False)
    reader.optionxform = str
    reader.read(UNITS / name, encoding="utf-8")
    return dict(reader[section])


@NEEDS_SYSTEMD
def test_systemd_finds_no_fault(tmp_path):
    folder = str(Path(ENDPOINT).parent)
    for name in (FRONT, SOCKET, COLLECTOR):
        text = (UNITS / name).read_text(encoding="utf-8").replace("/usr/lib/diskmgt", folder)
        (tmp_path / name).write_text(text.replace("User=diskmgt\nGroup=diskmgt\n", ""), encoding="utf-8")
    for name in (FRONT, SOCKET):
        done = subprocess.run(["systemd-analyze", "verify", "--man=no", "--recursive-errors=no", tmp_path / name],
                              capture_output=True, text=True, check=False)
        assert (done.returncode, done.stderr) == (0, "")


def exposure(name):
    done = subprocess.run(["systemd-analyze", "security", "--offline=true", UNITS / name], capture_output=True, text=True,
                          check=False)
    return float(re.search(r"Overall exposure level for \S+: ([0-9.]+)", done.stdout)[1])


@NEEDS_SYSTEMD
def test_front_is_hardly_exposed():
    assert exposure(FRONT) <= 2.0


@NEEDS_SYSTEMD
def test_collector_is_less_exposed_than_it_would_be_without_limits():
    assert exposure(COLLECTOR) <= 4.0


def test_collector_keeps_the_view_of_the_server():
    assert not OWN_VIEW & settings(COLLECTOR, "Service").keys()


def test_roles_meet_at_one_socket():
    path = settings(SOCKET, "Socket")["ListenStream"]
    assert f"--collector unix:{path}" in settings(FRONT, "Service")["ExecStart"]
    assert settings(SOCKET, "Socket")["SocketMode"] == "0660"
    assert settings(SOCKET, "Socket")["SocketGroup"] == settings(FRONT, "Service")["Group"] == "diskmgt"
    assert settings(COLLECTOR, "Service")["StandardInput"] == "socket"
    account = (UNITS / "diskmgt-serve.sysusers").read_text(encoding="utf-8")
    assert re.search(r"^u diskmgt ", account, re.MULTILINE)


def test_no_unit_is_started_by_another_one_that_is_enabled():
    """What is enabled is the administrator's choice: only targets want these units."""
    assert settings(FRONT, "Install") == {"WantedBy": "multi-user.target"}
    assert settings(SOCKET, "Install") == {"WantedBy": "sockets.target"}
