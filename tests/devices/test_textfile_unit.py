"""The systemd units that keep the node exporter's text file fresh: valid, and able to do their work as limited."""

import configparser
import shlex
import shutil
import subprocess
from pathlib import Path

import pytest

UNITS = Path(__file__).resolve().parents[2] / "share" / "systemd"
SERVICE, TIMER = UNITS / "diskmgt-textfile.service", UNITS / "diskmgt-textfile.timer"
OWN_VIEW = {"ProtectSystem", "ProtectHome", "PrivateTmp", "PrivateDevices", "PrivateMounts", "ProtectKernelTunables",
            "ProtectKernelModules", "ProtectKernelLogs", "ProtectControlGroups", "ProtectHostname", "ProtectProc",
            "ProcSubset", "ReadOnlyPaths", "ReadWritePaths", "InaccessiblePaths", "BindPaths", "BindReadOnlyPaths",
            "TemporaryFileSystem", "RootDirectory", "RootImage", "MountFlags", "DynamicUser", "PrivateUsers"}


def settings(file, section):
    reader = configparser.ConfigParser(interpolation=None, strict=True)
    reader.optionxform = str
    reader.read(file, encoding="utf-8")
    return dict(reader[section])


@pytest.mark.unprivileged
@pytest.mark.skipif(not shutil.which("systemd-analyze"), reason="the package systemd is missing")
def test_systemd_finds_no_fault(tmp_path, diskmgt):
    for file in (SERVICE, TIMER):
        text = file.read_text(encoding="utf-8").replace("/usr/bin/diskmgt", str(diskmgt))
        (tmp_path / file.name).write_text(text, encoding="utf-8")
        done = subprocess.run(["systemd-analyze", "verify", "--man=no", "--recursive-errors=no", tmp_path / file.name],
                              capture_output=True, text=True, check=False)
        assert (done.returncode, done.stderr) == (0, "")


@pytest.mark.unprivileged
def test_service_keeps_the_view_of_the_server():
    assert not OWN_VIEW & settings(SERVICE, "Service").keys()


def test_service_has_the_rights_that_it_needs(machine, diskmgt):
    """As limited, it reports what unlimited root reports, into a folder of somebody else's."""
    session, service = machine("mounted-file-systems"), settings(SERVICE, "Service")
    rights = [name.removeprefix("CAP_").lower() for name in service["CapabilityBoundingSet"].split()]
    command = shlex.split(service["ExecStart"].replace("/usr/bin/diskmgt", str(diskmgt)))
    target = "/media/small/exporter/diskmgt.prom"
    command[command.index("--output") + 1] = target
    session.run(["sh", "-c", "mkdir -p /media/small/exporter && chown 12345:12345 /media/small/exporter"])
    try:
        session.run(["setpriv", "--no-new-privs", f"--bounding-set=-all,{','.join('+' + name for name in rights)}",
                     "sh", "-c", f"umask {service['UMask']}; exec {shlex.join(command)}"])
        written = session.run(["cat", target]).stdout
        assert session.run(["stat", "-c", "%a", target]).stdout.strip() == "644"
    finally:
        session.run(["rm", "-r", "/media/small/exporter"])
    assert series(written) == series(session.run([diskmgt, "export", "prometheus"]).stdout)
    assert 'diskmgt_filesystem_size_bytes{device="/dev/sda1",' in written
    assert "\ndiskmgt_collection_success 1\n" in written


def series(text):
    return [line.rsplit(" ", 1)[0] for line in text.splitlines()]


@pytest.mark.unprivileged
def test_timer_starts_the_service():
    assert TIMER.stem == SERVICE.stem
    assert settings(TIMER, "Timer")["OnUnitActiveSec"] == "1h"  # the alert on stale metrics is three times that
    assert settings(TIMER, "Install")["WantedBy"] == "timers.target"
