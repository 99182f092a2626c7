"""What a service manager does: it starts a collector for each connection (systemd-socket-activate stands in for that), and
waits for the word that the endpoint is ready."""

import os
import shutil
import socket
import subprocess
from pathlib import Path

import pytest

from conftest import ENDPOINT, LONG, environment, wait_until

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


@pytest.mark.skipif(os.geteuid() != 0, reason="only root may look into the processes")
@pytest.mark.parametrize("is_in_a_file_system", [True, False])
def test_service_manager_hears_once_that_it_is_ready(serve, tmp_path, is_in_a_file_system):
    name = f"{tmp_path}/notify" if is_in_a_file_system else f"\0diskmgt-test-{os.getpid()}"
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
        manager.bind(name)
        manager.settimeout(LONG)
        endpoint = serve(NOTIFY_SOCKET=name.replace("\0", "@")).start()
        assert manager.recv(100) == b"READY=1"
        for process in (endpoint.front, endpoint.collector):
            assert b"NOTIFY_SOCKET" not in Path(f"/proc/{process}/environ").read_bytes()
        old = endpoint.front
        os.kill(old, 9)
        wait_until(lambda: endpoint.role(b"front") not in (None, old), "another front is there")
        assert endpoint.ask("/healthz").status == 200
        manager.setblocking(False)
        with pytest.raises(BlockingIOError):
            manager.recv(100)


def test_without_one_it_does_not_start(serve, tmp_path):
    endpoint = serve("--collector", f"unix:{tmp_path}/nothing")
    assert endpoint.ended() == 3 and "cannot connect to the collector" in endpoint.said()
