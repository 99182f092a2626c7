"""A collector for each connection, as a service manager starts it: systemd-socket-activate stands in for that."""

import os
import shutil
import subprocess
from pathlib import Path

import pytest

from conftest import ENDPOINT, environment, wait_until

ACTIVATE = shutil.which("systemd-socket-activate")
pytestmark = pytest.mark.skipif(not ACTIVATE, reason="the package systemd is missing")
COLLECTOR = str(Path(ENDPOINT).parent / "diskmgt-collect")


def is_listened_on(path):
    """Some time after the path is there."""
    rows = [line.split() for line in Path("/proc/net/unix").read_text(encoding="utf-8").splitlines()]
    return any(row[-1] == str(path) and row[3] == "00010000" for row in rows)  # __SO_ACCEPTCON


@pytest.fixture
def collectors(tmp_path):
    """The path of a socket behind which a collector is started for each connection."""
    path = tmp_path / "collect.sock"
    process = subprocess.Popen([ACTIVATE, "--accept", "--inetd", f"--listen={path}", COLLECTOR, "--limit", "30"],
                               stderr=subprocess.DEVNULL, env=environment())
    wait_until(lambda: is_listened_on(path), "the socket is listened on")
    yield path
    process.terminate()
    process.wait()


def test_front_is_answered_by_it(serve, collectors):
    endpoint = serve("--max-age", "0", "--collector", f"unix:{collectors}").start()
    assert [endpoint.ask(path).status for path in ("/healthz", "/metrics", "/inventory.json")] == [200] * 3
    assert endpoint.role(b"diskmgt-collect") is None  # the keeper has started none


def test_next_one_is_connected_to(serve, collectors):
    endpoint = serve("--max-age", "0", "--collector", f"unix:{collectors}").start()
    assert endpoint.ask("/healthz").status == 200
    listed = subprocess.run(["pgrep", "--full", f"^{COLLECTOR} --limit 30$"], capture_output=True, text=True, check=False)
    mine = [int(number) for number in listed.stdout.split() if str(collectors) not in number]
    unix = {line.split()[-1] for line in Path("/proc/net/unix").read_text(encoding="utf-8").splitlines()}
    assert str(collectors) in unix and len(mine) >= 1
    if len(mine) > 1:
        pytest.skip("another endpoint of the same build runs, so the collector to end is not known")
    os.kill(mine[0], 9)
    wait_until(lambda: endpoint.ask("/healthz").status == 200, "another one answers")


def test_without_one_it_does_not_start(serve, tmp_path):
    endpoint = serve("--collector", f"unix:{tmp_path}/nothing")
    assert endpoint.ended() == 3 and "cannot connect to the collector" in endpoint.said()
