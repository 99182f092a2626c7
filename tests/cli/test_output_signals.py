"""Whatever signal ends the command, and whenever: the target is whole or as it was, and nothing lies beside it."""
import itertools
import os
import resource
import signal
import subprocess
import time

import pytest
from conftest import COMMAND, can_trace, environment
from file_systems import NUMBER_OF_OPENAT, forbid_unnamed_files, has_unnamed_files

CLASS = "VEXSG_DiskDrive"
ENDING = [signal.SIGHUP, signal.SIGINT, signal.SIGQUIT, signal.SIGABRT, signal.SIGUSR1, signal.SIGUSR2, signal.SIGALRM,
          signal.SIGTERM, signal.SIGXCPU, signal.SIGVTALRM, signal.SIGPROF, signal.SIGIO, signal.SIGRTMIN]
MOF = ["classes", "--format", "mof", "--output", "out"]


def open_files():
    """What any process has open, as the kernel names it."""
    for process in filter(str.isdigit, os.listdir("/proc")):
        try:
            for descriptor in os.scandir(f"/proc/{process}/fd"):
                yield os.readlink(descriptor.path)
        except OSError:  # gone meanwhile, or another user's
            continue


@pytest.fixture
def stuck(plugin, tmp_path):
    """Starts the command, which never ends by itself, and waits until its output file is open."""
    if not has_unnamed_files(tmp_path):
        pytest.skip("the file system of the test's folder has no unnamed files, so nothing shows when to begin")
    started = []

    def start():
        running = subprocess.Popen([COMMAND, "get", CLASS, "--plugin", plugin("sleeping"), "--timeout", "60", "--output",
                                    "out"], cwd=tmp_path, env=environment(), stderr=subprocess.DEVNULL,
                                   preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CORE, (0, 0)))
        started.append(running)
        while not any(name.startswith(f"{tmp_path}/") for name in open_files()):
            assert running.poll() is None
        return running

    yield start
    for running in started:
        running.kill()
        running.wait()


@pytest.mark.parametrize("number", ENDING, ids=lambda number: number.name)
def test_signal_ends_the_command_and_leaves_nothing_behind(stuck, tmp_path, number):
    running = stuck()
    running.send_signal(number)
    running.wait(timeout=60)
    assert running.returncode == -number
    assert os.listdir(tmp_path) == []


def test_further_signals_overtake_no_cleaning_up(stuck, tmp_path):
    for _ in range(10):
        running = stuck()
        while running.poll() is None:  # two at once would be taken as one
            running.terminate()
        assert (running.returncode, os.listdir(tmp_path)) == (-signal.SIGTERM, [])


def test_two_signals_at_many_instants(tmp_path):
    target = tmp_path / "out"
    subprocess.run([COMMAND, *MOF], cwd=tmp_path, env=environment(), check=True)
    whole = target.read_bytes()
    start = time.monotonic()
    subprocess.run([COMMAND, *MOF], cwd=tmp_path, env=environment(), check=True)
    lasts = time.monotonic() - start
    for step, number in itertools.product(range(20), (signal.SIGTERM, signal.SIGQUIT)):
        for former in (None, b"former"):
            target.unlink(missing_ok=True)
            if former:
                target.write_bytes(former)
            running = subprocess.Popen([COMMAND, *MOF], cwd=tmp_path, env=environment(), stderr=subprocess.DEVNULL,
                                       preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CORE, (0, 0)))
            time.sleep(lasts * step / 20)
            for _ in range(2):
                running.send_signal(number)
            running.wait(timeout=60)
            assert set(os.listdir(tmp_path)) <= {"out"}
            assert (target.read_bytes() if target.exists() else None) in (former, whole)


@pytest.fixture(params=["unnamed", "named"])
def injected(request, tmp_path):
    """injected(TEXT) runs the command under strace, which does that; with and without unnamed files."""
    if not can_trace():
        pytest.skip("strace is missing or not allowed to trace")
    if request.param == "unnamed" and not has_unnamed_files(tmp_path):
        pytest.skip("the file system of the test's folder has no unnamed files")
    if request.param == "named" and NUMBER_OF_OPENAT is None:
        pytest.skip("no filter for the system calls of this processor")

    def inject(text, *words):
        return subprocess.run(["strace", "-f", "-qq", "-o", "/dev/null", "-e", f"inject={text}", COMMAND, *MOF, *words],
                              cwd=tmp_path, env=environment(ASAN_OPTIONS="detect_leaks=0"), check=False, timeout=60,
                              stderr=subprocess.DEVNULL,
                              preexec_fn=forbid_unnamed_files if request.param == "named" else None)

    inject.kind = request.param
    return inject


@pytest.mark.parametrize("former", [None, b"former"], ids=["new", "replaced"])
@pytest.mark.parametrize("call", ["openat", "linkat", "renameat", "fsync", "fchmod", "pwrite64", "unlinkat"])
def test_signal_at_each_file_call_leaves_the_target_whole_or_as_it_was(injected, tmp_path, call, former):
    target = tmp_path / "out"
    whole = subprocess.run([COMMAND, *MOF[:-2]], capture_output=True, env=environment(), check=True).stdout
    for when in itertools.count(1):
        target.unlink(missing_ok=True)
        if former:
            target.write_bytes(former)
        done = injected(f"{call}:signal=TERM:when={when}")
        assert set(os.listdir(tmp_path)) <= {"out"}
        assert (target.read_bytes() if target.exists() else None) in (former, whole)
        if done.returncode == 0:
            break
        assert done.returncode == -signal.SIGTERM
    assert target.read_bytes() == whole


def test_limit_that_passes_while_the_file_is_put_in_place_waits_for_it(injected, tmp_path):
    (tmp_path / "out").write_text("former")
    assert injected("fsync:delay_enter=1500000", "--timeout", "0.5").returncode == 4
    assert os.listdir(tmp_path) == ["out"]


@pytest.mark.parametrize("former", [None, "former"])
@pytest.mark.parametrize("injection", ["linkat:error=ENOENT", "linkat:error=EPERM", "linkat:error=EEXIST:when=1..5"])
def test_text_arrives_where_unnamed_files_cannot_be_had_or_named(run, injected, tmp_path, injection, former):
    target = tmp_path / "out"
    if former:
        target.write_text(former)
        target.chmod(0o604)
    assert injected(injection).returncode == 0
    assert os.listdir(tmp_path) == ["out"]
    assert target.read_bytes() == run("classes", "--format", "mof").stdout
    assert not former or target.stat().st_mode & 0o777 == 0o604


def test_new_file_without_unnamed_ones_follows_the_mask(injected, tmp_path):
    former = os.umask(0o027)
    try:
        assert injected("linkat:error=EPERM").returncode == 0
    finally:
        os.umask(former)
    assert (tmp_path / "out").stat().st_mode & 0o777 == 0o640


@pytest.mark.parametrize("former", [None, "former"])
@pytest.mark.parametrize("call", ["fsync", "renameat", "pwrite64"])
def test_call_that_fails_leaves_nothing_and_what_was_there(injected, tmp_path, call, former):
    if injected.kind == "unnamed" and (call == "pwrite64" or (call == "renameat" and not former)):
        pytest.skip("an unnamed file is not copied, and a new name is given without renaming")
    if former:
        (tmp_path / "out").write_text(former)
    assert injected(f"{call}:error=EIO").returncode == 1
    assert os.listdir(tmp_path) == (["out"] if former else [])
    assert not former or (tmp_path / "out").read_text() == "former"


@pytest.mark.parametrize("target", [["--output", "out"], []])
def test_size_limit_is_one_sentence(tmp_path, target):
    with open(tmp_path / "printed", "wb") as printed:
        done = subprocess.run([COMMAND, "classes", "--format", "mof", *target], cwd=tmp_path, env=environment(),
                              stdout=printed, stderr=subprocess.PIPE, check=False,
                              preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1024, 1024)))
    assert done.returncode == 1
    assert done.stderr.count(b"\n") == 1 and b"File too large" in done.stderr
    assert os.listdir(tmp_path) == ["printed"]


@pytest.mark.parametrize("target", [["--output", "out"], []])
def test_signal_ends_process_1_too(plugin, tmp_path, target):
    container = ["unshare", "--pid", "--fork", "--kill-child"]
    if subprocess.run([*container, "true"], check=False, stderr=subprocess.DEVNULL).returncode != 0:
        pytest.skip("no right to make a process namespace")
    outer = subprocess.Popen([*container, COMMAND, "get", CLASS, "--plugin", plugin("sleeping"), "--timeout", "30",
                              "--log-level", "debug", *target], cwd=tmp_path, env=environment(), stderr=subprocess.PIPE)
    first = ""
    while not first:
        with open(f"/proc/{outer.pid}/task/{outer.pid}/children", encoding="ascii") as children:
            first = children.read().strip()
    while os.readlink(f"/proc/{first}/exe") != os.path.realpath(COMMAND):
        time.sleep(0.01)
    worker = ""
    while not worker:
        with open(f"/proc/{first}/task/{first}/children", encoding="ascii") as children:
            worker = children.read().strip()
    while not any("sleeping" in line for line in open(f"/proc/{worker}/maps", encoding="utf-8")):
        time.sleep(0.01)  # it has not yet come as far as its plug-in
    os.kill(int(first), signal.SIGTERM)
    outer.communicate(timeout=60)
    assert outer.returncode == 128 + signal.SIGTERM
    assert os.listdir(tmp_path) == []
