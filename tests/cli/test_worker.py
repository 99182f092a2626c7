"""The process that does the work, as its caller sees it: descriptors, signals, crashes, order of what is said."""
import json
import os
import pty
import signal
import subprocess
import time
from pathlib import Path

import pytest
from conftest import COMMAND, can_trace, environment

CLASS = "VEXSG_DiskDrive"


def child_of(process):
    """The number of its one child, as soon as there is one."""
    children = Path(f"/proc/{process.pid}/task/{process.pid}/children")
    while not children.read_text().split():
        assert process.poll() is None
    number, = children.read_text().split()
    return int(number)


def wait_until_loaded(worker):
    """Until the worker has the plug-in that never comes back; the output is open by then."""
    while "sleeping" not in Path(f"/proc/{worker}/maps").read_text():
        assert Path(f"/proc/{worker}").exists()


def start(plugin, *words, command=("get", CLASS), **options):
    return subprocess.Popen([COMMAND, *command, "--plugin", plugin("sleeping"), *words], env=environment(),
                            **{"stderr": subprocess.PIPE, "stdout": subprocess.PIPE, **options})


def wait_until_gone(number):
    for _ in range(1000):
        try:
            state = Path(f"/proc/{number}/stat").read_text().rpartition(")")[2].split()[0]
        except (FileNotFoundError, ProcessLookupError):
            return
        if state == "Z":
            return
        time.sleep(0.01)
    raise AssertionError(f"process {number} is still there")


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT])
def test_signal_ends_both_and_the_caller_sees_it(plugin, number, tmp_path):
    running = start(plugin, "--timeout", "60", "--output", "out", cwd=tmp_path)
    worker = child_of(running)
    wait_until_loaded(worker)
    running.send_signal(number)
    running.communicate(timeout=60)
    assert running.returncode == -number
    wait_until_gone(worker)
    assert os.listdir(tmp_path) == []


def test_ignored_signal_stays_ignored(plugin):
    running = subprocess.Popen(["nohup", COMMAND, "get", CLASS, "--plugin", plugin("sleeping"), "--timeout", "2"],
                               env=environment(), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                               stderr=subprocess.PIPE)
    child_of(running)
    running.send_signal(signal.SIGHUP)
    running.communicate(timeout=60)
    assert running.returncode == 4


def test_worker_dies_with_a_killed_command(plugin):
    running = start(plugin, "--timeout", "60")
    worker = child_of(running)
    running.kill()
    running.communicate(timeout=60)  # the pipes end too
    wait_until_gone(worker)


@pytest.mark.skipif(os.uname().machine != "x86_64", reason="the number of pause(2) is not known here")
def test_worker_has_no_descriptor_of_the_caller(plugin):
    extra = os.open("/dev/zero", os.O_RDONLY)
    running = start(plugin, "--timeout", "60", pass_fds=[extra], stdin=subprocess.PIPE)
    worker = child_of(running)
    while Path(f"/proc/{worker}/syscall").read_text().split()[0] != "34":  # until it pauses in the plug-in
        assert running.poll() is None
    names = {os.readlink(f"/proc/{worker}/fd/{number}") for number in os.listdir(f"/proc/{worker}/fd")}
    own = {os.readlink(f"/proc/{running.pid}/fd/{number}") for number in ("0", "1", "2")}
    assert names and not names & {*own, "/dev/zero"}
    running.kill()
    running.communicate(timeout=60)
    os.close(extra)


def test_descriptor_named_as_output_is_written():
    reading, writing = os.pipe()
    done = subprocess.run([COMMAND, "plugin", "--output", f"/dev/fd/{writing}"], env=environment(), pass_fds=[writing],
                          capture_output=True, check=False)
    os.close(writing)
    with os.fdopen(reading, "rb") as pipe:
        written = pipe.read()
    assert (done.returncode, done.stderr) == (0, b"") and b"libdiskmgt.pi.so" in written


def test_crash_of_the_plugin_is_one_sentence(run, plugin, tmp_path):
    done = run("get", CLASS, "--plugin", plugin("crashing"), "--output", "out")
    assert done.status == 3
    assert f"the plug-in crashed while serving {CLASS}: Segmentation fault" in done.sentence
    assert "--plugin FILE" in done.sentence
    assert os.listdir(tmp_path) == []


def test_killed_worker_is_one_sentence(plugin, tmp_path):
    running = start(plugin, "--timeout", "60", "--output", "out", cwd=tmp_path)
    worker = child_of(running)
    wait_until_loaded(worker)
    os.kill(worker, signal.SIGKILL)
    _, said = running.communicate(timeout=60)
    assert running.returncode == 1
    assert said.count(b"\n") == 1 and b"was killed" in said
    assert os.listdir(tmp_path) == []


def test_a_killed_collecting_process_is_not_called_a_crash_of_the_plugin(plugin):
    running = start(plugin, "--timeout", "60", command=("export", "json"))
    collector = child_of(running)
    wait_until_loaded(collector)
    os.kill(collector, signal.SIGKILL)
    document, said = running.communicate(timeout=60)
    assert running.returncode == 1 and b"was killed" in said
    gaps = json.loads(document)["diskmgt"]["incomplete"]
    assert {gap["rule"] for gap in gaps if gap["of"].startswith("VEXSG_")} == {"killed"}


def test_unread_fifo_as_output_is_under_the_limit(run, tmp_path):
    os.mkfifo(tmp_path / "fifo")
    for words in (["get", CLASS], ["export", "json"], ["classes"]):
        done = run(*words, "--timeout", "3", "--output", "fifo")
        assert (done.status, done.stdout) == (4, b"")
        assert 'gave up after 3 s while writing fifo: opening "fifo"' in done.sentence


def test_reader_has_all_the_time_it_wants():
    running = subprocess.Popen([COMMAND, "trace", "VEXSG_LogicalDisk", "--timeout", "0.5"], env=environment(),
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    time.sleep(1)  # past the limit, with nothing read
    seen, said = running.communicate(timeout=60)
    assert (running.returncode, said) == (0, b"") and seen.endswith(b"}\n")


def test_command_can_be_stopped_and_goes_on(plugin):
    leader, follower = pty.openpty()
    running = start(plugin, "--timeout", "60", stdin=follower, start_new_session=True)
    child_of(running)
    os.killpg(running.pid, signal.SIGSTOP)
    _, status = os.waitpid(running.pid, os.WUNTRACED)
    assert os.WIFSTOPPED(status)
    os.killpg(running.pid, signal.SIGCONT)
    os.killpg(running.pid, signal.SIGTERM)
    running.communicate(timeout=60)
    assert running.returncode == -15
    os.close(leader)
    os.close(follower)


def test_data_comes_before_what_is_said_after_it(plugin):
    done = subprocess.run([COMMAND, "get", CLASS, "--plugin", plugin("complaining")], env=environment(),
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    assert done.stdout.startswith(b"{\n") and done.stdout.splitlines()[-1].startswith(b"diskmgt: the plug-in or host")


def test_first_process_of_a_name_space(plugin):
    command = ["unshare", "--pid", "--fork", COMMAND, "plugin"]
    done = subprocess.run(command, env=environment(), capture_output=True, check=False)
    if b"unshare" in done.stderr:
        pytest.skip("no process name space may be made")
    assert (done.returncode, done.stderr) == (0, b"")
    done = subprocess.run([*command[:-1], "get", CLASS, "--plugin", plugin("sleeping"), "--timeout", "0.5"],
                          env=environment(), capture_output=True, check=False)
    assert done.returncode == 4 and b"serving" in done.stderr


@pytest.mark.skipif(not can_trace(), reason="strace is missing or not allowed to trace")
def test_time_to_tidy_up_is_measured_and_not_counted_in_naps(plugin, tmp_path):
    """Each nap takes fifty times what it asks for, as on a busy machine."""
    calls = tmp_path / "calls"
    done = subprocess.run(["strace", "-qq", "-o", calls, "-e", "trace=clock_nanosleep",
                           "-e", "inject=clock_nanosleep:delay_exit=50000",
                           COMMAND, "get", CLASS, "--plugin", plugin("sleeping"), "--timeout", "0.1"],
                          env=environment(ASAN_OPTIONS="detect_leaks=0"), capture_output=True, check=False,
                          preexec_fn=lambda: signal.signal(signal.SIGTERM, signal.SIG_IGN))
    assert done.returncode == 4
    assert 1 <= calls.read_text().count("clock_nanosleep(") <= 20
