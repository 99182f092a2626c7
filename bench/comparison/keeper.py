"""Runs work inside a prepared machine and returns its result. When this process ends for any reason, the kernel ends all
processes inside, and the mounts and loop devices go with the last of them."""

import json
import os
import signal
import sys
import traceback

from .machine import build, kernel, show_in_sysfs


class Failed(Exception):
    """The work raised an exception; the text describes it."""


def inside_machine(disk_count, work):
    """Runs work(machine) in a machine of so many disks; its result must have a JSON form."""
    made, numbers_there = os.pipe()
    result, result_there = os.pipe()
    keeper = os.getpid()
    guard = os.fork()  # its children get another process name space, which ours must not
    if guard:
        os.close(numbers_there)
        os.close(result_there)
        with os.fdopen(made, encoding="ascii") as text:
            numbers = {int(number) for number in text.read().split()}
        with os.fdopen(result, encoding="utf-8") as text:
            answer = text.read()
        os.waitpid(guard, 0)
        kernel.remove_idle_loops(numbers)
        if not answer:
            raise Failed(f"the machine of {disk_count} disks died")
        answer = json.loads(answer)
        if "failed" in answer:
            raise Failed(answer["failed"])
        return answer["result"]
    _leave(lambda: _guard(disk_count, work, keeper, numbers_there, result_there))
    return None


def _leave(work):
    """Ends this process with the result of work, never through the code that called fork."""
    status = 1
    try:
        status = work() or 0
    except BaseException:  # pylint: disable=broad-except
        traceback.print_exc()
    finally:
        sys.stdout.flush()
        sys.stderr.flush()
        os._exit(status)  # pylint: disable=protected-access


def _guard(disk_count, work, keeper, numbers_there, result_there):
    if not kernel.die_with_parent(keeper, signal.SIGKILL):
        return 1
    kernel.unshare(kernel.CLONE_NEWPID)
    init = os.fork()
    if init:
        os.close(numbers_there)
        os.close(result_there)
        return os.waitstatus_to_exitcode(os.waitpid(init, 0)[1])
    _leave(lambda: _be_init(disk_count, work, numbers_there, result_there))
    return 1


def _be_init(disk_count, work, numbers_there, result_there):
    kernel.die_with_parent(0, signal.SIGKILL)
    kernel.unshare(kernel.CLONE_NEWNS | kernel.CLONE_NEWUTS)
    try:
        disks = build(disk_count)
        os.write(numbers_there, " ".join(str(loop.number) for loop in disks.values()).encode("ascii"))
        os.close(numbers_there)
        answer = {"result": work(Machine(disks))}
    except BaseException:  # pylint: disable=broad-except
        answer = {"failed": traceback.format_exc()}
    with os.fdopen(result_there, "w", encoding="utf-8") as text:
        json.dump(answer, text)


class Machine:
    """The prepared machine, as the work inside sees it."""

    def __init__(self, disks):
        self.disks = disks
        self._second = None

    def paths(self):
        return [f"/dev/{name}" for name in self.disks]

    def partition_paths(self):
        return sorted(f"/dev/{name}" for name in os.listdir("/dev")
                      if not name.startswith("loop") and any(name != disk and name.startswith(disk) for disk in self.disks))

    def in_second_view(self, work, *arguments):
        """work(*arguments) where /sys/block lists the devices under their second names."""
        if self._second is None:
            self._second = _View(self.disks)
        return self._second.ask(work, arguments)


class _View:
    """A process in a separate mount name space, which runs functions of modules by name."""

    def __init__(self, disks):
        asked, self._asking = os.pipe()
        self._answered, answering = os.pipe()
        if os.fork():
            os.close(asked)
            os.close(answering)
            self._asking = os.fdopen(self._asking, "w", encoding="utf-8")
            self._answered = os.fdopen(self._answered, encoding="utf-8")
            return
        _leave(lambda: self._serve(disks, asked, answering))

    def ask(self, work, arguments):
        self._asking.write(json.dumps([work.__module__, work.__qualname__, arguments]) + "\n")
        self._asking.flush()
        answer = json.loads(self._answered.readline())
        if "failed" in answer:
            raise Failed(answer["failed"])
        return answer["result"]

    def _serve(self, disks, asked, answering):
        os.close(self._asking.fileno() if hasattr(self._asking, "fileno") else self._asking)
        kernel.unshare(kernel.CLONE_NEWNS)
        kernel.unmount("/sys/block")
        show_in_sysfs(disks)
        with os.fdopen(asked, encoding="utf-8") as requests, os.fdopen(answering, "w", encoding="utf-8") as answers:
            for line in requests:
                module, name, arguments = json.loads(line)
                try:
                    answer = {"result": getattr(sys.modules[module], name)(*arguments)}
                except Exception:  # pylint: disable=broad-except
                    answer = {"failed": traceback.format_exc()}
                answers.write(json.dumps(answer) + "\n")
                answers.flush()
