"""Where the data goes: whole files or none, full disks, readers that go away."""
import os
import stat
import subprocess

import pytest
from conftest import COMMAND, environment

COMMANDS = [["get", "VEXSG_LogicalDisk"], ["classes"], ["plugin"], ["trace", "VEXSG_DiskDrive"], ["probe", "/dev/null"],
            ["--help"]]


@pytest.mark.parametrize("command", COMMANDS)
def test_full_disk_is_one_sentence(run, command):
    with open("/dev/full", "wb") as full:
        done = run(*command, stdout=full)
    assert done.status == 1
    assert "No space left on device" in done.sentence


@pytest.mark.parametrize("command", COMMANDS)
def test_reader_that_goes_away_is_not_a_failure(command):
    reading, writing = os.pipe()
    os.close(reading)
    for restore in (True, False):  # with the signal's default action, and with it ignored
        done = subprocess.run([COMMAND, *command], stdout=writing, stderr=subprocess.PIPE, env=environment(),
                              restore_signals=restore, check=False)
        assert (done.returncode, done.stderr) == (0, b"")
    os.close(writing)


def test_head(plugin):
    done = subprocess.run(f"{COMMAND} classes --format mof | head -n 1", shell=True, capture_output=True,
                          env=environment(), check=False)
    assert (done.returncode, done.stderr) == (0, b"")
    assert done.stdout.count(b"\n") == 1


def test_closed_standard_output_is_one_sentence():
    done = subprocess.run(f"exec {COMMAND} classes >&-", shell=True, stderr=subprocess.PIPE, env=environment(),
                          check=False)
    assert done.returncode == 1
    assert done.stderr.count(b"\n") == 1


def test_closed_standard_error_does_not_spoil_the_file(tmp_path, plugin):
    subprocess.run(f"exec {COMMAND} get VEXSG_DiskDrive --plugin {plugin('complaining')} --output out.json 2>&-",
                   shell=True, cwd=tmp_path, env=environment(), check=False)
    assert (tmp_path / "out.json").read_text().startswith("{")
    assert "diskmgt:" not in (tmp_path / "out.json").read_text()


@pytest.mark.parametrize("command", [command for command in COMMANDS if command[0] != "--help"])
def test_file_holds_what_standard_output_would(run, command, tmp_path):
    printed = run(*command)
    done = run(*command, "--output", "out")
    assert (done.status, done.stdout, done.stderr) == (0, b"", b"")
    assert os.listdir(tmp_path) == ["out"]
    if command[0] not in ("get", "trace"):  # sizes of mounted file systems change between runs
        assert (tmp_path / "out").read_bytes() == printed.stdout


def test_new_file_follows_the_mask(tmp_path):
    subprocess.run(f"umask 027; {COMMAND} classes --output out", shell=True, cwd=tmp_path, env=environment(),
                   check=True)
    assert stat.S_IMODE((tmp_path / "out").stat().st_mode) == 0o640


def test_replaced_file_keeps_its_permissions(run, tmp_path):
    target = tmp_path / "out"
    target.write_text("old")
    target.chmod(0o604)
    assert run("classes", "--output", "out").status == 0
    assert stat.S_IMODE(target.stat().st_mode) == 0o604
    assert "VEXSG_DiskDrive" in target.read_text()


def test_link_stays_a_link(run, tmp_path):
    (tmp_path / "real").write_text("old")
    (tmp_path / "link").symlink_to("real")
    assert run("classes", "--output", "link").status == 0
    assert (tmp_path / "link").is_symlink()
    assert "VEXSG_DiskDrive" in (tmp_path / "real").read_text()


@pytest.mark.parametrize("target", ["missing/out", ".", "/proc/nothing", "x" * 300, "/dev/null/out"])
def test_unwritable_path_is_one_sentence(run, tmp_path, target):
    done = run("classes", "--output", target)
    assert (done.status, done.stdout) == (1, b"")
    assert target in done.sentence
    assert os.listdir(tmp_path) == []


def test_devices_are_written_as_they_are(run):
    before = os.stat("/dev/null")
    assert run("classes", "--output", "/dev/null").status == 0
    assert os.path.samestat(before, os.stat("/dev/null"))
    done = run("classes", "--output", "/dev/full")
    assert done.status == 1
    assert "/dev/full: No space left on device" in done.sentence


def test_standard_output_by_its_device_name(run):
    assert run("classes", "--output", "/dev/stdout").stdout == run("classes").stdout


def test_wrong_usage_leaves_the_file(run, tmp_path):
    (tmp_path / "out").write_text("kept")
    assert run("get", "VEXSG_Unknown", "--output", "out").status == 2
    assert run("classes", "VEXSG_DiskDrive", "--format", "mof", "--output", "out").status == 2
    assert (tmp_path / "out").read_text() == "kept"
    assert os.listdir(tmp_path) == ["out"]


def test_protected_file_stays(tmp_path):
    target = tmp_path / "out"
    target.write_text("kept")
    target.chmod(0o444)
    os.chmod(tmp_path, 0o777)
    command = [COMMAND, "classes", "--output", str(target)]
    if os.geteuid() == 0:
        command = ["setpriv", "--reuid", "65534", "--regid", "65534", "--clear-groups", *command]
    done = subprocess.run(command, capture_output=True, env=environment(), check=False)
    if b"setpriv" in done.stderr:
        pytest.skip("the build tree cannot be reached by another user")
    assert done.returncode == 1
    assert target.read_text() == "kept"
