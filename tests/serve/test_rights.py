"""What each process may do, as the kernel has it."""

import os
import pwd
import re
import subprocess
from pathlib import Path

import pytest

from conftest import COMMAND, IS_WHOLE, LONG, wait_until

FILTERED = pytest.mark.skipif(not IS_WHOLE, reason="an instrumented build opens files, so it has no filter")
REFUSED = os.environ.get("DISKMGT_REFUSED", "")


def status_of(process):
    lines = Path(f"/proc/{process}/status").read_text(encoding="utf-8").splitlines()
    return dict(line.split(":\t", 1) for line in lines if ":\t" in line)


@pytest.fixture
def endpoint(serve):
    running = serve().start()
    assert running.ask("/healthz").status == 200
    return running


@FILTERED
def test_front_has_no_rights(endpoint):
    status = status_of(endpoint.front)
    assert {status[name] for name in ("CapInh", "CapPrm", "CapEff", "CapAmb")} == {"0" * 16}
    assert (status["NoNewPrivs"], status["Seccomp"]) == ("1", "2")
    for thread in os.listdir(f"/proc/{endpoint.front}/task"):
        assert status_of(f"{endpoint.front}/task/{thread}")["Seccomp"] == "2"
    if os.geteuid() == 0:
        assert status["CapBnd"] == "0" * 16
        assert set(status["Uid"].split()).isdisjoint({"0"}) and status["Groups"].strip() == ""


@pytest.mark.skipif(os.geteuid() != 0, reason="only root may look into it")
def test_front_maps_no_plug_in_and_has_no_file_open(endpoint):
    maps = Path(f"/proc/{endpoint.front}/maps").read_text(encoding="utf-8")
    assert "libtalcore" in maps and "libdiskmgt.pi" not in maps
    collectors = Path(f"/proc/{endpoint.collector}/maps").read_text(encoding="utf-8")
    assert "libdiskmgt.pi" in collectors
    held = [os.readlink(entry) for entry in Path(f"/proc/{endpoint.front}/fd").iterdir() if int(entry.name) > 2]
    files = [target for target in held if not re.match(r"socket:|anon_inode:|pipe:", target)]
    assert files in ([], ["/memfd:progress (deleted)"])  # sealed memory of the collector


@pytest.mark.skipif(os.geteuid() != 0, reason="without root there is nothing to give up")
def test_collector_keeps_two_capabilities(endpoint):
    status = status_of(endpoint.collector)
    assert int(status["CapEff"], 16) & ~0b110 == 0 and status["NoNewPrivs"] == "1"
    assert "libssl" not in Path(f"/proc/{endpoint.collector}/maps").read_text(encoding="utf-8")


@pytest.mark.skipif(os.geteuid() != 0, reason="only root becomes another account")
def test_front_becomes_the_named_account(serve):
    other = next(entry for entry in pwd.getpwall() if entry.pw_uid not in (0, 65534))
    running = serve("--user", other.pw_name).start()
    assert status_of(running.front)["Uid"].split() == [str(other.pw_uid)] * 4


def test_nothing_that_answers_clients_runs_as_root(serve):
    if os.geteuid() != 0:
        pytest.skip("without root there is no root to run as")
    running = serve("--user", "root")
    assert running.ended() == 2 and "does not run as root" in running.said()


@FILTERED
@pytest.mark.parametrize("what", [
    "nothing", "disk", "file", "look", "socket", "connection", "connection-by-sending", "connection-by-a-message",
    "deaf-listener", "lingering-socket", "program", "process", "executable-memory", "mapped-file", "another-process",
    "descriptor", "more-rights"])
def test_behind_the_filter_is_refused(what, tmp_path):
    """The same functions as the front's, and then the attempt."""
    done = subprocess.run([REFUSED, what, str(tmp_path / "file")], capture_output=True, text=True, timeout=LONG,
                          check=False)
    expected = "done\n" if what == "nothing" else "EPERM\n"
    assert (done.returncode, done.stdout) == (0, expected), done.stderr
    assert list(tmp_path.iterdir()) == []


def test_command_links_nothing_of_the_endpoint():
    linked = subprocess.run(["ldd", COMMAND], capture_output=True, text=True, timeout=LONG, check=True).stdout
    assert not re.search(r"libssl|libcrypto|libseccomp|libpugixml|libz\.|libcrypt\.", linked)


def test_processes_of_the_endpoint_go_with_its_keeper(serve):
    running = serve().start()
    front, collector = running.front, running.collector
    running.process.kill()
    running.process.wait()
    wait_until(lambda: not Path(f"/proc/{front}").exists() and not Path(f"/proc/{collector}").exists(),
               "both end with the keeper")
