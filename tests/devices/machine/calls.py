"""What strace wrote down about one command: its calls, and which of them reach further than reading."""

import re
from dataclasses import dataclass

STRACE = ["strace", "-f", "-y", "-qq", "-s", "200", "-o", "/media/calls"]

CALL = re.compile(r"^\d+ +(\w+)\((.*)$")
OPENED = re.compile(r'^(?:[^,"]*, )?"((?:[^"\\]|\\.)*)", (\w+(?:\|\w+)*)')
DESCRIPTOR = re.compile(r"^(\d+)(?:<(.*?)>)?[,)]")

OPENING = {"open", "openat", "openat2", "creat", "opendir", "open_by_handle_at"}
WRITING = {"write", "writev", "pwrite64", "pwritev", "pwritev2", "sendfile", "splice", "tee", "vmsplice",
           "copy_file_range", "truncate", "ftruncate", "fallocate", "io_submit", "io_uring_setup", "process_vm_writev"}
CHANGING = {"unlink", "unlinkat", "rename", "renameat", "renameat2", "link", "linkat", "symlink", "symlinkat", "mkdir",
            "mkdirat", "rmdir", "mknod", "mknodat", "chmod", "fchmod", "fchmodat", "chown", "fchown", "lchown",
            "fchownat", "utime", "utimes", "utimensat", "futimesat", "setxattr", "lsetxattr", "fsetxattr",
            "removexattr", "mount", "umount2", "pivot_root", "chroot", "sync", "syncfs", "quotactl", "flock",
            "sethostname", "settimeofday", "init_module", "finit_module", "swapon", "swapoff", "setns", "unshare"}
STARTING = {"fork", "vfork", "execve", "execveat"}
CLONING = {"clone", "clone3"}  # a thread is no process
CONNECTING = {"socket", "socketpair", "connect", "bind", "listen", "accept", "accept4", "sendto", "sendmsg", "sendmmsg"}
SIGNALLING = {"kill", "tkill", "tgkill", "ptrace", "pidfd_send_signal"}


@dataclass(frozen=True)
class Call:
    """One call as strace prints it, up to its end or to where another thread's came in between."""
    name: str
    text: str  # its arguments and the answer

    @property
    def path(self):
        """The path of a call that opens, as it was given."""
        match = OPENED.match(self.text)
        return match.group(1) if match else None

    @property
    def flags(self):
        match = OPENED.match(self.text)
        return set(match.group(2).split("|")) if match else set()

    @property
    def descriptor(self):
        """(number, path) of the descriptor that comes first."""
        match = DESCRIPTOR.match(self.text)
        return (int(match.group(1)), match.group(2) or "") if match else (None, "")


def read_calls(text):
    """The calls of a trace in order; those of the tracer's own start, up to the command itself, included."""
    matches = (CALL.match(line) for line in text.splitlines())
    return [Call(*match.groups()) for match in matches if match]


def trace(session, command):
    """The command's result inside the machine, and its calls."""
    result = session.run([*STRACE, *command], check=False)
    return result, read_calls(session.run(["cat", "/media/calls"]).stdout)


def opened_to_write(calls):
    """Calls that open for anything but reading, but for the mount table's "r+"."""
    harmless = {"O_RDONLY", "O_CLOEXEC", "O_NONBLOCK", "O_DIRECTORY", "O_LARGEFILE", "O_NOCTTY", "O_PATH"}
    return [call for call in calls if call.name in OPENING and not call.flags <= harmless
            and not (call.path == "/etc/mtab" and call.flags <= {"O_RDWR", "O_CLOEXEC"})]


def written(calls):
    """Calls that write to anything but standard output and standard error. A pipe of its own reaches nobody where no
    process is started and no socket opened: sanitizers try addresses with one."""
    return [call for call in calls if call.name in WRITING
            and not (call.name in {"write", "writev"} and
                     (call.descriptor[0] in {1, 2} or call.descriptor[1].startswith("pipe:[")))]


def changed(calls):
    """Calls that create, remove, rename or alter something."""
    return [call for call in calls if call.name in CHANGING]


def started(calls):
    """Calls that begin another process or program. The first program is the traced command itself, and the first process
    the one that does its work: it begins before the plug-in is loaded."""
    programs = [call for call in calls if call.name in STARTING][1:]
    processes = [number for number, call in enumerate(calls) if call.name in CLONING and "CLONE_THREAD" not in call.text]
    loading = min((number for number, call in enumerate(calls) if (call.path or "").endswith("diskmgt.pi.so")), default=0)
    own = 1 if processes and processes[0] < loading else 0
    return programs + [calls[number] for number in processes[own:]]


def connected(calls):
    """Calls that have to do with sockets, and signals to others."""
    return [call for call in calls if call.name in CONNECTING | SIGNALLING]


def asked_of_devices(calls):
    """Names of the calls made on the descriptors of nodes below /dev, opening left out."""
    return {call.name for call in calls
            if call.descriptor[1].startswith("/dev/") and call.descriptor[0] > 2 and call.name not in OPENING}
