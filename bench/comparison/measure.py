"""All measurements inside one prepared machine."""

import random
import statistics
import subprocess

from . import stopwatch
from .tools import THREE_CLASSES, TOOLS, installed, why_missing

TIMED_REQUESTS = 101
TIMED_STARTS = 5
# Start-up in steps: each command does one step more than the one before it, and the difference is its cost.
PHASES = [
    ("start of the process, options", ["--version"]),
    ("reference host and schema", ["classes"]),
    ("opening the plug-in", ["plugin"]),
    ("an empty request, JSON", ["get", "VEXSG_TapeDrive", "--exact"]),
    ("drives", ["get", "VEXSG_DiskDrive", "--exact"]),
    ("partitions", ["get", "VEXSG_DiskPartition", "--exact"]),
    ("logical disks", ["get", "VEXSG_LogicalDisk", "--exact"]),
    ("all three", ["get", *THREE_CLASSES, "--exact"]),
]


def run_once(program, calls):
    return stopwatch.Stopwatch(program).run_once(calls)


def calls_of(calls):
    return stopwatch.system_calls(calls)


def output_size(calls):
    return len(stopwatch.output_of(calls))


def measure(machine, build, runs, wanted):
    """{"tools": name to Measured, "missing": name to reason, "in_process": ..., "phases": ...}."""
    watch = f"{build}/bin/diskmgt_stopwatch"
    chosen, missing = _choose(machine, build, wanted)

    def at(tool, work, *arguments):
        return machine.in_second_view(work, *arguments) if tool.second_view else work(*arguments)

    measured = {tool.name: stopwatch.Measured() for tool, _ in chosen}
    for tool, calls in chosen:  # once before the clock runs, so that files are cached
        measured[tool.name].output = at(tool, output_size, calls)
        measured[tool.name].calls = at(tool, calls_of, calls)
    order = random.Random(1)
    for _ in range(runs):
        # The previous command leaves its state in the caches of processor and kernel.
        for tool, calls in order.sample(chosen, len(chosen)):
            wall, cpu, memory = at(tool, run_once, watch, calls)
            entry = measured[tool.name]
            entry.wall.append(wall)
            entry.cpu.append(cpu)
            entry.memory = max(entry.memory, memory)
    return stopwatch.as_json({"tools": measured, "missing": missing, "in_process": _in_process(build),
                              "phases": _phases(build, watch, runs) if len(machine.disks) == 1 else None})


def _choose(machine, build, wanted):
    chosen, missing = [], {}
    for tool in TOOLS:
        if wanted and not any(text in tool.name for text in wanted):
            continue
        calls = tool.calls(build, machine)
        try:
            status = subprocess.run(calls[0], capture_output=True, stdin=subprocess.DEVNULL, check=False,
                                    timeout=stopwatch.DEADLINE).returncode
        except FileNotFoundError:
            status = None
        reason = why_missing(calls[0], status)
        if reason:
            missing[tool.name] = reason
        else:
            chosen.append((tool, calls))
    return chosen, missing


def _in_process(build):
    """Processor milliseconds and system calls of the three classes, without starting a process."""
    timer = [f"{build}/bin/diskmgt_request_timer", f"{build}/lib/diskmgt/plugins/libdiskmgt.pi.so"]
    floor = f"{build}/bin/diskmgt_floor"

    def milliseconds(numbers):
        return statistics.median(numbers) / 1e6

    def further_calls(command):
        """System calls of one more repeat, less its two readings of the clock."""
        return stopwatch.system_calls([command(3)]) - stopwatch.system_calls([command(2)]) - 2

    starts = [stopwatch.nanoseconds_of([*timer, "1", *THREE_CLASSES])[0] for _ in range(TIMED_STARTS)]
    requests = stopwatch.nanoseconds_of([*timer, str(TIMED_REQUESTS), *THREE_CLASSES])
    return {
        "load": milliseconds(starts),
        "request": milliseconds(requests[2:]),
        "floor": milliseconds(stopwatch.nanoseconds_of([floor, str(TIMED_REQUESTS)])[1:]),
        "request_calls": further_calls(lambda repeats: [*timer, str(repeats), *THREE_CLASSES]),
        "floor_calls": further_calls(lambda repeats: [floor, str(repeats)]),
    }


def _phases(build, watch, runs):
    rows = []
    for name, arguments in PHASES:
        command = [f"{installed(build)}/bin/diskmgt", *arguments]
        times = [run_once(watch, [command]) for _ in range(runs)]
        rows.append({"name": name, "command": " ".join(["diskmgt", *arguments]),
                     "wall": statistics.median(wall for wall, _, _ in times),
                     "cpu": statistics.median(cpu for _, cpu, _ in times),
                     "memory": max(memory for _, _, memory in times), "calls": calls_of([command])})
    return {"rows": rows, "loader": stopwatch.loader_cycles([f"{installed(build)}/bin/diskmgt", "--version"])}
