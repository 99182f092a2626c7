"""A running described machine, as the tests hold it: run commands inside, measure file systems, take it down."""

import json
import os
import subprocess
import sys
from dataclasses import dataclass
from pathlib import Path

from .description import read_machine

IN_MACHINE = Path(__file__).resolve().parent.parent / "in_machine"
DEADLINE = 60  # seconds for one command; far above what any of them takes


@dataclass
class Result:
    command: list
    status: int
    stdout: str
    stderr: str

    def json(self):
        return json.loads(self.stdout)


class MachineFailure(Exception):
    """The machine could not be built, or it died; the text carries what it said."""


class Session:
    """Builds the machine of a folder and keeps it until close(), the end of a with block or of this process."""

    def __init__(self, folder):
        self.machine = read_machine(folder)
        self.process = subprocess.Popen([sys.executable, "-B", str(IN_MACHINE), "--serve", str(folder)], text=True,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        started = self._read()
        self.init, self.loops, self.sys_block = int(started["pid"]), started["loops"], started["sys_block"]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def _read(self):
        line = self.process.stdout.readline()
        if not line:
            raise MachineFailure(f"{self.machine.folder}: {self.process.communicate()[1]}")
        return json.loads(line)

    def _ask(self, request):
        try:
            self.process.stdin.write(json.dumps(request) + "\n")
            self.process.stdin.flush()
        except BrokenPipeError:
            pass  # reading tells why
        return self._read()

    def run(self, command, text="", environment=None, check=True, timeout=DEADLINE):
        """Runs a command inside and returns its Result; with check, any exit status but 0 is an AssertionError."""
        command = [str(word) for word in command]
        answer = self._ask({"run": command, "input": text, "environment": environment or {}, "timeout": timeout})
        if "failed" in answer:
            raise MachineFailure(f"{command}: {answer['failed']}")
        result = Result(command, answer["status"], answer["stdout"], answer["stderr"])
        assert not check or result.status == 0, f"{command}: exit status {result.status}\n{result.stderr}"
        return result

    def measure(self, path):
        """{"total", "free", "id"} of the file system that holds path, as seen inside; None: not measurable."""
        answer = self._ask({"measure": path})
        return None if "failed" in answer else answer

    def close(self):
        """Ends the machine and waits until it is gone."""
        if self.process.poll() is None:
            self.process.stdin.close()
            self.process.wait()
        for stream in (self.process.stdin, self.process.stdout, self.process.stderr):
            stream.close()


def loops_in_use():
    """(number, device and inode of the backing file) of every loop device that the system has in use."""
    listed = subprocess.run(["losetup", "--list", "--json", "--output", "NAME,BACK-INO,BACK-MAJ:MIN"],
                            capture_output=True, text=True, check=True, env={**os.environ, "LC_ALL": "C"}).stdout
    if not listed.strip():
        return set()
    found = set()
    for entry in json.loads(listed)["loopdevices"]:
        major, minor = (int(part) for part in entry["back-maj:min"].split(":"))
        found.add((int(entry["name"].removeprefix("/dev/loop")), os.makedev(major, minor), int(entry["back-ino"])))
    return found
