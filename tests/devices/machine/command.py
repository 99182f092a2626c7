"""The command `in_machine`: builds a described machine and runs one command in it, or serves requests of the tests.

Two processes stand between the caller and the command: the keeper, outside, which waits and tidies up, and the init
process of a process name space of its own, which builds. When either dies, however it dies, the kernel ends all that
runs inside, and with the last of them go the mounts and the loop devices."""

import argparse
import json
import os
import signal
import subprocess
import sys

from . import build, kernel, proc
from .description import DescriptionError, read_machine


def main(arguments):
    options = _options(arguments)
    try:
        machine = read_machine(options.folder)
    except DescriptionError as failure:
        return _refuse(failure)
    missing = kernel.missing_privilege()
    if missing:
        return _refuse(missing)
    return _keep(machine, options)


def _options(arguments):
    parser = argparse.ArgumentParser(prog="in_machine", description="Runs a command inside a described machine.")
    parser.add_argument("folder", metavar="MACHINE-FOLDER", help="the folder that holds machine.json")
    parser.add_argument("--serve", action="store_true",
                        help="answer requests on standard input, one JSON object a line")
    parser.add_argument("command", nargs=argparse.REMAINDER, metavar="-- COMMAND...",
                        help="the command and its arguments")
    options = parser.parse_args(arguments)
    if options.command[:1] == ["--"]:
        options.command = options.command[1:]
    if options.serve == bool(options.command):
        parser.error("give a command to run" if not options.serve else "--serve takes no command")
    return options


def _refuse(reason):
    print(f"in_machine: {reason}", file=sys.stderr)
    return 125


def _keep(machine, options):
    """Starts the machine, waits for its end and removes the idle loop devices it leaves. Returns its exit status."""
    if not kernel.die_with_parent(os.getppid(), signal.SIGKILL):
        return 125
    made_here, made_there = os.pipe()
    signal.signal(signal.SIGINT, signal.SIG_IGN)  # the command decides what an interrupt means
    kernel.unshare(kernel.CLONE_NEWPID)
    init = os.fork()
    if not init:
        os.close(made_here)
        _end(lambda: _be_init(machine, options, made_there))
    os.close(made_there)
    signal.signal(signal.SIGTERM, lambda *_: os.kill(init, signal.SIGKILL))
    with os.fdopen(made_here, encoding="ascii") as made:
        numbers = {int(number) for number in made.read().split()}
    status = os.waitstatus_to_exitcode(os.waitpid(init, 0)[1])
    kernel.remove_idle_loops(numbers)
    return status if status >= 0 else 128 - status


def _end(work):
    """Leaves the process with what work returns, never through the code that called fork."""
    status = 125
    try:
        status = work()
    except (OSError, build.BuildError) as failure:
        _refuse(failure)
    finally:
        sys.stdout.flush()
        sys.stderr.flush()
        os._exit(status)  # pylint: disable=protected-access


def _be_init(machine, options, made):
    # A keeper that is dead already is noticed by the write below: it holds the only other end of the pipe.
    kernel.die_with_parent(0, signal.SIGKILL)
    kernel.unshare(kernel.CLONE_NEWNS | kernel.CLONE_NEWUTS)
    loops = build.build(machine)
    os.write(made, " ".join(str(loop.number) for loop in loops).encode("ascii"))
    os.close(made)
    try:
        return _serve(loops) if options.serve else _run(options.command)
    finally:
        build.unmount(machine)


def _run(command):
    environment = dict(os.environ, PATH=os.environ.get("PATH", "") + ":" + build.TOOL_PATH)
    try:
        return _status(subprocess.call(command, env=environment, preexec_fn=_heed_interrupt))
    except OSError as failure:
        return _refuse(f"{command[0]}: {failure.strerror}") + 2  # 127, as a shell says it


def _heed_interrupt():
    signal.signal(signal.SIGINT, signal.SIG_DFL)
    proc.cover_mountinfo()


def _status(code):
    return code if code >= 0 else 128 - code


def _serve(loops):
    """Answers requests until standard input ends: {"run": [...], "input": text} and {"measure": path}."""
    _say({"pid": os.readlink("/proc/self"), "loops": [[loop.number, *loop.backing] for loop in loops],
          "sys_block": os.listdir("/sys/block") if os.path.isdir("/sys/block") else None})
    for line in sys.stdin:
        request = json.loads(line)
        _say(_measure(request["measure"]) if "measure" in request else _answer(request))
    return 0


def _say(answer):
    print(json.dumps(answer), flush=True)


def _answer(request):
    environment = dict(os.environ, PATH=os.environ.get("PATH", "") + ":" + build.TOOL_PATH, **request["environment"])
    try:
        done = subprocess.run(request["run"], input=os.fsencode(request["input"]), capture_output=True, check=False,
                              env=environment, timeout=request["timeout"], preexec_fn=proc.cover_mountinfo)
    except (OSError, subprocess.TimeoutExpired) as failure:
        return {"failed": str(failure)}
    return {"status": _status(done.returncode), "stdout": os.fsdecode(done.stdout), "stderr": os.fsdecode(done.stderr)}


def _measure(path):
    try:
        space = os.statvfs(path)
    except OSError as failure:
        return {"failed": str(failure)}
    return {"total": space.f_bsize * space.f_blocks, "free": space.f_bsize * space.f_bfree,
            "id": [space.f_fsid & 0xFFFFFFFF, space.f_fsid >> 32]}
