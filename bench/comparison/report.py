"""The document: tables of medians and ratios, with the machine that they were taken on; and the details, for those who work
on the speed."""

import datetime
import json
import os
import platform
import subprocess

from .machine import MOUNTS, PARTITIONS
from .tools import TOOLS, VERSION_COMMANDS

BENCHMARKS = ("request/.*/all_classes|request/.*/three_instance_classes|parser/|builder/|pairing/|loading/")
REFERENCE = "diskmgt get, three classes"


def document(results, runs, beside):
    """`beside`: what was measured on described machines."""
    sizes = sorted(results)
    parts = ["# Performance", _introduction(sizes, runs), "## Whole commands\n",
             "Medians of wall-clock milliseconds.\n", _table(results, sizes, "wall"),
             "\nTimes of the others, as multiples of `diskmgt get` of the three classes.\n", _ratios(results, sizes),
             "\nGreatest resident memory in MiB.\n", _table(results, sizes, "memory"),
             "\nSystem calls of one run, start of the process included.\n", _table(results, sizes, "calls"),
             _notes(results), "\n## System calls of each disk, partition and mount\n", _call_costs(beside["call_costs"]),
             "\n## Beside a mount that does not answer\n", _dead_mount(beside["dead_mount"]), "\n## In one process\n", _in_process(results, sizes)]
    if results[sizes[0]].get("phases"):
        parts += ["\n## Where a whole command's time goes, one disk\n", _phases(results[sizes[0]]["phases"])]
    return "\n".join(parts).rstrip() + "\n"


def details(results, build):
    sizes = sorted(results)
    parts = ["# Performance in detail\n", f"Of the same run as docs/PERFORMANCE.md: {_machine()}.\n",
             "## Processor time of whole commands\n",
             "Medians of milliseconds, user and system together. They depend less on what else runs on the machine.\n",
             _table(results, sizes, "cpu")]
    cycles = results[sizes[0]].get("phases", {}).get("loader")
    if cycles:
        parts += ["\n## Dynamic loader before main, one disk\n", "In millions of cycles: " + ", ".join(
            f"{kind} {count / 1e6:.2f}" for kind, count in cycles.items()) + "."]
    parts += ["\n## Over described machines\n", _benchmarks(build)]
    return "\n".join(parts).rstrip() + "\n"


def _introduction(sizes, runs):
    machines = "\n".join(f"- {size} disk{'s' if size > 1 else ''}: {PARTITIONS[size]} partitions, {MOUNTS[size]} mounts"
                         for size in sizes)
    return f"""
Written by `bench/compare`. {datetime.date.today().isoformat()}; {_machine()}.

{runs} interleaved runs of every command on the same prepared machine, in another order each time:

{machines}

The disks are loop devices with real partitions, half of them with a GPT and half with an MBR whose fourth partition is
extended; standard output goes to /dev/null. `diskmgt` runs from an install tree.

{_versions()}
"""


def _machine():
    with open("/proc/cpuinfo", encoding="utf-8") as text:
        model = next((line.split(":", 1)[1].strip() for line in text if line.startswith("model name")), "unknown")
    with open("/proc/meminfo", encoding="utf-8") as text:
        memory = int(next(text).split()[1]) / 1024 / 1024
    load = os.getloadavg()[0]
    return (f"{os.cpu_count()} processors ({model}), {memory:.0f} GiB, Linux {platform.release().split('-')[0]}, "
            f"load average {load:.1f} at the end")


def _versions():
    lines = []
    for name, command in VERSION_COMMANDS.items():
        try:
            told = subprocess.run(command, capture_output=True, text=True, check=False, stdin=subprocess.DEVNULL)
        except FileNotFoundError:
            continue
        first = next((line.strip() for line in (told.stdout + told.stderr).splitlines() if line.strip()), "")
        lines.append(f"`{name}`: {first}")
    return "Versions: " + ";\n".join(lines) + "."


def _grid(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|" + "---|" + "---:|" * (len(head) - 1)]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows])


def _measured(results, sizes):
    for tool in TOOLS:
        entries = [results[size]["tools"].get(tool.name) for size in sizes]
        if any(entries):
            yield tool, entries


def _median(numbers):
    ordered = sorted(numbers)
    middle = len(ordered) // 2
    return ordered[middle] if len(ordered) % 2 else (ordered[middle - 1] + ordered[middle]) / 2


def _shown(entry, what):
    if not entry:
        return ""
    if what in ("wall", "cpu"):
        return _milliseconds(_median(entry[what]))
    return f"{entry['memory'] / 1024:.1f}" if what == "memory" else f"{entry['calls']:,}"


def _milliseconds(value):
    return f"{value:.2f}" if value < 10 else f"{value:.1f}" if value < 100 else f"{value:,.0f}"


def _table(results, sizes, what):
    rows = [[f"`{tool.name}`", *(_shown(entry, what) for entry in entries)]
            for tool, entries in _measured(results, sizes)]
    return _grid(["Disks", *map(str, sizes)], rows)


def _ratios(results, sizes):
    reference = [results[size]["tools"].get(REFERENCE) for size in sizes]
    rows = []
    for tool, entries in _measured(results, sizes):
        if tool.name != REFERENCE:
            rows.append([f"`{tool.name}`", *(f"{_median(entry['wall']) / _median(own['wall']):.2f}" if entry and own else ""
                                             for entry, own in zip(entries, reference))])
    return _grid(["Disks", *map(str, sizes)], rows)


def _notes(results):
    missing = {name: reason for result in results.values() for name, reason in result["missing"].items()}
    present = {name for result in results.values() for name in result["tools"]}
    lines = [f"- `{tool.name}`: {tool.note}" for tool in TOOLS if tool.note and tool.name in present]
    lines += [f"- `{name}` was left out: {reason}" for name, reason in missing.items()]
    return "\n" + "\n".join(lines)


COST_REASONS = """- The kernel's account of a disk: its folder in sysfs and a dozen small files there, each opened, read and closed; its
  identity, its holders and slaves. Of a partition: number, size, start, and whether it can be written. Where udev runs, its
  record of each is read too; where volumes lie on devices, the holders of each partition.
- CIM's of a disk: sysfs again, and its node opened for the size and for the table; then the rules of `explain` ask the
  same once more, and for the sector size, so that they can say why. Of a partition: its entry in the table. Of a mount:
  two `statfs` and a `statx`, for the figures that are published, and for those that are surely of this mount.
- What `export json` has more passes CIM's account on to the process that writes."""


def _call_costs(costs):
    rows = []
    for what, key in (("without any", "start"), ("for each disk", "disk"), ("for each partition", "partition"),
                      ("for each mount", "mount")):
        by_process = costs["tree"][key]
        cells = [sum(cost[key]) for cost in costs.values()] + [by_process[0], by_process[1], sum(by_process[2:])]
        rows.append([what, *(f"{max(cell, 0):,.0f}" for cell in cells)])
    heads = [f"`diskmgt {name}`" for name in costs]
    return ("System calls of all processes of a command, on described machines whose disks have the files in sysfs that a SATA\n"
            "disk has. They grow linearly.\n\n" +
            _grid(["", *heads, "of `tree`: the kernel's account", "CIM's", "joining and writing"], rows) +
            "\n\n" + COST_REASONS)


def _dead_mount(times):
    if times is None:
        return "Not measured: the kernel has no FUSE."
    rows = [[f"`diskmgt {name}`", _milliseconds(milliseconds)] for name, milliseconds in times.items()]
    return ("Eight disks and a FUSE mount whose server never answers. One second is the wait for the mount's figures; the limit\n"
            "for the whole command is two. All the rest is in the answer.\n\n" + _grid(["Command", "Wall ms"], rows))


def _in_process(results, sizes):
    rows = []
    for size in sizes:
        own = results[size]["in_process"]
        rows.append([str(size), _milliseconds(own["floor"]), _milliseconds(own["request"]),
                     f"{own['request'] / own['floor']:.2f}", f"{own['floor_calls']:,}", f"{own['request_calls']:,}",
                     f"{100 * (own['request_calls'] / own['floor_calls'] - 1):+.1f} %", _milliseconds(own["load"])])
    return ("Medians in processor milliseconds of repeated requests for the three instance classes, beside the system calls "
            "that they imply made by a C program.\n\n" +
            _grid(["Disks", "Floor", "Request", "Ratio", "Floor calls", "Request calls", "More", "Host and plug-in, once"],
                  rows))


def _phases(phases):
    rows = [[f"`{row['command']}`", row["name"], _milliseconds(row["wall"]), _milliseconds(row["cpu"]),
             f"{row['memory'] / 1024:.1f}", f"{row['calls']:,}"] for row in phases["rows"]]
    return _grid(["Command", "Adds", "Wall ms", "Processor ms", "MiB", "System calls"], rows)


def _benchmarks(build):
    told = subprocess.run([f"{build}/bin/diskmgt_bench", f"--benchmark_filter={BENCHMARKS}", "--benchmark_format=json",
                           "--benchmark_min_time=0.2"], capture_output=True, text=True, check=True)
    standard = {"name", "run_name", "run_type", "repetitions", "repetition_index", "threads", "iterations", "real_time",
                "cpu_time", "time_unit", "family_index", "per_family_instance_index", "items_per_second"}
    factors = {"ns": 1e-3, "us": 1, "ms": 1e3}
    rows = []
    for entry in json.loads(told.stdout)["benchmarks"]:
        counters = ", ".join(f"{name.replace('_', ' ')} {value:,.4g}" if value < 1000 else
                             f"{name.replace('_', ' ')} {value:,.0f}" for name, value in entry.items()
                             if name not in standard and isinstance(value, (int, float)))
        rows.append([f"`{entry['name']}`", f"{entry['cpu_time'] * factors[entry['time_unit']]:,.1f}", counters])
    return ("`diskmgt_bench`, processor microseconds; the described machine's own answers are in the times. The counts "
            "are of one run and do not depend on a clock.\n\n" + _grid(["Benchmark", "Time", "Counts"], rows))
