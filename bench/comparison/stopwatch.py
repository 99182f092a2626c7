"""Runs commands and measures their time, memory and system calls."""

import json
import os
import re
import statistics
import subprocess
from dataclasses import dataclass, field

_TOTAL = re.compile(r"^\s*100\.00\s+\S+\s+(?:\S+\s+)?(\d+)(?:\s+\d+)?\s+total$", re.MULTILINE)
_LOADER = re.compile(r"(total startup time in dynamic loader|time needed for relocation|time needed to load objects): "
                     r"(\d+) cycles")
DEADLINE = 120  # seconds for one call


@dataclass
class Measured:
    """The figures of several runs. A run may be several calls; their times add up."""
    wall: list = field(default_factory=list)   # milliseconds
    cpu: list = field(default_factory=list)    # milliseconds, user and system
    memory: int = 0                            # KiB, the greatest
    calls: int = 0                             # system calls of one run
    output: int = 0                            # bytes of one run

    def median(self):
        return statistics.median(self.wall)

    def median_cpu(self):
        return statistics.median(self.cpu)

    def least(self):
        return min(self.wall)


class Stopwatch:
    def __init__(self, program):
        self.program = str(program)

    def run_once(self, calls):
        """(milliseconds, processor milliseconds, KiB) of the calls, one after the other."""
        wall, cpu, memory = 0, 0, 0
        for call in calls:
            told = subprocess.run([self.program, *call], capture_output=True, text=True, check=True, timeout=DEADLINE)
            nanoseconds, user, system, kib, status = map(int, told.stdout.split())
            if os.WIFEXITED(status) and os.WEXITSTATUS(status) == 127:
                raise FileNotFoundError(call[0])
            wall += nanoseconds
            cpu += user + system
            memory = max(memory, kib)
        return wall / 1e6, cpu / 1e3, memory


def system_calls(calls):
    """The number of system calls of all calls, including their children's; 0 without strace."""
    total = 0
    for call in calls:
        try:
            told = subprocess.run(["strace", "-f", "-c", "-o", "/dev/stderr", *call], capture_output=True, text=True,
                                  errors="replace", check=False, timeout=DEADLINE, stdin=subprocess.DEVNULL)
        except FileNotFoundError:
            return 0
        found = _TOTAL.search(told.stderr)
        total += int(found.group(1)) if found else 0
    return total


def output_of(calls):
    """Everything that the calls print on standard output."""
    return b"".join(subprocess.run(call, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False,
                                   stdin=subprocess.DEVNULL, timeout=DEADLINE).stdout for call in calls)


def loader_cycles(call):
    """The dynamic loader's statistics about its work before main, in processor cycles, by kind."""
    told = subprocess.run(call, capture_output=True, text=True, check=False, timeout=DEADLINE,
                          env={**os.environ, "LD_DEBUG": "statistics"})
    cycles = {}
    for kind, count in _LOADER.findall(told.stderr):
        cycles.setdefault(kind, int(count))
    return cycles


def nanoseconds_of(call):
    """The numbers that a timing program prints, one a line."""
    done = subprocess.run(call, capture_output=True, text=True, check=True, timeout=DEADLINE)
    return [int(line) for line in done.stdout.split()]


def as_json(measured):
    return json.loads(json.dumps(measured, default=vars))
