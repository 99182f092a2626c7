"""Runs the built endpoint, whose executable is in DISKMGT_SERVE, here or in a described machine, and asks it."""

import http.client
import os
import signal
import subprocess
import sys
import time
from pathlib import Path

import pytest

HERE = Path(__file__).resolve().parent
sys.dont_write_bytecode = True
for folder in (HERE.parent / "devices", HERE.parent / "support"):
    sys.path.insert(0, str(folder))

from machine import kernel  # noqa: E402
from machine.session import Session  # noqa: E402

ENDPOINT = os.environ.get("DISKMGT_SERVE", "")
COMMAND = os.environ.get("DISKMGT", "")
PLUGINS = Path(os.environ.get("DISKMGT_TEST_PLUGINS", "."))
MACHINES = HERE.parent / "machines"
IS_WHOLE = os.environ.get("DISKMGT_INSTRUMENTED", "") == ""  # no sanitizer, no coverage: the filter is on
LONG = 60  # seconds; far above what anything takes


def environment(**changes):
    plain = {key: value for key, value in os.environ.items() if not key.startswith(("DISKMGT", "LC_", "LANG"))}
    return {**plain, "LC_ALL": "C.UTF-8", **changes}


def in_machine(session):
    """What begins a command that runs in the session's machine, as a child of this process."""
    return ["nsenter", "--target", str(session.init), "--mount", "--uts", "--pid", "--"]


def parent_of(process):
    try:
        return int(Path(f"/proc/{process}/stat").read_text(encoding="utf-8").rpartition(")")[2].split()[1])
    except OSError:
        return None


def name_of(process):
    """The words that started a process; empty for one that has ended."""
    try:
        return Path(f"/proc/{process}/cmdline").read_bytes().split(b"\0")
    except OSError:
        return []


def state_of(process):
    """One letter, as in proc(5); empty for a process that is gone."""
    try:
        return Path(f"/proc/{process}/stat").read_text(encoding="utf-8").rpartition(")")[2].split()[0]
    except OSError:
        return ""


def children_of(process):
    numbers = [int(entry) for entry in os.listdir("/proc") if entry.isdigit()]
    return sorted(number for number in numbers if parent_of(number) == process)


def wait_until(is_so, what):
    """Waits for a state that must come; how long that takes is nobody's business."""
    end = time.monotonic() + LONG
    while not (answer := is_so()):
        assert time.monotonic() < end, f"it does not come about: {what}"
        time.sleep(0.02)
    return answer


class Answer:
    def __init__(self, response):
        self.status, self.body = response.status, response.read()
        self.headers = {name.lower(): value for name, value in response.getheaders()}

    @property
    def text(self):
        return self.body.decode("utf-8")


class Endpoint:
    """A running endpoint. Without `listen` it is on a free port of loopback."""

    def __init__(self, log, *options, session=None, listen=("127.0.0.1:0",), plugin=None, prefix=(), **changes):
        places = [word for place in listen for word in ("--listen", place)]
        extra = ["--plugin", str(PLUGINS / f"{plugin}.so")] if plugin else []
        self.log = log
        with open(log, "ab") as errors:
            self.process = subprocess.Popen(
                [*(in_machine(session) if session else []), *prefix, ENDPOINT, *places, *extra, *map(str, options)],
                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=errors, env=environment(**changes))
        self.session, self.places = session, []

    def start(self):
        """Reads where it listens, which it prints once it answers."""
        line = self.process.stdout.readline().decode()
        assert line, f"it does not start: {self.said()}"
        self.places.append(line.strip())
        return self

    @property
    def port(self):
        return int(self.places[0].rstrip("/").rpartition(":")[2])

    def said(self):
        """What is on its standard error so far."""
        return Path(self.log).read_text(encoding="utf-8")

    def ask(self, path, method="GET", body=None, **headers):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=LONG)
        try:
            connection.request(method, path, body=body, headers={key.replace("_", "-"): value
                                                                 for key, value in headers.items()})
            return Answer(connection.getresponse())
        finally:
            connection.close()

    @property
    def keeper(self):
        if not self.session:
            return self.process.pid
        return wait_until(lambda: children_of(self.process.pid), "nsenter starts the keeper")[0]

    def role(self, word):
        """The process of the keeper that was started with that word, or None."""
        found = [child for child in children_of(self.keeper)
                 if any(word in part for part in name_of(child)) and state_of(child) not in "ZD"]
        return found[-1] if found else None

    @property
    def front(self):
        return wait_until(lambda: self.role(b"front"), "there is a front")

    @property
    def collector(self):
        return wait_until(lambda: self.role(b"diskmgt-collect"), "there is a collector")

    def ended(self):
        """The exit status of one that ends by itself."""
        return self.process.wait(timeout=LONG)

    def stop(self, number=signal.SIGTERM):
        """The exit status; None for one that had to be killed."""
        if self.process.poll() is None:
            try:
                os.kill(self.keeper, number)
            except (ProcessLookupError, IndexError):
                pass
        try:
            return self.process.wait(timeout=LONG)
        except subprocess.TimeoutExpired:
            self.process.kill()
            return None


@pytest.fixture
def serve(tmp_path):
    """serve(OPTION...) starts an endpoint, which ends with the test at the latest."""
    assert ENDPOINT, "the environment variable DISKMGT_SERVE must name the endpoint under test"
    running = []

    def begin(*options, **how):
        running.append(Endpoint(tmp_path / f"log{len(running)}", *options, **how))
        return running[-1]

    yield begin
    for endpoint in running:
        endpoint.stop()
        endpoint.process.stdout.close()


@pytest.fixture
def machine():
    """machine(name or folder) is that described machine, running."""
    missing = kernel.missing_privilege()
    if missing:
        pytest.skip(missing)
    sessions = []

    def get(name):
        sessions.append(Session(MACHINES / name if isinstance(name, str) else name))
        return sessions[-1]

    yield get
    for session in sessions:
        session.close()
