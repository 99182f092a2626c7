"""Runs the built command, whose path is in DISKMGT, with the stand-in plug-ins in DISKMGT_TEST_PLUGINS."""
import json
import os
import pty
import shutil
import subprocess
import termios
from pathlib import Path

import pytest

COMMAND = os.environ.get("DISKMGT", "")
PLUGIN_DIR = Path(os.environ.get("DISKMGT_TEST_PLUGINS", "."))


class Outcome:
    """What one run of the command left: exit status, and both outputs as bytes."""

    def __init__(self, status, stdout, stderr):
        self.status, self.stdout, self.stderr = status, stdout, stderr

    @property
    def text(self):
        return self.stdout.decode()

    @property
    def json(self):
        return json.loads(self.stdout)

    @property
    def sentence(self):
        """The one line on standard error; fails when there is not exactly one."""
        lines = self.stderr.decode().split("\n")
        assert len(lines) == 2 and lines[1] == "", self.stderr
        assert lines[0].startswith("diskmgt: "), self.stderr
        return lines[0]


def environment(**changes):
    """A plain environment; a change to None removes the variable."""
    plain = {key: value for key, value in os.environ.items()
             if not key.startswith(("DISKMGT", "LC_", "LANG", "NO_COLOR"))}
    plain["LC_ALL"] = "C.UTF-8"
    plain.update(changes)
    return {key: value for key, value in plain.items() if value is not None}


def can_trace():
    """Whether strace is there and works."""
    return shutil.which("strace") and subprocess.run(["strace", "-qq", "-o", "/dev/null", "true"], check=False,
                                                     stderr=subprocess.DEVNULL).returncode == 0


def on_a_terminal(*arguments, width=None, errors_too=False, **changes):
    """Exit status, and what the command writes to a terminal of that many columns, as bytes. Standard error is that
    terminal only on request: on a busy machine progress would be shown there."""
    leader, follower = pty.openpty()
    if width is not None:
        termios.tcsetwinsize(follower, (24, width))
    running = subprocess.Popen([COMMAND, *arguments], stdin=subprocess.DEVNULL, stdout=follower,
                               stderr=follower if errors_too else subprocess.DEVNULL, env=environment(**changes))
    os.close(follower)
    seen = b""
    while True:
        try:
            piece = os.read(leader, 65536)
        except OSError:  # the last holder of the other end is gone
            break
        if not piece:
            break
        seen += piece
    os.close(leader)
    running.wait(timeout=60)
    return running.returncode, seen


@pytest.fixture
def run(tmp_path):
    """run("get", "CLASS", ...) in an empty directory; keywords change the environment."""
    def runner(*arguments, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, **changes):
        done = subprocess.run([COMMAND, *map(os.fsencode, arguments)], stdin=stdin, stdout=stdout,
                              stderr=subprocess.PIPE, cwd=tmp_path, env=environment(**changes), timeout=120,
                              check=False)
        return Outcome(done.returncode, done.stdout, done.stderr)
    return runner


@pytest.fixture
def plugin():
    """The file of a stand-in plug-in, by name."""
    def find(name):
        file = PLUGIN_DIR / f"{name}.so"
        assert file.exists(), f"{file} is not built"
        return str(file)
    return find


@pytest.fixture(scope="session")
def complete_status():
    """The exit status of an export of this machine that works: 0 where its account is complete, else 1, as in a
    container that keeps root from a disk."""
    done = subprocess.run([COMMAND, "export", "json"], stdin=subprocess.DEVNULL, capture_output=True,
                          env=environment(), timeout=120, check=False)
    return 0 if json.loads(done.stdout)["diskmgt"]["complete"] else 1
