"""What --output names: new and present files, open descriptors, files that can only be written in place, traps."""
import errno
import mmap
import os
import shlex
import signal
import socket
import stat
import struct
import subprocess

import pytest
from conftest import COMMAND, can_trace, environment

NAMELESS = 65534
MOF = ["classes", "--format", "mof"]
DENIED = (errno.EPERM, errno.EOPNOTSUPP, errno.EACCES)
# What a sanitizer remarks when it can read neither its own name nor where its stack lies; an error also changes the status.
SANITIZER_REMARKS = (b"==", b"False positive error reports may follow", b"For details see https://github.com/google/sanitizers/")


def as_another_user(command):
    """The command of a user without rights, for a test that root runs."""
    return ["setpriv", "--reuid", str(NAMELESS), "--regid", str(NAMELESS), "--clear-groups", *command]


def need_root():
    if os.geteuid() != 0:
        pytest.skip("only root can play two users")


def need_other_user():
    need_root()
    if subprocess.run(as_another_user([COMMAND, "--version"]), check=False, capture_output=True).returncode != 0:
        pytest.skip("the build tree cannot be reached by another user")


@pytest.fixture
def open_to_all(tmp_path):
    """A folder whose parents every user may pass, and which every user may write to."""
    for folder in (tmp_path.parent.parent, tmp_path.parent, tmp_path):
        folder.chmod(0o755)
    tmp_path.chmod(0o777)
    return tmp_path


@pytest.fixture
def whole(run):
    return run(*MOF).stdout


def outcome(command, folder, **more):
    return subprocess.run(command, cwd=folder, env=environment(), capture_output=True, check=False, timeout=60, **more)


def has_address_sanitizer():
    with open(COMMAND, "rb") as program, mmap.mmap(program.fileno(), 0, access=mmap.ACCESS_READ) as text:
        return text.find(b"__asan_init") >= 0


def in_mount_namespace(folder, script):
    """Runs a shell script as root with mounts of its own; skips where that is not allowed."""
    done = outcome(["unshare", "--mount", "--propagation", "private", "sh", "-ec", script], folder)
    if done.returncode == 99 or b"unshare: " in done.stderr:
        pytest.skip("no right to mount here: " + done.stderr.decode())
    return done


class TestOpenDescriptor:
    """A path that leads to what is open is written there, between what others write."""

    @pytest.mark.parametrize("path", ["/dev/stdout", "/dev/fd/1", "/proc/self/fd/1", "/proc/thread-self/fd/1", "link"])
    @pytest.mark.parametrize("how", [">", ">>"])
    def test_log_keeps_the_lines_around(self, tmp_path, whole, path, how):
        (tmp_path / "link").symlink_to("/dev/stdout")
        log = tmp_path / "log"
        log.touch()
        before = log.stat()
        script = f"(echo before; {COMMAND} classes --format mof --output {path}; echo after) {how} log"
        done = subprocess.run(script, shell=True, cwd=tmp_path, env=environment(), check=True, capture_output=True)
        assert done.stderr == b""
        assert log.read_bytes() == b"before\n" + whole + b"after\n"
        assert os.path.samestat(before, log.stat())

    def test_standard_error(self, tmp_path, whole):
        with open(tmp_path / "log", "wb") as log:
            subprocess.run([COMMAND, *MOF, "--output", "/dev/stderr"], stderr=log, env=environment(), check=True)
        assert (tmp_path / "log").read_bytes() == whole

    def test_inherited_descriptor_is_written_from_where_it_is(self, tmp_path, whole):
        with open(tmp_path / "log", "w+b") as log:
            log.write(b"before\n")
            log.flush()
            subprocess.run([COMMAND, *MOF, "--output", f"/dev/fd/{log.fileno()}"], pass_fds=[log.fileno()],
                           env=environment(), check=True)
            log.write(b"after\n")
        assert (tmp_path / "log").read_bytes() == b"before\n" + whole + b"after\n"

    def test_socket(self, whole):
        ours, theirs = socket.socketpair()
        with ours, theirs:
            theirs.setsockopt(socket.SOL_SOCKET, socket.SO_SNDBUF, 4 * len(whole))
            subprocess.run([COMMAND, *MOF, "--output", "/dev/stdout"], stdout=theirs, env=environment(), check=True)
            theirs.close()
            assert ours.makefile("rb").read() == whole

    def test_file_that_another_process_has_open_is_added_to(self, tmp_path, whole):
        with open(tmp_path / "log", "wb") as log:
            log.write(b"before\n")
            log.flush()
            subprocess.run([COMMAND, *MOF, "--output", f"/proc/{os.getpid()}/fd/{log.fileno()}"], env=environment(),
                           check=True)
            assert os.fstat(log.fileno()).st_nlink == 1
        assert (tmp_path / "log").read_bytes() == b"before\n" + whole

    def test_closed_one_is_one_sentence(self, run, tmp_path):
        done = run(*MOF, "--output", "/dev/fd/77")
        assert done.status == 1
        assert "/dev/fd/77" in done.sentence
        assert os.listdir(tmp_path) == []


class TestNames:
    @pytest.mark.parametrize("former", [None, "former"])
    def test_as_long_as_a_name_can_be(self, run, tmp_path, whole, former):
        name = "x" * 255
        if former:
            (tmp_path / name).write_text(former)
        assert run(*MOF, "--output", name).status == 0
        assert os.listdir(tmp_path) == [name]
        assert (tmp_path / name).read_bytes() == whole

    def test_link_to_nothing_makes_the_file_that_it_names(self, run, tmp_path, whole):
        (tmp_path / "link").symlink_to("made")
        assert run(*MOF, "--output", "link").status == 0
        assert (tmp_path / "link").is_symlink()
        assert (tmp_path / "made").read_bytes() == whole

    def test_links_on_the_way_are_followed(self, run, tmp_path, whole):
        (tmp_path / "inner").mkdir()
        (tmp_path / "way").symlink_to(tmp_path / "inner")
        (tmp_path / "inner" / "back").symlink_to("../out")
        assert run(*MOF, "--output", "way/../way/back").status == 0
        assert (tmp_path / "out").read_bytes() == whole

    @pytest.mark.parametrize("target", ["loop", "folder", "folder/", "missing/", "."])
    def test_path_to_no_file_is_one_sentence(self, run, tmp_path, target):
        (tmp_path / "loop").symlink_to("loop")
        (tmp_path / "folder").mkdir()
        done = run(*MOF, "--output", target)
        assert done.status == 1
        assert target in done.sentence
        assert sorted(os.listdir(tmp_path)) == ["folder", "loop"]


class TestInPlace:
    """A file that cannot be replaced is written in place once the text is complete."""

    def test_file_that_is_a_mount_point(self, tmp_path, whole):
        (tmp_path / "source").write_text("a former text that is longer than nothing\n" * 4000)
        (tmp_path / "out").touch()
        before = (tmp_path / "source").stat()
        done = in_mount_namespace(tmp_path, f"mount --bind source out || exit 99; "
                                            f"exec {shlex.join([COMMAND, *MOF])} --output out")
        assert (done.returncode, done.stderr) == (0, b"")
        assert (tmp_path / "source").read_bytes() == whole
        assert os.path.samestat(before, (tmp_path / "source").stat())
        assert sorted(os.listdir(tmp_path)) == ["out", "source"]

    def test_writable_file_on_a_mount_without_write_access(self, tmp_path, whole):
        (tmp_path / "folder").mkdir()
        (tmp_path / "folder" / "out").touch()
        (tmp_path / "source").write_text("former")
        done = in_mount_namespace(
            tmp_path, f"mount --bind folder folder || exit 99; mount --bind source folder/out; "
                      f"mount -o remount,bind,ro folder; exec {shlex.join([COMMAND, *MOF])} --output folder/out")
        assert (done.returncode, done.stderr) == (0, b"")
        assert (tmp_path / "source").read_bytes() == whole

    @pytest.mark.parametrize("injection, status, left, said", [
        ("fallocate:error=ENOSPC", 1, b"former", b"cannot write out: No space left on device; name another"),
        ("pwrite64:error=EIO", 1, b"former", b"Input/output error; it can only be written in place and is incomplete now;"),
        ("fsync:error=EIO:when=2", 1, None, b"incomplete now"),
        ("pwrite64:signal=TERM", -signal.SIGTERM, None, b""), ("fallocate:signal=INT", -signal.SIGINT, None, b"")])
    def test_failure_is_said_and_signals_wait(self, tmp_path, whole, injection, status, left, said):
        if not can_trace():
            pytest.skip("strace is missing or not allowed to trace")
        (tmp_path / "source").write_text("former")
        (tmp_path / "out").touch()
        traced = ["strace", "-f", "-qq", "-o", "/dev/null", "-e", f"inject={injection}", COMMAND, *MOF]
        done = in_mount_namespace(tmp_path, f"mount --bind source out || exit 99; "
                                            f"ASAN_OPTIONS=detect_leaks=0 exec {shlex.join(traced)} --output out")
        assert done.returncode == status
        assert said in done.stderr and done.stderr.count(b"\n") == (1 if said else 0)
        assert (tmp_path / "source").read_bytes() == (whole if left is None else left)
        assert sorted(os.listdir(tmp_path)) == ["out", "source"]

    @pytest.mark.parametrize("former", ["short", "long " * 20000])
    def test_writable_file_in_a_closed_folder(self, open_to_all, whole, former):
        need_other_user()
        target = open_to_all / "out"
        target.write_text(former)
        target.chmod(0o666)
        open_to_all.chmod(0o755)
        before = target.stat()
        done = outcome(as_another_user([COMMAND, *MOF, "--output", "out"]), open_to_all)
        assert (done.returncode, done.stderr) == (0, b"")
        assert target.read_bytes() == whole
        assert os.path.samestat(before, target.stat())
        assert os.listdir(open_to_all) == ["out"]

    def test_is_not_begun_by_a_command_that_fails(self, open_to_all):
        need_other_user()
        target = open_to_all / "out"
        target.write_text("former")
        target.chmod(0o666)
        open_to_all.chmod(0o755)
        done = outcome(["prlimit", "--fsize=1024", *as_another_user([COMMAND, *MOF, "--output", "out"])], open_to_all)
        assert done.returncode == 1 and b"File too large" in done.stderr
        assert target.read_text() == "former"

    def test_new_file_in_a_closed_folder_is_one_sentence(self, open_to_all):
        need_other_user()
        open_to_all.chmod(0o755)
        done = outcome(as_another_user([COMMAND, *MOF, "--output", "out"]), open_to_all)
        assert done.returncode == 1
        assert done.stderr.startswith(b"diskmgt: cannot write out: Permission denied; ")
        assert os.listdir(open_to_all) == []


def access_list(user):
    """That user may read; the owner reads and writes, the group and others nothing."""
    entries = [(1, 6, -1), (2, 4, user), (4, 0, -1), (16, 4, -1), (32, 0, -1)]
    return struct.pack("<I", 2) + b"".join(struct.pack("<HHi", *entry) for entry in entries)


def set_attribute(path, name, value):
    try:
        os.setxattr(path, name, value)
    except OSError as error:
        if error.errno in DENIED:
            pytest.skip(f"{name} cannot be set here: {error}")
        raise


class TestAttributes:
    """A file that is replaced stays what it was in all but its text."""

    def test_owner_group_and_mode(self, run, tmp_path):
        need_root()
        target = tmp_path / "out"
        target.write_text("former")
        os.chown(target, 1234, 2345)
        target.chmod(0o1640)
        assert run(*MOF, "--output", "out").status == 0
        now = target.stat()
        assert (now.st_uid, now.st_gid, stat.S_IMODE(now.st_mode)) == (1234, 2345, 0o1640)

    @pytest.mark.parametrize("former", [0o4755, 0o2755, 0o6711, 0o2640, 0o7777])
    def test_setuid_and_setgid_bits_of_a_former_program_do_not_pass_to_a_text(self, run, tmp_path, former):
        target = tmp_path / "out"
        target.write_text("former")
        target.chmod(former)
        assert stat.S_IMODE(target.stat().st_mode) == former
        assert run(*MOF, "--output", "out").status == 0
        assert stat.S_IMODE(target.stat().st_mode) == former & ~0o6000

    @pytest.mark.parametrize("name, value", [("user.origin", b"inventory"), ("user.empty", b""),
                                             ("trusted.origin", b"\0\1"), ("security.label", b"label\0"),
                                             ("system.posix_acl_access", access_list(1234))])
    def test_extended_attribute(self, run, tmp_path, name, value):
        target = tmp_path / "out"
        target.write_text("former")
        target.chmod(0o600)
        set_attribute(target, name, value)
        mode = target.stat().st_mode
        assert run(*MOF, "--output", "out").status == 0
        assert os.getxattr(target, name) == value
        assert target.stat().st_mode == mode

    def test_capability_of_a_former_program_does_not_pass_to_a_text(self, run, tmp_path):
        target = tmp_path / "out"
        target.write_text("former")
        set_attribute(target, "security.capability", struct.pack("<5I", 0x02000001, 1 << 10, 0, 0, 0))
        assert run(*MOF, "--output", "out").status == 0
        assert os.listxattr(target) == []

    def test_list_of_the_folder_is_for_new_files_alone(self, run, tmp_path):
        (tmp_path / "replaced").write_text("former")
        (tmp_path / "replaced").chmod(0o640)
        set_attribute(tmp_path, "system.posix_acl_default", access_list(1234))
        for name in ("replaced", "new"):
            assert run(*MOF, "--output", name).status == 0
        assert os.listxattr(tmp_path / "replaced") == []
        assert stat.S_IMODE((tmp_path / "replaced").stat().st_mode) == 0o640
        assert os.getxattr(tmp_path / "new", "system.posix_acl_access") == access_list(1234)

    def test_rights_of_a_group_that_cannot_be_kept_pass_to_no_other(self, open_to_all, whole):
        need_other_user()
        target = open_to_all / "out"
        target.write_text("former")
        os.chown(target, NAMELESS, 2345)
        target.chmod(0o664)
        done = outcome(as_another_user([COMMAND, *MOF, "--output", "out"]), open_to_all)
        assert (done.returncode, done.stderr) == (0, b"")
        now = target.stat()
        assert (now.st_uid, now.st_gid, stat.S_IMODE(now.st_mode)) == (NAMELESS, NAMELESS, 0o644)
        assert target.read_bytes() == whole


class TestSharedFolder:
    """In a sticky folder where all may write, what another user has put there is left alone."""

    @pytest.fixture
    def shared(self, tmp_path):
        need_root()
        folder = tmp_path / "shared"
        folder.mkdir()
        folder.chmod(0o1777)
        (tmp_path / "precious").write_text("kept")
        return folder

    def refused(self, run, target):
        done = run(*MOF, "--output", target)
        assert done.status == 1
        assert "another user" in done.sentence

    def test_file_of_another_user_is_refused(self, run, shared):
        (shared / "out").write_text("theirs")
        os.chown(shared / "out", NAMELESS, NAMELESS)
        self.refused(run, "shared/out")
        assert (shared / "out").read_text() == "theirs"
        assert os.listdir(shared) == ["out"]

    def test_pipe_of_another_user_is_refused(self, run, shared):
        os.mkfifo(shared / "out")
        os.chown(shared / "out", NAMELESS, NAMELESS)
        self.refused(run, "shared/out")

    @pytest.mark.parametrize("leads_to, target", [("../precious", "shared/link"), ("..", "shared/link/precious"),
                                                  ("../new", "shared/link")])
    def test_link_of_another_user_is_refused(self, run, tmp_path, shared, leads_to, target):
        (shared / "link").symlink_to(leads_to)
        os.chown(shared / "link", NAMELESS, NAMELESS, follow_symlinks=False)
        self.refused(run, target)
        assert (tmp_path / "precious").read_text() == "kept"
        assert not (tmp_path / "new").exists()

    def test_own_files_and_links_and_new_names_are_not(self, run, tmp_path, shared, whole):
        (shared / "own").write_text("former")
        (shared / "link").symlink_to("../precious")
        for name in ("own", "link", "new"):
            assert run(*MOF, "--output", f"shared/{name}").status == 0
            assert (shared / name).read_bytes() == whole
        assert (shared / "link").is_symlink()

    def test_file_of_the_folders_owner_is_not(self, run, shared, whole):
        os.chown(shared, NAMELESS, NAMELESS)
        (shared / "out").write_text("former")
        os.chown(shared / "out", NAMELESS, NAMELESS)
        assert run(*MOF, "--output", "shared/out").status == 0
        assert (shared / "out").read_bytes() == whole


@pytest.mark.parametrize("kind", ["tmpfs", "ramfs", "overlay"])
@pytest.mark.parametrize("former", ["", "echo former > there/out;"])
def test_real_file_systems(tmp_path, whole, kind, former):
    (tmp_path / "there").mkdir()
    options = ""
    prepare = ""
    if kind == "overlay":
        prepare = "mkdir layers; mount -t tmpfs none layers; mkdir layers/upper layers/work layers/lower;"
        options = "-o lowerdir=layers/lower,upperdir=layers/upper,workdir=layers/work"
    done = in_mount_namespace(tmp_path, f"{prepare} mount -t {kind} {options} none there || exit 99; {former}"
                                        f"{shlex.join([COMMAND, *MOF])} --output there/out; ls -A there >&2; cat there/out")
    assert (done.returncode, done.stderr) == (0, b"out\n")
    assert done.stdout == whole


@pytest.mark.parametrize("user", ["root", "another"])
def test_without_proc(open_to_all, whole, user):
    need_other_user()
    command = [COMMAND, *MOF, "--output", "out"]
    command = command if user == "root" else as_another_user(command)
    libraries = os.path.join(os.path.dirname(COMMAND), "..", "lib", "diskmgt")  # the loader finds them by a link in /proc
    # AddressSanitizer reads its options from /proc alone; without this it fails because it cannot search for leaks.
    options = r"mkdir /proc/self; printf 'ASAN_OPTIONS=detect_leaks=0\0' >/proc/self/environ;"
    done = in_mount_namespace(open_to_all, f"mount -t tmpfs none /proc || exit 99; {options if has_address_sanitizer() else ''}"
                                           f"LD_LIBRARY_PATH={shlex.quote(libraries)} exec {shlex.join(command)}")
    said = [line for line in done.stderr.splitlines() if not line.startswith(SANITIZER_REMARKS)]
    assert (done.returncode, said) == (0, [])
    assert (open_to_all / "out").read_bytes() == whole
    assert os.listdir(open_to_all) == ["out"]
