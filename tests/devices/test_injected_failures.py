"""The shipped command while the kernel refuses: every call on a disk, in sysfs or on the mount table fails once, and
from then on, with strace in between. The command lives, its answer stays an answer, and nothing is published that the
machine does not have."""

import json
import re
import shutil

import pytest

pytestmark = pytest.mark.skipif(not shutil.which("strace"), reason="strace is missing")

CLASSES = ["VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk"]
PATHS = ["/sys/block", "/sys/block/", "/etc/mtab", "/dev/sda", "/dev/sdb", "/dev/nvme0n1",
         *(f"/sys/block/{disk}{file}" for disk in ("sda", "sdb", "nvme0n1", "sr0") for file in ("", "/size", "/dev"))]
ERRORS = {"openat": ["EMFILE", "EACCES", "ENOMEM"], "read": ["EIO", "EINTR"], "lseek": ["EINVAL"], "ioctl": ["EIO"],
          "fcntl": ["EBADF"], "getdents64": ["EIO"], "statfs": ["EIO", "ENOSYS"], "close": ["EIO"]}


class Refusals:
    """The command on one machine under strace, which makes calls fail."""

    def __init__(self, session, diskmgt):
        self.session = session
        self.command = [diskmgt, "get", *CLASSES, "--exact", "--format", "json"]
        self.clean = session.run(self.command).stdout

    def calls(self, name):
        """How often a clean request makes that call on one of the paths."""
        self._strace(name)
        return len(re.findall(rf"^\d+ +{name}\(", self._trace(), re.MULTILINE))

    def refused(self, name, error, when):
        """The result of a request whose call of that name and number fails."""
        result = self._strace(name, "-e", f"inject={name}:error={error}:when={when}")
        assert "(INJECTED)" in self._trace()
        return result

    def _trace(self):
        return self.session.run(["cat", "/media/calls"]).stdout

    def _strace(self, name, *injection):
        # The mount points differ from machine to machine, and nobody else in the process asks for figures.
        paths = [] if name == "statfs" else [word for path in PATHS for word in ("-P", path)]
        return self.session.run(["strace", "-f", "-qq", "-o", "/media/calls", "-e", f"trace={name}", *paths, *injection,
                                 *self.command], check=False)


@pytest.fixture(scope="module")
def refusals(machine, diskmgt):
    return Refusals(machine("whole-server"), diskmgt)


def found(text):
    """Texts of the instances by class."""
    return {answer["name"]: {instance["path"] for instance in answer["instances"]}
            for answer in json.loads(text)["classes"]}


@pytest.mark.parametrize("on", ["", "+"], ids=["once", "from_then_on"])
@pytest.mark.parametrize("name, error", [(name, error) for name, errors in ERRORS.items() for error in errors])
def test_any_call_may_fail(refusals, name, error, on):
    clean = found(refusals.clean)
    calls = refusals.calls(name)
    assert calls
    changed = 0
    for number in range(1, calls + 1):
        result = refusals.refused(name, error, f"{number}{on}")
        told = f"{name} number {number}{on} of {calls}: {error}"
        assert result.status in (0, 1), f"{told}: exit status {result.status}\n{result.stderr}"
        outcome = found(result.stdout)
        assert outcome["VEXSG_DiskDrive"] <= clean["VEXSG_DiskDrive"], told
        assert outcome["VEXSG_LogicalDisk"] <= clean["VEXSG_LogicalDisk"], told
        changed += result.stdout != refusals.clean
    assert (changed == 0) == (name in {"fcntl", "close"})  # what these answer changes nothing
    assert refusals.session.run(refusals.command).stdout == refusals.clean
