#!/usr/bin/env python3
"""Breaks the plug-in's sources one small change at a time and checks whether a test notices. The working tree is only
read: changed copies, their objects and programs lie in the build directory."""

import argparse
import fnmatch
import json
import os
import random
import re
import shlex
import subprocess
import sys
import time
from collections import Counter
from pathlib import Path

import mutations
import source_tree

FOLDERS = ("plugin", "collect", "provider")
FILES = ("base/text.cpp",)
EQUIVALENT = Path(__file__).resolve().parent / "equivalent_mutants.txt"

# Without tests that need the machine to themselves: other processes must kill no mutant. ctest knows these by label.
ALONE = "alone"
BUT_ALONE = "--gtest_filter=-ALONE"  # means them in the list below
SLOW = ("ExtendedChain.A*Absurd*:ExtendedChain.AMillion*:ExtendedChain.TheBounds*:*.ReadsARichDisk*:"
        "*.AGptWithAllTheEntries*")
# The request tests that other processes cannot disturb.
SEEDED = "Request.ArraysAreSetWithTheFlag256:Request.EveryOptionsMap*"
# The fault sweeps take minutes; these notice changes that the tests before them miss.
FAULTS = "KernelFault.Once*:Once/CrossingFault.*/null:HostileDisk.*:HostileText*:HostilePairing*:RegistrationFault*"
GTEST = ["--gtest_fail_fast", "--gtest_brief=1"]
# (program, arguments), those that kill most and fastest first.
TESTS = [
    ("unit_tests", [*GTEST, f"--gtest_filter=-{SLOW}"]),
    ("contract_tests", [*GTEST, BUT_ALONE]),
    ("contract_tests", [*GTEST, f"--gtest_filter={SEEDED}"]),
    ("replay_partition_parser", ["tests/fuzz_replay/corpus/partition_parser", "3000"]),
    ("unit_tests", [*GTEST, f"--gtest_filter={SLOW}"]),
    ("fault_tests", [*GTEST, f"--gtest_filter={FAULTS}"]),
    ("soak_test", GTEST),
]
ENVIRONMENT = {"RC_PARAMS": "seed=1 max_success=100", "CCACHE_DISABLE": "1"}
MEMORY_LIMIT_KIB = 4 << 20
SLOWER_THAN_CLEAN = 5  # times: then it hangs
LEAST_LIMIT = 15       # seconds

FLAGS = "-O0 -g0 -w"  # -w: a warning must not save a test the work
OPTIONS = ["-G", "Ninja", "-DCMAKE_BUILD_TYPE=None", f"-DCMAKE_CXX_FLAGS={FLAGS}",
           "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON",
           "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=gold"]  # faster; but it cannot write the plug-in's control-flow note


def run_limited(command, directory, limit):
    """Whether the command succeeds: in time, and without taking the machine's memory."""
    process = subprocess.Popen(command, cwd=directory, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                               stdin=subprocess.DEVNULL, env={**os.environ, **ENVIRONMENT}, start_new_session=True)
    end = time.monotonic() + limit
    while True:
        try:
            return process.wait(timeout=0.05) == 0
        except subprocess.TimeoutExpired:
            if time.monotonic() > end or _resident_kib(process.pid) > MEMORY_LIMIT_KIB:
                os.killpg(process.pid, 9)
                process.wait()
                return False


def _resident_kib(pid):
    try:
        found = re.search(r"VmRSS:\s+(\d+)", Path(f"/proc/{pid}/status").read_text(encoding="ascii"))
    except OSError:
        return 0
    return int(found.group(1)) if found else 0


def alone_filter(listed, program):
    """The filter that leaves out which cases of a program need the machine to themselves. `listed`: what
    `ctest --show-only=json-v1` says of all such tests."""
    filters = [argument.partition("=")[2] for test in listed["tests"] for argument in test.get("command", [])[1:]
               if Path(test["command"][0]).name == program and argument.startswith("--gtest_filter=")]
    if not filters:
        sys.exit(f'mutate: no test of {program} bears the label "{ALONE}"')
    return "--gtest_filter=-" + ":".join(filters)


class Workshop:
    """The build of the unchanged sources, and what it takes to exchange one object of it."""

    def __init__(self, root, directory, jobs):
        self.root, self.directory = root, directory
        self.changed = directory / "mutant"
        self.plugin = directory / "lib/diskmgt/plugins/libdiskmgt.pi.so"
        self.plugin.unlink(missing_ok=True)  # a run that was cut off leaves a changed one behind
        self._call(["cmake", "-S", str(root), "-B", str(directory), *OPTIONS])
        targets = sorted({program for program, _ in TESTS})
        self._call(["ninja", "-C", str(directory), "-j", str(jobs), *targets, "fuzz_corpus", "diskmgt_plugin"])
        self.changed.mkdir(exist_ok=True)
        self.compiles = {}
        for entry in json.loads((directory / "compile_commands.json").read_text(encoding="utf-8")):
            path = os.path.relpath(entry["file"], root)
            if path not in self.compiles:  # a source of several targets: the plug-in's come first
                self.compiles[path] = [word for word in shlex.split(entry["command"]) if not word.endswith("ccache")]
        self.links = {name: self._link_command(name) for name in [*targets, "diskmgt_plugin"]}
        self.pristine = self.plugin.read_bytes()
        self.limits = []
        self.tests = self._tests()

    def _call(self, command):
        subprocess.run(command, check=True, stdout=sys.stderr)

    def _tests(self):
        listed = json.loads(subprocess.run(["ctest", "--test-dir", str(self.directory), "--show-only=json-v1", "-L",
                                            f"^{ALONE}$"], check=True, capture_output=True, text=True).stdout)
        return [(program, [alone_filter(listed, program) if argument == BUT_ALONE else argument
                           for argument in arguments]) for program, arguments in TESTS]

    def _link_command(self, target):
        listed = subprocess.run(["ninja", "-C", str(self.directory), "-t", "commands", target], check=True,
                                capture_output=True, text=True).stdout.splitlines()[-1]
        command = next(part for part in listed.split(" && ") if " -o " in part)
        return shlex.split(command.replace("\\$", "$"))  # escaped for a shell, which does not come in between here

    def measure_clean(self):
        """How long the tests of the unchanged sources take; they must pass."""
        for program, arguments in self.tests:
            began = time.monotonic()
            if not run_limited([f"bin/{program}", *arguments], self.directory, 600):
                sys.exit(f"mutate: {program} fails on unchanged sources")
            self.limits.append(max(LEAST_LIMIT, SLOWER_THAN_CLEAN * (time.monotonic() - began)))

    def check_survival(self, paths):
        """An unchanged source must survive: only the change may kill a mutant, not the way it is built in."""
        for path in paths:
            content = (self.root / path).read_text(encoding="utf-8")
            nothing = mutations.Mutant(path, 0, 0, "", "nothing", 1, "", "")
            verdict = self.judge(nothing, content)
            if verdict != "survived":
                sys.exit(f"mutate: {path} unchanged counts as a mutant: {verdict}")

    def judge(self, mutant, content):
        """"does not compile", "survived", or the program that noticed."""
        self.plugin.write_bytes(self.pristine)
        source = self.changed / Path(mutant.path).name
        source.write_text(mutant.applied_to(content), encoding="utf-8")
        compile_command = self.compiles[mutant.path]
        original = compile_command[compile_command.index("-o") + 1]
        changed_object = f"mutant/{source.name}.o"
        command = [changed_object if word == original else word for word in compile_command[:-1]]
        if not run_limited([*command, "-D_GLIBCXX_ASSERTIONS", str(source)], self.directory, 120):
            return "does not compile"
        linked = set()
        for (program, arguments), limit in zip(self.tests, self.limits):
            needed, binary = program, f"bin/mutant_{program}"
            if program == "contract_tests":  # loads the plug-in from its place
                needed, binary = "diskmgt_plugin", f"bin/{program}"
            link = self.links[needed]
            if original not in link:
                continue
            if needed not in linked:
                link = [changed_object if word == original else word for word in link]
                link[link.index("-o") + 1] = str(self.plugin) if needed == "diskmgt_plugin" else binary
                if not run_limited(link, self.directory, 120):
                    return "does not compile"
                linked.add(needed)
            if not run_limited([binary, *arguments], self.directory, limit):
                return program
        return "survived"

    def close(self):
        self.plugin.write_bytes(self.pristine)


def sources(root):
    """The files whose mutants count."""
    inside = [str(path) for path in source_tree.files(root) if path.suffix == ".cpp" and path.parts[0] in FOLDERS]
    return [*FILES, *inside]


def choose(mutants, count, seed):
    """All, or as many as wanted, the same ones for the same seed and sources."""
    if count is None or count >= len(mutants):
        return mutants
    chosen = set(random.Random(seed).sample(range(len(mutants)), count))
    return [mutant for place, mutant in enumerate(mutants) if place in chosen]


class Equivalents:
    """Rules for the keys of changes known to change nothing. A line that begins with "#" holds a reason."""

    def __init__(self, text):
        rules = (line.strip() for line in text.splitlines() if line.strip() and not line.startswith("#"))
        self.patterns = {rule: re.compile(".*".join(map(re.escape, rule.split("*"))), re.DOTALL) for rule in rules}

    def __contains__(self, key):
        return any(pattern.fullmatch(key) for pattern in self.patterns.values())

    def idle(self, keys):
        """The rules that fit none of the keys."""
        return [rule for rule, pattern in self.patterns.items() if not any(map(pattern.fullmatch, keys))]


def every_key(root):
    return [mutant.key for path in sources(root)
            for mutant in mutations.find(path, (root / path).read_text(encoding="utf-8"))]


def summary(outcomes):
    """The table of all files and the closing line, and whether every survivor is accounted for."""
    lines = [f"{'file':<42} {'mutants':>7} {'killed':>7} {'survived':>8} {'equivalent':>10} {'no build':>8}"]
    totals = Counter()
    for path in sorted(outcomes):
        found = outcomes[path]
        totals.update(found)
        lines.append(f"{path:<42} {sum(found.values()):>7} {found['killed']:>7} {found['survived']:>8} "
                     f"{found['equivalent']:>10} {found['no build']:>8}")
    judged = totals["killed"] + totals["survived"] + totals["equivalent"]
    share = 100 * totals["killed"] / judged if judged else 0
    lines.append(f"{totals['killed']} of {judged} mutants that compile killed ({share:.1f} %), {totals['survived']} "
                 f"survived, {totals['equivalent']} known as equivalent, {totals['no build']} do not compile")
    return lines, totals["survived"] == 0


def parse(arguments):
    parser = argparse.ArgumentParser(prog="tools/dev mutate", description=__doc__)
    parser.add_argument("count", nargs="?", default="100", help="how many, drawn at random, or all (default 100)")
    parser.add_argument("--seed", type=int, default=1, help="of the draw (default 1)")
    parser.add_argument("--files", default="*", metavar="PATTERN", help="only sources like this: 'collect/*'")
    parser.add_argument("--kinds", default="", metavar="KIND,...", help="only changes of these kinds")
    parser.add_argument("--like", default="", metavar="TEXT", help="only changes of lines that contain this")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="for the first build")
    parser.add_argument("--list", action="store_true", help="print the mutants and build nothing")
    options = parser.parse_args(arguments)
    if options.count != "all" and not options.count.isdigit():
        parser.error("the count is a number or the word all")
    options.count = None if options.count == "all" else int(options.count)
    return options


def main(arguments, root=Path(__file__).resolve().parent.parent):
    options = parse(arguments)
    contents = {path: (root / path).read_text(encoding="utf-8") for path in sources(root)
                if fnmatch.fnmatch(path, options.files)}
    every = [mutant for path, content in contents.items() for mutant in mutations.find(path, content)
             if options.like in mutant.context and (not options.kinds or mutant.kind in options.kinds.split(","))]
    chosen = choose(every, options.count, options.seed)
    if options.list:
        print("\n".join(map(str, chosen)))
        return 0
    known = Equivalents(EQUIVALENT.read_text(encoding="utf-8"))
    for rule in known.idle(every_key(root)):
        print(f"mutate: {EQUIVALENT.name} has a rule that fits no change any more: {rule}", file=sys.stderr)
    workshop = Workshop(root, root / "build/mutate", options.jobs)
    workshop.measure_clean()
    workshop.check_survival([next(iter(contents))])
    print(f"{len(chosen)} of {len(every)} mutants, seed {options.seed}", flush=True)
    outcomes, survivors = {}, []
    try:
        for number, mutant in enumerate(chosen, 1):
            verdict = workshop.judge(mutant, contents[mutant.path])
            kind = {"does not compile": "no build", "survived": "survived"}.get(verdict, "killed")
            if kind == "survived" and mutant.key in known:
                kind = verdict = "equivalent"
            elif kind == "survived":
                survivors.append(mutant.key)
            outcomes.setdefault(mutant.path, Counter())[kind] += 1
            print(f"{number}/{len(chosen)} {verdict}: {mutant}", flush=True)
    finally:
        workshop.close()
    lines, is_clean = summary(outcomes)
    print("\n".join([*survivors, *lines]))
    return 0 if is_clean else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
